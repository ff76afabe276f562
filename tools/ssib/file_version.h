// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <ctime>

#include "descriptor.h"

namespace tool {

class QueueName;

// What tells whether a queue's file is still the one that it was.
class FileVersion {
 public:
  FileVersion() = default;
  explicit FileVersion(const QueueName &name);

  // False also when either could not be found out.
  bool operator==(const FileVersion &other) const;

 private:
  enum class State : std::uint8_t { Unknown, Missing, There };

  State state_ = State::Unknown;
  // Kept open: as long as it is, no other file gets its number.
  Descriptor file_;
  std::uint64_t device_ = 0, number_ = 0, size_ = 0;
  timespec written_ = {};
};

}  // namespace tool
