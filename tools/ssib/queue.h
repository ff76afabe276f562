// SPDX-License-Identifier: MIT
// A queue as the commands see it: its name, and its elements in the order in which they are written.
//
// A handle is never given back to the library here: a close writes the file, and most commands only look.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "fields.h"
#include "file_version.h"
#include "place.h"
#include "VyxSSIBBackend.h"

namespace tool {

// A name that the headers give, which is ASCII, as the command line takes it.
std::string plainName(const wchar_t *name);

// "1 entry", "2 entries".
std::string counted(std::size_t entries);

// The name of a queue file: as the library takes it, and as it may be shown.
class QueueName {
 public:
  // Throws Stop when the library cannot be given that name.
  explicit QueueName(const std::string &given);
  // The queue file at a path, "-" for what standard input holds. Throws Stop when there can be none.
  static QueueName ofFile(const std::string &path);

  // Where the file is when it was named by its path; null: in the partition.
  const Place *place() const { return place_.get(); }
  bool isByPath() const { return isByPath_; }
  // The name of the file, without directories.
  const std::string &plain() const { return plain_; }
  const wchar_t *wide() const { return wide_.c_str(); }
  const std::string &shown() const { return shown_; }
  Form form() const;
  // "'ssib check NAME'": what to do about a file that is damaged.
  std::string checkCommand() const;
  // This name with something at its end.
  QueueName with(const char *suffix) const;
  // The main queue of this queue's form.
  QueueName mainQueue() const;
  bool operator==(const QueueName &other) const { return wide_ == other.wide_ && place_ == other.place_; }

 private:
  std::string plain_;
  std::wstring wide_;
  std::string shown_;
  std::shared_ptr<const Place> place_;
  bool isByPath_ = false;
};

// Starts the library, once, and sets gSSSIB2pvt up. Throws Stop.
void startLibrary();

// Whether there is a file of that name. Throws Stop, "cannot ACTION", when that cannot be found out.
bool exists(const QueueName &name, const std::string &action);

// "there is no NAME", and what to do.
std::string missingMessage(const QueueName &name);

// Throws Stop when there is no such file.
void requireExists(const QueueName &name, const std::string &action);

// Deletes the file and looks whether it is gone. Throws Stop; Unconfirmed when it may be.
void deleteFile(const QueueName &name);

// The elements of a queue in the order in which they are to be written.
using Elements = std::vector<SSIB_ENTRY_LIST *>;

// Places of elements in a queue, rising; the first is 0.
using Places = std::vector<std::size_t>;

// A queue that was read. Owns its elements.
class Queue {
 public:
  enum class Access { Locked, Unlocked };

  // Reads the file; a missing one is a queue without elements. Throws Stop, "cannot ACTION NAME".
  explicit Queue(const QueueName &name, Access access = Access::Locked, const std::string &action = "open");

  // A queue of these elements, which become its own, whatever is in its file. Throws std::bad_alloc.
  Queue(const QueueName &name, Elements own);

  Queue(Queue &&) = default;
  Queue &operator=(Queue &&other) noexcept;
  ~Queue();

  const QueueName &name() const { return name_; }
  Form form() const { return name_.form(); }

  // What is in the queue. Elements may be moved, put in and, once they are in no queue, released.
  Elements elements;

  // Whether the file is still the one that was read, or written: for sure when this says so.
  bool isCurrent() const;

  // Takes out the elements at these places and hands them over.
  Elements takeOut(const Places &places);

  // Writes the elements to the file and makes sure that it gives them back; the file of a task list without any is
  // deleted, because the form has no empty list. Throws Stop; Unconfirmed when the file may be the new one.
  void store();

 private:
  struct ForgetHandle {
    void operator()(SSIB2_PRIVATE_DATA *handle) const;
  };
  using Handle = std::unique_ptr<SSIB2_PRIVATE_DATA, ForgetHandle>;

  static Handle newHandle(const QueueName &name);

  QueueName name_;
  FileVersion version_;
  Handle handle_;
};

// Releases elements that are in no queue.
void release(const Elements &elements);

// What to say of a queue without entries: that it is empty, or missing.
std::string emptyMessage(const QueueName &name);

}  // namespace tool
