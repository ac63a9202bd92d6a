#!/usr/bin/python3
"""korb's quantile and streaming-quantile estimators beside numpy, side by side in one process.

- five quantiles (0.01, 0.25, 0.5, 0.75, 0.99) of n = 10^7 normal doubles: np.quantile;
- the order statistics (sorted copy) of the same array: np.sort;
- streaming quantiles (epsilon 10^-3, both methods) over N observations fed in portions of 10^6,
  beside np.quantile of the whole array (which has to hold it); N = 10^8 by default, set
  KORB_STREAM_N to change it. Reports observations per second and the largest rank error found,
  in units of epsilon N (korb_bench reports the state's size).

korb is called through ctypes on the kernel library of the build tree
(build/lib/libkorb_def.so, or the path in KORB_LIB), on the very arrays numpy uses. Prints the
median wall time of each, the ratio peer / korb, and whether the answers agree.

Run with the system interpreter: /usr/bin/python3 bench/numpy_quantiles.py
"""
import ctypes
import os
import statistics
import time

import numpy as np

REPEATS = 5
ROWS = 0x10000
EST_QUANTILES, EST_ORDER_STATS, EST_STREAM = 0x10000, 0x20000, 0x40000
ZW, GK = 0x40, 0x80
ORDERS = [0.01, 0.25, 0.5, 0.75, 0.99]


def median_seconds(fn, repeats=REPEATS):
    times = []
    for _ in range(repeats):
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
        edit_quantiles = getattr(lib, "__bixdSSEditQuantiles")
        edit_stream = getattr(lib, "__bixdSSEditStreamQuantiles")
        delete_task = getattr(lib, "__bixSSDeleteTask")
        quantiles = getattr(lib, "_bixdSSQuantiles")
        stream = getattr(lib, "_bixdSSStreamQuantiles")

    Korb.new_task.argtypes = [ctypes.POINTER(ptr), ptr, ptr, ptr, ptr, ptr, ptr, ctypes.c_int]
    Korb.edit.argtypes = [ptr, ctypes.c_int, ptr]
    Korb.edit_quantiles.argtypes = [ptr, ptr, ptr, ptr, ptr, ptr]
    Korb.edit_stream.argtypes = [ptr, ptr, ptr, ptr, ptr, ptr]
    Korb.delete_task.argtypes = [ctypes.POINTER(ptr)]
    Korb.quantiles.argtypes = [ptr, ctypes.c_uint64, ctypes.c_int]
    Korb.stream.argtypes = [ptr, ctypes.c_uint64, ctypes.c_int]
    return Korb


class Task:
    """A double-precision task of one variable over x, with quantile and streaming slots."""

    def __init__(self, lib, x, eps=1e-3):
        self.lib = lib
        self.ints = np.array([1, x.size, ROWS, len(ORDERS), ROWS, 1], dtype=np.int64)
        self.x = x
        self.orders = np.array(ORDERS)
        self.q = np.zeros(len(ORDERS))
        self.sq = np.zeros(len(ORDERS))
        self.os = np.zeros(x.size)
        self.params = np.array([eps])
        self.task = ctypes.c_void_p()
        a = self.ints.ctypes.data
        assert lib.new_task(ctypes.byref(self.task), a, a + 8, a + 16, x.ctypes.data, None,
                            None, 1) == 0
        assert lib.edit_quantiles(self.task, a + 24, self.orders.ctypes.data, self.q.ctypes.data,
                                  self.os.ctypes.data, a + 32) == 0
        assert lib.edit_stream(self.task, a + 24, self.orders.ctypes.data, self.sq.ctypes.data,
                               a + 40, self.params.ctypes.data) == 0

    def run(self, estimates):
        status = self.lib.quantiles(self.task, estimates, 1)
        assert status == 0, status

    def feed(self, portion, method):
        """Adds a portion of observations to the streaming summary."""
        self.ints[1] = portion.size
        assert self.lib.edit(self.task, 3, portion.ctypes.data) == 0
        status = self.lib.stream(self.task, EST_STREAM, method)
        assert status == 0, status

    def close(self):
        self.lib.delete_task(ctypes.byref(self.task))


def row(name, peer_s, korb_s, note):
    print(f"{name:40} {peer_s * 1e3:10.1f} {korb_s * 1e3:10.1f} {peer_s / korb_s:7.2f}  {note}")


def rank_error(sorted_all, values, orders, n):
    """Largest distance, over the orders, from (n - 1) q + 1 to the ranks of the value."""
    worst = 0.0
    for v, q in zip(values, orders):
        lo = np.searchsorted(sorted_all, v, side="left") + 1
        hi = np.searchsorted(sorted_all, v, side="right")
        target = (n - 1) * q + 1
        worst = max(worst, 0.0 if lo <= target <= hi else min(abs(lo - target), abs(hi - target)))
    return worst


def streaming(lib, total, portion, eps):
    rng = np.random.default_rng(7)
    # One array holds the whole stream only so that np.quantile can be timed on it and the
    # ranks checked; korb reads it a portion at a time.
    x = rng.normal(size=total)
    peer = median_seconds(lambda: np.quantile(x, ORDERS), 1)
    sorted_all = np.sort(x)
    for method, label in ((ZW, "Zhang-Wang"), (GK, "Greenwald-Khanna")):
        t = Task(lib, x[:portion], eps)
        t0 = time.perf_counter()
        for start in range(0, total, portion):
            t.feed(x[start:start + portion], method)
        korb = time.perf_counter() - t0
        err = rank_error(sorted_all, t.sq, ORDERS, total) / (eps * total)
        row(f"stream {total:.0e} eps {eps:g}, {label}", peer, korb,
            f"{total / korb / 1e6:.1f} M obs/s, worst rank error {err:.2f} eps N")
        t.close()


def main():
    lib = load_korb()
    rng = np.random.default_rng(1)
    print(f"numpy {np.__version__}; median of {REPEATS} runs (streaming: one run)")
    print(f"{'case':40} {'peer ms':>10} {'korb ms':>10} {'ratio':>7}")

    x = rng.normal(size=10_000_000)
    t = Task(lib, x)
    peer = median_seconds(lambda: np.quantile(x, ORDERS))
    korb = median_seconds(lambda: t.run(EST_QUANTILES))
    same = np.array_equal(t.q, np.quantile(x, ORDERS))
    row("5 quantiles of 1e7, np.quantile", peer, korb, "same bits" if same else "DIFFERENT")

    peer = median_seconds(lambda: np.sort(x))
    korb = median_seconds(lambda: t.run(EST_ORDER_STATS))
    same = np.array_equal(t.os, np.sort(x))
    row("order statistics of 1e7, np.sort", peer, korb, "same" if same else "DIFFERENT")
    t.close()

    total = int(os.environ.get("KORB_STREAM_N", "100000000"))
    streaming(lib, total, min(total, 1_000_000), 1e-3)


if __name__ == "__main__":
    main()
