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

static void BM_HypergeometricPDF(benchmark::State& state) {
    double x = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(HypergeometricPDF(x, 300, 200, 1000));
        x = x >= 200 ? 0 : x + 1;
    }
}
BENCHMARK(BM_HypergeometricPDF);

// The slowest counts: r = n = 2^31 of N = 2^32 - 1 has the largest standard
// deviation (16384), and a cdf near the mean sums about nine of them.
constexpr double kHalf32 = 2147483648.0;
constexpr double kTop32 = 4294967295.0;

static void BM_HypergeometricPDFHuge(benchmark::State& state) {
    double x = kHalf32 / 2 - 50000;
    for (auto _ : state) {
        benchmark::DoNotOptimize(HypergeometricPDF(x, kHalf32, kHalf32, kTop32));
        x = x >= kHalf32 / 2 + 50000 ? kHalf32 / 2 - 50000 : x + 1000;
    }
}
BENCHMARK(BM_HypergeometricPDFHuge);

static void BM_HypergeometricCDFHugeAtMean(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(HypergeometricCDF(kHalf32 / 2, kHalf32, kHalf32, kTop32, 0));
}
BENCHMARK(BM_HypergeometricCDFHugeAtMean)->Unit(benchmark::kMicrosecond);

// Negative counts wrap: -2e9, -3e9, -1 become 2294967296, 1294967296 and
// 2^32 - 1 (a standard deviation of 14000); x near the mean.
static void BM_HypergeometricCDFWrapped(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(HypergeometricCDF(691000000, -2e9, -3e9, -1, 1));
}
BENCHMARK(BM_HypergeometricCDFWrapped)->Unit(benchmark::kMicrosecond);

static void BM_HypergeometricICDFHugeHalf(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(HypergeometricICDF(0.5, kHalf32, kHalf32, kTop32, 0));
}
BENCHMARK(BM_HypergeometricICDFHugeHalf)->Unit(benchmark::kMicrosecond);

static void BM_HypergeometricICDFHugeTail(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(HypergeometricICDF(1e-10, kHalf32, kHalf32, kTop32, 1));
}
BENCHMARK(BM_HypergeometricICDFHugeTail)->Unit(benchmark::kMicrosecond);

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

static void BM_RmathDhyper(benchmark::State& state) {
    double x = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(dhyper(x, 300, 700, 200, 0));
        x = x >= 200 ? 0 : x + 1;
    }
}
BENCHMARK(BM_RmathDhyper);

static void BM_RmathPhyperHugeAtMean(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(phyper(kHalf32 / 2, kHalf32, kTop32 - kHalf32, kHalf32, 1, 0));
}
BENCHMARK(BM_RmathPhyperHugeAtMean)->Unit(benchmark::kMicrosecond);
#endif

BENCHMARK_MAIN();
