// SPDX-License-Identifier: MIT
// salvage: the entries of a file that are whole, as `add --from` takes them, or written in place of the damaged file,
// which stays beside it. It is put aside before the new one is written: after a power cut the same command goes on.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "commands.h"
#include "host.h"
#include "json_text.h"
#include "node_text.h"
#include "output.h"
#include "queue_file.h"
#include "stop.h"
#include "strict_reader.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;
using Kind = Field::Kind;

// Releases an element that is in no list.
struct ReleaseElement {
  void operator()(SSIB_ENTRY_LIST *element) const {
    for (const Field &field : fields()) {
      if (field.kind == Kind::Text) std::free(element->entry.*field.text);
    }
    if (element->entry.Node != nullptr) DeleteNode()(element->entry.Node);
    std::free(element);
  }
};
using OwnedElement = std::unique_ptr<SSIB_ENTRY_LIST, ReleaseElement>;

// A Node in the words of the XML service, which are what `list` prints.
std::string shownText(const StrictValue &value) {
  if (value.field->kind != Kind::Node) return value.text;
  const OwnedNode node = nodeOfText(value.text);
  return node == nullptr ? value.text : textOfNode(node.get());
}

Json jsonOf(const StrictReading &reading) {
  Json array = Json::array();
  for (const StrictEntry &entry : reading.entries) {
    Json &object = array.emplace_back(Json{{"entry", array.size() + 1}});
    for (const StrictValue &value : entry.values) {
      object[value.field->name] = value.field->kind == Kind::Number ? Json(value.number) : jsonOfText(shownText(value));
    }
  }
  return array;
}

// What is left out goes to standard error: the output is for other programs.
void sayWhatIsMissing(const QueueName &name, const StrictReading &reading) {
  if (!reading.damage) return;
  std::string lines = "ssib: " + name.shown() + " is damaged: " + remarkAsLine(*reading.damage) + "\n";
  for (const Remark &remark : reading.remarks) {
    if (remark.isLeftOut) lines += "ssib: " + remarkAsLine(remark) + "\n";
  }
  std::fputs(lines.c_str(), stderr);
}

// One with quotes in front loses a pair of them when it is written.
std::string commandToWrite(const std::string &command) {
  return command.starts_with('"') ? '"' + command + '"' : command;
}

OwnedElement elementOf(const StrictEntry &entry) {
  OwnedElement element(le_new());
  if (element == nullptr) throw std::bad_alloc();
  for (const StrictValue &value : entry.values) {
    const Field &field = *value.field;
    element->fieldMask |= field.bit;
    if (field.kind == Kind::Number) {
      setNumber(field, element->entry, value.number);
    } else if (field.kind == Kind::Node) {
      element->entry.Node = nodeOfText(value.text).release();
    } else {
      const bool isCommand = field.text == &SSIB_ENTRY::Cmd_Line;
      setText(field, element->entry, (isCommand ? commandToWrite(value.text) : value.text).c_str());
    }
  }
  return element;
}

// Writes the entries as a queue that the library could not have opened.
void writeQueue(const QueueName &name, const std::vector<StrictEntry> &entries) {
  std::vector<OwnedElement> elements;
  elements.reserve(entries.size());
  for (const StrictEntry &entry : entries) elements.push_back(elementOf(entry));
  const std::unique_ptr<wchar_t, decltype(&std::free)> copy(wcsdup(name.wide()), &std::free);
  if (copy == nullptr) throw std::bad_alloc();
  SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  for (std::size_t i = elements.size(); i > 0; --i) {
    elements[i - 1]->next = handle.ssibEntryListHead;
    handle.ssibEntryListHead = elements[i - 1].get();
  }
  handle.mode = static_cast<std::uint8_t>(name.form());
  handle.ssibFileName = copy.get();
  const EFI_STATUS status = iFlushSSIBQueue(&handle);
  handle.ssibFileName = nullptr;
  handle.ssibEntryListHead = nullptr;
  require(status, "write " + name.shown());
}

bool isSame(const StrictValue &one, const StrictValue &other) {
  return one.field == other.field && one.number == other.number && shownText(one) == shownText(other);
}

