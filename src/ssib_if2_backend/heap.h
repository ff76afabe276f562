// SPDX-License-Identifier: MIT
// Owners for blocks of the process heap: what leaves a scope without release() is freed.
#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace ssib {

struct FreeBlock {
  void operator()(void *block) const { std::free(block); }
};

template <typename T>
using HeapPtr = std::unique_ptr<T, FreeBlock>;

// A zero-filled record; null when there is no memory.
template <typename T>
HeapPtr<T> newRecord() {
  return HeapPtr<T>(static_cast<T *>(std::calloc(1, sizeof(T))));
}

// A copy of a text; null for null, and when there is no memory.
inline char *copyText(const char *text) {
  return text == nullptr ? nullptr : strdup(text);
}

inline char *copyText(std::string_view text) {
  auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

}  // namespace ssib
