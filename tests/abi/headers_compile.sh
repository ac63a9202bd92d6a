#!/bin/sh
# Every public header, all included together, compiles as C99 and as C++ with warnings as errors.
# usage: headers_compile.sh <include dir> <C compiler> <C++ compiler>
set -eu
inc=$1
cc=$2
cxx=$3
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

for h in "$inc"/korb/*.h "$inc"/korb/kernel/*.h; do
    [ -f "$h" ] || continue
    echo "#include <${h#"$inc"/}>"
done >"$tmp/all.c"
echo 'int main(void) { return 0; }' >>"$tmp/all.c"
cp "$tmp/all.c" "$tmp/all.cpp"

"$cc" -std=c99 -pedantic -Wall -Wextra -Werror -I"$inc" -c "$tmp/all.c" -o "$tmp/all_c.o"
"$cxx" -std=c++20 -pedantic -Wall -Wextra -Werror -I"$inc" -c "$tmp/all.cpp" -o "$tmp/all_cpp.o"
echo "$(grep -c include "$tmp/all.c") headers compile as C99 and C++20"