bool isSame(const StrictEntry &one, const StrictEntry &other) {
  return std::ranges::equal(one.values, other.values,
                            [](const StrictValue &a, const StrictValue &b) { return isSame(a, b); });
}

// Null is written as an empty text.
void addEmptyTexts(StrictEntry &entry) {
  for (const char *name : {"Task_Name", "LU_Category"}) {
    const Field &field = fieldNamed(name);
    if (entry.find(field) == nullptr) entry.values.push_back({.field = &field, .text = ""});
  }
  std::ranges::sort(entry.values, {}, &StrictValue::field);
}

// What a file of the form gives back of the entries; what it cannot hold is said.
std::vector<StrictEntry> storable(Form form, const StrictReading &reading) {
  std::vector<StrictEntry> entries;
  for (std::size_t i = 0; i < reading.entries.size(); ++i) {
    StrictEntry entry = reading.entries[i];
    const auto say = [&](const char *what) { std::fprintf(stderr, "ssib: entry %zu: left out: %s\n", i + 1, what); };
    if (form == Form::TaskList && !isTaskListEntry(entry)) {
      say("a value that a task list does not give back");
      continue;
    }
    const bool hasCommand = entry.find(fieldNamed("Cmd_Line")) != nullptr;
    const auto isNode = [](const StrictValue &value) { return value.field->kind == Kind::Node; };
    if (hasCommand && std::erase_if(entry.values, isNode) != 0) say("its Node, beside which it has a command line");
    if (form == Form::Xml) addEmptyTexts(entry);
    entries.push_back(std::move(entry));
  }
  return entries;
}

void putAside(const QueueName &name, const QueueName &aside, const std::string &bytes) {
  const std::optional<std::string> there = storedBytes(aside);
  if (there == bytes) return;
  if (there) {
    throw Stop(Exit::Refused, "cannot salvage " + name.shown() + ": " + aside.shown() +
                                  " is an earlier damaged file; move it away first");
  }
  storeBytes(aside, bytes);
}

void store(const QueueName &name, const std::vector<StrictEntry> &entries) {
  if (entries.empty() && name.form() == Form::TaskList) {  // a form that cannot be empty
    require(iDeleteSSIB(&gSSSIB2pvt, name.wide()), "delete " + name.shown());
    if (storedBytes(name)) refuse("delete " + name.shown(), EFI_DEVICE_ERROR);
    return;
  }
  writeQueue(name, entries);
  const StrictReading written = readStrictly(name.form(), storedBytes(name).value_or(""));
  const auto isOne = [](const StrictEntry &a, const StrictEntry &b) { return isSame(a, b); };
  if (!written.damage && std::ranges::equal(written.entries, entries, isOne)) return;
  refuse("write " + name.shown(), EFI_DEVICE_ERROR);
}

Exit salvageInPlace(const Request &request) {
  const QueueName &name = request.queue;
  const QueueName aside = name.with(kPutAside);
  const ChangeLock lock;
  const std::optional<std::string> bytes = storedBytes(name);
  if (!bytes) throw Stop(Exit::NothingThere, "there is no " + name.shown());
  const StrictReading reading = readStrictly(name.form(), *bytes);
  if (!reading.damage) throw Stop(Exit::NothingThere, name.shown() + " is not damaged, and stays as it is");
  putAside(name, aside, *bytes);
  sayWhatIsMissing(name, reading);
  const std::vector<StrictEntry> entries = storable(name.form(), reading);
  store(name, entries);
  print("salvaged " + counted(entries.size()) + " of " + name.shown() + "; the damaged file is " + aside.shown() +
        "\n");
  return Exit::Done;
}

}  // namespace

Exit salvageQueue(const Request &request) {
  if (request.inPlace) return salvageInPlace(request);
  const std::optional<std::string> bytes = storedBytes(request.queue);
  if (!bytes) throw Stop(Exit::NothingThere, "there is no " + request.queue.shown());
  const StrictReading reading = readStrictly(request.queue.form(), *bytes);
  sayWhatIsMissing(request.queue, reading);
  print(jsonOf(reading).dump(2, ' ', true) + "\n");
  return Exit::Done;
}

}  // namespace tool
