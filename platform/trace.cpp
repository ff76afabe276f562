// SPDX-License-Identifier: MIT
// The log service: what is at or below the level in QUOR_TRACE goes to standard error, anything else nowhere.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "failure.h"
#include "text.h"

namespace vyx::platform {
namespace {

bool isWanted(int level) {
  const char *setting = std::getenv("QUOR_TRACE");
  if (setting == nullptr) return false;
  char *end = nullptr;
  const long highest = std::strtol(setting, &end, 10);
  return end != setting && *end == '\0' && level <= highest;
}

}  // namespace
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
