#!/usr/bin/python3
"""scipy's unscrambled Sobol sampler on the shapes of korb_bench's BM_korb_sobol benchmarks.

Dimension 1, 10 and 1000, 1,000,000 coordinates per call (as doubles, 32-bit direction
numbers). Prints the median time of one call and nanoseconds per coordinate, to compare with
the items per second of BM_korb_sobol. Run with the system interpreter:
/usr/bin/python3 bench/scipy_sobol.py
"""
import statistics
import time
import warnings

from scipy.stats import qmc

COORDINATES = 1_000_000
REPEATS = 7


def main():
    warnings.simplefilter("ignore")  # point counts that are not powers of 2
    print(f"{'d':>5} {'ms':>9} {'ns/coordinate':>14}")
    for d in (1, 10, 1000):
        points = COORDINATES // d
        times = []
        for _ in range(REPEATS):
            sampler = qmc.Sobol(d, scramble=False, bits=32)
            t0 = time.perf_counter()
            sampler.random(points)
            times.append(time.perf_counter() - t0)
        t = statistics.median(times)
        print(f"{d:5} {t * 1e3:9.3f} {t * 1e9 / (points * d):14.3f}")


if __name__ == "__main__":
    main()
