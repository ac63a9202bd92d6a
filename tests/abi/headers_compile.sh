#!/bin/sh
# Every header, all included together, compiles as C99 and as C++ with warnings as errors; the
# public headers alone (korb/*.h, what applications include) also under clang's
# -Wreserved-identifier, since no public name may begin with an underscore.
# usage: headers_compile.sh <include dir> <C compiler> <C++ compiler> [clang]
set -eu
inc=$1
cc=$2
cxx=$3
clang=${4:-}
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

[ -n "$clang" ] || exit 0
for h in "$inc"/korb/*.h; do
    echo "#include <${h#"$inc"/}>"
done >"$tmp/public.c"
echo 'int main(void) { return 0; }' >>"$tmp/public.c"
cp "$tmp/public.c" "$tmp/public.cpp"
"$clang" -std=c99 -Wall -Wextra -Wpedantic -Wreserved-identifier -Werror -I"$inc" \
    -c "$tmp/public.c" -o "$tmp/public_c.o"
"$clang" -x c++ -std=c++17 -Wall -Wextra -Wpedantic -Wreserved-identifier -Werror -I"$inc" \
    -c "$tmp/public.cpp" -o "$tmp/public_cpp.o"
echo "$(grep -c include "$tmp/public.c") public headers compile under -Wreserved-identifier"
