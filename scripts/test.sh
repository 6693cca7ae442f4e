#!/usr/bin/env bash
# Fresh machine to the whole test suite: install, build, run with CTest.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
jobs=$(nproc 2>/dev/null || echo 2)
cd "$root/build" && ctest --output-on-failure -j "$jobs"
