// SPDX-License-Identifier: MIT
// The primitives of the entry list.
#include "ssib_if2_backend/list.h"

#include <cstdlib>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/heap.h"

namespace ssib {

void le_free_list(XML_SERVICE_PROTOCOL *service, SSIB_ENTRY_LIST *first) {
  while (first != nullptr) {
    releaseContents(service, first->entry);
    SSIB_ENTRY_LIST *next = first->next;
    std::free(first);
    first = next;
  }
}

void freeListOf(SSIB2_PRIVATE_DATA &handle) {
  le_free_list(handle.XMLProto, handle.ssibEntryListHead);
  handle.ssibEntryListHead = nullptr;
  handle.ssibEntryListPtr = nullptr;
}

}  // namespace ssib

extern "C" {

SSIB_ENTRY_LIST *le_new(void) {
  return ssib::newRecord<SSIB_ENTRY_LIST>().release();
}

void le_insert_tail(SSIB_LINK *head, SSIB_ENTRY_LIST *element) {
  if (head == nullptr || element == nullptr) return;
  while (*head != nullptr) head = &(*head)->next;
  *head = element;
  element->next = nullptr;
}

}  // extern "C"
