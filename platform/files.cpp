// SPDX-License-Identifier: MIT
#include "files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "HostPlatform.h"
#include "utf8.h"

namespace vyx::platform {
namespace {

unsigned visits = 0;  // to partitions

const char *setting(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

bool isDurable() {
  const char *value = setting("VARSK_SYNC");
  return value == nullptr || std::strcmp(value, "0") != 0;
}

// A path and the directories above it, from the outermost on.
std::vector<std::string> steps(const std::string &path) {
  std::vector<std::string> all = {path.front() == '/' ? "/" : "."};
  for (std::size_t end = 0; end != std::string::npos;) {
    end = path.find('/', end + 1);
    all.push_back(path.substr(0, end));
  }
  return all;
}

void makeDirectory(const std::string &path, const std::string &above) {
  if (mkdir(path.c_str(), 0700) != 0) {
    if (errno != EEXIST) throw failureOf(errno);
    return;
  }
  struct stat owner {};
  if (stat(above.c_str(), &owner) != 0) throw failureOf(errno);
  giveTo(owner, openDirectory(path, O_RDONLY));
}

// A directory that may be passed but not read was not made by a writer, nor was one that cannot be written.
void syncDirectory(const std::string &path) {
  const int opened = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0 && errno == EACCES) return;
  const Descriptor directory(opened);
  const bool isReadOnly = faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 && errno == EROFS;
  if (!isReadOnly) sync(directory);
}

// A lock file made by root has to be usable by the service that owns the directory.
Descriptor makeLockFile(const Descriptor &directory) {
  constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const int opened = openat(directory.get(), VYX_HOST_LOCK_NAME, kFlags, 0600);
  if (opened < 0 && errno == EEXIST) return openRegular(directory.get(), VYX_HOST_LOCK_NAME, O_RDWR);
  Descriptor made(opened);
  giveTo(statusOfFile(directory), made);
  return made;
}

Descriptor openLockFile(const std::string &path) {
  makeDirectories(path);
  const Descriptor directory = openDirectory(path, O_RDONLY);
  try {
    return openRegular(directory.get(), VYX_HOST_LOCK_NAME, O_RDWR);
  } catch (const Failure &failure) {
    if (failure.status != EFI_NOT_FOUND) throw;
    return makeLockFile(directory);
  }
}

}  // namespace

Descriptor::Descriptor(int opened) : number_(opened) {
  if (opened < 0) throw failureOf(errno);
  if (opened > STDERR_FILENO) return;
  number_ = fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  close(opened);
  if (number_ < 0) throw failureOf(error);
}

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

std::string rootPath() {
  if (const char *root = setting("VARSK_ROOT")) return root;
  if (const char *state = setting("XDG_STATE_HOME")) return std::string(state) + "/varsk";
  if (const char *home = setting("HOME")) return std::string(home) + "/.local/state/varsk";
  throw Failure{EFI_DEVICE_ERROR};
}

std::string partitionPath(const wchar_t *partition) {
  ++visits;
  const std::string name = fileName(partition);
  return rootPath() + '/' + name;
}

unsigned partitionVisits() {
  return visits;
}

std::string fileName(const wchar_t *name) {
  std::string text;
  for (; *name != L'\0' && text.size() <= NAME_MAX; ++name) {
    char bytes[4];
    const std::size_t length = encodeUtf8(static_cast<char32_t>(*name), bytes);
    require(length != 0 && *name != L'/', EFI_ACCESS_DENIED);
    text.append(bytes, length);
  }
  require(!text.empty() && text.front() != '.' && text.size() <= NAME_MAX, EFI_ACCESS_DENIED);
  return text;
}

void makeDirectories(const std::string &path) {
  const auto all = steps(path);
  for (std::size_t i = 1; i < all.size(); ++i) makeDirectory(all[i], all[i - 1]);
}

void syncAncestors(const std::string &path) {
  if (!isDurable()) return;
  for (const std::string &step : steps(path)) syncDirectory(step);
}

Descriptor openDirectory(const std::string &path, int flags) {
  require(S_ISDIR(statusAt(AT_FDCWD, path.c_str()).st_mode), EFI_ACCESS_DENIED);
  const int opened = open(path.c_str(), flags | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  require(opened >= 0 || errno != ENOTDIR, EFI_ACCESS_DENIED);  // it has just become a link
  return Descriptor(opened);
}

struct stat statusAt(int directory, const char *name) {
  struct stat status {};
  if (fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) throw failureOf(errno);
  return status;
}

Descriptor openRegular(int directory, const char *name, int flags) {
  require(S_ISREG(statusAt(directory, name).st_mode), EFI_ACCESS_DENIED);
  Descriptor file(openat(directory, name, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  require(S_ISREG(statusOfFile(file).st_mode), EFI_ACCESS_DENIED);
  return file;
}

struct stat statusOfFile(const Descriptor &file) {
  struct stat status {};
  require(fstat(file.get(), &status) == 0, EFI_DEVICE_ERROR);
  return status;
}

bool giveTo(const struct stat &owner, const Descriptor &file) {
  constexpr uid_t kSame = static_cast<uid_t>(-1);
  return fchown(file.get(), owner.st_uid, owner.st_gid) == 0 || fchown(file.get(), kSame, owner.st_gid) == 0;
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = untilDone([&] { return write(descriptor, text.data(), text.size()); });
    if (count < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// EINVAL: the file system keeps nothing back that could be lost. EROFS is no such sign: a file system that has met an
// error becomes read-only, with what was written in memory alone.
void sync(const Descriptor &file) {
  require(!isDurable() || fsync(file.get()) == 0 || errno == EINVAL, EFI_DEVICE_ERROR);
}

// The system gives the lock up with the process, however that ends.
Lock::Lock(const std::string &directory, std::uint32_t milliseconds) : file_(openLockFile(directory)) {
  constexpr auto kPause = std::chrono::milliseconds(10);
  const bool isLimited = milliseconds != VYX_HOST_FOREVER;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  while (untilDone([&] { return flock(file_.get(), isLimited ? LOCK_EX | LOCK_NB : LOCK_EX); }) != 0) {
    require(errno == EWOULDBLOCK, EFI_DEVICE_ERROR);
    require(std::chrono::steady_clock::now() < end, VYX_HOST_TIMEOUT);
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace vyx::platform
