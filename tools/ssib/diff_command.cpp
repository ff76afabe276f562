// SPDX-License-Identifier: MIT
// diff: how two queues differ.
#include "commands.h"
#include "difference.h"
#include "open_queue.h"
#include "output.h"

namespace tool {
namespace {

std::string asLine(const Queue &first, const Queue &second, const Difference &difference) {
  const auto [i, j, changed] = difference;
  if (i == 0) return "entry " + std::to_string(j) + " only in " + second.name().shown() + "\n";
  std::string line = "entry " + std::to_string(i);
  if (j == 0) return line + " only in " + first.name().shown() + "\n";
  if (i != j) line += " is entry " + std::to_string(j) + " of " + second.name().shown();
  return line + (changed.empty() ? "" : (i != j ? " and" : "") + std::string(" differs in ") + changed) + "\n";
}

Record asRecord(const Difference &difference) {
  Record record;
  if (difference.first != 0) record.emplace_back("first", difference.first);
  if (difference.second != 0) record.emplace_back("second", difference.second);
  if (!difference.changed.empty()) record.emplace_back("changed", difference.changed);
  return record;
}

}  // namespace

Exit compareQueues(const Request &request) {
  for (const QueueName &name : {request.queue, *request.target}) requireExists(name, "open " + name.shown());
  const Queue first = openToLook(request.queue), second = openToLook(*request.target);
  std::string lines;
  std::vector<Record> records;
  const std::vector<Difference> differences = differencesOf(first, second);
  for (const Difference &difference : differences) {
    lines += asLine(first, second, difference);
    records.push_back(asRecord(difference));
  }
  print(request.json ? recordsAsJson(records) : lines);
  return differences.empty() ? Exit::Done : Exit::Different;
}

}  // namespace tool
