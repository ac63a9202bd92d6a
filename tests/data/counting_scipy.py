#!/usr/bin/python3
"""Writes tests/data/counting_ref.inc: the distribution functions the binomial, Poisson,
hypergeometric and negative-binomial goodness-of-fit tests hold the kernels to, from
scipy.stats.

For each case (kernel, method, parameters) the integers at which its cells end and scipy's
P(X <= k) there. The cells cover the support from the value below which the probability is
under 1e-13 to the value above which it is under 1e-13 (the rest goes into the end cells);
neighbouring values are joined until a cell holds at least 1/2000 of the probability, so that a
case has at most about 2000 cells. The test merges cells further until each expects at least 5
variates at its sample size.

A PoissonV case cycles through `period` means (low + (high - low) (j + 1/2) / period for
variate i, j = i mod period); its reference is the mixture of their Poisson distributions.

usage: /usr/bin/python3 tests/data/counting_scipy.py > tests/data/counting_ref.inc
"""
import numpy as np
from scipy import stats

# (name, list entry, method id, parameters in argument order)
CASES = [
    ("binomial (10, 0.3)", "Binomial", 0, (10, 0.3)),
    ("binomial (1000, 0.4)", "Binomial", 0, (1000, 0.4)),
    ("binomial n p just below 30", "Binomial", 0, (1000, 0.02999)),
    ("binomial n p 30", "Binomial", 0, (1000, 0.03)),
    ("binomial n p just below 30 flipped", "Binomial", 0, (100, 0.7001)),
    ("binomial n p 30 flipped", "Binomial", 0, (100, 0.7)),
    ("binomial p 1e-9", "Binomial", 0, (2147483647, 1e-9)),
    ("binomial p 1 - 1e-9", "Binomial", 0, (2147483647, 1 - 1e-9)),
    ("binomial 2^31 - 1, 0.5", "Binomial", 0, (2147483647, 0.5)),
    ("binomial (50, 0.5)", "Binomial", 0, (50, 0.5)),
    ("poisson 1e-6", "Poisson", 0, (1e-6,)),
    ("poisson 0.5", "Poisson", 0, (0.5,)),
    ("poisson 20", "Poisson", 0, (20.0,)),
    ("poisson 26.99", "Poisson", 0, (26.99,)),
    ("poisson 27", "Poisson", 0, (27.0,)),
    ("poisson 1000", "Poisson", 0, (1000.0,)),
    ("poisson 1e7", "Poisson", 0, (1e7,)),
    ("poisson normal 1e-6", "Poisson", 1, (1e-6,)),
    ("poisson normal 0.5", "Poisson", 1, (0.5,)),
    ("poisson normal 9.99", "Poisson", 1, (9.99,)),
    ("poisson normal 10", "Poisson", 1, (10.0,)),
    ("poisson normal 20", "Poisson", 1, (20.0,)),
    ("poisson normal 1000", "Poisson", 1, (1000.0,)),
    ("poisson normal 1e7", "Poisson", 1, (1e7,)),
    ("poisson-v means in [0, 50]", "PoissonV", 0, (1000, 0.0, 50.0)),
    ("poisson-v means in [9, 11]", "PoissonV", 0, (100, 9.0, 11.0)),
    ("hypergeometric (1000, 100, 500)", "Hypergeometric", 0, (1000, 100, 500)),
    ("hypergeometric (50, 5, 20)", "Hypergeometric", 0, (50, 5, 20)),
    ("hypergeometric (200, 150, 170)", "Hypergeometric", 0, (200, 150, 170)),
    ("hypergeometric (100, 30, 40)", "Hypergeometric", 0, (100, 30, 40)),
    ("hypergeometric l 1", "Hypergeometric", 0, (1, 1, 1)),
    ("hypergeometric s 0", "Hypergeometric", 0, (100, 0, 40)),
    ("hypergeometric s l", "Hypergeometric", 0, (100, 100, 40)),
    ("hypergeometric m 0", "Hypergeometric", 0, (100, 30, 0)),
    ("hypergeometric m l", "Hypergeometric", 0, (100, 30, 100)),
    ("hypergeometric large lot", "Hypergeometric", 0, (2000000000, 1000000000, 900000000)),
    ("negbinomial (3, 0.3)", "Negbinomial", 0, (3.0, 0.3)),
    ("negbinomial (100, 0.9)", "Negbinomial", 0, (100.0, 0.9)),
    ("negbinomial a 1e-3", "Negbinomial", 0, (1e-3, 0.5)),
    ("negbinomial a 1e-3, small p", "Negbinomial", 0, (1e-3, 1e-4)),
    ("negbinomial a 1e4", "Negbinomial", 0, (1e4, 0.5)),
    ("negbinomial mean below 1", "Negbinomial", 0, (2.0, 0.7)),
]

TAIL = 1e-13
CELL = 1.0 / 2000


def distribution(kernel, p):
    if kernel == "Binomial":
        return stats.binom(int(p[0]), p[1])
    if kernel == "Poisson":
        return stats.poisson(p[0])
    if kernel == "Hypergeometric":
        l, s, m = (int(x) for x in p)
        return stats.hypergeom(l, m, s)
    if kernel == "Negbinomial":
        return stats.nbinom(p[0], p[1])
    raise ValueError(kernel)


def cdf_function(kernel, p):
    """P(X <= k) for an array of integers k, and the support's ends to cover."""
    if kernel == "PoissonV":
        period, low, high = int(p[0]), p[1], p[2]
        means = low + (high - low) * (np.arange(period) + 0.5) / period
        lo = int(stats.poisson(means.min()).ppf(TAIL))
        hi = int(stats.poisson(means.max()).isf(TAIL))
        return (lambda k: np.mean([stats.poisson(m).cdf(k) for m in means], axis=0)), lo, hi
    d = distribution(kernel, p)
    lo, hi = d.support()
    lo = max(lo, int(d.ppf(TAIL)) - 1)
    hi = min(hi, int(d.isf(TAIL)) + 1)
    return d.cdf, lo, hi


def edges(kernel, p):
    cdf, lo, hi = cdf_function(kernel, p)
    ks = np.arange(lo, hi + 1, dtype=np.float64)
    below = cdf(ks)
    at, probabilities = [], []
    last = 0.0
    for k, b in zip(ks, below):
        if b - last >= CELL and b < 1.0:
            at.append(int(k))
            probabilities.append(float(b))
            last = b
    return at, probabilities


def main():
    print("// Written by tests/data/counting_scipy.py from scipy " + __import__("scipy").__version__
          + "; do not edit.")
    print("// {name, list entry, method, parameters, cell ends, P(X <= end)}")
    for name, kernel, method, p in CASES:
        at, below = edges(kernel, p)
        params = ", ".join(repr(float(x)) for x in p)
        print('{"%s", "%s", %d, {%s},' % (name, kernel, method, params))
        print("  {" + ", ".join(str(k) for k in at) + "},")
        print("  {" + ", ".join(repr(b) for b in below) + "}},")


main()
