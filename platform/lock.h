/* SPDX-License-Identifier: MIT */
// A lock on a directory, across processes and within one.
#pragma once

#include <cstdint>
#include <string>

#include "files.h"

namespace vyx::platform {

// Held as long as it lives. Directory and lock file are made when they are missing.
class Lock {
 public:
  // Waits for another holder at most so long; VYX_HOST_FOREVER is without limit. Throws VYX_HOST_TIMEOUT.
  Lock(const std::string &directory, std::uint32_t milliseconds);

 private:
  Descriptor file_;
};

}  // namespace vyx::platform
