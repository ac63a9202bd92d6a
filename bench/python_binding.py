#!/usr/bin/python3
"""The Python package's cost over the C library, and numpy beside both, in one process.

- korb.vm.exp on 10^6 doubles: the package (with out= and without), vdExp called directly
  through ctypes (the C library's own time plus one ctypes call, about a microsecond), np.exp;
- Stream.gaussian(10^6) (Box-Muller on both variates of each pair, MT19937): the package, the C
  entry point bixdRngGaussian on a stream of its own, numpy.random.Generator.standard_normal
  (PCG64, ziggurat).

Each case is timed REPEATS times (one call each, the calling thread's CPU time, which a loaded
machine's waiting does not count; the cases in turn); the medians
and their ratios to the C call are printed. KORB_LIBRARY names libkorb (default: build/lib/libkorb.so.1 of this tree).

Run with the system interpreter: /usr/bin/python3 bench/python_binding.py
"""
import ctypes
import os
import statistics
import sys
import time

import numpy as np

HERE = os.path.dirname(os.path.abspath(__file__))
os.environ.setdefault("KORB_LIBRARY", os.path.join(HERE, "..", "build", "lib", "libkorb.so.1"))
sys.path.insert(0, os.path.join(HERE, "..", "python"))
import korb  # noqa: E402

REPEATS = int(os.environ.get("KORB_REPEATS", "101"))
N = 10**6


def medians(cases):
    """Median wall time of each case; the cases are timed in turn, round after round, so that
    the load of a shared machine falls on all of them alike."""
    for _, fn in cases:
        fn()  # first touch, loading, caches
    times = [[] for _ in cases]
    for _ in range(REPEATS):
        for k, (_, fn) in enumerate(cases):
            t0 = time.thread_time()
            fn()
            times[k].append(time.thread_time() - t0)
    return [statistics.median(t) for t in times]


def report(title, cases):
    print(title)
    result = medians(cases)
    for (name, _), t in zip(cases, result):
        print(f"  {name:40} {t * 1e3:8.3f} {t / result[0]:7.3f}")


def main():
    lib = ctypes.CDLL(korb._lib.path)
    vp = ctypes.c_void_p
    x = np.random.default_rng(1).uniform(-10, 10, N)
    y = np.empty(N)
    lib.vdExp.argtypes = [ctypes.c_int, vp, vp]
    lib.vdExp.restype = None
    xp, yp = x.ctypes.data, y.ctypes.data

    stream = ctypes.c_void_p()
    assert lib.bixNewStream(ctypes.byref(stream), 0x800000, 1) == 0
    lib.bixdRngGaussian.argtypes = [ctypes.c_int, vp, ctypes.c_int, vp, ctypes.c_double,
                                    ctypes.c_double]
    s = korb.random.Stream("mt19937", 1)
    gen = np.random.default_rng(1)

    print(f"numpy {np.__version__}, korb {korb.__version__} (class {lib.korbGetClass()}); "
          f"n = 10^6, median of {REPEATS} calls; ms, and the ratio to the first line")
    report("exp of 10^6 doubles", [
        ("vdExp through ctypes (C)", lambda: lib.vdExp(N, xp, yp)),
        ("korb.vm.exp(x, out=y)", lambda: korb.vm.exp(x, out=y)),
        ("korb.vm.exp(x)", lambda: korb.vm.exp(x)),
        ("np.exp(x, out=y)", lambda: np.exp(x, out=y)),
        ("np.exp(x)", lambda: np.exp(x)),
    ])
    report("10^6 standard normal doubles", [
        ("bixdRngGaussian through ctypes (C)",
         lambda: lib.bixdRngGaussian(1, stream, N, yp, 0.0, 1.0)),
        ("Stream.gaussian(n, out=y)", lambda: s.gaussian(N, out=y)),
        ("Stream.gaussian(n)", lambda: s.gaussian(N)),
        ("Generator.standard_normal(n, out=y)", lambda: gen.standard_normal(N, out=y)),
        ("Generator.standard_normal(n)", lambda: gen.standard_normal(N)),
    ])
    lib.bixDeleteStream(ctypes.byref(stream))


if __name__ == "__main__":
    main()
