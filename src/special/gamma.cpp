// Gamma functions.
//
// Gamma, GammaLn, GammaDerivative, IncompleteGammaLower, IncompleteGammaUpper,
// GammaRegularized, GammaRegularizedC, InverseGammaRegularized,
// InverseGammaRegularizedC and LogXplus1. All but LogXplus1 are Boost.Math's
// gamma family (Lanczos approximation for tgamma/lgamma; the incomplete gamma
// functions by the series, continued fractions and Temme expansions of
// DiDonato & Morris, ACM TOMS 12 (1986) 377-393; the inverses by their initial
// estimate refined with Halley iteration, with the far tails of
// inverse_gamma.hpp). The policy differs per export and
// is part of the interface: Gamma, the non-regularized incomplete functions
// and the inverses report through errno, the others throw.
//
// What the library adds in front of Boost:
//  - Gamma rejects x < 0 and x > 171 with NaN and x = 0 with +infinity,
//    without errno.
//  - GammaLn(+-0) is a pole named like the negative integers.
//  - GammaDerivative runs its own steps around Boost's regularized prefix
//    x^a e^-x / Gamma(a), so an underflowed prefix gives 0.
//  - The inverses record EDOM for a bad a or probability and still return the
//    largest double for P = 1 (Q = 0) and 0 for P = 0 (Q = 1), with no
//    overflow report. Boost stops at the first failed check with NaN; that NaN
//    is the (unreliable) value a bad argument gets.
//  - LogXplus1 is ln(u) * x / (u - 1) with u = 1 + x (D. Goldberg, "What every
//    computer scientist should know about floating-point arithmetic", ACM
//    Computing Surveys 23 (1991), Theorem 4), not the platform's log1p.
#include <boost/math/special_functions/gamma.hpp>
#include <cmath>
#include <limits>

#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "special/inverse_gamma.hpp"

namespace {

using qcm::ErrnoGuard;
using qcm::ErrnoPolicy;
using qcm::ThrowPolicy;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();

// Gamma is not evaluated above this argument: Gamma(171) ~ 7.3e306 is the last
// integer point below the overflow threshold near 171.62.
constexpr double kGammaLargestArgument = 171.0;

// Function names of the messages, as Boost.Math's routines carry them.
constexpr const char* kLgammaName = "boost::math::lgamma<%1%>(%1%)";
constexpr const char* kGammaPDerivativeName = "boost::math::gamma_p_derivative<%1%>(%1%, %1%)";
constexpr const char* kGammaPName = "gamma_p<%1%>(%1%, %1%)";
constexpr const char* kGammaQName = "gamma_q<%1%>(%1%, %1%)";
constexpr const char* kGammaPInvName = "boost::math::gamma_p_inv<%1%>(%1%, %1%)";
constexpr const char* kGammaQInvName = "boost::math::gamma_q_inv<%1%>(%1%, %1%)";
constexpr const char* kLog1pName = "log1p<%1%>(%1%)";

constexpr const char* kLgammaPoleReason = "Evaluation of lgamma at a negative integer %1%.";
constexpr const char* kArgumentAReason =
    "Argument a to the incomplete gamma function must be greater than zero (got a=%1%).";
constexpr const char* kArgumentXReason = "Argument x to the incomplete gamma function must be >= 0 (got x=%1%).";
constexpr const char* kInverseAReason = "Argument a in the incomplete gamma function inverse must be >= 0 (got a=%1%).";
constexpr const char* kInversePReason =
    "Probability must be in the range [0,1] in the incomplete gamma function inverse (got p=%1%).";
constexpr const char* kInverseQReason =
    "Probability must be in the range [0,1] in the incomplete gamma function inverse (got q=%1%).";
constexpr const char* kOverflowErrorReason = "Overflow Error";
constexpr const char* kLog1pDomainReason = "log1p(x) requires x > -1, but got x = %1%.";

// The argument checks of the two inverses. Each failure records EDOM and the
// caller goes on; the result says whether all of them passed.
bool inverse_arguments_valid(double a, double probability, const char* function, const char* probability_reason) {
    bool valid = true;
    if (a <= 0) {
        qcm::raise_domain<ErrnoPolicy>(function, kInverseAReason, a);
        valid = false;
    }
    if (probability < 0 || probability > 1) {
        qcm::raise_domain<ErrnoPolicy>(function, probability_reason, probability);
        valid = false;
    }
    return valid;
}

}  // namespace

