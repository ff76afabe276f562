// SPDX-License-Identifier: MIT
// Adding copies of entries to the list, each at the place of its priority.
#include <algorithm>
#include <span>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

struct AddLocation {
  std::uint32_t code;  // also the priority of what is added
  bool atTheEnd;       // whatever the priorities in the list
  const wchar_t *line;
};

// The two middle ones report the same line.
constexpr AddLocation kLocations[] = {
    {SSIB_ADD_PREPEND_HI, false, L"ADDTOQ : Doing an Prepend HI"},
    {SSIB_ADD_APPEND_HI, false, L"ADDTOQ : Doing an APPEND HI"},
    {SSIB_ADD_PREPEND_LO, false, L"ADDTOQ : Doing an APPEND HI"},
    {SSIB_ADD_APPEND_LO, true, L"ADDTOQ : Doing an Append Lo"},
};

const AddLocation *findLocation(std::uint32_t code) {
  const auto *found = std::ranges::find(kLocations, code, &AddLocation::code);
  return found == std::end(kLocations) ? nullptr : found;
}

bool hasNull(std::uint32_t count, SSIB_ENTRY *const *entries) {
  return count != 0 && (entries == nullptr || std::ranges::count(std::span(entries, count), nullptr) != 0);
}

void applyDefaultTimeout(SSIB_ENTRY &entry) {
  if (entry.Timeout != 0) return;
  log(L"WARNING: Invalid Timeout of 0, replacing with default value (600).");
  entry.Timeout = SSIB_DEFAULT_TIMEOUT;
}

void addString(const StringField &field, const SSIB_ENTRY &source, SSIB_ENTRY_LIST &element) {
  char *copy = isValid(field.maskBit, element.fieldMask) ? copyText(source.*field.member) : nullptr;
  element.entry.*field.member = copy;
  if (copy != nullptr) logOften(field.valueLine, copy);
}

// An element with copies of all that the entry points to; null when there is no memory for the element.
SSIB_ENTRY_LIST *newElement(const SSIB_ENTRY &entry, std::uint32_t fieldMask, const AddLocation &location) {
  SSIB_ENTRY_LIST *element = le_new();
  if (element == nullptr) return nullptr;
  element->entry = entry;
  element->fieldMask = fieldMask;
  element->priority = static_cast<std::uint8_t>(location.code);
  for (const StringField &field : kStrings) addString(field, entry, *element);
  element->entry.Node = dupeNode(entry.Node, nullptr);
  return element;
}

// The place for an element, sought from `point` on.
SSIB_LINK *findPoint(SSIB_LINK *point, const AddLocation &location) {
  while (*point != nullptr && (location.atTheEnd || (*point)->priority <= location.code)) point = &(*point)->next;
  return point;
}

void reportPoint(const AddLocation &location) {
  log(location.line);
  log(L"iAddToSSIBQueue - found insertion point based on priority");
  log(L"iAddToSSIBQueue - List is not null, adding BEFORE the found entry.");
}

void insert(SSIB_LINK *point, SSIB_ENTRY_LIST *element, const AddLocation &location) {
  if (vyxSsibDebug != nullptr) reportPoint(location);
  element->next = *point;
  *point = element;
  log(L"iAddToSSIBQueue - Done.");
}

// The entries of one call share a priority, so each goes right after the one before it.
EFI_STATUS addEntries(SSIB_LINK *point, std::span<SSIB_ENTRY *> entries, std::uint32_t fieldMask,
                      const AddLocation &location) {
  log(L"iAddToSSIBQueue - %d entries addlocation = %d", static_cast<std::uint32_t>(entries.size()), location.code);
  for (SSIB_ENTRY *entry : entries) {
    applyDefaultTimeout(*entry);
    SSIB_ENTRY_LIST *element = newElement(*entry, fieldMask, location);
    if (element == nullptr) return EFI_OUT_OF_RESOURCES;
    point = findPoint(point, location);
    insert(point, element, location);
    point = &element->next;
  }
  return EFI_SUCCESS;
}

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iAddToSSIBQueue(SSIB2_PRIVATE_DATA *SSIB2, uint32_t count, SSIB_ENTRY **entries, uint32_t fieldMask,
                           uint32_t addLocation) {
  const ssib::AddLocation *location = ssib::findLocation(addLocation);
  if (SSIB2 == nullptr || SSIB2->XMLProto == nullptr || location == nullptr) return EFI_INVALID_PARAMETER;
  if (ssib::hasNull(count, entries)) return EFI_INVALID_PARAMETER;
  return ssib::addEntries(&SSIB2->ssibEntryListHead, {entries, count}, fieldMask, *location);
}

}  // extern "C"
