#!/bin/sh
# Runs a table generator and compares its output with the committed file. Exits 77 (skipped)
# when the generator cannot run here, for want of its inputs.
# usage: regenerate.sh <generator> <committed file>
set -u
out=$(mktemp)
trap 'rm -f "$out"' EXIT
if ! /usr/bin/python3 "$1" >"$out" 2>/dev/null; then
    echo "cannot run $1 (are python3-numpy, python3-scipy and python3-mpmath installed?)"
    exit 77
fi
cmp "$out" "$2"
