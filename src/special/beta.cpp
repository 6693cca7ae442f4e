// Beta functions.
//
// Beta, BetaDerivative, BetaRegularized, BetaRegularizedC,
// InverseBetaRegularized, InverseBetaRegularizedC, InverseBetaRegularized2,
// InverseBetaRegularizedC2: Boost.Math's beta family (Lanczos approximation
// for B(a, b); the incomplete beta function by the continued fractions, series
// and asymptotic expansions of DiDonato & Morris, ACM TOMS 18 (1992) 360-373;
// its inverse by Temme's initial estimates, J. Comput. Appl. Math. 41 (1992)
// 145-157, refined with Halley iteration). Beta and the regularized functions
// throw; the derivative and the inverses report through errno.
//
// What the library adds in front of Boost:
//  - BetaDerivative settles x = 0 and x = 1 itself after recording EDOM for a
//    bad a, b or x, so those end values do not depend on the other checks.
//  - The direct inverses reject a bad a, b or p with EDOM and NaN at once; the
//    complement inverses record EDOM and go on. Boost stops at the first
//    failed check with NaN, which is the (unreliable) value they return then;
//    the "2" form still writes y.
//  - A NaN argument gives NaN without errno once the argument checks have
//    run: Boost's incomplete beta routines must not see it, since some of
//    their branches convert it to an integer and throw, or worse.
//  - The inverses go through inverse_beta.hpp, which keeps Boost's result
//    where it is reliable and solves the far tails and huge shapes itself.
//  - With both shapes from kLargeBetaShape on, I_x, its complement and the
//    derivative come from incomplete_beta_large.hpp: Boost's lose accuracy
//    there (0.025 relative at a = b = 1e15, 125 for a probability at 1e20).
#include <boost/math/special_functions/beta.hpp>
#include <cmath>
#include <limits>

#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "special/incomplete_beta_large.hpp"
#include "special/inverse_beta.hpp"

namespace {

using qcm::ErrnoGuard;
using qcm::ErrnoPolicy;
using qcm::ThrowPolicy;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Function names of the messages, as Boost.Math's routines carry them.
constexpr const char* kBetaName = "boost::math::beta<%1%>(%1%,%1%)";
constexpr const char* kIbetaName = "boost::math::ibeta<%1%>(%1%,%1%,%1%)";
constexpr const char* kIbetacName = "boost::math::ibetac<%1%>(%1%,%1%,%1%)";
constexpr const char* kIbetaCheckName = "boost::math::ibeta<%1%>(%1%, %1%, %1%)";
constexpr const char* kIbetaDerivativeName = "boost::math::ibeta_derivative<%1%>(%1%,%1%,%1%)";
constexpr const char* kIbetaInvName = "boost::math::ibeta_inv<%1%>(%1%,%1%,%1%)";
constexpr const char* kIbetacInvName = "boost::math::ibetac_inv<%1%>(%1%,%1%,%1%)";

constexpr const char* kIbetaAReason = "The argument a to the incomplete beta function must be >= zero (got a=%1%).";
constexpr const char* kIbetaBReason = "The argument b to the incomplete beta function must be >= zero (got b=%1%).";
constexpr const char* kIbetaZeroReason =
    "The arguments a and b to the incomplete beta function cannot both be zero, with x=%1%.";
constexpr const char* kIbetaXReason =
    "Parameter x outside the range [0,1] in the incomplete beta function (got x=%1%).";
constexpr const char* kDerivativeAReason =
    "The argument a to the incomplete beta function must be greater than zero (got a=%1%).";
constexpr const char* kDerivativeBReason =
    "The argument b to the incomplete beta function must be greater than zero (got b=%1%).";
constexpr const char* kInverseAReason =
    "The argument a to the incomplete beta function inverse must be greater than zero (got a=%1%).";
constexpr const char* kInverseBReason =
    "The argument b to the incomplete beta function inverse must be greater than zero (got b=%1%).";
constexpr const char* kInversePReason =
    "Argument p outside the range [0,1] in the incomplete beta function inverse (got p=%1%).";
constexpr const char* kInverseQReason =
    "Argument q outside the range [0,1] in the incomplete beta function inverse (got q=%1%).";

bool any_nan(double a, double b, double x) { return qcm::is_nan(a) || qcm::is_nan(b) || qcm::is_nan(x); }

// I_x(a, b) (or its complement) when an argument is NaN: Boost's own checks
// and the end values it settles before computing, in its order, then NaN.
double regularized_with_nan(double a, double b, double x, bool complement) {
    if (x < 0 || x > 1) return qcm::raise_domain<ThrowPolicy>(kIbetaCheckName, kIbetaXReason, x);
    if (a < 0) return qcm::raise_domain<ThrowPolicy>(kIbetaCheckName, kIbetaAReason, a);
    if (b < 0) return qcm::raise_domain<ThrowPolicy>(kIbetaCheckName, kIbetaBReason, b);
    if (a == 0) {
        if (b == 0) return qcm::raise_domain<ThrowPolicy>(kIbetaCheckName, kIbetaZeroReason, x);
        if (b > 0) return complement ? 0.0 : 1.0;
    } else if (b == 0 && a > 0) {
        return complement ? 1.0 : 0.0;
    }
    if (x == 0) return complement ? 1.0 : 0.0;
    if (x == 1) return complement ? 0.0 : 1.0;
    return kNaN;
}

// Valid arguments, none NaN, with both shapes large and finite.
bool large_arguments(double a, double b, double x) {
    return qcm::large_beta_shapes(a, b) && qcm::is_finite(a) && qcm::is_finite(b) && x >= 0 && x <= 1;
}

// I_x(a, b) or its complement.
double regularized(double a, double b, double x, bool complement) {
    if (any_nan(a, b, x)) return regularized_with_nan(a, b, x, complement);
    if (large_arguments(a, b, x)) return qcm::ibeta_large(a, b, x, complement);
    return complement ? boost::math::ibetac(a, b, x, ThrowPolicy()) : boost::math::ibeta(a, b, x, ThrowPolicy());
}

// d/dx I_x(a, b) at an end of [0, 1], where the exponent of that end decides:
// 0 above 1, 1/B(a, b) at 1, an overflow below.
double derivative_at_end(double exponent, double a, double b) {
    if (exponent > 1) return 0.0;
    if (exponent == 1) return 1.0 / boost::math::beta(a, b, ErrnoPolicy());
    return qcm::raise_overflow<ErrnoPolicy>(kIbetaDerivativeName);
}

// Records EDOM for each failed argument check of an inverse; true when all pass.
bool inverse_arguments_valid(double a, double b, double probability, const char* function,
                             const char* probability_reason) {
    bool valid = true;
    if (a <= 0) {
        qcm::raise_domain<ErrnoPolicy>(function, kInverseAReason, a);
        valid = false;
    }
    if (b <= 0) {
        qcm::raise_domain<ErrnoPolicy>(function, kInverseBReason, b);
        valid = false;
    }
    if (probability < 0 || probability > 1) {
        qcm::raise_domain<ErrnoPolicy>(function, probability_reason, probability);
        valid = false;
    }
    return valid;
}

// The x with I_x(a, b) = p, and y = 1 - x to full relative accuracy, after the
// direct forms' own rejection; writes y only when asked for.
double inverse_direct(double a, double b, double p, double* y) {
    if (!inverse_arguments_valid(a, b, p, kIbetaInvName, kInversePReason)) return kNaN;
    double rx = kNaN;
    double ry = kNaN;
    if (!any_nan(a, b, p)) rx = qcm::inverse_beta(a, b, p, false, &ry);
    if (y != nullptr) *y = qcm::checked_result<ErrnoPolicy>(ry, kIbetaInvName);
    return qcm::checked_result<ErrnoPolicy>(rx, kIbetaInvName);
}

// The x with 1 - I_x(a, b) = q: the checks only record EDOM, and y is
// written whatever they found.
double inverse_complement(double a, double b, double q, double* y) {
    const bool valid = inverse_arguments_valid(a, b, q, kIbetacInvName, kInverseQReason);
    double rx = kNaN;
    double ry = kNaN;
    if (valid && !any_nan(a, b, q)) rx = qcm::inverse_beta(a, b, q, true, &ry);
    if (y != nullptr) *y = qcm::checked_result<ErrnoPolicy>(ry, kIbetacInvName);
    return qcm::checked_result<ErrnoPolicy>(rx, kIbetacInvName);
}

}  // namespace

