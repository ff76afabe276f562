// SPDX-License-Identifier: MIT
// What the tool has from the stand-in platform beside the library's services. On another platform the functions are
// missing: then there is no lock, statuses are numbers, and only ASCII is named and shown as it is.
#pragma once

#include <string>

#include "HostPlatform.h"

namespace tool {

/** A status by the name that the headers give it, or as a number. */
std::string statusName(EFI_STATUS status);

/** A text as a terminal may be given it, without control characters; other bytes appear as \xNN. */
std::string escaped(const std::string &text);

/** The wide form of a queue's name from the command line. Throws Stop when it has none. */
std::wstring wideName(const std::string &given);

/**
 * Waits until no other command changes a queue, and keeps others from it as long as the object lives, at the latest
 * until the process ends. Without a lock on this platform it says so on standard error.
 */
class ChangeLock {
 public:
  /** Throws Stop. */
  ChangeLock();
  ~ChangeLock();
  ChangeLock(const ChangeLock &) = delete;
  ChangeLock &operator=(const ChangeLock &) = delete;

 private:
  VYX_HOST_LOCK *lock_ = nullptr;
};

}  // namespace tool
