// Student's t, chi-squared and F distributions.
//
// StudentTPDF/CDF/ICDF, ChiSquaredPDF/CDF/ICDF, FisherFPDF/CDF/ICDF: thin
// layers over Boost.Math's students_t_distribution, chi_squared_distribution
// and fisher_f_distribution under the errno policy. Each export first checks
// its degrees of freedom (positive and finite; see parameter_checks.hpp) and
// returns NaN with EDOM on a failure. Boost evaluates the rest through the
// regularised incomplete beta and gamma functions and their inverses
// (DiDonato and Morris; Temme's asymptotic inversions; Shaw's series for the
// t quantile, "New methods for simulating the Student t-distribution", 2006).
//
// The t quantile's far tails, and the quantiles where Boost's estimates
// overflow too early, come from the shared inverse incomplete beta function
// instead (t_quantile below); the chi-squared quantile's far tails from the
// shared inverse incomplete gamma function.
//
// Upper tails: chi-squared and F use Boost's complement evaluation, so a tiny
// p-value keeps its digits. Student's t uses its symmetry instead,
// P(T > x) = P(T <= -x), and the upper quantile is the negated lower one.
//
// The F cdf is I_x(a, b) at a = df1 / 2, b = df2 / 2, x / (1 - x) = df1 f / df2.
// With both halves large it comes from incomplete_beta_large.hpp, at the
// offset (a + b) x - a = a (f - 1) / (1 + df1 f / df2), which keeps the
// digits of f - 1 that x itself would round away; the density likewise, as
// the density of t = log(x / (1 - x)) divided by f. (The t distribution
// stays with Boost: its incomplete beta has a shape of 1/2.)
#include <boost/math/distributions/chi_squared.hpp>
// GCC 12 cannot see that the F quantile's inverse incomplete beta always
// sets its second output once the parameters have passed their checks.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <boost/math/distributions/fisher_f.hpp>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/beta.hpp>
#include <cmath>

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

using StudentT = boost::math::students_t_distribution<double, ErrnoPolicy>;
using ChiSquared = boost::math::chi_squared_distribution<double, ErrnoPolicy>;
using FisherF = boost::math::fisher_f_distribution<double, ErrnoPolicy>;

constexpr const char* kStudentT = "boost::math::students_t_distribution<%1%>::students_t_distribution";
constexpr const char* kStudentTQuantile = "boost::math::quantile(const students_t_distribution<%1%>&, %1%)";
constexpr const char* kChiSquared = "boost::math::chi_squared_distribution<%1%>::chi_squared_distribution";
constexpr const char* kFisherF = "boost::math::fisher_f_distribution<%1%>::fisher_f_distribution";
constexpr const char* kFisherFPdf = "boost::math::pdf(fisher_f_distribution<%1%> const&, %1%)";
constexpr const char* kFisherFQuantile = "boost::math::quantile(fisher_f_distribution<%1%> const&, %1%)";
constexpr const char* kDf = "Degrees of freedom argument is %1%, but must be > 0 !";

bool df_ok(const char* function, double df) { return parameters_ok(function, {{df, kDf}}); }

// df1 first, then df2: the first failure is the one reported.
bool f_df_ok(double df1, double df2) { return parameters_ok(kFisherF, {{df1, kDf}, {df2, kDf}}); }

// Below this lower-tail probability Boost's t quantile is not used. Its
// estimate there (Shaw's tail series, or for a fractional df below 2 its own
// inverse incomplete beta) overflows in an intermediate or comes out of the
// final Halley step far off: -inf or +inf with ERANGE for a finite quantile
// (df = 0.5 at p = 1e-100, df = 3 and 10 at 1e-300, the latter with the wrong
// sign), a factor of 2 off at df = 3 and p = 1e-200, 2% at df = 30 and
// p = 1e-310, 1e-3 at df = 1000 and the smallest denormal. Above it Boost
// agrees with the route below within 5 ulps for df from 0.1 to 1e10, its
// early overflow at a fractional df below 2 aside (see t_quantile); below it
// the route below is within 2 ulps of the exact quantile where Boost was too.
constexpr double kTFarTail = 1e-90;

