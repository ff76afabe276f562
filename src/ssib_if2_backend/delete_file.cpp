// SPDX-License-Identifier: MIT
// Deleting a queue's file. Entries are deleted in remove.cpp.
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/partition.h"

extern "C" {

EFI_STATUS iDeleteSSIB(SSIB2_PRIVATE_DATA *SSIB2, const wchar_t *fileName) {
  constexpr char kTag[] = "iDeleteSSIB";
  ssib::logTo(vyxSsibDebug, kTag, L"Entered iDeleteSSIB\n");
  if (SSIB2 == nullptr || fileName == nullptr) return ssib::logExit(kTag, EFI_INVALID_PARAMETER);
  if (!ssib::file_exists(fileName).opened) {
    ssib::logTo(vyxSsibDebug, kTag, L"Could not locate SSIB list\n");
    return ssib::logExit(kTag, EFI_NOT_FOUND);
  }
  ssib::deleteFile(fileName);
  return EFI_SUCCESS;
}

}  // extern "C"
