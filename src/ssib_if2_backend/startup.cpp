// SPDX-License-Identifier: MIT
// Start-up and unload: the exported data, the search for services, and the handle's construction.
#include <cstdio>
#include <cstring>

#include "ssib_if2_backend/heap.h"
#include "ssib_if2_backend/log.h"

namespace ssib {
namespace {

constexpr char kSignature[] = {'s', 's', 'i', 'b'};
constexpr std::uint8_t kRevision = 2;

}  // namespace
}  // namespace ssib

extern "C" {

SSIB2_PRIVATE_DATA gSSSIB2pvt;
DEBUG_LOG_PROTOCOL *vyxSsibDebug;
wchar_t sVarskPartition[] = SSIB_PARTITION;

const EFI_GUID gQuorEfiXMLProtocolGuid2 = VYX_XML_SERVICE_GUID;
const EFI_GUID gQuorDebugGUID = VYX_DEBUG_LOG_GUID;
const EFI_GUID gEfiVyxSSIBProtocol2Guid = SSIB_PROTOCOL2_GUID;

EFI_STATUS FindAProtocol(const EFI_GUID *guid, void **instance) {
  if (guid == nullptr || instance == nullptr) return EFI_INVALID_PARAMETER;
  std::uint32_t count = 0;
  void **instances = nullptr;
  if (getProtocolInstanceByGuid(guid, &count, &instances) != EFI_SUCCESS) {
    std::fputs("Couldn't load Libray for GUID!\n", stderr);
    return EFI_NOT_FOUND;
  }
  if (count == 0 || instances == nullptr) {
    std::fputs("NO protocol loaded for GUID!\n", stderr);
    return EFI_NOT_FOUND;
  }
  *instance = instances[0];
  std::free(instances);
  return EFI_SUCCESS;
}

EFI_STATUS Protocol2Constructor(SSIB2_PRIVATE_DATA *SSIB2) {
  if (SSIB2 == nullptr) return EFI_INVALID_PARAMETER;
  void *xmlService = nullptr;
  const EFI_STATUS status = FindAProtocol(&gQuorEfiXMLProtocolGuid2, &xmlService);
  if (EFI_ERROR(status)) return status;

  *SSIB2 = {};
  SSIB2->XMLProto = static_cast<XML_SERVICE_PROTOCOL *>(xmlService);
  std::memcpy(SSIB2->signature, ssib::kSignature, sizeof(ssib::kSignature));
  SSIB2->revision = ssib::kRevision;

  void *debugLog = nullptr;
  FindAProtocol(&gQuorDebugGUID, &debugLog);  // without one there is no log
  SSIB2->debugProto = static_cast<DEBUG_LOG_PROTOCOL *>(debugLog);
  vyxSsibDebug = SSIB2->debugProto;
  return EFI_SUCCESS;
}

EFI_STATUS Protocol2Destructor(SSIB2_PRIVATE_DATA *SSIB2) {
  if (SSIB2 == nullptr) return EFI_INVALID_PARAMETER;
  *SSIB2 = {};
  return EFI_SUCCESS;
}

EFI_STATUS vyxSSIB2LinuxInitBackend(void) {
  const EFI_STATUS status = Protocol2Constructor(&gSSSIB2pvt);
  ssib::log(L"vyxSSIB2LinuxInit- done with status=%d. \n", status);
  return EFI_ERROR(status) ? EFI_ABORTED : status;
}

EFI_STATUS vyxSSIB2LinuxUnloadBackend(void) {
  Protocol2Destructor(&gSSSIB2pvt);
  return EFI_SUCCESS;
}

}  // extern "C"
