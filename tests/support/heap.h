// SPDX-License-Identifier: MIT
// The heap as the unit tests see it: malloc, calloc, realloc, strdup, strndup and free of everything linked into the
// test program go through here (the linker's --wrap), are counted, and can be made to fail.
#pragma once

#include <cstddef>

namespace test::heap {

// Blocks that were allocated and not yet freed.
std::size_t live();

// Counts allocations within its scope and fails the nth of them, counted from 1; 0 fails none.
class Watch {
 public:
  explicit Watch(std::size_t failing = 0);
  ~Watch();
  Watch(const Watch &) = delete;
  Watch &operator=(const Watch &) = delete;

  std::size_t allocations() const;  // so far
  bool failed() const;              // whether the nth came
};

}  // namespace test::heap
