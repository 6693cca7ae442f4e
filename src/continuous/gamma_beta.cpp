// Gamma and beta distributions.
//
// GammaPDF/CDF/ICDF (shape and scale, not rate) and BetaPDF/CDF/ICDF (two
// shapes): thin layers over Boost.Math's gamma_distribution and
// beta_distribution under the errno policy. The parameters are checked first,
// in order (gamma: scale, then shape; beta: alpha, then beta), and the first
// failure returns NaN with EDOM. Boost evaluates through the regularised
// incomplete gamma and beta functions and their inverses (DiDonato and Morris,
// ACM TOMS 12 (1986) 377-393 and 18 (1992) 360-373). The upper tail is always
// Boost's complement evaluation, never one minus the lower tail. The beta
// quantile is Boost's, over the shared inverse of inverse_beta.hpp, and the
// gamma quantile over that of inverse_gamma.hpp. With both shapes large the
// beta density and the two tails come from incomplete_beta_large.hpp instead
// of Boost's incomplete beta function.
#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/gamma.hpp>

#include "QuillonCoreMath.h"
#include "continuous/parameter_checks.hpp"
#include "conventions.hpp"
#include "special/incomplete_beta_large.hpp"
#include "special/inverse_beta.hpp"
#include "special/inverse_gamma.hpp"
#include "tails.hpp"

namespace {

using qcm::ErrnoGuard;
using qcm::ErrnoPolicy;
using qcm::continuous::parameters_ok;
using qcm::continuous::probability_ok;
using qcm::continuous::rejected;

using GammaDist = boost::math::gamma_distribution<double, ErrnoPolicy>;
using BetaDist = boost::math::beta_distribution<double, ErrnoPolicy>;

constexpr const char* kGamma = "boost::math::gamma_distribution<%1%>::gamma_distribution";
constexpr const char* kBeta = "boost::math::beta_distribution<%1%>::beta_distribution";
constexpr const char* kBetaPdf = "boost::math::pdf(const beta_distribution<%1%>&, %1%)";
constexpr const char* kBetaQuantile = "boost::math::quantile(beta_distribution<%1%> const&, %1%)";

bool gamma_ok(double shape, double scale) {
    return parameters_ok(kGamma, {{scale, "Scale parameter is %1%, but must be > 0 !"},
                                  {shape, "Shape parameter is %1%, but must be > 0 !"}});
}

bool beta_ok(double alpha, double beta) {
    return parameters_ok(kBeta, {{alpha, "Alpha argument is %1%, but must be > 0 !"},
                                 {beta, "Beta argument is %1%, but must be > 0 !"}});
}

}  // namespace

extern "C" {

double GammaPDF(double x, double shape, double scale) {
    ErrnoGuard guard;
    if (!gamma_ok(shape, scale)) return rejected();
    return boost::math::pdf(GammaDist(shape, scale), x);
}

double GammaCDF(double x, double shape, double scale, qcm_flag upper) {
    ErrnoGuard guard;
    if (!gamma_ok(shape, scale)) return rejected();
    GammaDist dist(shape, scale);
    return qcm::tail_cdf(dist, x, qcm::flag(upper));
}

double GammaICDF(double p, double shape, double scale, qcm_flag upper) {
    ErrnoGuard guard;
    if (!gamma_ok(shape, scale)) return rejected();
    // Boost's gamma quantile, scale times the inverse incomplete gamma
    // function, here the shared one of inverse_gamma.hpp. Its checks and end
    // points (p outside (0, 1)) stay Boost's.
    if (p > 0 && p < 1) return qcm::inverse_gamma(shape, p, qcm::flag(upper)) * scale;
    GammaDist dist(shape, scale);
    return qcm::tail_quantile(dist, p, qcm::flag(upper));
}

double BetaPDF(double x, double alpha, double beta) {
    ErrnoGuard guard;
    if (!beta_ok(alpha, beta)) return rejected();
    if (qcm::large_beta_shapes(alpha, beta) && x > 0 && x < 1)
        return qcm::checked_result<ErrnoPolicy>(qcm::ibeta_derivative_large(alpha, beta, x), kBetaPdf);
    return boost::math::pdf(BetaDist(alpha, beta), x);
}

double BetaCDF(double x, double alpha, double beta, qcm_flag upper) {
    ErrnoGuard guard;
    if (!beta_ok(alpha, beta)) return rejected();
    if (qcm::large_beta_shapes(alpha, beta) && x >= 0 && x <= 1)
        return qcm::ibeta_large(alpha, beta, x, qcm::flag(upper));
    BetaDist dist(alpha, beta);
    return qcm::tail_cdf(dist, x, qcm::flag(upper));
}

double BetaICDF(double p, double alpha, double beta, qcm_flag upper) {
    ErrnoGuard guard;
    if (!beta_ok(alpha, beta)) return rejected();
    // Boost's beta quantile, with the inverse incomplete beta function of
    // inverse_beta.hpp in place of ibeta_inv / ibetac_inv.
    if (!probability_ok(kBetaQuantile, p)) return rejected();
    const bool up = qcm::flag(upper);
    if (p == (up ? 1.0 : 0.0)) return 0.0;
    if (p == (up ? 0.0 : 1.0)) return 1.0;
    return qcm::inverse_beta(alpha, beta, p, up, nullptr);
}

}  // extern "C"
