#!/usr/bin/python3
"""The Python package's cost over the C library, and numpy beside both, in one process.

- korb.vm.exp on 10^6 doubles: the package (with out= and without), vdExp called directly
  through ctypes (the C library's own time plus one ctypes call, about a microsecond), np.exp;
- Stream.gaussian(10^6) (Box-Muller on both variates of each pair, MT19937): the package, the C
  entry point bixdRngGaussian on a stream of its own, numpy.random.Generator.standard_normal
  (PCG64, ziggurat).

Each case is timed REPEATS times (one call each, wall clock); the medians and their ratios are
printed. KORB_LIBRARY names libkorb (default: build/lib/libkorb.so.1 of this tree).

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


def median_seconds(fn):
    fn()  # first touch, loading, caches
    times = []
    for _ in range(REPEATS):
        t0 = time.perf_counter()
        fn()
        times.append(time.perf_counter() - t0)
    return statistics.median(times)


def main():
    lib = ctypes.CDLL(korb._lib.path)
    vp = ctypes.c_void_p
    x = np.random.default_rng(1).uniform(-10, 10, N)
    y = np.empty(N)
    lib.vdExp.argtypes = [ctypes.c_int, vp, vp]
    lib.vdExp.restype = None
    xp, yp = x.ctypes.data, y.ctypes.data

    rows = []
    c = median_seconds(lambda: lib.vdExp(N, xp, yp))
    rows.append(("vdExp through ctypes (C)", c, c))
    rows.append(("korb.vm.exp(x, out=y)", median_seconds(lambda: korb.vm.exp(x, out=y)), c))
    rows.append(("korb.vm.exp(x)", median_seconds(lambda: korb.vm.exp(x)), c))
    rows.append(("np.exp(x, out=y)", median_seconds(lambda: np.exp(x, out=y)), c))
    rows.append(("np.exp(x)", median_seconds(lambda: np.exp(x)), c))

    stream = ctypes.c_void_p()
    assert lib.bixNewStream(ctypes.byref(stream), 0x800000, 1) == 0
    lib.bixdRngGaussian.argtypes = [ctypes.c_int, vp, ctypes.c_int, vp, ctypes.c_double,
                                    ctypes.c_double]
    s = korb.random.Stream("mt19937", 1)
    gen = np.random.default_rng(1)
    g = median_seconds(lambda: lib.bixdRngGaussian(1, stream, N, yp, 0.0, 1.0))
    rows.append(("bixdRngGaussian through ctypes (C)", g, g))
    rows.append(("Stream.gaussian(n, out=y)", median_seconds(lambda: s.gaussian(N, out=y)), g))
    rows.append(("Stream.gaussian(n)", median_seconds(lambda: s.gaussian(N)), g))
    rows.append(("Generator.standard_normal(out=y)",
                 median_seconds(lambda: gen.standard_normal(N, out=y)), g))
    rows.append(("Generator.standard_normal(n)", median_seconds(lambda: gen.standard_normal(N)), g))
    lib.bixDeleteStream(ctypes.byref(stream))

    print(f"numpy {np.__version__}, korb {korb.__version__} (class {lib.korbGetClass()}); "
          f"n = 10^6, median of {REPEATS} calls")
    print(f"{'case':40} {'ms':>8} {'/ C':>7}")
    for name, t, ref in rows:
        print(f"{name:40} {t * 1e3:8.3f} {t / ref:7.3f}")


if __name__ == "__main__":
    main()
