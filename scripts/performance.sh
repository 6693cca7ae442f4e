#!/usr/bin/env bash
# The performance report: builds the benchmarks (with R's math library, GSL
# and LAPACK as peers), runs each once, counts instructions per call with
# valgrind's callgrind tool and writes docs/performance.md.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo"
for p in valgrind; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" ||
    { $sudo apt-get update -qq; $sudo apt-get install -y -qq --no-install-recommends "$p"; }
done
"$root/scripts/build.sh" -DQCM_BUILD_BENCH=ON
/usr/bin/python3 "$root/tools/performance/report.py" "$root/build"
