// SPDX-License-Identifier: MIT
// How commands open a queue. The library drops at its next write what it does not know of a file: whoever looks is
// warned of that, and whoever changes the queue has to allow it.
#pragma once

#include "queue.h"

namespace tool {

// Reads a queue, and says on standard error what its next write would lose. Throws Stop.
Queue openToLook(const QueueName &name);

// Reads a queue that is to be written, under the lock. Throws Stop, also when writing it would lose something of its
// file, unless that is `forced`; then it is named on standard error.
Queue openToChange(const QueueName &name, bool forced);

}  // namespace tool
