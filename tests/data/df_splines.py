#!/usr/bin/python3
"""Writes tests/data/df_splines_ref.inc: reference spline coefficients for the construction tests.

Two sources, named per case:
- "scipy": scipy.interpolate on partitions of moderate spacing (cell widths 0.1 to 1.1):
  CubicSpline (natural, not-a-knot, periodic, clamped and mixed ends), CubicHermiteSpline,
  Akima1DInterpolator, and make_interp_spline of degree 2 with knots between the points
  (Subbotin's quadratic) or at the points (the C1 quadratic), converted to powers of (x - left
  knot) by evaluating the derivatives at each cell's left knot.
- "exact": every spline solved in rational arithmetic (fractions) from its defining conditions,
  all coefficients of all cells as unknowns (values, continuity of the derivatives at the knots,
  the end conditions), then rounded once to double. These cover adversarial partitions, cell
  widths spread over ten orders of magnitude, where scipy itself strays by up to 1e-12.

The data come from a fixed linear congruential sequence, so the file does not depend on numpy's
generators. usage: /usr/bin/python3 tests/data/df_splines.py > tests/data/df_splines_ref.inc
"""
from fractions import Fraction as Q
from math import factorial

import numpy as np
from scipy.interpolate import (Akima1DInterpolator, CubicHermiteSpline, CubicSpline,
                               make_interp_spline)

STATE = [20240607]


def uniform():
    """Uniform on [0, 1) from a 48-bit LCG (the drand48 constants)."""
    STATE[0] = (STATE[0] * 0x5DEECE66D + 0xB) % 2**48
    return STATE[0] / 2**48


def partition(nx, adversarial):
    x, t = [], -1.0 if not adversarial else 0.0
    for _ in range(nx):
        x.append(t)
        t += 0.1 + uniform() if not adversarial else 10.0 ** (10.0 * uniform() - 5.0)
    return x


def values(nx):
    return [2.0 * uniform() - 1.0 for _ in range(nx)]


# ---- exact splines from their defining conditions ----

def solve(rows, rhs):
    """Gaussian elimination over the rationals; rows are dicts column -> coefficient."""
    n = len(rows)
    a = [[Q(0)] * n + [Q(0)] for _ in range(n)]
    for i, (row, r) in enumerate(zip(rows, rhs)):
        for col, v in row.items():
            a[i][col] += v
        a[i][n] = Q(r)
    for c in range(n):
        p = next(i for i in range(c, n) if a[i][c] != 0)
        a[c], a[p] = a[p], a[c]
        inv = 1 / a[c][c]
        for i in range(n):
            if i != c and a[i][c] != 0:
                f = a[i][c] * inv
                a[i] = [u - f * v for u, v in zip(a[i], a[c])]
    return [a[i][n] / a[i][i] for i in range(n)]


class Pieces:
    """Unknown coefficients c[j][p] of cells [t_j, t_{j+1}], powers of (z - t_j)."""

    def __init__(self, knots, order):
        self.t, self.k = knots, order
        self.rows, self.rhs = [], []

    def term(self, j, z, q):
        """The row of derivative q of cell j at z."""
        row = {}
        for p in range(q, self.k):
            row[j * self.k + p] = Q(factorial(p), factorial(p - q)) * (z - self.t[j]) ** (p - q)
        return row

    def equal(self, row, value):
        self.rows.append(row)
        self.rhs.append(value)

    def same(self, j0, j1, z0, z1, q):
        row = self.term(j0, z0, q)
        for col, v in self.term(j1, z1, q).items():
            row[col] = row.get(col, 0) - v
        self.equal(row, 0)

    def solve(self):
        c = solve(self.rows, self.rhs)
        assert len(self.rows) == len(c)
        return [[float(c[j * self.k + p]) for p in range(self.k)] for j in range(len(self.t) - 1)]


def end_conditions(s, bc, bcv, first, last, z0, z1):
    if bc == 2:
        s.equal(s.term(first, z0, 2), 0)
        s.equal(s.term(last, z1, 2), 0)
    elif bc & 8 and bc != 0x48:
        s.equal(s.term(first, z0, 2 if bc & 0x10 else 1), Q(bcv[0]))
        s.equal(s.term(last, z1, 2 if bc & 0x20 else 1), Q(bcv[1]))


