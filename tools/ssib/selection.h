// SPDX-License-Identifier: MIT
// Which entries of a queue a command works on: by number, by the values of their fields, or both.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "options.h"
#include "queue.h"

namespace tool {

// Numbers of entries, the first being 1, as ranges that include both ends; none stands for every entry.
using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;

// Reads "3", "2-5", "1,4-6". Throws Stop.
Ranges parseRanges(const std::string &text);

// Reads "FIELD=VALUE", the field by the name of its option or of the record. Throws Stop.
GivenField parseMatch(const std::string &text);

struct Selection {
  Ranges ranges;
  GivenFields matches;  // all of which an entry must have

  bool isEverything() const { return ranges.empty() && matches.empty(); }
};

// Throws Stop (wrong usage) when entries of that form can never match.
void checkMatches(Form form, const GivenFields &matches);

// Whether an element has all these values.
bool matchesAll(Form form, const GivenFields &matches, const SSIB_ENTRY_LIST &element);

// The places chosen, at least one. Throws Stop when the queue has no such entry.
Places chosenPlaces(const Selection &selection, const Queue &queue);

// The first place chosen, unless numbers choose more.
Places firstPlaces(const Selection &selection, const Queue &queue);

}  // namespace tool