extern "C" {

double Beta(double a, double b) {
    ErrnoGuard guard;
    return qcm::checked_result<ThrowPolicy>(boost::math::beta(a, b, ThrowPolicy()), kBetaName);
}

double BetaDerivative(double a, double b, double x) {
    ErrnoGuard guard;
    if (a <= 0) qcm::raise_domain<ErrnoPolicy>(kIbetaDerivativeName, kDerivativeAReason, a);
    if (b <= 0) qcm::raise_domain<ErrnoPolicy>(kIbetaDerivativeName, kDerivativeBReason, b);
    if (x < 0 || x > 1) qcm::raise_domain<ErrnoPolicy>(kIbetaDerivativeName, kIbetaXReason, x);
    double result;
    if (x == 0)
        result = derivative_at_end(a, a, b);
    else if (x == 1)
        result = derivative_at_end(b, a, b);
    else if (any_nan(a, b, x))
        result = kNaN;
    else if (large_arguments(a, b, x))
        result = qcm::ibeta_derivative_large(a, b, x);
    else
        result = boost::math::ibeta_derivative(a, b, x, ErrnoPolicy());
    return qcm::checked_result<ErrnoPolicy>(result, kIbetaDerivativeName);
}

double BetaRegularized(double a, double b, double x) {
    ErrnoGuard guard;
    return qcm::checked_result<ThrowPolicy>(regularized(a, b, x, false), kIbetaName);
}

double BetaRegularizedC(double a, double b, double x) {
    ErrnoGuard guard;
    return qcm::checked_result<ThrowPolicy>(regularized(a, b, x, true), kIbetacName);
}

double InverseBetaRegularized(double a, double b, double p) {
    ErrnoGuard guard;
    return inverse_direct(a, b, p, nullptr);
}

double InverseBetaRegularizedC(double a, double b, double q) {
    ErrnoGuard guard;
    return inverse_complement(a, b, q, nullptr);
}

double InverseBetaRegularized2(double a, double b, double p, double* x, double* y) {
    ErrnoGuard guard;
    const double result = inverse_direct(a, b, p, y);
    *x = result;
    return result;
}

double InverseBetaRegularizedC2(double a, double b, double q, double* x, double* y) {
    ErrnoGuard guard;
    const double result = inverse_complement(a, b, q, y);
    *x = result;
    return result;
}

}  // extern "C"
