#!/usr/bin/python3
"""Table of the worst-case benchmark: each row's time per call (wall and CPU)
and PASS/FAIL against 100 ms of CPU time, printed and written as Markdown.

    /usr/bin/python3 tools/performance/worst_case.py RESULT.json OUT.md

The verdict uses CPU time: the machine is shared, so wall time also counts
the other processes that ran meanwhile; both columns are shown."""
import json
import os
import platform
import sys

LIMIT_MS = 100.0
UNIT_MS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def main():
    data = json.load(open(sys.argv[1]))
    rows = []
    for b in data["benchmarks"]:
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
        "costs O(m n^2) by nature and has no bound for arbitrary sizes: its rows are for scale.",
        "Rows marked SKIP do not finish within a minute (run with `QCM_WORST_CASE_RUN_SLOW=1`).",
        "Regenerate with `scripts/worst-case.sh`.",
        "",
        "| Row | Wall ms | CPU ms | Verdict | Why this input |",
        "|---|---|---|---|---|",
    ]
    for r in rows:
        lines.append("| `%s` | %s | %s | %s | %s |" % (r[0], fmt(r[1]), fmt(r[2]), r[3], r[4]))
    with open(sys.argv[2], "w") as f:
        f.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
