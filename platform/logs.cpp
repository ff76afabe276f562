// SPDX-License-Identifier: MIT
// The two log services. The debug log: a line of text for each message, whole even when several processes share the
// file. The trace: what is at or below the level in QUOR_TRACE goes to standard error, anything else nowhere.
#include "logs.h"

#include <fcntl.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "files.h"
#include "text.h"

namespace vyx::platform {
namespace {

std::FILE *sink = nullptr;

// Without memory for it, a message is lost.
void print(uint32_t, const char *tag, const wchar_t *format, ...) {
  if (tag == nullptr || format == nullptr) return;
  va_list values;
  va_start(values, format);
  statusOf([&] {
    std::string line = safeText(tag) + ": " + formatted(toUtf8(format), values);
    line.erase(line.find_last_not_of('\n') + 1);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), sink);
  });
  va_end(values);
}

std::FILE *openFile(const char *path) {
  const int opened = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  require(opened >= 0, EFI_DEVICE_ERROR);
  Descriptor file(opened);
  std::FILE *stream = fdopen(file.get(), "a");
  require(stream != nullptr, EFI_DEVICE_ERROR);
  file.release();
  std::setvbuf(stream, nullptr, _IONBF, 0);  // a line is one write, as on stderr
  return stream;
}

bool isWanted(int level) {
  const char *setting = std::getenv("QUOR_TRACE");
  if (setting == nullptr) return false;
  char *end = nullptr;
  const long highest = std::strtol(setting, &end, 10);
  return end != setting && *end == '\0' && level <= highest;
}

}  // namespace

void *findDebugLog() {
  static DEBUG_LOG_PROTOCOL service = {{}, print};
  const char *target = std::getenv("QUOR_DEBUG");
  if (target == nullptr || *target == '\0') return nullptr;
  std::FILE *opened = std::strcmp(target, "stderr") == 0 ? stderr : openFile(target);
  if (sink != nullptr && sink != stderr) std::fclose(sink);
  sink = opened;
  return &service;
}

}  // namespace vyx::platform

using namespace vyx::platform;

extern "C" {

// Returns the number of bytes written: 0 for what is not wanted. Understands what `formatted` does; ignores the
// verbosity.
int quorprintf(int level, int, const char *format, ...) {
  if (format == nullptr || !isWanted(level)) return 0;
  std::size_t written = 0;
  va_list values;
  va_start(values, format);
  statusOf([&] {
    const std::string line = formatted(format, values);
    written = std::fwrite(line.data(), 1, line.size(), stderr);
  });
  va_end(values);
  return static_cast<int>(written);
}

}  // extern "C"
