// SPDX-License-Identifier: MIT
// UTF-8 without the C locale. Only the shortest form of a scalar value is well-formed.
#include "utf8.h"

namespace vyx::platform {
namespace {

// The sequences by their length: what the first byte looks like, and the characters that need this length.
struct Sequence {
  unsigned mask, lead;
  std::uint32_t first, last;
};
constexpr Sequence kSequences[] = {
    {0x80, 0x00, 0x00, 0x7F}, {0xE0, 0xC0, 0x80, 0x7FF}, {0xF0, 0xE0, 0x800, 0xFFFF}, {0xF8, 0xF0, 0x10000, 0x10FFFF}};

bool isScalar(std::uint32_t character) {
  return character < 0xD800 || (character > 0xDFFF && character <= 0x10FFFF);
}

}  // namespace

std::size_t encodeUtf8(std::uint32_t character, char (&bytes)[4]) {
  if (!isScalar(character)) return 0;
  std::size_t length = 1;
  while (character > kSequences[length - 1].last) ++length;
  for (std::size_t i = length - 1; i > 0; --i, character >>= 6) bytes[i] = static_cast<char>(0x80 | (character & 0x3F));
  bytes[0] = static_cast<char>(kSequences[length - 1].lead | character);
  return length;
}

std::size_t utf8Length(const char *text) {
  const auto byte = [text](std::size_t i) -> unsigned { return static_cast<unsigned char>(text[i]); };
  std::size_t length = 0;
  for (const auto &[mask, lead, first, last] : kSequences) {
    ++length;
    if ((byte(0) & mask) != lead) continue;
    std::uint32_t character = byte(0) & ~mask;
    for (std::size_t i = 1; i < length; ++i) {
      if ((byte(i) & 0xC0) != 0x80) return 0;
      character = character << 6 | (byte(i) & 0x3F);
    }
    return character >= first && character <= last && isScalar(character) ? length : 0;
  }
  return 0;
}

}  // namespace vyx::platform
