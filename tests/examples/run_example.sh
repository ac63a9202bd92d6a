#!/bin/sh
# Runs an example program and checks that it exits with 0 and prints each expected line.
# usage: run_example.sh <program> <extended regular expression>...
set -u
program=$1
shift
out=$("$program" 2>&1)
code=$?
if [ "$code" -ne 0 ]; then
    printf '%s\n' "$out"
    echo "FAIL: $program exited with $code"
    exit 1
fi
for pattern in "$@"; do
    if ! printf '%s\n' "$out" | grep -Eq -- "$pattern"; then
        printf '%s\n' "$out"
        echo "FAIL: no line of the output matches '$pattern'"
        exit 1
    fi
done
printf '%s\n' "$out"
echo "1 passed, 0 failed"
