"""Summary statistics over numpy arrays.

x is one variable (1-D) or several: along `axis` lie the observations, along the other axis the
variables (axis=0: one row per observation, like scipy.stats.describe). float32 data are
summarised in single precision, everything else in double; C- or Fortran-ordered arrays are read
in place, others copied once.
"""
import collections
import ctypes
import operator
import threading

import numpy as np

from ._arrays import INT_MAX, address
from ._lib import StatsError, c_int, c_uint64, c_void_p, declare

__all__ = ["describe", "quantile", "min_max", "StreamingQuantiles", "Description"]

ROWS, COLS = 0x10000, 0x20000
EST_MEAN, EST_CEN2, EST_KURTOSIS, EST_SKEWNESS, EST_VARIATION = 0x1, 0x10, 0x80, 0x100, 0x200
EST_MIN, EST_MAX, EST_COV, EST_COR = 0x400, 0x800, 0x1000, 0x2000
EST_QUANTILES, EST_STREAM_QUANTILES = 0x10000, 0x40000
METHOD_TWO_PASS, METHOD_QUANTILES = 0x1, 0x1
STREAM_METHODS = {"zw": 0x40, "gk": 0x80}
ID = {"x": 3, "weights": 6, "mean": 7, "raw2": 8, "raw3": 9, "raw4": 10, "cen2": 11, "cen3": 12,
      "cen4": 13, "kurtosis": 14, "skewness": 15, "min": 16,
      "max": 17, "variation": 18, "cov": 19, "cov_storage": 20, "cor": 21, "cor_storage": 22,
      "quant_norders": 24, "quant_orders": 25, "quantiles": 26, "stream_nparams": 62,
      "stream_params": 63, "stream_norders": 64, "stream_orders": 65, "stream_quantiles": 66}
COV_FULL = 0x1

_P = ctypes.POINTER(c_void_p)
_F = {}
for _p in "ds":
    _F[_p] = {
        "new": declare(f"bix{_p}SSNewTask", c_int, _P, c_void_p, c_void_p, c_void_p, c_void_p,
                       c_void_p, c_void_p),
        "edit": declare(f"bix{_p}SSEditTask", c_int, c_void_p, c_int, c_void_p),
        "compute": declare(f"bix{_p}SSCompute", c_int, c_void_p, c_uint64, c_int),
    }
_edit_int = declare("bixiSSEditTask", c_int, c_void_p, c_int, c_void_p)
_delete = declare("bixSSDeleteTask", c_int, _P)

Description = collections.namedtuple(
    "Description", "nobs min max mean variance skewness kurtosis variation cov cor")
Description.__doc__ = """The basic estimates of each variable: the variance with n - 1 (weights:
W - W2/W) in the denominator, the biased skewness and excess kurtosis (as scipy.stats.describe
gives them by default), the variation sqrt(variance) / mean; cov and cor the p x p matrices
(None unless asked for)."""


def _check(status, function):
    if status != 0:
        raise StatsError(status, function)


