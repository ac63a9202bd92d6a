"""Loading libkorb and turning its statuses into exceptions.

The library is found, in this order: the file named by the environment variable KORB_LIBRARY;
the library directory recorded by `cmake --install` beside this file (_location.py); the
dynamic loader's own search for libkorb.so.1 (LD_LIBRARY_PATH, the system's directories).

Every call goes through ctypes.CDLL, which releases the interpreter lock for the duration of the
call, so threads calling korb run in parallel.
"""
import ctypes
import os

FAMILY_VM, FAMILY_RNG, FAMILY_SS, FAMILY_DF = 1, 2, 3, 4

_SONAME = "libkorb.so.1"


def _candidates():
    path = os.environ.get("KORB_LIBRARY")
    if path:
        yield path
        return
    try:
        from . import _location  # written by cmake --install

        yield os.path.join(_location.LIBDIR, _SONAME)
    except ImportError:
        pass
    yield _SONAME


def _load():
    errors = []
    for path in _candidates():
        try:
            return ctypes.CDLL(path), path
        except OSError as e:
            errors.append(str(e))
    raise ImportError("korb: cannot load libkorb (" + "; ".join(errors) +
                      "); set KORB_LIBRARY to the path of libkorb.so.1")


lib, path = _load()

c_int, c_uint, c_double, c_float = ctypes.c_int, ctypes.c_uint, ctypes.c_double, ctypes.c_float
c_int64, c_uint64, c_void_p = ctypes.c_int64, ctypes.c_uint64, ctypes.c_void_p


def declare(name, restype, *argtypes):
    """The entry point `name` with its C prototype."""
    f = getattr(lib, name)
    f.restype = restype
    f.argtypes = list(argtypes)
    return f


_status_text = declare("korbStatusText", ctypes.c_char_p, c_int, c_int)
version = declare("korbGetVersion", ctypes.c_char_p)().decode()


class KorbError(Exception):
    """A status of the library: `status` (the code), `name` (its C name) and `text`."""

    family = 0

    def __init__(self, status, function=None):
        self.status = int(status)
        self.function = function
        text = _status_text(self.family, self.status).decode()
        self.name, _, meaning = text.partition(": ")
        self.text = text
        where = f"{function}: " if function else ""
        super().__init__(f"{where}{self.name} ({self.status}): {meaning or text}")


class VmError(KorbError, ArithmeticError):
    """A vector-math status: a refused call, or an element's error under errstate 'raise'."""

    family = FAMILY_VM


class RngError(KorbError):
    """A status of a random-number service or distribution."""

    family = FAMILY_RNG


class StatsError(KorbError):
    """A status of the summary-statistics functions."""

    family = FAMILY_SS


class FitError(KorbError):
    """A status of the data-fitting functions."""

    family = FAMILY_DF


def check(status, error, function=None):
    """Raises `error` for a non-zero status."""
    if status != 0:
        raise error(status, function)
