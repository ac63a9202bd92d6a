#!/usr/bin/python3
"""scipy's splines beside korb's construction kernel, in one process, on the shapes of
korb_bench's spline benchmarks; then evaluation, integration and search beside scipy and numpy.

Natural and not-a-knot CubicSpline for nx = 1,000,000 with one function and nx = 1000 with 1000
functions (one call over a 1000 x 1000 array), Akima1DInterpolator and CubicHermiteSpline for
nx = 1,000,000.

Evaluation: a natural CubicSpline through nx = 10^4 points (an even partition, which korb is
given by its ends, and an uneven one), called at 10^7 sites inside the partition in random order
and sorted, for values (cs(s)) and for values with two derivatives (cs(s), cs(s, 1), cs(s, 2));
korb's Interpolate1D with the sorted-site hint where the sites are sorted. Integration over 10^6
random intervals: scipy's CubicSpline.integrate takes one interval a call, so it is timed on the
first 10^4 and scaled, and beside it the antiderivative's values F(b) - F(a) at all 10^6 (what a
numpy user would write). Search: np.searchsorted(x, s, side='right') against SearchCells1D; and
the linear spline against np.interp (korb's linear spline made by its construction). korb is called through ctypes on build/lib/libkorb_def.so with the same data and
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
        ip = C.POINTER(C.c_int64)
        self.lib.korb_df_kernel_dInterpolate1D.argtypes = [C.c_void_p, i64, i64, i64, dp, i64,
                                                           i64, ip, dp, i64, ip]
        self.lib.korb_df_kernel_dIntegrate1D.argtypes = [C.c_void_p, i64, i64, dp, i64, dp, i64,
                                                         dp, i64]
        self.lib.korb_df_kernel_dSearchCells1D.argtypes = [C.c_void_p, i64, i64, dp, i64, ip]
        self.lib.korb_df_kernel_dEditPtr.argtypes = [C.c_void_p, i64, dp]
        self.lib.korb_df_kernel_iEditVal.argtypes = [C.c_void_p, i64, i64]
        for f in ("dNewTask1D", "dEditPPSpline1D", "dConstruct1D", "DeleteTask", "dInterpolate1D",
                  "dIntegrate1D", "dSearchCells1D", "dEditPtr", "iEditVal"):
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


    def spline(self, x, y, order, kind, bc, ends=None):
        """A task holding the spline of y on x, constructed; with `ends`, the partition is then
        given to it by its two ends (x hint 4). Returns the task and what it points at."""
        ptr = lambda a: a.ctypes.data_as(C.POINTER(C.c_double))
        nx = x.size
        c = np.empty(order * (nx - 1))
        bcv = np.zeros(2)
        task = C.c_void_p()
        if self.lib.korb_df_kernel_dNewTask1D(C.byref(task), nx, ptr(x), 0, 1, ptr(y), 0, 0):
            sys.exit("korb: NewTask1D failed")
        if self.lib.korb_df_kernel_dEditPPSpline1D(task, order, kind, 0, None, bc,
                                                   ptr(bcv) if bc else None, ptr(c), 0):
            sys.exit("korb: EditPPSpline1D failed")
        if self.lib.korb_df_kernel_dConstruct1D(task, PP_SPLINE, METHOD_STD):
            sys.exit("korb: Construct1D failed")
        if ends is not None:
            self.lib.korb_df_kernel_dEditPtr(task, 1, ptr(ends))
            self.lib.korb_df_kernel_iEditVal(task, 15, 4)
        return task, (x, y, c, bcv, ends)

    def interpolate(self, task, sites, sitehint, nd):
        ptr = lambda a: a.ctypes.data_as(C.POINTER(C.c_double))
        r = np.empty(sites.size * nd)
        dorder = (C.c_int64 * nd)(*([1] * nd))

        def run():
            if self.lib.korb_df_kernel_dInterpolate1D(task, 1, METHOD_STD, sites.size, ptr(sites),
                                                      sitehint, nd, dorder, ptr(r), 0, None):
                sys.exit("korb: Interpolate1D failed")
            return r
        return run

    def integrate(self, task, left, right):
        ptr = lambda a: a.ctypes.data_as(C.POINTER(C.c_double))
        r = np.empty(left.size)

        def run():
            if self.lib.korb_df_kernel_dIntegrate1D(task, METHOD_STD, left.size, ptr(left), 0,
                                                    ptr(right), 0, ptr(r), 0):
                sys.exit("korb: Integrate1D failed")
            return r
        return run

    def search(self, task, sites, sitehint):
        ptr = lambda a: a.ctypes.data_as(C.POINTER(C.c_double))
        cell = np.empty(sites.size, dtype=np.int64)

        def run():
            if self.lib.korb_df_kernel_dSearchCells1D(task, METHOD_STD, sites.size, ptr(sites),
                                                      sitehint,
                                                      cell.ctypes.data_as(C.POINTER(C.c_int64))):
                sys.exit("korb: SearchCells1D failed")
            return cell
        return run


def eval_cases(korb):
    """(name, items, scipy or numpy, korb) for evaluation, integration and search."""
    rng = np.random.default_rng(36)
    nx, nsite, nlim = 10_000, 10_000_000, 1_000_000
    cases, keep = [], []
    for even in (False, True):
        x = np.linspace(0.0, nx - 1.0, nx) if even else np.cumsum(rng.uniform(0.2, 1.8, nx))
        y = np.sin(0.01 * x) + 0.1 * rng.uniform(size=nx)
        ends = np.array([x[0], x[-1]]) if even else None
        cs = CubicSpline(x, y, bc_type="natural")
        task, held = korb.spline(x, y, 4, NATURAL, FREE_END, ends)
        keep.append(held)
        random = rng.uniform(x[0], x[-1], nsite)
        ordered = np.sort(random)
        shape = "even" if even else "uneven"
        for sites, order_name, hint in ((random, "random", 0), (ordered, "sorted", 1)):
            for nd in (1, 3):
                if nd == 1:
                    peer = (lambda cs, s: lambda: cs(s))(cs, sites)
                else:
                    peer = (lambda cs, s: lambda: (cs(s), cs(s, 1), cs(s, 2)))(cs, sites)
                what = "values" if nd == 1 else "values+2 derivs"
                cases.append((f"cubic {shape} {order_name} {what}", nsite, peer,
                              korb.interpolate(task, sites, hint, nd)))
        left, right = rng.uniform(x[0], x[-1], nlim), rng.uniform(x[0], x[-1], nlim)
        few = 10_000

        def scipy_integrate(cs=cs, left=left, right=right):
            for a, b in zip(left[:few], right[:few]):
                cs.integrate(a, b)
        anti = cs.antiderivative()
        cases.append((f"integrate {shape} (.integrate)", few, scipy_integrate,
                      korb.integrate(task, left[:few], right[:few])))
        cases.append((f"integrate {shape} (F(b)-F(a))", nlim,
                       (lambda f, a, b: lambda: f(b) - f(a))(anti, left, right),
                       korb.integrate(task, left, right)))
        if not even:
            for sites, order_name, hint in ((random, "random", 0), (ordered, "sorted", 1)):
                cases.append((f"search {order_name} (searchsorted)", nsite,
                              (lambda s: lambda: np.searchsorted(x, s, side="right"))(sites),
                              korb.search(task, sites, hint)))
            lin, held = korb.spline(x, y, 2, 0, 0)
            keep.append(held)
            for sites, order_name, hint in ((random, "random", 0), (ordered, "sorted", 1)):
                cases.append((f"linear {order_name} (np.interp)", nsite,
                              (lambda s: lambda: np.interp(s, x, y))(sites),
                              korb.interpolate(lin, sites, hint, 1)))
    return cases, keep


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

    cases, keep = eval_cases(korb)
    print()
    print(f"{'case (processor time per item)':40} {'peer ns':>9} {'korb ns':>9} {'peer/korb':>10}")
    for _, _, peer, ours in cases:
        peer()
        ours()
    for name, items, peer, ours in cases:
        t_peer, t_ours = median_seconds(peer), median_seconds(ours)
        print(f"{name:40} {t_peer / items * 1e9:9.2f} {t_ours / items * 1e9:9.2f} "
              f"{t_peer / t_ours:10.1f}")
    del keep


if __name__ == "__main__":
    main()
