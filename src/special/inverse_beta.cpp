// The inverse of the regularized incomplete beta function, shared by the four
// inverse beta exports and the beta and F quantiles.
//
// Boost.Math's ibeta_inv (Temme's initial estimates refined by Halley
// iteration) is used wherever it is reliable, unchanged. It is not reliable
// in these regions, which are handled here:
//  - a tail probability below 1e-90: the iteration runs out of steps, stops
//    far from the root (by up to 1e18 ulps) or hangs, and its root finder
//    raises evaluation_error under Boost's default throwing policy whatever
//    policy it was given ("Range arguments in wrong order", "no root to be
//    found", from 1e-200 down even at a = b = 3).
//  - both shapes 1e10 or more: iterations whose every step sums a continued
//    fraction of ~sqrt(a) terms (up to seconds per call), and the same throws
//    from 1e19 on.
//  - shapes more than 1e15 apart: Temme's third estimate brackets its Newton
//    iteration with an empty interval and throws the same way, even at
//    ordinary p; a shape below 1e-100 overflows B(a, b) (ERANGE and NaN).
//  - wherever Boost itself reports an exhausted iteration (EDOM) or an
//    overflow (ERANGE: its Student's t estimate at b = 1/2 and p near 1).
// The root is found by solve_in_log_space below, finished in the far tail by
// polish_power_root, or, for two large shapes, from the large-shape limits of
// the beta distribution. Every path takes a bounded number of evaluations.
#include "special/inverse_beta.hpp"

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <cerrno>
#include <cmath>
#include <limits>

#include "conventions.hpp"

namespace qcm {
namespace {

constexpr double kTailLimit = 1e-90;
constexpr double kLargeShape = 1e10;
// Below this shape Boost's estimates overflow B(a, b) (ERANGE with a NaN).
constexpr double kTinyShape = 1e-100;
// Up to this smaller shape Boost's I_x stays fast and accurate beside a large one.
constexpr double kSmallBesideLarge = 1000;
// Error estimate above which the normal limit reports an inexact value (EDOM).
constexpr double kNormalLimitError = 1e-12;
// Below this ratio of the shapes the larger one acts as a gamma scale.
constexpr double kGammaLimitRatio = 1e-12;
// ... as long as Boost's gamma inverse is quick at the smaller one.
constexpr double kGammaLimitShape = 1e10;
// Below this ratio Temme's third initial estimate inside Boost brackets its
// Newton iteration with an empty interval and throws.
constexpr double kShapeRatioLimit = 1e-15;
constexpr int kMaxSteps = 200;
constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kTiny = std::numeric_limits<double>::denorm_min();
constexpr const char* kName = "boost::math::ibeta_inv<%1%>(%1%,%1%,%1%)";

// One of the four ways to write the equation: the unknown v is x or
// y = 1 - x, and the target is the lower tail p = I_x(a, b) or the upper
// tail q = 1 - I_x(a, b). The smaller tail is always the target (it carries
// the input's digits) and v is taken on the side where the root is <= 1/2,
// so that both v and 1 - v come out to full relative accuracy.
struct Equation {
    double a, b;
    bool unknown_is_x;
    bool target_is_p;
    double target;

