// SPDX-License-Identifier: MIT
// Commands that change a queue exclude each other, across processes, by an advisory lock on one file of the partition.
#pragma once

namespace ssib {

/** Waits for the lock and holds it as long as the object lives, at the latest until the process ends. */
class ChangeLock {
 public:
  /** Creates directory and file when they are missing. Throws Stop. */
  ChangeLock();
  ~ChangeLock();
  ChangeLock(const ChangeLock &) = delete;
  ChangeLock &operator=(const ChangeLock &) = delete;

 private:
  int file_;
};

}  // namespace ssib
