// SPDX-License-Identifier: MIT
// The commands that change a queue's entries. Each writes the file once, under the lock. After a failure the queue
// stays open: a close would try to write once more.
#include <algorithm>
#include <csignal>
#include <cstring>

#include "commands.h"
#include "host.h"
#include "output.h"
#include "stop.h"

namespace tool {
namespace {

bool isKey(const Field &field, Form form, const SSIB_ENTRY_LIST &element) {
  return field.keyIn(form) != 0 && (field.bit == 0 || (element.fieldMask & field.bit) != 0);
}

// Whether the library, asked to delete `key`, takes the element for it as far as this field goes.
bool agrees(const Field &field, Form form, const SSIB_ENTRY_LIST &element, const SSIB_ENTRY &key) {
  if (!isKey(field, form, element)) return true;
  if (field.kind == Field::Kind::Number) return numberOf(field, element.entry) == numberOf(field, key);
  const char *own = element.entry.*field.text;
  const char *wanted = key.*field.text;
  return own != nullptr && wanted != nullptr && std::strncmp(own, wanted, field.keyIn(form)) == 0;
}

bool isDeletedAs(const SSIB_ENTRY &key, Form form, const SSIB_ENTRY_LIST &element) {
  return std::ranges::all_of(fields(), [&](const Field &field) { return agrees(field, form, element, key); });
}

// What the library would not find is refused before anything is printed or changed.
void requireDeletable(const std::string &action, Form form, const SSIB_ENTRY_LIST &element) {
  for (const Field &field : fields()) {
    if (field.kind == Field::Kind::Text && isKey(field, form, element) && element.entry.*field.text == nullptr) {
      throw Stop(Exit::Refused, "cannot " + action + ": it has no " + field.name + ", without which it is not found" +
                                    "; 'ssib replace' can give it one");
    }
  }
}

// The library works on the first entry that matches, so an entry that others match as well is not touched.
template <typename Matches>
void requireOnlyMatch(const std::string &action, const Elements &elements, std::size_t number, Matches matches) {
  std::string twins;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (i + 1 != number && matches(*elements[i])) twins += (twins.empty() ? "" : ", ") + std::to_string(i + 1);
  }
  if (!twins.empty()) {
    throw Stop(Exit::Refused, "cannot " + action + ": the library cannot tell it from " + twins);
  }
}

// The library reports neither a file that could not be closed nor a task list that could not be written: what the file
// holds afterwards tells.
bool isStored(const QueueName &name, std::size_t entries) {
  return storedElements(name).size() == entries;
}

// Removes the first entry that matches and says why when that fails; `shown` is added to what is said.
void removeMatch(const Request &request, const std::string &action, const SSIB_ENTRY &entry, std::size_t before,
                 const std::string &shown) {
  EFI_STATUS status = iRemoveFromSSIBQueue(&gSSSIB2pvt, &entry);
  if (status == EFI_SUCCESS && !isStored(request.queue, before - 1)) status = EFI_DEVICE_ERROR;
  if (status == EFI_SUCCESS) return;
  const bool isLast = request.queue.form() == Form::TaskList && before == 1;
  throw Stop(Exit::Refused, "cannot " + action + ": " + statusName(status) + shown +
                                (isLast ? "; a task list keeps its last entry, 'ssib delete' deletes the file" : ""));
}

void requireStored(const QueueName &name, bool stored) {
  if (!stored) refuse("write " + name.shown(), EFI_DEVICE_ERROR);
}

// Whether the file gave a field back as it was written. The quotes around a command line are not stored.
bool cameBack(const Field &field, const SSIB_ENTRY &stored, const SSIB_ENTRY &written) {
  if (field.kind == Field::Kind::Number) return numberOf(field, stored) == numberOf(field, written);
  const char *text = stored.*field.text;
  if (text == nullptr) return false;
  const std::string wanted = written.*field.text;
  return wanted == text || (field.text == &SSIB_ENTRY::Cmd_Line && wanted == '"' + std::string(text) + '"');
}

bool isReplaced(const Request &request, const SSIB_ENTRY &changed) {
  const Elements elements = storedElements(request.queue);
  return elements.size() >= request.number && std::ranges::all_of(request.fields, [&](const GivenField &item) {
           return cameBack(*item.field, elements[request.number - 1]->entry, changed);
         });
}

std::string actionOn(const char *verb, const Request &request) {
  return std::string(verb) + " entry " + std::to_string(request.number) + " of " + request.queue.shown();
}

OwnedEntry entryToAdd(const Request &request) {
  OwnedEntry entry = newEntry();
  applyFields(request.fields, *entry);
  // Without a command line an entry of an XML queue could be added, but never taken out.
  if (request.queue.form() == Form::Xml && entry->Cmd_Line == nullptr) setText(fieldNamed("Cmd_Line"), *entry, "");
  return entry;
}

}  // namespace

