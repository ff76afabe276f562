// SPDX-License-Identifier: MIT
// Taking an entry out of the list, and out of the file. The match rules are those of deleting alone.
#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/log.h"

namespace ssib {
namespace {

// The link that leads to the first match; null when nothing matches. A field that is not valid in the element matches
// anything.
SSIB_LINK *findMatch(SSIB2_PRIVATE_DATA &handle, const SSIB_ENTRY &entry) {
  const auto question = handle.mode == SSIB_MODE_BIOS_SMA ? &Rules::taskListDelete : &Rules::xmlDelete;
  for (SSIB_LINK *link = &handle.ssibEntryListHead; *link != nullptr; link = &(*link)->next) {
    if (agreeInAll(question, (*link)->entry, entry, (*link)->fieldMask)) return link;
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

EFI_STATUS deleteEntry(SSIB2_PRIVATE_DATA &handle, const SSIB_ENTRY &entry) {
  SSIB_LINK *link = findMatch(handle, entry);
  log(L"iDeleteSSIBEntry - Look up result = %d.", asNumber(link));
  if (link == nullptr) {
    log(L"iDeleteSSIBEntry - Entry not found ");
    return EFI_INVALID_PARAMETER;
  }
  log(L"iDeleteSSIBEntry - found = %d.", asNumber(link));
  SSIB_ENTRY_LIST *element = *link;
  moveCursorOff(handle, element);
  log(L"iDeleteSSIBEntry - Removing...");
  unlink(link);
  log(L"iDeleteSSIBEntry - done. Freeing pl..");
  le_free_list(handle.XMLProto, element);
  log(L"iDeleteSSIBEntry - done freeing pl");
  return EFI_SUCCESS;
}

EFI_STATUS removeEntry(SSIB2_PRIVATE_DATA *handle, const SSIB_ENTRY *entry) {
  log(L"iRemoveFromSSIBQueue  - calling iDeleteSSIBEntry.");
  const EFI_STATUS deleted = iDeleteSSIBEntry(handle, entry);
  log(L"iRemoveFromSSIBQueue  - iDeleteSSIBEntry returned with %d.", deleted);
  if (deleted != EFI_SUCCESS) return deleted;
  log(L"iRemoveFromSSIBQueue  - Calling flush");
  const EFI_STATUS flushed = iFlushSSIBQueue(handle);
  log(L"iRemoveFromSSIBQueue  - flush returned with %d", flushed);
  return flushed;
}

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iDeleteSSIBEntry(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *entry) {
  if (SSIB2 == nullptr || entry == nullptr) return EFI_INVALID_PARAMETER;
  return ssib::deleteEntry(*SSIB2, *entry);
}

EFI_STATUS iRemoveFromSSIBQueue(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *entry) {
  return ssib::removeEntry(SSIB2, entry);
}

}  // extern "C"
