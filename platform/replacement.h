// SPDX-License-Identifier: MIT
// Replaces a file in one step: the new contents are written beside the old file and take its place when they are
// complete.
#pragma once

#include <string>

#include "files.h"

namespace vyx::platform {

// Until commit() succeeds the target is untouched; the destructor removes what was written beside it. When a process
// dies in between, the next writer in that directory removes it, and knows it from the file of a living writer by its
// lock. A child that is forked meanwhile has a copy of the object, but the file stays its parent's.
class Replacement {
 public:
  Replacement() = default;
  Replacement(const Replacement &) = delete;
  Replacement &operator=(const Replacement &) = delete;
  ~Replacement();

  // Makes the directory, when it is missing, and the new file. EFI_ACCESS_DENIED when there is something at the
  // target's name that is not a regular file, or one that may not be written, though its directory would allow to
  // replace it.
  void begin(const std::string &directory, const std::string &target);

  // False when that failed, and in a child.
  bool write(std::string_view text) const;

  // The new file, which has the modification time of the last write.
  struct stat status() const {
    return statusOfFile(file_);
  }

  // Puts the file into the target's place, with owner, group and mode of the old one where the system permits that; a
  // new one belongs to the owner of the directory, mode 0600. It outlasts a power loss, unless VARSK_SYNC=0 says that
  // it need not. EFI_DEVICE_ERROR: the target has its old contents; only when the directory could not be
  // synchronised, the new ones.
  void commit();

 private:
  bool isOwn() const;
  bool targetExists() const;
  void makeFile();
  void setOwnerAndMode() const;

  int process_ = 0;
  std::string path_, target_, temporary_;
  Descriptor directory_, file_;
};

}  // namespace vyx::platform
