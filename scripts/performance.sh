#!/usr/bin/env bash
# The performance report: builds the benchmarks (with R's math library as a
# peer), runs each once and writes docs/performance.md.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" -DQCM_BUILD_BENCH=ON
/usr/bin/python3 "$root/tools/performance/report.py" "$root/build"
