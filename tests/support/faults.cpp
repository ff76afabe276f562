// SPDX-License-Identifier: MIT
#include "faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

namespace vyx::tests {

Fault &fault() {
  static Fault instance = [] {
    char call[16] = "";  // and no allocation, which may be what is to fail
    int nth = 0, error = 0, lasts = 0;
    const char *text = std::getenv("VYX_FAULT");
    if (text != nullptr) std::sscanf(text, "%15s %d %d %d", call, &nth, &error, &lasts);
    return Fault{call, nth, error, lasts != 0};
  }();
  return instance;
}

}  // namespace vyx::tests

namespace {

using std::string;

// What is written down goes past the functions below.
void record(const string &line) {
  static const long log = [] {
    const char *path = std::getenv("VYX_RECORD");
    return path == nullptr ? -1 : syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  }();
  const int error = errno;
  if (log >= 0) syscall(SYS_write, log, (line + '\n').data(), line.size() + 1);
  errno = error;
}

bool isRecording() {
  static const bool is = std::getenv("VYX_RECORD") != nullptr;
  return is;
}

bool mustFail(const char *name) {
  if (isRecording()) record(string("call ") + name);
  auto &now = vyx::tests::fault();
  if (now.call != name && now.call != "any") return false;
  return ++now.seen == now.nth || (now.lasts && now.nth > 0 && now.seen > now.nth);
}

// The C library's function. What it is called there depends on the widths of offsets and times, as the name of our own.
template <class Function>
Function *real(Function *own) {
  Dl_info info = {};
  dladdr(reinterpret_cast<void *>(own), &info);
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, info.dli_sname));
}

template <class Function, class... Arguments>
auto callUnlessFailing(const char *name, Function *own, Arguments... arguments) {
  using Result = decltype(own(arguments...));
  if (!mustFail(name)) return real(own)(arguments...);
  errno = vyx::tests::fault().error;
  if constexpr (std::is_pointer_v<Result>) {
    return Result{nullptr};
  } else {
    return Result{-1};
  }
}

template <class Function, class Bytes>
ssize_t transfer(const char *name, Function *own, int file, Bytes *bytes, std::size_t size) {
  if (!mustFail(name)) return real(own)(file, bytes, size);
  errno = vyx::tests::fault().error;
  return errno == 0 ? real(own)(file, bytes, size > 1 ? size / 2 : size) : -1;
}

