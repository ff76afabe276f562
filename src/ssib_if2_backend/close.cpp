// SPDX-License-Identifier: MIT
// Ending the use of a queue.
#include <cstdlib>

#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/xml_tree.h"

namespace ssib {
namespace {

// The handle as it was before its first open.
void releaseQueue(SSIB2_PRIVATE_DATA &handle) {
  log(L"iCloseSSIB Freeing ssibFileName.");
  std::free(handle.ssibFileName);
  handle.ssibFileName = nullptr;
  log(L"iCloseSSIB Done freeing ssibFileName. Deleting xmlRoot.");
  handle.mode = SSIB_MODE_DEFAULT;
  freeRootOf(handle);
  log(L"iCloseSSIB Done deleting xmlRoot. Freeing ssibEntryListHead.");
  freeListOf(handle);
  log(L"iCloseSSIB Done freeing ssibEntryListHead. Done close.");
}

}  // namespace
}  // namespace ssib

extern "C" {

EFI_STATUS iCloseSSIB(SSIB2_PRIVATE_DATA *SSIB2) {
  if (SSIB2 == nullptr) return EFI_INVALID_PARAMETER;
  if (SSIB2->openCount == 0) return EFI_SUCCESS;
  --SSIB2->openCount;
  if (SSIB2->openCount != 0) return EFI_SUCCESS;
  if (SSIB2->XMLProto == nullptr) return EFI_INVALID_PARAMETER;

  ssib::log(L"iCloseSSIB Flushing the queue...");
  const EFI_STATUS status = iFlushSSIBQueue(SSIB2);
  ssib::log(L"iCloseSSIB ..done.");
  ssib::releaseQueue(*SSIB2);
  return status;
}

}  // extern "C"
