// SPDX-License-Identifier: MIT
// The queue files of the partition.
#include "commands.h"
#include "host.h"
#include "output.h"
#include "stop.h"

namespace tool {
namespace {

struct Found {
  std::string name, form, problem;
  std::size_t entries;
  std::uintmax_t bytes;
};

Found lookAt(const HostFile &file) {
  Found found = {escaped(file.name), "", "", 0, file.bytes};
  try {
    const QueueName name(file.name);
    found.form = name.form() == Form::Xml ? "XML queue" : "task list";
    found.entries = Queue(name, Queue::Access::Unlocked).elements.size();
  } catch (const Stop &stop) {
    found.problem = stop.status() == EFI_INVALID_PARAMETER ? "damaged" : "cannot be read";
  }
  return found;
}

std::string asJson(const std::vector<Found> &all) {
  std::vector<Record> records;
  for (const Found &found : all) {
    Record &record = records.emplace_back(Record{{"file", found.name}, {"form", found.form}, {"bytes", found.bytes}});
    if (found.problem.empty()) {
      record.emplace_back("entries", found.entries);
    } else {
      record.emplace_back("problem", found.problem);
    }
  }
  return recordsAsJson(records);
}

}  // namespace

Exit listQueues(const Request &request) {
  if (request.isQueueNamed) throw Stop(Exit::Usage, "the queues of the partition are listed, not one");
  std::vector<Found> all;
  std::vector<Row> rows = {{"File", "Form", "Bytes", "Entries"}};
  for (const HostFile &file : partitionFiles()) {
    const Found &found = all.emplace_back(lookAt(file));
    rows.push_back({found.name, found.form, std::to_string(found.bytes),
                    found.problem.empty() ? std::to_string(found.entries) : found.problem});
  }
  if (request.json) {
    print(asJson(all));
  } else {
    print(all.empty() ? "there are no queues in " + partitionPath() + "\n" : asTable(rows));
  }
  return Exit::Done;
}

}  // namespace tool
