// SPDX-License-Identifier: MIT
// The texts of the two log services. Both format alphabets, narrow and wide, go through one interpreter.
#include "format.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "PlatformServices.h"
#include "utf8.h"

namespace vyx::platform {
namespace {

using Text = GrowingArray<char>;

struct StatusName {
  EFI_STATUS status;
  const char *name;
};
constexpr StatusName kStatusNames[] = {
    {EFI_SUCCESS, "EFI_SUCCESS"},           {EFI_INVALID_PARAMETER, "EFI_INVALID_PARAMETER"},
    {EFI_DEVICE_ERROR, "EFI_DEVICE_ERROR"}, {EFI_OUT_OF_RESOURCES, "EFI_OUT_OF_RESOURCES"},
    {EFI_NOT_FOUND, "EFI_NOT_FOUND"},       {EFI_ACCESS_DENIED, "EFI_ACCESS_DENIED"},
    {EFI_ABORTED, "EFI_ABORTED"},           {EFI_END_OF_FILE, "EFI_END_OF_FILE"},
};

bool append(Text &out, const char *text) {
  return out.append(text, std::strlen(text));
}

template <class... Values>
bool appendNumber(Text &out, const char *format, Values... values) {
  char digits[16];
  std::snprintf(digits, sizeof(digits), format, values...);
  return append(out, digits);
}

bool appendStatus(Text &out, EFI_STATUS status) {
  for (const auto &known : kStatusNames)
    if (known.status == status) return append(out, known.name);
  return appendNumber(out, "0x%08X", static_cast<unsigned>(status));
}

unsigned byteAt(const char *bytes, std::size_t i) {
  return static_cast<unsigned char>(bytes[i]);
}

// ASCII's control characters, and those of U+0080 to U+009F, which some terminals obey as well.
bool isControl(const char *bytes, std::size_t length) {
  if (length == 1) return byteAt(bytes, 0) < 0x20 || byteAt(bytes, 0) == 0x7F;
  return length == 2 && byteAt(bytes, 0) == 0xC2 && byteAt(bytes, 1) < 0xA0;
}

// One character of a value: a well-formed sequence, or length 0 and a byte that belongs to none.
bool appendCharacter(Text &out, const char *bytes, std::size_t length) {
  if (length != 0 && !isControl(bytes, length)) return out.append(bytes, length);
  bool done = true;
  for (std::size_t i = 0; done && i < std::max<std::size_t>(length, 1); ++i)
    done = appendNumber(out, "\\x%02X", byteAt(bytes, i));
  return done;
}

bool appendWide(Text &out, wchar_t character, bool isValue) {
  char bytes[4];
  const std::size_t length = encodeUtf8(static_cast<std::uint32_t>(character), bytes);
  if (length == 0) return append(out, "\xEF\xBF\xBD");
  return isValue ? appendCharacter(out, bytes, length) : out.append(bytes, length);
}

bool appendValue(Text &out, const wchar_t *text) {
  bool done = true;
  for (; done && *text != L'\0'; ++text) done = appendWide(out, *text, true);
  return done;
}

bool appendLiteral(Text &out, wchar_t character) {
  return appendWide(out, character, false);
}
bool appendLiteral(Text &out, char character) {
  return out.push(character);
}

template <class Char>
bool appendString(Text &out, const Char *text) {
  return text != nullptr ? appendValue(out, text) : append(out, "(null)");
}

template <class Char>
class Interpreter {
 public:
  Interpreter(Text &out, const Char *format, va_list values) : out_(out), format_(format) { va_copy(values_, values); }
  Interpreter(const Interpreter &) = delete;
  Interpreter &operator=(const Interpreter &) = delete;
  ~Interpreter() { va_end(values_); }

  bool run() {
    bool done = true;
    while (done && *format_ != 0) done = *format_ == '%' && !ended_ ? convert() : appendLiteral(out_, *format_++);
    return done;
  }

 private:
  bool accept(const char *conversion) {
    std::size_t length = 0;
    for (; conversion[length] != '\0'; ++length)
      if (format_[length] != static_cast<Char>(conversion[length])) return false;
    format_ += length;
    return true;
  }

  // NOLINTBEGIN(clang-analyzer-valist.Uninitialized): it does not see the copy that the constructor makes
  bool convert() {
    if (accept("%d")) return appendNumber(out_, "%d", va_arg(values_, int));
    if (accept("%x")) return appendNumber(out_, "%x", va_arg(values_, unsigned));
    if (accept("%s")) return appendString(out_, va_arg(values_, const char *));
    if (accept("%ls")) return appendString(out_, va_arg(values_, const wchar_t *));
    if (accept("%r")) return appendStatus(out_, va_arg(values_, EFI_STATUS));
    if (accept("%%")) return out_.push('%');
    ended_ = true;
    return true;
  }
  // NOLINTEND(clang-analyzer-valist.Uninitialized)

  Text &out_;
  const Char *format_;
  va_list values_;
  bool ended_ = false;
};

}  // namespace

bool appendValue(Text &out, const char *text) {
  bool done = true;
  while (done && *text != '\0') {
    const std::size_t length = utf8Length(text);
    done = appendCharacter(out, text, length);
    text += std::max<std::size_t>(length, 1);
  }
  return done;
}

bool appendFormat(Text &out, const char *format, va_list values) {
  return Interpreter<char>(out, format, values).run();
}
bool appendFormat(Text &out, const wchar_t *format, va_list values) {
  return Interpreter<wchar_t>(out, format, values).run();
}

}  // namespace vyx::platform