extern "C" {

double Gamma(double x) {
    ErrnoGuard guard;
    if (x < 0) return kNaN;  // no reflection to negative arguments
    if (x > kGammaLargestArgument) return kNaN;
    if (x == 0) return kInfinity;
    return boost::math::tgamma(x, ErrnoPolicy());
}

double GammaLn(double x) {
    ErrnoGuard guard;
    // Boost names the pole at zero differently from the poles at the negative
    // integers; the library reports all of them alike.
    if (x == 0) return qcm::raise_pole<ThrowPolicy>(kLgammaName, kLgammaPoleReason, x);
    return qcm::checked_result<ThrowPolicy>(boost::math::lgamma(x, ThrowPolicy()), kLgammaName);
}

double GammaDerivative(double a, double x) {
    ErrnoGuard guard;
    if (a <= 0) return qcm::raise_domain<ThrowPolicy>(kGammaPDerivativeName, kArgumentAReason, a);
    if (x < 0) return qcm::raise_domain<ThrowPolicy>(kGammaPDerivativeName, kArgumentXReason, x);
    if (x == 0) {
        if (a > 1) return 0.0;
        if (a == 1) return 1.0;
        return qcm::raise_overflow<ThrowPolicy>(kGammaPDerivativeName, kOverflowErrorReason);
    }
    using Lanczos = boost::math::lanczos::lanczos<double, ThrowPolicy>::type;
    const double prefix = boost::math::detail::regularised_gamma_prefix(a, x, ThrowPolicy(), Lanczos());
    if (x < 1 && kLargest * x < prefix)
        return qcm::raise_overflow<ThrowPolicy>(kGammaPDerivativeName, kOverflowErrorReason);
    return qcm::checked_result<ThrowPolicy>(prefix / x, kGammaPDerivativeName);
}

// The non-regularized functions report a bad a or x with EDOM and NaN and an
// overflowing result with ERANGE and +infinity, all inside Boost.
double IncompleteGammaLower(double a, double x) {
    ErrnoGuard guard;
    return boost::math::tgamma_lower(a, x, ErrnoPolicy());
}

double IncompleteGammaUpper(double a, double x) {
    ErrnoGuard guard;
    return boost::math::tgamma(a, x, ErrnoPolicy());
}

double GammaRegularized(double a, double x) {
    ErrnoGuard guard;
    return qcm::checked_result<ThrowPolicy>(boost::math::gamma_p(a, x, ThrowPolicy()), kGammaPName);
}

double GammaRegularizedC(double a, double x) {
    ErrnoGuard guard;
    return qcm::checked_result<ThrowPolicy>(boost::math::gamma_q(a, x, ThrowPolicy()), kGammaQName);
}

double InverseGammaRegularized(double a, double p) {
    ErrnoGuard guard;
    const bool valid = inverse_arguments_valid(a, p, kGammaPInvName, kInversePReason);
    if (p == 1) return kLargest;
    if (p == 0) return 0.0;
    if (!valid) return kNaN;
    return qcm::inverse_gamma(a, p, false);
}

double InverseGammaRegularizedC(double a, double q) {
    ErrnoGuard guard;
    const bool valid = inverse_arguments_valid(a, q, kGammaQInvName, kInverseQReason);
    if (q == 0) return kLargest;
    if (q == 1) return 0.0;
    if (!valid) return kNaN;
    return qcm::inverse_gamma(a, q, true);
}

double LogXplus1(double x) {
    ErrnoGuard guard;
    if (x < -1) return qcm::raise_domain<ThrowPolicy>(kLog1pName, kLog1pDomainReason, x);
    if (x == -1) return qcm::raise_overflow<ThrowPolicy>(kLog1pName, kOverflowErrorReason);
    // u carries the rounding error of 1 + x; u - 1 is exact, so x / (u - 1)
    // scales the logarithm back to the x that was asked for.
    const double u = 1.0 + x;
    if (u == 1.0) return x;
    return std::log(u) * (x / (u - 1.0));
}

}  // extern "C"
