// SPDX-License-Identifier: MIT
// Where a queue file lies that is named by its path. The library knows the files of partitions alone, and partitions
// below $VARSK_ROOT alone: a file elsewhere is worked on as the one file of a private partition. It is copied there
// before each look, and put back from there after each change, in one step.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace tool {

class QueueName;

class Place {
 public:
  // The place of the file at a path, "-" for what standard input holds; null when that is the partition. `name`
  // receives the file's name there. Throws Stop when there can be no queue file at that path.
  static std::shared_ptr<const Place> of(const std::string &path, std::string &name);

  ~Place();
  Place(const Place &) = delete;
  Place &operator=(const Place &) = delete;

  // What $VARSK_ROOT has to be there.
  const std::string &root() const { return root_; }
  // The directory of the file; empty for standard input.
  const std::string &directory() const { return directory_; }
  // Whether the directory is a partition, which has a lock and needs no copies.
  bool isPartition() const { return private_.empty(); }
  bool isInput() const { return directory_.empty(); }

  // Make the copy what the file is, and the file what the copy is. Throw Stop.
  void fetch(const std::string &name) const;
  void putBack(const std::string &name) const;

 private:
  explicit Place(std::string directory);

  std::string directory_, root_;
  std::string private_;  // the private partition; empty when there is none
};

// For as long as it lives, the library and the platform find the queue of that name, as it is now. Throws Stop.
class AtPlace {
 public:
  explicit AtPlace(const QueueName &name);
  ~AtPlace();
  AtPlace(const AtPlace &) = delete;
  AtPlace &operator=(const AtPlace &) = delete;

  // To be called when the file was written or deleted. Throws Stop.
  void putBack() const;

 private:
  const QueueName &name_;
  std::optional<std::string> rootBefore_;
};

// The directory of a queue's file. Throws Stop when there is none.
std::string directoryOf(const QueueName &name);

}  // namespace tool
