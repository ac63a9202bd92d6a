import numpy as np
import pytest
from scipy import stats as sps

from korb import stats


@pytest.fixture(scope="module")
def data():
    rng = np.random.default_rng(5)
    return rng.normal(size=(2000, 3)) * [1.0, 10.0, 0.1] + [5.0, -2.0, 1e6]


def test_describe_against_scipy(data):
    ref = sps.describe(data, axis=0)
    for x, axis in ((data, 0), (data.T, 1), (np.asfortranarray(data), 0),
                    (np.asfortranarray(data.T), 1), (data[::2], 0)):
        d = stats.describe(x, axis=axis)
        n = x.shape[axis]
        r = ref if n == 2000 else sps.describe(x, axis=axis)
        assert d.nobs == n
        assert np.array_equal(d.min, r.minmax[0]) and np.array_equal(d.max, r.minmax[1])
        assert np.allclose(d.mean, r.mean, rtol=1e-14)
        assert np.allclose(d.variance, r.variance, rtol=1e-12)
        # The third variable lies 10^7 standard deviations from zero, where scipy's moments
        # (about a rounded mean) lose digits: a looser bound there.
        for got, want in ((d.skewness, r.skewness), (d.kurtosis, r.kurtosis)):
            assert np.allclose(got[:2], want[:2], rtol=1e-9, atol=1e-12)
            assert np.allclose(got, want, rtol=1e-6)
        assert np.allclose(d.variation, np.sqrt(r.variance) / r.mean, rtol=1e-12)
    one = stats.describe(data[:, 1])
    assert np.isscalar(one.mean) or one.mean.shape == ()
    assert np.isclose(one.mean, ref.mean[1], rtol=1e-14)


def test_describe_weights_and_covariance(data):
    w = np.random.default_rng(6).uniform(0.5, 2, data.shape[0])
    d = stats.describe(data, weights=w, cov=True)
    mean = np.average(data, axis=0, weights=w)
    W, W2 = w.sum(), (w * w).sum()
    var = (w[:, None] * (data - mean) ** 2).sum(axis=0) / (W - W2 / W)
    assert np.allclose(d.mean, mean, rtol=1e-14) and np.allclose(d.variance, var, rtol=1e-12)
    assert np.allclose(d.cov, np.cov(data.T, aweights=w), rtol=1e-12)
    sd = np.sqrt(np.diag(d.cov))
    assert np.allclose(d.cor, d.cov / np.outer(sd, sd), rtol=1e-12)
    plain = stats.describe(data, cov=True)
    assert np.allclose(plain.cor, np.corrcoef(data.T), rtol=1e-12, atol=1e-15)
    assert plain.cov.shape == (3, 3) and stats.describe(data).cov is None
    f = stats.describe(data.astype(np.float32))
    assert f.mean.dtype == np.float32 and np.allclose(f.mean, plain.mean, rtol=1e-5)


def test_quantile_and_min_max(data):
    q = [0.0, 0.01, 0.5, 0.99, 1.0]
    assert np.array_equal(stats.quantile(data, q), np.quantile(data, q, axis=0))
    assert np.array_equal(stats.quantile(data.T, q, axis=1), np.quantile(data.T, q, axis=1))
    assert stats.quantile(data[:, 0], 0.5) == np.quantile(data[:, 0], 0.5)
    assert stats.quantile(data[:, 0], [[0.1, 0.2]]).shape == (1, 2)
    lo, hi = stats.min_max(data)
    assert np.array_equal(lo, data.min(axis=0)) and np.array_equal(hi, data.max(axis=0))


def test_streaming_quantiles():
    rng = np.random.default_rng(9)
    x = rng.standard_exponential(200000)
    q = np.array([0.0, 0.1, 0.5, 0.9, 1.0])
    eps = 1e-3
    for method in ("zw", "gk"):
        sq = stats.StreamingQuantiles(q, eps, method=method)
        assert np.all(np.isnan(sq.quantiles))
        for chunk in np.array_split(x, 37):
            est = sq.update(chunk)
        assert sq.nobs == x.size
        srt = np.sort(x)
        for v, qq in zip(est, q):
            rank = np.searchsorted(srt, v) + 1
            assert abs(rank - ((x.size - 1) * qq + 1)) <= eps * x.size, (method, qq)
        assert est[0] == x.min() and est[-1] == x.max()
        sq.close()
        with pytest.raises(ValueError, match="closed"):
            sq.update(x[:10])
    two = stats.StreamingQuantiles([0.5], 0.01)
    two.update(rng.normal(size=(1000, 2)))
    assert two.quantiles.shape == (1, 2)
    with pytest.raises(ValueError):
        two.update(rng.normal(size=(10, 3)))


def test_bad_arguments():
    with pytest.raises(ValueError):
        stats.describe(np.zeros((2, 2, 2)))
    with pytest.raises(ValueError):
        stats.describe(np.zeros((0, 2)))
    with pytest.raises(ValueError):
        stats.describe(np.zeros((5, 2)), axis=2)
    with pytest.raises(ValueError):
        stats.describe(np.zeros((5, 2)), weights=np.ones(4))
    with pytest.raises(ValueError):
        stats.quantile(np.zeros(5), [0.5, 1.5])
    with pytest.raises(ValueError):
        stats.quantile(np.zeros(5), [])
    with pytest.raises(ValueError):
        stats.StreamingQuantiles([0.5], 0.0)
    with pytest.raises(ValueError):
        stats.StreamingQuantiles([0.5], 0.1, method="exact")
