// SPDX-License-Identifier: MIT
// The commands that carry entries from one queue to another: move, copy, merge. The target is written, and read back,
// before the source changes: what a power cut leaves is in both queues, never in neither.
#include <algorithm>
#include <cstdio>

#include "commands.h"
#include "locks.h"
#include "open_queue.h"
#include "values.h"

namespace tool {
namespace {

// Where elements go into a queue of that many others. Throws Stop when there is no such place.
std::size_t placeIn(const QueueName &name, std::size_t others, std::size_t toPlace) {
  if (toPlace > others + 1) {
    throw Stop(Exit::NothingThere, name.shown() + " has no place " + std::to_string(toPlace) +
                                       " for it; the last one is " + std::to_string(others + 1));
  }
  return toPlace == 0 ? others : toPlace - 1;
}

void insertAt(std::size_t place, const Elements &added, Queue &queue) {
  queue.elements.insert(queue.elements.begin() + static_cast<std::ptrdiff_t>(place), added.begin(), added.end());
}

// Whether a value says anything: numbers that every entry has are 0, and texts empty, when nobody gave them.
bool isGiven(const Field &field, const Value &value) {
  const bool isAlways = field.kind == Field::Kind::Number && field.bit == 0;
  return value && !value->empty() && !(isAlways && *value == "0");
}

// Makes an entry of one form one of the other, and names the fields that this drops.
std::string convert(Form from, Form to, SSIB_ENTRY_LIST &element) {
  std::string dropped;
  bool isAnythingLeft = false;
  for (const Field &field : fields()) {
    const Value value = valueOf(from, field, element);
    const bool isKept = field.storedIn(to) && value && problemOf(to, field, *value) == nullptr;
    if (!isKept && isGiven(field, value)) dropped += (dropped.empty() ? "" : ", ") + std::string(field.name);
    if (!isKept) removeField(field, element);
    isAnythingLeft = isAnythingLeft || (isKept && isGiven(field, value));
  }
  if (!isAnythingLeft) throw Stop(Exit::Refused, "has nothing that the other form stores");
  if (element.entry.Job_ID != nullptr) element.fieldMask |= SSIB_FIELD_JOB_ID;
  // Without a command line firmware could never take the entry out of an XML queue.
  if (to == Form::Xml && element.entry.Cmd_Line == nullptr) setText(*findField("Cmd_Line"), element.entry, "");
  return dropped;
}

void convertAll(const Request &request, Form to, const Queue &source, const Places &places) {
  for (const std::size_t place : places) {
    const std::string entry = "entry " + std::to_string(place + 1) + " of " + source.name().shown();
    try {
      const std::string dropped = convert(source.form(), to, *source.elements[place]);
      if (dropped.empty() || request.dropFields) continue;
      throw Stop(Exit::Refused,
                 "has what the other form does not hold: " + dropped + "; --drop-fields leaves that out");
    } catch (const Stop &stop) {
      throw Stop(stop.exit(), entry + " " + stop.what());
    }
  }
}

// What an earlier command would have left that was cut off between its two writes.
void warnOfRepeats(const Queue &target, const Elements &added, const QueueName &source) {
  const bool isRepeated = !added.empty() && added.size() <= target.elements.size() &&
                          std::equal(added.rbegin(), added.rend(), target.elements.rbegin(),
                                     [&](const SSIB_ENTRY_LIST *one, const SSIB_ENTRY_LIST *other) {
                                       return isSame(target.form(), *one, *other);
                                     });
  if (!isRepeated) return;
  std::fprintf(stderr, "ssib: %s had the same %s at its end already, perhaps from a move out of %s that was cut off\n",
               target.name().shown().c_str(), counted(added.size()).c_str(), source.shown().c_str());
}

// The first write of a transfer: when it fails, the source is as it was.
void storeTarget(Queue &target, const QueueName &source) {
  try {
    target.store();
  } catch (const Stop &stop) {
    throw Stop(stop.exit(), std::string(stop.what()) + "; " + source.shown() + " is as it was", stop.status());
  }
}

// The second write of a transfer: without it the entries are in both queues.
template <class Change>
void changeSource(const QueueName &target, Change change) {
  changeOrSay("its entries are in " + target.shown() + " as well", change);
}

void transferTo(std::size_t place, Queue &target, Queue &source, const Places &places, bool isMove) {
  const Elements carried = source.takeOut(places);
  warnOfRepeats(target, carried, source.name());
  insertAt(place, carried, target);
  storeTarget(target, source.name());
  if (isMove) changeSource(target.name(), [&] { source.store(); });
}

std::size_t transferBetween(const Request &request, const QueueName &to, bool isMove) {
  Queue source = isMove ? openToChange(request.queue, request.force) : openToLook(request.queue);
  const Places places = chosenPlaces(request.selection, source);
  Queue target = openToChange(to, request.force);
  const std::size_t place = placeIn(to, target.elements.size(), request.toPlace);
  if (source.form() != target.form()) convertAll(request, target.form(), source, places);
  transferTo(place, target, source, places, isMove);
  return places.size();
}

// Copies of the elements of a queue, by reading it once more, as whole as they were read before.
Queue readAgain(const Queue &queue) {
  Queue copies(queue.name());
  const bool isWhole = std::ranges::equal(
      queue.elements, copies.elements,
      [&](const SSIB_ENTRY_LIST *one, const SSIB_ENTRY_LIST *other) { return isSame(queue.form(), *one, *other); });
  if (!isWhole) refuse("open " + queue.name().shown(), EFI_OUT_OF_RESOURCES);
  return copies;
}

std::size_t transferWithin(const Request &request, bool isMove) {
  Queue queue = openToChange(request.queue, request.force);
  const Places places = chosenPlaces(request.selection, queue);
  const std::size_t others = queue.elements.size() - (isMove ? places.size() : 0);
  const std::size_t place = placeIn(queue.name(), others, request.toPlace);
  const Elements carried = isMove ? queue.takeOut(places) : readAgain(queue).takeOut(places);
  insertAt(place, carried, queue);
  queue.store();
  return carried.size();
}

Exit transfer(const Request &request, bool isMove) {
  if (!request.target && request.toPlace == 0) {
    throw Stop(Exit::Usage, "the target is missing: give --to QUEUE, --to-place N, or both");
  }
  requireSelection(request);
  const QueueName to = request.target.value_or(request.queue);
  const ChangeLock lock(isMove ? std::vector{request.queue, to} : std::vector{to});
  const std::size_t entries =
      to == request.queue ? transferWithin(request, isMove) : transferBetween(request, to, isMove);
  const std::string where =
      to == request.queue ? " within " + to.shown() : " from " + request.queue.shown() + " to " + to.shown();
  report(request, (isMove ? "moved " : "copied ") + counted(entries) + where,
         {{"to", to.shown()}, {"entries", entries}});
  return Exit::Done;
}

}  // namespace

void moveToEnd(Queue &source, std::size_t place, Queue &target) {
  transferTo(target.elements.size(), target, source, {place}, true);
}

Exit moveEntries(const Request &request) {
  return transfer(request, true);
}

Exit copyEntries(const Request &request) {
  return transfer(request, false);
}

// Links the entries into the main queue and flushes, where the library's merge would empty the sub-queue first.
Exit mergeQueue(const Request &request) {
  const QueueName &name = request.queue;
  const QueueName main = name.mainQueue();
  if (name == main) {
    throw Stop(Exit::Usage, name.shown() + " is the main queue; --queue names the queue to fold into it");
  }
  const ChangeLock lock({name, main});
  requireExists(name, "open " + name.shown());
  Queue source = openToChange(name, request.force), target = openToChange(main, request.force);
  const Elements carried = std::move(source.elements);
  source.elements.clear();
  warnOfRepeats(target, carried, name);
  insertAt(target.elements.size(), carried, target);
  if (!carried.empty()) storeTarget(target, name);
  changeSource(main, [&] {
    if (request.deleteFile) {
      deleteFile(name);
    } else {
      source.store();
    }
  });
  report(request, "moved " + counted(carried.size()) + " from " + name.shown() + " to " + main.shown(),
         {{"to", main.shown()}, {"entries", carried.size()}});
  return Exit::Done;
}

}  // namespace tool
