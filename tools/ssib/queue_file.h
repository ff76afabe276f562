// SPDX-License-Identifier: MIT
// Queue files as bytes, whether or not the library can read them.
#pragma once

#include <optional>
#include <string>

#include "queue.h"

namespace tool {

/** What a file of the partition holds; none when it is missing. Throws Stop. */
std::optional<std::string> storedBytes(const QueueName &name);

/** Makes a file hold these bytes, or leaves it as it was. Throws Stop. */
void storeBytes(const QueueName &name, const std::string &bytes);

}  // namespace tool
