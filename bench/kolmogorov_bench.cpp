// Kolmogorov family: the CDF (both tails) and the ICDF for n from 10 to 1e6,
// near the median of D_n (sqrt(n) d = 0.83) and in the upper tail
// (sqrt(n) d = 1.63, about the 1% point), plus the costliest CDF call of all:
// Durbin's matrix at n = 100000 just inside n^2 d^3 <= 2 (a 117 x 117 power),
// and the longest one-sided sum.
#include <benchmark/benchmark.h>

#include <cmath>

#include "QuillonCoreMath.h"

namespace {

constexpr double kMedianU = 0.83;
constexpr double kUpperU = 1.63;

double size_of(const benchmark::State& state) { return static_cast<double>(state.range(0)); }

void BM_KolmogorovCDF_Median(benchmark::State& state) {
    const double n = size_of(state), d = kMedianU / std::sqrt(n);
    for (auto _ : state) benchmark::DoNotOptimize(KolmogorovCDF(d, n, 0));
}

void BM_KolmogorovCDF_UpperTail(benchmark::State& state) {
    const double n = size_of(state), d = kUpperU / std::sqrt(n);
    for (auto _ : state) benchmark::DoNotOptimize(KolmogorovCDF(d, n, 1));
}

void BM_KolmogorovICDF_Median(benchmark::State& state) {
    const double n = size_of(state);
    for (auto _ : state) benchmark::DoNotOptimize(KolmogorovICDF(0.5, n, 0));
}

void BM_KolmogorovICDF_UpperTail(benchmark::State& state) {
    const double n = size_of(state);
    for (auto _ : state) benchmark::DoNotOptimize(KolmogorovICDF(0.01, n, 1));
}

void BM_KolmogorovCDF_DurbinWorst(benchmark::State& state) {
    const double n = 100000, d = std::cbrt(1.999 / (n * n));
    for (auto _ : state) benchmark::DoNotOptimize(KolmogorovCDF(d, n, 0));
}

void BM_KolmogorovCDF_SmirnovWorst(benchmark::State& state) {
    // The longest exact one-sided sum: n = 200000 at the switch n d^2 = 2.2.
    const double n = 200000, d = std::sqrt(2.2 / n);
    for (auto _ : state) benchmark::DoNotOptimize(KolmogorovCDF(d, n, 1));
}

void sizes(benchmark::internal::Benchmark* b) {
    for (long n : {10L, 100L, 1000L, 100000L, 1000000L}) b->Arg(n);
    b->Unit(benchmark::kMicrosecond);
}

}  // namespace

BENCHMARK(BM_KolmogorovCDF_Median)->Apply(sizes);
BENCHMARK(BM_KolmogorovCDF_UpperTail)->Apply(sizes);
BENCHMARK(BM_KolmogorovICDF_Median)->Apply(sizes);
BENCHMARK(BM_KolmogorovICDF_UpperTail)->Apply(sizes);
BENCHMARK(BM_KolmogorovCDF_DurbinWorst)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KolmogorovCDF_SmirnovWorst)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
