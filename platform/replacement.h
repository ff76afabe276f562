/* SPDX-License-Identifier: MIT */
// Replaces a file in one step: the new contents are written beside the old file and take its
// place when they are complete.
#pragma once

#include "paths.h"

namespace vyx::platform {

// Until commit() succeeds the target is untouched; the destructor removes what was written beside it. When a
// process dies in between, the next writer in that directory removes it, and knows it from the file of a
// living writer by its lock.
class FileReplacement {
 public:
  FileReplacement() = default;
  FileReplacement(const FileReplacement &) = delete;
  FileReplacement &operator=(const FileReplacement &) = delete;
  ~FileReplacement();

  // Makes the directory, when it is missing, and the new file with mode 0600.
  EFI_STATUS begin(const Path &directory, const Path &target);

  // The new file, open for writing. Stays the replacement's: it carries the lock.
  int descriptor() const { return descriptor_; }

  // Puts the file into the target's place. It outlasts a power loss, unless VARSK_SYNC=0 says that it need not.
  // EFI_DEVICE_ERROR: the target has its old contents; only when the directory could not be synchronised, the new ones.
  EFI_STATUS commit();

 private:
  EFI_STATUS create();

  int descriptor_ = -1;
  Path directory_, target_, temporary_;
};

// Makes a finished change of a directory's entries outlast a power loss, unless VARSK_SYNC=0.
EFI_STATUS syncDirectory(const Path &directory);

}  // namespace vyx::platform
