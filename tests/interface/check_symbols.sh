#!/bin/sh
# Compares the listing with the library's dynamic symbols and with the names of the headers' constants, and what is
# loaded of the library with its limit.
#   check_symbols.sh INTERFACE.TXT INCLUDE_DIRECTORY LIBRARY READELF
set -u
listing=$1 include=$2 library=$3 readelf=$4
size_limit=65536
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
failures=0

{
  "$readelf" -dW "$library" | sed -n \
    -e 's/.*(SONAME).*\[\(.*\)\]/soname \1/p' -e 's/.*(NEEDED).*\[\(.*\)\]/needed \1/p'
  # Weak references are the C runtime's own; what has a version of the C library comes from there.
  "$readelf" --dyn-syms -W "$library" | awk '
    $1 !~ /^[0-9]+:$/ || $8 == "" || $5 == "WEAK" { next }
    { name = $8; sub(/@.*/, "", name); version = $8; sub(/^[^@]*@*/, "", version) }
    $7 == "UND" { if (version !~ /^GLIBC_/) print "undefined", name; next }
    $4 == "FUNC" { print "function", name, version }
    $4 == "OBJECT" && $7 != "ABS" { print "data", name, $3, version }'
  grep -hE '^#define (SSIB|EFI)_[A-Z0-9_]+ ' "$include"/*.h | awk '
    $3 ~ /^L"/ { print "text", $2, $3; next }
    $3 != "\\" { print "constant", $2 }'
} | LC_ALL=C sort >"$work/built"
grep -E '^(soname|needed|undefined|function|data|constant|text) ' "$listing" |
  awk '$1 == "constant" { print $1, $2; next } { print }' | LC_ALL=C sort >"$work/listed"
diff "$work/listed" "$work/built" || failures=1

size=0  # without what some linkers put in between, so that segments begin at large pages
for part in $("$readelf" -lW "$library" | awk '$1 == "LOAD" { print $5 }'); do size=$((size + part)); done
if [ "$size" -eq 0 ] || [ "$size" -ge "$size_limit" ]; then
  echo "$size bytes are loaded, not fewer than $size_limit"
  failures=1
fi
exit "$failures"
