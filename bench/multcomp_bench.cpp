// Multiple-comparison family: Tukey's and Dunnett's probability and quantile
// for k = 3, 10, 20 means and 10 or 120 degrees of freedom, against R's
// ptukey and qtukey (standalone R math library) at the same points. The
// library's Tukey statistic is the studentized range divided by sqrt(2).
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "QuillonCoreMath.h"

#ifdef QCM_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

const double kRootHalf = 0.70710678118654752;

std::vector<double> Equal(double value) { return std::vector<double>(32, value); }

// Unequal factors: every Dunnett factor needs its own normal evaluations.
std::vector<double> Unequal() {
    std::vector<double> l(32);
    for (int j = 0; j < 32; ++j) l[j] = 0.2 + 0.15 * (j % 4);
    return l;
}

void Args(benchmark::internal::Benchmark* b) {
    for (int k : {3, 10, 20})
        for (int df : {10, 120}) b->Args({k, df});
}

void BM_MCaCDF(benchmark::State& state) {
    int k = static_cast<int>(state.range(0));
    double df = static_cast<double>(state.range(1));
    std::vector<double> lambda = Equal(kRootHalf);
    double q = MCaICDF(0.05, k, df, lambda.data(), 1);
    for (auto _ : state) benchmark::DoNotOptimize(MCaCDF(q, k, df, lambda.data(), 1));
}
BENCHMARK(BM_MCaCDF)->Apply(Args)->Unit(benchmark::kMicrosecond);

void BM_MCaICDF(benchmark::State& state) {
    int k = static_cast<int>(state.range(0));
    double df = static_cast<double>(state.range(1));
    std::vector<double> lambda = Equal(kRootHalf);
    for (auto _ : state) benchmark::DoNotOptimize(MCaICDF(0.05, k, df, lambda.data(), 1));
}
BENCHMARK(BM_MCaICDF)->Apply(Args)->Unit(benchmark::kMicrosecond);

#ifdef QCM_HAVE_RMATH
void BM_R_ptukey(benchmark::State& state) {
    int k = static_cast<int>(state.range(0));
    double df = static_cast<double>(state.range(1));
    std::vector<double> lambda = Equal(kRootHalf);
    double q = MCaICDF(0.05, k, df, lambda.data(), 1) * std::sqrt(2.0);
    for (auto _ : state) benchmark::DoNotOptimize(ptukey(q, 1, k, df, 0, 0));
}
BENCHMARK(BM_R_ptukey)->Apply(Args)->Unit(benchmark::kMicrosecond);

void BM_R_qtukey(benchmark::State& state) {
    int k = static_cast<int>(state.range(0));
    double df = static_cast<double>(state.range(1));
    for (auto _ : state) benchmark::DoNotOptimize(qtukey(0.05, 1, k, df, 0, 0));
}
BENCHMARK(BM_R_qtukey)->Apply(Args)->Unit(benchmark::kMicrosecond);
#endif

void BM_MCcCDF(benchmark::State& state) {
    int k = static_cast<int>(state.range(0));
    double df = static_cast<double>(state.range(1));
    std::vector<double> lambda = Equal(kRootHalf);
    double q = MCcICDF(0.05, k, df, lambda.data(), 1);
    for (auto _ : state) benchmark::DoNotOptimize(MCcCDF(q, k, df, lambda.data(), 1));
}
BENCHMARK(BM_MCcCDF)->Apply(Args)->Unit(benchmark::kMicrosecond);

void BM_MCcICDF(benchmark::State& state) {
    int k = static_cast<int>(state.range(0));
    double df = static_cast<double>(state.range(1));
    std::vector<double> lambda = Equal(kRootHalf);
    for (auto _ : state) benchmark::DoNotOptimize(MCcICDF(0.05, k, df, lambda.data(), 1));
}
BENCHMARK(BM_MCcICDF)->Apply(Args)->Unit(benchmark::kMicrosecond);

// Dunnett with up to 4 comparisons and unequal correlation factors: the
// costliest case of the usual use.
void BM_MCcICDF_Unequal(benchmark::State& state) {
    int k = static_cast<int>(state.range(0));
    double df = static_cast<double>(state.range(1));
    std::vector<double> lambda = Unequal();
    for (auto _ : state) benchmark::DoNotOptimize(MCcICDF(0.05, k, df, lambda.data(), 1));
}
BENCHMARK(BM_MCcICDF_Unequal)->Args({5, 10})->Args({5, 120})->Unit(benchmark::kMicrosecond);

// Hsu and Dunnett probabilities at k = 5, 20, 200 means for three designs of
// correlation factors: all equal (a balanced design), four values repeating
// (0.2, 0.35, 0.5, 0.65, ...), and all distinct.
std::vector<double> Design(int design) {
    std::vector<double> l(200);
    for (int j = 0; j < 200; ++j)
        l[j] = design == 0 ? kRootHalf : design == 1 ? 0.2 + 0.15 * (j % 4) : 0.01 + 0.29 * j / 200;
    return l;
}

void DesignArgs(benchmark::internal::Benchmark* b) {
    for (int design : {0, 1, 2})
        for (int k : {5, 20, 200}) b->Args({design, k});
    b->ArgNames({"design", "k"});
}

void BM_MCbCDF_Design(benchmark::State& state) {
    std::vector<double> lambda = Design(static_cast<int>(state.range(0)));
    int k = static_cast<int>(state.range(1));
    for (auto _ : state) benchmark::DoNotOptimize(MCbCDF(2.5, k, 10, lambda.data(), 0));
}
BENCHMARK(BM_MCbCDF_Design)->Apply(DesignArgs)->Unit(benchmark::kMicrosecond);

void BM_MCcCDF_Design(benchmark::State& state) {
    std::vector<double> lambda = Design(static_cast<int>(state.range(0)));
    int k = static_cast<int>(state.range(1));
    for (auto _ : state) benchmark::DoNotOptimize(MCcCDF(2.5, k, 10, lambda.data(), 0));
}
BENCHMARK(BM_MCcCDF_Design)->Apply(DesignArgs)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
