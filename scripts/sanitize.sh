#!/usr/bin/env bash
# The whole test suite again under AddressSanitizer and UndefinedBehaviorSanitizer
# (clang), then the fuzz target over every export for QCM_FUZZ_SECONDS seconds
# (default 60) from the committed seed corpus, with a fixed seed so that a
# run repeats the start of the last one (QCM_FUZZ_SEED picks another). Longer fuzzing:
#   QCM_FUZZ_SECONDS=3600 scripts/sanitize.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
missing=()
for p in clang libclang-rt-dev; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
jobs=$(nproc 2>/dev/null || echo 2)
build="$root/build-sanitize"
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DQCM_WERROR=ON \
  -DQCM_SANITIZE=address,undefined -DQCM_BUILD_FUZZ=ON -DQCM_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" -j "$jobs"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export LSAN_OPTIONS=suppressions="$root/fuzz/lsan.supp"
(cd "$build" && ctest --output-on-failure -j "$jobs")
corpus=$(mktemp -d)
trap 'rm -rf "$corpus"' EXIT
cp "$root"/fuzz/corpus/* "$corpus"/
"$build/fuzz/fuzz_exports" -seed="${QCM_FUZZ_SEED:-1}" -max_total_time="${QCM_FUZZ_SECONDS:-60}" -timeout=30 -rss_limit_mb=2048 \
  -print_final_stats=1 "$corpus" 2>&1 | tail -n 25
