// SPDX-License-Identifier: MIT
// What a build with _FORTIFY_SOURCE, as distributions make it, calls where open and openat are given no mode: the
// functions of those names that fail when a test wants it are called here, too.
#undef _FORTIFY_SOURCE
#include <fcntl.h>

#pragma GCC visibility push(default)
extern "C" {

int __open64_2(const char *path, int flags) {
  return open(path, flags);
}
int __openat64_2(int directory, const char *path, int flags) {
  return openat(directory, path, flags);
}

}  // extern "C"
