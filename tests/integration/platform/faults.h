/* SPDX-License-Identifier: MIT */
// Makes openat, fstatat, fstat and fsync of this process fail.
#pragma once

#include <string>

namespace vyx::tests {

// Fails the nth call from now on, once or with all that follow it. A program that is not told otherwise takes it from
// the variable VYX_FAULT, "CALL NTH ERROR".
struct Fault {
  std::string call;
  int nth, error;
  bool lasts = false;
  int seen = 0;
};
Fault &fault();

}  // namespace vyx::tests
