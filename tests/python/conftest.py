"""Shared fixtures: the C library itself, for calls that bypass the package."""
import ctypes

import numpy as np
import pytest

import korb
from korb import _lib


@pytest.fixture(scope="session")
def clib():
    """libkorb as the package loaded it, for reference calls of the plain entry points."""
    return ctypes.CDLL(_lib.path)


def c_stream(clib, brng, seed):
    """A stream made directly with the C entry point (released by the caller)."""
    s = ctypes.c_void_p()
    assert clib.bixNewStream(ctypes.byref(s), brng, ctypes.c_uint32(seed)) == 0
    return s


def c_delete(clib, s):
    clib.bixDeleteStream(ctypes.byref(s))


def ptr(a):
    return ctypes.c_void_p(a.ctypes.data)


def gaps_covered(stamps, start, end):
    """The largest stretch of [start, end] without one of the timestamps, as a fraction."""
    inside = [start] + sorted(t for t in stamps if start < t < end) + [end]
    return max(b - a for a, b in zip(inside, inside[1:])) / (end - start)


def runs_beside(call):
    """Runs call() in one thread while another counts in Python; returns the largest fraction
    of the call's duration in which the counting thread made no progress. Near 1 when the call
    holds the interpreter lock, small when the lock is released."""
    import threading
    import time

    stamps, window, done = [], [], threading.Event()

    def count():
        while not done.is_set():
            stamps.append(time.perf_counter())

    t = threading.Thread(target=count)
    t.start()
    time.sleep(0.02)
    t0 = time.perf_counter()
    call()
    t1 = time.perf_counter()
    done.set()
    t.join()
    return gaps_covered(stamps, t0, t1)
