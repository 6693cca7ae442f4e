#!/usr/bin/python3
"""Table of the worst-case benchmark: each row's time per call (wall and CPU)
and PASS/FAIL against 100 ms of CPU time, printed and written as Markdown.

    /usr/bin/python3 tools/performance/worst_case.py RESULT.json ONE_THREAD.json OUT.md

ONE_THREAD.json holds the linear-algebra rows run with OMP_NUM_THREADS=1.

The verdict uses CPU time: the machine is shared, so wall time also counts
the other processes that ran meanwhile; both columns are shown."""
import json
import os
import platform
import sys

LIMIT_MS = 100.0

# What stands behind the rows that fail or are skipped; the figures are the
# arithmetic of the algorithms, not measurements of one run.
NOTES = """
## Rows above 100 ms

- None from the beta family since the incomplete beta takes its own large-shape route from
  shapes of 1e5 on and the inverses their own far-tail solver (the 1e20 rows were 0.3 to
  1.7 s and wrong with Boost.Math 1.74's incomplete beta; the b/a = 1e44 inverses did not
  finish in ten minutes). The hypergeometric rows are the library's own evaluation, whose
  tail sums and quantile steps grow with the standard deviation, not with the counts.
- Hsu and Dunnett quantiles at k = 200 with distinct correlation factors: the quadrature is
  fixed at 48 Legendre nodes x 48 Hermite nodes x 199 factors = 458,496 normal
  probabilities per distribution-function value (Dunnett: two per node pair and factor,
  the same count of erfc calls), at about 40 ns each in Boost's erfc: about 18 ms per
  value. A quantile at an ordinary p needs 10 to 15 values (120 to 270 ms); at the limit of
  200 values, 200 x 458,496 = 92 million erfc calls, about 3.7 s. Equal correlation
  factors (wherever they stand) are evaluated once per node and a product that reaches
  exactly 0 stops, which keeps balanced and repeating designs and the far lower tail fast
  with the same bits; distinct factors need every evaluation.
- `KolmogorovICDF` in the far upper tail near n = 2e5: every step of the root search sums
  Smirnov's series over about 1e5 terms (an exp, two logs and a log1p series each); the
  dispatch thresholds and the search are fixed, so the cost stays.
"""
UNIT_MS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def main():
    data = json.load(open(sys.argv[1]))
    single = json.load(open(sys.argv[2]))
    for b in single["benchmarks"]:
        b["name"] += " [OMP_NUM_THREADS=1]"
    rows = []
    for b in data["benchmarks"] + single["benchmarks"]:
        name = b["name"]
        if b.get("error_occurred"):
            rows.append((name, None, None, "SKIP", b.get("error_message", "")))
            continue
        unit = UNIT_MS[b.get("time_unit", "ns")]
        wall, cpu = b["real_time"] * unit, b["cpu_time"] * unit
        family = name.split("/")[0]
        verdict = "-" if family == "Linalg" else ("PASS" if cpu <= LIMIT_MS else "FAIL")
        rows.append((name, wall, cpu, verdict, b.get("label", "")))

    def fmt(t):
        return "-" if t is None else ("%.3f" % t if t < 1 else "%.1f" % t)

    width = max(len(r[0]) for r in rows)
    print("%-*s %12s %12s  %s" % (width, "row", "wall ms", "cpu ms", "verdict"))
    for r in rows:
        print("%-*s %12s %12s  %s" % (width, r[0], fmt(r[1]), fmt(r[2]), r[3]))

    ctx = data.get("context", {})
    lines = [
        "# Worst-case timings",
        "",
        "The slowest inputs found for each family of exports, one call each, measured with",
        "Google Benchmark (`bench/worst_case_bench.cpp`, which also says how they were found)",
        "on this machine (%s, %s cores, load average %s at the start)." %
        (platform.machine(), ctx.get("num_cpus", "?"), ", ".join("%.1f" % x for x in ctx.get("load_avg", [])) or "?"),
        "The verdict compares the CPU time of one call with 100 ms; the machine is shared, so",
        "the wall time includes other processes and is shown for completeness. Linear algebra",
        "costs O(m n^2) by nature and has no bound for arbitrary sizes: its rows are for scale,",
        "once with LAPACK's default OpenMP threads (whose spinning dominates on a busy machine)",
        "and once on one thread.",
        "Rows marked SKIP do not finish within a minute (run with `QCM_WORST_CASE_RUN_SLOW=1`).",
        "Regenerate with `scripts/worst-case.sh`.",
        "",
        "| Row | Wall ms | CPU ms | Verdict | Why this input |",
        "|---|---|---|---|---|",
    ]
    for r in rows:
        lines.append("| `%s` | %s | %s | %s | %s |" % (r[0], fmt(r[1]), fmt(r[2]), r[3], r[4]))
    with open(sys.argv[3], "w") as f:
        f.write("\n".join(lines) + "\n" + NOTES)


if __name__ == "__main__":
    main()
