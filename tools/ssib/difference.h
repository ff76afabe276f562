// SPDX-License-Identifier: MIT
// How two queues differ, or one queue at two times. An entry is the same job in both when all fields that both forms
// store are the same, or when it has the same identifier; the former is looked for first.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "queue.h"

namespace tool {

// One entry that is not at the same place, with the same fields, in both.
struct Difference {
  std::size_t first, second;  // its numbers, from 1; 0 where it is missing
  std::string changed;        // names of the fields that differ
};

// The differences, those of the first queue's entries in front.
std::vector<Difference> differencesOf(const Queue &first, const Queue &second);

}  // namespace tool