// Below this x, I_x(a, 1/2) is its leading series term x^a / (a B(a, 1/2))
// to double precision (the next term is a x / (2 (a + 1)) relative) and
// y = 1 - x rounds to 1.
constexpr double kLeadingTermOnly = 1e-20;

// z^(-1/df). -1/df rounds to e with a relative error up to eps/2, which
// z^e would multiply by |ln z| (up to ~750): 100 ulps at df = 3. The
// rounding error r = -1/df - e is restored as the factor exp(r ln z),
// 1 + r ln z to double precision since |r ln z| < 1e-13.
double inverse_root(double z, double df) {
    const double e = -1 / df;
    const double r = -std::fma(e, df, 1.0) / df;
    return std::pow(z, e) * (1 + r * std::log(z));
}

// The lower-tail t quantile for p < 1/2: t = -sqrt(df y / x) with
// x = I^-1_2p(df / 2, 1 / 2), y = 1 - x, from the shared inverse incomplete
// beta function; sqrt(df) sqrt(y) / sqrt(x) cannot overflow while x is a
// normal double. Where x is below kLeadingTermOnly (or below the double
// range), |t| = sqrt(df / x) solves the leading term in closed form:
// sqrt(df) (2p)^(-1/df) (a B(a, 1/2))^(-1/df), each power of an exact (2p)
// or accurate argument. That also keeps every digit at a denormal p, where
// the solver works in log space (up to ~200 ulps on t at df = 3, against 1
// here). A quantile beyond the largest double is an overflow: ERANGE, and
// -infinity, the errno policy's +infinity negated here because the quantile
// is negative (as Boost itself does at p = 0).
double t_lower_quantile_from_beta(double p, double df) {
    const double a = df / 2;
    double y = 0;
    const double x = qcm::inverse_beta(a, 0.5, 2 * p, false, &y);
    if (x >= kLeadingTermOnly) return -(std::sqrt(df) * std::sqrt(y) / std::sqrt(x));
    const double ab = a * boost::math::beta(a, 0.5, ErrnoPolicy());
    const double scale = std::sqrt(df) * inverse_root(ab, df);
    double t = scale * inverse_root(2 * p, df);
    // (2p)^(-1/df) alone can pass the largest double while scale < 1 brings
    // the product back (df below 2): there it is taken as the square of
    // (2p)^(-1/(2 df)), multiplied in after the scale.
    if (!qcm::is_finite(t)) {
        const double half = inverse_root(2 * p, 2 * df);
        t = scale * half * half;
    }
    if (!qcm::is_finite(t)) return -qcm::raise_overflow<ErrnoPolicy>(kStudentTQuantile, "numeric overflow");
    return -t;
}

// Boost's t quantile where it is reliable, the one above where it is not:
// below kTFarTail, and wherever Boost reports an overflow for p inside
// (0, 1). For a fractional df below 2 Boost reports one as soon as
// |t| > sqrt(DBL_MAX) (df * y > DBL_MAX * x), so at df = 0.1 from
// p = 1e-16 and at df = 0.5 from 3e-78, and likewise for p near 1; that
// report is withdrawn and the quantile recomputed (1 - p is exact there).
double t_quantile(double p, double df) {
    if (p > 0 && p < kTFarTail) return t_lower_quantile_from_beta(p, df);
    const int saved = qcm::reported_errno();
    const double t = boost::math::quantile(StudentT(df), p);
    if (!qcm::is_inf(t) || !(p > 0 && p < 1)) return t;
    qcm::reported_errno() = saved;
    return p < 0.5 ? t_lower_quantile_from_beta(p, df) : -t_lower_quantile_from_beta(1 - p, df);
}

}  // namespace

