#!/usr/bin/python3
"""Writes tests/data/df_eval_ref.inc: references for the search, interpolation and integration
tests.

Each case is a piecewise polynomial given by its cells' coefficients (powers of the offset from
the cell's left knot), as korb stores it, and made by scipy:
- CubicSpline (natural ends) on an uneven partition, and (not-a-knot) on an even one made by
  np.linspace, which places its points as korb places those of a partition given by its ends;
- the linear spline through the points (make_interp_spline, k=1);
- a quadratic B-spline whose knots are the points halfway between the partition points, the
  layout of korb's spline type 1;
(the B-splines converted by PPoly.from_spline, and evaluated and integrated as that PPoly, so that
scipy and korb evaluate the same coefficients)
- a PPoly of order 6 with arbitrary coefficients, which korb takes from the caller.
For each case: sites inside, on every partition point and knot, at the ends and far outside;
np.searchsorted(x, site, side='right') at every site; scipy's value and derivatives 0 .. order-1
at every site (extrapolating beyond the ends); pairs of limits with scipy's integrals. Beside
scipy's numbers, the exact ones: the same polynomials evaluated and integrated in rational
arithmetic, with the site's offset from its knot exact, rounded once to double.

The data come from a fixed linear congruential sequence, so the file does not depend on numpy's
generators. usage: /usr/bin/python3 tests/data/df_eval.py > tests/data/df_eval_ref.inc
"""
from fractions import Fraction as Q
from math import factorial

import numpy as np
from scipy.interpolate import CubicSpline, PPoly, make_interp_spline

STATE = [20240611]


def uniform():
    """Uniform on [0, 1) from a 48-bit LCG (the drand48 constants)."""
    STATE[0] = (STATE[0] * 0x5DEECE66D + 0xB) % 2**48
    return STATE[0] / 2**48


def uneven(nx, start):
    x, t = [], start
    for _ in range(nx):
        x.append(t)
        t += 0.2 + 1.5 * uniform()
    return np.array(x)


def values(nx):
    return np.array([2.0 * uniform() - 1.0 for _ in range(nx)])


def midknots(x):
    return [x[0]] + [0.5 * x[i - 1] + 0.5 * x[i] for i in range(1, len(x))] + [x[-1]]


def sites_for(x, knots):
    """Random sites inside, every point and knot, the ends, and sites far outside."""
    a, b = x[0], x[-1]
    w = b - a
    s = [a + w * uniform() for _ in range(24)]
    s += list(x) + list(knots)
    s += [a - 0.3 * w, b + 0.3 * w, a - 50.0 * w, b + 50.0 * w, a - 1e-3, b + 1e-3]
    s += [np.nextafter(v, -np.inf) for v in x[1:]] + [np.nextafter(v, np.inf) for v in x[:-1]]
    return [float(v) for v in s]


def limits_for(x):
    a, b = x[0], x[-1]
    w = b - a
    pairs = [(a - 0.2 * w + 1.4 * w * uniform(), a - 0.2 * w + 1.4 * w * uniform())
             for _ in range(20)]
    pairs += [(a, b), (b, a), (x[1], x[-2]), (a - w, a - 0.5 * w), (b + 0.5 * w, b + w),
              (a - w, b + w), (x[2], x[2]), (x[1], np.nextafter(x[1], np.inf))]
    return [(float(l), float(r)) for l, r in pairs]


def cell_of(knots, s):
    """The polynomial cell of a site: the knots' cell, the end cells going on beyond the ends."""
    j = int(np.searchsorted(knots, s, side='right')) - 1
    return min(max(j, 0), len(knots) - 2)


