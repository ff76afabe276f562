// SPDX-License-Identifier: MIT
// check: whether queue files are sound, by the strict reading alone. Changes nothing and takes no lock: each file is
// read once, and replaced in one step.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "host.h"
#include "output.h"
#include "queue_file.h"
#include "stop.h"
#include "strict_reader.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

struct Checked {
  std::string name;     // as it may be shown
  std::string problem;  // why there is no reading
  StrictReading reading = {};
  Exit exit = Exit::Done;
};

// The queue of that name, or the one that was named by its path.
Checked lookAt(const std::string &given, const QueueName *file = nullptr) {
  Checked checked = {.name = file != nullptr ? file->shown() : escaped(given), .problem = ""};
  try {
    const QueueName name = file != nullptr ? *file : QueueName(given);
    const std::optional<std::string> bytes = storedBytes(name);
    if (!bytes) {
      checked.problem = "missing";
      checked.exit = Exit::NothingThere;
      return checked;
    }
    checked.reading = readStrictly(name.form(), *bytes);
    if (!checked.reading.remarks.empty()) checked.exit = Exit::NothingThere;
    if (checked.reading.damage) checked.exit = Exit::Refused;
  } catch (const Stop &stop) {
    checked.problem = stop.what();
    checked.exit = Exit::Refused;
  }
  return checked;
}

std::string stateOf(const Checked &checked) {
  if (!checked.problem.empty()) return checked.problem == "missing" ? "missing" : "unreadable";
  if (checked.reading.damage) return "damaged";
  return checked.reading.remarks.empty() ? "sound" : "sound with remarks";
}

std::string asLines(const Checked &checked) {
  const StrictReading &reading = checked.reading;
  std::string out = checked.name + ": ";
  if (!checked.problem.empty()) return out + checked.problem + "\n";
  out += stateOf(checked);
  if (reading.damage) {
    out += " at line " + std::to_string(reading.damage->line) + ", byte " + std::to_string(reading.damage->byte) +
           ": " + escaped(reading.damage->text) + "; readable: " + counted(reading.entries.size()) + "\n";
  } else {
    out += ", " + counted(reading.entries.size()) + "\n";
  }
  for (const Remark &remark : reading.remarks) out += "  " + remarkAsLine(remark) + "\n";
  return out;
}

Json jsonOf(const Remark &remark) {
  Json object = Json::object();
  if (remark.entry != 0) object["entry"] = remark.entry;
  object["line"] = remark.line;
  object["byte"] = remark.byte;
  object["text"] = escaped(remark.text);
  return object;
}

Json jsonOf(const Checked &checked) {
  Json object = {{"queue", checked.name}, {"state", stateOf(checked)}};
  if (!checked.problem.empty()) {
    object["text"] = checked.problem;
    return object;
  }
  object["entries"] = checked.reading.entries.size();
  object["rewriteLoses"] = checked.reading.wouldDrop();
  if (checked.reading.damage) object["damage"] = jsonOf(*checked.reading.damage);
  object["remarks"] = Json::array();
  for (const Remark &remark : checked.reading.remarks) object["remarks"].push_back(jsonOf(remark));
  return object;
}

std::vector<std::string> allNames() {
  std::vector<std::string> names;
  for (const HostFile &file : partitionFiles()) names.push_back(file.name);
  return names;
}

}  // namespace

Exit checkQueues(const Request &request) {
  std::vector<Checked> all;
  if (request.isFileNamed) all.push_back(lookAt("", &request.queue));
  for (const std::string &name : request.queues) all.push_back(lookAt(name));
  if (all.empty()) {
    for (const std::string &name : allNames()) all.push_back(lookAt(name));
  }
  if (all.empty()) throw Stop(Exit::NothingThere, "there are no queues in " + partitionPath());
  std::string lines;
  Json array = Json::array();
  Exit worst = Exit::Done;
  for (const Checked &checked : all) {
    request.json ? array.push_back(jsonOf(checked)) : static_cast<void>(lines += asLines(checked));
    worst = std::max(worst, checked.exit);
  }
  print(request.json ? array.dump(2, ' ', true) + "\n" : lines);
  return worst;
}

}  // namespace tool
