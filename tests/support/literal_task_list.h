// SPDX-License-Identifier: MIT
// A second opinion on task lists: a reader and a writer that are as short and as literal as the format's rules allow,
// slow, and share nothing with the library. What both say must agree.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "VyxSSIBBackend.h"

namespace test {

// One row for each key of the document, in its order.
struct TaskKey {
  const char *key;
  const char *label;  // how the log names it
  SSIB_TEXT SSIB_ENTRY::*member;
};
extern const std::array<TaskKey, 8> kTaskKeys;

using LiteralJob = std::array<std::optional<std::string>, 8>;

// The eight strings of an entry, and those of each entry of a list.
LiteralJob literalJob(const SSIB_ENTRY &entry);
std::vector<LiteralJob> literalJobs(const SSIB_ENTRY_LIST *first);

struct LiteralOutcome {
  EFI_STATUS status = EFI_SUCCESS;
  std::vector<LiteralJob> jobs;  // what was read
  std::string bytes;             // what was written
  std::string events;            // a transcript of messages and calls of the platform
};

// Reads a text, which ends at its first NUL, when every attribute can be set.
LiteralOutcome literallyRead(const std::string &text);

// Writes a list to a file of that name.
LiteralOutcome literallyWrite(const std::vector<LiteralJob> &jobs, const std::string &fileName);

}  // namespace test
