// SPDX-License-Identifier: MIT
#include "locks.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <thread>

#include "descriptor.h"
#include "host.h"
#include "stop.h"

#pragma weak vyxHostLockPartition
#pragma weak vyxHostUnlockPartition

namespace tool {
namespace {

using Held = std::shared_ptr<void>;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

std::uint32_t waitMilliseconds = VYX_HOST_FOREVER;
bool (*isInterruptedNow)() = nullptr;

// Waits quietly for as long as commands usually take, then says so and waits on. `tryFor` waits a little while itself.
EFI_STATUS waitForLock(const char *holder, const std::function<EFI_STATUS(std::uint32_t)> &tryFor) {
  constexpr std::uint32_t kWhile = 100;
  constexpr Milliseconds kQuiet(1000);
  const Clock::time_point begin = Clock::now();
  bool isSaid = false;
  for (;;) {
    const auto waited = std::chrono::duration_cast<Milliseconds>(Clock::now() - begin);
    const bool isOver = waitMilliseconds != VYX_HOST_FOREVER && waited >= Milliseconds(waitMilliseconds);
    const EFI_STATUS status = tryFor(isOver ? 0 : std::min(kWhile, waitMilliseconds));
    if (status != VYX_HOST_TIMEOUT || isOver) return status;
    if (isInterruptedNow != nullptr && isInterruptedNow()) throw Interrupted();
    if (isSaid || waited < kQuiet) continue;
    std::fprintf(stderr, "ssib: another command %s; waiting for it\n", holder);
    isSaid = true;
  }
}

EFI_STATUS tryFlock(int file, std::uint32_t milliseconds) {
  constexpr std::uint32_t kPause = 10;
  if (flock(file, LOCK_EX | LOCK_NB) == 0) return EFI_SUCCESS;
  if (errno != EWOULDBLOCK && errno != EINTR) return EFI_DEVICE_ERROR;
  std::this_thread::sleep_for(Milliseconds(std::min(kPause, milliseconds)));
  return VYX_HOST_TIMEOUT;
}

// A directory other than the partition: its own lock, so that no file is left in it.
Held lockDirectory(const std::string &path) {
  const int directory = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) throw Stop(Exit::Refused, "cannot lock " + escaped(path) + ": " + std::strerror(errno));
  Held held = std::make_shared<Descriptor>(directory);
  const EFI_STATUS status =
      waitForLock("changes a queue", [&](std::uint32_t wait) { return tryFlock(directory, wait); });
  require(status, "lock " + escaped(path));
  return held;
}

Held lockPartition(const QueueName &name) {
  const AtPlace there(name);
  VYX_HOST_LOCK *lock = nullptr;
  const EFI_STATUS status = waitForLock(
      "changes a queue", [&](std::uint32_t wait) { return vyxHostLockPartition(sVarskPartition, wait, &lock); });
  if (status != EFI_SUCCESS) refuse("lock the queues: " + partitionPath("/" VYX_HOST_LOCK_NAME), status);
  return {lock, vyxHostUnlockPartition};
}

Held lockPlaceOf(const QueueName &name) {
  const Place *place = name.place();
  if (place == nullptr || place->isPartition()) return lockPartition(name);
  if (place->isInput()) throw Stop(Exit::Usage, "standard input can only be looked at");
  return lockDirectory(place->directory());
}

// Locked, and still the file of that name: null when its last holder has removed it in between.
Held openRunLock(const std::string &path, const struct stat &directory) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (file < 0) throw Stop(Exit::Refused, "cannot lock " + escaped(path) + ": " + std::strerror(errno));
  Held held = std::make_shared<Descriptor>(file);
  static_cast<void>(fchown(file, directory.st_uid, directory.st_gid));
  require(waitForLock("runs jobs of this queue", [&](std::uint32_t wait) { return tryFlock(file, wait); }),
          "lock " + escaped(path));
  struct stat status {};
  return fstat(file, &status) == 0 && status.st_nlink != 0 ? held : nullptr;
}

}  // namespace

void setLockWait(std::uint32_t milliseconds) {
  waitMilliseconds = milliseconds;
}

void setLockInterruption(bool (*isInterrupted)()) {
  isInterruptedNow = isInterrupted;
}

// Whoever needs two locks takes them in the order of their paths.
ChangeLock::ChangeLock(const std::vector<QueueName> &names) {
  if (vyxHostLockPartition == nullptr) {
    std::fputs("ssib: this platform has no lock; see to it that nobody else changes the queues\n", stderr);
    return;
  }
  std::map<std::string, const QueueName *> places;
  for (const QueueName &name : names) places.emplace(name.place() != nullptr ? name.place()->directory() : "", &name);
  for (const auto &[path, name] : places) held_.push_back(lockPlaceOf(*name));
}

ChangeLock::~ChangeLock() = default;

RunLock::RunLock(const QueueName &name) {
  const std::string directory = directoryOf(name);
  path_ = directory + "/.run-" + name.plain();
  struct stat status {};
  if (stat(directory.c_str(), &status) != 0) {
    throw Stop(Exit::Refused, "cannot lock " + escaped(path_) + ": " + std::strerror(errno));
  }
  while (held_ == nullptr) held_ = openRunLock(path_, status);
}

// Removed before it is given up: whoever waits for it sees that, and makes a new one.
RunLock::~RunLock() {
  unlink(path_.c_str());
}

}  // namespace tool
