// SPDX-License-Identifier: MIT
// The UEFI-emulation service: which protocols there are, and who provides them.
#include <cstdlib>
#include <cstring>

#include "debug_log.h"
#include "PlatformServices.h"
#include "xml_service.h"

namespace vyx::platform {
namespace {

EFI_STATUS findXmlService(void **instance) {
  *instance = xmlService();
  return EFI_SUCCESS;
}

// A provider gives its one instance, or null when it has none at the moment.
struct Provider {
  EFI_GUID guid;
  EFI_STATUS (*find)(void **instance);
};
constexpr Provider kProviders[] = {
    {VYX_XML_SERVICE_GUID, findXmlService},
    {VYX_DEBUG_LOG_GUID, findDebugLog},
};

EFI_STATUS findInstance(const EFI_GUID &guid, void **instance) {
  for (const auto &provider : kProviders)
    if (std::memcmp(&provider.guid, &guid, sizeof(guid)) == 0) return provider.find(instance);
  *instance = nullptr;
  return EFI_SUCCESS;
}

}  // namespace
}  // namespace vyx::platform

using namespace vyx::platform;

extern "C" {

// EFI_INVALID_PARAMETER for a null argument, EFI_OUT_OF_RESOURCES without memory. There is at most one instance.
EFI_STATUS getProtocolInstanceByGuid(const EFI_GUID *guid, uint32_t *count, void ***instances) {
  if (guid == nullptr || count == nullptr || instances == nullptr) return EFI_INVALID_PARAMETER;
  *count = 0;
  *instances = nullptr;
  void *instance = nullptr;
  if (const EFI_STATUS status = findInstance(*guid, &instance); status != EFI_SUCCESS) return status;
  if (instance == nullptr) return EFI_SUCCESS;
  auto **array = static_cast<void **>(std::malloc(sizeof(void *)));
  if (array == nullptr) return EFI_OUT_OF_RESOURCES;
  array[0] = instance;
  *instances = array;
  *count = 1;
  return EFI_SUCCESS;
}

}  // extern "C"
