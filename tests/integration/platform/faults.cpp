// SPDX-License-Identifier: MIT
#include "faults.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <sstream>

namespace vyx::tests {

Fault &fault() {
  static Fault instance = [] {
    Fault given = {"", 0, 0};
    const char *text = std::getenv("VYX_FAULT");
    std::istringstream(text != nullptr ? text : "") >> given.call >> given.nth >> given.error;
    return given;
  }();
  return instance;
}

}  // namespace vyx::tests

namespace {

// Calls the C library's function unless it is to fail. What it is called there depends on the widths of offsets and
// times, as the name of our own.
template <class Result, class Function, class... Arguments>
Result callUnlessFailing(const char *name, Result failed, Function *own, Arguments... arguments) {
  auto &now = vyx::tests::fault();
  if (now.call == name && (++now.seen == now.nth || (now.lasts && now.seen > now.nth))) {
    errno = now.error;
    return failed;
  }
  Dl_info info = {};
  dladdr(reinterpret_cast<void *>(own), &info);
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, info.dli_sname))(arguments...);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

int openat(int directory, const char *path, int flags, ...) {
  return callUnlessFailing("openat", -1, &openat, directory, path, flags, 0600);
}
int fstatat(int directory, const char *path, struct stat *status, int flags) noexcept {
  return callUnlessFailing("fstatat", -1, &fstatat, directory, path, status, flags);
}
int fstat(int file, struct stat *status) noexcept {
  return callUnlessFailing("fstat", -1, &fstat, file, status);
}
int fsync(int file) {
  return callUnlessFailing("fsync", -1, &fsync, file);
}
int flock(int file, int operation) noexcept {
  return callUnlessFailing("flock", -1, &flock, file, operation);
}
FILE *fopencookie(void *cookie, const char *mode, cookie_io_functions_t functions) noexcept {
  return callUnlessFailing("fopencookie", static_cast<FILE *>(nullptr), &fopencookie, cookie, mode, functions);
}
FILE *fdopen(int file, const char *mode) noexcept {
  return callUnlessFailing("fdopen", static_cast<FILE *>(nullptr), &fdopen, file, mode);
}

}  // extern "C"
