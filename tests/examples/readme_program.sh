#!/bin/sh
# The first program of README.md compiles as C99 against the public headers, links with -lkorb
# alone and prints what the README says it prints.
# usage: readme_program.sh <README.md> <include dir> <library dir> <C compiler> <scratch dir>
#        [extra compiler flags]
set -eu
readme=$1
inc=$2
libdir=$3
cc=$4
scratch=$5
flags=${6:-}
rm -rf "$scratch"
mkdir -p "$scratch"
awk '/^```c$/ { on = 1; next } on && /^```$/ { exit } on { print }' "$readme" >"$scratch/first.c"
[ -s "$scratch/first.c" ] || { echo "README.md has no C program"; exit 1; }
# shellcheck disable=SC2086
"$cc" -std=c99 -Wall -Wextra -Werror $flags -I"$inc" "$scratch/first.c" -o "$scratch/first" \
    -L"$libdir" -Wl,-rpath,"$libdir" -lkorb -lm
"$scratch/first" >"$scratch/out"
cat "$scratch/out"
grep -qx 'BIX_ERROR_OK: success' "$scratch/out"
grep -qx 'call price 7.150 +- 0.013' "$scratch/out"
rm -rf "$scratch"
echo "1 passed, 0 failed"