def exact_natural(x, y, bc, bcv):
    x, y = [Q(v) for v in x], [Q(v) for v in y]
    n = len(x)
    s = Pieces(x, 4)
    for i in range(n - 1):
        s.equal(s.term(i, x[i], 0), y[i])
    s.equal(s.term(n - 2, x[n - 1], 0), y[n - 1])
    for i in range(1, n - 1):
        for q in range(3):
            s.same(i - 1, i, x[i], x[i], q)
    if bc == 1:
        s.same(0, 1, x[1], x[1], 3)
        s.same(n - 3, n - 2, x[n - 2], x[n - 2], 3)
    elif bc == 0x48:
        for q in (1, 2):
            s.same(0, n - 2, x[0], x[n - 1], q)
    end_conditions(s, bc, bcv, 0, n - 2, x[0], x[n - 1])
    return s.solve()


def exact_subbotin(x, y, bc, bcv):
    # The knots are the midpoints as doubles hold them, (x_{i-1} + x_i) / 2 rounded once.
    t = [x[0]] + [(x[i - 1] + x[i]) / 2 for i in range(1, len(x))] + [x[-1]]
    t = [Q(v) for v in t]
    x, y = [Q(v) for v in x], [Q(v) for v in y]
    n = len(x)
    s = Pieces(t, 3)
    for i in range(n):
        s.equal(s.term(i, x[i], 0), y[i])
    for j in range(1, n):
        for q in range(2):
            s.same(j - 1, j, t[j], t[j], q)
    if bc == 1:
        s.same(0, 1, t[1], t[1], 2)
        s.same(n - 2, n - 1, t[n - 1], t[n - 1], 2)
    elif bc == 0x48:
        for q in (1, 2):
            s.same(0, n - 1, x[0], x[n - 1], q)
    end_conditions(s, bc, bcv, 0, n - 1, x[0], x[n - 1])
    return s.solve()


def exact_quadratic(x, y, bc, bcv):
    x, y = [Q(v) for v in x], [Q(v) for v in y]
    n = len(x)
    s = Pieces(x, 3)
    for i in range(n - 1):
        s.equal(s.term(i, x[i], 0), y[i])
    s.equal(s.term(n - 2, x[n - 1], 0), y[n - 1])
    for i in range(1, n - 1):
        for q in range(2):
            s.same(i - 1, i, x[i], x[i], q)
    if bc == 0:
        # The first cell is the parabola through the first three points.
        s.equal(s.term(0, x[2], 0), y[2])
    else:
        s.equal(s.term(0, x[0], 2 if bc & 0x10 else 1), Q(bcv[0]))
    return s.solve()


def hermite(x, y, d):
    cells = []
    for j in range(len(x) - 1):
        h = x[j + 1] - x[j]
        slope = (y[j + 1] - y[j]) / h
        t = (d[j] + d[j + 1] - 2 * slope) / h
        cells.append([float(v) for v in (y[j], d[j], (slope - d[j]) / h - t, t / h)])
    return cells


def exact_local(x, y, kind, ic):
    x, y = [Q(v) for v in x], [Q(v) for v in y]
    n = len(x)
    m = [(y[i + 1] - y[i]) / (x[i + 1] - x[i]) for i in range(n - 1)]
    if kind == 'hermite':
        d = [Q(v) for v in ic]
    elif kind == 'bessel':
        def par(i, at):  # derivative at x[at] of the parabola through points i, i+1, i+2
            f = (m[i + 1] - m[i]) / (x[i + 2] - x[i])
            return m[i] + f * ((x[at] - x[i]) + (x[at] - x[i + 1]))
        d = [par(0, 0)] + [par(i - 1, i) for i in range(1, n - 1)] + [par(n - 3, n - 1)]
    else:  # akima
        e = [None, None] + m + [None, None]
        e[1] = 2 * e[2] - e[3]
        e[0] = 2 * e[1] - e[2]
        e[n + 1] = 2 * e[n] - e[n - 1]
        e[n + 2] = 2 * e[n + 1] - e[n]
        d = []
        for i in range(n):
            w1, w2 = abs(e[i + 3] - e[i + 2]), abs(e[i + 1] - e[i])
            d.append((e[i + 1] + e[i + 2]) / 2 if w1 + w2 == 0 else
                     (w1 * e[i + 1] + w2 * e[i + 2]) / (w1 + w2))
    return hermite(x, y, d)


# ---- scipy ----

def pp_cells(pp):
    return pp.c[::-1].T.tolist()


def bspline_cells(b, left, k):
    return [[float(b(t, nu=q)) / factorial(q) for q in range(k + 1)] for t in left]


