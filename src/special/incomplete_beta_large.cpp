// The incomplete beta function for two large shapes, after Loader's
// saddle-point form of the binomial probabilities (C. Loader, "Fast and
// accurate computation of binomial probabilities", 2000).
//
// In the logit variable t = log(x / y), y = 1 - x, the beta law has density
//     g(t) = x^a y^b / B(a, b)
//          = sqrt(a b / (2 pi r)) exp(delta) exp(-(bd0(a, r x) + bd0(b, r y))),
// r = a + b, with the Stirling remainders delta = e(r) - e(a) - e(b),
// e(z) = log Gamma(z) - [(z - 1/2) log z - z + log(2 pi) / 2], and Loader's
// deviance bd0(k, m) = k log(k / m) + m - k. Every factor is computed to a
// few ulps: the deviances from the difference r x - a = x b - y a formed
// without cancellation (r y - b is its negative), summed as a series when it
// is small. The
// density is log-concave with its mode at t0 = log(a / b) and standard
// deviation close to s = sqrt(1/a + 1/b). The tail on the side of x away from
// the mode is integrated; the other tail is one minus it.
//
// The integral runs in w = (t - t_x) / s from 0 to infinity (sign chosen for
// the side):
//     tail = exp(delta - H(t_x)) / sqrt(2 pi) * J,
//     J = integral of exp(-(H(t_x +- s w) - H(t_x))) dw,
// H the sum of the two deviances. The integrand of J is log-concave, equal
// to 1 at w = 0 with slope lambda = |r x - a| s (d H / dt = r x - a), so in
// v = (1 + lambda) w it falls like exp(-v) or faster and no faster than
// a unit Gaussian; 15-point Gauss-Legendre panels [0, 1], [1, 3], [3, 7], ...
// follow it until it is below 1e-20.
#include "special/incomplete_beta_large.hpp"

#include <boost/math/quadrature/gauss.hpp>
#include <cmath>

#include "special/stirling_series.hpp"

namespace qcm {
namespace {

constexpr double kSqrtTwoPi = 2.506628274631000502415765;
// bd0 is summed as a series when |m - k| < kSeriesCut k.
constexpr double kSeriesCut = 0.1;
// At |q| < 0.1 the series terms fall by 1/400 at least: 8 terms reach 1e-21.
constexpr int kSeriesTerms = 30;
// A tail whose log is below -kUnderflowExponent underflows a double.
constexpr double kUnderflowExponent = 760;
// Integrand level below which the panels stop, and their largest number.
constexpr double kNegligible = 1e-20;
constexpr int kMaxPanels = 16;

// bd0(k, k (1 + q)) = k (q - log(1 + q)), for q >= -1. Near the mode q is
// of order k^-1/2, so the products are grouped as (k q) q and ((k v) v) v:
// at shapes near the largest double q^2 alone would lose bits to underflow.
double deviance(double k, double q) {
    if (std::fabs(q) < kSeriesCut) {
        // log(1 + q) = -2 atanh(v), v = -q / (2 + q), and q + 2 v = -q v.
        const double v = -q / (2 + q);
        double sum = -(k * q) * v;
        double power = 2 * (k * v);  // 2 k v^(2 j + 1)
        for (int j = 1; j < kSeriesTerms; ++j) {
            power = (power * v) * v;
            const double next = sum + power / (2 * j + 1);
            if (next == sum) break;
            sum = next;
        }
        return sum;
    }
    return k * (q - std::log1p(q));
}

// The shapes and the quantities of the density that do not depend on x.
struct Shapes {
    double a, b;
    double ratio;  // a / b
    double sd;     // s = sqrt(1/a + 1/b)
    double delta;  // e(a + b) - e(a) - e(b)

    Shapes(double a_, double b_)
        : a(a_),
          b(b_),
          ratio(a_ / b_),
          sd(std::sqrt(1 / a_ + 1 / b_)),
          delta(stirling_series(a_ + b_) - stirling_series(a_) - stirling_series(b_)) {}

