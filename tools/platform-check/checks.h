/* SPDX-License-Identifier: MIT */
/* Between the checks and the program that makes them. */
#ifndef PLATFORM_CHECKS_H
#define PLATFORM_CHECKS_H

#include <stddef.h>

#include "XmlService.h"

/* The file and the attribute that the checks use. */
#define CHECK_PARTITION L"VAR025"
#define CHECK_FILE L"platform-check.json"
#define CHECK_ATTRIBUTE "platform-check"

struct check {
  const char *name;
  void (*run)(void);
};

/* The group ends with a check without a name. */
extern const struct check storage_checks[], service_checks[], xml_checks[];

/* Counts a failure of the check that runs, and says what is wrong, unless the condition holds. */
void expect(int holds, const char *otherwise, ...) __attribute__((format(printf, 2, 3)));

/* The instance of a protocol that the library would take; null when there is none. */
void *find_service(EFI_GUID guid);

#endif
