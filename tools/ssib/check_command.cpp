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

enum class State : std::uint8_t { Sound, Remarks, Missing, Damaged, Unreadable };

struct Checked {
  std::string name;  // as it may be shown
  State state = State::Sound;
  std::string problem = {};  // why there is no reading
  StrictReading reading = {};
};

const char *textOf(State state) {
  constexpr const char *kTexts[] = {"sound", "sound with remarks", "missing", "damaged", "unreadable"};
  return kTexts[static_cast<std::size_t>(state)];
}

Exit exitOf(State state) {
  if (state == State::Sound) return Exit::Done;
  if (state == State::Remarks) return Exit::Remarks;
  return state == State::Missing ? Exit::NothingThere : Exit::Refused;
}

State stateOf(const StrictReading &reading) {
  if (reading.damage) return State::Damaged;
  return reading.remarks.empty() ? State::Sound : State::Remarks;
}

// The queue of that name, or the one that was named by its path.
Checked lookAt(const std::string &given, const QueueName *file = nullptr) {
  Checked checked = {.name = file != nullptr ? file->shown() : escaped(given)};
  try {
    const QueueName name = file != nullptr ? *file : QueueName(given);
    const std::optional<std::string> bytes = storedBytes(name);
    if (bytes) checked.reading = readStrictly(name.form(), *bytes);
    checked.state = bytes ? stateOf(checked.reading) : State::Missing;
    if (!bytes) checked.problem = textOf(State::Missing);
  } catch (const Stop &stop) {
    checked.state = State::Unreadable;
    checked.problem = stop.what();
  }
  return checked;
}

std::string asLines(const Checked &checked) {
  const StrictReading &reading = checked.reading;
  std::string out = checked.name + ": ";
  if (!checked.problem.empty()) return out + checked.problem + "\n";
  out += textOf(checked.state);
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
  Json object = {{"queue", checked.name}, {"state", textOf(checked.state)}};
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
    if (request.json) {
      array.push_back(jsonOf(checked));
    } else {
      lines += asLines(checked);
    }
    worst = std::max(worst, exitOf(checked.state));
  }
  print(request.json ? array.dump(2, ' ', true) + "\n" : lines);
  return worst;
}

}  // namespace tool
