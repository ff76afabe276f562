// SPDX-License-Identifier: MIT
// What the commands print and read as JSON.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "options.h"
#include "queue.h"

namespace tool {

// One entry as an object: its number as "entry", then its fields by their names in the record.
std::string entryAsJson(const Queue &queue, std::size_t place);

// The entries at these places as an array of such objects.
std::string entriesAsJson(const Queue &queue, const Places &places);

// The fields of entries in the form above: one array, or one object after another. Numbers of entries are not looked
// at. Throws Stop (wrong usage), naming the entry.
std::vector<GivenFields> parseEntries(const std::string &text);

// One entry as such an object in one line, with what has happened to it, and which fields have `changed`, if any.
std::string eventAsJson(const Queue &queue, std::size_t place, const char *event, const std::string &changed);

// An object of plain values.
using Record = std::vector<std::pair<std::string, std::variant<std::uintmax_t, bool, std::string>>>;

std::string recordAsJson(const Record &record);
std::string recordsAsJson(const std::vector<Record> &records);

}  // namespace tool
