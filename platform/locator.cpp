// SPDX-License-Identifier: MIT
// The UEFI-emulation service: which protocols there are, and who provides them.
#include <cstdlib>
#include <cstring>

#include "failure.h"
#include "HostXmlService.h"
#include "logs.h"

namespace vyx::platform {
namespace {

// A provider gives its one instance, or null when it has none at the moment.
struct Provider {
  EFI_GUID guid;
  void *(*find)();
};
constexpr Provider kProviders[] = {
    {VYX_XML_SERVICE_GUID, []() -> void * { return vyxHostXmlService(); }},
    {VYX_DEBUG_LOG_GUID, findDebugLog},
};

void *findInstance(const EFI_GUID &guid) {
  for (const auto &provider : kProviders)
    if (std::memcmp(&provider.guid, &guid, sizeof(guid)) == 0) return provider.find();
  return nullptr;
}

}  // namespace
}  // namespace vyx::platform

using namespace vyx::platform;

extern "C" {

// EFI_INVALID_PARAMETER for a null argument, EFI_OUT_OF_RESOURCES without memory, EFI_DEVICE_ERROR for a debug log that
// cannot be opened. There is at most one instance.
EFI_STATUS getProtocolInstanceByGuid(const EFI_GUID *guid, uint32_t *count, void ***instances) {
  if (guid == nullptr || count == nullptr || instances == nullptr) return EFI_INVALID_PARAMETER;
  *count = 0;
  *instances = nullptr;
  return statusOf([&] {
    void *instance = findInstance(*guid);
    if (instance == nullptr) return;
    *instances = static_cast<void **>(std::malloc(sizeof(void *)));
    if (*instances == nullptr) throw std::bad_alloc();
    **instances = instance;
    *count = 1;
  });
}

}  // extern "C"
