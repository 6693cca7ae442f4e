// Binomial distribution and exact confidence bounds on a success fraction.
//
// BinomialPDF, BinomialCDF, BinomialICDF, BinomialPS: thin layers over
// Boost.Math's binomial_distribution under the throwing policy. The
// distribution's constructor checks the success fraction before the number of
// trials; Boost then checks k (or the probability) itself. The quantile takes
// its discrete rounding (down or up) from the caller, and the upper tail is the
// quantile of the complement.
//
// BinomialPS gives the Clopper-Pearson interval bounds (C. J. Clopper and
// E. S. Pearson, "The use of confidence or fiducial limits illustrated in the
// case of the binomial", Biometrika 26 (1934) 404-413): the lower bound is
// the inverse regularised incomplete beta I^-1(alpha; k, n - k + 1), the upper
// bound the inverse of its complement at (k + 1, n - k). Boost's bound
// functions check alpha only inside the incomplete-beta inverse, and not at
// all when k = 0 or k = n, so every argument is checked here first, in the
// order n, k, k <= n, alpha, under the bound function's own name.
#include <boost/math/distributions/binomial.hpp>
#include <cstdint>

#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "special/incomplete_beta_large.hpp"
#include "tails.hpp"

namespace {

namespace bm = boost::math;
namespace bmp = boost::math::policies;
using qcm::ErrnoGuard;
using qcm::ThrowPolicy;

using Binomial = bm::binomial_distribution<double, ThrowPolicy>;

template <bmp::discrete_quantile_policy_type Rounding>
using QuantilePolicy = typename bmp::normalise<ThrowPolicy, bmp::discrete_quantile<Rounding>>::type;

// Selectors of BinomialPS.
constexpr std::int32_t kLowerBound = 0;
constexpr std::int32_t kUpperBound = 1;
constexpr double kUnknownBound = -1.0;

// From 2^52 on every double is a whole number, so rounding a quantile to a
// count changes nothing; Boost's step-by-one refinement of a rounded quantile
// cannot move once x + 1 == x (from 2^53 on) and would never end there.
constexpr double kWholeDoubles = 4503599627370496.0;  // 2^52

const char* const kLowerBoundFunction = "boost::math::binomial_distribution<%1%>::find_lower_bound_on_p";
const char* const kUpperBoundFunction = "boost::math::binomial_distribution<%1%>::find_upper_bound_on_p";

template <class Policy>
double quantile_of(double P, double n, double p, bool upper) {
    bm::binomial_distribution<double, Policy> dist(n, p);
    return qcm::tail_quantile(dist, P, upper);
}

template <bmp::discrete_quantile_policy_type Rounding>
double rounded_quantile(double P, double n, double p, bool upper) {
    if (n >= kWholeDoubles) {
        // Counts this large are all whole doubles: the real-valued quantile is
        // already the count, and the rounding step must not run on it.
        double x = quantile_of<QuantilePolicy<bmp::real>>(P, n, p, upper);
        if (x >= kWholeDoubles) return x;
    }
    return quantile_of<QuantilePolicy<Rounding>>(P, n, p, upper);
}

// The checks of Boost's bound functions, with alpha added after them and
// tested like a success fraction.
void check_bound_arguments(const char* function, double n, double k, double alpha) {
    if (n < 0 || !qcm::is_finite(n))
        qcm::raise_domain<ThrowPolicy>(function, "Number of Trials argument is %1%, but must be >= 0 !", n);
    if (k < 0 || !qcm::is_finite(k))
        qcm::raise_domain<ThrowPolicy>(function, "Number of Successes argument is %1%, but must be >= 0 !", k);
    if (k > n)
        qcm::raise_domain<ThrowPolicy>(function,
                                       "Number of Successes argument is %1%, but must be <= Number of Trials !", k);
    if (alpha < 0 || alpha > 1 || !qcm::is_finite(alpha))
        qcm::raise_domain<ThrowPolicy>(function, "Success fraction argument is %1%, but must be >= 0 and <= 1 !",
                                       alpha);
}

}  // namespace

extern "C" {

double BinomialPDF(double k, double n, double p) {
    ErrnoGuard guard;
    Binomial dist(n, p);
    return bm::pdf(dist, k);
}

double BinomialCDF(double k, double n, double p, qcm_flag upper) {
    ErrnoGuard guard;
    Binomial dist(n, p);
    // Boost's cdf is 1 - I_p(k + 1, n - k) (I_p for the upper tail) once its
    // checks of k have passed; with both shapes large the shared large-shape
    // routine gives it (Boost's is off by 1e-7 at n = 2^32 - 1).
    if (k >= 0 && k < n && qcm::large_beta_shapes(k + 1, n - k))
        return qcm::ibeta_large(k + 1, n - k, p, !qcm::flag(upper));
    return qcm::tail_cdf(dist, k, qcm::flag(upper));
}

double BinomialICDF(double P, double n, double p, qcm_flag upper, int32_t rounding) {
    ErrnoGuard guard;
    if (rounding == 0) return rounded_quantile<bmp::integer_round_down>(P, n, p, qcm::flag(upper));
    return rounded_quantile<bmp::integer_round_up>(P, n, p, qcm::flag(upper));
}

double BinomialPS(double alpha, double n, double k, int32_t bound) {
    ErrnoGuard guard;
    if (bound == kLowerBound) {
        check_bound_arguments(kLowerBoundFunction, n, k, alpha);
        return Binomial::find_lower_bound_on_p(n, k, alpha, Binomial::clopper_pearson_exact_interval);
    }
    if (bound == kUpperBound) {
        check_bound_arguments(kUpperBoundFunction, n, k, alpha);
        return Binomial::find_upper_bound_on_p(n, k, alpha, Binomial::clopper_pearson_exact_interval);
    }
    return kUnknownBound;
}

}  // extern "C"
