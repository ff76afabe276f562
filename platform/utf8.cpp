// SPDX-License-Identifier: MIT
// Only the shortest form of a scalar value is well-formed.
#include "utf8.h"

namespace vyx::platform {
namespace {

// The sequences by their length: what the first byte looks like, and the characters that need this length.
struct Sequence {
  unsigned mask, lead;
  char32_t first, last;
};
constexpr Sequence kSequences[] = {
    {0x80, 0x00, 0x00, 0x7F}, {0xE0, 0xC0, 0x80, 0x7FF}, {0xF0, 0xE0, 0x800, 0xFFFF}, {0xF8, 0xF0, 0x10000, 0x10FFFF}};

bool isScalar(char32_t character) {
  return character < 0xD800 || (character > 0xDFFF && character <= 0x10FFFF);
}

}  // namespace

Character decodeUtf8(const char *text) {
  const auto byte = [text](std::size_t i) -> unsigned { return static_cast<unsigned char>(text[i]); };
  std::size_t length = 0;
  for (const auto &[mask, lead, first, last] : kSequences) {
    ++length;
    if ((byte(0) & mask) != lead) continue;
    char32_t value = byte(0) & ~mask;
    for (std::size_t i = 1; i < length; ++i) {
      if ((byte(i) & 0xC0) != 0x80) return {0, 0};
      value = value << 6 | (byte(i) & 0x3F);
    }
    return value >= first && value <= last && isScalar(value) ? Character{value, length} : Character{0, 0};
  }
  return {0, 0};
}

std::size_t encodeUtf8(char32_t character, char (&bytes)[4]) {
  if (!isScalar(character)) return 0;
  std::size_t length = 1;
  while (character > kSequences[length - 1].last) ++length;
  for (std::size_t i = length - 1; i > 0; --i, character >>= 6) bytes[i] = static_cast<char>(0x80 | (character & 0x3F));
  bytes[0] = static_cast<char>(kSequences[length - 1].lead | character);
  return length;
}

bool isUtf8(const char *text) {
  while (*text != '\0') {
    const std::size_t length = decodeUtf8(text).length;
    if (length == 0) return false;
    text += length;
  }
  return true;
}

}  // namespace vyx::platform
