// SPDX-License-Identifier: MIT
// Handing out the entry under the cursor, as a copy that is the caller's.
#include <span>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/xml_tree.h"

using namespace ssib;

namespace {

constexpr std::span kAllStrings(kStrings);

bool isRefused(const SSIB2_PRIVATE_DATA *handle, const SSIB_ENTRY *entry) {
  return handle == nullptr || entry == nullptr || handle->XMLProto == nullptr;
}

void copyStrings(std::span<const StringField> fields, const SSIB_ENTRY &source, SSIB_ENTRY &copy) {
  for (const StringField &field : fields) {
    copy.*field.member = copyText(source.*field.member);
    log(field.copiedLine);
  }
}

void copyAllStrings(const SSIB_ENTRY &source, SSIB_ENTRY &copy) {
  for (const StringField &field : kStrings) copy.*field.member = copyText(source.*field.member);
}

}  // namespace

extern "C" {

EFI_STATUS iGetSSIBNextEntry(SSIB2_PRIVATE_DATA *SSIB2, SSIB_ENTRY *entry) {
  if (isRefused(SSIB2, entry)) return EFI_INVALID_PARAMETER;
  const SSIB_ENTRY_LIST *element = SSIB2->ssibEntryListPtr;
  log(L"iGetSSIBNextEntry. ssibEntryListPtr = %d", asNumber(element));
  if (element == nullptr) {
    log(L"iGetSSIBNextEntry. Nothing found.");
    return EFI_END_OF_FILE;
  }
  log(L"iGetSSIBNextEntry - Copying data from ssibEntryListPtr->entry");
  *entry = element->entry;
  log(L"iGetSSIBNextEntry - Done mem copying");
  copyStrings(kAllStrings.first(kStringsBeforeNode), element->entry, *entry);
  entry->Node = dupeNode(element->entry.Node, nullptr);
  log(L"iGetSSIBNextEntry - Done copying data. Moving ssibEntryListPtr to %d", asNumber(element->next));
  copyStrings(kAllStrings.subspan(kStringsBeforeNode), element->entry, *entry);
  SSIB2->ssibEntryListPtr = element->next;
  log(L"iGetSSIBNextEntry - Done.");
  return EFI_SUCCESS;
}

EFI_STATUS iPeekSSIBNextEntry(SSIB2_PRIVATE_DATA *SSIB2, SSIB_ENTRY *entry) {
  if (isRefused(SSIB2, entry)) return EFI_INVALID_PARAMETER;
  const SSIB_ENTRY_LIST *element = SSIB2->ssibEntryListPtr;
  log(L"iPeekSSIBNextEntry. ssibEntryListPtr = %d", asNumber(element));
  if (element == nullptr) {
    log(L"iPeekSSIBNextEntry. Nothing found.");
    return EFI_END_OF_FILE;
  }
  log(L"iPeekSSIBNextEntry - Copying data from ssibEntryListPtr->entry");
  *entry = element->entry;
  copyAllStrings(element->entry, *entry);
  entry->Node = dupeNode(element->entry.Node, nullptr);
  log(L"iPeekSSIBNextEntry - Done copying data");
  return EFI_SUCCESS;
}

}  // extern "C"
