#!/usr/bin/env python3
"""Measures the cost weights of the vector-math kernels and writes them into vecmath/functions.def.

A function's weight for a slot is the time per element of that slot's kernel on 1000 elements in
cache, divided by the time per element of copying the same 1000 doubles: a unit-free figure that
a dispatching layer can compare across functions. Medians of repeated runs of korb_bench.

usage: tools/arq_costs.py [build/bin/korb_bench] [--dry-run]
"""
import json
import re
import subprocess
import sys

DEF = "vecmath/functions.def"


def measure(bench):
    out = subprocess.run(
        [bench, "--benchmark_filter=BM_vm/.*/(slot[0-2]|copy)/1000$",
         "--benchmark_repetitions=7", "--benchmark_report_aggregates_only=true",
         "--benchmark_format=json"],
        check=True, capture_output=True, text=True).stdout
    times = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") != "median":
            continue
        _, func, subject, _ = b["run_name"].split("/")
        times[(func, subject)] = b["cpu_time"]
    return times


def main():
    args = [a for a in sys.argv[1:] if a != "--dry-run"]
    bench = args[0] if args else "build/bin/korb_bench"
    times = measure(bench)
    weights = {}
    for (func, subject), t in times.items():
        if subject.startswith("slot"):
            weights.setdefault(func, [None] * 3)[int(subject[4])] = t / times[(func, "copy")]
    text = open(DEF).read()
    for func, w in sorted(weights.items()):
        p, name = func[0], func[1:]
        line = re.search(r"KORB_ARQ_FUNCTION\(%s, %s, \w+, \w+, (\w+), 1," % (p, name), text)
        if line is None:
            sys.exit("%s: not a built function in %s" % (func, DEF))
        # Slots served by one kernel get one weight: the mean of their measurements.
        layout = line.group(1)
        same = {k: [w[s] for s in range(3) if layout[s] == k] for k in set(layout)}
        figures = ", ".join("%.2f" % (sum(same[k]) / len(same[k])) for k in layout)
        print("%-12s %s" % (func, figures))
        pattern = r"(KORB_ARQ_FUNCTION\(%s, %s, \w+, \w+, \w+, 1, )\([^)]*\)" % (p, name)
        text = re.sub(pattern, r"\1(%s)" % figures, text)
    if "--dry-run" not in sys.argv:
        open(DEF, "w").write(text)


if __name__ == "__main__":
    main()