class _Task:
    """A task over x (n observations of p variables), deleted on exit."""

    def __init__(self, x, axis, weights=None):
        x = np.asarray(x)
        if x.ndim not in (1, 2):
            raise ValueError(f"x must be 1-D or 2-D, not {x.ndim}-D")
        axis = operator.index(axis)
        if not -x.ndim <= axis < x.ndim:
            raise ValueError(f"axis {axis} out of range for {x.ndim}-D data")
        axis %= x.ndim
        self.p_letter = "s" if x.dtype == np.float32 else "d"
        dtype = np.float32 if self.p_letter == "s" else np.float64
        if x.ndim == 1:
            x = x[:, None]
            axis = 0
        n, p = x.shape[axis], x.shape[1 - axis]
        if n < 1 or p < 1:
            raise ValueError("x needs at least one observation of one variable")
        if n > INT_MAX or p > INT_MAX:
            raise ValueError("more than 2**31 - 1 observations or variables")
        # Observations along axis 0 of a C-ordered array are observation-major (COLS); a
        # Fortran-ordered one is its transpose, variable-major (ROWS), and needs no copy.
        obs_major = x if axis == 0 else x.T
        if obs_major.flags.c_contiguous or not obs_major.flags.f_contiguous:
            self.x = np.ascontiguousarray(obs_major, dtype)
            storage = COLS
        else:
            self.x = np.ascontiguousarray(obs_major.T, dtype)
            storage = ROWS
        if self.x.dtype != dtype:
            self.x = self.x.astype(dtype)
        self.w = None
        if weights is not None:
            self.w = np.ascontiguousarray(weights, dtype)
            if self.w.shape != (n,):
                raise ValueError(f"weights must have shape ({n},), not {self.w.shape}")
        self.n, self.p, self.dtype = n, p, dtype
        self.ints = np.array([p, n, storage, 0, COV_FULL, COV_FULL, 0], dtype=np.int32)
        self.keep = []
        self.f = _F[self.p_letter]
        self.task = c_void_p()
        i = address(self.ints)
        _check(self.f["new"](ctypes.byref(self.task), i, i + 4, i + 8, address(self.x),
                             None if self.w is None else address(self.w), None),
               f"bix{self.p_letter}SSNewTask")

    def slot(self, name, shape, fill=None):
        a = np.empty(shape, self.dtype) if fill is None else np.array(fill, self.dtype)
        self.keep.append(a)
        _check(self.f["edit"](self.task, ID[name], address(a)), f"bix{self.p_letter}SSEditTask")
        return a

    def int_slot(self, name, index):
        _check(_edit_int(self.task, ID[name], address(self.ints) + 4 * index), "bixiSSEditTask")

    def compute(self, estimates, method):
        _check(self.f["compute"](self.task, estimates, method), f"bix{self.p_letter}SSCompute")

    def first_row(self):
        """The first observation of every variable."""
        if self.ints[2] == COLS:
            return self.x[0].copy()
        return self.x[:, 0].copy()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        if self.task:
            _delete(ctypes.byref(self.task))


def _shape(values, one):
    return values[0] if one else values


def describe(x, weights=None, axis=0, cov=False):
    """The basic estimates (Description) of each variable of x; weights, one per observation,
    may be given. With cov=True also the covariance and correlation matrices."""
    one = np.ndim(x) == 1
    with _Task(x, axis, weights) as t:
        p = t.p
        first = t.first_row()
        lo, hi = t.slot("min", None, first), t.slot("max", None, first.copy())
        mean, var = t.slot("mean", p), t.slot("cen2", p)
        # The estimates derived from moments need the lower moments' slots as well.
        for name in ("raw2", "raw3", "raw4", "cen3", "cen4"):
            t.slot(name, p)
        skew, kurt, variation = t.slot("skewness", p), t.slot("kurtosis", p), t.slot("variation", p)
        est = EST_MIN | EST_MAX | EST_MEAN | EST_CEN2 | EST_SKEWNESS | EST_KURTOSIS | EST_VARIATION
        cv = cr = None
        if cov:
            cv, cr = t.slot("cov", (p, p)), t.slot("cor", (p, p))
            t.int_slot("cov_storage", 4)
            t.int_slot("cor_storage", 5)
            est |= EST_COV | EST_COR
        t.compute(est, METHOD_TWO_PASS)
        return Description(t.n, _shape(lo, one), _shape(hi, one), _shape(mean, one),
                           _shape(var, one), _shape(skew, one), _shape(kurt, one),
                           _shape(variation, one), cv, cr)


def min_max(x, axis=0):
    """(minimum, maximum) of each variable of x."""
    one = np.ndim(x) == 1
    with _Task(x, axis) as t:
        first = t.first_row()
        lo, hi = t.slot("min", None, first), t.slot("max", None, first.copy())
        t.compute(EST_MIN | EST_MAX, 0x1)
        return _shape(lo, one), _shape(hi, one)


def _orders(q):
    q = np.asarray(q, dtype=np.float64)
    flat = np.ascontiguousarray(q.ravel())
    if flat.size < 1 or flat.size > INT_MAX:
        raise ValueError("q must hold at least one order")
    if not np.all((flat >= 0) & (flat <= 1)):
        raise ValueError("orders must lie in [0, 1]")
    return q, flat


