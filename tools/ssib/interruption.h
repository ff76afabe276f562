// SPDX-License-Identifier: MIT
// SIGINT and SIGTERM as requests to end, for commands that go on until one comes.
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace tool {

// From here on the two signals do not end the process, unless whoever started it had them ignored.
void catchInterruptions();

// Whether one of them came, and whether another one followed.
bool isInterrupted();
bool isInterruptedAgain();

// All but the first are passed on to this group of processes from now on; 0 stands for none.
void passInterruptionsTo(pid_t group);

// Waits that long, until there is something to read, until nobody reads standard output any more, or until a signal
// comes; not at all when one has come.
void pauseFor(std::uint32_t milliseconds, int file = -1);

// Whether standard output is a pipe that nobody reads.
bool isReaderGone();

}  // namespace tool
