// SPDX-License-Identifier: MIT
// The commands. Each ends by returning, or by throwing Stop with its exit status and message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "options.h"
#include "queue.h"
#include "stop.h"

namespace tool {

/** What the command line asks for. Each command looks at what it takes. */
struct Request {
  QueueName queue;
  GivenFields fields = {};
  std::size_t number = 1;  // of an entry, the first being 1
  std::uint32_t addLocation = SSIB_ADD_APPEND_LO;
  bool json = false;
  bool deleteFile = false;
  std::vector<QueueName> queues = {};  // those named beside --queue
  bool inPlace = false;
};

void listEntries(const Request &request);
void showEntry(const Request &request);  // also peek, with number 1
void addEntry(const Request &request);
void takeEntry(const Request &request);
void removeEntry(const Request &request);
void replaceEntry(const Request &request);
void mergeQueue(const Request &request);
void deleteQueue(const Request &request);
Exit checkQueues(const Request &request);
Exit salvageQueue(const Request &request);

/** The entry as `show` prints it. */
std::string shownEntry(const Request &request, const SSIB_ENTRY_LIST &element);

}  // namespace tool