def quantile(x, q, axis=0):
    """The quantiles of orders q of each variable, with numpy's default (linear) definition:
    the value at position (n - 1) q of the sorted observations, interpolated. The result has
    q's shape, followed by the variables' axis for 2-D data (as np.quantile gives it)."""
    one = np.ndim(x) == 1
    q, flat = _orders(q)
    with _Task(x, axis) as t:
        t.ints[3] = flat.size
        t.int_slot("quant_norders", 3)
        t.slot("quant_orders", None, flat)
        out = t.slot("quantiles", (t.p, flat.size))
        t.compute(EST_QUANTILES, METHOD_QUANTILES)
    res = out.T.reshape(q.shape + (() if one else (out.shape[0],)))
    return res[()] if res.ndim == 0 else np.ascontiguousarray(res)


class StreamingQuantiles:
    """eps-approximate quantiles of orders q over data given a chunk at a time.

    After each update the value reported for order q is an observation whose rank among all N
    observations seen is within eps N of the exact quantile's position (N - 1) q + 1. Chunks are
    1-D (one variable) or 2-D with observations along axis 0; every chunk must have the same
    number of variables. method 'zw' (multi-level summaries, the default) or 'gk'.
    """

    def __init__(self, q, eps, method="zw", dtype=np.float64):
        self.q, flat = _orders(q)
        eps = float(eps)
        if not 0 < eps < 1:
            raise ValueError("eps must lie in (0, 1)")
        if method not in STREAM_METHODS:
            raise ValueError(f"method must be one of {list(STREAM_METHODS)}")
        if np.dtype(dtype) not in (np.float32, np.float64):
            raise TypeError("dtype must be float32 or float64")
        self.eps, self.method, self.dtype = eps, method, np.dtype(dtype).type
        self.orders = flat
        self.nobs = 0
        self._task = None
        self._one = None
        # The summary lives in the task: updates from several threads take turns.
        self._lock = threading.Lock()
        self._closed = False

    def update(self, chunk):
        """Adds the chunk's observations; returns the estimates over everything seen so far."""
        chunk = np.asarray(chunk)
        one = chunk.ndim == 1
        if chunk.ndim not in (1, 2):
            raise ValueError("a chunk is 1-D or 2-D")
        chunk = np.ascontiguousarray(chunk.reshape(len(chunk), -1), self.dtype)
        with self._lock:
            self._add(chunk, one)
        return self.quantiles

    def _add(self, chunk, one):
        if self._closed:
            raise ValueError("the summary is closed")
        if self._task is None:
            self._start(chunk, one)
        elif chunk.shape[1] != self._task.p or one != self._one:
            raise ValueError(f"every chunk must have {self._task.p} variable(s)")
        if chunk.shape[0] > INT_MAX:
            raise ValueError("a chunk holds at most 2**31 - 1 observations")
        if chunk.shape[0] > 0:
            t = self._task
            t.ints[1] = chunk.shape[0]
            t.x = chunk
            _check(t.f["edit"](t.task, ID["x"], address(chunk)), f"bix{t.p_letter}SSEditTask")
            t.compute(EST_STREAM_QUANTILES, STREAM_METHODS[self.method])
            self.nobs += chunk.shape[0]

    def _start(self, chunk, one):
        t = _Task(chunk if len(chunk) else np.zeros((1, chunk.shape[1]), self.dtype), 0)
        self._task, self._one = t, one
        t.ints[3], t.ints[6] = self.orders.size, 1
        t.int_slot("stream_norders", 3)
        t.int_slot("stream_nparams", 6)
        t.slot("stream_orders", None, self.orders)
        t.slot("stream_params", None, [self.eps])
        self._out = t.slot("stream_quantiles", (t.p, self.orders.size))
        self._out.fill(np.nan)

    @property
    def quantiles(self):
        """The current estimates, shaped as quantile() gives them (NaN before any data)."""
        if self._task is None:
            return np.full(self.q.shape, np.nan)
        res = self._out.T.reshape(self.q.shape + (() if self._one else (self._out.shape[0],)))
        return res[()] if res.ndim == 0 else res.copy()

    def close(self):
        if getattr(self, "_task", None) is not None:
            with self._lock:
                self._task.__exit__()
                self._task = None
        self._closed = True

    def __del__(self):
        self.close()
