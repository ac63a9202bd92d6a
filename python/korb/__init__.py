"""korb: vector mathematics, random numbers, summary statistics and splines over numpy arrays.

The package calls the public library libkorb through ctypes (see korb._lib for how it is found);
every call releases the interpreter lock while the library works.

    import numpy as np, korb
    s = korb.random.Stream('mrg32k3a', seed=42)
    x = s.gaussian(10**6)
    y = korb.vm.exp(x)
    print(korb.stats.describe(y).mean, korb.stats.quantile(x, [0.05, 0.95]))
"""
from ._lib import FitError, KorbError, RngError, StatsError, VmError, version
from . import fit, random, stats, vm

__version__ = version
__all__ = ["KorbError", "VmError", "RngError", "StatsError", "FitError", "random", "vm", "stats",
           "fit", "__version__"]
