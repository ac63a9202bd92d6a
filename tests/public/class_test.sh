#!/bin/sh
# The processor class libkorb chooses: KORB_DEBUG_CPU_TYPE=0 loads libkorb_def.so and gives the
# same bits as the class chosen by detection; a class the processor lacks is not loaded; a
# missing kernel library is fatal with message 1 and exit code 1.
# usage: class_test.sh <class_digest program> <libkorb.so.1> <scratch dir>
set -eu
digest=$1
lib=$2
scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch"

"$digest" >"$scratch/detected"
KORB_DEBUG_CPU_TYPE=0 "$digest" >"$scratch/class0"
head -n 1 "$scratch/class0" | grep -qx 'class 0' || { echo "KORB_DEBUG_CPU_TYPE=0 did not load class 0"; exit 1; }
grep -qx 'loaded libkorb_def.so' "$scratch/class0" || { echo "KORB_DEBUG_CPU_TYPE=0 did not load libkorb_def.so"; exit 1; }
tail -n +3 "$scratch/detected" >"$scratch/a"
tail -n +3 "$scratch/class0" >"$scratch/b"
cmp -s "$scratch/a" "$scratch/b" || { echo "class 0 and $(head -n 1 "$scratch/detected") differ:"; diff "$scratch/a" "$scratch/b" | head; exit 1; }
# An unparsable or out-of-range override is ignored.
for value in abc 7; do
    [ "$(KORB_DEBUG_CPU_TYPE=$value "$digest" | head -n 1)" = "$(head -n 1 "$scratch/detected")" ] ||
        { echo "KORB_DEBUG_CPU_TYPE=$value was not ignored"; exit 1; }
done

# The file follows the class: beside a copy of libkorb stand the default kernel library and a
# stand-in for class 3 (the default one under the class-3 name). A process of class 3 or more
# loads the stand-in, the highest present at or below its class; class 0 the default one.
mkdir "$scratch/classes"
libdir=$(dirname "$lib")
cp "$lib" "$libdir/libkorb_def.so" "$libdir/libkorb_core.so" "$scratch/classes/"
cp "$libdir/libkorb_def.so" "$scratch/classes/libkorb_avx2.so"
cpu=$(LD_LIBRARY_PATH="$scratch/classes" "$digest" | sed -n 2p)
if KORB_DEBUG_CPU_TYPE=3 LD_LIBRARY_PATH="$scratch/classes" "$digest" >"$scratch/c3" 2>&1 &&
    ! grep -q 'not convenient' "$scratch/c3"; then
    grep -qx 'loaded libkorb_avx2.so' "$scratch/c3" ||
        { echo "class 3 did not load libkorb_avx2.so:"; head -n 3 "$scratch/c3"; exit 1; }
    tail -n +3 "$scratch/c3" | cmp -s - "$scratch/b" || { echo "class 3 stand-in differs"; exit 1; }
fi
[ "$(KORB_DEBUG_CPU_TYPE=2 LD_LIBRARY_PATH="$scratch/classes" "$digest" | sed -n 2p)" = "loaded libkorb_def.so" ] ||
    { echo "class 2 did not fall back to libkorb_def.so"; exit 1; }

# libkorb alone in a directory, found before the build's copy: no kernel library to load.
mkdir "$scratch/alone"
cp "$lib" "$scratch/alone/"
set +e
LD_LIBRARY_PATH="$scratch/alone" "$digest" >"$scratch/out" 2>&1
code=$?
set -e
[ "$code" -eq 1 ] || { echo "missing kernel library: exit code $code, expected 1"; cat "$scratch/out"; exit 1; }
grep -q '^KORB FATAL ERROR: Cannot load libkorb_def.so.$' "$scratch/out" ||
    { echo "missing kernel library: unexpected message"; cat "$scratch/out"; exit 1; }
echo "build tree: $(head -n 2 "$scratch/detected" | tr "\n" " "); beside a class-3 stand-in: $cpu; same bits everywhere; 1 passed, 0 failed"
rm -rf "$scratch"
