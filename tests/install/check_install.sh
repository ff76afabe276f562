#!/bin/sh
# Installs the build, moves the copy, and tries clients against it as below a sysroot.
#   check_install.sh BUILD_DIRECTORY CMAKE COMPILER EXPAT
set -eu
build=$1 cmake=$2 compiler=$3 expat=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cmake" --install "$build" --prefix "$work/first/usr" >"$work/log"
mv "$work/first" "$work/root"
lib=$(dirname "$(find "$work/root" -name libVyxHostPlatform.so)")

# A target has expat where its compiler looks by itself.
mkdir "$work/expat"
cp "$expat" "$work/expat/libexpat.so.1"
ln -s libexpat.so.1 "$work/expat/libexpat.so"

export PKG_CONFIG_LIBDIR="$lib/pkgconfig" PKG_CONFIG_SYSROOT_DIR="$work/root"
export CC="$compiler" CMAKE="$cmake" SSIB="$work/root/usr/bin/ssib" SHARE="$work/root/usr/share/vyxssibbackend"
export RUN="env LD_LIBRARY_PATH=$lib:$work/expat $build/run" LDFLAGS="-L$work/expat -Wl,-rpath-link,$work/expat"
sh "$(dirname "$0")/check_clients.sh" -DCMAKE_PREFIX_PATH="$work/root/usr"
