// The inverse of the regularized incomplete gamma functions, shared by the two
// inverse gamma exports and the gamma and chi-squared quantiles.
//
// Boost.Math's gamma_p_inv / gamma_q_inv (an initial estimate refined by
// Halley iteration) is used wherever it is reliable, unchanged. It is not
// reliable when the tail probability is below the normal range (2.2e-308):
//  - at the smallest denormal its lower-tail iteration gives up (EDOM) with
//    x = 1.1e248 for any a from 100 up, and its upper tail reports a spurious
//    ERANGE with a root ~1e-4 relative too small from a = 1e5 up;
//  - at a = 1 it returns 0 for every denormal p without a report (the root
//    is p itself).
// Those tails, and any other call where Boost reports EDOM or ERANGE for a
// probability inside (0, 1), are solved here: Newton's method in ln x on
// ln P(a, x) - ln p or ln Q(a, x) - ln q, with the tails evaluated in log
// space (P by its power series, Q by Legendre's continued fraction) so that a
// denormal target keeps its relative accuracy, and a bisection safeguard.
// Above kLargeShape the far-tail series and continued fraction need too many
// terms for a bounded call, and Boost is left alone.
#include "special/inverse_gamma.hpp"

#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <cerrno>
#include <cmath>
#include <limits>

#include "conventions.hpp"
#include "special/stirling_series.hpp"