    // H from the relative offsets r x / a - 1 and r y / b - 1.
    double deviances(double qa, double qb) const { return deviance(a, qa) + deviance(b, qb); }

    // H at u = t - t0, where r x - a = expm1(u) / (e^u / b + 1 / a); written
    // with e^-|u| so that nothing overflows far out.
    double deviances_at(double u) const {
        if (u > 0) {
            const double e = std::exp(-u);
            const double m = -std::expm1(-u);
            return deviances(m / (e + ratio), -m * ratio / (ratio + e));
        }
        const double e = std::exp(u);
        const double m = std::expm1(u);
        return deviances(m / (1 + ratio * e), -m * ratio / (ratio * e + 1));
    }
};

// 1 - x as y + y_low exactly (y_low = 0 from x = 1/2 on).
struct Complement {
    double y, y_low;
    explicit Complement(double x) : y(1 - x), y_low((1 - y) - x) {}
};

// x b - y a, to a few ulps (the product y a split exactly by fma).
double offset(double a, double b, double x, const Complement& c) {
    const double p = c.y * a;
    const double p_low = std::fma(c.y, a, -p);
    return (std::fma(x, b, -p) - p_low) - c.y_low * a;
}

// The probability on the side of the point x away from the mode: with n =
// r x - a, the upper tail when n >= 0, the lower tail otherwise.
double far_tail(const Shapes& sh, double y, double n) {
    const double h_x = sh.deviances(n / sh.a, -n / sh.b);
    if (h_x - sh.delta > kUnderflowExponent) return 0;
    // u_x = log(x b / (y a)) = log1p(n / (y a)).
    const double u_x = std::log1p(n / (y * sh.a));
    const double direction = n >= 0 ? 1.0 : -1.0;
    const double lambda = std::fabs(n) * sh.sd;
    const double step = sh.sd / (1 + lambda);  // dt / dv
    auto integrand = [&](double v) { return std::exp(h_x - sh.deviances_at(u_x + direction * step * v)); };
    double sum = 0;
    double lo = 0;
    double width = 1;
    for (int panel = 0; panel < kMaxPanels; ++panel) {
        const double hi = lo + width;
        sum += boost::math::quadrature::gauss<double, 15>::integrate(integrand, lo, hi);
        if (integrand(hi) < kNegligible) break;
        lo = hi;
        width *= 2;
    }
    // sum dv = (1 + lambda) dw.
    return std::exp(sh.delta - h_x) / kSqrtTwoPi * (sum / (1 + lambda));
}

double clamp_probability(double p) { return p < 0 ? 0.0 : (p > 1 ? 1.0 : p); }

double tails(double a, double b, double y, double n, bool complement) {
    const Shapes sh(a, b);
    const double tail = clamp_probability(far_tail(sh, y, n));
    const bool tail_is_upper = n >= 0;
    return clamp_probability(tail_is_upper == complement ? tail : 1 - tail);
}

}  // namespace

double ibeta_large(double a, double b, double x, bool complement) {
    if (x <= 0) return complement ? 1.0 : 0.0;
    if (x >= 1) return complement ? 0.0 : 1.0;
    const Complement c(x);
    return tails(a, b, c.y, offset(a, b, x, c), complement);
}

double ibeta_large_at_offset(double a, double b, double y, double n, bool complement) {
    return tails(a, b, y, n, complement);
}

double logit_density_large_at_offset(double a, double b, double n) {
    const Shapes sh(a, b);
    return std::exp(sh.delta - sh.deviances(n / a, -n / b)) / (kSqrtTwoPi * sh.sd);
}

double ibeta_derivative_large(double a, double b, double x) {
    const Complement c(x);
    const double density = logit_density_large_at_offset(a, b, offset(a, b, x, c));
    if (density == 0) return 0;
    // dt / dx = 1 / (x y).
    return density / x / c.y;
}

}  // namespace qcm
