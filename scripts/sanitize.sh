#!/usr/bin/env bash
# The robustness checks, by step (default: all four, as CI runs them):
#   asan      the whole test suite under AddressSanitizer (leak checking on)
#             and UndefinedBehaviorSanitizer, built with clang into build-sanitize/
#   tsan      the two concurrency programs under ThreadSanitizer (build-tsan/)
#   fuzz      the fuzz target over every export for QCM_FUZZ_SECONDS seconds
#             (default 60) from the committed seed corpus, with a fixed seed so
#             that a run repeats the start of the last one (QCM_FUZZ_SEED picks
#             another); needs the asan step's build
#   valgrind  memcheck over the tests whose exports throw or return a LAPACK
#             status, in the plain build/ (made by scripts/build.sh if missing)
# For example: scripts/sanitize.sh tsan, or QCM_FUZZ_SECONDS=3600 scripts/sanitize.sh fuzz
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
steps=("$@")
[ ${#steps[@]} -eq 0 ] && steps=(asan tsan fuzz valgrind)
wants() { [[ " ${steps[*]} " == *" $1 "* ]]; }

"$root/scripts/install-deps.sh"
packages=(clang libclang-rt-dev)
wants valgrind && packages+=(valgrind)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
jobs=$(nproc 2>/dev/null || echo 2)
# Leak checking needs no suppressions: the pools of OpenBLAS and its OpenMP
# run-time stay reachable through their own statics until exit.
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1

if wants asan || wants fuzz; then
  # QCM_BUILD_FUZZ also puts coverage instrumentation into the library's objects.
  build="$root/build-sanitize"
  CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DQCM_WERROR=ON \
    -DQCM_SANITIZE=address,undefined -DQCM_BUILD_FUZZ=ON -DQCM_BUILD_TOOLS=OFF >/dev/null
  cmake --build "$build" -j "$jobs"
fi
if wants asan; then
  (cd "$build" && ctest --output-on-failure -j "$jobs")
fi

if wants tsan; then
  # Only the programs that call exports from several threads at once: every
  # re-entrant scalar export from eight threads, and the first fill of the
  # noncentral hypergeometric table. Neither calls the linear algebra, so
  # OpenBLAS and its OpenMP run-time (not instrumented) run no code here.
  tsan="$root/build-tsan"
  CC=clang CXX=clang++ cmake -S "$root" -B "$tsan" -DCMAKE_BUILD_TYPE=Release -DQCM_WERROR=ON \
    -DQCM_SANITIZE=thread -DQCM_BUILD_TOOLS=OFF >/dev/null
  cmake --build "$tsan" -j "$jobs" --target concurrency_test fnc_concurrency_test
  for t in concurrency_test fnc_concurrency_test; do
    "$tsan/tests/$t" --gtest_brief=1
  done
fi

if wants fuzz; then
  corpus=$(mktemp -d)
  trap 'rm -rf "$corpus"' EXIT
  cp "$root"/fuzz/corpus/* "$corpus"/
  "$build/fuzz/fuzz_exports" -seed="${QCM_FUZZ_SEED:-1}" -max_total_time="${QCM_FUZZ_SECONDS:-60}" -timeout=30 \
    -rss_limit_mb=2048 -print_final_stats=1 "$corpus" 2>&1 | grep -v '^ \*\* On entry to' | tail -n 25
fi

if wants valgrind; then
  # Memcheck over the tests whose exports throw (the sweep of every export
  # with bad arguments, binomial and hypergeometric messages, multiple
  # comparisons, Kolmogorov's unbracketed root, the throwing special
  # functions) and over the LAPACK status paths, on the plain build: an
  # exception unwinding out of an export must free what the export holds.
  # OpenMP's pool is pinned to one thread; what it keeps is still reachable,
  # which does not count as an error.
  plain="$root/build"
  [ -x "$plain/tests/sweep_test" ] || "$root/scripts/build.sh"
  for run in "sweep_test" "discrete_test DiscreteContract.*" "multcomp_test MultcompContract.*" \
             "kolmogorov_test *Contract*:*Bracketed*:*Ends*" "gamma_beta_test *Contract.*" "linalg_test"; do
    read -r program filter <<<"$run"
    echo "== valgrind $run"
    OMP_NUM_THREADS=1 valgrind -q --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite,indirect \
      "$plain/tests/$program" --gtest_brief=1 --gtest_filter="${filter:-*}"
  done
fi
