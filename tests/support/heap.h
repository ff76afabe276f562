// SPDX-License-Identifier: MIT
// The heap as the unit tests see it: malloc, calloc, realloc, strdup and free of everything linked into the
// test program go through here (the linker's --wrap), are counted, and can be made to fail.
#pragma once

#include <cstddef>

namespace test::heap {

// Blocks that were allocated and not yet freed.
std::size_t live();

// Fails the nth allocation within its scope, counted from 1, or all from it on; 0 fails none.
class Watch {
 public:
  explicit Watch(std::size_t failing = 0, bool lasts = false);
  ~Watch();
  Watch(const Watch &) = delete;
  Watch &operator=(const Watch &) = delete;

  bool failed() const;  // whether the nth came
};

}  // namespace test::heap
