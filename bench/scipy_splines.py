#!/usr/bin/python3
"""scipy's splines beside korb's construction kernel, in one process, on the shapes of
korb_bench's spline benchmarks.

Natural and not-a-knot CubicSpline for nx = 1,000,000 with one function and nx = 1000 with 1000
functions (one call over a 1000 x 1000 array), Akima1DInterpolator and CubicHermiteSpline for
nx = 1,000,000. korb is called through ctypes on build/lib/libkorb_def.so with the same data and
its own coefficient array. Prints the median of REPEATS timings of each and the ratio
scipy / korb. The timings are the process's processor time (all its threads), which a machine
shared with other work disturbs far less than the wall clock. Run with the system interpreter from the top of the tree:
/usr/bin/python3 bench/scipy_splines.py
"""
import ctypes as C
import os
import statistics
import sys
import time

import numpy as np
import scipy
from scipy.interpolate import Akima1DInterpolator, CubicHermiteSpline, CubicSpline

REPEATS = 5
LIB = os.path.join(os.path.dirname(__file__), "..", "build", "lib", "libkorb_def.so")

# From include/korb/kernel/df.h.
NATURAL, HERMITE, AKIMA = 2, 3, 5
NOT_A_KNOT, FREE_END = 1, 2
PP_SPLINE, METHOD_STD, IC_1ST_DER = 1, 0, 1


def median_seconds(fn):
    times = []
    for _ in range(REPEATS):
        t0 = time.process_time()
        fn()
        times.append(time.process_time() - t0)
    return statistics.median(times)


class Korb:
    def __init__(self, path):
        self.lib = C.CDLL(path)
        dp = C.POINTER(C.c_double)
        i64 = C.c_int64
        self.lib.korb_df_kernel_dNewTask1D.argtypes = [C.POINTER(C.c_void_p), i64, dp, i64, i64,
                                                       dp, i64, C.c_int32]
        self.lib.korb_df_kernel_dEditPPSpline1D.argtypes = [C.c_void_p, i64, i64, i64, dp, i64,
                                                            dp, dp, i64]
        self.lib.korb_df_kernel_dConstruct1D.argtypes = [C.c_void_p, i64, i64]
        self.lib.korb_df_kernel_DeleteTask.argtypes = [C.POINTER(C.c_void_p)]
        for f in ("dNewTask1D", "dEditPPSpline1D", "dConstruct1D", "DeleteTask"):
            getattr(self.lib, "korb_df_kernel_" + f).restype = i64

    def timer(self, x, y, kind, bc, d=None):
        """A function that constructs the spline of y (ny rows of nx values) on x once."""
        ptr = lambda a: a.ctypes.data_as(C.POINTER(C.c_double))
        ny, nx = y.shape
        c = np.empty(4 * (nx - 1) * ny)
        bcv = np.zeros(2)
        task = C.c_void_p()
        if self.lib.korb_df_kernel_dNewTask1D(C.byref(task), nx, ptr(x), 0, ny, ptr(y), 0, 0):
            sys.exit("korb: NewTask1D failed")
        ic = ptr(d) if d is not None else None
        if self.lib.korb_df_kernel_dEditPPSpline1D(task, 4, kind, IC_1ST_DER if d is not None
                                                   else 0, ic, bc, ptr(bcv) if bc else None,
                                                   ptr(c), 0):
            sys.exit("korb: EditPPSpline1D failed")
        keep = (x, y, c, bcv, d)

        def run():
            if self.lib.korb_df_kernel_dConstruct1D(task, PP_SPLINE, METHOD_STD):
                sys.exit("korb: Construct1D failed")
            return keep
        return run


def data(nx, ny):
    rng = np.random.default_rng(35)
    x = np.cumsum(rng.uniform(0.5, 1.5, nx))
    y = np.sin(1e-3 * np.outer(np.arange(1, ny + 1), x))
    d = np.cos(1e-3 * x)[None, :].repeat(ny, axis=0)
    return x, np.ascontiguousarray(y), np.ascontiguousarray(d)


def main():
    korb = Korb(LIB)
    print(f"scipy {scipy.__version__}, numpy {np.__version__}; median of {REPEATS}")
    print(f"{'case (processor time)':34} {'scipy ms':>9} {'korb ms':>9} {'scipy/korb':>10}")
    cases = [
        ("natural nx=1e6", 1_000_000, 1, NATURAL, FREE_END, "natural"),
        ("natural nx=1000 ny=1000", 1000, 1000, NATURAL, FREE_END, "natural"),
        ("not-a-knot nx=1e6", 1_000_000, 1, NATURAL, NOT_A_KNOT, "not-a-knot"),
        ("not-a-knot nx=1000 ny=1000", 1000, 1000, NATURAL, NOT_A_KNOT, "not-a-knot"),
        ("akima nx=1e6", 1_000_000, 1, AKIMA, 0, None),
        ("hermite nx=1e6", 1_000_000, 1, HERMITE, 0, None),
    ]
    runs = []
    for name, nx, ny, kind, bc, bc_type in cases:
        x, y, d = data(nx, ny)
        yt = y.T if ny > 1 else y[0]
        if kind == NATURAL:
            peer = (lambda x, yt, b: lambda: CubicSpline(x, yt, bc_type=b))(x, yt, bc_type)
        elif kind == AKIMA:
            peer = (lambda x, yt: lambda: Akima1DInterpolator(x, yt))(x, yt)
        else:
            dt = d.T if ny > 1 else d[0]
            peer = (lambda x, yt, dt: lambda: CubicHermiteSpline(x, yt, dt))(x, yt, dt)
        runs.append((name, peer, korb.timer(x, y, kind, bc, d if kind == HERMITE else None)))
    # Every case once before any is timed: the process's heap settles on the largest shapes, so
    # that the first case timed does not pay for it.
    for _, peer, ours in runs:
        peer()
        ours()
    for name, peer, ours in runs:
        t_peer, t_ours = median_seconds(peer), median_seconds(ours)
        print(f"{name:34} {t_peer * 1e3:9.2f} {t_ours * 1e3:9.2f} {t_peer / t_ours:10.1f}")


if __name__ == "__main__":
    main()
