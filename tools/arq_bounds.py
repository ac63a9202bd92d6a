#!/usr/bin/env python3
"""Writes the measured error bounds of the vector-math kernels into vecmath/functions.def.

Reads the output of one or more runs of korb_vm_accuracy (for example `make accuracy`: every
float for single precision, 10^8 points for double, and the default sample that the tests run)
and sets each built function's bound of each slot to the largest error any run found, rounded
up to four significant digits. A slot whose every result was correctly rounded (0 ulp) keeps the
bound 0 only if it had it; otherwise the measured figure is written, since a sampled run cannot
prove correct rounding by itself.

usage: tools/arq_bounds.py RUN_OUTPUT... [--dry-run]
"""
import math
import re
import sys

DEF = "vecmath/functions.def"
SLOTS = ("LA", "HA", "EP")


def round_up(x):
    if x == 0:
        return "0"
    digits = 4 - 1 - math.floor(math.log10(x))
    scale = 10.0 ** digits
    value = math.ceil(x * scale - 1e-9) / scale
    return ("%.4g" % value) if value < 1e5 else ("%.4g" % value).replace("e+0", "e")


def read_runs(paths):
    worst = {}
    line = re.compile(r"^(\w+)\s+(LA|HA|EP)\s+largest ([0-9.eE+-]+) ulp")
    for path in paths:
        for text in open(path):
            m = line.match(text)
            if m:
                key = (m.group(1), SLOTS.index(m.group(2)))
                worst[key] = max(worst.get(key, 0.0), float(m.group(3)))
    return worst


def main():
    paths = [a for a in sys.argv[1:] if a != "--dry-run"]
    if not paths:
        sys.exit(__doc__)
    worst = read_runs(paths)
    text = open(DEF).read()
    for func in sorted({f for f, _ in worst}):
        p, name = func[0], func[1:]
        pattern = (r"(KORB_ARQ_FUNCTION\(%s, %s, \w+, \w+, \w+, 1, \([^)]*\), )\(([^)]*)\)"
                   % (p, name))
        m = re.search(pattern, text)
        if m is None:
            sys.exit("%s: not a built function in %s" % (func, DEF))
        old = [b.strip() for b in m.group(2).split(",")]
        new = []
        for slot in range(3):
            measured = worst.get((func, slot), 0.0)
            new.append("0" if measured == 0 and float(old[slot]) == 0 else round_up(measured))
        print("%-10s %-30s -> %s" % (func, ", ".join(old), ", ".join(new)))
        text = text[:m.start()] + m.group(1) + "(%s)" % ", ".join(new) + text[m.end():]
    if "--dry-run" not in sys.argv:
        open(DEF, "w").write(text)


if __name__ == "__main__":
    main()
