// SPDX-License-Identifier: MIT
// Handing out the entry under the cursor, as a copy that is the caller's.
#include <span>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

constexpr std::span kAllStrings(kStrings);

// What getting and peeking do alike they report under their own names.
struct WalkLines {
  const wchar_t *cursor, *nothing, *copying;
};

#define SSIB_WALK_LINES(name)                                        \
  {                                                                  \
    L"" name ". ssibEntryListPtr = %d", L"" name ". Nothing found.", \
        L"" name " - Copying data from ssibEntryListPtr->entry"      \
  }

constexpr WalkLines kGetLines = SSIB_WALK_LINES("iGetSSIBNextEntry");
constexpr WalkLines kPeekLines = SSIB_WALK_LINES("iPeekSSIBNextEntry");

#undef SSIB_WALK_LINES

// Copies the record under the cursor. Its pointers are still the list's.
EFI_STATUS copyRecord(const SSIB2_PRIVATE_DATA *handle, SSIB_ENTRY *entry, const WalkLines &lines) {
  if (handle == nullptr || entry == nullptr || handle->XMLProto == nullptr) return EFI_INVALID_PARAMETER;
  const SSIB_ENTRY_LIST *element = handle->ssibEntryListPtr;
  logOften(lines.cursor, asNumber(element));
  if (element == nullptr) {
    log(lines.nothing);
    return EFI_END_OF_FILE;
  }
  log(lines.copying);  // one more test would cost the library a page
  *entry = element->entry;
  return EFI_SUCCESS;
}

[[gnu::noinline]] void logCopied(std::span<const StringField> fields) {
  for (const StringField &field : fields) log(field.copiedLine);
}

// Puts copies in the place of the list's texts. Each is copied by code of its own, which saves a tenth of a walk.
[[gnu::always_inline]] inline void copyTexts(SSIB_ENTRY &entry, std::span<const StringField> fields) {
#pragma GCC unroll 8
  for (const StringField &field : fields) entry.*field.member = copyText(entry.*field.member);
  if (vyxSsibDebug != nullptr) logCopied(fields);
}

EFI_STATUS get(SSIB2_PRIVATE_DATA *handle, SSIB_ENTRY *entry) {
  const EFI_STATUS status = copyRecord(handle, entry, kGetLines);
  if (status != EFI_SUCCESS) return status;
  SSIB_ENTRY_LIST *next = handle->ssibEntryListPtr->next;
  logOften(L"iGetSSIBNextEntry - Done mem copying");
  copyTexts(*entry, kAllStrings.first(kStringsBeforeNode));
  entry->Node = dupeNode(entry->Node, nullptr);
  logOften(L"iGetSSIBNextEntry - Done copying data. Moving ssibEntryListPtr to %d", asNumber(next));
  copyTexts(*entry, kAllStrings.subspan(kStringsBeforeNode));
  handle->ssibEntryListPtr = next;
  logOften(L"iGetSSIBNextEntry - Done.");
  return EFI_SUCCESS;
}

EFI_STATUS peek(const SSIB2_PRIVATE_DATA *handle, SSIB_ENTRY *entry) {
  const EFI_STATUS status = copyRecord(handle, entry, kPeekLines);
  if (status != EFI_SUCCESS) return status;
  for (const StringField &field : kStrings) entry->*field.member = copyText(entry->*field.member);
  entry->Node = dupeNode(entry->Node, nullptr);
  log(L"iPeekSSIBNextEntry - Done copying data");
  return EFI_SUCCESS;
}

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iGetSSIBNextEntry(SSIB2_PRIVATE_DATA *SSIB2, SSIB_ENTRY *entry) {
  return ssib::get(SSIB2, entry);
}

EFI_STATUS iPeekSSIBNextEntry(SSIB2_PRIVATE_DATA *SSIB2, SSIB_ENTRY *entry) {
  return ssib::peek(SSIB2, entry);
}

}  // extern "C"
