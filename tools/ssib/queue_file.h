// SPDX-License-Identifier: MIT
// Queue files as bytes, whether or not the library can read them.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "queue.h"
#include "VyxSSIBBackend.h"

namespace tool {

struct CloseStored {
  void operator()(std::FILE *stream) const { varsk_fclose_1(sVarskPartition, stream, "r"); }
};
using StoredFile = std::unique_ptr<std::FILE, CloseStored>;

// A file, open for reading; null when it is missing, which EFI_NOT_FOUND alone says. Throws Stop, "cannot ACTION", for
// all else that does not open: the library would take some of it for missing.
StoredFile openStored(const QueueName &name, const std::string &action);

// What a file of the partition holds; none when it is missing. Throws Stop.
std::optional<std::string> storedBytes(const QueueName &name);

// Makes a file hold these bytes, or leaves it as it was. Throws Stop.
void storeBytes(const QueueName &name, const std::string &bytes);

}  // namespace tool
