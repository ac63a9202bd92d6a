#!/bin/sh
# The kernel library exports exactly the names its public headers declare with KORB_API.
# usage: exported_symbols.sh <include/korb/kernel dir> <libkorb_def.so>
set -eu
dir=$1
lib=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# A declaration names itself before its '(' (function) or '[' / ';' (data).
grep -h '^KORB_API' "$dir"/*.h | sed -E 's/\(.*//; s/\[.*//; s/;.*//' |
    awk '{ print $NF }' | tr -d '*' | sort -u >"$tmp/declared"
nm -D --defined-only "$lib" | awk '{ print $3 }' | sort -u >"$tmp/exported"

if ! diff -u "$tmp/declared" "$tmp/exported" >"$tmp/diff"; then
    echo "declared (-) and exported (+) names differ:"
    grep -E '^[-+][^-+]' "$tmp/diff"
    exit 1
fi
[ -s "$tmp/declared" ] || { echo "no declarations found in $dir"; exit 1; }
echo "$(wc -l <"$tmp/declared") exported names match the headers"
