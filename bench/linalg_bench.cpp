// Least-squares solvers on the same full-rank problems: the library's OLS
// (tolerance-driven, unblocked QR in the columns' own order), LS (dgels with
// the shared 10000-double workspace) and LAPACK's dgelsy (column-pivoted,
// rank-revealing, with its own optimal workspace), called directly; and, for
// scale, LAPACK's unblocked QR dgeqr2 on its own.
//
// Each iteration copies X and y afresh (all three overwrite them); the copy
// is O(mn) against the O(mn^2) solve. The shared workspace admits every size
// below for OLS (at most 2499 columns) and LS (min(m,n) + max(min(m,n), 1)
// <= 10000, so up to 5000 columns); LS then runs dgeqrf with a block size cut
// to fit (about 10000 / n - 1 columns per block), not LAPACK's optimum.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "QuillonCoreMath.h"

extern "C" void dgelsy_(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
                        const int* ldb, int* jpvt, const double* rcond, int* rank, double* work, const int* lwork,
                        int* info);

extern "C" void dgeqr2_(const int* m, const int* n, double* a, const int* lda, double* tau, double* work, int* info);

namespace {

struct Problem {
    int m, n;
    std::vector<double> x, y;
};

Problem make_problem(int m, int n) {
    Problem p{m, n, std::vector<double>(static_cast<std::size_t>(m) * n), std::vector<double>(std::max(m, n))};
    std::mt19937 gen(12345u + static_cast<unsigned>(m) * 7u + static_cast<unsigned>(n));
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::normal_distribution<double> noise(0.0, 0.01);
    for (int i = 0; i < m; ++i) p.x[i] = 1.0;  // intercept column
    for (std::size_t k = m; k < p.x.size(); ++k) p.x[k] = u(gen);
    for (int i = 0; i < m; ++i) {
        double s = 0;
        for (int j = 0; j < n; ++j) s += p.x[i + static_cast<std::size_t>(j) * m] * (1.0 + 0.01 * j);
        p.y[i] = s + noise(gen);
    }
    return p;
}

const Problem& problem(int m, int n) {
    static std::vector<Problem> cache;
    for (const Problem& p : cache)
        if (p.m == m && p.n == n) return p;
    cache.push_back(make_problem(m, n));
    return cache.back();
}

void BM_OLS(benchmark::State& state) {
    const Problem& p = problem(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    std::vector<double> x, y, beta(p.n), tau(p.n);
    const MatrixDescriptor dx{0, p.m, p.m, p.n}, dy{0, static_cast<int32_t>(p.y.size()), p.m, 1}, db{0, p.n, p.n, 1};
    for (auto _ : state) {
        x = p.x;
        y = p.y;
        const int32_t info = OLS(x.data(), &dx, y.data(), &dy, beta.data(), &db, tau.data(), 1e-10);
        if (info != 0) state.SkipWithError("OLS failed");
        benchmark::DoNotOptimize(beta.data());
    }
}

void BM_LS(benchmark::State& state) {
    const Problem& p = problem(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    std::vector<double> x, y;
    const MatrixDescriptor dx{0, p.m, p.m, p.n}, dy{0, static_cast<int32_t>(p.y.size()), p.m, 1};
    for (auto _ : state) {
        x = p.x;
        y = p.y;
        const int32_t info = LS(x.data(), &dx, y.data(), &dy);
        if (info != 0) state.SkipWithError("LS failed");
        benchmark::DoNotOptimize(y.data());
    }
}

void BM_dgelsy(benchmark::State& state) {
    const Problem& p = problem(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const int m = p.m, n = p.n, nrhs = 1, ldb = static_cast<int>(p.y.size());
    const double rcond = 1e-10;
    std::vector<double> x = p.x, y = p.y;
    std::vector<int> jpvt(n);
    int rank = 0, info = 0, query = -1;
    double optimum = 0;
    dgelsy_(&m, &n, &nrhs, x.data(), &m, y.data(), &ldb, jpvt.data(), &rcond, &rank, &optimum, &query, &info);
    const int lwork = static_cast<int>(optimum);
    std::vector<double> work(lwork);
    for (auto _ : state) {
        x = p.x;
        y = p.y;
        std::fill(jpvt.begin(), jpvt.end(), 0);
        dgelsy_(&m, &n, &nrhs, x.data(), &m, y.data(), &ldb, jpvt.data(), &rcond, &rank, work.data(), &lwork, &info);
        if (info != 0 || rank != n) state.SkipWithError("dgelsy failed");
        benchmark::DoNotOptimize(y.data());
    }
}

// LAPACK's unblocked Householder QR alone: the floor for any one-reflector-
// at-a-time factorisation such as the one inside OLS.
void BM_dgeqr2(benchmark::State& state) {
    const Problem& p = problem(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const int m = p.m, n = p.n;
    std::vector<double> x, tau(n), work(n);
    int info = 0;
    for (auto _ : state) {
        x = p.x;
        dgeqr2_(&m, &n, x.data(), &m, tau.data(), work.data(), &info);
        benchmark::DoNotOptimize(x.data());
    }
}

void sizes(benchmark::internal::Benchmark* b) {
    b->Args({2000, 50})->Args({10000, 200})->Args({5000, 1000})->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(BM_OLS)->Apply(sizes);
BENCHMARK(BM_LS)->Apply(sizes);
BENCHMARK(BM_dgelsy)->Apply(sizes);
BENCHMARK(BM_dgeqr2)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
