#!/bin/sh
# Writes a C program that reaches each function and object of the listing and, where pointers have 32 bits, compares the
# headers' constants with it.
#   generate_client.sh INTERFACE.TXT
cat <<'END'
#include <stdio.h>
#include "VyxSSIBBackend.h"

static void (*volatile function)(void);
static const volatile void *volatile object;
static int failures;

static void expect(const char *what, unsigned long actual, unsigned long listed) {
  if (actual == listed || sizeof(void *) != 4) return;
  printf("%s is %lu (0x%lx), listed as %lu (0x%lx)\n", what, actual, actual, listed, listed);
  ++failures;
}

int main(void) {
END
awk '
  $1 == "function" { print "  function = (void (*)(void))" $2 ";" }
  $1 == "data" { print "  object = &" $2 ";" }
  $1 == "constant" { print "  expect(\"" $2 "\", (unsigned long)(" $2 "), " $3 ");" }
' "$1"
printf '%s\n' '  return failures != 0;' '}'
