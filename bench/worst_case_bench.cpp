// The slowest inputs found for each family of exports, within the arguments
// each family accepts: one row per worst case, run by scripts/worst-case.sh,
// which judges each row against 100 ms and writes docs/worst-case.md.
//
// How they were found: grids over every argument of each export (parameters
// from 1e-300 to 1e300 by decades, probabilities 1e-300, 1e-10, 0.5, 1 - 1e-10,
// arguments at, just above and far from the centre), each call timed on its
// own in a child process with a time limit; the slowest of each export then
// narrowed by hand, and for the quantile searches the number of probability
// evaluations counted with an instrumented distribution.
//
// A row's label is the reason the input is the worst; the script prints it.
// Exceptions are part of some worst cases (a series giving up after its term
// limit); a row catches them so that their cost is measured too.
//
// Rows that do not finish within a minute are skipped unless
// QCM_WORST_CASE_RUN_SLOW=1.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "QuillonCoreMath.h"

namespace {

bool SkipSlow() {
    const char* v = std::getenv("QCM_WORST_CASE_RUN_SLOW");
    return v == nullptr || std::strcmp(v, "1") != 0;
}

// One timed call; a thrown exception ends the call like a return.
template <class F>
void Call(F&& f) {
    try {
        benchmark::DoNotOptimize(f());
    } catch (const std::exception&) {
    }
}

benchmark::internal::Benchmark* Row(const char* name, const char* why, std::function<double()> f, bool slow = false) {
    return benchmark::RegisterBenchmark(
               name,
               [why, f, slow](benchmark::State& state) {
                   if (slow && SkipSlow()) {
                       state.SkipWithError("longer than a minute; run with QCM_WORST_CASE_RUN_SLOW=1");
                       for (auto _ : state) {
                       }
                       return;
                   }
                   for (auto _ : state) Call(f);
                   state.SetLabel(why);
               })
        ->Unit(benchmark::kMillisecond);
}

// Correlation factors for the multiple-comparison rows.
std::vector<double> Equal(double v) { return std::vector<double>(200, v); }
std::vector<double> Spread(double lo, double hi) {
    std::vector<double> l(200);
    for (int j = 0; j < 200; ++j) l[j] = lo + (hi - lo) * j / 200;
    return l;
}
const std::vector<double> kTukey = Equal(0.70710678118654752);
// All distinct and small: every factor of every node needs its own normal
// evaluation, and no product reaches 0 early.
const std::vector<double> kSmall = Spread(0.01, 0.3);
// All distinct and large: the Hsu quantile for a small p then lies at the
// jump of the distribution function at 0, which the search cannot resolve.
const std::vector<double> kLarge = Spread(0.5, 0.95);

// Least-squares problem with an intercept and uniform columns.
struct Problem {
    int m, n;
    std::vector<double> x, y;
};
Problem MakeProblem(int m, int n) {
    Problem p{m, n, std::vector<double>(static_cast<std::size_t>(m) * n), std::vector<double>(m)};
    std::mt19937 gen(777u);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int i = 0; i < m; ++i) p.x[i] = 1.0;
    for (std::size_t k = m; k < p.x.size(); ++k) p.x[k] = u(gen);
    for (int i = 0; i < m; ++i) p.y[i] = u(gen);
    return p;
}
double SolveOls(const Problem& p) {
    std::vector<double> x = p.x, y = p.y, beta(p.n), tau(p.n);
    const MatrixDescriptor dx{0, p.m, p.m, p.n}, dy{0, p.m, p.m, 1}, db{0, p.n, p.n, 1};
    return OLS(x.data(), &dx, y.data(), &dy, beta.data(), &db, tau.data(), 1e-10);
}

const double k2to30 = 1073741824.0, k2to31 = 2147483648.0, k2to32m1 = 4294967295.0;

