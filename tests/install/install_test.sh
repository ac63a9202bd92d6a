#!/bin/sh
# Installs the build tree into a scratch prefix, then builds and runs a small consumer twice:
# with CMake's find_package(korb) and with pkg-config, each linking -lkorb and running without
# LD_LIBRARY_PATH (the run path comes from CMake, or from the .pc file's -Wl,-rpath). The
# installed korb command runs too, and the installed Python package.
# usage: install_test.sh <build dir> <consumer source dir> <scratch dir> [extra compiler flags]
set -eu
build=$1
src=$2
scratch=$3
flags=${4:-}

rm -rf "$scratch"
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

libdir=$(dirname "$(find "$prefix" -name libkorb.so.1 | head -n 1)")
for f in libkorb.so libkorb_def.so libkorb_avx2.so libkorb_avx512.so libkorb_core.so; do
    [ -e "$libdir/$f" ] || { echo "$f not installed beside libkorb.so.1"; exit 1; }
done
[ -f "$prefix/include/korb/korb.h" ] || { echo "public headers not installed"; exit 1; }
[ -f "$prefix/include/korb/kernel/frame.h" ] || { echo "kernel headers not installed"; exit 1; }
unset LD_LIBRARY_PATH

# The installed command finds its library through its run path, and the class libraries beside it.
"$prefix/bin/korb" info | grep -q '^kernel library class: [034]'
"$prefix/bin/korb" info | grep -qE '^  libkorb_avx2\.so +class 3 .*(runs here|needs a newer processor)$'

# CMake package.
cmake -S "$src" -B "$scratch/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_C_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
"$scratch/cmake-build/consumer"

# pkg-config, with the tree moved elsewhere: the .pc file finds its prefix from its own place.
mv "$prefix" "$scratch/moved"
moved_libdir=$scratch/moved/${libdir#"$prefix"/}
PKG_CONFIG_PATH=$moved_libdir/pkgconfig
export PKG_CONFIG_PATH
# shellcheck disable=SC2046,SC2086
cc -std=c99 -D_DEFAULT_SOURCE -Wall -Werror $flags $(pkg-config --cflags korb) "$src/main.c" \
    -o "$scratch/pc-consumer" $(pkg-config --libs korb) -lm
"$scratch/pc-consumer"

# The Python package under the moved prefix's site-packages loads the moved libkorb (through the
# relative path of its _location.py), when the system interpreter has numpy (not under the
# sanitizers, whose runtime an uninstrumented interpreter does not load first).
if [ -z "$flags" ] && /usr/bin/python3 -c 'import numpy' 2>/dev/null; then
    location=$(find "$scratch/moved" -path '*/korb/_location.py' | head -n 1)
    [ -n "$location" ] || { echo "Python package not installed"; exit 1; }
    (cd "$scratch" && env -u KORB_LIBRARY PYTHONPATH="$(dirname "$(dirname "$location")")" \
        /usr/bin/python3 -c 'import korb, numpy as np, os
assert os.path.realpath(korb._lib.path).startswith(os.path.realpath("moved")), korb._lib.path
assert korb.vm.exp(np.zeros(2)).tolist() == [1.0, 1.0]')
fi
rm -rf "$scratch"
echo "1 passed, 0 failed"
