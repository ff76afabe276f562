#!/bin/sh
# Builds the installed examples as programs outside the tree, by pkg-config and by CMake, with the libraries in both
# orders and --as-needed, and runs them and the tool on one partition; judges the example of a platform.
#   CC=COMPILER CMAKE=CMAKE SSIB=TOOL RUN=HOW_TO_START_A_PROGRAM LDFLAGS=... SHARE=PREFIX/share/vyxssibbackend \
#     check_clients.sh [CMAKE_OPTION...]
set -eu
tests=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# expect TEXT PROGRAM [ARGUMENT...]: what the program prints has the text in it.
expect() {
  text=$1
  shift
  VARSK_ROOT=$work/flash $RUN "$@" >"$work/printed" 2>&1 || true
  grep -qF "$text" "$work/printed" && return
  echo "$1 did not print \"$text\" but:"
  cat "$work/printed"
  exit 1
}

# by_pkg_config MODULES PROGRAM SOURCE...
by_pkg_config() {
  flags=$(pkg-config --cflags --libs $1)
  program=$2
  shift 2
  (cd "$SHARE/examples" && "$CC" -std=c11 -Wl,--as-needed -o "$work/$program" "$@" $flags $LDFLAGS)
}

by_pkg_config "vyxhostplatform vyxssibbackend" producer producer.c
by_pkg_config "vyxssibbackend vyxhostplatform" consumer consumer.c
by_pkg_config "vyxssibbackend vyxxmlservice" own_platform own_platform.c memory_platform.c
by_pkg_config vyxxmlservice platform_check memory_platform.c "$SHARE"/platform-check/*.c
expect " checks made, 0 failed" "$work/platform_check"
"$CMAKE" -S "$tests/client" -B "$work/cmake" -DCMAKE_C_COMPILER="$CC" -DEXAMPLES="$SHARE/examples" \
  -DCMAKE_EXE_LINKER_FLAGS="-Wl,--as-needed $LDFLAGS" "$@" >"$work/log" || { cat "$work/log"; exit 1; }
"$CMAKE" --build "$work/cmake" >"$work/log" || { cat "$work/log"; exit 1; }

for programs in "$work" "$work/cmake"; do
  expect "queued 2 jobs" "$programs/producer"
  expect "JID_0001" "$SSIB" list
  expect "2 jobs done" "$programs/consumer"
  expect "Main.ssib: Fan test" "$programs/own_platform"
done
