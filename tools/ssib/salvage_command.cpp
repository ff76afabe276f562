// SPDX-License-Identifier: MIT
// salvage: the entries of a file that are whole, as `add --from` takes them, or written in place of the damaged file,
// which stays beside it. It is put aside before the new one is written: after a power cut the same command goes on.
#include <algorithm>
#include <cstdio>
#include <numeric>

#include "commands.h"
#include "host.h"
#include "json.h"
#include "locks.h"
#include "output.h"
#include "queue_file.h"
#include "strict_reader.h"

namespace tool {
namespace {

std::string bytesToSalvage(const QueueName &name) {
  std::optional<std::string> bytes = storedBytes(name);
  if (!bytes) throw Stop(Exit::NothingThere, missingMessage(name));
  return *std::move(bytes);
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

// A file in which nothing is whole may be of the other form, under a name that is not its own: it is not emptied.
void requireWholeEntry(const QueueName &name, const StrictReading &reading) {
  if (!reading.entries.empty()) return;
  const bool isXml = name.form() == Form::Xml;
  throw Stop(Exit::Refused, name.shown() + " stays as it is: no entry of it is whole. Is it " +
                                (isXml ? "a task list, whose name needs \"json\" in it"
                                       : "an XML queue, whose name must not have \"json\" in it") +
                                "? Otherwise 'ssib delete -q " + name.shown() + "' removes it");
}

// The element of an entry, without what a file of the form does not hold; none when that is needed. Says what is left
// out.
SSIB_ENTRY_LIST *storable(Form form, const StrictEntry &entry, std::size_t number) {
  const auto say = [&](const char *what) { std::fprintf(stderr, "ssib: entry %zu: left out: %s\n", number, what); };
  if (form == Form::TaskList && !isTaskListEntry(entry)) {
    say("a value that a task list does not give back");
    return nullptr;
  }
  SSIB_ENTRY_LIST *element = elementOf(entry);
  if (element->entry.Cmd_Line != nullptr && element->entry.Node != nullptr) {
    say("its Node, beside which it has a command line");
    removeField(*findField("Node"), *element);
  }
  return element;
}

Queue salvaged(const QueueName &name, const StrictReading &reading) {
  sayWhatIsMissing(name, reading);
  Elements elements;
  for (const StrictEntry &entry : reading.entries) {
    elements.push_back(storable(name.form(), entry, elements.size() + 1));
  }
  std::erase(elements, nullptr);
  return {name, std::move(elements)};
}

Exit printWhole(const QueueName &name) {
  const Queue queue = salvaged(name, readStrictly(name.form(), bytesToSalvage(name)));
  Places all(queue.elements.size());
  std::iota(all.begin(), all.end(), std::size_t{0});
  print(entriesAsJson(queue, all));
  return Exit::Done;
}

void putAside(const QueueName &name, const QueueName &aside, const std::string &bytes) {
  const std::optional<std::string> there = storedBytes(aside);
  if (there == bytes) return;
  if (there) {
    throw Stop(Exit::Refused, "cannot salvage " + name.shown() + ": " + aside.shown() +
                                  " is an earlier damaged file; 'ssib delete -q " + aside.shown() + "' removes it");
  }
  storeBytes(aside, bytes);
}

// A pair of quotes around the whole of a command line is not written.
void keepQuotes(SSIB_ENTRY &entry) {
  const char *command = entry.Cmd_Line;
  if (command == nullptr || *command != '"') return;
  setText(*findField("Cmd_Line"), entry, ('"' + std::string(command) + '"').c_str());
}

Exit salvageInPlace(const Request &request) {
  const QueueName &name = request.queue;
  const QueueName aside = name.with(kPutAside);
  const ChangeLock lock({name});
  const std::string bytes = bytesToSalvage(name);
  const StrictReading reading = readStrictly(name.form(), bytes);
  if (!reading.damage) throw Stop(Exit::NothingThere, name.shown() + " is not damaged, and stays as it is");
  requireWholeEntry(name, reading);
  putAside(name, aside, bytes);
  Queue queue = salvaged(name, reading);
  for (SSIB_ENTRY_LIST *element : queue.elements) keepQuotes(element->entry);
  queue.store();
  const std::size_t entries = queue.elements.size();
  report(request,
         "salvaged " + counted(entries) + " of " + name.shown() + "; whatever else it held is in " + aside.shown() +
             " alone",
         {{"entries", entries}, {"damaged", aside.shown()}});
  return Exit::Done;
}

}  // namespace

Exit salvageQueue(const Request &request) {
  return request.inPlace ? salvageInPlace(request) : printWhole(request.queue);
}

}  // namespace tool