def scipy_cells(name, x, y, bc, bcv, ic):
    x, y = np.array(x), np.array(y)
    ends = {1: 'not-a-knot', 2: 'natural', 0x48: 'periodic'}
    if name == 'natural':
        if bc in ends:
            return pp_cells(CubicSpline(x, y, bc_type=ends[bc]))
        left = (2 if bc & 0x10 else 1, bcv[0])
        right = (2 if bc & 0x20 else 1, bcv[1])
        return pp_cells(CubicSpline(x, y, bc_type=(left, right)))
    if name == 'hermite':
        return pp_cells(CubicHermiteSpline(x, y, np.array(ic)))
    if name == 'akima':
        return pp_cells(Akima1DInterpolator(x, y))
    mid = (x[1:] + x[:-1]) / 2
    if name == 'subbotin':
        left = np.r_[x[0], mid]
        if bc == 1:
            return bspline_cells(make_interp_spline(x, y, k=2), left, 2)
        t = np.r_[[x[0]] * 3, mid, [x[-1]] * 3]
        lq = (2, 0.0) if bc == 2 else (2 if bc & 0x10 else 1, bcv[0])
        rq = (2, 0.0) if bc == 2 else (2 if bc & 0x20 else 1, bcv[1])
        return bspline_cells(make_interp_spline(x, y, k=2, t=t, bc_type=([lq], [rq])), left, 2)
    # The C1 quadratic with knots at the points, its condition at the left end.
    t = np.r_[[x[0]] * 3, x[1:-1], [x[-1]] * 3]
    lq = (2 if bc & 0x10 else 1, bcv[0])
    return bspline_cells(make_interp_spline(x, y, k=2, t=t, bc_type=([lq], None)), x[:-1], 2)


ORDER_TYPE = {'quadratic': (3, 0), 'subbotin': (3, 1), 'natural': (4, 2), 'hermite': (4, 3),
              'bessel': (4, 4), 'akima': (4, 5)}
EXACT = {'natural': exact_natural, 'subbotin': exact_subbotin, 'quadratic': exact_quadratic}

# (spline, bc type, bc values)
CASES = [
    ('natural', 1, None), ('natural', 2, None), ('natural', 0x48, None),
    ('natural', 0x8, (0.75, -1.5)), ('natural', 0x18, (0.75, -1.5)),
    ('natural', 0x28, (0.75, -1.5)), ('natural', 0x38, (0.75, -1.5)),
    ('subbotin', 1, None), ('subbotin', 2, None), ('subbotin', 0x48, None),
    ('subbotin', 0x8, (0.75, -1.5)), ('subbotin', 0x38, (0.75, -1.5)),
    ('quadratic', 0x8, (0.75, 0.0)), ('quadratic', 0x18, (0.75, 0.0)), ('quadratic', 0, None),
    ('hermite', 0, None), ('bessel', 0, None), ('akima', 0, None),
]
NO_SCIPY = {('subbotin', 0x48), ('quadratic', 0), ('bessel', 0)}


def hexes(v):
    return ', '.join(float(u).hex() for u in v)


def main():
    out = ['// Generated by tests/data/df_splines.py: do not edit.',
           '// {source, order, type, bc type, {bc values}, nx, x, y, ic, coefficients}', '']
    for n, (nx, adversarial) in enumerate([(9, False), (16, False), (10, True), (13, True)]):
        for name, bc, bcv in CASES:
            x, y = partition(nx, adversarial), values(nx)
            if bc == 0x48:
                y[-1] = y[0]
            ic = values(nx) if name == 'hermite' else [0.0]
            bcv = bcv or (0.0, 0.0)
            if adversarial or (name, bc) in NO_SCIPY:
                source = 'exact'
                if name in EXACT:
                    cells = EXACT[name](x, y, bc, bcv)
                else:
                    cells = exact_local(x, y, name, ic)
            else:
                source = 'scipy'
                cells = scipy_cells(name, x, y, bc, bcv, ic)
            order, typ = ORDER_TYPE[name]
            flat = [c for cell in cells for c in cell]
            out.append(f'{{"{source} {name} bc {bc:#x} nx {nx}", {order}, {typ}, {bc:#x}, '
                       f'{{{hexes(bcv)}}}, {nx},')
            out.append(f' {{{hexes(x)}}},')
            out.append(f' {{{hexes(y)}}},')
            out.append(f' {{{hexes(ic)}}},')
            out.append(f' {{{hexes(flat)}}}}},')
    print('\n'.join(out))


if __name__ == '__main__':
    main()
