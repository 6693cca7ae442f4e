// Kolmogorov distribution: the exports.
//
// KolmogorovCDF gives P(D_n <= d), or P(D_n >= d) for a non-zero int flag,
// through the dispatchers of kolmogorov_methods.cpp; it reports no error.
// KolmogorovICDF finds the d at which that tail reaches p: it brackets the
// root from the guess 1.36/sqrt(n) (near the 5% critical value) by
// multiplying or dividing by 2, doubling the factor every 20 steps, within
// 100 evaluations of the objective, then narrows the bracket by TOMS 748
// (Alefeld, Potra and Shi, ACM TOMS 21 (1995)) to 24 bits and returns its
// midpoint. A p the tail cannot reach ends in the bracketing failure, thrown
// as boost::math::evaluation_error.
#include "kolmogorov/kolmogorov.hpp"

#include <boost/cstdint.hpp>
#include <boost/math/special_functions/sign.hpp>
#include <boost/math/tools/toms748_solve.hpp>
#include <cmath>
#include <cstdint>
#include <utility>

#include "QuillonCoreMath.h"
#include "conventions.hpp"

namespace {

using qcm::kolmogorov::KolmogorovLowerTail;
using qcm::kolmogorov::KolmogorovUpperTail;

constexpr double kGuessScale = 1.36;  // 1.36/sqrt(n): the asymptotic 5% critical value
constexpr double kGrowthFactor = 2.0;
constexpr int kGrowthDoublingPeriod = 20;  // the factor doubles every 20 steps of the walk
constexpr int kToleranceBits = 24;
constexpr boost::uintmax_t kMaxEvaluations = 100;

const char* const kBracketFunction = "boost::math::tools::bracket_and_solve_root<%1%>";
const char* const kBracketReason = "Unable to bracket root, last nearest value was %1%";

// The sample size truncated toward zero; false when it does not fit an int.
bool sample_size(double n, int& N) {
    if (!(n > -2147483649.0 && n < 2147483648.0)) return false;
    N = static_cast<int>(n);
    return true;
}

// Both forms increase with x: F(x) - p for the lower tail, p - Q(x) for the upper.
struct Objective {
    bool upper;
    double p;
    bool valid;
    int n;
    double operator()(double x) const {
        if (!valid) return qcm::kLibraryNaN;
        return upper ? p - KolmogorovUpperTail(n, x) : KolmogorovLowerTail(n, x) - p;
    }
};

// Walks from the guess until f changes sign (upward while f < 0, downward
// while f >= 0), then solves on the bracket by TOMS 748.
std::pair<double, double> bracket_and_solve(const Objective& f, double guess) {
    using boost::math::sign;
    double factor = kGrowthFactor;
    double a = guess, b = guess;
    double fa = f(a), fb = fa;
    boost::uintmax_t count = kMaxEvaluations - 1;
    const bool walk_up = fa < 0;
    while (sign(fb) == sign(fa)) {
        if (count == 0) {
            qcm::raise_evaluation<qcm::ThrowPolicy>(kBracketFunction, kBracketReason, walk_up ? b : a);
            return {a, b};  // not reached: the throwing policy throws
        }
        if ((kMaxEvaluations - count) % kGrowthDoublingPeriod == 0) factor *= 2;
        if (walk_up) {
            a = b;
            fa = fb;
            b *= factor;
            fb = f(b);
        } else {
            b = a;
            fb = fa;
            a /= factor;
            fa = f(a);
        }
        --count;
    }
    boost::math::tools::eps_tolerance<double> tolerance(kToleranceBits);
    return boost::math::tools::toms748_solve(f, a, b, fa, fb, tolerance, count, qcm::ThrowPolicy());
}

}  // namespace

extern "C" {

double KolmogorovCDF(double d, double n, int32_t upper) {
    qcm::ErrnoGuard guard;
    if (d < 0) return upper != 0 ? 1.0 : 0.0;
    int N = 0;
    if (!sample_size(n, N)) return qcm::kLibraryNaN;
    return upper != 0 ? KolmogorovUpperTail(N, d) : KolmogorovLowerTail(N, d);
}

double KolmogorovICDF(double p, double n, int32_t upper) {
    qcm::ErrnoGuard guard;
    Objective f{upper != 0, p, false, 0};
    f.valid = sample_size(n, f.n);
    const std::pair<double, double> r = bracket_and_solve(f, kGuessScale / std::sqrt(n));
    return r.first + (r.second - r.first) * 0.5;
}

}  // extern "C"
