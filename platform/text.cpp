// SPDX-License-Identifier: MIT
#include "text.h"

#include <algorithm>
#include <cstdio>

#include "HostPlatform.h"
#include "utf8.h"
#include "VyxSSIBStatus.h"

namespace vyx::platform {
namespace {

std::string numberText(const char *format, unsigned value) {
  char digits[16];
  std::snprintf(digits, sizeof(digits), format, value);
  return digits;
}

std::string statusText(EFI_STATUS status) {
  const char *name = statusName(status);
  return name != nullptr ? name : numberText("0x%08X", status);
}

// ASCII's control characters, and those of U+0080 to U+009F, which some terminals obey as well.
bool isControl(char32_t value) {
  return value < 0x20 || (value >= 0x7F && value < 0xA0);
}

void appendSafe(std::string &out, const char *bytes, const Character &character) {
  constexpr std::string_view kNamed = "\n\r\t\\", kNames = "nrt\\";
  if (const auto named = kNamed.find(*bytes); named != std::string_view::npos) {
    (out += '\\') += kNames[named];
  } else if (character.length != 0 && !isControl(character.value)) {
    out.append(bytes, character.length);
  } else {
    for (std::size_t i = 0; i < std::max<std::size_t>(character.length, 1); ++i)
      out += numberText("\\x%02X", static_cast<unsigned char>(bytes[i]));
  }
}

}  // namespace

const char *statusName(EFI_STATUS status) {
  return status == VYX_HOST_TIMEOUT ? "VYX_HOST_TIMEOUT" : vyxSsibStatusName(status);
}

std::string safeText(const char *text) {
  std::string out;
  while (*text != '\0') {
    const Character character = decodeUtf8(text);
    appendSafe(out, text, character);
    text += std::max<std::size_t>(character.length, 1);
  }
  return out;
}

std::string toUtf8(const wchar_t *text) {
  std::string out;
  for (; *text != L'\0'; ++text) {
    char bytes[4];
    const std::size_t length = encodeUtf8(static_cast<char32_t>(*text), bytes);
    length != 0 ? out.append(bytes, length) : out.append("\xEF\xBF\xBD");
  }
  return out;
}

std::string formatted(std::string_view format, va_list values) {
  std::string out;
  const auto accept = [&format](std::string_view conversion) {
    if (!format.starts_with(conversion)) return false;
    format.remove_prefix(conversion.size());
    return true;
  };
  while (!format.empty()) {
    if (accept("%d")) {
      out += std::to_string(va_arg(values, int));
    } else if (accept("%x")) {
      out += numberText("%x", va_arg(values, unsigned));
    } else if (accept("%s")) {
      const char *text = va_arg(values, const char *);
      out += text != nullptr ? safeText(text) : "(null)";
    } else if (accept("%ls")) {
      const wchar_t *text = va_arg(values, const wchar_t *);
      out += text != nullptr ? safeText(toUtf8(text).c_str()) : "(null)";
    } else if (accept("%r")) {
      out += statusText(va_arg(values, EFI_STATUS));
    } else if (accept("%%")) {
      out += '%';
    } else if (format.front() == '%') {
      return out.append(format);
    } else {
      out += format.front();
      format.remove_prefix(1);
    }
  }
  return out;
}

}  // namespace vyx::platform
