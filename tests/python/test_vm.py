import ctypes
import warnings

import numpy as np
import pytest

import korb
from korb import vm
from conftest import ptr, runs_beside

TYPES = {"s": np.float32, "d": np.float64, "c": np.complex64, "z": np.complex128}
REAL = {"s": np.float32, "d": np.float64, "c": np.float32, "z": np.float64}


def sample(p, n=257, seed=3):
    """Arguments inside every function's domain: reals in (0.1, 0.9), complex parts too."""
    rng = np.random.default_rng(seed)
    x = rng.uniform(0.1, 0.9, n)
    if p in "cz":
        x = x + 1j * rng.uniform(0.1, 0.9, n)
    return x.astype(TYPES[p])


def reference(clib, p, func, kind, args, extra):
    """The C entry point v<p><Func> on the same arguments."""
    f = getattr(clib, f"v{p}{func}")
    n = args[0].size
    if kind == "pair":
        outs = [np.empty(n, TYPES[p]), np.empty(n, TYPES[p])]
    elif kind == "to_real":
        outs = [np.empty(n, REAL[p])]
    else:
        outs = [np.empty(n, TYPES[p])]
    f(n, *[ptr(a) for a in args], *extra, *[ptr(o) for o in outs])
    return outs


@pytest.mark.parametrize("name", sorted(vm.FUNCTIONS))
def test_every_function_gives_the_c_bits(clib, name):
    """Each function of the list in each built precision: the package's results are the C
    entry point's, on the same arguments."""
    fn = vm.FUNCTIONS[name]
    with vm.errstate(all="ignore"):  # a few arguments lie outside some functions' domains
        compare_with_c(clib, fn)


def compare_with_c(clib, fn):
    for p, kind in fn.kinds.items():
        a = sample(p)
        extra = []
        if kind == "from_real":
            a = sample(p).real.copy()
            args, got = [a], [fn(a)]
        elif kind in ("two",):
            b = sample(p, seed=4)
            args, got = [a, b], [fn(a, b)]
        elif kind == "scalar":
            b = TYPES[p](0.75)
            if p in "sd":
                extra = [(ctypes.c_float if p == "s" else ctypes.c_double)(0.75)]
            else:
                extra = [(vm._Complex8 if p == "c" else vm._Complex16)(0.75, 0.0)]
            args, got = [a], [fn(a, b)]
        elif kind == "linear_frac":
            b = sample(p, seed=4)
            real = ctypes.c_float if p == "s" else ctypes.c_double
            extra = [real(v) for v in (2.0, 1.0, 3.0, 0.5)]
            args, got = [a, b], [fn(a, b, 2.0, 1.0, 3.0, 0.5)]
        elif kind == "pair":
            args, got = [a], list(fn(a))
        else:
            args, got = [a], [fn(a)]
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            want = reference(clib, p, fn.func, kind, args, extra)
        for g, w in zip(got, want):
            assert g.dtype == w.dtype and g.tobytes() == w.tobytes(), (fn.__name__, p)


def test_against_numpy():
    x = np.random.default_rng(1).uniform(-30, 30, 10**5)
    for f, g in ((vm.exp, np.exp), (vm.atan, np.arctan), (vm.sinh, np.sinh)):
        assert np.allclose(f(x), g(x), rtol=4e-16, atol=0), f.__name__
    for f, g in ((vm.sin, np.sin), (vm.cos, np.cos)):  # near their zeros: absolute
        assert np.allclose(f(x), g(x), rtol=4e-16, atol=2e-16), f.__name__
    y = np.abs(x) + 1e-3
    for f, g in ((vm.ln, np.log), (vm.sqrt, np.sqrt), (vm.log10, np.log10)):
        assert np.allclose(f(y), g(y), rtol=4e-16, atol=0), f.__name__
    assert np.allclose(vm.atan2(x, x[::-1]), np.arctan2(x, x[::-1]), rtol=4e-16)
    assert np.allclose(vm.exp(x.astype(np.float32)), np.exp(x.astype(np.float32)), rtol=2e-7)
    z = x[:1000] / 10 + 1j * x[1000:2000] / 10
    if "z" in vm.exp.kinds:  # the complex elementary functions, where built
        assert np.allclose(vm.exp(z), np.exp(z), rtol=1e-15)
    assert np.allclose(vm.abs(z), np.abs(z), rtol=2e-16)
    s, c = vm.sincos(x)
    assert np.array_equal(s, vm.sin(x)) and np.array_equal(c, vm.cos(x))


