import ctypes
import pickle

import numpy as np
import pytest
from scipy import stats as sps

import korb
from korb import random as kr
from conftest import c_delete, c_stream, ptr, runs_beside

MT19937, MRG32K3A = kr.GENERATORS["mt19937"], kr.GENERATORS["mrg32k3a"]


def c_draw(clib, dist, p, method, n, values, out_dtype, shape):
    """The same draw through the C entry point on a fresh MT19937 stream of seed 5."""
    s = c_stream(clib, MT19937, 5)
    r = np.empty(shape, out_dtype)
    f = getattr(clib, f"bix{p}Rng{dist.entry['kernel']}")
    real = ctypes.c_float if p == "s" else ctypes.c_double
    args = []
    for (name, kind, length, key, default), v in zip(dist.params, values):
        if kind == "int":
            args.append(ctypes.c_int(v))
        elif kind == "real":
            args.append(real(v))
        else:
            args.append(ptr(v))
    try:
        assert f(method, s, n, ptr(r), *args) == 0
    finally:
        c_delete(clib, s)
    return r


@pytest.mark.parametrize("name", sorted(kr.DISTRIBUTIONS))
def test_every_distribution_gives_the_c_bits(clib, name):
    """Each distribution of the list, in each precision and method, with its default
    parameters: the package's variates are the C entry point's on the same stream."""
    dist = kr.DISTRIBUTIONS[name]
    n = 1001
    for letter in dist.entry["precisions"]:
        dtype = {"d": np.float64, "s": np.float32, "i": np.int32, "u": np.uint32,
                 "U": np.uint64, "w": None}[letter]
        p = "d" if letter == "d" else "s" if letter == "s" else "i"
        for method, mid in dist.methods.items():
            s = kr.Stream("mt19937", 5)
            kwargs = {} if dtype is None or letter in "uUw" else {"dtype": dtype}
            got = getattr(s, name)(n, method=method, **kwargs)
            real = np.float32 if p == "s" else np.float64
            values = []
            for (pname, kind, length, key, default) in dist.params:
                if kind == "array":
                    values.append(dist.default_array(length, values, default,
                                                     dist.length(length, values, n)).astype(real))
                else:
                    values.append(int(default) if kind == "int" else default)
            want = c_draw(clib, dist, p, mid, n, values, got.dtype, got.shape)
            assert got.tobytes() == want.tobytes(), (name, letter, method)


def test_stream_arguments():
    with pytest.raises(ValueError, match="unknown generator"):
        kr.Stream("nope")
    with pytest.raises(ValueError):
        kr.Stream("mt19937", seed=-1)
    with pytest.raises(ValueError):
        kr.Stream("mt2203", member=-1)
    with pytest.raises(korb.RngError) as e:
        kr.Stream("mt2203", member=6024)
    assert e.value.name == "BIX_ERROR_INVALID_BRNG" and e.value.status == -1000
    with pytest.raises(korb.RngError):
        kr.Stream("mt19937", member=3)
    # A seed above 32 bits is its words; a sequence of words is the same seed.
    a = kr.Stream("mt19937", seed=(7 << 32) | 3).uniform(10)
    b = kr.Stream("mt19937", seed=[3, 7]).uniform(10)
    assert np.array_equal(a, b)
    assert not np.array_equal(a, kr.Stream("mt19937", seed=3).uniform(10))


def test_every_generator_draws():
    for name in kr.GENERATORS:
        s = kr.Stream(name, seed=11)
        assert s.brng == name
        try:
            x = s.uniform(1000)
        except korb.RngError as e:
            assert name == "nondeterm" and e.name == "BIX_ERROR_NONDETERM_NOT_SUPPORTED"
            continue
        assert x.min() >= 0 and x.max() < 1 and 0.4 < x.mean() < 0.6, name


