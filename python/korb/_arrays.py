"""Helpers shared by the modules: array arguments, outputs and sizes."""
import operator

import numpy as np

INT_MAX = 2**31 - 1


def count(n, what="n"):
    """A non-negative element count, from anything with __index__."""
    try:
        n = operator.index(n)
    except TypeError:
        raise TypeError(f"{what} must be an integer, not {type(n).__name__}") from None
    if n < 0:
        raise ValueError(f"{what} must be non-negative, got {n}")
    return n


def address(a):
    """The address of a contiguous array's first element."""
    return a.__array_interface__["data"][0]


def output(shape, dtype, out, what="out"):
    """The array to write into: `out` itself when it is C-contiguous, writable, of the dtype and
    shape; a new array (copied into `out` by finish()) when it has only the shape; else an error."""
    if out is None:
        return np.empty(shape, dtype)
    if not isinstance(out, np.ndarray):
        raise TypeError(f"{what} must be a numpy array")
    if out.shape != tuple(shape):
        raise ValueError(f"{what} has shape {out.shape}, expected {tuple(shape)}")
    if out.dtype != dtype:
        raise TypeError(f"{what} has dtype {out.dtype}, expected {np.dtype(dtype)}")
    if not out.flags.writeable:
        raise ValueError(f"{what} is read-only")
    if out.flags.c_contiguous:
        return out
    return np.empty(shape, dtype)


def finish(result, out):
    """Copies a temporary result into a non-contiguous `out`; returns what the caller returns."""
    if out is None:
        return result
    if result is not out:
        out[...] = result
    return out
