#!/bin/sh
# Writes a C program that reaches each function and object of the listing and, where pointers have 32 bits, compares the
# headers' constants with it.
#   generate_client.sh INTERFACE.TXT
cat <<'END'
#include <stdio.h>
#include <string.h>

#include "VyxSSIBStatus.h"

#define VERSION_IS(after, major, minor, patch) (VYXSSIB_VERSION_AT_LEAST(major, minor, patch) == !(after))
#if !VERSION_IS(0, VYXSSIB_VERSION_MAJOR, VYXSSIB_VERSION_MINOR, VYXSSIB_VERSION_PATCH) || \
  !VERSION_IS(1, VYXSSIB_VERSION_MAJOR, VYXSSIB_VERSION_MINOR, VYXSSIB_VERSION_PATCH + 1) || \
  !VERSION_IS(1, VYXSSIB_VERSION_MAJOR, VYXSSIB_VERSION_MINOR + 1, 0) || \
  !VERSION_IS(1, VYXSSIB_VERSION_MAJOR + 1, 0, 0) || !VERSION_IS(0, VYXSSIB_VERSION_MAJOR - 1, 99, 99)
#error "VYXSSIB_VERSION_AT_LEAST takes an earlier version for a later one"
#endif

static void (*volatile function)(void);
static const volatile void *volatile object;
static int failures;

static void expect(const char *what, unsigned long actual, unsigned long listed) {
  if (actual == listed || sizeof(void *) != 4) return;
  printf("%s is %lu (0x%lx), listed as %lu (0x%lx)\n", what, actual, actual, listed, listed);
  ++failures;
}

static void expect_name(const char *listed, EFI_STATUS status) {
  const char *name = vyxSsibStatusName(status);
  if (name != NULL && strcmp(name, listed) == 0) return;
  printf("%s is named %s\n", listed, name == NULL ? "(null)" : name);
  ++failures;
}

int main(void) {
END
awk '
  $1 == "function" { print "  function = (void (*)(void))" $2 ";" }
  $1 == "data" { print "  object = &" $2 ";" }
  $1 == "constant" { print "  expect(\"" $2 "\", (unsigned long)(" $2 "), " $3 ");" }
  $1 == "constant" && $2 ~ /^(EFI|SSIB_STATUS)_/ { print "  expect_name(\"" $2 "\", " $2 ");" }
' "$1"
printf '%s\n' '  return failures != 0;' '}'