string nodeOf(const struct stat &status) {
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

string nodeOf(int file) {
  struct stat status = {};
  real (&fstat)(file, &status);
  return nodeOf(status);
}

string pathAt(int directory, const string &name) {
  if (directory == AT_FDCWD || name.front() == '/') return name;
  char path[PATH_MAX] = {};
  if (readlink(("/proc/self/fd/" + std::to_string(directory)).c_str(), path, sizeof(path) - 1) < 0) return name;
  return path + ('/' + name);
}

// An open that makes the file or empties it.
template <class Call>
int recordOpen(int directory, const char *path, int flags, Call call) {
  const bool isNew = (flags & O_CREAT) != 0 && real(&faccessat)(directory, path, F_OK, AT_SYMLINK_NOFOLLOW) != 0;
  const int opened = call();
  if (opened < 0 || !isRecording()) return opened;
  if (isNew) record("create " + nodeOf(opened) + ' ' + pathAt(directory, path));
  if (!isNew && (flags & O_TRUNC) != 0) record("truncate " + nodeOf(opened) + " 0");
  return opened;
}

string hexOf(const void *bytes, ssize_t size) {
  constexpr const char *kDigits = "0123456789abcdef";
  string text;
  for (ssize_t i = 0; i < size; ++i) {
    const unsigned byte = static_cast<const unsigned char *>(bytes)[i];
    text += {kDigits[byte / 16], kDigits[byte % 16]};
  }
  return text;
}

mode_t modeOf(int flags, va_list more) {
  return (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(more, int)) : 0;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

int open(const char *path, int flags, ...) {
  va_list more;
  va_start(more, flags);
  const mode_t mode = modeOf(flags, more);
  va_end(more);
  return recordOpen(AT_FDCWD, path, flags, [&] { return callUnlessFailing("open", &open, path, flags, mode); });
}
int openat(int directory, const char *path, int flags, ...) {
  va_list more;
  va_start(more, flags);
  const mode_t mode = modeOf(flags, more);
  va_end(more);
  return recordOpen(directory, path, flags,
                    [&] { return callUnlessFailing("openat", &openat, directory, path, flags, mode); });
}
int mkostemp(char *path, int flags) {
  const int opened = callUnlessFailing("mkostemp", &mkostemp, path, flags);
  if (opened >= 0 && isRecording()) record("create " + nodeOf(opened) + ' ' + path);
  return opened;
}
int mkdir(const char *path, mode_t mode) noexcept {
  const int made = callUnlessFailing("mkdir", &mkdir, path, mode);
  struct stat status = {};
  if (made != 0 || !isRecording()) return made;
  real (&stat)(path, &status);
  record("mkdir " + nodeOf(status) + ' ' + path);
  return made;
}
ssize_t write(int file, const void *bytes, std::size_t size) {
  const off_t offset = isRecording() ? lseek(file, 0, SEEK_CUR) : -1;
  const ssize_t count = transfer("write", &write, file, bytes, size);
  if (count > 0 && offset >= 0)
    record("write " + nodeOf(file) + ' ' + std::to_string(offset) + ' ' + hexOf(bytes, count));
  return count;
}
ssize_t read(int file, void *bytes, std::size_t size) {
  return transfer("read", &read, file, bytes, size);
}
// The stream's own read fails, as it reads from a file that is open for writing alone.
std::size_t fread(void *bytes, std::size_t size, std::size_t count, std::FILE *stream) {
  if (mustFail("fread")) {
    const int useless = real(&open)("/dev/null", O_WRONLY | O_CLOEXEC);
    dup3(useless, fileno(stream), O_CLOEXEC);
    close(useless);
  }
  return real(&fread)(bytes, size, count, stream);
}
int renameat(int from, const char *path, int to, const char *target) noexcept {
  const string line = isRecording() ? "rename " + pathAt(from, path) + ' ' + pathAt(to, target) : "";
  const int renamed = callUnlessFailing("renameat", &renameat, from, path, to, target);
  if (renamed == 0 && isRecording()) record(line);
  return renamed;
}
int unlinkat(int directory, const char *path, int flags) noexcept {
  const int removed = callUnlessFailing("unlinkat", &unlinkat, directory, path, flags);
  if (removed == 0 && isRecording()) record("unlink " + pathAt(directory, path));
  return removed;
}
int rename(const char *path, const char *target) noexcept {
  const string line = isRecording() ? string("rename ") + path + ' ' + target : "";
  const int renamed = callUnlessFailing("rename", &rename, path, target);
  if (renamed == 0 && isRecording()) record(line);
  return renamed;
}
int unlink(const char *path) noexcept {
  const int removed = callUnlessFailing("unlink", &unlink, path);
  if (removed == 0 && isRecording()) record(string("unlink ") + path);
  return removed;
}
int fsync(int file) {
  const int synced = callUnlessFailing("fsync", &fsync, file);
  if (synced == 0 && isRecording()) record("sync " + nodeOf(file));
  return synced;
}
int fstatat(int directory, const char *path, struct stat *status, int flags) noexcept {
  return callUnlessFailing("fstatat", &fstatat, directory, path, status, flags);
}
int fstat(int file, struct stat *status) noexcept {
  return callUnlessFailing("fstat", &fstat, file, status);
}
int lstat(const char *path, struct stat *status) noexcept {
  return callUnlessFailing("lstat", &lstat, path, status);
}
int stat(const char *path, struct stat *status) noexcept {
  return callUnlessFailing("stat", &stat, path, status);
}
int faccessat(int directory, const char *path, int mode, int flags) noexcept {
  return callUnlessFailing("faccessat", &faccessat, directory, path, mode, flags);
}
int fchown(int file, uid_t owner, gid_t group) noexcept {
  return callUnlessFailing("fchown", &fchown, file, owner, group);
}
int fchmod(int file, mode_t mode) noexcept {
  return callUnlessFailing("fchmod", &fchmod, file, mode);
}
int flock(int file, int operation) noexcept {
  return callUnlessFailing("flock", &flock, file, operation);
}
DIR *fdopendir(int file) {
  return callUnlessFailing("fdopendir", &fdopendir, file);
}
struct dirent *readdir(DIR *directory) {
  return callUnlessFailing("readdir", &readdir, directory);
}
std::FILE *fdopen(int file, const char *mode) noexcept {
  return callUnlessFailing("fdopen", &fdopen, file, mode);
}
std::FILE *fopencookie(void *cookie, const char *mode, cookie_io_functions_t functions) noexcept {
  return callUnlessFailing("fopencookie", &fopencookie, cookie, mode, functions);
}

}  // extern "C"