def test_distribution_arguments():
    s = kr.Stream("mrg32k3a", 1)
    assert s.gaussian(0).shape == (0,)
    with pytest.raises(ValueError):
        s.gaussian(-1)
    with pytest.raises(TypeError):
        s.gaussian(2.5)
    for bad in (dict(sigma=0.0), dict(sigma=-1.0), dict(mean=np.nan), dict(sigma=np.inf),
                dict(mean=1e308, sigma=1e307)):
        with pytest.raises(korb.RngError) as e:
            s.gaussian(10, **bad)
        assert e.value.name == "BIX_ERROR_BADARGS"
    with pytest.raises(ValueError, match="unknown method"):
        s.gaussian(10, method="polar")
    with pytest.raises(TypeError, match="dtype"):
        s.gaussian(10, dtype=np.int32)
    with pytest.raises(TypeError):
        s.geometric(10, dtype=np.float64)
    with pytest.raises(korb.RngError):
        s.uniform(10, a=1.0, b=1.0)
    with pytest.raises(korb.RngError):
        s.uniform_int(10, 5, 2**40)
    with pytest.raises(korb.RngError) as e:
        s.bits64(10)  # MRG32K3A has no 64-bit words
    assert e.value.name == "BIX_ERROR_BRNG_NOT_SUPPORTED"
    # Positional parameters in the list's order, and the method by its id.
    a = kr.Stream("mrg32k3a", 3).gaussian(100, 2.0, 3.0, method=2)
    b = kr.Stream("mrg32k3a", 3).gaussian(100, mean=2.0, sigma=3.0, method="icdf")
    assert np.array_equal(a, b)


def test_out_and_dtypes():
    s, t = kr.Stream("sfmt19937", 9), kr.Stream("sfmt19937", 9)
    out = np.zeros(500, np.float32)
    r = s.exponential(500, beta=2.0, dtype=np.float32, out=out)
    assert r is out and out.min() >= 0
    assert np.array_equal(out, t.exponential(500, beta=2.0, dtype=np.float32))
    strided = np.zeros(1000)[::2]
    s.uniform(500, out=strided)
    assert strided.min() >= 0 and strided.max() < 1
    assert np.array_equal(strided, t.uniform(500))
    with pytest.raises(ValueError):
        s.uniform(10, out=np.zeros(11))
    single = np.zeros(10, np.float32)
    assert s.uniform(10, out=single) is single  # the precision of out
    with pytest.raises(TypeError):
        s.uniform(10, out=np.zeros(10, np.float16))
    with pytest.raises(TypeError):
        s.uniform(10, dtype=np.float64, out=np.zeros(10, np.float32))
    read_only = np.zeros(10)
    read_only.setflags(write=False)
    with pytest.raises(ValueError, match="read-only"):
        s.uniform(10, out=read_only)


def test_integers_and_bits():
    s = kr.Stream("mcg59", 4)
    k = s.integers(10000, -3, 4)
    assert k.dtype == np.int32 and k.min() == -3 and k.max() == 3
    assert s.integers(100, 5).max() <= 4
    w = s.bits(10)
    assert w.dtype == np.uint64 and w.max() < 2**59  # MCG59's 59-bit words
    assert kr.Stream("wh", 1).bits(3).shape == (3, 4)  # 16-byte words
    assert s.bits64(4).dtype == np.uint64 and s.bits32(4).dtype == np.uint32


def test_gaussian_mv():
    cov = np.array([[4.0, 1.2], [1.2, 1.0]])
    t = np.linalg.cholesky(cov)
    s = kr.Stream("mrg32k3a", 8)
    x = s.gaussian_mv(200000, mean=[1.0, -2.0], factor=t)
    assert x.shape == (200000, 2)
    assert np.allclose(x.mean(axis=0), [1, -2], atol=0.02)
    assert np.allclose(np.cov(x.T), cov, atol=0.05)
    with pytest.raises(ValueError, match="needs 4"):
        s.gaussian_mv(10, mean=[1.0, 2.0], factor=[1.0, 0.0, 1.0])
    packed = s.gaussian_mv(10, dimen=2, mstorage=1, factor=[2.0, 0.6, 0.8])
    assert packed.shape == (10, 2)


