#!/usr/bin/env bash
# Configures and builds into build/ (warnings are errors). "--target NAME"
# builds only that target; every other argument goes to the configure step.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=$(nproc 2>/dev/null || echo 2)
configure=() build=()
while [ $# -gt 0 ]; do
  case "$1" in
    --target) build+=(--target "$2"); shift 2 ;;
    *) configure+=("$1"); shift ;;
  esac
done
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release -DQCM_WERROR=ON "${configure[@]}" >/dev/null
cmake --build "$root/build" -j "$jobs" "${build[@]}"
