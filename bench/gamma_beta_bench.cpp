// Gamma and beta families: a few exports against the direct Boost call with
// the same policy, and against R's math library where it is available.
#include <benchmark/benchmark.h>

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <cmath>

#include "QuillonCoreMath.h"
#include "boundary/conventions.hpp"

#ifdef QCM_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

// Arguments swept through a range so no call repeats the last one.
struct Sweep {
    double value, low, high, step;
    double next() {
        value = value > high ? low : value + step;
        return value;
    }
};

}  // namespace

static void BM_GammaLn(benchmark::State& state) {
    Sweep x{0.5, 0.5, 200.0, 0.37};
    for (auto _ : state) benchmark::DoNotOptimize(GammaLn(x.next()));
}
BENCHMARK(BM_GammaLn);

static void BM_BoostLgamma(benchmark::State& state) {
    Sweep x{0.5, 0.5, 200.0, 0.37};
    for (auto _ : state) benchmark::DoNotOptimize(boost::math::lgamma(x.next(), qcm::ThrowPolicy()));
}
BENCHMARK(BM_BoostLgamma);

static void BM_GammaRegularized(benchmark::State& state) {
    Sweep x{0.1, 0.1, 40.0, 0.013};
    for (auto _ : state) benchmark::DoNotOptimize(GammaRegularized(10.5, x.next()));
}
BENCHMARK(BM_GammaRegularized);

static void BM_BoostGammaP(benchmark::State& state) {
    Sweep x{0.1, 0.1, 40.0, 0.013};
    for (auto _ : state) benchmark::DoNotOptimize(boost::math::gamma_p(10.5, x.next(), qcm::ThrowPolicy()));
}
BENCHMARK(BM_BoostGammaP);

static void BM_InverseGammaRegularized(benchmark::State& state) {
    Sweep p{0.001, 0.001, 0.999, 0.0007};
    for (auto _ : state) benchmark::DoNotOptimize(InverseGammaRegularized(10.5, p.next()));
}
BENCHMARK(BM_InverseGammaRegularized);

// Denormal lower-tail probabilities (solved by the library's own log-space
// Newton iteration), at a = 100, 1e6 and 1e8: the power series behind ln P
// needs about sqrt(a) terms per evaluation there.
static void BM_InverseGammaRegularizedFarTail(benchmark::State& state) {
    const double a = static_cast<double>(state.range(0));
    Sweep log10_p{-323, -323, -308, 0.37};
    for (auto _ : state) benchmark::DoNotOptimize(InverseGammaRegularized(a, std::pow(10.0, log10_p.next())));
}
BENCHMARK(BM_InverseGammaRegularizedFarTail)->Arg(100)->Arg(1000000)->Arg(100000000);

static void BM_BoostGammaPInv(benchmark::State& state) {
    Sweep p{0.001, 0.001, 0.999, 0.0007};
    for (auto _ : state) benchmark::DoNotOptimize(boost::math::gamma_p_inv(10.5, p.next(), qcm::ErrnoPolicy()));
}
BENCHMARK(BM_BoostGammaPInv);

static void BM_BetaRegularized(benchmark::State& state) {
    Sweep x{0.001, 0.001, 0.999, 0.0007};
    for (auto _ : state) benchmark::DoNotOptimize(BetaRegularized(20.5, 30.25, x.next()));
}
BENCHMARK(BM_BetaRegularized);

static void BM_BoostIbeta(benchmark::State& state) {
    Sweep x{0.001, 0.001, 0.999, 0.0007};
    for (auto _ : state) benchmark::DoNotOptimize(boost::math::ibeta(20.5, 30.25, x.next(), qcm::ThrowPolicy()));
}
BENCHMARK(BM_BoostIbeta);

static void BM_InverseBetaRegularized2(benchmark::State& state) {
    Sweep p{0.001, 0.001, 0.999, 0.0007};
    double x = 0, y = 0;
    for (auto _ : state) benchmark::DoNotOptimize(InverseBetaRegularized2(20.5, 30.25, p.next(), &x, &y));
}
BENCHMARK(BM_InverseBetaRegularized2);

static void BM_BoostIbetaInv(benchmark::State& state) {
    Sweep p{0.001, 0.001, 0.999, 0.0007};
    double y = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(boost::math::ibeta_inv(20.5, 30.25, p.next(), &y, qcm::ErrnoPolicy()));
}
BENCHMARK(BM_BoostIbetaInv);

// The far lower tail, p from 1e-300 up to 1e-100 (solved by the library's own
// log-space Newton iteration), at the shapes where Boost gives up.
static void BM_InverseBetaRegularized2FarTail(benchmark::State& state) {
    Sweep log10_p{-300, -300, -100, 0.37};
    double x = 0, y = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(InverseBetaRegularized2(2, 300, std::pow(10.0, log10_p.next()), &x, &y));
}
BENCHMARK(BM_InverseBetaRegularized2FarTail);

#ifdef QCM_HAVE_RMATH
static void BM_RmathQbetaFarTail(benchmark::State& state) {
    Sweep log10_p{-300, -300, -100, 0.37};
    for (auto _ : state) benchmark::DoNotOptimize(qbeta(std::pow(10.0, log10_p.next()), 2, 300, 1, 0));
}
BENCHMARK(BM_RmathQbetaFarTail);

static void BM_RmathPbeta(benchmark::State& state) {
    Sweep x{0.001, 0.001, 0.999, 0.0007};
    for (auto _ : state) benchmark::DoNotOptimize(pbeta(x.next(), 20.5, 30.25, 1, 0));
}
BENCHMARK(BM_RmathPbeta);

static void BM_RmathQbeta(benchmark::State& state) {
    Sweep p{0.001, 0.001, 0.999, 0.0007};
    for (auto _ : state) benchmark::DoNotOptimize(qbeta(p.next(), 20.5, 30.25, 1, 0));
}
BENCHMARK(BM_RmathQbeta);
#endif

static void BM_LogXplus1(benchmark::State& state) {
    Sweep x{-0.5, -0.5, 2.0, 0.0013};
    for (auto _ : state) benchmark::DoNotOptimize(LogXplus1(x.next()));
}
BENCHMARK(BM_LogXplus1);

static void BM_BoostLog1p(benchmark::State& state) {
    Sweep x{-0.5, -0.5, 2.0, 0.0013};
    for (auto _ : state) benchmark::DoNotOptimize(boost::math::log1p(x.next(), qcm::ThrowPolicy()));
}
BENCHMARK(BM_BoostLog1p);

BENCHMARK_MAIN();
