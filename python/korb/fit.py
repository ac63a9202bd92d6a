"""Data fitting: one-dimensional piecewise-polynomial splines.

    s = korb.fit.Spline(x, y, kind='natural')
    s(sites), s(sites, nu=1), s.integrate(0.0, 2.5), s.cells(sites)

x holds nx strictly increasing points; y one function (nx values) or ny functions (shape
(ny, nx)), fitted together. Values, derivatives and integrals come out with the shape of the
sites (or of the limits), preceded by the functions' axis when there are several. float32 x and
y are fitted in single precision, anything else in double.
"""
import ctypes
import operator

import numpy as np

from ._arrays import address
from ._lib import FitError, c_int64, c_void_p, declare

__all__ = ["Spline", "KINDS"]

# kind: (order, type)
KINDS = {"linear": (2, 0), "quadratic": (3, 0), "subbotin": (3, 1), "natural": (4, 2),
         "hermite": (4, 3), "bessel": (4, 4), "akima": (4, 5)}
BC_NOT_A_KNOT, BC_FREE_END, BC_VALUES, BC_2ND_LEFT, BC_2ND_RIGHT, BC_PERIODIC = (
    1, 2, 0x8, 0x10, 0x20, 0x48)
IC_1ST_DER = 1
PP_SPLINE, METHOD_STD = 1, 0
INTERP_VALUES = 0x1

_P = ctypes.POINTER(c_void_p)
_F = {}
for _p in "ds":
    _F[_p] = {
        "new": declare(f"korb_df_{_p}NewTask1D", c_int64, _P, c_int64, c_void_p, c_int64,
                       c_int64, c_void_p, c_int64),
        "edit": declare(f"korb_df_{_p}EditPPSpline1D", c_int64, c_void_p, c_int64, c_int64,
                        c_int64, c_void_p, c_int64, c_void_p, c_void_p, c_int64),
        "construct": declare(f"korb_df_{_p}Construct1D", c_int64, c_void_p, c_int64, c_int64),
        "search": declare(f"korb_df_{_p}SearchCells1D", c_int64, c_void_p, c_int64, c_int64,
                          c_void_p, c_int64, c_void_p),
        "interpolate": declare(f"korb_df_{_p}Interpolate1D", c_int64, c_void_p, c_int64,
                               c_int64, c_int64, c_void_p, c_int64, c_int64, c_void_p, c_void_p,
                               c_int64, c_void_p),
        "integrate": declare(f"korb_df_{_p}Integrate1D", c_int64, c_void_p, c_int64, c_int64,
                             c_void_p, c_int64, c_void_p, c_int64, c_void_p, c_int64),
    }
_delete = declare("korb_df_DeleteTask", c_int64, _P)


def _check(status, function):
    if status != 0:
        raise FitError(status, function)


def _boundary(bc, kind):
    """The condition type and values of `bc`:
    None            the kind's own (free end for natural and subbotin, none for the others)
    'natural', 'free-end'   second derivative 0 at both ends
    'not-a-knot', 'periodic'
    'clamped'       first derivative 0 at both ends
    ((k1, v1), (k2, v2))    derivative of order k (1 or 2) at the left and right end;
                    the quadratic kind reads only the left one, which may be given alone."""
    if bc is None:
        return (BC_FREE_END, None) if kind in ("natural", "subbotin") else (0, None)
    if isinstance(bc, str):
        named = {"natural": BC_FREE_END, "free-end": BC_FREE_END, "not-a-knot": BC_NOT_A_KNOT,
                 "periodic": BC_PERIODIC}
        if bc == "clamped":
            return BC_VALUES, [0.0, 0.0]
        if bc not in named:
            raise ValueError(f"unknown boundary condition {bc!r}")
        return named[bc], None
    pairs = list(bc)
    if len(pairs) == 2 and not isinstance(pairs[0], (tuple, list)):
        pairs = [tuple(pairs)]
    if not 1 <= len(pairs) <= 2 or any(len(pr) != 2 for pr in pairs):
        raise ValueError("bc: give ((order, value), (order, value))")
    bc_type, values = BC_VALUES, []
    for side, (k, v) in enumerate(pairs):
        if k not in (1, 2):
            raise ValueError("bc: the derivative order is 1 or 2")
        if k == 2:
            bc_type |= BC_2ND_LEFT if side == 0 else BC_2ND_RIGHT
        values.append(float(v))
    return bc_type, values + [0.0] * (2 - len(values))


