"""Vector mathematics: every function of the library as a callable over numpy arrays.

    korb.vm.exp(x)                       # like np.exp, float32, float64 (and complex where built)
    korb.vm.exp(x, out=y, accuracy='la')
    korb.vm.powx(x, 2.5)                 # the scalar is broadcast
    s, c = korb.vm.sincos(x)

Names are the library's function names in lower case (vdCdfNormInv is cdfnorminv). The element
type of the (first) argument picks the precision: float32, float64, complex64, complex128;
integers and other real types are computed in float64. Two-argument functions broadcast their
arguments as numpy does. The result has the arguments' shape; `out` may be given (a tuple for
the two-result functions).

Errors of elements (a domain error, a singularity, an overflow or underflow) are reported as
errstate() says, per kind: 'ignore', 'warn' (a KorbWarning) or 'raise' (korb.VmError); by default
like numpy: domain, sing and over warn, under is ignored. The library keeps one status per call,
the last error met, so a call with errors of several kinds reports the last kind.
"""
import contextlib
import contextvars
import ctypes
import operator
import warnings

import numpy as np

from . import _lists
from ._arrays import address, finish, output
from ._lib import VmError, c_int, c_uint, c_void_p, declare

__all__ = ["errstate", "geterr", "KorbWarning", "FUNCTIONS"]

STATUS_ERRDOM, STATUS_SING, STATUS_OVERFLOW, STATUS_UNDERFLOW = 1, 2, 3, 4
_KINDS = {STATUS_ERRDOM: "domain", STATUS_SING: "sing", STATUS_OVERFLOW: "over",
          STATUS_UNDERFLOW: "under"}
_ACCURACY = {"la": 0x1, "ha": 0x2, "ep": 0x3}
_ERRMODE_IGNORE = 0x100

_get_status = declare("korb_arq_GetErrStatus", c_int)
_clear_status = declare("korb_arq_ClearErrStatus", c_int)


class KorbWarning(RuntimeWarning):
    """An element's error under errstate 'warn'."""


_ACTIONS = ("ignore", "warn", "raise")
_state = contextvars.ContextVar("korb_vm_errstate",
                                default={"domain": "warn", "sing": "warn", "over": "warn",
                                         "under": "ignore"})


def geterr():
    """The current actions, by kind."""
    return dict(_state.get())


@contextlib.contextmanager
def errstate(*, all=None, domain=None, sing=None, over=None, under=None):
    """Sets, inside the block, what an element's error does: 'ignore', 'warn' or 'raise', per
    kind (all sets every kind first). Settings belong to the thread (and the asyncio task)."""
    new = geterr()
    for kind, action in (("all", all), ("domain", domain), ("sing", sing), ("over", over),
                         ("under", under)):
        if action is None:
            continue
        if action not in _ACTIONS:
            raise ValueError(f"errstate: {kind} must be one of {_ACTIONS}, not {action!r}")
        if kind == "all":
            new = dict.fromkeys(new, action)
        else:
            new[kind] = action
    token = _state.set(new)
    try:
        yield
    finally:
        _state.reset(token)


def _report(status, name):
    if status <= 0:
        return
    kind = _KINDS.get(status, "domain")
    action = _state.get()[kind]
    if action == "raise":
        raise VmError(status, name)
    if action == "warn":
        warnings.warn(VmError(status, name).args[0], KorbWarning, stacklevel=3)


# The element types of the precisions, and their real parts.
_TYPES = {"s": np.float32, "d": np.float64, "c": np.complex64, "z": np.complex128}
_REAL = {"s": "s", "d": "d", "c": "s", "z": "d"}
_COMPLEX = {"s": "c", "d": "z"}

_CHUNK = 1 << 30
_SUPPORTED = {"one", "two", "scalar", "pair", "to_real", "from_real", "linear_frac"}


def _precision_of(dtype):
    dt = np.dtype(dtype)
    if dt == np.float32:
        return "s"
    if dt == np.complex64:
        return "c"
    if dt.kind == "c":
        return "z"
    return "d"


_NARGS = {"one": 1, "to_real": 1, "from_real": 1, "pair": 1, "two": 2, "scalar": 2,
          "linear_frac": 6}


