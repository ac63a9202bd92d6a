import numpy as np
import pytest
from scipy import interpolate as si

import korb
from korb import fit


@pytest.fixture(scope="module")
def points():
    rng = np.random.default_rng(2)
    x = np.cumsum(rng.uniform(0.2, 1.0, 40))
    return x, np.sin(x) + 0.1 * x


def sites(x):
    return np.linspace(x[0] - 0.5, x[-1] + 0.5, 1001)


@pytest.mark.parametrize("bc,scipy_bc", [(None, "natural"), ("not-a-knot", "not-a-knot"),
                                         ("clamped", "clamped"),
                                         (((1, 0.5), (2, -1.0)), ((1, 0.5), (2, -1.0)))])
def test_cubic_against_scipy(points, bc, scipy_bc):
    x, y = points
    s, ref = fit.Spline(x, y, "natural", bc=bc), si.CubicSpline(x, y, bc_type=scipy_bc)
    t = sites(x)
    for nu in range(4):
        assert np.allclose(s(t, nu=nu), ref(t, nu=nu), rtol=1e-9, atol=1e-9), nu
    assert np.isclose(s.integrate(x[0], x[-1]), ref.integrate(x[0], x[-1]), rtol=1e-12)
    a, b = np.array([1.0, 5.0, 9.0]), np.array([3.0, 2.0, 20.0])
    assert np.allclose(s.integrate(a, b), [ref.integrate(p, q) for p, q in zip(a, b)],
                       rtol=1e-11)


def test_periodic_hermite_akima_linear(points):
    x, y = points
    yp = np.sin(2 * np.pi * (x - x[0]) / (x[-1] - x[0]))
    yp[-1] = yp[0]
    s = fit.Spline(x, yp, "natural", bc="periodic")
    ref = si.CubicSpline(x, yp, bc_type="periodic")
    assert np.allclose(s(sites(x)), ref(sites(x)), atol=1e-9)
    d = np.cos(x)
    h = fit.Spline(x, y, "hermite", derivatives=d)
    assert np.allclose(h(sites(x)), si.CubicHermiteSpline(x, y, d)(sites(x)), atol=1e-9)
    inside = np.linspace(x[0], x[-1], 777)
    assert np.allclose(fit.Spline(x, y, "akima")(inside), si.Akima1DInterpolator(x, y)(inside),
                       atol=1e-9)
    assert np.allclose(fit.Spline(x, y, "linear")(inside), np.interp(inside, x, y), atol=1e-12)
    for kind in ("quadratic", "subbotin", "bessel"):
        s = fit.Spline(x, y, kind)
        assert np.allclose(s(x), y, atol=1e-9), kind


def test_several_functions_and_cells(points):
    x, y = points
    ys = np.stack([y, 2 * y, np.cos(x)])
    s = fit.Spline(x, ys, "akima")
    t = sites(x).reshape(7, 143)
    v = s(t)
    assert v.shape == (3, 7, 143)
    for i in range(3):
        assert np.array_equal(v[i], fit.Spline(x, ys[i], "akima")(t))
    c = s.cells(t)
    assert c.dtype == np.int64 and np.array_equal(c, np.searchsorted(x, t, side="right"))
    assert s.integrate([0.0, 1.0], 2.0).shape == (3, 2)
    f32 = fit.Spline(x.astype(np.float32), y.astype(np.float32))
    assert f32(x.astype(np.float32)).dtype == np.float32


def test_bad_arguments(points):
    x, y = points
    with pytest.raises(korb.FitError) as e:
        fit.Spline(x[::-1], y)
    assert e.value.name == "DF_ERROR_BAD_PARTITION" and e.value.status == -1023
    with pytest.raises(korb.FitError, match="TOO_FEW_POINTS|BAD_NX"):
        fit.Spline(x[:1], y[:1])
    with pytest.raises(korb.FitError):
        fit.Spline(x, np.where(np.arange(40) == 0, 5.0, y), bc="periodic")
    with pytest.raises(ValueError):
        fit.Spline(x, y, "cubic")
    with pytest.raises(ValueError):
        fit.Spline(x, y[:-1])
    with pytest.raises(ValueError):
        fit.Spline(x, y, "hermite")
    with pytest.raises(ValueError):
        fit.Spline(x, y, bc="loose")
    s = fit.Spline(x, y, "linear")
    with pytest.raises(korb.FitError, match="NDORDER"):
        s(x, nu=5)
    with pytest.raises(ValueError):
        s(x, nu=-1)
    assert s([]).shape == (0,)
