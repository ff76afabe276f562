// SPDX-License-Identifier: MIT
// Replacing the contents of a list element where it stands.
#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

SSIB_ENTRY_LIST *findSame(SSIB2_PRIVATE_DATA &handle, const SSIB_ENTRY &entry) {
  SSIB_ENTRY_LIST *element = handle.ssibEntryListHead;
  while (element != nullptr && SSIBEntryCmp(&handle, &entry, &element->entry) != 0) element = element->next;
  return element;
}

// What is not copied is null: the record never points into the caller's.
EFI_STATUS copyContents(const SSIB_ENTRY &source, SSIB_ENTRY &copy) {
  copy = source;
  copy.Node = nullptr;
  for (const StringField &field : kStrings) copy.*field.member = nullptr;
  for (const StringField &field : kStrings) {
    copy.*field.member = copyText(source.*field.member);
    if (isMissing(copy.*field.member, source.*field.member)) return EFI_OUT_OF_RESOURCES;
  }
  copy.Node = dupeNode(source.Node, nullptr);
  return isMissing(copy.Node, source.Node) ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iReplaceSSIBEntry(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *oldEntry, const SSIB_ENTRY *newEntry) {
  constexpr char kTag[] = "iReplaceSSIBEntry";
  ssib::logTo(vyxSsibDebug, kTag, L"Entered");
  if (SSIB2 == nullptr || oldEntry == nullptr || newEntry == nullptr) return ssib::logExit(kTag, EFI_INVALID_PARAMETER);
  SSIB_ENTRY_LIST *element = ssib::findSame(*SSIB2, *oldEntry);
  if (element == nullptr) return ssib::logExit(kTag, EFI_NOT_FOUND);
  ssib::logTo(vyxSsibDebug, kTag, L"Found Old Entry... Replacing...");
  ssib::releaseContents(SSIB2->XMLProto, element->entry);
  return ssib::logExit(kTag, ssib::copyContents(*newEntry, element->entry));
}

}  // extern "C"
