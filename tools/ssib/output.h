// SPDX-License-Identifier: MIT
// What the commands print, for people and as JSON. What people read cannot drive their terminal.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "queue.h"

namespace tool {

using Row = std::vector<std::string>;

// "Field: value", a line for each field that the entry has.
std::string entryAsLines(Form form, const SSIB_ENTRY_LIST &element);

// How wide a table may be without any limit.
inline constexpr std::size_t kUnlimited = SIZE_MAX;

// The width of the terminal that standard output is; without one, kUnlimited.
std::size_t terminalWidth();

// An aligned table with the entries' numbers. Without columns it has the fields that tell entries apart. What is wider
// than allowed is cut and ends with an ellipsis.
std::string entriesAsTable(const Queue &queue, const Places &places, std::vector<const Field *> columns,
                           std::size_t width);

// An aligned table; the cells are safe for a terminal already.
std::string asTable(const std::vector<Row> &rows, std::size_t width = kUnlimited);

// Writes a text to standard output and makes sure that it got there. Throws Stop.
void print(const std::string &text);

}  // namespace tool
