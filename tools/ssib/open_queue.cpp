// SPDX-License-Identifier: MIT
#include "open_queue.h"

#include <cstdio>

#include "queue_file.h"
#include "stop.h"
#include "strict_reader.h"

namespace tool {
namespace {

// What the next write of the file would drop or change, a line for each.
std::vector<std::string> lossesOf(const QueueName &name) {
  const std::optional<std::string> bytes = storedBytes(name);
  if (!bytes) return {};
  const StrictReading reading = readStrictly(name.form(), *bytes);
  std::vector<std::string> lines;
  if (reading.damage) lines.push_back("damaged at " + remarkAsLine(*reading.damage));
  for (const Remark &remark : reading.remarks) {
    if (remark.drops) lines.push_back(remarkAsLine(remark));
  }
  return lines;
}

void warnOf(const std::vector<std::string> &losses, const QueueName &name) {
  for (const std::string &loss : losses) std::fprintf(stderr, "ssib: %s, %s\n", name.shown().c_str(), loss.c_str());
}

}  // namespace

Queue openToLook(const QueueName &name) {
  Queue queue(name, Queue::Access::Unlocked);
  warnOf(lossesOf(name), name);
  return queue;
}

Queue openToChange(const QueueName &name, bool forced) {
  Queue queue(name);
  const std::vector<std::string> losses = lossesOf(name);
  if (losses.empty() || forced) {
    warnOf(losses, name);
    return queue;
  }
  std::string message = "cannot write " + name.shown() + " anew without losing something of it:\n";
  for (const std::string &loss : losses) message += "  " + loss + "\n";
  throw Stop(Exit::Refused,
             message + "'ssib check " + name.shown() + "' says what else is odd; --force writes all the same");
}

}  // namespace tool
