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
tail -n +2 "$scratch/detected" >"$scratch/a"
tail -n +2 "$scratch/class0" >"$scratch/b"
cmp -s "$scratch/a" "$scratch/b" || { echo "class 0 and $(head -n 1 "$scratch/detected") differ:"; diff "$scratch/a" "$scratch/b" | head; exit 1; }
# An unparsable or out-of-range override is ignored.
for value in abc 7; do
    [ "$(KORB_DEBUG_CPU_TYPE=$value "$digest" | head -n 1)" = "$(head -n 1 "$scratch/detected")" ] ||
        { echo "KORB_DEBUG_CPU_TYPE=$value was not ignored"; exit 1; }
done

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
echo "detected $(head -n 1 "$scratch/detected"), same bits as class 0; 1 passed, 0 failed"
rm -rf "$scratch"
