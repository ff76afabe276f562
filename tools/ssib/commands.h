// SPDX-License-Identifier: MIT
// The commands. Each ends by returning its exit status, or by throwing Stop with that and a message.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "json.h"
#include "options.h"
#include "queue.h"
#include "selection.h"
#include "stop.h"

namespace tool {

// What the command line asks for. Each command looks at what it takes.
struct Request {
  std::string operation;  // the command's name
  QueueName queue;
  bool isQueueNamed = false;
  bool isFileNamed = false;  // by its path
  Selection selection;
  GivenFields fields = {};
  std::vector<const Field *> columns = {};  // of the table; empty: the usual ones
  std::vector<const Field *> unset = {};
  GivenFields unlessMatch = {};
  std::string source = {};  // the file of `add --from`, "-" for standard input; empty when there is none
  bool addInFront = false;
  std::vector<std::string> handler = {};  // the command that `run` hands entries to, with its arguments
  std::optional<QueueName> failedTo = std::nullopt;
  std::uint32_t tries = 1;
  bool follow = false;
  std::optional<QueueName> target = std::nullopt;
  std::size_t toPlace = 0;               // the first being 1; 0 for the end
  std::vector<std::string> queues = {};  // those that `check` looks at, as they were given; none for all
  bool json = false;
  bool deleteFile = false;
  bool inPlace = false;
  bool dropFields = false;
  bool everything = false;
  bool force = false;
  bool wide = false;
  bool yes = false;
};

Exit listEntries(const Request &request);
Exit showEntries(const Request &request);
Exit peekEntries(const Request &request);
Exit addEntries(const Request &request);
Exit takeEntries(const Request &request);
Exit removeEntries(const Request &request);
Exit replaceEntries(const Request &request);
Exit moveEntries(const Request &request);
Exit copyEntries(const Request &request);
Exit mergeQueue(const Request &request);
Exit deleteQueue(const Request &request);
Exit runHandler(const Request &request);
Exit watchQueue(const Request &request);
Exit listQueues(const Request &request);
Exit compareQueues(const Request &request);
Exit checkQueues(const Request &request);
Exit salvageQueue(const Request &request);

// The entries at these places as `show` prints them.
std::string shownEntries(const Request &request, const Queue &queue, const Places &places);

// Says on standard output what was done, as JSON when that is asked for. It stays done when standard output fails, so
// that is no failure.
void report(const Request &request, const std::string &text, const Record &details);

// Says on standard error what went wrong, as JSON when that is asked for; the request is null before there is one.
void complain(const Request *request, bool isJson, const Stop &stop);

// Moves an entry to another queue of the same form, which is written, and read back, first. Throws Stop.
void moveToEnd(Queue &source, std::size_t place, Queue &target);

// Throws Stop (wrong usage) when no entries are chosen.
void requireSelection(const Request &request);

// Asks on the terminal, unless the request says yes. Throws Stop when nobody agrees.
void confirm(const Request &request, const std::string &question);

}  // namespace tool
