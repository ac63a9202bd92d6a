#!/usr/bin/python3
"""korb's binomial, Poisson, hypergeometric and negative-binomial kernels beside numpy's
Generator, in one process.

The cases of korb_bench's BM_korb_count rows, 10^6 int variates each: binomial (10, 0.3) and
(1000, 0.4); Poisson 0.5, 20 and 1000 (korb by both methods); Poisson with one mean per variate,
the means uniform on (0, 50); hypergeometric (l, s, m) = (1000, 100, 500) and (50, 5, 20);
negative binomial (3, 0.3) and (100, 0.9). numpy draws with Generator(PCG64).binomial, .poisson,
.hypergeometric(m, l - m, s) and .negative_binomial; korb through ctypes on the kernel library of
the build tree (build/lib/libkorb_def.so, or the path in KORB_LIB), on an MCG31M1 stream, into a
preallocated array. Prints the median processor time over REPEATS runs as million variates per
second, and the ratio korb / numpy (above 1: korb faster).

Run with the system interpreter: /usr/bin/python3 bench/numpy_counting.py
"""
import ctypes
import os
import statistics
import time

import numpy as np

REPEATS = 7
BRNG_MCG31M1 = 0x100000
N = 1_000_000


def median_seconds(fn):
    fn()
    times = []
    for _ in range(REPEATS):
        t0 = time.process_time()
        fn()
        times.append(time.process_time() - t0)
    return statistics.median(times)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    path = os.environ.get("KORB_LIB", os.path.join(here, "..", "build", "lib", "libkorb_def.so"))
    lib = ctypes.CDLL(path)
    ptr, i32, f64 = ctypes.c_void_p, ctypes.c_int, ctypes.c_double
    new_stream = getattr(lib, "__bixNewStreamEx")
    new_stream.argtypes = [ctypes.POINTER(ptr), i32, i32, ctypes.POINTER(ctypes.c_uint32)]
    binomial = getattr(lib, "_bixiRngBinomial")
    binomial.argtypes = [i32, ptr, i32, ptr, i32, f64]
    poisson = getattr(lib, "_bixiRngPoisson")
    poisson.argtypes = [i32, ptr, i32, ptr, f64]
    poisson_v = getattr(lib, "_bixiRngPoissonV")
    poisson_v.argtypes = [i32, ptr, i32, ptr, ptr]
    hyper = getattr(lib, "_bixiRngHypergeometric")
    hyper.argtypes = [i32, ptr, i32, ptr, i32, i32, i32]
    negbin = getattr(lib, "_bixiRngNegbinomial")
    negbin.argtypes = [i32, ptr, i32, ptr, f64, f64]
    stream = ptr()
    seed = ctypes.c_uint32(7)
    assert new_stream(ctypes.byref(stream), BRNG_MCG31M1, 1, ctypes.byref(seed)) == 0

    out = np.empty(N, dtype=np.int32)
    at = out.ctypes.data
    gen = np.random.Generator(np.random.PCG64(7))
    means = np.random.Generator(np.random.PCG64(11)).uniform(0.0, 50.0, N)
    means[means == 0.0] = 25.0

    cases = [
        ("binomial (10, 0.3)", lambda: binomial(0, stream, N, at, 10, 0.3),
         lambda: gen.binomial(10, 0.3, N)),
        ("binomial (1000, 0.4)", lambda: binomial(0, stream, N, at, 1000, 0.4),
         lambda: gen.binomial(1000, 0.4, N)),
    ]
    for lam in (0.5, 20.0, 1000.0):
        for method, name in ((0, "ptpe"), (1, "normal")):
            cases.append((f"poisson {lam:g} {name}",
                          lambda lam=lam, method=method: poisson(method, stream, N, at, lam),
                          lambda lam=lam: gen.poisson(lam, N)))
    cases += [
        ("poisson-v means in (0, 50)",
         lambda: poisson_v(0, stream, N, at, means.ctypes.data), lambda: gen.poisson(means)),
        ("hypergeometric (1000, 100, 500)", lambda: hyper(0, stream, N, at, 1000, 100, 500),
         lambda: gen.hypergeometric(500, 500, 100, N)),
        ("hypergeometric (50, 5, 20)", lambda: hyper(0, stream, N, at, 50, 5, 20),
         lambda: gen.hypergeometric(20, 30, 5, N)),
        ("negbinomial (3, 0.3)", lambda: negbin(0, stream, N, at, 3.0, 0.3),
         lambda: gen.negative_binomial(3.0, 0.3, N)),
        ("negbinomial (100, 0.9)", lambda: negbin(0, stream, N, at, 100.0, 0.9),
         lambda: gen.negative_binomial(100.0, 0.9, N)),
    ]
    print(f"{'case':36s} {'korb M/s':>10s} {'numpy M/s':>10s} {'korb/numpy':>11s}")
    for name, korb, numpy in cases:
        k = median_seconds(korb)
        n = median_seconds(numpy)
        print(f"{name:36s} {N / k / 1e6:10.1f} {N / n / 1e6:10.1f} {n / k:11.2f}")


main()
