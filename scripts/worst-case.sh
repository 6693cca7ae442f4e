#!/usr/bin/env bash
# Worst-case timings: builds bench/worst_case_bench, runs it once and prints
# each row's time with PASS/FAIL against 100 ms, then writes
# docs/worst-case.md. Rows that do not finish within a minute are skipped
# unless QCM_WORST_CASE_RUN_SLOW=1.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/build.sh" -DQCM_BUILD_BENCH=ON >/dev/null
cmake --build "$root/build" --target worst_case_bench -j 2 >/dev/null
json=$(mktemp)
trap 'rm -f "$json"' EXIT
"$root/build/bench/worst_case_bench" --benchmark_format=json --benchmark_min_time=0.2 >"$json"
/usr/bin/python3 "$root/tools/performance/worst_case.py" "$json" "$root/docs/worst-case.md"
