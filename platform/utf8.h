/* SPDX-License-Identifier: MIT */
// UTF-8 without the C locale: the same in every process, whatever setlocale was told.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vyx::platform {

// Writes a character as UTF-8 and returns its 1 to 4 bytes; 0 for what is no Unicode scalar value
// (surrogates, above 10FFFF).
std::size_t encodeUtf8(std::uint32_t character, char (&bytes)[4]);

// Length of the well-formed sequence that a NUL-terminated text begins with; 0 when there is none.
// "" has length 1, its NUL.
std::size_t utf8Length(const char *text);

}  // namespace vyx::platform
