// SPDX-License-Identifier: MIT
// UTF-8 without the C locale: the same in every process, whatever the host has given to setlocale.
#pragma once

#include <cstddef>

namespace vyx::platform {

struct Character {
  char32_t value;
  std::size_t length;  // in bytes, 1 to 4; 0 when there is no well-formed sequence
};

// The character that a NUL-terminated text begins with; for "" its NUL, of length 1.
Character decodeUtf8(const char *text);

// Writes a character and returns its 1 to 4 bytes; 0 for what is not a Unicode scalar value (surrogates, above 10FFFF).
std::size_t encodeUtf8(char32_t character, char (&bytes)[4]);

bool isUtf8(const char *text);

}  // namespace vyx::platform
