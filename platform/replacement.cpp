// SPDX-License-Identifier: MIT
// The file beside the target has a name with a leading dot, which no client of the partition storage can open, and an
// flock on it for as long as its writer lives.
#include "replacement.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

namespace vyx::platform {
namespace {

constexpr int kMostAttempts = 100;  // to make a file that another writer does not take for a stale one
constexpr std::string_view kPattern = ".new-XXXXXX", kPrefix = ".new-";

bool lock(const Descriptor &file, int mode) {
  return untilDone([&] { return flock(file.get(), mode); }) == 0;
}

bool isTemporaryName(std::string_view name) {
  const auto isLetter = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
  };
  return name.size() == kPattern.size() && name.starts_with(kPrefix) &&
         std::all_of(name.begin() + kPrefix.size(), name.end(), isLetter);
}

// A lock that can be had has no living owner. Its owner-to-be, when it has made the file but not yet locked it, sees
// that the file is gone and makes another.
void removeIfStale(int directory, const char *name) {
  if (statusAt(directory, name).st_uid != geteuid()) return;
  const Descriptor file = openRegular(directory, name, O_RDONLY);
  if (lock(file, LOCK_EX | LOCK_NB)) unlinkat(directory, name, 0);
}

struct Close {
  void operator()(DIR *directory) const { closedir(directory); }
};

void removeStaleFiles(const Descriptor &path) {
  Descriptor opened(openat(path.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, Close> directory(fdopendir(opened.get()));
  if (directory == nullptr) return;
  opened.release();
  while (const dirent *entry = readdir(directory.get()))
    if (isTemporaryName(entry->d_name)) statusOf([&] { removeIfStale(path.get(), entry->d_name); });
}

std::optional<struct stat> findAt(const Descriptor &directory, const std::string &name) {
  try {
    return statusAt(directory.get(), name.c_str());
  } catch (const Failure &failure) {
    if (failure.status != EFI_NOT_FOUND) throw;
    return std::nullopt;
  }
}

}  // namespace

Replacement::~Replacement() {
  if (!temporary_.empty() && isOwn()) unlinkat(directory_.get(), temporary_.c_str(), 0);
}

bool Replacement::isOwn() const {
  return process_ == getpid();
}

bool Replacement::targetExists() const {
  const auto old = findAt(directory_, target_);
  if (!old) return false;
  require(S_ISREG(old->st_mode), EFI_ACCESS_DENIED);
  if (faccessat(directory_.get(), target_.c_str(), W_OK, AT_EACCESS) != 0) throw failureOf(errno);
  return true;
}

void Replacement::makeFile() {
  std::string path = path_ + '/' + std::string(kPattern);
  const int opened = mkostemp(path.data(), O_CLOEXEC);
  if (opened >= 0) temporary_ = path.substr(path_.size() + 1);
  file_ = Descriptor(opened);
  require(lock(file_, LOCK_EX), EFI_DEVICE_ERROR);
}

void Replacement::begin(const std::string &directory, const std::string &target) {
  process_ = getpid();
  path_ = directory;
  target_ = target;
  makeDirectories(path_);
  directory_ = openDirectory(path_, O_RDONLY);
  if (!targetExists()) syncAncestors(path_);
  statusOf([&] { removeStaleFiles(directory_); });  // what cannot be removed stays, and stops nobody
  makeFile();
  for (int i = 0; status().st_nlink == 0; ++i) {
    require(i < kMostAttempts, EFI_DEVICE_ERROR);
    makeFile();
  }
}

bool Replacement::write(std::string_view text) const {
  return isOwn() && writeAll(file_.get(), text);
}

// A group that the file could not be given does not get the rights of the one that had them.
void Replacement::setOwnerAndMode() const {
  const auto old = findAt(directory_, target_);
  const bool hasGroup = giveTo(old ? *old : statusOfFile(directory_), file_);
  const mode_t mode = old ? old->st_mode & 0777 : 0600;
  fchmod(file_.get(), hasGroup ? mode : mode & ~mode_t{070});
}

void Replacement::commit() {
  require(isOwn(), EFI_DEVICE_ERROR);
  setOwnerAndMode();
  sync(file_);
  const int directory = directory_.get();
  require(renameat(directory, temporary_.c_str(), directory, target_.c_str()) == 0, EFI_DEVICE_ERROR);
  temporary_.clear();
  sync(directory_);
}

}  // namespace vyx::platform