def exact_derivative(cell, knot, s, q):
    t = Q(s) - Q(knot)
    return sum(Q(c) * (factorial(m) // factorial(m - q)) * t ** (m - q)
               for m, c in enumerate(cell) if m >= q)


def antiderivative(cell, t):
    return sum(Q(c) * t ** (m + 1) / (m + 1) for m, c in enumerate(cell))


def exact_integral(cells, knots, l, r):
    """Integral from l to r of the piecewise polynomial, exactly."""
    sign = 1
    if l > r:
        l, r, sign = r, l, -1
    jl, jr = cell_of(knots, l), cell_of(knots, r)
    total = Q(0)
    for j in range(jl, jr + 1):
        lo = Q(l) if j == jl else Q(knots[j])
        hi = Q(r) if j == jr else Q(knots[j + 1])
        k = Q(knots[j])
        total += antiderivative(cells[j], hi - k) - antiderivative(cells[j], lo - k)
    return sign * total


def ppoly_cells(pp):
    return [list(col) for col in pp.c[::-1].T]


def bspline_ppoly(spl):
    """The B-spline as a PPoly over its distinct knots (the repeated end knots make cells of no
    width, which are dropped)."""
    pp = PPoly.from_spline(spl)
    keep = pp.x[1:] > pp.x[:-1]
    return PPoly(pp.c[:, keep], np.r_[pp.x[:-1][keep], pp.x[-1]])


def hexes(v):
    return ', '.join(float(u).hex() for u in v)


def case(name, order, typ, xhint, x, knots, cells, evaluate, integrate):
    sites = sites_for(x, knots)
    counts = [int(np.searchsorted(x, s, side='right')) for s in sites]
    scipy_v, exact_v = [], []
    for s in sites:
        j = cell_of(knots, s)
        for q in range(order):
            scipy_v.append(float(evaluate(s, q)))
            exact_v.append(float(exact_derivative(cells[j], knots[j], s, q)))
    pairs = limits_for(x)
    scipy_i = [float(integrate(l, r)) for l, r in pairs]
    exact_i = [float(exact_integral(cells, knots, l, r)) for l, r in pairs]
    stored_x = [x[0], x[-1]] if xhint == 4 else list(x)
    flat = [c for cell in cells for c in cell]
    return '\n'.join([
        f'{{"{name}", {order}, {typ}, {xhint}, {len(x)},',
        f' {{{hexes(stored_x)}}},',
        f' {{{hexes(flat)}}},',
        f' {{{hexes(sites)}}},',
        f' {{{", ".join(str(c) for c in counts)}}},',
        f' {{{hexes(scipy_v)}}},',
        f' {{{hexes(exact_v)}}},',
        f' {{{hexes([l for l, _ in pairs])}}},',
        f' {{{hexes([r for _, r in pairs])}}},',
        f' {{{hexes(scipy_i)}}},',
        f' {{{hexes(exact_i)}}}}},'])


def pp_case(name, typ, xhint, x, pp):
    order = pp.c.shape[0]
    return case(name, order, typ, xhint, x, list(x), ppoly_cells(pp),
                lambda s, q: pp(s, nu=q, extrapolate=True),
                lambda l, r: pp.integrate(l, r, extrapolate=True))


def main():
    out = ['// Generated by tests/data/df_eval.py: do not edit.',
           '// {name, order, type, x hint, nx, x (two ends for x hint 4), coefficients, sites,',
           '//  np.searchsorted counts, scipy derivatives 0 .. order-1 per site, exact ones,',
           '//  left limits, right limits, scipy integrals, exact integrals}', '']

    x = uneven(11, -2.0)
    out.append(pp_case('natural cubic', 2, 0, x, CubicSpline(x, values(11), bc_type='natural')))

    x = np.linspace(-1.5, 2.25, 9)
    out.append(pp_case('not-a-knot cubic, even partition', 2, 4, x,
                       CubicSpline(x, values(9), bc_type='not-a-knot')))

    x = uneven(7, 0.5)
    out.append(pp_case('linear', 0, 0, x, bspline_ppoly(make_interp_spline(x, values(7), k=1))))

    x = uneven(8, -1.0)
    knots = midknots(list(x))
    t = np.r_[[x[0]] * 3, knots[1:-1], [x[-1]] * 3]
    pp = bspline_ppoly(make_interp_spline(x, values(8), k=2, t=t, bc_type=([(2, 0.0)], [(2, 0.0)])))
    assert list(pp.x) == knots
    out.append(case('quadratic, halfway knots', 3, 1, 0, x, knots, ppoly_cells(pp),
                    lambda s, q: pp(s, nu=q, extrapolate=True),
                    lambda l, r: pp.integrate(l, r, extrapolate=True)))

    x = uneven(6, 3.0)
    c = np.array([[2.0 * uniform() - 1.0 for _ in range(5)] for _ in range(6)])
    out.append(pp_case('order 6, given coefficients', 0, 2, x, PPoly(c, x)))
    print('\n'.join(out))


if __name__ == '__main__':
    main()
