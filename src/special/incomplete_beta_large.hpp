// The regularized incomplete beta function and the beta density when both
// shapes are large, shared by BetaRegularized[C], BetaDerivative and the beta,
// F and binomial distributions.
#ifndef QCM_SPECIAL_INCOMPLETE_BETA_LARGE_HPP
#define QCM_SPECIAL_INCOMPLETE_BETA_LARGE_HPP

namespace qcm {

// From this smaller shape on, the routines below replace Boost.Math's. Its
// incomplete beta function in double precision loses accuracy as both shapes
// grow: near 1e-13 relative up to a = b = 1e5, 2e-13 at 1e6, 1e-9 at 1e7,
// 7e-9 at 1e8, 0.025 at 1e15 and values far outside [0, 1] beyond.
constexpr double kLargeBetaShape = 1e5;

inline bool large_beta_shapes(double a, double b) { return a >= kLargeBetaShape && b >= kLargeBetaShape; }

// I_x(a, b) (complement false) or 1 - I_x(a, b) (complement true) for
// finite a, b >= kLargeBetaShape and 0 <= x <= 1, taking 1 - x as exactly
// 1 - x. The result is in [0, 1]; an underflowing tail is 0. Never throws,
// never sets errno.
double ibeta_large(double a, double b, double x, bool complement);

// The same at the point given by y = 1 - x > 0 (to a few ulps) and the
// offset n = (a + b) x - a = x b - y a to a few ulps: the tails are
// conditioned by n, which a caller can often form more exactly than x.
double ibeta_large_at_offset(double a, double b, double y, double n, bool complement);

// The density of t = log(x / (1 - x)), x (1 - x) d/dx I_x(a, b), at the
// point with offset n = (a + b) x - a, for the same shapes. Never overflows.
double logit_density_large_at_offset(double a, double b, double n);

// d/dx I_x(a, b), the beta density, for the same shapes and 0 < x < 1. May
// overflow to +infinity (shapes above ~1e308 near the mode); the caller
// reports that.
double ibeta_derivative_large(double a, double b, double x);

}  // namespace qcm

#endif  // QCM_SPECIAL_INCOMPLETE_BETA_LARGE_HPP