namespace qcm {
namespace {

constexpr double kTailLimit = std::numeric_limits<double>::min();
constexpr double kLargeShape = 1e8;
constexpr int kMaxSteps = 200;
// Terms of the series or continued fraction before Boost's own evaluation is
// used instead (only near the mean, where the tail is not small).
constexpr int kMaxTerms = 20000;
// Below this shape the far lower-tail root is finished as a power root.
constexpr double kPowerRootShape = 50;
constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kTiny = std::numeric_limits<double>::denorm_min();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kLogTwoPi = 1.8378770664093454836;
constexpr const char* kLowerName = "boost::math::gamma_p_inv<%1%>(%1%, %1%)";
constexpr const char* kUpperName = "boost::math::gamma_q_inv<%1%>(%1%, %1%)";

// delta(a) = ln Gamma(a + 1) - (a + 1/2) ln a + a - ln(2 pi) / 2, Stirling's
// error term: directly below a = 10, by its asymptotic series from there on.
double stirling_error(double a) {
    if (a < 10) return boost::math::lgamma(a + 1, ErrnoPolicy()) - (a + 0.5) * std::log(a) + a - 0.5 * kLogTwoPi;
    return stirling_series(a);
}

// a ln(a / x) + x - a >= 0. Near x = a its terms cancel; there it is summed
// as 2 a sum_j v^(2j+1) / (2j+1) - (a - x) v with v = (a - x) / (a + x),
// every term of one sign.
double deviance(double a, double x) {
    const double d = a - x;
    if (std::fabs(d) < 0.1 * (a + x)) {
        const double v = d / (a + x), v2 = v * v;
        double sum = d * v, term = 2 * a * v;
        for (int j = 1; j < 1000; ++j) {
            term *= v2;
            const double next = sum + term / (2 * j + 1);
            if (next == sum) break;
            sum = next;
        }
        return sum;
    }
    return a * (std::log(a) - std::log(x)) + x - a;
}

// ln(x^a e^-x / Gamma(a + 1)). For large a the terms a ln x, x and
// ln Gamma(a + 1) are each much larger than their sum; written as
// -deviance(a, x) - ln(2 pi a) / 2 - delta(a) no large terms cancel.
double log_prefix(double a, double x) {
    if (a < 10) return a * std::log(x) - x - boost::math::lgamma(a + 1, ErrnoPolicy());
    return -deviance(a, x) - 0.5 * (kLogTwoPi + std::log(a)) - stirling_error(a);
}

// S = sum_k x^k / ((a + 1) ... (a + k)), with P(a, x) = x^a e^-x S / Gamma(a + 1).
// False when it has not converged in kMaxTerms terms.
bool lower_series(double a, double x, double& sum) {
    double term = 1;
    sum = 1;
    for (int k = 1; k <= kMaxTerms; ++k) {
        term *= x / (a + k);
        sum += term;
        const double ratio = x / (a + k + 1);  // bounds the rest by term ratio / (1 - ratio)
        if (ratio < 1 && term * ratio <= 0.25 * kEps * sum * (1 - ratio)) return true;
    }
    return false;
}

// H with Q(a, x) = x^a e^-x H / Gamma(a): Legendre's continued fraction
// 1 / (x + 1 - a - 1 (1 - a) / (x + 3 - a - 2 (2 - a) / (x + 5 - a - ...))),
// by the modified Lentz method. False when it has not converged.
bool upper_fraction(double a, double x, double& h) {
    constexpr double kFloor = 1e-300;
    double b = x + 1 - a, c = 1 / kFloor, d = 1 / b;
    h = d;
    for (int i = 1; i <= kMaxTerms; ++i) {
        const double an = -i * (i - a);
        b += 2;
        d = an * d + b;
        if (std::fabs(d) < kFloor) d = kFloor;
        c = b + an / c;
        if (std::fabs(c) < kFloor) c = kFloor;
        d = 1 / d;
        const double del = d * c;
        h *= del;
        if (std::fabs(del - 1) <= kEps) return true;
    }
    return false;
}

// The tail targeted (P when lower, else Q) at x: its logarithm and
// d ln(tail) / d ln x. In the far tails from the series or the continued
// fraction; elsewhere (near the mean, where the tail is not small) from
// Boost's P or Q.
void evaluate(double a, double x, bool lower, double& log_tail, double& slope) {
    const double lp = log_prefix(a, x);
    double s = 0;
    if (lower && x < a + 1 && lower_series(a, x, s)) {
        log_tail = lp + std::log(s);
        slope = a / s;
        return;
    }
    if (!lower && x > a + 1 && upper_fraction(a, x, s)) {
        log_tail = std::log(a) + lp + std::log(s);
        slope = -1 / s;
        return;
    }
    const double tail = lower ? boost::math::gamma_p(a, x, ErrnoPolicy()) : boost::math::gamma_q(a, x, ErrnoPolicy());
    log_tail = std::log(tail);
    // x times the density, x^a e^-x / Gamma(a), over the tail.
    slope = (lower ? 1 : -1) * std::exp(std::log(a) + lp - log_tail);
}

// Geometric midpoint of [lo, hi], with 0 and infinity standing for the
// smallest and largest doubles.
double log_midpoint(double lo, double hi) {
    return std::exp(0.5 * (std::log(lo > kTiny ? lo : kTiny) + std::log(hi < kLargest ? hi : kLargest)));
}

// A start for the iteration: Wilson and Hilferty's cube of a normal variate
// from a = 10 on where it stays positive, else the leading term of the tail
// (x^a / Gamma(a + 1) = p below the mean, x^(a-1) e^-x / Gamma(a) = q above).
double start(double a, double t, bool lower) {
    const int saved = reported_errno();
    const double z = std::sqrt(2.0) * boost::math::erfc_inv(2 * t, ErrnoPolicy()) * (lower ? -1 : 1);
    reported_errno() = saved;
    const double w = 1 - 1 / (9 * a) + z / (3 * std::sqrt(a));
    if (a >= 10 && w > 0) return a * w * w * w;
    if (lower) {
        const double x = std::exp((std::log(t) + boost::math::lgamma(a + 1, ErrnoPolicy())) / a);
        return x < a ? x : 0.5 * a;
    }
    const double base = -std::log(t) - boost::math::lgamma(a, ErrnoPolicy());
    double x = a + 1 > base ? a + 1 : base;
    for (int i = 0; i < 3; ++i) x = std::fmax(a + 1, base + (a - 1) * std::log(x));
    return x;
}

// Newton's method in ln x on g(x) = ln tail(x) - ln t, x <- x exp(-g / g'),
// inside a bracket that every evaluation narrows; a step leaving the bracket
// is replaced by bisection in ln x. The lower-tail root of t <= 1/2 lies
// below the median, which is below a. ln P is concave in ln x (its slope
// a / S falls as S grows), so from below the root Newton approaches it from
// below without overshooting.
// Returns false when the step limit ran out (x then holds the value reached).
bool solve_in_log_space(double a, double t, bool lower, double& x) {
    const double log_target = std::log(t);
    double lo = 0, hi = lower ? a : std::numeric_limits<double>::infinity();
    x = start(a, t, lower);
    if (!(x > lo && x < hi)) x = log_midpoint(lo, hi);
    double last_step = std::numeric_limits<double>::infinity();
    for (int step = 0; step < kMaxSteps; ++step) {
        double log_tail = 0, slope = 0;
        evaluate(a, x, lower, log_tail, slope);
        const double g = log_tail - log_target;
        if (g == 0) return true;
        // The root is below x when the tail at x is too large (lower) or too small (upper).
        if ((lower ? g > 0 : g < 0) || qcm::is_nan(g))
            hi = x;
        else
            lo = x;
        if (hi <= kTiny) {  // the root lies below the smallest denormal
            x = 0;
            return true;
        }
        const double dlog = -g / slope;
        double next = std::fabs(dlog) < 1e-3 ? x + x * std::expm1(dlog) : x * std::exp(dlog);
        // A Newton step below the rounding of x: x is the root. (It may land
        // on the end of the bracket that x has just become.)
        if (std::fabs(next - x) <= 2 * kEps * x) {
            x = next;
            return true;
        }
        if (!(next > lo && next < hi)) next = log_midpoint(lo, hi);
        // Done when the step is below the rounding of x, or when steps of a
        // few ulps stop shrinking: the rounding noise of g then decides them.
        const double moved = std::fabs(next - x) / next;
        const bool noise = moved < 64 * kEps && !(moved < 0.5 * last_step);
        if (moved <= 2 * kEps || noise || hi - lo <= 2 * kEps * hi) {
            x = next;
            return true;
        }
        last_step = moved;
        x = next;
    }
    return false;
}

// The far lower-tail root at small a written as a power,
// x = (p Gamma(a + 1) e^x / S(x))^(1/a): the log-space root carries the
// rounding of ln p and of a ln x, about |ln p| eps / a relative, while the
// factor e^x / S depends on x only weakly, so one step of this form leaves
// only a few roundings. With p = m 2^e and e = n a + r (n an integer,
// 0 <= r < a), x = 2^n 2^(r/a) (m Gamma(a + 1) e^x / S)^(1/a), every factor
// in the normal range; the rounding of 1/a is corrected as
// z^(1/a) (1 + ln z (1/a - fl(1/a))). Keeps x where the form does not apply
// or disagrees with it beyond the log-space accuracy.
double polish_power_root(double a, double p, double x) {
    if (!(x > 0) || a > kPowerRootShape || !(x < a + 1)) return x;
    double s = 0;
    if (!lower_series(a, x, s)) return x;
    int e = 0;
    const double m = std::frexp(p, &e);
    const double z = m * boost::math::tgamma(a + 1, ErrnoPolicy()) * std::exp(x) / s;
    const double n = std::floor(e / a);
    const double r = std::fma(-n, a, e);
    const double inv = 1 / a;
    const double power = std::pow(z, inv) * (1 + std::log(z) * (std::fma(-inv, a, 1) / a));
    const double root = std::ldexp(power * std::exp2(r / a), static_cast<int>(n));
    return std::fabs(root - x) <= 1e-9 * x ? root : x;
}

// The root for a probability inside (0, 1): the smaller tail is the target
// (it carries the input's digits; 1 - prob is exact when prob > 1/2).
double solve(double a, double prob, bool complement) {
    const bool lower = (prob <= 0.5) != complement;
    const double t = prob <= 0.5 ? prob : 1 - prob;
    const int saved = reported_errno();
    double x = 0;
    const bool converged = solve_in_log_space(a, t, lower, x);
    if (converged && lower) x = polish_power_root(a, t, x);
    reported_errno() = saved;  // what Boost recorded along the way was handled here
    if (!converged)
        x = raise_evaluation<ErrnoPolicy>(complement ? kUpperName : kLowerName,
                                          "Root finding evaluation exceeded %1% iterations, giving up now.", x);
    return x;
}

}  // namespace

double inverse_gamma(double a, double prob, bool complement) {
    const bool ours = a > 0 && a <= kLargeShape && prob > 0 && prob < 1;  // false for NaN
    if (ours && prob < kTailLimit) return solve(a, prob, complement);
    const int saved = reported_errno();
    reported_errno() = 0;
    const double x = complement ? boost::math::gamma_q_inv(a, prob, ErrnoPolicy())
                                : boost::math::gamma_p_inv(a, prob, ErrnoPolicy());
    if (reported_errno() == 0) {
        reported_errno() = saved;
        return x;
    }
    if (!ours) return x;  // Boost's report on a bad argument stands
    // Boost's iteration gave up (EDOM, its x is only the value reached), or
    // an intermediate overflowed (ERANGE).
    reported_errno() = saved;
    return solve(a, prob, complement);
}

}  // namespace qcm
