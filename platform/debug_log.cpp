// SPDX-License-Identifier: MIT
// The debug-log service: a line of text for each message, whole even when several processes share the file.
#include "debug_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "format.h"

namespace vyx::platform {
namespace {

std::FILE *sink = nullptr;

bool appendMessage(GrowingArray<char> &line, const char *tag, const wchar_t *format, va_list values) {
  if (!appendValue(line, tag) || !line.append(": ", 2) || !appendFormat(line, format, values)) return false;
  while (line.back() == '\n') line.pop();
  return line.push('\n');
}

void print(uint32_t, const char *tag, const wchar_t *format, ...) {
  if (tag == nullptr || format == nullptr) return;
  GrowingArray<char> line;
  va_list values;
  va_start(values, format);
  const bool done = appendMessage(line, tag, format, values);
  va_end(values);
  if (!done) return;
  std::fwrite(line.data(), 1, line.size(), sink);
}

}  // namespace

EFI_STATUS findDebugLog(void **log) {
  static DEBUG_LOG_PROTOCOL service = {{}, print};
  *log = nullptr;
  const char *target = std::getenv("QUOR_DEBUG");
  if (target == nullptr || *target == '\0') return EFI_SUCCESS;
  std::FILE *opened = std::strcmp(target, "stderr") == 0 ? stderr : std::fopen(target, "ae");
  if (opened == nullptr) return EFI_DEVICE_ERROR;
  if (opened != stderr) std::setvbuf(opened, nullptr, _IONBF, 0);  // a line is one write, as on stderr
  if (sink != nullptr && sink != stderr) std::fclose(sink);
  sink = opened;
  *log = &service;
  return EFI_SUCCESS;
}

}  // namespace vyx::platform
