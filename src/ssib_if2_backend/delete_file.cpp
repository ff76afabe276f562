// SPDX-License-Identifier: MIT
// Deleting a queue's file. Entries are deleted in remove.cpp.
#include "ssib_if2_backend/log.h"
#include "ssib_if2_backend/partition.h"

using namespace ssib;

extern "C" EFI_STATUS iDeleteSSIB(SSIB2_PRIVATE_DATA *SSIB2, const wchar_t *fileName) {
  constexpr char kTag[] = "iDeleteSSIB";
  logTo(vyxSsibDebug, kTag, L"Entered iDeleteSSIB\n");
  if (SSIB2 == nullptr || fileName == nullptr) return logExit(kTag, EFI_INVALID_PARAMETER);
  std::uint32_t size = 0;
  EFI_STATUS status = EFI_SUCCESS;
  if (!file_exists(fileName, &size, &status)) {
    logTo(vyxSsibDebug, kTag, L"Could not locate SSIB list\n");
    return logExit(kTag, EFI_NOT_FOUND);
  }
  deleteFile(fileName);
  return EFI_SUCCESS;
}
