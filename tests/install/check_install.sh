#!/bin/sh
# Installs the build, moves the copy, and builds the examples against it as programs outside the tree: by pkg-config as
# below a sysroot and by CMake, with the libraries in both orders and --as-needed.
#   check_install.sh BUILD_DIRECTORY CMAKE COMPILER EXPAT
set -eu
build=$1 cmake=$2 compiler=$3 expat=$4
tests=$(cd "$(dirname "$0")" && pwd)
examples=$tests/../../examples
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cmake" --install "$build" --prefix "$work/first/usr" >"$work/log"
mv "$work/first" "$work/root"
lib=$(dirname "$(find "$work/root" -name libVyxHostPlatform.so)")
cp "$expat" "$lib/libexpat.so.1"

# expect TEXT PROGRAM [ARGUMENT...]: what a program of the target prints has the text in it.
expect() {
  text=$1
  shift
  VARSK_ROOT=$work/flash LD_LIBRARY_PATH=$lib "$build/run" "$@" >"$work/printed" 2>&1 || true
  grep -qF "$text" "$work/printed" && return
  echo "$1 did not print \"$text\" but:"
  cat "$work/printed"
  exit 1
}

# by_pkg_config EXAMPLE MODULE...
by_pkg_config() {
  example=$1
  shift
  flags=$(PKG_CONFIG_LIBDIR=$lib/pkgconfig PKG_CONFIG_SYSROOT_DIR=$work/root pkg-config --cflags --libs "$@")
  "$compiler" -std=c11 -Wl,--as-needed -o "$work/$example" "$examples/$example.c" $flags -Wl,-rpath-link,"$lib"
}

by_pkg_config producer vyxhostplatform vyxssibbackend
by_pkg_config consumer vyxssibbackend vyxhostplatform
by_pkg_config own_platform vyxssibbackend
"$cmake" -S "$tests/client" -B "$work/cmake" -DCMAKE_C_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/root/usr" \
  -DCMAKE_EXE_LINKER_FLAGS="-Wl,--as-needed,-rpath-link,$lib" >"$work/log" || { cat "$work/log"; exit 1; }
"$cmake" --build "$work/cmake" >"$work/log" || { cat "$work/log"; exit 1; }

for programs in "$work" "$work/cmake"; do
  expect "queued 2 jobs" "$programs/producer"
  expect "JID_0001" "$work/root/usr/bin/ssib" list
  expect "2 jobs done" "$programs/consumer"
  expect "read back: Second device" "$programs/own_platform"
done
