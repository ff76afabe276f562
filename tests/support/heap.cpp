// SPDX-License-Identifier: MIT
#include "support/heap.h"

#include <cstring>
#include <unordered_set>

namespace {

std::size_t untilFailure = 0;  // allocations up to the one that fails; 0 when none is to fail
bool allFollow = false;        // whether those after it fail, too
bool hasFailed = false;

// Never destroyed: blocks are freed until the very end of the process. Its own memory comes from operator new, which is
// not wrapped.
std::unordered_set<const void *> &blocks() {
  static auto &instance = *new std::unordered_set<const void *>;
  return instance;
}

// Counts an allocation; true for one that fails.
bool countDown() {
  if (untilFailure == 0) return hasFailed && allFollow;
  hasFailed = --untilFailure == 0;
  return hasFailed;
}

template <typename T>
T *track(T *block) {
  if (block != nullptr) blocks().insert(block);
  return block;
}

}  // namespace

extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);
char *__real_strdup(const char *text);

void *__wrap_malloc(std::size_t size) {
  if (countDown()) return nullptr;
  void *block = __real_malloc(size);
  return track(block == nullptr ? nullptr : std::memset(block, 'm', size));  // what nobody writes is seen
}

void *__wrap_calloc(std::size_t count, std::size_t size) {
  return countDown() ? nullptr : track(__real_calloc(count, size));
}

void *__wrap_realloc(void *block, std::size_t size) {
  if (countDown()) return nullptr;
  blocks().erase(block);
  return track(__real_realloc(block, size));
}

void __wrap_free(void *block) {
  blocks().erase(block);
  __real_free(block);
}

char *__wrap_strdup(const char *text) {
  return countDown() ? nullptr : track(__real_strdup(text));
}

}  // extern "C"

namespace test::heap {

std::size_t live() {
  return blocks().size();
}

Watch::Watch(std::size_t failing, bool lasts) {
  untilFailure = failing;
  allFollow = lasts;
  hasFailed = false;
}

Watch::~Watch() {
  untilFailure = 0;
  allFollow = false;
}

bool Watch::failed() const {
  return hasFailed;
}

}  // namespace test::heap