void RegisterRows() {
    // ---- Normal distribution and error function: every call is a few
    // rational approximations; the far tail takes the longest branch.
    Row("Normal/NormalICDF(1e-300)", "deepest tail: erfc_inv's last approximation interval",
        [] { return NormalICDF(1e-300, 0, 1, 0); });
    Row("Normal/ErfC(26.5)", "last erfc interval before underflow to 0", [] { return ErfC(26.5); });

    // ---- Gamma functions: near a = x the incomplete gamma needs its longest
    // series; at a = 1e50 the non-regularized result then overflows (+inf,
    // ERANGE), and the regularized forms at 1e300 run the series to its limit
    // of 1e6 terms and throw evaluation_error.
    Row("Gamma/IncompleteGammaLower(1e50,1e50(1+1e-8))", "longest series of the grid; the result overflows (ERANGE)",
        [] { return IncompleteGammaLower(1e50, 1.00000001e50); });
    Row("Gamma/GammaRegularizedC(1e300,1e300(1+1e-8))", "series to its term limit, then evaluation_error",
        [] { return GammaRegularizedC(1e300, 1.00000001e300); });
    // The inverse: a Halley iteration over the same series near a = x.
    Row("Gamma/InverseGammaRegularized(1e20,1e-10)", "Halley steps each evaluating the long series",
        [] { return InverseGammaRegularized(1e20, 1e-10); });

    // ---- Beta functions: with both shapes large the incomplete beta is a
    // saddle-point density integrated over a few Gauss panels, whatever the
    // size; the inverse at a = 1e6, b = 1e50 solves on the large-shape limits.
    Row("Beta/BetaRegularized(1e20,1e20,0.5)", "saddle-point tail integral at a = b = 1e20",
        [] { return BetaRegularized(1e20, 1e20, 0.5); });
    Row("Beta/InverseBetaRegularizedC(1e6,1e50,1e-300)", "inverse at b/a = 1e44, far tail",
        [] { return InverseBetaRegularizedC(1e6, 1e50, 1e-300); });

    // ---- t, chi-squared, F, gamma and beta distributions: t is cheap at any
    // df; chi-squared and gamma cost a long incomplete-gamma series at
    // parameters of 1e15..1e50; F and beta share the incomplete beta above.
    Row("Dist/StudentTICDF(1e-10,1000,upper)", "far tail at moderate df (t is cheap everywhere)",
        [] { return StudentTICDF(1e-10, 1000, 1); });
    Row("Dist/ChiSquaredCDF(1e50(1+1e-8),1e50)", "incomplete gamma series at a = 5e49",
        [] { return ChiSquaredCDF(1.00000001e50, 1e50, 0); });
    Row("Dist/ChiSquaredICDF(1-1e-10,1e20)", "quantile iterating on the long series",
        [] { return ChiSquaredICDF(0.9999999999, 1e20, 0); });
    Row("Dist/GammaICDF(1-1e-10,1e15,1,upper)", "quantile iterating on the long series",
        [] { return GammaICDF(0.9999999999, 1e15, 1, 1); });
    Row("Dist/FisherFCDF(1,1e50,1e20)", "saddle-point incomplete beta at a = 5e49, b = 5e19",
        [] { return FisherFCDF(1, 1e50, 1e20, 0); });
    Row("Dist/BetaCDF(0.5,1e100,1e100)", "saddle-point incomplete beta at a = b = 1e100",
        [] { return BetaCDF(0.5, 1e100, 1e100, 0); });
    Row("Dist/BetaICDF(1-1e-10,1e6,1e50)", "inverse beta at b/a = 1e44",
        [] { return BetaICDF(0.9999999999, 1e6, 1e50, 0); });

    // ---- Binomial at n = 2^32 - 1: the median (the widest search of the
    // rounded quantile) and the bounds at k = n / 2.
    Row("Binomial/BinomialICDF(0.5,2^32-1,0.5,upper,up)", "rounded quantile at the centre of the widest support",
        [] { return BinomialICDF(0.5, k2to32m1, 0.5, 1, 1); });
    Row("Binomial/BinomialCDF(2^31-1,2^32-1,0.5)", "incomplete beta at a = b = 2^31",
        [] { return BinomialCDF(2147483647.0, k2to32m1, 0.5, 0); });
    Row("Binomial/BinomialPS(0.5,2^32-1,2^31-1,lower)", "inverse incomplete beta at a = b = 2^31",
        [] { return BinomialPS(0.5, k2to32m1, 2147483647.0, 0); });

    // ---- Hypergeometric near 2^32: the evaluation is being replaced; one
    // run each so that the present code still finishes.
    Row("Hypergeometric/HypergeometricPDF(2^30,2^31,2^31,2^32-1)", "counts near 2^32", [] {
        return HypergeometricPDF(k2to30, k2to31, k2to31, k2to32m1);
    })->Iterations(1);
    Row("Hypergeometric/HypergeometricCDF(2^30,2^31,2^31,2^32-1)", "counts near 2^32, summed terms", [] {
        return HypergeometricCDF(k2to30, k2to31, k2to31, k2to32m1, 0);
    })->Iterations(1);
    Row("Hypergeometric/HypergeometricICDF(0.5,2^31,2^31,2^32-1)", "counts near 2^32, searched quantile", [] {
        return HypergeometricICDF(0.5, k2to31, k2to31, k2to32m1, 0);
    })->Iterations(1);

    // ---- Fisher's noncentral hypergeometric: N = 2^31 - 1 with n = m = N/2
    // has the largest standard deviation (~11600); the moments sum exact
    // probabilities (an exp each) over ~12 of them, the table at accuracy
    // 1e-300 is (10 + 6) standard deviations long.
    Row("FNC/FNCHypergeometricMoments(2^30-1,2^30-1,2^31-1,1)", "widest distribution, one exp per term", [] {
        double mean, var;
        return FNCHypergeometricMoments(1073741823, 1073741823, 2147483647, 1.0, &mean, &var);
    });
    Row("FNC/FNCHypergeometricICDF(0.5,2^30-1,2^30-1,2^31-1,1,acc=1e-300)", "longest table",
        [] { return FNCHypergeometricICDF(0.5, 1073741823, 1073741823, 2147483647, 1.0, 0, 1e-300); });

    // ---- Multiple comparisons, k = 200 (the largest k the host passes).
    // Tukey needs one normal evaluation per node whatever k is.
    Row("MC/MCaICDF(0.95,200,5,equal)", "Tukey at k = 200, finite df",
        [] { return MCaICDF(0.95, 200, 5, kTukey.data(), 0); });
    // Hsu and Dunnett: 199 distinct factors, none ever 0: 48 x 48 x 199 normal
    // evaluations per probability (Dunnett: 2 per node pair).
    Row("MC/MCbICDF(0.95,200,5,distinct)", "Hsu, 199 distinct factors, finite df",
        [] { return MCbICDF(0.95, 200, 5, kSmall.data(), 0); });
    Row("MC/MCcICDF(0.95,200,5,distinct)", "Dunnett, 199 distinct factors, finite df",
        [] { return MCcICDF(0.95, 200, 5, kSmall.data(), 0); });
    Row("MC/MCbICDF(0.95,200,1e4,distinct)", "Hsu, known variance: one conditional probability per evaluation",
        [] { return MCbICDF(0.95, 200, 1e4, kSmall.data(), 0); });
    Row("MC/MCcICDF(0.95,200,1e4,distinct)", "Dunnett, known variance",
        [] { return MCcICDF(0.95, 200, 1e4, kSmall.data(), 0); });
    // Searches that run to the limit of 200 evaluations: Tukey and Dunnett at
    // p = 1e-300 (the probability is flat ~ q^(k-1) near 0), Hsu at a p below
    // the jump at 0 (129 evaluations of 48 x 48 x 199 normal evaluations).
    Row("MC/MCaICDF(1e-300,200,5,equal)", "Tukey search to the 200-evaluation limit",
        [] { return MCaICDF(1e-300, 200, 5, kTukey.data(), 0); });
    Row("MC/MCcICDF(1e-300,200,5,distinct)", "Dunnett search to the 200-evaluation limit",
        [] { return MCcICDF(1e-300, 200, 5, kSmall.data(), 0); });
    Row("MC/MCbICDF(0.001,200,1,distinct large)", "Hsu search of 129 evaluations at the jump at 0", [] {
        return MCbICDF(0.001, 200, 1, kLarge.data(), 0);
    })->Iterations(1);

    // ---- Kolmogorov: Durbin's matrix at its largest order (n = 1e5 at
    // n^2 d^3 = 2: m = 117), Smirnov's sum at its largest n (2e5, w = 2.21,
    // ~1e5 terms), and the inverses that evaluate Smirnov's sum most often.
    Row("Kolmogorov/KolmogorovCDF(Durbin,n=1e5)", "matrix power of order 117",
        [] { return KolmogorovCDF(std::cbrt(2.0 / 1e10) * 0.999, 1e5, 0); });
    Row("Kolmogorov/KolmogorovCDF(Smirnov,n=2e5,w=2.21)", "Smirnov sum over ~1e5 terms",
        [] { return KolmogorovCDF(std::sqrt(2.21 / 2e5), 2e5, 1); });
    Row("Kolmogorov/KolmogorovICDF(0.01,1e5,upper)", "root search over Smirnov sums",
        [] { return KolmogorovICDF(0.01, 1e5, 1); });
    Row("Kolmogorov/KolmogorovICDF(1e-10,2e5,upper)", "root search over the longest Smirnov sums",
        [] { return KolmogorovICDF(1e-10, 2e5, 1); });

    // ---- Linear algebra: O(m n^2) by nature; two sizes for scale, no bound
    // claimed for arbitrary sizes.
    static const Problem square = MakeProblem(64, 64), tall = MakeProblem(2000, 50);
    Row("Linalg/OLS(64x64)", "square QR, for scale", [] { return SolveOls(square); });
    Row("Linalg/OLS(2000x50)", "typical regression, for scale", [] { return SolveOls(tall); });
}

}  // namespace

int main(int argc, char** argv) {
    RegisterRows();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
