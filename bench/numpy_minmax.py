#!/usr/bin/python3
"""numpy's min and max per variable on the data shapes of korb_bench's min/max benchmarks.

p = 1, 10, 100 variables by n = 1,000,000 observations, variable-major (rows: each variable's
observations contiguous) and observation-major (cols). Prints the median time of a min and a
max call pair per layout, and nanoseconds per element, to compare with korb_bench's
BM_korb_minmax figures. Run with the system interpreter: /usr/bin/python3 bench/numpy_minmax.py
"""
import statistics
import time

import numpy as np

N = 1_000_000
REPEATS = 7


def median_seconds(fn):
    times = []
    for _ in range(REPEATS):
        t0 = time.perf_counter()
        fn()
        times.append(time.perf_counter() - t0)
    return statistics.median(times)


def main():
    rng = np.random.default_rng(1)
    print(f"numpy {np.__version__}")
    print(f"{'layout':6} {'p':>4} {'ms':>9} {'ns/element':>11}")
    for p in (1, 10, 100):
        rows = rng.uniform(-1e6, 1e6, size=(p, N))
        cols = np.ascontiguousarray(rows.T)
        for layout, x, axis in (("rows", rows, 1), ("cols", cols, 0)):
            t = median_seconds(lambda: (x.min(axis=axis), x.max(axis=axis)))
            print(f"{layout:6} {p:4d} {t * 1e3:9.3f} {t * 1e9 / (p * N):11.4f}")
        del rows, cols


if __name__ == "__main__":
    main()
