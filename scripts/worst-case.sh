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
single=$(mktemp)
trap 'rm -f "$json" "$single"' EXIT
bench="$root/build/bench/worst_case_bench"
"$bench" --benchmark_format=json --benchmark_min_time=0.2 >"$json"
# LAPACK's OpenMP threads spin while they wait; on a busy machine that costs
# more than the factorization itself, so the linear algebra runs once more on
# one thread.
OMP_NUM_THREADS=1 "$bench" --benchmark_format=json --benchmark_min_time=0.2 --benchmark_filter='^Linalg/' >"$single"
/usr/bin/python3 "$root/tools/performance/worst_case.py" "$json" "$single" "$root/docs/worst-case.md"