class VmFunction:
    """One function of the library over arrays, in every precision it is built for (the kind of
    its arguments may differ by precision: Abs of a complex vector gives reals)."""

    def __init__(self, func):
        self.func = func
        self.__name__ = func.lower()
        self.kinds = {}
        self.entries = {}

    def __repr__(self):
        types = ", ".join(str(np.dtype(_TYPES[q])) for q in self.kinds)
        return f"<korb.vm function {self.__name__} ({types})>"

    def _entry(self, p):
        f = self.entries.get(p)
        if f is None:
            k = self.kinds[p]
            args = [c_int] + [c_void_p] * (2 if k in ("two", "linear_frac") else 1)
            if k == "scalar":
                args.append({"s": ctypes.c_float, "d": ctypes.c_double, "c": _Complex8,
                             "z": _Complex16}[p])
            if k == "linear_frac":
                args += [ctypes.c_float if p == "s" else ctypes.c_double] * 4
            args += [c_void_p] * (2 if k == "pair" else 1)
            f = declare(f"vm{p}{self.func}", None, *args, c_uint)
            self.entries[p] = f
        return f

    def _pick(self, p):
        """The precision computing arguments of precision p."""
        if p in self.kinds and self.kinds[p] != "from_real":
            return p
        for q, k in self.kinds.items():
            if k == "from_real" and _REAL[q] == _REAL[p] and p in "sd":
                return q
        # float32 arguments of a function built only in double, and the like, widen.
        wider = {"s": "d", "c": "z"}.get(p)
        if wider in self.kinds:
            return self._pick(wider)
        built = ", ".join(str(np.dtype(_TYPES[q])) for q in self.kinds)
        raise TypeError(f"korb.vm.{self.__name__}: no form for {np.dtype(_TYPES[p])} arguments "
                        f"(built: {built})")

    def __call__(self, *args, out=None, accuracy="ha"):
        nin = _NARGS[next(iter(self.kinds.values()))]
        if len(args) != nin:
            raise TypeError(f"korb.vm.{self.__name__} takes {nin} argument(s), got {len(args)}")
        try:
            mode = _ACCURACY[accuracy.lower()] | _ERRMODE_IGNORE
        except (KeyError, AttributeError):
            raise ValueError(f"accuracy must be one of {list(_ACCURACY)}, not {accuracy!r}") \
                from None
        if nin == 1:
            a = np.asarray(args[0])
            p = self._pick(_precision_of(a.dtype))
        else:
            a, b = np.asarray(args[0]), np.asarray(args[1])
            p = self._pick(_precision_of(np.result_type(a, b)))
        k = self.kinds[p]
        extra = []
        if k in ("two", "linear_frac"):
            a, b = np.broadcast_arrays(a, b)
        shape = a.shape
        if k in ("two", "linear_frac"):
            inputs = [np.ascontiguousarray(a, _TYPES[p]), np.ascontiguousarray(b, _TYPES[p])]
            extra = [float(v) for v in args[2:]]
        else:
            intype = _TYPES[_REAL[p]] if k == "from_real" else _TYPES[p]
            inputs = [np.ascontiguousarray(a, intype)]
            if k == "scalar":
                if b.ndim != 0:
                    raise ValueError(f"korb.vm.{self.__name__}: the second argument must be a "
                                     "scalar (korb.vm.pow takes two arrays)")
                b = _TYPES[p](b)
                extra = [b.item() if p in "sd" else
                         {"c": _Complex8, "z": _Complex16}[p](b.real, b.imag)]
        n = inputs[0].size
        outtype = _TYPES[_REAL[p]] if k == "to_real" else _TYPES[p]
        if k == "pair":
            outs = (None, None) if out is None else out
            if not isinstance(outs, tuple) or len(outs) != 2:
                raise TypeError("out must be a tuple of two arrays")
            results = [output(shape, outtype, o) for o in outs]
        else:
            outs = (out,)
            results = [output(shape, outtype, out)]
        if n > 0:
            f = self._entry(p)
            ptrs = [address(x) for x in inputs + results]
            sizes = [x.itemsize for x in inputs + results]
            nargs = len(inputs)
            _clear_status()
            # The C count is an int: longer arrays go in pieces.
            for start in range(0, n, _CHUNK):
                m = min(_CHUNK, n - start)
                at = [x + start * s for x, s in zip(ptrs, sizes)]
                f(m, *at[:nargs], *extra, *at[nargs:], mode)
            _report(_get_status(), f"v{p}{self.func}")
        done = tuple(finish(r, o) for r, o in zip(results, outs))
        return done if k == "pair" else done[0]


class _Complex8(ctypes.Structure):
    _fields_ = [("re", ctypes.c_float), ("im", ctypes.c_float)]


class _Complex16(ctypes.Structure):
    _fields_ = [("re", ctypes.c_double), ("im", ctypes.c_double)]


FUNCTIONS = {}
for _p, _func, _kind in _lists.VM_FUNCTIONS:
    if _kind not in _SUPPORTED:
        continue  # the data movers: numpy's indexing does their work
    _f = FUNCTIONS.get(_func.lower())
    if _f is None:
        _f = FUNCTIONS[_func.lower()] = VmFunction(_func)
    _f.kinds[_p] = _kind

globals().update(FUNCTIONS)
__all__ += sorted(FUNCTIONS)
