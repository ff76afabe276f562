// SPDX-License-Identifier: MIT
// The commands that change a queue's entries. Each writes the file once, under the lock.
#include <algorithm>
#include <csignal>

#include "commands.h"
#include "files.h"
#include "host.h"
#include "json.h"
#include "locks.h"
#include "open_queue.h"
#include "output.h"

namespace tool {
namespace {

void requireFields(const GivenFields &given) {
  if (given.empty()) throw Stop(Exit::Usage, "no field is given; an entry without any is not added");
}

bool has(const GivenFields &given, const char *name) {
  return std::ranges::any_of(given, [&](const GivenField &item) { return item.field == findField(name); });
}

// Entries from a file, checked as those of the command line are.
std::vector<GivenFields> entriesFrom(const Request &request) {
  const std::string source = request.source == "-" ? "standard input" : escaped(request.source);
  if (!request.fields.empty()) throw Stop(Exit::Usage, "--from: fields are given in " + source + " or as options");
  std::size_t number = 0;
  try {
    std::vector<GivenFields> entries = parseEntries(readAll(request.source));
    for (const GivenFields &given : entries) {
      ++number;
      requireFields(given);
      checkFields(request.queue.form(), given);
      if (has(given, "Cmd_Line") && has(given, "Node")) {
        throw Stop(Exit::Usage, "Node: an entry that has a command line does not store it");
      }
    }
    return entries;
  } catch (const Stop &stop) {
    const std::string entry = number > 0 ? ": entry " + std::to_string(number) : "";
    throw Stop(stop.exit(), stop.exit() == Exit::Usage ? source + entry + ": " + stop.what() : stop.what());
  }
}

// Without a command line an entry of an XML queue could be added, but firmware could never take it out.
std::vector<GivenFields> entryOfOptions(const Request &request) {
  requireFields(request.fields);
  checkFields(request.queue.form(), request.fields);
  GivenFields given = request.fields;
  if (request.queue.form() == Form::Xml && !has(given, "Cmd_Line")) given.push_back({findField("Cmd_Line"), ""});
  return {given};
}

void requireNoMatch(const Request &request, const Queue &queue) {
  if (request.unlessMatch.empty()) return;
  for (std::size_t i = 0; i < queue.elements.size(); ++i) {
    if (!matchesAll(queue.form(), request.unlessMatch, *queue.elements[i])) continue;
    throw Stop(Exit::NothingThere,
               "nothing added: entry " + std::to_string(i + 1) + " of " + queue.name().shown() + " matches");
  }
}

std::string numbersOf(std::size_t first, std::size_t count) {
  if (count == 1) return "entry " + std::to_string(first);
  return "entries " + std::to_string(first) + " to " + std::to_string(first + count - 1);
}

}  // namespace

void requireSelection(const Request &request) {
  if (request.everything == request.selection.isEverything()) return;
  throw Stop(Exit::Usage, request.everything ? "--all stands alone: it chooses every entry"
                                             : "no entry is chosen: give numbers, or --match FIELD=VALUE");
}

Exit addEntries(const Request &request) {
  const std::vector<GivenFields> entries = request.source.empty() ? entryOfOptions(request) : entriesFrom(request);
  checkMatches(request.queue.form(), request.unlessMatch);
  const ChangeLock lock({request.queue});
  Queue queue = openToChange(request.queue, request.force);
  requireNoMatch(request, queue);
  const std::size_t first = request.addInFront ? 0 : queue.elements.size();
  Elements added;
  for (const GivenFields &given : entries) applyFields(given, *added.emplace_back(newElement()));
  queue.elements.insert(queue.elements.begin() + static_cast<std::ptrdiff_t>(first), added.begin(), added.end());
  if (!added.empty()) queue.store();
  const std::string what = added.empty() ? "no entry" : numbersOf(first + 1, added.size());
  report(request, "added " + what + " to " + queue.name().shown(), {{"entries", added.size()}, {"first", first + 1}});
  return Exit::Done;
}

// What is shown is removed only after all of it has been printed.
Exit takeEntries(const Request &request) {
  const ChangeLock lock({request.queue});
  Queue queue = openToChange(request.queue, request.force);
  const Places places = firstPlaces(request.selection, queue);
  std::signal(SIGPIPE, SIG_IGN);  // a reader that is gone is an output that failed: the jobs stay
  print(shownEntries(request, queue, places));
  release(queue.takeOut(places));
  changeOrSay("what was shown was not removed", [&] { queue.store(); });
  return Exit::Done;
}

Exit removeEntries(const Request &request) {
  requireSelection(request);
  const ChangeLock lock({request.queue});
  Queue queue = openToChange(request.queue, request.force);
  const Places places = chosenPlaces(request.selection, queue);
  if (request.everything) confirm(request, "remove " + counted(places.size()) + " of " + queue.name().shown());
  release(queue.takeOut(places));
  queue.store();
  report(request, "removed " + counted(places.size()) + " from " + queue.name().shown(), {{"entries", places.size()}});
  return Exit::Done;
}

Exit replaceEntries(const Request &request) {
  if (request.fields.empty() && request.unset.empty()) throw Stop(Exit::Usage, "no field is given a new value");
  requireSelection(request);
  checkFields(request.queue.form(), request.fields);
  checkUnset(request.queue.form(), request.unset);
  const ChangeLock lock({request.queue});
  Queue queue = openToChange(request.queue, request.force);
  const Places places = chosenPlaces(request.selection, queue);
  for (const std::size_t place : places) {
    for (const Field *field : request.unset) removeField(*field, *queue.elements[place]);
    applyFields(request.fields, *queue.elements[place]);
  }
  queue.store();
  report(request, "changed " + counted(places.size()) + " of " + queue.name().shown(), {{"entries", places.size()}});
  return Exit::Done;
}

}  // namespace tool
