#!/usr/bin/python3
"""numpy's complex inverse trigonometric and hyperbolic ufuncs beside korb_bench's BM_vm benchmarks
of cAsin ... zAtanh: the same argument range as the benchmarks (both parts uniform on [-10, 10],
the first domain of the functions' lines), n = 1000 and 1,000,000, results written into a
preallocated array (out=). Prints the median items per second (process CPU time, as korb_bench's
items_per_second) of repeated calls; compare with BM_vm/<function>/korb at the same n.
Run with the system interpreter: /usr/bin/python3 bench/numpy_vm_complex_inverse.py
"""
import statistics
import time

import numpy as np

SIZES = (1000, 1_000_000)
UFUNCS = (("Asin", np.arcsin), ("Acos", np.arccos), ("Asinh", np.arcsinh),
          ("Acosh", np.arccosh), ("Atan", np.arctan), ("Atanh", np.arctanh))


def median_rate(fn, n):
    # Enough calls per timing that one takes some milliseconds at n = 1000.
    inner = max(1, 50_000 // n)
    repeats = 11 if n <= 1000 else 5
    rates = []
    for _ in range(repeats):
        t0 = time.process_time()
        for _ in range(inner):
            fn()
        rates.append(inner * n / (time.process_time() - t0))
    return statistics.median(rates)


def main():
    rng = np.random.default_rng(7)
    print(f"numpy {np.__version__}")
    print(f"{'function':12} {'numpy':12} {'n':>8} {'items/s':>12}")
    for n in SIZES:
        for letter, ctype in (("c", np.complex64), ("z", np.complex128)):
            a = (rng.uniform(-10, 10, n) + 1j * rng.uniform(-10, 10, n)).astype(ctype)
            r = np.empty(n, ctype)
            for name, ufunc in UFUNCS:
                rate = median_rate(lambda u=ufunc: u(a, out=r), n)
                print(f"{letter + name:12} {'np.' + ufunc.__name__:12} {n:8d} {rate:12.4g}")


if __name__ == "__main__":
    main()
