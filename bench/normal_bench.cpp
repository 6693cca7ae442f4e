// Normal family: the exports against the direct Boost call with the same policy.
#include <benchmark/benchmark.h>

#include <boost/math/distributions/normal.hpp>

#include "QuillonCoreMath.h"
#include "boundary/conventions.hpp"

static void BM_NormalCDF(benchmark::State& state) {
    double x = -3.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(NormalCDF(x, 0.0, 1.0, 0));
        x = x > 3.0 ? -3.0 : x + 0.001;
    }
}
BENCHMARK(BM_NormalCDF);

static void BM_BoostNormalCDF(benchmark::State& state) {
    double x = -3.0;
    boost::math::normal_distribution<double, qcm::ErrnoPolicy> dist(0.0, 1.0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(boost::math::cdf(dist, x));
        x = x > 3.0 ? -3.0 : x + 0.001;
    }
}
BENCHMARK(BM_BoostNormalCDF);

static void BM_NormalICDF(benchmark::State& state) {
    double p = 0.001;
    for (auto _ : state) {
        benchmark::DoNotOptimize(NormalICDF(p, 0.0, 1.0, 0));
        p = p > 0.999 ? 0.001 : p + 0.0001;
    }
}
BENCHMARK(BM_NormalICDF);

BENCHMARK_MAIN();
