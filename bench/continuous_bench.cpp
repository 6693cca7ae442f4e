// Continuous distributions: the exports against the direct Boost call with the
// same policy, and against R's standalone math library where it is found.
#include <benchmark/benchmark.h>

#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/students_t.hpp>

#include "QuillonCoreMath.h"
#include "boundary/conventions.hpp"

#ifdef QCM_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

using StudentT = boost::math::students_t_distribution<double, qcm::ErrnoPolicy>;
using ChiSquared = boost::math::chi_squared_distribution<double, qcm::ErrnoPolicy>;
using FisherF = boost::math::fisher_f_distribution<double, qcm::ErrnoPolicy>;

// A sweep of arguments so that no single input is cached by the branch
// predictor: x in [-6, 6] for the cdfs, p in (0, 1) for the quantiles.
double next_x(double x) { return x > 6.0 ? -6.0 : x + 0.0137; }
double next_p(double p) { return p > 0.999 ? 0.0005 : p + 0.000731; }

void BM_StudentTCDF(benchmark::State& state) {
    double df = static_cast<double>(state.range(0));
    double x = -6.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(StudentTCDF(x, df, 1));
        x = next_x(x);
    }
}

void BM_BoostStudentTCDF(benchmark::State& state) {
    StudentT dist(static_cast<double>(state.range(0)));
    double x = -6.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(boost::math::cdf(dist, -x));
        x = next_x(x);
    }
}

void BM_StudentTICDF(benchmark::State& state) {
    double df = static_cast<double>(state.range(0));
    double p = 0.0005;
    for (auto _ : state) {
        benchmark::DoNotOptimize(StudentTICDF(p, df, 0));
        p = next_p(p);
    }
}

void BM_BoostStudentTICDF(benchmark::State& state) {
    StudentT dist(static_cast<double>(state.range(0)));
    double p = 0.0005;
    for (auto _ : state) {
        benchmark::DoNotOptimize(boost::math::quantile(dist, p));
        p = next_p(p);
    }
}

void BM_ChiSquaredCDFUpper(benchmark::State& state) {
    double df = static_cast<double>(state.range(0));
    double x = 0.01;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ChiSquaredCDF(x * df, df, 1));
        x = x > 3.0 ? 0.01 : x + 0.0031;
    }
}

void BM_BoostChiSquaredCDFUpper(benchmark::State& state) {
    double df = static_cast<double>(state.range(0));
    ChiSquared dist(df);
    double x = 0.01;
    for (auto _ : state) {
        benchmark::DoNotOptimize(boost::math::cdf(boost::math::complement(dist, x * df)));
        x = x > 3.0 ? 0.01 : x + 0.0031;
    }
}

void BM_FisherFICDFUpper(benchmark::State& state) {
    double p = 0.0005;
    for (auto _ : state) {
        benchmark::DoNotOptimize(FisherFICDF(p, 3, 20, 1));
        p = next_p(p);
    }
}

void BM_BoostFisherFICDFUpper(benchmark::State& state) {
    FisherF dist(3, 20);
    double p = 0.0005;
    for (auto _ : state) {
        benchmark::DoNotOptimize(boost::math::quantile(boost::math::complement(dist, p)));
        p = next_p(p);
    }
}

#ifdef QCM_HAVE_RMATH
void BM_RStudentTCDF(benchmark::State& state) {
    double df = static_cast<double>(state.range(0));
    double x = -6.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pt(x, df, /*lower_tail=*/0, /*log_p=*/0));
        x = next_x(x);
    }
}

void BM_RStudentTICDF(benchmark::State& state) {
    double df = static_cast<double>(state.range(0));
    double p = 0.0005;
    for (auto _ : state) {
        benchmark::DoNotOptimize(qt(p, df, 1, 0));
        p = next_p(p);
    }
}
#endif

}  // namespace

BENCHMARK(BM_StudentTCDF)->Arg(3)->Arg(30)->Arg(1000000);
BENCHMARK(BM_BoostStudentTCDF)->Arg(3)->Arg(30)->Arg(1000000);
BENCHMARK(BM_StudentTICDF)->Arg(3)->Arg(30)->Arg(1000000);
BENCHMARK(BM_BoostStudentTICDF)->Arg(3)->Arg(30)->Arg(1000000);
BENCHMARK(BM_ChiSquaredCDFUpper)->Arg(4)->Arg(1000);
BENCHMARK(BM_BoostChiSquaredCDFUpper)->Arg(4)->Arg(1000);
BENCHMARK(BM_FisherFICDFUpper);
BENCHMARK(BM_BoostFisherFICDFUpper);
#ifdef QCM_HAVE_RMATH
BENCHMARK(BM_RStudentTCDF)->Arg(3)->Arg(30)->Arg(1000000);
BENCHMARK(BM_RStudentTICDF)->Arg(3)->Arg(30)->Arg(1000000);
#endif

BENCHMARK_MAIN();