void addEntry(const Request &request) {
  const QueueName &name = request.queue;
  checkFields(name.form(), request.fields);
  const OwnedEntry entry = entryToAdd(request);
  const ChangeLock lock;
  openQueue(name);
  const std::size_t before = elementsOf(gSSSIB2pvt).size();
  SSIB_ENTRY *added = entry.get();
  require(iAddToSSIBQueue(&gSSSIB2pvt, 1, &added, bitsOf(request.fields), request.addLocation),
          "add to " + name.shown());
  require(iCloseSSIB(&gSSSIB2pvt), "write " + name.shown());
  requireStored(name, isStored(name, before + 1));
}

void takeEntry(const Request &request) {
  const QueueName &name = request.queue;
  const std::string action = actionOn("take", request);
  const ChangeLock lock;
  openQueue(name);
  const Elements elements = elementsWith(name, request.number);
  requireDeletable(action, name.form(), *elements.front());
  const OwnedEntry entry = copyOfEntry(name, *elements.front());
  std::signal(SIGPIPE, SIG_IGN);  // a reader that is gone is an output that failed: the job stays
  print(shownEntry(request, *elements.front()));
  removeMatch(request, action, *entry, elements.size(), "; the job shown was not removed");
}

void removeEntry(const Request &request) {
  const QueueName &name = request.queue;
  const std::string action = actionOn("remove", request);
  const ChangeLock lock;
  openQueue(name);
  const Elements elements = elementsWith(name, request.number);
  requireDeletable(action, name.form(), *elements[request.number - 1]);
  const OwnedEntry entry = copyOfEntry(name, *elements[request.number - 1]);
  requireOnlyMatch(action, elements, request.number,
                   [&](const SSIB_ENTRY_LIST &element) { return isDeletedAs(*entry, name.form(), element); });
  removeMatch(request, action, *entry, elements.size(), "");
}

void replaceEntry(const Request &request) {
  const QueueName &name = request.queue;
  if (request.fields.empty()) throw Stop(Exit::Usage, "replace: no field is given a new value");
  checkFields(name.form(), request.fields);
  const std::string action = actionOn("replace", request);
  const ChangeLock lock;
  openQueue(name);
  const Elements elements = elementsWith(name, request.number);
  SSIB_ENTRY_LIST &element = *elements[request.number - 1];
  const OwnedEntry old = copyOfEntry(name, element);
  const OwnedEntry changed = copyOfEntry(name, element);
  applyFields(request.fields, *changed);
  requireOnlyMatch(action, elements, request.number, [&](const SSIB_ENTRY_LIST &other) {
    return SSIBEntryCmp(&gSSSIB2pvt, old.get(), &other.entry) == 0;
  });
  require(iReplaceSSIBEntry(&gSSSIB2pvt, old.get(), changed.get()), action);
  element.fieldMask |= bitsOf(request.fields);
  require(iCloseSSIB(&gSSSIB2pvt), "write " + name.shown());
  requireStored(name, isReplaced(request, *changed));
}

}  // namespace tool
