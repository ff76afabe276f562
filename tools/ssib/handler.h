// SPDX-License-Identifier: MIT
// The command that `run` hands entries to.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

// How a command ended.
struct Ending {
  int status;  // as wait(2) gives it

  bool isSuccess() const { return status == 0; }
  // "ended with exit status 3", "was ended by signal 9".
  std::string text() const;
};

// Variables with their values; one that is not to be set has none.
using Variables = std::vector<std::pair<std::string, std::optional<std::string>>>;

// Runs a command to its end, with these variables in the environment and this text on standard input. It has a process
// group of its own: an interruption on the terminal is not for it, only what is passed on is. Throws Stop when the
// command cannot be started.
Ending runCommand(const std::vector<std::string> &command, const Variables &variables, const std::string &input);

}  // namespace tool
