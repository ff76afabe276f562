// SPDX-License-Identifier: MIT
// The lock is an flock on a file of the directory: the system gives it up with the process, however that ends.
#include "lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "HostPlatform.h"

namespace vyx::platform {
namespace {

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
