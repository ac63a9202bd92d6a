#!/bin/sh
# The korb command: answers, usage errors (one line, exit 2), the processor-class override and
# the initial vector-math mode.
# usage: cli_test.sh <korb>
set -u
korb=$1
fails=0
passes=0

check() {  # check <description> <expected exit> <expected output pattern> <command...>
    desc=$1 want=$2 pattern=$3
    shift 3
    out=$("$@" 2>&1)
    got=$?
    if [ "$got" -eq "$want" ] && printf '%s\n' "$out" | grep -qE "$pattern"; then
        passes=$((passes + 1))
    else
        echo "FAIL: $desc: exit $got (want $want), output:"
        printf '%s\n' "$out" | sed 's/^/    /'
        fails=$((fails + 1))
    fi
}

one_line_error() {  # a usage error is exactly one line on standard error, nothing on stdout
    desc=$1
    shift
    err=$("$@" 2>&1 >/dev/null)
    got=$?
    out=$("$@" 2>/dev/null)
    if [ "$got" -eq 2 ] && [ "$(printf '%s\n' "$err" | wc -l)" -eq 1 ] && [ -z "$out" ]; then
        passes=$((passes + 1))
    else
        echo "FAIL: $desc: exit $got, stderr '$err', stdout '$out'"
        fails=$((fails + 1))
    fi
}

check "info" 0 '^kernel library class: 0 \(x86-64\)$' "$korb" info
check "info version" 0 '^korb [0-9]+\.[0-9]+\.[0-9]+$' "$korb" info
check "info detected" 0 '^processor class: [0-4] \(.*\), detected$' "$korb" info
check "forced class" 0 '^processor class: 2 \(avx\), forced by KORB_DEBUG_CPU_TYPE$' \
    env KORB_DEBUG_CPU_TYPE=2 "$korb" info
check "abc does not force" 0 'detected$' env KORB_DEBUG_CPU_TYPE=abc "$korb" info
check "7 is ignored" 0 'detected$' env KORB_DEBUG_CPU_TYPE=7 "$korb" info
check "vector-math mode default" 0 '^vector-math mode: 0x1a02$' env -u KORB_ARQ_MODE "$korb" info
check "vector-math mode from KORB_ARQ_MODE" 0 '^vector-math mode: 0x402$' \
    env KORB_ARQ_MODE=ARQ_HA,ARQ_ERRMODE_STDERR "$korb" info
check "help" 0 '^usage: korb' "$korb" --help
check "info help" 0 '^usage: korb info' "$korb" info --help
one_line_error "no command" "$korb"
one_line_error "unknown command" "$korb" frobnicate
one_line_error "extra argument" "$korb" info extra

echo "$passes passed, $fails failed"
[ "$fails" -eq 0 ]