extern "C" {

double StudentTPDF(double x, double df) {
    ErrnoGuard guard;
    if (!df_ok(kStudentT, df)) return rejected();
    return boost::math::pdf(StudentT(df), x);
}

double StudentTCDF(double x, double df, qcm_flag upper) {
    ErrnoGuard guard;
    if (!df_ok(kStudentT, df)) return rejected();
    return boost::math::cdf(StudentT(df), qcm::flag(upper) ? -x : x);
}

double StudentTICDF(double p, double df, qcm_flag upper) {
    ErrnoGuard guard;
    if (!df_ok(kStudentT, df)) return rejected();
    // p is checked by Boost (EDOM and NaN outside [0, 1]); p = 0 and 1 are its overflows.
    const double t = t_quantile(p, df);
    return qcm::flag(upper) ? -t : t;
}

double ChiSquaredPDF(double x, double df) {
    ErrnoGuard guard;
    if (!df_ok(kChiSquared, df)) return rejected();
    return boost::math::pdf(ChiSquared(df), x);
}

double ChiSquaredCDF(double x, double df, qcm_flag upper) {
    ErrnoGuard guard;
    if (!df_ok(kChiSquared, df)) return rejected();
    ChiSquared dist(df);
    return qcm::tail_cdf(dist, x, qcm::flag(upper));
}

double ChiSquaredICDF(double p, double df, qcm_flag upper) {
    ErrnoGuard guard;
    if (!df_ok(kChiSquared, df)) return rejected();
    // Boost's chi-squared quantile, twice the inverse incomplete gamma
    // function at df / 2, here the shared one of inverse_gamma.hpp. Its checks
    // and end points (p outside (0, 1)) stay Boost's.
    if (p > 0 && p < 1) return 2 * qcm::inverse_gamma(df / 2, p, qcm::flag(upper));
    ChiSquared dist(df);
    return qcm::tail_quantile(dist, p, qcm::flag(upper));
}

double FisherFPDF(double x, double df1, double df2) {
    ErrnoGuard guard;
    if (!f_df_ok(df1, df2)) return rejected();
    if (qcm::large_beta_shapes(df1 / 2, df2 / 2) && x > 0 && qcm::is_finite(x)) {
        const double ratio = x * (df1 / df2);
        if (!qcm::is_finite(ratio)) return 0.0;
        const double a = df1 / 2;
        const double density = qcm::logit_density_large_at_offset(a, df2 / 2, a * ((x - 1) / (1 + ratio)));
        return qcm::checked_result<ErrnoPolicy>(density / x, kFisherFPdf);
    }
    return boost::math::pdf(FisherF(df1, df2), x);
}

double FisherFCDF(double x, double df1, double df2, qcm_flag upper) {
    ErrnoGuard guard;
    if (!f_df_ok(df1, df2)) return rejected();
    if (qcm::large_beta_shapes(df1 / 2, df2 / 2) && x >= 0 && qcm::is_finite(x)) {
        const bool up = qcm::flag(upper);
        const double ratio = x * (df1 / df2);  // x / y of the incomplete beta
        if (x == 0) return up ? 1.0 : 0.0;
        if (!qcm::is_finite(ratio)) return up ? 0.0 : 1.0;
        const double a = df1 / 2;
        return qcm::ibeta_large_at_offset(a, df2 / 2, 1 / (1 + ratio), a * ((x - 1) / (1 + ratio)), up);
    }
    FisherF dist(df1, df2);
    return qcm::tail_cdf(dist, x, qcm::flag(upper));
}

double FisherFICDF(double p, double df1, double df2, qcm_flag upper) {
    ErrnoGuard guard;
    if (!f_df_ok(df1, df2)) return rejected();
    // Boost's F quantile, df2 x / (df1 y) with x = 1 - y the inverse
    // incomplete beta function at (df1 / 2, df2 / 2), here the shared one of
    // inverse_beta.hpp.
    if (!probability_ok(kFisherFQuantile, p)) return rejected();
    double y = 0;
    const double x = qcm::inverse_beta(df1 / 2, df2 / 2, p, qcm::flag(upper), &y);
    return df2 * x / (df1 * y);
}

}  // extern "C"
