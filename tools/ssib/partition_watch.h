// SPDX-License-Identifier: MIT
// Waiting for a queue's file to change, whoever changes it.
#pragma once

#include <cstddef>
#include <string>

#include "descriptor.h"
#include "queue.h"

namespace tool {

class PartitionWatch {
 public:
  explicit PartitionWatch(const QueueName &name);

  // Waits until the file has changed, until an interruption, or for a while: what the system cannot tell is found by
  // looking. Returns how often the file was replaced or deleted, as far as is known.
  std::size_t wait();

  // How often that was since the last question; does not wait.
  std::size_t changes();

 private:
  bool start();

  std::string directory_, file_;
  Descriptor events_;
};

}  // namespace tool
