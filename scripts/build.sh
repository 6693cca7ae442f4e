#!/usr/bin/env bash
# Configures and builds into build/ (warnings are errors).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release -DQCM_WERROR=ON "$@" >/dev/null
cmake --build "$root/build" -j "$jobs"