def test_shapes_types_and_out():
    x = np.linspace(0.1, 2, 24).reshape(4, 6)
    assert vm.exp(x).shape == (4, 6)
    assert np.array_equal(vm.exp(x.T), vm.exp(x).T)  # non-contiguous input
    assert vm.exp(np.arange(5)).dtype == np.float64  # integers in double
    assert vm.exp(x.astype(np.float32)).dtype == np.float32
    assert vm.exp(np.array([])).shape == (0,)
    assert vm.exp(1.0) == np.exp(1.0) and vm.exp(1.0).shape == ()
    out = np.empty((4, 6))
    assert vm.exp(x, out=out) is out and np.array_equal(out, vm.exp(x))
    strided = np.empty((4, 12))[:, ::2]
    assert vm.exp(x, out=strided) is strided and np.array_equal(strided, vm.exp(x))
    vm.exp(x, out=x)  # in place
    assert np.array_equal(x, out)
    with pytest.raises(TypeError):
        vm.exp(x, out=np.empty((4, 6), np.float32))
    with pytest.raises(ValueError):
        vm.exp(x, out=np.empty(24))
    with pytest.raises(TypeError):
        vm.exp(x, x)
    with pytest.raises(ValueError, match="accuracy"):
        vm.exp(x, accuracy="best")
    with pytest.raises(TypeError, match="no form"):
        vm.atan2(np.ones(2, complex), np.ones(2, complex))
    for acc in ("la", "ep", "HA"):
        assert np.allclose(vm.exp(x, accuracy=acc), np.exp(x), rtol=1e-6)


def test_broadcasting():
    a = np.linspace(0.5, 2, 8)
    assert np.array_equal(vm.powx(a, 2.5), vm.pow(a, np.full(8, 2.5)))
    assert np.array_equal(vm.pow(a[:, None], a[None, :]),
                          vm.pow(*np.broadcast_arrays(a[:, None], a[None, :])))
    assert vm.add(a, 1.0).shape == (8,)
    with pytest.raises(ValueError, match="scalar"):
        vm.powx(a, a)


def test_errstate():
    zero = np.array([1.0, 0.0, 2.0])
    with pytest.warns(korb.vm.KorbWarning, match="ARQ_STATUS_SING"):
        r = vm.ln(zero)
    assert r[1] == -np.inf
    with vm.errstate(sing="raise"):
        with pytest.raises(korb.VmError) as e:
            vm.ln(zero)
    assert e.value.name == "ARQ_STATUS_SING" and e.value.status == 2
    assert isinstance(e.value, ArithmeticError) and "vdLn" in str(e.value)
    with vm.errstate(all="ignore"):
        with warnings.catch_warnings():
            warnings.simplefilter("error")
            vm.ln(zero)
            vm.ln(-zero - 1)
            vm.exp(np.array([1000.0]))
    with vm.errstate(domain="raise"):
        with pytest.raises(korb.VmError, match="ARQ_STATUS_ERRDOM"):
            vm.ln(np.array([-1.0]))
    with vm.errstate(over="raise"):
        with pytest.raises(korb.VmError, match="OVERFLOW"):
            vm.exp(np.array([1000.0]))
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        vm.exp(np.array([-1000.0]))  # underflow is ignored by default
    with vm.errstate(under="raise"):
        with pytest.raises(korb.VmError, match="UNDERFLOW"):
            vm.exp(np.array([-1000.0]))
    assert vm.geterr()["sing"] == "warn"
    with pytest.raises(ValueError):
        with vm.errstate(over="explode"):
            pass


def test_the_lock_is_released_while_computing():
    x = np.linspace(0, 1, 3 * 10**7)
    assert runs_beside(lambda: vm.exp(x, out=x)) < 0.5
