#!/usr/bin/python3
"""korb's gamma, beta and multivariate Gaussian kernels beside numpy's Generator, in one process.

The cases of korb_bench's BM_korb_case rows: gamma of shape 0.5, 2 and 100, beta of shapes
(0.5, 0.5), (2, 3) and (50, 50), each 10^6 variates; the multivariate Gaussian of dimension 4
(10^6 vectors) and 100 (10^4 vectors) with the benchmark's full lower-triangular factor T and
covariance T T'. numpy draws with Generator(PCG64).gamma, .beta and .multivariate_normal
(method="cholesky", so that it factors once per call and does no SVD); korb through ctypes on
the kernel library of the build tree (build/lib/libkorb_def.so, or the path in KORB_LIB), on an
MCG31M1 stream, method 0 (the multivariate Gaussian also with method 1, its normals by
Box-Muller with both variates), into preallocated arrays. Prints the median processor time of the
process for each over REPEATS runs (as korb_bench's rates, so that other work on a shared machine
does not count; numpy's matrix product may use several threads, whose time all counts), million
numbers per second, and the ratio numpy / korb (above 1: korb faster).

Run with the system interpreter: /usr/bin/python3 bench/numpy_gamma_beta_mv.py
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
    fn()  # warm: first-touch of the output, the library's first-use set-up
    times = []
    for _ in range(REPEATS):
        t0 = time.process_time()
        fn()
        times.append(time.process_time() - t0)
    return statistics.median(times)


def load_korb():
    here = os.path.dirname(os.path.abspath(__file__))
    path = os.environ.get("KORB_LIB", os.path.join(here, "..", "build", "lib", "libkorb_def.so"))
    lib = ctypes.CDLL(path)
    ptr, i32 = ctypes.c_void_p, ctypes.c_int
    new_stream = getattr(lib, "__bixNewStreamEx")
    new_stream.argtypes = [ctypes.POINTER(ptr), i32, i32, ctypes.POINTER(ctypes.c_uint32)]
    kernels = {}
    for letter, real in (("d", ctypes.c_double), ("s", ctypes.c_float)):
        gamma = getattr(lib, f"_bix{letter}RngGamma")
        gamma.argtypes = [i32, ptr, i32, ptr, real, real, real]
        beta = getattr(lib, f"_bix{letter}RngBeta")
        beta.argtypes = [i32, ptr, i32, ptr, real, real, real, real]
        mv = getattr(lib, f"_bix{letter}RngGaussianMV")
        mv.argtypes = [i32, ptr, i32, ptr, i32, i32, ptr, ptr]
        kernels[letter] = (gamma, beta, mv)
    stream = ptr()
    seed = ctypes.c_uint32(7)
    assert new_stream(ctypes.byref(stream), BRNG_MCG31M1, 1, ctypes.byref(seed)) == 0
    return stream, kernels


def bench_factor(d):
    """The benchmark's factor: a dominant diagonal 1 + 0.01 i, 0.3 / (1 + i - j) below it."""
    t = np.zeros((d, d))
    for i in range(d):
        for j in range(i + 1):
            t[i, j] = 1.0 + 0.01 * i if i == j else 0.3 / (1 + i - j)
    return t


def row(label, numbers, numpy_s, korb):
    """One line: the case, numpy's time and rate, then korb's per precision with its ratio."""
    cells = [f"{label:<24} numpy {numpy_s * 1e3:7.2f} ms {numbers / numpy_s / 1e6:7.1f} M/s"]
    for letter, seconds in korb:
        cells.append(f"korb {letter} {seconds * 1e3:7.2f} ms {numbers / seconds / 1e6:7.1f} M/s "
                     f"x{numpy_s / seconds:5.2f}")
    print("  ".join(cells), flush=True)


def main():
    stream, kernels = load_korb()
    gen = np.random.Generator(np.random.PCG64(7))
    out = {"d": np.empty(N, dtype=np.float64), "s": np.empty(N, dtype=np.float32)}
    print(f"processor time, median of {REPEATS}; x = numpy time / korb time")

    for alpha in (0.5, 2.0, 100.0):
        numpy_s = median_seconds(lambda: gen.gamma(alpha, 1.0, size=N))
        korb = [(k, median_seconds(lambda k=k: kernels[k][0](0, stream, N, out[k].ctypes.data,
                                                             alpha, 0.0, 1.0)))
                for k in ("d", "s")]
        row(f"gamma {alpha:g}", N, numpy_s, korb)

    for p, q in ((0.5, 0.5), (2.0, 3.0), (50.0, 50.0)):
        numpy_s = median_seconds(lambda: gen.beta(p, q, size=N))
        korb = [(k, median_seconds(lambda k=k: kernels[k][1](0, stream, N, out[k].ctypes.data,
                                                             p, q, 0.0, 1.0)))
                for k in ("d", "s")]
        row(f"beta {p:g} {q:g}", N, numpy_s, korb)

    for d, vectors in ((4, N), (100, N // 100)):
        t = bench_factor(d)
        cov = t @ t.T
        mean = np.ones(d)
        numpy_s = median_seconds(
            lambda: gen.multivariate_normal(mean, cov, size=vectors, method="cholesky"))
        for method in (0, 1):
            korb = []
            for k, dtype in (("d", np.float64), ("s", np.float32)):
                a = mean.astype(dtype)
                tk = np.ascontiguousarray(t.astype(dtype))
                r = np.empty(vectors * d, dtype=dtype)
                korb.append((k, median_seconds(
                    lambda: kernels[k][2](method, stream, vectors, r.ctypes.data, d, 0,
                                          a.ctypes.data, tk.ctypes.data))))
            row(f"gaussian-mv {d} method {method}", vectors * d, numpy_s, korb)


if __name__ == "__main__":
    main()