@pytest.mark.parametrize("name,params,cdf", [
    ("gaussian", dict(mean=1.0, sigma=2.0), sps.norm(1, 2).cdf),
    ("exponential", dict(a=0.5, beta=2.0), sps.expon(0.5, 2).cdf),
    ("gamma", dict(alpha=0.7, a=0.0, beta=3.0), sps.gamma(0.7, 0, 3).cdf),
    ("beta", dict(p=2.0, q=3.0, a=0.0, beta=1.0), sps.beta(2, 3).cdf),
    ("weibull", dict(alpha=1.5, a=0.0, beta=2.0), sps.weibull_min(1.5, 0, 2).cdf),
])
def test_goodness_of_fit(name, params, cdf):
    x = getattr(kr.Stream("mt2203", 21, member=5), name)(50000, **params)
    assert sps.kstest(x, cdf).pvalue > 1e-4


def test_skip_ahead_copy_and_leapfrog():
    s = kr.Stream("mrg32k3a", 12)
    whole = s.copy().gaussian(3000, method="icdf")
    tail = s.copy().skip_ahead(1000).gaussian(2000, method="icdf")
    assert np.array_equal(whole[1000:], tail)
    every = kr.Stream("mcg31m1", 3).uniform(300)
    third = kr.Stream("mcg31m1", 3).leapfrog(1, 3).uniform(100)
    assert np.array_equal(every[1::3], third)
    with pytest.raises(ValueError):
        s.leapfrog(3, 3)
    with pytest.raises(korb.RngError) as e:
        s.leapfrog(0, 2)
    assert e.value.name == "BIX_ERROR_LEAPFROG_UNSUPPORTED"
    with pytest.raises(ValueError):
        s.skip_ahead(-1)
    c = s.copy()
    assert np.array_equal(c.uniform(10), s.uniform(10))


def test_spawn():
    s = kr.Stream("mrg32k3a", 2)
    ref = s.copy()
    kids = s.spawn(3, block=1000)
    for j, kid in enumerate(kids):
        assert np.array_equal(kid.uniform(50), ref.copy().skip_ahead(j * 1000).uniform(50))
    # The parent moved past the children's blocks; a second spawn gives new blocks.
    assert np.array_equal(s.uniform(5), ref.copy().skip_ahead(3000).uniform(5))
    members = kr.Stream("mt2203", 2, member=10).spawn(2)
    assert [m.member for m in members] == [11, 12]
    assert not np.array_equal(members[0].uniform(10), members[1].uniform(10))
    with pytest.raises(korb.RngError) as e:
        kr.Stream("mt19937").spawn(2)
    assert e.value.name == "BIX_ERROR_SKIPAHEAD_UNSUPPORTED"
    with pytest.raises(ValueError):
        kr.Stream("wh", member=272).spawn(1)


def test_save_load_pickle(tmp_path):
    for name in ("mt19937", "sobol", "wh"):
        s = kr.Stream(name, 30)
        s.uniform(17)
        path = tmp_path / f"{name}.img"
        s.save(path)
        clone = pickle.loads(pickle.dumps(s))
        loaded = kr.Stream.load(path)
        frombytes = kr.Stream.from_bytes(s.to_bytes())
        want = s.uniform(100)
        for other in (clone, loaded, frombytes):
            assert np.array_equal(other.uniform(100), want)
    image = kr.Stream("mt19937").to_bytes()
    for bad in (image[:-1], image[:19], b"x" * len(image), b""):
        with pytest.raises(korb.RngError):
            kr.Stream.from_bytes(bad)
    with pytest.raises(korb.RngError) as e:
        kr.Stream.load(tmp_path / "missing")
    assert e.value.name == "BIX_ERROR_FILE_OPEN"


def test_closed_stream():
    s = kr.Stream()
    s.close()
    s.close()
    with pytest.raises(ValueError, match="closed"):
        s.uniform(3)
    with kr.Stream() as t:
        t.uniform(2)
    with pytest.raises(ValueError):
        t.uniform(2)


def test_the_lock_is_released_while_drawing():
    s = kr.Stream("mt19937", 1)
    out = np.empty(2 * 10**7)
    assert runs_beside(lambda: s.gaussian(out.size, out=out)) < 0.5
