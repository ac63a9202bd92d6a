#!/usr/bin/python3
"""numpy's ufuncs beside korb_bench's BM_vm benchmarks of the exact, rounding, packing and complex
functions, on inputs of the same ranges, n = 1000 and 1,000,000.

Each line names the korb function it stands beside, the numpy call, and the median items per
second (process CPU time, as korb_bench's items_per_second; the machine may be shared) over
repeated calls writing into a preallocated output (out=), so that allocation is not
timed where numpy lets it be avoided (np.compress allocates its result). Compare with the
items_per_second of BM_vm/<function>/korb at the same n.
Run with the system interpreter: /usr/bin/python3 bench/numpy_vm.py
"""
import statistics
import time

import numpy as np

SIZES = (1000, 1_000_000)


def median_rate(fn, n):
    # Enough calls per timing that one takes about 20 ms at n = 1000.
    inner = max(1, 200_000 // n)
    repeats = 15 if n <= 1000 else 7
    rates = []
    for _ in range(repeats):
        t0 = time.process_time()
        for _ in range(inner):
            fn()
        rates.append(inner * n / (time.process_time() - t0))
    return statistics.median(rates)


def cases(n, rng):
    out = []
    for p, dtype, ctype in (("s", np.float32, np.complex64), ("d", np.float64, np.complex128)):
        a = rng.uniform(-1000, 1000, n).astype(dtype)
        b = rng.uniform(-1000, 1000, n).astype(dtype)
        r = np.empty(n, dtype)
        small = rng.uniform(-100, 100, n).astype(dtype)
        ca = (rng.uniform(-1000, 1000, n) + 1j * rng.uniform(-1000, 1000, n)).astype(ctype)
        cb = (rng.uniform(-1000, 1000, n) + 1j * rng.uniform(-1000, 1000, n)).astype(ctype)
        cr = np.empty(n, ctype)
        c = "c" if p == "s" else "z"
        mask = rng.integers(0, 2, n).astype(bool)
        index = rng.integers(0, n, n)
        out += [
            (p + "Add", "np.add", lambda a=a, b=b, r=r: np.add(a, b, out=r)),
            (p + "Mul", "np.multiply", lambda a=a, b=b, r=r: np.multiply(a, b, out=r)),
            (p + "Div", "np.divide", lambda a=a, b=b, r=r: np.divide(a, b, out=r)),
            (p + "Abs", "np.abs", lambda a=a, r=r: np.abs(a, out=r)),
            (p + "Hypot", "np.hypot", lambda a=a, b=b, r=r: np.hypot(a, b, out=r)),
            (p + "Floor", "np.floor", lambda x=small, r=r: np.floor(x, out=r)),
            (p + "Ceil", "np.ceil", lambda x=small, r=r: np.ceil(x, out=r)),
            (p + "Trunc", "np.trunc", lambda x=small, r=r: np.trunc(x, out=r)),
            (p + "Rint", "np.rint", lambda x=small, r=r: np.rint(x, out=r)),
            (p + "PackV", "np.take", lambda a=a, i=index, r=r: np.take(a, i, out=r)),
            (p + "PackM", "np.compress", lambda a=a, m=mask: np.compress(m, a)),
            (c + "Add", "np.add", lambda a=ca, b=cb, r=cr: np.add(a, b, out=r)),
            (c + "Mul", "np.multiply", lambda a=ca, b=cb, r=cr: np.multiply(a, b, out=r)),
            (c + "Div", "np.divide", lambda a=ca, b=cb, r=cr: np.divide(a, b, out=r)),
            (c + "Conj", "np.conjugate", lambda a=ca, r=cr: np.conjugate(a, out=r)),
            (c + "Abs", "np.abs", lambda a=ca, r=r: np.abs(a, out=r)),
            (c + "Arg", "np.angle", lambda a=ca: np.angle(a)),
            (c + "PackV", "np.take", lambda a=ca, i=index, r=cr: np.take(a, i, out=r)),
            (c + "PackM", "np.compress", lambda a=ca, m=mask: np.compress(m, a)),
        ]
        # The complex elementary functions on the first domains of their lines: parts in
        # [-10, 10], the exponents' parts in [-4, 4] (Powx: one exponent).
        ea = (rng.uniform(-10, 10, n) + 1j * rng.uniform(-10, 10, n)).astype(ctype)
        ew = (rng.uniform(-4, 4, n) + 1j * rng.uniform(-4, 4, n)).astype(ctype)
        ex = ctype(ew[0])
        for name, ufunc in (("Exp", np.exp), ("Ln", np.log), ("Log10", np.log10),
                            ("Sqrt", np.sqrt), ("Sin", np.sin), ("Cos", np.cos),
                            ("Tan", np.tan), ("Sinh", np.sinh), ("Cosh", np.cosh),
                            ("Tanh", np.tanh)):
            out.append((c + name, "np." + ufunc.__name__,
                        lambda u=ufunc, a=ea, r=cr: u(a, out=r)))
        out += [
            (c + "Pow", "np.power", lambda a=ea, w=ew, r=cr: np.power(a, w, out=r)),
            (c + "Powx", "np.power", lambda a=ea, w=ex, r=cr: np.power(a, w, out=r)),
        ]
    return out


def main():
    rng = np.random.default_rng(7)
    print(f"numpy {np.__version__}")
    print(f"{'function':12} {'numpy':14} {'n':>8} {'items/s':>12}")
    for n in SIZES:
        for name, call, fn in cases(n, rng):
            print(f"{name:12} {call:14} {n:8d} {median_rate(fn, n):12.4g}")


if __name__ == "__main__":
    main()
