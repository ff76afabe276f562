/* SPDX-License-Identifier: MIT */
// Where the stand-in keeps things: the root directory, the directory of a partition in it, the files in that.
#pragma once

#include <climits>

#include "PlatformServices.h"

namespace vyx::platform {

struct Path {
  char text[PATH_MAX] = "";
};

// All three: EFI_DEVICE_ERROR when the environment names no root or the path is too long for the system.

// $VARSK_ROOT, else $XDG_STATE_HOME/varsk, else $HOME/.local/state/varsk.
EFI_STATUS rootPath(Path &path);

// A file's path below the root; the directory's path first.
EFI_STATUS childPath(const Path &directory, const char *name, Path &path);

// A partition's directory and a file in it. EFI_ACCESS_DENIED when one of the names is empty, begins with a dot, has a
// '/', is longer than a file name may be or is no Unicode text: names outside the partition cannot be formed.
EFI_STATUS queuePath(const wchar_t *partition, const wchar_t *fileName, Path &directory, Path &path);

// What a failed system call means to a client of the partition storage.
EFI_STATUS statusOfErrno(int error);

}  // namespace vyx::platform
