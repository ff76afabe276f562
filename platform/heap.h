// SPDX-License-Identifier: MIT
// The XML service's memory: all of it comes from malloc, as its records have to, so that there is one heap to run out
// of.
#pragma once

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

namespace vyx::platform {

template <class T>
struct Heap {
  using value_type = T;
  Heap() = default;
  template <class Other>
  Heap(const Heap<Other> &) {}
  T *allocate(std::size_t count) {
    void *block = std::malloc(count * sizeof(T));  // NOLINT(bugprone-sizeof-expression): T may be a pointer
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<T *>(block);
  }
  void deallocate(T *block, std::size_t) { std::free(block); }
  bool operator==(const Heap &) const { return true; }
};

using HeapString = std::basic_string<char, std::char_traits<char>, Heap<char>>;
template <class T>
using HeapVector = std::vector<T, Heap<T>>;

// A record as it is handed out, not yet filled in. Throws std::bad_alloc.
template <class T>
T *newRecord() {
  return Heap<T>().allocate(1);
}

}  // namespace vyx::platform
