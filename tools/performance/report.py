#!/usr/bin/python3
"""Performance report: runs the benchmark programs once each and writes
docs/performance.md with times and, above all, ratios to each peer measured
in the same run.

    /usr/bin/python3 tools/performance/report.py BUILD_DIR

Benchmarks named "<Export>/<implementation>" (qcm, boost, R, GSL, LAPACK ...)
are put side by side; any other benchmark is listed as measured."""
import json
import os
import platform
import subprocess
import sys
from collections import OrderedDict

ROOT = os.path.normpath(os.path.join(os.path.dirname(__file__), "..", ".."))


def run(binary, min_time):
    out = subprocess.run([binary, "--benchmark_format=json", "--benchmark_min_time=%g" % min_time],
                         check=True, capture_output=True, text=True).stdout
    return json.loads(out)


def ns(b):
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[b.get("time_unit", "ns")]
    return b["real_time"] * unit


def human(t):
    if t < 1e3:
        return "%.0f ns" % t
    if t < 1e6:
        return "%.1f us" % (t / 1e3)
    return "%.2f ms" % (t / 1e6)


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, "build")
    min_time = float(os.environ.get("QCM_BENCH_MIN_TIME", "0.2"))
    bench_dir = os.path.join(build, "bench")
    # worst_case_bench has its own report (scripts/worst-case.sh).
    binaries = sorted(f for f in os.listdir(bench_dir) if f.endswith("_bench") and f != "worst_case_bench" and
                      os.access(os.path.join(bench_dir, f), os.X_OK))
    side_by_side = OrderedDict()
    others = []
    context = None
    for name in binaries:
        data = run(os.path.join(bench_dir, name), min_time)
        context = context or data.get("context", {})
        for b in data["benchmarks"]:
            if b.get("run_type") == "aggregate":
                continue
            bname = b["name"]
            parts = bname.split("/")
            if len(parts) == 2 and parts[1] in ("qcm", "boost", "R", "GSL", "SciPy", "LAPACK"):
                side_by_side.setdefault(parts[0], {})[parts[1]] = ns(b)
            else:
                others.append((name, bname, ns(b)))
    lines = ["# Performance", "",
             "Times per call measured with Google Benchmark in one run on this machine (%s, %d cores, %s)."
             % (platform.machine(), (context or {}).get("num_cpus", 0), platform.platform()),
             "Ratios are the peer's time over the library's: above 1 the library is faster.",
             "The `boost` column is the same Boost.Math call under the same policy made directly,",
             "so its ratio is the cost of the library's wrapper (argument checks, errno guard, the",
             "call through the shared library). Regenerate with `scripts/performance.sh`.", "",
             "| Export | qcm | boost | wrapper overhead | R | R / qcm |", "|---|---|---|---|---|---|"]
    for export, t in side_by_side.items():
        q = t.get("qcm")
        if q is None:
            continue
        b, r = t.get("boost"), t.get("R")
        lines.append("| `%s` | %s | %s | %s | %s | %s |" % (
            export, human(q), human(b) if b else "-", "%+.0f%%" % (100 * (q / b - 1)) if b else "-",
            human(r) if r else "-", "%.2f" % (r / q) if r else "-"))
    if others:
        lines += ["", "## Other benchmarks", "", "| Program | Benchmark | Time |", "|---|---|---|"]
        for prog, bname, t in others:
            lines.append("| %s | `%s` | %s |" % (prog, bname, human(t)))
    os.makedirs(os.path.join(ROOT, "docs"), exist_ok=True)
    with open(os.path.join(ROOT, "docs", "performance.md"), "w") as f:
        f.write("\n".join(lines) + "\n")
    print("wrote docs/performance.md")


if __name__ == "__main__":
    main()
