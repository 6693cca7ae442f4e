// Binomial and hypergeometric families: the exports, with R's standalone
// math library on the same arguments for comparison when it is available.
#include <benchmark/benchmark.h>

#include "QuillonCoreMath.h"

#ifdef QCM_HAVE_RMATH
#include <Rmath.h>
#endif

static void BM_BinomialCDF(benchmark::State& state) {
    const double n = static_cast<double>(state.range(0));
    double k = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(BinomialCDF(k, n, 0.3, 0));
        k = k >= n ? 0 : k + 1;
    }
}
BENCHMARK(BM_BinomialCDF)->Arg(20)->Arg(1000);

static void BM_BinomialICDF(benchmark::State& state) {
    const double n = static_cast<double>(state.range(0));
    double P = 0.01;
    for (auto _ : state) {
        benchmark::DoNotOptimize(BinomialICDF(P, n, 0.3, 0, 1));
        P = P > 0.99 ? 0.01 : P + 0.01;
    }
}
BENCHMARK(BM_BinomialICDF)->Arg(20)->Arg(1000);

static void BM_BinomialPS(benchmark::State& state) {
    double k = 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(BinomialPS(0.025, 100, k, 0));
        k = k >= 99 ? 1 : k + 1;
    }
}
BENCHMARK(BM_BinomialPS);

static void BM_HypergeometricCDF(benchmark::State& state) {
    double x = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(HypergeometricCDF(x, 300, 200, 1000, 0));
        x = x >= 200 ? 0 : x + 1;
    }
}
BENCHMARK(BM_HypergeometricCDF);

static void BM_HypergeometricICDF(benchmark::State& state) {
    double P = 0.01;
    for (auto _ : state) {
        benchmark::DoNotOptimize(HypergeometricICDF(P, 300, 200, 1000, 0));
        P = P > 0.99 ? 0.01 : P + 0.01;
    }
}
BENCHMARK(BM_HypergeometricICDF);

#ifdef QCM_HAVE_RMATH
static void BM_RmathPbinom(benchmark::State& state) {
    const double n = static_cast<double>(state.range(0));
    double k = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pbinom(k, n, 0.3, 1, 0));
        k = k >= n ? 0 : k + 1;
    }
}
BENCHMARK(BM_RmathPbinom)->Arg(20)->Arg(1000);

static void BM_RmathQbinom(benchmark::State& state) {
    const double n = static_cast<double>(state.range(0));
    double P = 0.01;
    for (auto _ : state) {
        benchmark::DoNotOptimize(qbinom(P, n, 0.3, 1, 0));
        P = P > 0.99 ? 0.01 : P + 0.01;
    }
}
BENCHMARK(BM_RmathQbinom)->Arg(20)->Arg(1000);

static void BM_RmathQbeta(benchmark::State& state) {
    double k = 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(qbeta(0.025, k, 100 - k + 1, 1, 0));
        k = k >= 99 ? 1 : k + 1;
    }
}
BENCHMARK(BM_RmathQbeta);

static void BM_RmathPhyper(benchmark::State& state) {
    double x = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(phyper(x, 300, 700, 200, 1, 0));
        x = x >= 200 ? 0 : x + 1;
    }
}
BENCHMARK(BM_RmathPhyper);

static void BM_RmathQhyper(benchmark::State& state) {
    double P = 0.01;
    for (auto _ : state) {
        benchmark::DoNotOptimize(qhyper(P, 300, 700, 200, 1, 0));
        P = P > 0.99 ? 0.01 : P + 0.01;
    }
}
BENCHMARK(BM_RmathQhyper);
#endif

BENCHMARK_MAIN();
