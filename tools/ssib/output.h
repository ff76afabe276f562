// SPDX-License-Identifier: MIT
// What the commands print, for people and as JSON. What people read cannot drive their terminal.
#pragma once

#include <string>
#include <vector>

#include "queue.h"

namespace tool {

using Row = std::vector<std::string>;

// "Field: value", a line for each field that the entry has.
std::string entryAsLines(Form form, const SSIB_ENTRY_LIST &element);

// An aligned table of the fields that tell entries apart, with the entries' numbers.
std::string entriesAsTable(const Queue &queue, const Places &places);

// An aligned table; the cells are safe for a terminal already.
std::string asTable(const std::vector<Row> &rows);

// Writes a text to standard output and makes sure that it got there. Throws Stop.
void print(const std::string &text);

}  // namespace tool
