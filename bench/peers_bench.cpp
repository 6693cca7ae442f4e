// Every Boost-based export against the same work done by its peers, in one
// binary and one run: the direct Boost call under the same policy (the cost
// of the library's wrapper), R's standalone math library and GSL where they
// offer the function. Names read "<Export>/<implementation>".
//
// Run as "peers_bench --instructions=N" under valgrind's callgrind tool, the
// program instead calls every benchmark's function N times over its eight
// points and has callgrind dump the instruction count of each loop under the
// benchmark's name (tools/performance/report.py reads the dumps). A loop whose
// function only returns its argument ("harness/none") measures the cost of
// the loop itself, which the report subtracts. Outside valgrind the dumps
// are no-ops.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_DUMP_STATS_AT(name) ((void)(name))
#endif

// GCC 12 sees a maybe-uninitialized value inside Boost's F quantile.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <boost/math/distributions.hpp>
#include <boost/math/special_functions.hpp>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

#include "QuillonCoreMath.h"
#include "boundary/conventions.hpp"

#ifdef QCM_HAVE_RMATH
#include <Rmath.h>
#endif

#ifdef QCM_HAVE_GSL
#include <gsl/gsl_cdf.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_sf_erf.h>
#include <gsl/gsl_sf_gamma.h>
#include <gsl/gsl_sf_log.h>
#endif

