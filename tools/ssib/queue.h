// SPDX-License-Identifier: MIT
// A queue as the commands see it: its name, its elements, copies of its entries.
//
// A handle is never given back to the library here: a close writes the file, and most commands only look. What an open
// has read stays with its handle until the process ends.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "fields.h"
#include "VyxSSIBBackend.h"

namespace tool {

/** A name that the headers give, which is ASCII, as the command line takes it. */
std::string plainName(const wchar_t *name);

/** "1 entry", "2 entries". */
std::string counted(std::size_t entries);

/** The name of a queue file: as the library takes it, and as it may be shown. */
class QueueName {
 public:
  /** Throws Stop when the library cannot be given that name. */
  explicit QueueName(const std::string &given);

  const wchar_t *wide() const { return wide_.c_str(); }
  const std::string &shown() const { return shown_; }
  Form form() const;
  /** This name with something at its end. */
  QueueName with(const char *suffix) const;
  /** The main queue of this queue's form. */
  QueueName mainQueue() const;
  bool operator==(const QueueName &other) const { return wide_ == other.wide_; }

 private:
  std::wstring wide_;
  std::string shown_;
};

/**
 * Keeps the library from saying on standard error, each time a handle is set up, that there is no debug-log service.
 * Does nothing when the environment asks for diagnostics.
 */
class QuietSetUp {
 public:
  QuietSetUp();
  ~QuietSetUp();
  QuietSetUp(const QuietSetUp &) = delete;
  QuietSetUp &operator=(const QuietSetUp &) = delete;

 private:
  int standardError_ = -1;  // kept aside; -1 when nothing was done
};

/** Starts the library, once, and sets gSSSIB2pvt up. Throws Stop. */
void startLibrary();

/** Opens a queue with gSSSIB2pvt; the change lock is held. Throws Stop. */
void openQueue(const QueueName &name);

/**
 * The same without the lock. The library looks at a file twice, first for its size; one that a writer replaces in
 * between looks damaged, so a file is not refused at the first try.
 */
void openQueueUnlocked(const QueueName &name);

/** Opens a queue with a handle of its own. Throws Stop. */
SSIB2_PRIVATE_DATA &openAside(const QueueName &name);

using Elements = std::vector<SSIB_ENTRY_LIST *>;

/** The elements of a handle's list, in order. They stay the list's. */
Elements elementsOf(const SSIB2_PRIVATE_DATA &handle);

/** What a queue's file holds now. Throws Stop when it cannot be read. */
Elements storedElements(const QueueName &name);

/**
 * Whether there is a file of that name. Throws Stop, "cannot ACTION", when the platform refuses to open it: that is all
 * by which the platform tells what it cannot read from what is missing.
 */
bool exists(const QueueName &name, const std::string &action);

/** What to say of a queue without entries: the library does not tell an empty file from a missing one. */
std::string emptyMessage(const QueueName &name);

/** The elements of the open queue. Throws Stop when there is no entry `number`, the first being 1. */
Elements elementsWith(const QueueName &name, std::size_t number);

struct ReleaseEntry {
  void operator()(SSIB_ENTRY *entry) const;
};

/** An entry with texts and node of its own. */
using OwnedEntry = std::unique_ptr<SSIB_ENTRY, ReleaseEntry>;

OwnedEntry newEntry();

/** A copy of an entry of the open queue, whose cursor is on it afterwards. Throws Stop. */
OwnedEntry copyOfEntry(const QueueName &name, SSIB_ENTRY_LIST &element);

}  // namespace tool
