// SPDX-License-Identifier: MIT
// Queue files as bytes, whether or not the library can read them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "queue.h"

namespace tool {

/** What a file of the partition holds; none when it is missing. Throws Stop. */
std::optional<std::string> storedBytes(const QueueName &name);

/** Makes a file hold these bytes, or leaves it as it was. Throws Stop. */
void storeBytes(const QueueName &name, const std::string &bytes);

/** The queues of the partition by name, but for damaged files that were put aside. Throws Stop. */
std::vector<QueueName> allQueues();

/** What is added to the name of a damaged file that is put aside. */
inline constexpr const char *kPutAside = ".damaged";

}  // namespace tool
