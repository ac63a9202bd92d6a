#!/bin/sh
# Runs the MPI example on 1, 2 and 4 ranks in both modes; the estimate lines of each mode must
# be identical. Usage: mpi_option.sh MPIEXEC EXAMPLE
set -u
mpiexec=$1
example=$2
flags="--oversubscribe"
[ "$(id -u)" -eq 0 ] && flags="$flags --allow-run-as-root"
# Shared memory between the ranks without the cross-process copy some containers forbid.
export OMPI_MCA_btl_vader_single_copy_mechanism=none
export OMPI_MCA_rmaps_base_oversubscribe=1
# Under the sanitizer build the MPI runtime's own allocations, never freed at exit, are not the
# example's: leak detection stays with the tests that run without MPI.
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:detect_leaks=0"
status=0
for mode in skip-ahead members; do
    first=""
    for np in 1 2 4; do
        # shellcheck disable=SC2086
        out=$("$mpiexec" $flags -np "$np" "$example" "$mode" 262144 2>&1)
        rc=$?
        echo "$out"
        if [ "$rc" -ne 0 ]; then
            echo "FAIL: $mode on $np rank(s) exited with $rc"
            status=1
            continue
        fi
        line=$(echo "$out" | grep '^estimate ')
        if [ -z "$line" ]; then
            echo "FAIL: $mode on $np rank(s) printed no estimate"
            status=1
        elif [ -z "$first" ]; then
            first=$line
        elif [ "$line" != "$first" ]; then
            echo "FAIL: $mode on $np rank(s) differs from 1 rank: '$line' against '$first'"
            status=1
        fi
    done
done
[ "$status" -eq 0 ] && echo "estimates identical on 1, 2 and 4 ranks in both modes"
exit "$status"
