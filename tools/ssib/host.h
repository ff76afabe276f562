// SPDX-License-Identifier: MIT
// What the tool has from the stand-in platform beside the library's services. On another platform the functions are
// missing: then there is no lock, statuses are numbers, only ASCII is named and shown as it is, and what needs to know
// where the files are is refused.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "HostPlatform.h"

namespace tool {

struct Free {
  void operator()(void *block) const { std::free(block); }
};
// What the library or the platform has handed out on the process heap.
template <class T>
using Block = std::unique_ptr<T, Free>;

// A status by the name that the headers give it, or as a number.
std::string statusName(EFI_STATUS status);

// A text as a terminal may be given it, without control characters; other bytes appear as \xNN.
std::string escaped(const std::string &text);

// The wide form of a queue's name from the command line. Throws Stop when it has none.
std::wstring wideName(const std::string &given);

// The partition's directory, or what is in it, safe for a terminal; or why there is none.
std::string partitionPath(const std::string &below = "");

// The partition's directory. Throws Stop when the platform or the environment does not say where it is.
std::string hostPartition();

// What the platform says of its last change, which the library does not pass on; EFI_SUCCESS where it says nothing.
EFI_STATUS writeStatus();

struct HostFile {
  std::string name;
  std::uintmax_t bytes;
};

// What is added to the name of a damaged file that is put aside: it is no queue any more.
inline constexpr const char *kPutAside = ".damaged";

// The regular files of the partition that may be queues, by name. Throws Stop.
std::vector<HostFile> partitionFiles();

}  // namespace tool
