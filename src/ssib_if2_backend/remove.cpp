// SPDX-License-Identifier: MIT
// Taking an entry out of the list, and out of the file. The match rules are those of deleting alone.
#include <algorithm>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/log.h"

using namespace ssib;

namespace {

// A field that is not valid in the element matches anything.
bool matches(const SSIB_ENTRY_LIST &element, const SSIB_ENTRY &entry, unsigned use) {
  const auto counts = [&](const auto &field) {
    return (field.uses & use) != 0 && isValid(field.maskBit, element.fieldMask);
  };
  const auto numberMatches = [&](const NumberField &field) {
    return !counts(field) || numberOf(element.entry, field) == numberOf(entry, field);
  };
  const auto stringMatches = [&](const StringField &field) {
    if (!counts(field)) return true;
    const char *one = element.entry.*field.member;
    const char *other = entry.*field.member;
    return one != nullptr && other != nullptr && agree(field, one, other);
  };
  return std::ranges::all_of(kNumbers, numberMatches) && std::ranges::all_of(kStrings, stringMatches);
}

// The link that leads to the first match; null when nothing matches.
SSIB_LINK *findMatch(SSIB2_PRIVATE_DATA &handle, const SSIB_ENTRY &entry) {
  const unsigned use = handle.mode == SSIB_MODE_BIOS_SMA ? kMatchedInTaskList : kMatchedInXml;
  for (SSIB_LINK *link = &handle.ssibEntryListHead; *link != nullptr; link = &(*link)->next) {
    if (matches(**link, entry, use)) return link;
  }
  return nullptr;
}

void moveCursorOff(SSIB2_PRIVATE_DATA &handle, const SSIB_ENTRY_LIST *element) {
  log(L"iDeleteSSIBEntry - Checking if ssibEntryListPtr (%d) ==  entry to be deleted. (%d)",
      asNumber(handle.ssibEntryListPtr), asNumber(element));
  if (handle.ssibEntryListPtr != element) return;
  log(L"iDeleteSSIBEntry - yes...moving ssibEntryListPtr to %d", asNumber(element->next));
  handle.ssibEntryListPtr = element->next;
}

void unlink(SSIB_LINK *link) {
  SSIB_ENTRY_LIST *element = *link;
  *link = element->next;
  element->next = nullptr;
}

}  // namespace

extern "C" {

EFI_STATUS iDeleteSSIBEntry(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *entry) {
  if (SSIB2 == nullptr || entry == nullptr) return EFI_INVALID_PARAMETER;
  SSIB_LINK *link = findMatch(*SSIB2, *entry);
  log(L"iDeleteSSIBEntry - Look up result = %d.", asNumber(link));
  if (link == nullptr) {
    log(L"iDeleteSSIBEntry - Entry not found ");
    return EFI_INVALID_PARAMETER;
  }
  log(L"iDeleteSSIBEntry - found = %d.", asNumber(link));
  SSIB_ENTRY_LIST *element = *link;
  moveCursorOff(*SSIB2, element);
  log(L"iDeleteSSIBEntry - Removing...");
  unlink(link);
  log(L"iDeleteSSIBEntry - done. Freeing pl..");
  le_free_list(SSIB2->XMLProto, element);
  log(L"iDeleteSSIBEntry - done freeing pl");
  return EFI_SUCCESS;
}

EFI_STATUS iRemoveFromSSIBQueue(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *entry) {
  log(L"iRemoveFromSSIBQueue  - calling iDeleteSSIBEntry.");
  const EFI_STATUS deleted = iDeleteSSIBEntry(SSIB2, entry);
  log(L"iRemoveFromSSIBQueue  - iDeleteSSIBEntry returned with %d.", deleted);
  if (deleted != EFI_SUCCESS) return deleted;
  log(L"iRemoveFromSSIBQueue  - Calling flush");
  const EFI_STATUS flushed = iFlushSSIBQueue(SSIB2);
  log(L"iRemoveFromSSIBQueue  - flush returned with %d", flushed);
  return flushed;
}

}  // extern "C"
