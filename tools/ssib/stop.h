// SPDX-License-Identifier: MIT
// How a command ends when it cannot do what it was asked to: an exit status and one line for standard error.
#pragma once

#include <stdexcept>
#include <string>

#include "host.h"

namespace tool {

enum class Exit {
  Done = 0,
  NothingThere = 1,
  Different = 1,
  Remarks = 1,
  Usage = 2,
  Refused = 3,
  HandlerFailed = 4,
  NotRemoved = 5
};

// Ends the command. The message goes to a terminal as it is, so what comes from outside is in it escaped.
class Stop : public std::runtime_error {
 public:
  Stop(Exit exit, const std::string &message, EFI_STATUS status = EFI_SUCCESS)
      : std::runtime_error(message), exit_(exit), status_(status) {}
  Exit exit() const { return exit_; }
  // What the library or the platform refused with; EFI_SUCCESS when neither did.
  EFI_STATUS status() const { return status_; }

 private:
  Exit exit_;
  EFI_STATUS status_;
};

// Whether a change has begun: a command that memory fails then may have made it.
inline bool hasChangeBegun = false;

// Ends a command whose change may have been made: it cannot be looked at, or may not outlast a power loss.
class Unconfirmed : public Stop {
 public:
  explicit Unconfirmed(const Stop &stop)
      : Stop(stop.exit(), std::string(stop.what()) + "; the change may have been made", stop.status()) {}
};

// Makes a change. When it was not made, what that means is said at the end of the message.
template <class Change>
void changeOrSay(const std::string &consequence, Change change) {
  try {
    change();
  } catch (const Unconfirmed &) {
    throw;
  } catch (const Stop &stop) {
    throw Stop(stop.exit(), std::string(stop.what()) + "; " + consequence, stop.status());
  }
}

// Ends the command with "cannot ACTION: STATUS".
[[noreturn]] inline void refuse(const std::string &action, EFI_STATUS status) {
  throw Stop(Exit::Refused, "cannot " + action + ": " + statusName(status), status);
}

// Ends the command unless `status` is EFI_SUCCESS; the library's own statuses of unwritten files count as failures.
inline void require(EFI_STATUS status, const std::string &action) {
  if (status != EFI_SUCCESS) refuse(action, status);
}

}  // namespace tool
