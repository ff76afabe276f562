// SPDX-License-Identifier: MIT
#include "support/heap.h"

#include <cstdlib>
#include <cstring>
#include <unordered_set>

namespace {

struct State {
  std::unordered_set<const void *> blocks;  // its own memory comes from operator new, which is not wrapped
  bool watching = false;
  std::size_t count = 0;
  std::size_t failing = 0;
};

// Never destroyed: blocks are freed until the very end of the process.
State &state() {
  static State &instance = *new State;
  return instance;
}

bool mustFail() {
  State &heap = state();
  return heap.watching && ++heap.count == heap.failing;
}

void *track(void *block) {
  if (block != nullptr) state().blocks.insert(block);
  return block;
}

}  // namespace

extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size) {
  return mustFail() ? nullptr : track(__real_malloc(size));
}

void *__wrap_calloc(std::size_t count, std::size_t size) {
  return mustFail() ? nullptr : track(__real_calloc(count, size));
}

void *__wrap_realloc(void *block, std::size_t size) {
  if (mustFail()) return nullptr;
  state().blocks.erase(block);
  return track(__real_realloc(block, size));
}

void __wrap_free(void *block) {
  state().blocks.erase(block);
  __real_free(block);
}

char *__wrap_strndup(const char *text, std::size_t size) {
  const std::size_t length = strnlen(text, size);
  auto *copy = static_cast<char *>(__wrap_malloc(length + 1));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

char *__wrap_strdup(const char *text) {
  return __wrap_strndup(text, std::strlen(text));
}

}  // extern "C"

namespace test::heap {

std::size_t live() {
  return state().blocks.size();
}

Watch::Watch(std::size_t failing) {
  state().watching = true;
  state().count = 0;
  state().failing = failing;
}

Watch::~Watch() {
  state().watching = false;
}

std::size_t Watch::allocations() const {
  return state().count;
}

bool Watch::failed() const {
  return state().failing != 0 && state().count >= state().failing;
}

}  // namespace test::heap
