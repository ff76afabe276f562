/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The names of the statuses, for messages. Nothing but this header is needed: it adds no symbol to the library.
 */
#ifndef VYX_SSIB_STATUS_H
#define VYX_SSIB_STATUS_H

#include "VyxSSIBBackend.h"

/* Only for the function below. */
#define VYXSSIB_NAMED(status) \
  case status:                \
    return #status

/**
 * The name of a status in the headers, "EFI_NOT_FOUND" for example.
 *
 * @return a text that lives as long as the program; null for a status without a name
 */
__attribute__((unused)) static inline const char *vyxSsibStatusName(EFI_STATUS status) {
  switch (status) {
    VYXSSIB_NAMED(EFI_SUCCESS);
    VYXSSIB_NAMED(EFI_INVALID_PARAMETER);
    VYXSSIB_NAMED(EFI_DEVICE_ERROR);
    VYXSSIB_NAMED(EFI_OUT_OF_RESOURCES);
    VYXSSIB_NAMED(EFI_NOT_FOUND);
    VYXSSIB_NAMED(EFI_ACCESS_DENIED);
    VYXSSIB_NAMED(EFI_ABORTED);
    VYXSSIB_NAMED(EFI_END_OF_FILE);
    VYXSSIB_NAMED(SSIB_STATUS_NO_DOCUMENT);
    VYXSSIB_NAMED(SSIB_STATUS_NO_FILE);
    default:
      return NULL; /* NOLINT(modernize-use-nullptr): C has no other */
  }
}

#undef VYXSSIB_NAMED

#endif
