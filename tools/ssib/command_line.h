// SPDX-License-Identifier: MIT
// What the command line asks for.
#pragma once

#include <optional>

#include "command_table.h"

namespace tool {

struct Parsed {
  const Command *command = nullptr;  // null when help or version was asked for, which has been printed
  std::optional<Request> request = std::nullopt;
};

// Throws Stop (wrong usage) when the command line is not a command of the tool.
Parsed parseCommandLine(int argc, char **argv);

}  // namespace tool
