#!/usr/bin/python3
"""korb's basic-statistics estimator beside numpy and scipy, side by side in one process.

The shapes of korb_bench's basic-statistics benchmarks: mean and variance of n = 10^7
observations (np.mean + np.var(ddof=1)), the moment set of scipy.stats.describe on the same data,
and the covariance of p = 100 variables over n = 10^5 observations (np.cov). korb is called
through ctypes on the kernel library of the build tree (build/lib/libkorb_def.so, or the path in
KORB_LIB), on the very arrays numpy uses. Prints the median wall time of each, the ratio
peer / korb, and the largest relative difference between the two answers.

Run with the system interpreter: /usr/bin/python3 bench/numpy_stats.py
"""
import ctypes
import os
import statistics
import time

import numpy as np
import scipy.stats

REPEATS = 7
ROWS, COLS = 0x10000, 0x20000
TWO_PASS, ONE_PASS = 0x1, 0x2
EST = {"mean": 0x1, "raw2": 0x2, "raw3": 0x4, "raw4": 0x8, "cen2": 0x10, "cen3": 0x20,
       "cen4": 0x40, "kurtosis": 0x80, "skewness": 0x100, "cov": 0x1000}
IDS = {"mean": 7, "raw2": 8, "raw3": 9, "raw4": 10, "cen2": 11, "cen3": 12, "cen4": 13,
       "kurtosis": 14, "skewness": 15, "cov": 19}
COV_STORAGE_ID, COV_FULL = 20, 0x1


def median_seconds(fn):
    times = []
    for _ in range(REPEATS):
        t0 = time.perf_counter()
        fn()
        times.append(time.perf_counter() - t0)
    return statistics.median(times)


def load_korb():
    here = os.path.dirname(os.path.abspath(__file__))
    path = os.environ.get("KORB_LIB", os.path.join(here, "..", "build", "lib", "libkorb_def.so"))
    lib = ctypes.CDLL(path)
    ptr = ctypes.c_void_p

    class Korb:  # the entry points under names a class body does not mangle
        new_task = getattr(lib, "__bixdSSNewTask")
        edit = getattr(lib, "__bixdSSEditTask")
        edit_int = getattr(lib, "__bixiSSEditTask")
        delete_task = getattr(lib, "__bixSSDeleteTask")
        basic = getattr(lib, "_bixdSSBasic")

    Korb.new_task.argtypes = [ctypes.POINTER(ptr), ptr, ptr, ptr, ptr, ptr, ptr, ctypes.c_int]
    Korb.edit.argtypes = [ptr, ctypes.c_int, ptr]
    Korb.edit_int.argtypes = [ptr, ctypes.c_int, ptr]
    Korb.delete_task.argtypes = [ctypes.POINTER(ptr)]
    Korb.basic.argtypes = [ptr, ctypes.c_uint64, ctypes.c_int]
    return Korb


class Task:
    """A double-precision task over x (p x n, observation- or variable-major)."""

    def __init__(self, lib, x, p, n, storage, names):
        self.lib = lib
        self.ints = np.array([p, n, storage, COV_FULL], dtype=np.int64)
        self.x = x
        self.out = {k: np.zeros(p * p if k == "cov" else p) for k in names}
        self.task = ctypes.c_void_p()
        addr = self.ints.ctypes.data
        status = lib.new_task(ctypes.byref(self.task), addr, addr + 8, addr + 16,
                                     x.ctypes.data, None, None, 1)
        assert status == 0, status
        for k, a in self.out.items():
            assert lib.edit(self.task, IDS[k], a.ctypes.data) == 0
        assert lib.edit_int(self.task, COV_STORAGE_ID, addr + 24) == 0

    def run(self, estimates, method):
        status = self.lib.basic(self.task, estimates, method)
        assert status == 0, status

    def close(self):
        self.lib.delete_task(ctypes.byref(self.task))


def rel_diff(a, b):
    a, b = np.asarray(a, dtype=float), np.asarray(b, dtype=float)
    return float(np.max(np.abs(a - b) / np.maximum(np.abs(b), 1e-300)))


def row(name, peer_s, korb_s, diff):
    print(f"{name:34} {peer_s * 1e3:9.2f} {korb_s * 1e3:9.2f} {peer_s / korb_s:8.2f} {diff:11.2e}")


def main():
    lib = load_korb()
    rng = np.random.default_rng(1)
    print(f"numpy {np.__version__}, scipy {scipy.__version__}; median of {REPEATS} runs")
    print(f"{'case':34} {'peer ms':>9} {'korb ms':>9} {'ratio':>8} {'rel. diff':>11}")

    x = rng.normal(10.0, 2.0, 10_000_000)
    t = Task(lib, x, 1, x.size, COLS, ["mean", "raw2", "raw3", "raw4", "cen2", "cen3", "cen4",
                                       "kurtosis", "skewness"])
    peer = median_seconds(lambda: (np.mean(x), np.var(x, ddof=1)))
    mv = EST["mean"] | EST["cen2"]
    for method, label in ((TWO_PASS, "two-pass"), (ONE_PASS, "one-pass")):
        korb = median_seconds(lambda: t.run(mv, method))
        diff = rel_diff([t.out["mean"][0], t.out["cen2"][0]], [np.mean(x), np.var(x, ddof=1)])
        row(f"mean+var 1e7, np ({label})", peer, korb, diff)

    peer = median_seconds(lambda: scipy.stats.describe(x))
    d = scipy.stats.describe(x)
    allm = sum(EST[k] for k in ("mean", "raw2", "raw3", "raw4", "cen2", "cen3", "cen4",
                                "kurtosis", "skewness"))
    for method, label in ((TWO_PASS, "two-pass"), (ONE_PASS, "one-pass")):
        korb = median_seconds(lambda: t.run(allm, method))
        got = [t.out["mean"][0], t.out["cen2"][0], t.out["skewness"][0], t.out["kurtosis"][0]]
        diff = rel_diff(got, [d.mean, d.variance, d.skewness, d.kurtosis])
        row(f"describe 1e7, scipy ({label})", peer, korb, diff)
    t.close()

    p, n = 100, 100_000
    common = rng.normal(size=n)
    rows = (100.0 * np.arange(p)[:, None] + rng.normal(size=(p, n)) + 0.3 * common)
    cols = np.ascontiguousarray(rows.T)
    want = np.cov(rows)
    for layout, data, storage in (("cols", cols, COLS), ("rows", rows, ROWS)):
        peer = median_seconds(lambda: np.cov(rows if layout == "rows" else cols,
                                             rowvar=layout == "rows"))
        tc = Task(lib, data, p, n, storage, ["mean", "cov"])
        for method, label in ((TWO_PASS, "two-pass"), (ONE_PASS, "one-pass")):
            korb = median_seconds(lambda: tc.run(EST["cov"], method))
            diff = rel_diff(tc.out["cov"].reshape(p, p), want)
            row(f"cov 100x1e5 {layout}, np ({label})", peer, korb, diff)
        tc.close()


if __name__ == "__main__":
    main()
