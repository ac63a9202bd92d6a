#!/usr/bin/python3
"""The quantile estimator against numpy itself: np.quantile (the default linear method) and
np.sort on random, repeated, constant, single-observation and NaN data, in both storage layouts,
with and without indices, in double and single precision. Quantiles must equal numpy's bit for
bit (single precision: numpy's double result rounded to float), order statistics must equal
np.sort (NaNs compared as NaNs).

usage: numpy_quantiles.py <libkorb_def.so>     (exit 77 when numpy is missing)
"""
import ctypes
import sys

try:
    import numpy as np
except ImportError:
    print("numpy is missing: skipped")
    sys.exit(77)

ROWS, COLS = 0x10000, 0x20000
EST_QUANTILES, EST_ORDER_STATS = 0x10000, 0x20000


def load(path):
    lib = ctypes.CDLL(path)
    ptr = ctypes.c_void_p
    fns = {}
    for p in "ds":
        fns[p] = (getattr(lib, f"__bix{p}SSNewTask"), getattr(lib, f"__bix{p}SSEditQuantiles"),
                  getattr(lib, f"_bix{p}SSQuantiles"))
        fns[p][0].argtypes = [ctypes.POINTER(ptr), ptr, ptr, ptr, ptr, ptr, ptr, ctypes.c_int]
        fns[p][1].argtypes = [ptr, ptr, ptr, ptr, ptr, ptr]
        fns[p][2].argtypes = [ptr, ctypes.c_uint64, ctypes.c_int]
    delete = getattr(lib, "__bixSSDeleteTask")
    delete.argtypes = [ctypes.POINTER(ptr)]
    return fns, delete


def korb_quantiles(fns, delete, data, storage, orders, indices):
    """data: p x n (variables as rows); returns (quantiles p x m, order statistics p x n)."""
    p, n = data.shape
    dtype = data.dtype
    x = np.ascontiguousarray(data if storage == ROWS else data.T)
    ints = np.array([p, n, storage, len(orders), ROWS], dtype=np.int64)
    idx = None if indices is None else np.array(indices, dtype=np.int64)
    o = np.array(orders, dtype=dtype)
    q = np.zeros(p * len(orders), dtype=dtype)
    os_ = np.zeros(p * n, dtype=dtype)
    new, edit, run = fns["d" if dtype == np.float64 else "s"]
    task = ctypes.c_void_p()
    a = ints.ctypes.data
    assert new(ctypes.byref(task), a, a + 8, a + 16, x.ctypes.data, None,
               None if idx is None else idx.ctypes.data, 1) == 0
    assert edit(task, a + 24, o.ctypes.data, q.ctypes.data, os_.ctypes.data, a + 32) == 0
    status = run(task, EST_QUANTILES | EST_ORDER_STATS, 1)
    assert status == 0, status
    # Quantiles alone take the selection path instead of the sort.
    q_select = np.zeros_like(q)
    assert edit(task, None, None, q_select.ctypes.data, None, None) == 0
    assert run(task, EST_QUANTILES, 1) == 0
    delete(ctypes.byref(task))
    return q.reshape(p, len(orders)), q_select.reshape(p, len(orders)), os_.reshape(p, n)


def same(a, b):
    return np.array_equal(a, b, equal_nan=True)


def main():
    fns, delete = load(sys.argv[1])
    rng = np.random.default_rng(2024)
    orders = [0.0, 0.01, 0.1, 0.25, 0.3, 0.5, 2 / 3, 0.75, 0.9, 0.99, 0.999, 1.0]
    sets = {
        "random": lambda n: rng.normal(5, 3, size=(3, n)),
        "wide": lambda n: rng.normal(size=(3, n)) * 10.0 ** rng.integers(-30, 30, size=(3, n)),
        "repeated": lambda n: rng.integers(-3, 4, size=(3, n)) * 0.25,
        "constant": lambda n: np.full((3, n), -1.75),
        "nan": lambda n: np.where(np.arange(3 * n).reshape(3, n) == n + n // 2, np.nan,
                                  rng.normal(size=(3, n))),
    }
    failures = checks = 0
    for name, make in sets.items():
        for n in (1, 2, 7, 1000, 100_000):
            for dtype in (np.float64, np.float32):
                data = make(n).astype(dtype)
                for storage in (ROWS, COLS):
                    for indices in (None, [1, 0, 1]):
                        q, q_select, os_ = korb_quantiles(fns, delete, data, storage,
                                                          orders, indices)
                        for i in range(3):
                            if indices is not None and indices[i] == 0:
                                continue
                            # numpy takes the orders as doubles; the task holds them in its
                            # precision.
                            o = np.array(orders, dtype=dtype).astype(np.float64)
                            want = np.quantile(data[i], o).astype(dtype)
                            checks += 1
                            what = f"{name} n={n} {dtype.__name__} storage={storage:#x} var {i}"
                            if not same(q[i], want) or not same(q_select[i], want):
                                failures += 1
                                print(f"FAIL quantiles {what}: {q[i]} / {q_select[i]} vs {want}")
                            if not same(os_[i], np.sort(data[i])):
                                failures += 1
                                print(f"FAIL order statistics {what}")
    print(f"{checks - failures} passed, {failures} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
