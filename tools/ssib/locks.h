// SPDX-License-Identifier: MIT
// What keeps commands from getting in each other's way.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "queue.h"

namespace tool {

// How long a lock is waited for, in milliseconds; VYX_HOST_FOREVER when this is not called.
void setLockWait(std::uint32_t milliseconds);

// Until when a lock is waited for at the longest: until this says true. The wait then ends by an Interrupted.
void setLockInterruption(bool (*isInterrupted)());

struct Interrupted {};

// Waits until no other command changes a queue in the directories of these, and keeps others from it as long as the
// object lives, at the latest until the process ends. Without a lock on this platform it says so on standard error.
class ChangeLock {
 public:
  // Throws Stop, also when the lock is not there within setLockWait's time, or when a queue is standard input.
  explicit ChangeLock(const std::vector<QueueName> &names);
  ~ChangeLock();
  ChangeLock(const ChangeLock &) = delete;
  ChangeLock &operator=(const ChangeLock &) = delete;

 private:
  std::vector<std::shared_ptr<void>> held_;
};

// Keeps other `run`s from a queue, while all other commands may work on it.
class RunLock {
 public:
  // The directory has to be there. Throws Stop, also when the lock is not there in time.
  explicit RunLock(const QueueName &name);
  ~RunLock();
  RunLock(const RunLock &) = delete;
  RunLock &operator=(const RunLock &) = delete;

 private:
  std::string path_;
  std::shared_ptr<void> held_;
};

}  // namespace tool
