// SPDX-License-Identifier: MIT
// A second opinion on task lists: a reader and a writer that are as short and as literal as the format's rules allow,
// slow, and share nothing with the library. What both say must agree.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VyxSSIBBackend.h"

namespace test {

// The texts that a task list has of a job, in the order of the document, and those of a list of jobs.
using LiteralJob = std::array<std::optional<std::string>, 8>;
using LiteralList = std::vector<LiteralJob>;
LiteralJob literalJob(const SSIB_ENTRY &entry);
LiteralList literalList(const SSIB_ENTRY_LIST *first);

// Reads a text, which ends at its first NUL.
std::pair<EFI_STATUS, LiteralList> literallyRead(std::string text);

// The file of a list that has at least one job.
std::string literallyWrite(const LiteralList &jobs);

}  // namespace test
