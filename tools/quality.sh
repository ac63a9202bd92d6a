#!/bin/sh
# The statistical quality run: dieharder's whole battery (-a) on the generators' output, read as
# raw 32-bit words from standard input (dieharder -g 200).
#
#   tools/quality.sh run [GEN ...]   run the battery on each named generator (default: all of
#                                    the list below), one after the other, writing OUT/GEN.txt
#   tools/quality.sh summary         count PASSED, WEAK and FAILED per result file and list the
#                                    tests that were not PASSED (markdown); a run that was
#                                    stopped or is still going (GEN.txt.part) is marked unfinished
#
# OUT is build-quality/ (or $QUALITY_OUT), the seed $QUALITY_SEED (default 20261125). The words:
# generators with a 32-bit uniform-bits kernel give them (korb rng --dist bits32); R250 and
# MRG32K3A their raw 32-bit output words; MCG31M1 its raw 31-bit words with the 31 bits of each
# concatenated into one bit stream; the Wichmann-Hill members, whose raw words are the four
# component states, floor(u * 2^32) of their uniform doubles u. Hours per generator: never in CI.
set -eu
cd "$(dirname "$0")/.."
KORB=${KORB:-./build/bin/korb}
WORDS=${WORDS:-./build/bin/quality_words}
OUT=${QUALITY_OUT:-build-quality}
SEED=${QUALITY_SEED:-20261125}
ALL="MCG31M1 R250 MRG32K3A MCG59 WH+0 WH+272 MT19937 MT2203+0 MT2203+1000 MT2203+6023 SFMT19937"
N=9000000000000000000

# The word stream of one generator on standard output.
words() {
    case "$1" in
    MCG31M1) "$KORB" rng --brng "$1" --seed "$SEED" --n $N --dist bits --binary | "$WORDS" --pack 31 ;;
    R250 | MRG32K3A) "$KORB" rng --brng "$1" --seed "$SEED" --n $N --dist bits --binary ;;
    WH*) "$KORB" rng --brng "$1" --seed "$SEED" --n $N --format double --binary | "$WORDS" --double ;;
    *) "$KORB" rng --brng "$1" --seed "$SEED" --n $N --dist bits32 --binary ;;
    esac
}

run() {
    mkdir -p "$OUT"
    for g in "$@"; do
        f="$OUT/$g.txt"
        echo "quality: $g (seed $SEED) -> $f"
        {
            echo "# generator $g seed $SEED started $(date -u +%FT%TZ)"
            # dieharder stops reading when the battery ends; the closed pipe ends the producer.
            words "$g" 2>/dev/null | dieharder -a -g 200 || true
            echo "# finished $(date -u +%FT%TZ)"
        } > "$f.part"
        mv "$f.part" "$f"
    done
}

summary() {
    echo "| generator | seed | PASSED | WEAK | FAILED | not PASSED (test, ntup, p-value) |"
    echo "|---|---|---|---|---|---|"
    for f in "$OUT"/*.txt "$OUT"/*.txt.part; do
        [ -e "$f" ] || continue
        case "$f" in *.part) state=" (unfinished)" ;; *) state="" ;; esac
        awk -F'|' -v state="$state" '
            /^# generator/ { gen = $0; sub(/^# generator /, "", gen); sub(/ seed.*/, "", gen);
                             gen = gen state;
                             seed = $0; sub(/.* seed /, "", seed); sub(/ .*/, "", seed) }
            NF >= 6 && $6 ~ /PASSED|WEAK|FAILED/ {
                a = $6; gsub(/ /, "", a); count[a]++
                if (a != "PASSED") {
                    t = $1; gsub(/^ +| +$/, "", t); n = $2; gsub(/ /, "", n)
                    p = $5; gsub(/ /, "", p)
                    bad = bad (bad == "" ? "" : "; ") t " " n " " p " " a
                }
            }
            END { printf "| %s | %s | %d | %d | %d | %s |\n", gen, seed, count["PASSED"],
                         count["WEAK"], count["FAILED"], bad }' "$f"
    done
    return 0
}

case "${1:-}" in
run) shift; [ $# -gt 0 ] || set -- $ALL; run "$@" ;;
summary) summary ;;
*) echo "usage: tools/quality.sh run [GEN ...] | summary" >&2; exit 2 ;;
esac
