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

#include "QuillonCoreMath.h"
#include "continuous/parameter_checks.hpp"
#include "conventions.hpp"
#include "special/incomplete_beta_large.hpp"
#include "special/inverse_beta.hpp"
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
constexpr const char* kChiSquared = "boost::math::chi_squared_distribution<%1%>::chi_squared_distribution";
constexpr const char* kFisherF = "boost::math::fisher_f_distribution<%1%>::fisher_f_distribution";
constexpr const char* kFisherFPdf = "boost::math::pdf(fisher_f_distribution<%1%> const&, %1%)";
constexpr const char* kFisherFQuantile = "boost::math::quantile(fisher_f_distribution<%1%> const&, %1%)";
constexpr const char* kDf = "Degrees of freedom argument is %1%, but must be > 0 !";

bool df_ok(const char* function, double df) { return parameters_ok(function, {{df, kDf}}); }

// df1 first, then df2: the first failure is the one reported.
bool f_df_ok(double df1, double df2) { return parameters_ok(kFisherF, {{df1, kDf}, {df2, kDf}}); }

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
    double t = boost::math::quantile(StudentT(df), p);
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
