/* SPDX-License-Identifier: MIT */
/* The look-up of services, and the two logs. */
#include <stdlib.h>

#include "checks.h"

/* The one instance that the library would take; the array goes back to the heap as it does there. */
void *find_service(EFI_GUID guid) {
  uint32_t count = 0;
  void **instances = NULL;
  const EFI_STATUS status = getProtocolInstanceByGuid(&guid, &count, &instances);
  void *instance = status == EFI_SUCCESS && count > 0 && instances != NULL ? instances[0] : NULL;
  if (status == EFI_SUCCESS) free(instances);
  return instance;
}

static void lookup(void) {
  expect(find_service((EFI_GUID)VYX_XML_SERVICE_GUID) != NULL, "there is no XML service: the library does not start");
  expect(find_service((EFI_GUID){1, 2, 3, {4}}) == NULL, "a protocol that does not exist has an instance");
}

static void logs(void) {
  quorprintf(5, 9, "%s:%d:Calling varsk_fopen() with partition:%ls fileName:%ls and mode:%s\n", "platform-check",
             __LINE__, CHECK_PARTITION, CHECK_FILE, "r");
  DEBUG_LOG_PROTOCOL *log = find_service((EFI_GUID)VYX_DEBUG_LOG_GUID);
  if (log == NULL) return;
  log->Print(0x800000, "VYXSSIB", L"%d %x %s %ls %r\n", 1, 2, "text", L"wide", EFI_NOT_FOUND);
}

const struct check service_checks[] = {
    {"getProtocolInstanceByGuid", lookup},
    {"quorprintf, Print", logs},
    {NULL, NULL},
};
