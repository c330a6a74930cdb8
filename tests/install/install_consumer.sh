#!/bin/sh
# Installs the build tree into an empty place, and builds and runs a C program against what stands
# there: once through the CMake package, once through pkg-config where that is.
# Environment: ZEL_BUILD_DIR, CMAKE, CMAKE_GENERATOR, CC, CXX, and ZEL_CONSUMER_FLAGS, how the library
# is instrumented.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$CMAKE" --install "$ZEL_BUILD_DIR" --prefix "$work/installed" >"$work/install.log"

# A build of some targets can be installed too: here the command zel and its documents are not built.
sed -e "s|\"$ZEL_BUILD_DIR/bin/zel\"|\"$work/none/zel\"|" -e "s|$ZEL_BUILD_DIR/man/|$work/none/|" \
    -e "s|$ZEL_BUILD_DIR/share/|$work/none/|" "$ZEL_BUILD_DIR/cmake_install.cmake" >"$work/part.cmake"
"$CMAKE" -DCMAKE_INSTALL_PREFIX="$work/part" -P "$work/part.cmake" >"$work/part.log"
[ -e "$work/part/bin/zel_combine" ] || { echo "not installed without the command zel"; exit 1; }
[ ! -e "$work/part/bin/zel" ] || { echo "installed from elsewhere: zel"; exit 1; }

# The tree may be moved after installation.
mv "$work/installed" "$work/prefix"
prefix=$work/prefix

for file in bin/zel_combine include/zel/zel.h include/zel/zel_features/zel_features.h; do
    [ -e "$prefix/$file" ] || { echo "not installed: $file"; exit 1; }
done
if find "$prefix/include" -name '*.hpp' | grep .; then
    echo "internal headers are installed"
    exit 1
fi

"$CMAKE" -S "$here" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_EXE_LINKER_FLAGS="$ZEL_CONSUMER_FLAGS" >"$work/configure.log"
"$CMAKE" --build "$work/build" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/build/consumer"
echo "CMake package: good"

if ! command -v pkg-config >/dev/null; then
    echo "pkg-config is not installed: zel.pc not tried"
    exit 0
fi
pc=$(find "$prefix" -name zel.pc)
PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion zel)" = 2.3.0 ] || { echo "zel.pc: wrong version"; exit 1; }
# shellcheck disable=SC2046,SC2086  # lists of words
"$CC" -std=c11 -Wall -Wextra -Wpedantic -Werror "$here/consumer.c" -o "$work/consumer" \
    $(pkg-config --cflags --libs zel) $ZEL_CONSUMER_FLAGS
"$work/consumer"
echo "pkg-config: good"
