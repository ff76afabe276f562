// SPDX-License-Identifier: MIT
// Where the stand-in keeps things, how it opens and how it locks them. Failures are thrown.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "failure.h"

namespace vyx::platform {

// An open file of the stand-in's own. It is never one of the three standard ones: a host that has closed its standard
// error would write messages into a queue.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int opened);  // what a system call returned
  Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor();

  int get() const { return number_; }
  int release() { return std::exchange(number_, -1); }

 private:
  int number_ = -1;
};

// $VARSK_ROOT, else $XDG_STATE_HOME/varsk, else $HOME/.local/state/varsk.
std::string rootPath();

// A partition's directory below the root. Asking for it is a visit to the partition.
std::string partitionPath(const wchar_t *partition);

// How often a client has asked for something in a partition.
unsigned partitionVisits();

// The name of a file or a partition. EFI_ACCESS_DENIED for one that is empty, begins with a dot, has a '/', is longer
// than a file name may be or is not Unicode text: names outside the partition cannot be formed.
std::string fileName(const wchar_t *name);

// Makes a directory and what is missing above it, each for the owner of the one above, and for the owner alone. What is
// new outlasts a power loss only after syncAncestors.
void makeDirectories(const std::string &path);

// Makes a directory outlast a power loss, and all above it, whoever made them.
void syncAncestors(const std::string &path);

// Opens a directory, not through a symbolic link.
Descriptor openDirectory(const std::string &path, int flags);

// What stands at a name, itself and not what it points to.
struct stat statusAt(int directory, const char *name);

// Opens an existing regular file. Anything else is refused, before it is opened: opening alone can block on a fifo and
// does things to a device.
Descriptor openRegular(int directory, const char *name, int flags);

struct stat statusOfFile(const Descriptor &file);

// Gives a new file to an owner and a group, as far as the system permits that. Returns whether it has the group.
bool giveTo(const struct stat &owner, const Descriptor &file);

// Writes all of a text; false when that failed.
bool writeAll(int descriptor, std::string_view text);

// Makes what was written outlast a power loss, unless VARSK_SYNC=0 says that it need not.
void sync(const Descriptor &file);

// A lock on a directory, against others in this process as well. Held as long as it lives. Directory and lock file are
// made when they are missing.
class Lock {
 public:
  // Waits for another holder at most so long; VYX_HOST_FOREVER is without limit. Throws VYX_HOST_TIMEOUT.
  Lock(const std::string &directory, std::uint32_t milliseconds);

 private:
  Descriptor file_;
};

// Tries again what a signal has interrupted.
template <class Call>
auto untilDone(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace vyx::platform
