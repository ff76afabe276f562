// SPDX-License-Identifier: MIT
// Allocations that fail, in the C library as well: the nth of the process, once or with all that follow, as VYX_FAULT
// says: "malloc NTH 0 LASTS". A program that ends adds their number to the file that VYX_ALLOCATIONS names. Counted is
// from main on: what the option parser allocates before ends the process, which has then touched nothing.
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);

}  // extern "C"

namespace {

struct Plan {
  long nth;
  int lasts;
};

Plan planOf(const char *text) {
  Plan plan = {0, 0};
  if (text != nullptr) std::sscanf(text, "malloc %ld %*d %d", &plan.nth, &plan.lasts);
  return plan;
}

long seen = 0;
bool isStarted = false;

// This file is the last that is linked, so its initialisation is the program's last.
const bool starts = isStarted = true;

bool mustFail() {
  if (!isStarted) return false;
  static const Plan plan = planOf(std::getenv("VYX_FAULT"));
  ++seen;
  const bool fails = seen == plan.nth || (plan.lasts != 0 && plan.nth > 0 && seen > plan.nth);
  if (fails) errno = ENOMEM;
  return fails;
}

[[gnu::destructor]] void report() {
  const long all = seen;
  const char *path = std::getenv("VYX_ALLOCATIONS");
  std::FILE *file = path != nullptr ? std::fopen(path, "a") : nullptr;
  if (file == nullptr) return;
  std::fprintf(file, "%ld\n", all);
  std::fclose(file);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void *malloc(std::size_t size) {
  return mustFail() ? nullptr : __libc_malloc(size);
}
void *calloc(std::size_t count, std::size_t size) {
  return mustFail() ? nullptr : __libc_calloc(count, size);
}
void *realloc(void *block, std::size_t size) {
  return mustFail() ? nullptr : __libc_realloc(block, size);
}

}  // extern "C"