    // The target's tail probability at v.
    double tail(double v) const {
        if (unknown_is_x)
            return target_is_p ? boost::math::ibeta(a, b, v, ErrnoPolicy())
                               : boost::math::ibetac(a, b, v, ErrnoPolicy());
        return target_is_p ? boost::math::ibetac(b, a, v, ErrnoPolicy()) : boost::math::ibeta(b, a, v, ErrnoPolicy());
    }
    // |d tail / dv|.
    double slope(double v) const {
        return unknown_is_x ? boost::math::ibeta_derivative(a, b, v, ErrnoPolicy())
                            : boost::math::ibeta_derivative(b, a, v, ErrnoPolicy());
    }
    bool increasing() const { return unknown_is_x == target_is_p; }
    // Shape of the unknown's own lower tail: I_v(c, .) ~ v^c / (c B(a, b)).
    double shape() const { return unknown_is_x ? a : b; }
    double other_shape() const { return unknown_is_x ? b : a; }
};

// ln I_v(c, d) and d ln I / d ln v from the positive series
// I_v(c, d) = v^c (1 - v)^d / (c B(c, d)) * sum_n (c + d)_n / (c + 1)_n v^n
// (Abramowitz & Stegun 26.5.23), for a lower tail below the normal range
// where Boost's I_v underflows. False when the series converges too slowly
// to be used.
struct LogSeries {
    double c, d, log_beta;
    bool operator()(double v, double& log_tail, double& log_slope) const {
        const double ratio = v * (c + d) / (c + 1);
        if (!(ratio < 0.5)) return false;
        double sum = 1, term = 1;
        for (int n = 0; n < 200 && term > kEps * sum; ++n) {
            term *= (c + d + n) / (c + 1 + n) * v;
            sum += term;
        }
        log_tail = c * std::log(v) + d * std::log1p(-v) - std::log(c) - log_beta + std::log(sum);
        log_slope = c / ((1 - v) * sum);
        return true;
    }
};

// ln B(a, b), for the starting point and the log-space series. Where B(a, b)
// itself under- or overflows, the sum of log-gammas cancels digits; only
// targets below the normal range at such shapes depend on it beyond the start.
double log_beta(double a, double b) {
    const double beta = boost::math::beta(a, b, ErrnoPolicy());
    if (beta > 0 && beta <= std::numeric_limits<double>::max()) return std::log(beta);
    return boost::math::lgamma(a, ErrnoPolicy()) + boost::math::lgamma(b, ErrnoPolicy()) -
           boost::math::lgamma(a + b, ErrnoPolicy());
}

// Geometric midpoint of [lo, hi], lo = 0 standing for the smallest denormal.
double log_midpoint(double lo, double hi) { return std::exp(0.5 * (std::log(lo > kTiny ? lo : kTiny) + std::log(hi))); }

// Newton's method on g(v) = ln tail(v) - ln target (sign chosen so that g
// increases with v) taken as a step in ln v, v <- v exp(-g / (v g'(v))),
// inside a bracket [lo, hi] in (0, 1/2] that every evaluation narrows; a
// step leaving the bracket, or an evaluation that underflows or fails, is
// replaced by bisection in ln v. Near the far tail g is nearly linear in
// ln v (tail ~ v^c), so Newton converges in a few steps from the leading
// term; bisection alone needs at most ~64 halvings of [ln 4.9e-324, ln 0.5].
// Returns false when the step limit ran out (v then holds the value reached).
bool solve_in_log_space(const Equation& eq, double& v) {
    const double log_target = std::log(eq.target);
    const double sign = eq.increasing() ? 1.0 : -1.0;
    double lo = 0, hi = 0.5;
    const double c = eq.shape();
    const double lb = log_beta(eq.a, eq.b);
    const double start = eq.increasing() ? (log_target + std::log(c) + lb) / c : std::log(0.25);
    // Targets below the normal range (and a little above, where Boost's I_v
    // has lost bits to gradual underflow) are met in log space.
    const LogSeries log_series{c, eq.other_shape(), lb};
    const LogSeries* series = eq.increasing() && eq.target < 0x1p-1000 && qcm::is_finite(lb) ? &log_series : nullptr;
    v = start < std::log(0.5) ? std::exp(start) : 0.25;
    if (!(v > 0)) v = kTiny;
    double last_step = std::numeric_limits<double>::infinity();
    for (int step = 0; step < kMaxSteps; ++step) {
        double f = 0, g = 0, dlog = 0;
        double log_f = 0, log_slope = 0;
        if (series && (*series)(v, log_f, log_slope)) {
            g = log_f - log_target;
            dlog = -g / log_slope;
        } else {
            f = eq.tail(v);
            g = sign * (std::log(f) - log_target);
            dlog = -g * f / (v * eq.slope(v));
        }
        if (g == 0) return true;
        if (g > 0 || qcm::is_nan(g))
            hi = v;
        else
            lo = v;
        if (hi <= kTiny) {  // the root lies below the smallest denormal
            v = 0;
            return true;
        }
        double next = std::fabs(dlog) < 1e-3 ? v + v * std::expm1(dlog) : v * std::exp(dlog);
        if (!(next > lo && next < hi)) next = log_midpoint(lo, hi);
        // Done when the step is below the rounding of v, or when steps of a
        // few ulps stop shrinking: the rounding noise of the function then
        // decides them, and v is as close as it can tell.
        const double moved = std::fabs(next - v) / next;
        const bool noise = moved < 64 * kEps && !(moved < 0.5 * last_step);
        if (moved <= 2 * kEps || noise || hi - lo <= 2 * kEps * hi) {
            v = next;
            return true;
        }
        last_step = moved;
        v = next;
    }
    return false;
}

// The root of a lower tail written as a power, v = z^(1/c) with
// z = t c B(c, d) / ((1 - v)^d S(v)) and S the series of LogSeries: the root
// of the solve has the error of ln t, about |ln t| eps relative (a few hundred
// ulps at t = 1e-300), while z depends on v only through (1 - v)^d S(v),
// nearly constant in the far tail, so one step of this form carries only the
// few roundings of z. 1/c is rounded; the power is corrected by
// exp(ln z (1/c - fl(1/c))), with 1/c - fl(1/c) = fma(-fl(1/c), c, 1) / c.
// Keeps v where the form does not apply (z outside the normal range, the
// series slow) or disagrees with it beyond the solve's accuracy.
double polish_power_root(const Equation& eq, double v) {
    const double c = eq.shape(), d = eq.other_shape();
    if (!(v > 0) || !(v * (c + d) / (c + 1) < 0.25)) return v;
    const double beta = boost::math::beta(eq.a, eq.b, ErrnoPolicy());
    double sum = 1, term = 1;
    for (int n = 0; n < 200 && term > kEps * sum; ++n) {
        term *= (c + d + n) / (c + 1 + n) * v;
        sum += term;
    }
    const double z = eq.target * c * beta / (std::exp(d * std::log1p(-v)) * sum);
    if (!(z >= std::numeric_limits<double>::min() && z <= std::numeric_limits<double>::max())) return v;
    const double r = 1 / c;
    const double root = std::pow(z, r) * (1 + std::log(z) * (std::fma(-r, c, 1) / c));
    return std::fabs(root - v) <= 1e-9 * v ? root : v;
}

// x (returned) and y = 1 - x with I_x(a, b) = p, 1 - I_x(a, b) = q, where
// 0 < p, q < 1.
double solve(double a, double b, double p, double q, double& y) {
    Equation eq{a, b, true, p <= q, p <= q ? p : q};
    // Which side of 1/2 the root is on: the tail at x = 1/2 against the target.
    const double half = eq.tail(0.5);
    if (eq.increasing() ? eq.target > half : eq.target < half) eq.unknown_is_x = false;
    const int saved = reported_errno();
    double v = 0;
    const bool converged = solve_in_log_space(eq, v);
    if (converged && eq.increasing()) v = polish_power_root(eq, v);
    reported_errno() = saved;  // what Boost recorded along the way was handled here
    const double w = 1 - v;    // exact rounding: v <= 1/2
    double x = eq.unknown_is_x ? v : w;
    y = eq.unknown_is_x ? w : v;
    if (!converged)
        x = raise_evaluation<ErrnoPolicy>(kName, "Root finding evaluation exceeded %1% iterations, giving up now.", x);
    return x;
}

// Standard normal quantile of the smaller tail t (negative: lower tail).
double normal_quantile_lower(double t) { return -std::sqrt(2.0) * boost::math::erfc_inv(2 * t, ErrnoPolicy()); }

// Shapes both large, far apart or tiny. Beside a smaller shape up to 1000,
// Boost's I_x is fast and accurate and the root is solved for as in the tails. Otherwise two
// limits of Beta(a, b):
//  - shapes far apart (ratio below 1e-12): with a the smaller, b X tends to
//    Gamma(a) as b grows, X = G_a / (G_a + G_b) with G_b ~ b, relative error
//    O(a / b); by symmetry the same on y when b is the smaller;
//  - otherwise X is normal with the beta mean and variance to O(1 / (a + b)),
//    with the Cornish-Fisher skewness term; where the first neglected term
//    may exceed 1e-12 relative, the value is reported as inexact (EDOM, as
//    for an iteration that stopped short).
double solve_large(double a, double b, double p, double q, double& y) {
    const double small = std::fmin(a, b), large = std::fmax(a, b);
    if (small <= kSmallBesideLarge) return solve(a, b, p, q, y);
    const int saved = reported_errno();
    double x;
    bool inexact = false;
    if (small < kGammaLimitRatio * large && small < kGammaLimitShape) {
        // The unknown of the small shape: x when a is smaller, else y.
        const bool on_x = a <= b;
        const double pv = on_x ? p : q, qv = on_x ? q : p;  // its lower and upper tails
        const double g = pv <= qv ? boost::math::gamma_p_inv(small, pv, ErrnoPolicy())
                                  : boost::math::gamma_q_inv(small, qv, ErrnoPolicy());
        const double v = g / (g + large), w = large / (g + large);
        x = on_x ? v : w;
        y = on_x ? w : v;
    } else {
        const double ra = a / large, rb = b / large, r = ra + rb;
        const double sigma = std::sqrt(ra * rb / r) / (r * std::sqrt(large));
        const double skew = 2 * (rb - ra) / (std::sqrt(r * ra * rb) * std::sqrt(large));
        const double z = p <= q ? normal_quantile_lower(p) : -normal_quantile_lower(q);
        const double shift = sigma * (z + skew * (z * z - 1) / 6);
        x = ra / r + shift;
        y = rb / r - shift;
        // The first neglected terms are of the order of sigma (skew z^2)^2 / 36
        // and of sigma kurtosis |z|^3 / 24, the kurtosis about 6 / (a + b).
        const double az = std::fabs(z);
        const double neglected =
            sigma * (skew * skew * (az * az * az * az + 1) / 36 + (az * az * az + 3 * az) / (4 * r * large));
        inexact = !(neglected <= kNormalLimitError * std::fmin(x, y));
    }
    reported_errno() = saved;
    if (inexact)
        x = raise_evaluation<ErrnoPolicy>(kName, "Root finding evaluation exceeded %1% iterations, giving up now.", x);
    return x;
}

}  // namespace

double inverse_beta(double a, double b, double prob, bool complement, double* y) {
    const double p = complement ? 1 - prob : prob;
    const double q = complement ? prob : 1 - prob;
    double ry = 0;
    if (p > 0 && q > 0) {
        double rx = 0;
        bool own = true;
        if (std::fmin(a, b) >= kLargeShape || std::fmin(a, b) < kShapeRatioLimit * std::fmax(a, b) ||
            std::fmin(a, b) < kTinyShape) {
            rx = solve_large(a, b, p, q, ry);
        } else if (std::fmin(p, q) < kTailLimit) {
            rx = solve(a, b, p, q, ry);
        } else {
            own = false;
        }
        if (own) {
            if (y != nullptr) *y = ry;
            return rx;
        }
    }
    const int saved = reported_errno();
    reported_errno() = 0;
    const double rx = complement ? boost::math::ibetac_inv(a, b, prob, y, ErrnoPolicy())
                                 : boost::math::ibeta_inv(a, b, prob, y, ErrnoPolicy());
    if (reported_errno() == 0) {
        reported_errno() = saved;
        return rx;
    }
    // Boost's iteration gave up (EDOM, its x is only the value reached), or
    // an intermediate overflowed (ERANGE, an infinite x).
    reported_errno() = saved;
    const double x = solve(a, b, p, q, ry);
    if (y != nullptr) *y = ry;
    return x;
}

}  // namespace qcm