class Spline:
    """The spline of `kind` (see KINDS) through (x, y); bc as _boundary() explains; derivatives
    (the first derivative at every point, shaped as y) for kind 'hermite'."""

    def __init__(self, x, y, kind="natural", bc=None, derivatives=None):
        if kind not in KINDS:
            raise ValueError(f"unknown kind {kind!r}; one of {list(KINDS)}")
        x, y = np.asarray(x), np.asarray(y)
        self.p = "s" if x.dtype == np.float32 and y.dtype == np.float32 else "d"
        dtype = np.float32 if self.p == "s" else np.float64
        if x.ndim != 1:
            raise ValueError("x must be 1-D")
        self.one = y.ndim == 1
        y2 = y.reshape(1, -1) if self.one else y
        if y2.ndim != 2 or y2.shape[1] != x.size:
            raise ValueError(f"y must have shape ({x.size},) or (ny, {x.size}), not {y.shape}")
        self.kind, self.dtype = kind, dtype
        self.x = np.ascontiguousarray(x, dtype)
        self.y = np.ascontiguousarray(y2, dtype)
        nx, ny = self.x.size, self.y.shape[0]
        self.order, stype = KINDS[kind]
        bc_type, bc_values = _boundary(bc, kind)
        # The library wants a values array with every condition type but none, read or not.
        if bc_type != 0 and bc_values is None:
            bc_values = [0.0, 0.0]
        self.bc = None if bc_values is None else np.array(bc_values, dtype)
        ic_type, self.ic = 0, None
        if kind == "hermite":
            if derivatives is None:
                raise ValueError("kind 'hermite' needs the derivatives at the points")
            self.ic = np.ascontiguousarray(np.broadcast_to(derivatives, y.shape), dtype).ravel()
            ic_type = IC_1ST_DER
        elif derivatives is not None:
            raise ValueError("derivatives are taken by kind 'hermite' only")
        cells = nx if stype == 1 else max(nx - 1, 1)
        self.coeffs = np.zeros(ny * cells * self.order, dtype)
        f = _F[self.p]
        self.task = c_void_p()
        _check(f["new"](ctypes.byref(self.task), nx, address(self.x), 0, ny, address(self.y), 0),
               f"korb_df_{self.p}NewTask1D")
        _check(f["edit"](self.task, self.order, stype, ic_type,
                         None if self.ic is None else address(self.ic), bc_type,
                         None if self.bc is None else address(self.bc), address(self.coeffs), 0),
               f"korb_df_{self.p}EditPPSpline1D")
        _check(f["construct"](self.task, PP_SPLINE, METHOD_STD), f"korb_df_{self.p}Construct1D")

    def __del__(self):
        task = getattr(self, "task", None)
        if task:
            _delete(ctypes.byref(task))

    @property
    def c(self):
        """The coefficients, (ny, cells, order): cell j's polynomial in (t - x_j), lowest first."""
        return self.coeffs.reshape(self.y.shape[0], -1, self.order)

    def _shaped(self, r, shape):
        return r.reshape(shape) if self.one else r.reshape((self.y.shape[0],) + shape)

    def __call__(self, sites, nu=0):
        """Values (nu = 0) or derivative nu of every function at the sites."""
        nu = operator.index(nu)
        if nu < 0:
            raise ValueError("nu must be non-negative")
        s = np.asarray(sites)
        flat = np.ascontiguousarray(s, self.dtype).ravel()
        ny = self.y.shape[0]
        r = np.empty(ny * flat.size, self.dtype)
        dorder = np.zeros(nu + 1, np.int64)
        dorder[nu] = 1
        if flat.size:
            _check(_F[self.p]["interpolate"](self.task, INTERP_VALUES, METHOD_STD, flat.size,
                                             address(flat), 0, nu + 1, address(dorder),
                                             address(r), 0, None),
                   f"korb_df_{self.p}Interpolate1D")
        return self._shaped(r, s.shape)

    def cells(self, sites):
        """The cell of each site: the number of points at or below it (0 left of x[0], nx at or
        beyond x[-1], 0 for NaN)."""
        s = np.asarray(sites)
        flat = np.ascontiguousarray(s, self.dtype).ravel()
        out = np.empty(flat.size, np.int64)
        if flat.size:
            _check(_F[self.p]["search"](self.task, METHOD_STD, flat.size, address(flat), 0,
                                        address(out)), f"korb_df_{self.p}SearchCells1D")
        return out.reshape(s.shape)

    def integrate(self, a, b):
        """The integral of every function from a to b (arrays broadcast; negative for b < a)."""
        a, b = np.broadcast_arrays(np.asarray(a), np.asarray(b))
        shape = a.shape
        lo = np.ascontiguousarray(a, self.dtype).ravel()
        hi = np.ascontiguousarray(b, self.dtype).ravel()
        r = np.empty(self.y.shape[0] * lo.size, self.dtype)
        if lo.size:
            _check(_F[self.p]["integrate"](self.task, METHOD_STD, lo.size, address(lo), 0,
                                           address(hi), 0, address(r), 0),
                   f"korb_df_{self.p}Integrate1D")
        res = self._shaped(r, shape)
        return res[()] if res.ndim == 0 else res
