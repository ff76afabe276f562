// SPDX-License-Identifier: MIT
// The table of commands: what each is called, takes and does, with its help.
#pragma once

#include <span>

#include "commands.h"

namespace tool {

struct Command {
  // What a command takes beside the options that all of them take.
  enum Takes : unsigned {
    Numbers = 1,      // of entries, and --match
    Fields = 2,       // an option for each field
    Place = 4,        // --at
    Source = 8,       // --from and --unless-match
    Unset = 16,       // --unset
    Everything = 32,  // --all
    Yes = 64,         // --yes
    Delete = 128,     // --delete
    Target = 256,     // --to, --to-place and --drop-fields
    Other = 512,      // another queue
    Queues = 1024,    // any number of queues
    InPlace = 2048,   // --in-place
    Force = 4096,     // --force
    Match = 8192,     // --match alone
    Handler = 16384,  // another command, with --follow, --tries and --failed-to
    Table = 32768,    // --columns and --wide
  };

  const char *name;
  unsigned takes;
  const char *usage;  // what stands after the name; shells complete the type at its end
  Exit (*run)(const Request &);
  const char *summary;
  const char *details;
};

std::span<const Command> commands();

// What the help of the tool itself says after the commands.
extern const char *const kFooter;

}  // namespace tool
