// Fisher's noncentral hypergeometric distribution: one CDF, one quantile and
// one moments call on urns of 1e3, 1e5 and 1e7 items whose distributions
// have about the same variance (60, standard deviation 7.8, at odds 2) on
// supports of 501 to 2501 values. The table is bounded by standard
// deviations, so the cost must stay flat as N grows. A second series keeps
// N = 1e7 and widens the distribution, where the cost should follow the
// standard deviation.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <string>

#include "QuillonCoreMath.h"

namespace {

struct Urn {
    std::int32_t n, m, N;
};

// Same variance (about 60 at odds 2), growing population.
constexpr Urn kFixedVariance[] = {
    {500, 500, 1000},          // support 0..500
    {1360, 2500, 100000},      // support 0..1360
    {125000, 2500, 10000000},  // support 0..2500
};

// Same population, growing variance.
constexpr Urn kGrowingVariance[] = {
    {125000, 2500, 10000000},
    {250000, 25000, 10000000},
    {250000, 250000, 10000000},
};

constexpr double kOdds = 2.0;
constexpr double kAccuracy = 1e-10;

void Label(benchmark::State& state, const Urn& u) {
    state.SetLabel("N=" + std::to_string(u.N) + " n=" + std::to_string(u.n) + " m=" + std::to_string(u.m));
}

// The CDF at the upper quartile: the right tail is summed.
void BM_FncCDF(benchmark::State& state, const Urn& u) {
    const auto x = static_cast<std::int32_t>(FNCHypergeometricICDF(0.75, u.n, u.m, u.N, kOdds, 0, kAccuracy));
    for (auto _ : state) benchmark::DoNotOptimize(FNCHypergeometricCDF(x, u.n, u.m, u.N, kOdds, 0, kAccuracy));
    Label(state, u);
}

void BM_FncICDF(benchmark::State& state, const Urn& u) {
    for (auto _ : state) benchmark::DoNotOptimize(FNCHypergeometricICDF(0.3, u.n, u.m, u.N, kOdds, 0, kAccuracy));
    Label(state, u);
}

void BM_FncMoments(benchmark::State& state, const Urn& u) {
    double mean = 0, variance = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(FNCHypergeometricMoments(u.n, u.m, u.N, kOdds, &mean, &variance));
        benchmark::DoNotOptimize(mean);
    }
    Label(state, u);
    state.counters["sd"] = std::sqrt(variance);
}

}  // namespace

BENCHMARK_CAPTURE(BM_FncCDF, N1e3, kFixedVariance[0]);
BENCHMARK_CAPTURE(BM_FncCDF, N1e5, kFixedVariance[1]);
BENCHMARK_CAPTURE(BM_FncCDF, N1e7, kFixedVariance[2]);
BENCHMARK_CAPTURE(BM_FncICDF, N1e3, kFixedVariance[0]);
BENCHMARK_CAPTURE(BM_FncICDF, N1e5, kFixedVariance[1]);
BENCHMARK_CAPTURE(BM_FncICDF, N1e7, kFixedVariance[2]);
BENCHMARK_CAPTURE(BM_FncMoments, N1e3, kFixedVariance[0]);
BENCHMARK_CAPTURE(BM_FncMoments, N1e5, kFixedVariance[1]);
BENCHMARK_CAPTURE(BM_FncMoments, N1e7, kFixedVariance[2]);

BENCHMARK_CAPTURE(BM_FncCDF, N1e7_sd8, kGrowingVariance[0]);
BENCHMARK_CAPTURE(BM_FncCDF, N1e7_sd34, kGrowingVariance[1]);
BENCHMARK_CAPTURE(BM_FncCDF, N1e7_sd104, kGrowingVariance[2]);
BENCHMARK_CAPTURE(BM_FncICDF, N1e7_sd8, kGrowingVariance[0]);
BENCHMARK_CAPTURE(BM_FncICDF, N1e7_sd34, kGrowingVariance[1]);
BENCHMARK_CAPTURE(BM_FncICDF, N1e7_sd104, kGrowingVariance[2]);
BENCHMARK_CAPTURE(BM_FncMoments, N1e7_sd8, kGrowingVariance[0]);
BENCHMARK_CAPTURE(BM_FncMoments, N1e7_sd34, kGrowingVariance[1]);
BENCHMARK_CAPTURE(BM_FncMoments, N1e7_sd104, kGrowingVariance[2]);

BENCHMARK_MAIN();
