// SPDX-License-Identifier: MIT
#include "open_queue.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "queue_file.h"
#include "stop.h"
#include "strict_reader.h"
#include "values.h"

namespace tool {
namespace {

// What the next write of the file would drop or change, a line for each.
std::vector<std::string> lossesOf(const StrictReading &reading) {
  std::vector<std::string> lines;
  if (reading.damage) lines.push_back("damaged at " + remarkAsLine(*reading.damage));
  for (const Remark &remark : reading.remarks) {
    if (remark.drops) lines.push_back(remarkAsLine(remark));
  }
  return lines;
}

bool isRead(const StrictEntry &entry, const Queue &queue, const SSIB_ENTRY_LIST &element) {
  SSIB_ENTRY_LIST *whole = elementOf(entry);
  const bool is = isSame(queue.form(), *whole, element);
  releaseElement(whole);
  return is;
}

// With too little memory the library reads less than a file holds, and does not say so.
bool isWhole(const Queue &queue, const StrictReading &reading) {
  return reading.damage || std::ranges::equal(reading.entries, queue.elements,
                                              [&](const StrictEntry &entry, const SSIB_ENTRY_LIST *element) {
                                                return isRead(entry, queue, *element);
                                              });
}

struct Opened {
  Queue queue;
  std::vector<std::string> losses;
};

// Without the lock a file that has become another one between the two readings is read again.
Opened open(const QueueName &name, Queue::Access access) {
  for (int again = access == Queue::Access::Unlocked ? 3 : 0;; --again) {
    Queue queue(name, access);
    const StrictReading reading = readStrictly(name.form(), storedBytes(name).value_or(""));
    if (isWhole(queue, reading)) return {std::move(queue), lossesOf(reading)};
    if (again == 0) refuse("open " + name.shown(), EFI_OUT_OF_RESOURCES);
  }
}

void warnOf(const std::vector<std::string> &losses, const QueueName &name) {
  for (const std::string &loss : losses) std::fprintf(stderr, "ssib: %s, %s\n", name.shown().c_str(), loss.c_str());
}

}  // namespace

Queue openToLook(const QueueName &name) {
  Opened opened = open(name, Queue::Access::Unlocked);
  warnOf(opened.losses, name);
  return std::move(opened.queue);
}

Queue openToChange(const QueueName &name, bool forced) {
  Opened opened = open(name, Queue::Access::Locked);
  if (opened.losses.empty() || forced) {
    warnOf(opened.losses, name);
    return std::move(opened.queue);
  }
  std::string message = "cannot rewrite " + name.shown() + " without losing something of it:\n";
  for (const std::string &loss : opened.losses) message += "  " + loss + "\n";
  throw Stop(Exit::Refused, message + name.checkCommand() + " tells what else is odd; --force writes all the same");
}

}  // namespace tool
