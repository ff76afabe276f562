#!/bin/sh
# Writes a C program that compares the headers' records and constants with the listing.
#   generate_layout.sh INTERFACE.TXT
printf '%s\n' '#include <stddef.h>' '#include <stdio.h>' '#include "VyxSSIBBackend.h"' '' \
  'static int failures;' \
  'static void expect(const char *what, unsigned long actual, unsigned long listed) {' \
  '  if (actual == listed) return;' \
  '  printf("%s is %lu (0x%lx), listed as %lu (0x%lx)\n", what, actual, actual, listed, listed);' \
  '  ++failures;' \
  '}' '' 'int main(void) {'
awk '
  function expect(what, actual, listed) { printf "  expect(\"%s\", (unsigned long)(%s), %s);\n", what, actual, listed }
  $1 == "record" { record = $2; expect("size of " $2, "sizeof(" $2 ")", $3) }
  $1 == "field" {
    expect("offset of " record "." $2, "offsetof(" record ", " $2 ")", $3)
    expect("size of " record "." $2, "sizeof(((" record " *)0)->" $2 ")", $4)
    next_offset[record] = $3 + $4
  }
  $1 == "constant" { expect($2, $2, $3) }
  END { for (name in next_offset) expect("end of " name, "sizeof(" name ")", next_offset[name]) }
' "$1"
printf '%s\n' '  return failures != 0;' '}'
