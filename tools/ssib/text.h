// SPDX-License-Identifier: MIT
// Texts between a terminal, a command line and a queue: UTF-8 is understood, everything else is passed on as bytes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ssib {

/** The wide form of a UTF-8 text; nothing when it is not well-formed. */
std::optional<std::wstring> toWide(std::string_view text);

/**
 * A text as a terminal may be given it: well-formed UTF-8 without control characters. Those, and bytes that are no
 * UTF-8, appear as \n, \r, \t or \xNN for each byte; a backslash appears doubled.
 */
std::string escaped(std::string_view text);

/** Characters of an escaped text, which is the room that it takes in a table. */
std::size_t characters(std::string_view escapedText);

/** Whether the text holds a control character below the blank that is not among those allowed. */
bool hasControl(std::string_view text, std::string_view allowed);

/** "1 entry", "2 entries". */
std::string counted(std::size_t entries);

}  // namespace ssib