namespace {

namespace bm = boost::math;
using qcm::ErrnoPolicy;
using qcm::ThrowPolicy;

using P = std::array<std::array<double, 4>, 8>;

// Every registered function with its points, for the instruction counts.
struct Entry {
    std::string name;
    P points;
    std::function<double(double, double, double, double)> f;
};
std::vector<Entry>& entries() {
    static std::vector<Entry> all;
    return all;
}

// Eight points per benchmark, cycled, so that branch prediction sees a mix.
template <class F>
void add(const std::string& name, const P& points, F f) {
    benchmark::RegisterBenchmark(name.c_str(), [points, f](benchmark::State& state) {
        std::size_t i = 0;
        for (auto _ : state) {
            const auto& p = points[i++ & 7];
            benchmark::DoNotOptimize(f(p[0], p[1], p[2], p[3]));
        }
    });
    entries().push_back({name, points, f});
}

// One callgrind dump per entry: N rounds over its eight points, after one
// warm-up round (first-call initialisation is not the cost of a call).
void count_instructions(long rounds) {
    for (const Entry& e : entries()) {
        double sink = 0;
        for (const auto& p : e.points) sink += e.f(p[0], p[1], p[2], p[3]);
        CALLGRIND_ZERO_STATS;
        for (long r = 0; r < rounds; ++r)
            for (const auto& p : e.points) sink += e.f(p[0], p[1], p[2], p[3]);
        CALLGRIND_DUMP_STATS_AT(e.name.c_str());
        benchmark::DoNotOptimize(sink);
    }
}

const P kX = {{{-3, 0, 0, 0},
               {-1, 0, 0, 0},
               {-0.2, 0, 0, 0},
               {0.1, 0, 0, 0},
               {0.5, 0, 0, 0},
               {1.3, 0, 0, 0},
               {2.2, 0, 0, 0},
               {4, 0, 0, 0}}};
const P kProb = {{{1e-10, 0, 0, 0},
                  {0.001, 0, 0, 0},
                  {0.05, 0, 0, 0},
                  {0.2, 0, 0, 0},
                  {0.5, 0, 0, 0},
                  {0.7, 0, 0, 0},
                  {0.95, 0, 0, 0},
                  {0.999, 0, 0, 0}}};
const P kAX = {{{0.5, 0.2, 0, 0},
                {1, 1, 0, 0},
                {2, 3, 0, 0},
                {3.5, 1, 0, 0},
                {10, 8, 0, 0},
                {25, 30, 0, 0},
                {60, 50, 0, 0},
                {200, 210, 0, 0}}};
const P kAP = {{{0.5, 0.01, 0, 0},
                {1, 0.2, 0, 0},
                {2, 0.5, 0, 0},
                {3.5, 0.9, 0, 0},
                {10, 0.05, 0, 0},
                {25, 0.5, 0, 0},
                {60, 0.99, 0, 0},
                {200, 0.3, 0, 0}}};
const P kABX = {{{0.5, 0.5, 0.1, 0},
                 {1, 3, 0.2, 0},
                 {2, 5, 0.3, 0},
                 {3.5, 1.5, 0.6, 0},
                 {10, 8, 0.5, 0},
                 {25, 30, 0.45, 0},
                 {60, 50, 0.55, 0},
                 {200, 210, 0.48, 0}}};
const P kABP = {{{0.5, 0.5, 0.1, 0},
                 {1, 3, 0.2, 0},
                 {2, 5, 0.3, 0},
                 {3.5, 1.5, 0.6, 0},
                 {10, 8, 0.5, 0},
                 {25, 30, 0.01, 0},
                 {60, 50, 0.95, 0},
                 {200, 210, 0.5, 0}}};
const P kTX = {{{-3, 2, 0, 0},
                {-1, 5, 0, 0},
                {0.5, 10, 0, 0},
                {1.8, 20, 0, 0},
                {2.5, 30, 0, 0},
                {3, 60, 0, 0},
                {0.2, 120, 0, 0},
                {4, 1000, 0, 0}}};
const P kTP = {{{0.001, 2, 0, 0},
                {0.01, 5, 0, 0},
                {0.025, 10, 0, 0},
                {0.05, 20, 0, 0},
                {0.1, 30, 0, 0},
                {0.5, 60, 0, 0},
                {0.9, 120, 0, 0},
                {0.975, 1000, 0, 0}}};
const P kCX = {{{0.5, 1, 0, 0},
                {2, 2, 0, 0},
                {4, 3, 0, 0},
                {9, 5, 0, 0},
                {15, 10, 0, 0},
                {30, 20, 0, 0},
                {60, 50, 0, 0},
                {130, 100, 0, 0}}};
const P kFX = {{{0.5, 1, 10, 0},
                {1, 2, 20, 0},
                {2, 3, 30, 0},
                {3, 4, 40, 0},
                {4, 5, 60, 0},
                {1.5, 10, 100, 0},
                {2.5, 20, 15, 0},
                {0.8, 30, 200, 0}}};
const P kFP = {{{0.01, 1, 10, 0},
                {0.05, 2, 20, 0},
                {0.1, 3, 30, 0},
                {0.5, 4, 40, 0},
                {0.9, 5, 60, 0},
                {0.95, 10, 100, 0},
                {0.99, 20, 15, 0},
                {0.3, 30, 200, 0}}};
const P kGX = {{{0.5, 1, 2, 0},
                {1, 2, 0.5, 0},
                {2, 3, 1, 0},
                {3, 4, 2, 0},
                {4, 5, 0.5, 0},
                {10, 10, 1, 0},
                {25, 20, 1.5, 0},
                {50, 30, 2, 0}}};
const P kGP = {{{0.01, 1, 2, 0},
                {0.05, 2, 0.5, 0},
                {0.1, 3, 1, 0},
                {0.5, 4, 2, 0},
                {0.9, 5, 0.5, 0},
                {0.95, 10, 1, 0},
                {0.99, 20, 1.5, 0},
                {0.3, 30, 2, 0}}};
const P kBX = {{{0.1, 0.5, 0.5, 0},
                {0.2, 1, 3, 0},
                {0.3, 2, 5, 0},
                {0.6, 3.5, 1.5, 0},
                {0.5, 10, 8, 0},
                {0.45, 25, 30, 0},
                {0.55, 60, 50, 0},
                {0.48, 200, 210, 0}}};
const P kBP = {{{0.01, 0.5, 0.5, 0},
                {0.05, 1, 3, 0},
                {0.1, 2, 5, 0},
                {0.5, 3.5, 1.5, 0},
                {0.9, 10, 8, 0},
                {0.95, 25, 30, 0},
                {0.99, 60, 50, 0},
                {0.3, 200, 210, 0}}};
const P kBin = {{{0, 10, 0.1, 0},
                 {3, 10, 0.5, 0},
                 {7, 20, 0.3, 0},
                 {12, 40, 0.25, 0},
                 {25, 50, 0.5, 0},
                 {60, 100, 0.55, 0},
                 {300, 1000, 0.31, 0},
                 {4, 1000, 0.001, 0}}};
const P kBinP = {{{0.01, 10, 0.1, 0},
                  {0.05, 10, 0.5, 0},
                  {0.1, 20, 0.3, 0},
                  {0.5, 40, 0.25, 0},
                  {0.9, 50, 0.5, 0},
                  {0.95, 100, 0.55, 0},
                  {0.99, 1000, 0.31, 0},
                  {0.3, 1000, 0.001, 0}}};
const P kPS = {{{0.05, 10, 1, 0},
                {0.05, 10, 5, 0},
                {0.025, 20, 7, 0},
                {0.025, 40, 12, 0},
                {0.01, 50, 25, 0},
                {0.1, 100, 60, 0},
                {0.05, 1000, 300, 0},
                {0.05, 1000, 4, 0}}};
const P kHyp = {{{
                     1,
                     10,
                     5,
                     30,
                 },
                 {2, 10, 8, 30},
                 {3, 12, 9, 40},
                 {5, 20, 15, 60},
                 {10, 30, 30, 100},
                 {20, 60, 50, 200},
                 {50, 200, 150, 600},
                 {4, 50, 40, 1000}}};
const P kHypP = {{{
                      0.01,
                      10,
                      5,
                      30,
                  },
                  {0.05, 10, 8, 30},
                  {0.1, 12, 9, 40},
                  {0.5, 20, 15, 60},
                  {0.9, 30, 30, 100},
                  {0.95, 60, 50, 200},
                  {0.99, 200, 150, 600},
                  {0.3, 50, 40, 1000}}};

template <class Dist>
Dist make(double a, double b);

void register_all() {
    // The loop alone: subtracted from every instruction count.
    add("harness/none", kX, [](double x, double, double, double) { return x; });
    // ---- normal and error function
    add("Erf/qcm", kX, [](double x, double, double, double) { return Erf(x); });
    add("Erf/boost", kX, [](double x, double, double, double) { return bm::erf(x, ErrnoPolicy()); });
    add("ErfC/qcm", kX, [](double x, double, double, double) { return ErfC(x); });
    add("ErfC/boost", kX, [](double x, double, double, double) { return bm::erfc(x, ErrnoPolicy()); });
    add("InverseErf/qcm", kProb, [](double p, double, double, double) { return InverseErf(2 * p - 1); });
    add("InverseErf/boost", kProb,
        [](double p, double, double, double) { return bm::erf_inv(2 * p - 1, ErrnoPolicy()); });
    add("InverseErfC/qcm", kProb, [](double p, double, double, double) { return InverseErfC(2 * p); });
    add("InverseErfC/boost", kProb,
        [](double p, double, double, double) { return bm::erfc_inv(2 * p, ErrnoPolicy()); });
    using Normal = bm::normal_distribution<double, ErrnoPolicy>;
    add("NormalPDF/qcm", kX, [](double x, double, double, double) { return NormalPDF(x, 0, 1); });
    add("NormalPDF/boost", kX, [](double x, double, double, double) { return bm::pdf(Normal(0, 1), x); });
    add("NormalCDF/qcm", kX, [](double x, double, double, double) { return NormalCDF(x, 0, 1, 0); });
    add("NormalCDF/boost", kX, [](double x, double, double, double) { return bm::cdf(Normal(0, 1), x); });
    add("NormalICDF/qcm", kProb, [](double p, double, double, double) { return NormalICDF(p, 0, 1, 0); });
    add("NormalICDF/boost", kProb, [](double p, double, double, double) { return bm::quantile(Normal(0, 1), p); });
#ifdef QCM_HAVE_RMATH
    add("NormalPDF/R", kX, [](double x, double, double, double) { return dnorm(x, 0, 1, 0); });
    add("NormalCDF/R", kX, [](double x, double, double, double) { return pnorm(x, 0, 1, 1, 0); });
    add("NormalICDF/R", kProb, [](double p, double, double, double) { return qnorm(p, 0, 1, 1, 0); });
#endif
    // ---- gamma functions
    add("Gamma/qcm", kAX, [](double a, double, double, double) { return Gamma(a); });
    add("Gamma/boost", kAX, [](double a, double, double, double) { return bm::tgamma(a, ErrnoPolicy()); });
    add("GammaLn/qcm", kAX, [](double a, double, double, double) { return GammaLn(a); });
    add("GammaLn/boost", kAX, [](double a, double, double, double) { return bm::lgamma(a, ThrowPolicy()); });
    add("GammaDerivative/qcm", kAX, [](double a, double x, double, double) { return GammaDerivative(a, x); });
    add("GammaDerivative/boost", kAX,
        [](double a, double x, double, double) { return bm::gamma_p_derivative(a, x, ThrowPolicy()); });
    add("IncompleteGammaLower/qcm", kAX, [](double a, double x, double, double) { return IncompleteGammaLower(a, x); });
    add("IncompleteGammaLower/boost", kAX,
        [](double a, double x, double, double) { return bm::tgamma_lower(a, x, ErrnoPolicy()); });
    add("IncompleteGammaUpper/qcm", kAX, [](double a, double x, double, double) { return IncompleteGammaUpper(a, x); });
    add("IncompleteGammaUpper/boost", kAX,
        [](double a, double x, double, double) { return bm::tgamma(a, x, ErrnoPolicy()); });
    add("GammaRegularized/qcm", kAX, [](double a, double x, double, double) { return GammaRegularized(a, x); });
    add("GammaRegularized/boost", kAX,
        [](double a, double x, double, double) { return bm::gamma_p(a, x, ThrowPolicy()); });
    add("GammaRegularizedC/qcm", kAX, [](double a, double x, double, double) { return GammaRegularizedC(a, x); });
    add("GammaRegularizedC/boost", kAX,
        [](double a, double x, double, double) { return bm::gamma_q(a, x, ThrowPolicy()); });
    add("InverseGammaRegularized/qcm", kAP,
        [](double a, double p, double, double) { return InverseGammaRegularized(a, p); });
    add("InverseGammaRegularized/boost", kAP,
        [](double a, double p, double, double) { return bm::gamma_p_inv(a, p, ErrnoPolicy()); });
    add("InverseGammaRegularizedC/qcm", kAP,
        [](double a, double p, double, double) { return InverseGammaRegularizedC(a, p); });
    add("InverseGammaRegularizedC/boost", kAP,
        [](double a, double p, double, double) { return bm::gamma_q_inv(a, p, ErrnoPolicy()); });
    add("LogXplus1/qcm", kProb, [](double x, double, double, double) { return LogXplus1(x); });
    add("LogXplus1/boost", kProb, [](double x, double, double, double) { return bm::log1p(x, ThrowPolicy()); });
#ifdef QCM_HAVE_RMATH
    add("Gamma/R", kAX, [](double a, double, double, double) { return gammafn(a); });
    add("GammaLn/R", kAX, [](double a, double, double, double) { return lgammafn(a); });
    add("GammaRegularized/R", kAX, [](double a, double x, double, double) { return pgamma(x, a, 1, 1, 0); });
    add("GammaRegularizedC/R", kAX, [](double a, double x, double, double) { return pgamma(x, a, 1, 0, 0); });
    add("InverseGammaRegularized/R", kAP, [](double a, double p, double, double) { return qgamma(p, a, 1, 1, 0); });
    add("InverseGammaRegularizedC/R", kAP, [](double a, double p, double, double) { return qgamma(p, a, 1, 0, 0); });
#endif
    // ---- beta functions
    add("Beta/qcm", kABX, [](double a, double b, double, double) { return Beta(a, b); });
    add("Beta/boost", kABX, [](double a, double b, double, double) { return bm::beta(a, b, ThrowPolicy()); });
    add("BetaDerivative/qcm", kABX, [](double a, double b, double x, double) { return BetaDerivative(a, b, x); });
    add("BetaDerivative/boost", kABX,
        [](double a, double b, double x, double) { return bm::ibeta_derivative(a, b, x, ErrnoPolicy()); });
    add("BetaRegularized/qcm", kABX, [](double a, double b, double x, double) { return BetaRegularized(a, b, x); });
    add("BetaRegularized/boost", kABX,
        [](double a, double b, double x, double) { return bm::ibeta(a, b, x, ThrowPolicy()); });
    add("BetaRegularizedC/qcm", kABX, [](double a, double b, double x, double) { return BetaRegularizedC(a, b, x); });
    add("BetaRegularizedC/boost", kABX,
        [](double a, double b, double x, double) { return bm::ibetac(a, b, x, ThrowPolicy()); });
    add("InverseBetaRegularized/qcm", kABP,
        [](double a, double b, double p, double) { return InverseBetaRegularized(a, b, p); });
    add("InverseBetaRegularized/boost", kABP,
        [](double a, double b, double p, double) { return bm::ibeta_inv(a, b, p, ErrnoPolicy()); });
    add("InverseBetaRegularizedC/qcm", kABP,
        [](double a, double b, double p, double) { return InverseBetaRegularizedC(a, b, p); });
    add("InverseBetaRegularizedC/boost", kABP,
        [](double a, double b, double p, double) { return bm::ibetac_inv(a, b, p, ErrnoPolicy()); });
    add("InverseBetaRegularized2/qcm", kABP, [](double a, double b, double p, double) {
        double x = 0, y = 0;
        return InverseBetaRegularized2(a, b, p, &x, &y) + y;
    });
    add("InverseBetaRegularized2/boost", kABP, [](double a, double b, double p, double) {
        double y = 0;
        return bm::ibeta_inv(a, b, p, &y, ErrnoPolicy()) + y;
    });
    add("InverseBetaRegularizedC2/qcm", kABP, [](double a, double b, double p, double) {
        double x = 0, y = 0;
        return InverseBetaRegularizedC2(a, b, p, &x, &y) + y;
    });
    add("InverseBetaRegularizedC2/boost", kABP, [](double a, double b, double p, double) {
        double y = 0;
        return bm::ibetac_inv(a, b, p, &y, ErrnoPolicy()) + y;
    });
#ifdef QCM_HAVE_RMATH
    add("Beta/R", kABX, [](double a, double b, double, double) { return beta(a, b); });
    add("BetaRegularized/R", kABX, [](double a, double b, double x, double) { return pbeta(x, a, b, 1, 0); });
    add("BetaRegularizedC/R", kABX, [](double a, double b, double x, double) { return pbeta(x, a, b, 0, 0); });
    add("InverseBetaRegularized/R", kABP, [](double a, double b, double p, double) { return qbeta(p, a, b, 1, 0); });
    add("InverseBetaRegularizedC/R", kABP, [](double a, double b, double p, double) { return qbeta(p, a, b, 0, 0); });
#endif
    // ---- continuous distributions
    using StudentT = bm::students_t_distribution<double, ErrnoPolicy>;
    using ChiSq = bm::chi_squared_distribution<double, ErrnoPolicy>;
    using FisherF = bm::fisher_f_distribution<double, ErrnoPolicy>;
    using GammaD = bm::gamma_distribution<double, ErrnoPolicy>;
    using BetaD = bm::beta_distribution<double, ErrnoPolicy>;
    add("StudentTPDF/qcm", kTX, [](double x, double v, double, double) { return StudentTPDF(x, v); });
    add("StudentTPDF/boost", kTX, [](double x, double v, double, double) { return bm::pdf(StudentT(v), x); });
    add("StudentTCDF/qcm", kTX, [](double x, double v, double, double) { return StudentTCDF(x, v, 0); });
    add("StudentTCDF/boost", kTX, [](double x, double v, double, double) { return bm::cdf(StudentT(v), x); });
    add("StudentTICDF/qcm", kTP, [](double p, double v, double, double) { return StudentTICDF(p, v, 0); });
    add("StudentTICDF/boost", kTP, [](double p, double v, double, double) { return bm::quantile(StudentT(v), p); });
    add("ChiSquaredPDF/qcm", kCX, [](double x, double v, double, double) { return ChiSquaredPDF(x, v); });
    add("ChiSquaredPDF/boost", kCX, [](double x, double v, double, double) { return bm::pdf(ChiSq(v), x); });
    add("ChiSquaredCDF/qcm", kCX, [](double x, double v, double, double) { return ChiSquaredCDF(x, v, 1); });
    add("ChiSquaredCDF/boost", kCX,
        [](double x, double v, double, double) { return bm::cdf(bm::complement(ChiSq(v), x)); });
    add("ChiSquaredICDF/qcm", kTP, [](double p, double v, double, double) { return ChiSquaredICDF(p, v, 1); });
    add("ChiSquaredICDF/boost", kTP,
        [](double p, double v, double, double) { return bm::quantile(bm::complement(ChiSq(v), p)); });
    add("FisherFPDF/qcm", kFX, [](double x, double a, double b, double) { return FisherFPDF(x, a, b); });
    add("FisherFPDF/boost", kFX, [](double x, double a, double b, double) { return bm::pdf(FisherF(a, b), x); });
    add("FisherFCDF/qcm", kFX, [](double x, double a, double b, double) { return FisherFCDF(x, a, b, 1); });
    add("FisherFCDF/boost", kFX,
        [](double x, double a, double b, double) { return bm::cdf(bm::complement(FisherF(a, b), x)); });
    add("FisherFICDF/qcm", kFP, [](double p, double a, double b, double) { return FisherFICDF(p, a, b, 1); });
    add("FisherFICDF/boost", kFP,
        [](double p, double a, double b, double) { return bm::quantile(bm::complement(FisherF(a, b), p)); });
    add("GammaPDF/qcm", kGX, [](double x, double k, double t, double) { return GammaPDF(x, k, t); });
    add("GammaPDF/boost", kGX, [](double x, double k, double t, double) { return bm::pdf(GammaD(k, t), x); });
    add("GammaCDF/qcm", kGX, [](double x, double k, double t, double) { return GammaCDF(x, k, t, 0); });
    add("GammaCDF/boost", kGX, [](double x, double k, double t, double) { return bm::cdf(GammaD(k, t), x); });
    add("GammaICDF/qcm", kGP, [](double p, double k, double t, double) { return GammaICDF(p, k, t, 0); });
    add("GammaICDF/boost", kGP, [](double p, double k, double t, double) { return bm::quantile(GammaD(k, t), p); });
    add("BetaPDF/qcm", kBX, [](double x, double a, double b, double) { return BetaPDF(x, a, b); });
    add("BetaPDF/boost", kBX, [](double x, double a, double b, double) { return bm::pdf(BetaD(a, b), x); });
    add("BetaCDF/qcm", kBX, [](double x, double a, double b, double) { return BetaCDF(x, a, b, 0); });
    add("BetaCDF/boost", kBX, [](double x, double a, double b, double) { return bm::cdf(BetaD(a, b), x); });
    add("BetaICDF/qcm", kBP, [](double p, double a, double b, double) { return BetaICDF(p, a, b, 0); });
    add("BetaICDF/boost", kBP, [](double p, double a, double b, double) { return bm::quantile(BetaD(a, b), p); });
#ifdef QCM_HAVE_RMATH
    add("StudentTPDF/R", kTX, [](double x, double v, double, double) { return dt(x, v, 0); });
    add("StudentTCDF/R", kTX, [](double x, double v, double, double) { return pt(x, v, 1, 0); });
    add("StudentTICDF/R", kTP, [](double p, double v, double, double) { return qt(p, v, 1, 0); });
    add("ChiSquaredPDF/R", kCX, [](double x, double v, double, double) { return dchisq(x, v, 0); });
    add("ChiSquaredCDF/R", kCX, [](double x, double v, double, double) { return pchisq(x, v, 0, 0); });
    add("ChiSquaredICDF/R", kTP, [](double p, double v, double, double) { return qchisq(p, v, 0, 0); });
    add("FisherFPDF/R", kFX, [](double x, double a, double b, double) { return df(x, a, b, 0); });
    add("FisherFCDF/R", kFX, [](double x, double a, double b, double) { return pf(x, a, b, 0, 0); });
    add("FisherFICDF/R", kFP, [](double p, double a, double b, double) { return qf(p, a, b, 0, 0); });
    add("GammaPDF/R", kGX, [](double x, double k, double t, double) { return dgamma(x, k, t, 0); });
    add("GammaCDF/R", kGX, [](double x, double k, double t, double) { return pgamma(x, k, t, 1, 0); });
    add("GammaICDF/R", kGP, [](double p, double k, double t, double) { return qgamma(p, k, t, 1, 0); });
    add("BetaPDF/R", kBX, [](double x, double a, double b, double) { return dbeta(x, a, b, 0); });
    add("BetaCDF/R", kBX, [](double x, double a, double b, double) { return pbeta(x, a, b, 1, 0); });
    add("BetaICDF/R", kBP, [](double p, double a, double b, double) { return qbeta(p, a, b, 1, 0); });
#endif
    // ---- binomial and hypergeometric
    using BinomialUp = bm::binomial_distribution<
        double, bm::policies::policy<bm::policies::promote_double<false>,
                                     bm::policies::discrete_quantile<bm::policies::integer_round_up>>>;
    using Hyper = bm::hypergeometric_distribution<
        double, bm::policies::policy<bm::policies::promote_double<false>,
                                     bm::policies::discrete_quantile<bm::policies::integer_round_up>>>;
    add("BinomialPDF/qcm", kBin, [](double k, double n, double p, double) { return BinomialPDF(k, n, p); });
    add("BinomialPDF/boost", kBin, [](double k, double n, double p, double) { return bm::pdf(BinomialUp(n, p), k); });
    add("BinomialCDF/qcm", kBin, [](double k, double n, double p, double) { return BinomialCDF(k, n, p, 0); });
    add("BinomialCDF/boost", kBin, [](double k, double n, double p, double) { return bm::cdf(BinomialUp(n, p), k); });
    add("BinomialICDF/qcm", kBinP, [](double P, double n, double p, double) { return BinomialICDF(P, n, p, 0, 1); });
    add("BinomialICDF/boost", kBinP,
        [](double P, double n, double p, double) { return bm::quantile(BinomialUp(n, p), P); });
    add("BinomialPS/qcm", kPS, [](double a, double n, double k, double) { return BinomialPS(a, n, k, 0); });
    add("BinomialPS/boost", kPS,
        [](double a, double n, double k, double) { return BinomialUp::find_lower_bound_on_p(n, k, a); });
    add("HypergeometricPDF/qcm", kHyp,
        [](double x, double r, double n, double N) { return HypergeometricPDF(x, r, n, N); });
    add("HypergeometricPDF/boost", kHyp, [](double x, double r, double n, double N) {
        return bm::pdf(Hyper(static_cast<unsigned>(r), static_cast<unsigned>(n), static_cast<unsigned>(N)),
                       static_cast<unsigned>(x));
    });
    add("HypergeometricCDF/qcm", kHyp,
        [](double x, double r, double n, double N) { return HypergeometricCDF(x, r, n, N, 0); });
    add("HypergeometricCDF/boost", kHyp, [](double x, double r, double n, double N) {
        return bm::cdf(Hyper(static_cast<unsigned>(r), static_cast<unsigned>(n), static_cast<unsigned>(N)),
                       static_cast<unsigned>(x));
    });
    add("HypergeometricICDF/qcm", kHypP,
        [](double P, double r, double n, double N) { return HypergeometricICDF(P, r, n, N, 0); });
    add("HypergeometricICDF/boost", kHypP, [](double P, double r, double n, double N) {
        return bm::quantile(Hyper(static_cast<unsigned>(r), static_cast<unsigned>(n), static_cast<unsigned>(N)), P);
    });
#ifdef QCM_HAVE_RMATH
    add("BinomialPDF/R", kBin, [](double k, double n, double p, double) { return dbinom(k, n, p, 0); });
    add("BinomialCDF/R", kBin, [](double k, double n, double p, double) { return pbinom(k, n, p, 1, 0); });
    add("BinomialICDF/R", kBinP, [](double P, double n, double p, double) { return qbinom(P, n, p, 1, 0); });
    add("HypergeometricPDF/R", kHyp, [](double x, double r, double n, double N) { return dhyper(x, r, N - r, n, 0); });
    add("HypergeometricCDF/R", kHyp,
        [](double x, double r, double n, double N) { return phyper(x, r, N - r, n, 1, 0); });
    add("HypergeometricICDF/R", kHypP,
        [](double P, double r, double n, double N) { return qhyper(P, r, N - r, n, 1, 0); });
#endif
#ifdef QCM_HAVE_GSL
    // GSL: the same tails as the library's calls above (upper where they pass 1).
    add("Erf/GSL", kX, [](double x, double, double, double) { return gsl_sf_erf(x); });
    add("ErfC/GSL", kX, [](double x, double, double, double) { return gsl_sf_erfc(x); });
    add("NormalPDF/GSL", kX, [](double x, double, double, double) { return gsl_ran_ugaussian_pdf(x); });
    add("NormalCDF/GSL", kX, [](double x, double, double, double) { return gsl_cdf_ugaussian_P(x); });
    add("NormalICDF/GSL", kProb, [](double p, double, double, double) { return gsl_cdf_ugaussian_Pinv(p); });
    add("Gamma/GSL", kAX, [](double a, double, double, double) { return gsl_sf_gamma(a); });
    add("GammaLn/GSL", kAX, [](double a, double, double, double) { return gsl_sf_lngamma(a); });
    add("GammaDerivative/GSL", kAX, [](double a, double x, double, double) { return gsl_ran_gamma_pdf(x, a, 1); });
    add("IncompleteGammaUpper/GSL", kAX, [](double a, double x, double, double) { return gsl_sf_gamma_inc(a, x); });
    add("GammaRegularized/GSL", kAX, [](double a, double x, double, double) { return gsl_sf_gamma_inc_P(a, x); });
    add("GammaRegularizedC/GSL", kAX, [](double a, double x, double, double) { return gsl_sf_gamma_inc_Q(a, x); });
    add("InverseGammaRegularized/GSL", kAP,
        [](double a, double p, double, double) { return gsl_cdf_gamma_Pinv(p, a, 1); });
    add("InverseGammaRegularizedC/GSL", kAP,
        [](double a, double p, double, double) { return gsl_cdf_gamma_Qinv(p, a, 1); });
    add("LogXplus1/GSL", kProb, [](double x, double, double, double) { return gsl_sf_log_1plusx(x); });
    add("Beta/GSL", kABX, [](double a, double b, double, double) { return gsl_sf_beta(a, b); });
    add("BetaDerivative/GSL", kABX, [](double a, double b, double x, double) { return gsl_ran_beta_pdf(x, a, b); });
    add("BetaRegularized/GSL", kABX, [](double a, double b, double x, double) { return gsl_sf_beta_inc(a, b, x); });
    add("BetaRegularizedC/GSL", kABX, [](double a, double b, double x, double) { return gsl_cdf_beta_Q(x, a, b); });
    add("InverseBetaRegularized/GSL", kABP,
        [](double a, double b, double p, double) { return gsl_cdf_beta_Pinv(p, a, b); });
    add("InverseBetaRegularizedC/GSL", kABP,
        [](double a, double b, double p, double) { return gsl_cdf_beta_Qinv(p, a, b); });
    add("StudentTPDF/GSL", kTX, [](double x, double v, double, double) { return gsl_ran_tdist_pdf(x, v); });
    add("StudentTCDF/GSL", kTX, [](double x, double v, double, double) { return gsl_cdf_tdist_P(x, v); });
    add("StudentTICDF/GSL", kTP, [](double p, double v, double, double) { return gsl_cdf_tdist_Pinv(p, v); });
    add("ChiSquaredPDF/GSL", kCX, [](double x, double v, double, double) { return gsl_ran_chisq_pdf(x, v); });
    add("ChiSquaredCDF/GSL", kCX, [](double x, double v, double, double) { return gsl_cdf_chisq_Q(x, v); });
    add("ChiSquaredICDF/GSL", kTP, [](double p, double v, double, double) { return gsl_cdf_chisq_Qinv(p, v); });
    add("FisherFPDF/GSL", kFX, [](double x, double a, double b, double) { return gsl_ran_fdist_pdf(x, a, b); });
    add("FisherFCDF/GSL", kFX, [](double x, double a, double b, double) { return gsl_cdf_fdist_Q(x, a, b); });
    add("FisherFICDF/GSL", kFP, [](double p, double a, double b, double) { return gsl_cdf_fdist_Qinv(p, a, b); });
    add("GammaPDF/GSL", kGX, [](double x, double k, double t, double) { return gsl_ran_gamma_pdf(x, k, t); });
    add("GammaCDF/GSL", kGX, [](double x, double k, double t, double) { return gsl_cdf_gamma_P(x, k, t); });
    add("GammaICDF/GSL", kGP, [](double p, double k, double t, double) { return gsl_cdf_gamma_Pinv(p, k, t); });
    add("BetaPDF/GSL", kBX, [](double x, double a, double b, double) { return gsl_ran_beta_pdf(x, a, b); });
    add("BetaCDF/GSL", kBX, [](double x, double a, double b, double) { return gsl_cdf_beta_P(x, a, b); });
    add("BetaICDF/GSL", kBP, [](double p, double a, double b, double) { return gsl_cdf_beta_Pinv(p, a, b); });
    add("BinomialPDF/GSL", kBin, [](double k, double n, double p, double) {
        return gsl_ran_binomial_pdf(static_cast<unsigned>(k), p, static_cast<unsigned>(n));
    });
    add("BinomialCDF/GSL", kBin, [](double k, double n, double p, double) {
        return gsl_cdf_binomial_P(static_cast<unsigned>(k), p, static_cast<unsigned>(n));
    });
    add("HypergeometricPDF/GSL", kHyp, [](double x, double r, double n, double N) {
        return gsl_ran_hypergeometric_pdf(static_cast<unsigned>(x), static_cast<unsigned>(r),
                                          static_cast<unsigned>(N - r), static_cast<unsigned>(n));
    });
    add("HypergeometricCDF/GSL", kHyp, [](double x, double r, double n, double N) {
        return gsl_cdf_hypergeometric_P(static_cast<unsigned>(x), static_cast<unsigned>(r),
                                        static_cast<unsigned>(N - r), static_cast<unsigned>(n));
    });
#endif
}

}  // namespace

int main(int argc, char** argv) {
#ifdef QCM_HAVE_GSL
    gsl_set_error_handler_off();  // GSL would abort on an underflow report
#endif
    register_all();
    for (int i = 1; i < argc; ++i)
        if (std::strncmp(argv[i], "--instructions=", 15) == 0) {
            count_instructions(std::atol(argv[i] + 15));
            return 0;
        }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
