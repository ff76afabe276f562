// SPDX-License-Identifier: MIT
// Replaces a file in one step. The file beside the target has a name with a leading dot, which no client of the
// partition storage can open, and an flock on it for as long as its writer lives.
#include "replacement.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace vyx::platform {
namespace {

constexpr std::string_view kPrefix = ".new-";
constexpr const char *kPattern = ".new-XXXXXX";

bool wantSync() {
  const char *setting = std::getenv("VARSK_SYNC");
  return setting == nullptr || std::strcmp(setting, "0") != 0;
}

bool lock(int descriptor, int mode) {
  int result = 0;
  do {
    result = flock(descriptor, mode);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

// A lock that can be had has no living owner. Its owner-to-be, when it has made the file but not yet locked it, sees
// that the file is gone and makes another.
void removeIfStale(int directory, const char *name) {
  const int descriptor = openat(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return;
  if (lock(descriptor, LOCK_EX | LOCK_NB)) unlinkat(directory, name, 0);
  close(descriptor);
}

void removeStaleFiles(const Path &path) {
  DIR *directory = opendir(path.text);
  if (directory == nullptr) return;
  while (const dirent *entry = readdir(directory))
    if (std::string_view(entry->d_name).starts_with(kPrefix)) removeIfStale(dirfd(directory), entry->d_name);
  closedir(directory);
}

// Makes a directory and what is missing above it, for the owner alone. What was made outlasts a power loss like the file
// that is to come into it.
EFI_STATUS makeDirectories(const Path &path) {
  Path part = path, parent;
  parent.text[0] = path.text[0] == '/' ? '/' : '.';
  for (char *slash = part.text; slash != nullptr;) {
    slash = std::strchr(slash + 1, '/');
    if (slash != nullptr) *slash = '\0';
    const bool isNew = mkdir(part.text, 0700) == 0;
    if (!isNew && errno != EEXIST) return statusOfErrno(errno);
    if (isNew && syncDirectory(parent) != EFI_SUCCESS) return EFI_DEVICE_ERROR;
    parent = part;
    if (slash != nullptr) *slash = '/';
  }
  return EFI_SUCCESS;
}

bool isLinked(int descriptor) {
  struct stat info {};
  return fstat(descriptor, &info) == 0 && info.st_nlink > 0;
}

}  // namespace

FileReplacement::~FileReplacement() {
  if (temporary_.text[0] != '\0') unlink(temporary_.text);
  if (descriptor_ >= 0) close(descriptor_);
}

EFI_STATUS FileReplacement::create() {
  Path temporary;
  if (const EFI_STATUS status = childPath(directory_, kPattern, temporary); status != EFI_SUCCESS) return status;
  descriptor_ = mkostemp(temporary.text, O_CLOEXEC);
  if (descriptor_ < 0) return statusOfErrno(errno);
  temporary_ = temporary;
  return lock(descriptor_, LOCK_EX) && fchmod(descriptor_, 0600) == 0 ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

EFI_STATUS FileReplacement::begin(const Path &directory, const Path &target) {
  directory_ = directory;
  target_ = target;
  if (const EFI_STATUS status = makeDirectories(directory); status != EFI_SUCCESS) return status;
  removeStaleFiles(directory);
  while (true) {
    if (const EFI_STATUS status = create(); status != EFI_SUCCESS) return status;
    if (isLinked(descriptor_)) return EFI_SUCCESS;
    close(std::exchange(descriptor_, -1));
  }
}

EFI_STATUS FileReplacement::commit() {
  if (wantSync() && fsync(descriptor_) != 0) return EFI_DEVICE_ERROR;
  if (rename(temporary_.text, target_.text) != 0) return EFI_DEVICE_ERROR;
  temporary_.text[0] = '\0';
  return syncDirectory(directory_);
}

EFI_STATUS syncDirectory(const Path &path) {
  if (!wantSync()) return EFI_SUCCESS;
  const int directory = open(path.text, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) return EFI_DEVICE_ERROR;
  const bool synced = fsync(directory) == 0;
  close(directory);
  return synced ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

}  // namespace vyx::platform
