// Multiple-comparison distributions: the studentizing integral, the three
// known-variance probabilities and the quantile search.
//
// Studentizing integral: with t = sqrt(chi2_df / 2), whose density is
// 2 t^(df-1) exp(-t^2) / Gamma(df/2), and s = sqrt(2) t / sqrt(df),
//   P(Q <= q) = Int f(t) ConditionalCDF(q, s) dt
// over [a, b] = sqrt(chi2_df quantiles at 5e-8 and 1 - 5e-8 halved).
// Known-variance probabilities (u = sqrt(2) x for a Hermite node x, Phi the
// standard normal distribution function, c_j = 1 / sqrt(1 - lambda_j^2)):
//   Tukey    k Int phi(u) [Phi(c0 l0 u) - Phi(c0 (l0 u - q s))]^(k-1) du
//   Hsu      Int phi(u) prod_j Phi((l_j u + q s) c_j) du
//   Dunnett  Int phi(u) prod_j [Phi((q s + l_j u) c_j) - Phi((l_j u - q s) c_j)] du
// (Tukey 1952, Dunnett 1955, Hsu 1981; Hochberg and Tamhane, Multiple
// Comparison Procedures, 1987, ch. 3.)
//
// Every Phi(a) is formed as 1 - Phi(-a) and Phi(v) as Boost.Math's normal cdf
// computes it, erfc(-(v / sqrt 2)) / 2. The Hermite nodes come in exact +/-
// pairs, and Boost's erfc of a negative argument is composed from the same
// evaluation as that of its magnitude, so the Dunnett sum gets both members
// of a pair from two erfc evaluations instead of four. Equal correlation
// factors give equal factors, which are computed once per node, and a product
// that has reached exactly 0 is left at 0: the factors are multiplied in the
// order j = 0, 1, ... all the same, so the sums keep the bits of the direct
// evaluation.
#include "multcomp/mc_distribution.hpp"

#include <algorithm>
#include <boost/math/constants/constants.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/math/tools/toms748_solve.hpp>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <new>

#include "conventions.hpp"

namespace qcm {
namespace multcomp {

namespace {

using ChiSquared = boost::math::chi_squared_distribution<double, ThrowPolicy>;
using StudentT = boost::math::students_t_distribution<double, ThrowPolicy>;

const char* const kNormalCdfName = "boost::math::cdf(const normal_distribution<%1%>&, %1%)";
const char* const kNormalCdfReason = "Random variate x is %1%, but must be finite!";

const double kRootTwo = boost::math::constants::root_two<double>();

// sqrt(pi), taken at run time from the double nearest pi.
double SqrtPi() {
    static const double value = std::sqrt(3.141592653589793);
    return value;
}

// The allocator's failure for an impossible number of means.
class BadAllocation : public std::bad_alloc {
public:
    const char* what() const noexcept override { return "bad allocation"; }
};

std::unique_ptr<double[]> AllocateScale(int k) {
    // A negative count asks for the largest representable size, which no
    // allocator grants.
    if (k < 0) throw BadAllocation();
    double* p = new (std::nothrow) double[static_cast<std::size_t>(k)];
    if (p == nullptr) throw BadAllocation();
    return std::unique_ptr<double[]>(p);
}

// 1 - erfc(y) / 2, the complement 1 - Phi(-v) for y = v / sqrt 2; beyond
// kErfcSaturation it is exactly 1 or 0 and needs no evaluation.
double UpperComplement(double y) {
    if (y >= kErfcSaturation) return 1.0;
    if (y <= -kErfcSaturation) return 0.0;
    return 1 - boost::math::erfc(y, ThrowPolicy()) / 2;
}

// Products of two 32-bit ints wrap around like the machine's.
double Int32Product(std::int32_t a, std::int32_t b) {
    return static_cast<double>(
        static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b)));
}

// 2 k - 2 in 32-bit arithmetic, wrapping like the machine's.
double Int32TwiceMinusTwo(std::int32_t k) {
    return static_cast<double>(static_cast<std::int32_t>(2u * static_cast<std::uint32_t>(k) - 2u));
}

// base^n by repeated squaring on the integer exponent.
double IntegerPower(double base, int n) {
    unsigned e = n < 0 ? 0u - static_cast<unsigned>(n) : static_cast<unsigned>(n);
    double result = 1.0;
    while (e != 0) {
        if (e & 1u) result *= base;
        e >>= 1;
        if (e != 0) base *= base;
    }
    return n < 0 ? 1.0 / result : result;
}

// UpperComplement at y and at -y from one erfc evaluation.
void UpperComplementBoth(double y, double& at_y, double& at_minus_y) {
    if (y >= kErfcSaturation || y <= -kErfcSaturation) {
        at_y = y > 0 ? 1.0 : 0.0;
        at_minus_y = y > 0 ? 0.0 : 1.0;
        return;
    }
    double e, em;
    ErfcBoth(y, e, em);
    at_y = 1 - e / 2;
    at_minus_y = 1 - em / 2;
}

std::uint64_t BitsOf(double a) {
    std::uint64_t b;
    std::memcpy(&b, &a, sizeof b);
    return b;
}

[[noreturn]] void NormalCdfOfNaN(double x) {
    raise_domain<ThrowPolicy>(kNormalCdfName, kNormalCdfReason, x);
    throw std::logic_error("unreachable");  // the throwing policy has already thrown
}

// The normal cdf's complaint about the argument m * c that turned out NaN: a
// NaN m passes through the product unchanged (sign included), as the
// multiplication would leave it.
[[noreturn]] void NormalCdfOfNaNProduct(double m, double c) { NormalCdfOfNaN(m != m ? m : m * c); }

}  // namespace

double NormalCdf(double x) {
    if (!(std::fabs(x) <= DBL_MAX)) {
        if (x == x) return x < 0 ? 0.0 : 1.0;
        NormalCdfOfNaN(x);
    }
    double diff = x / kRootTwo;
    return boost::math::erfc(-diff, ThrowPolicy()) / 2;
}

void ErfcBoth(double y, double& at_y, double& at_minus_y) {
    double u = std::fabs(y);
    double plus, minus;  // erfc(u), erfc(-u)
    if (u < 0.5) {
        double c = boost::math::erf(u, ThrowPolicy());
        plus = 1 - c;
        minus = 1 + c;
    } else {
        double c = boost::math::erfc(u, ThrowPolicy());
        plus = c;
        minus = u > 0.5 ? 2 - c : 1 + (1 - c);
    }
    if (std::signbit(y)) {
        at_y = minus;
        at_minus_y = plus;
    } else {
        at_y = plus;
        at_minus_y = minus;
    }
}

// ---------------------------------------------------------------------------
// MC

MC::MC(int k_, double df_, const double* lambda_) : lambda(lambda_), lambdaScale(AllocateScale(k_)), k(k_), df(df_) {
    for (int i = 0; i < k; ++i) lambdaScale[i] = 1 / std::sqrt(1 - lambda[i] * lambda[i]);
}

void MC::PrepareStudentizing() {
    ChiSquared chi(df);
    double lg =
        checked_result<ThrowPolicy>(boost::math::lgamma(df * 0.5, ThrowPolicy()), "boost::math::lgamma<%1%>(%1%)");
    double a = std::sqrt(0.5 * boost::math::quantile(chi, kLowerChiSquaredTail));
    double b = std::sqrt(0.5 * boost::math::quantile(chi, kUpperChiSquaredTail));
    double h = (b - a) * 0.5;
    double r2 = std::sqrt(2.0);
    for (int i = 0; i < kGaussPoints; ++i) {
        double t = (GaussLegendre48.node[i] + 1.0) * h + a;
        s_[i] = r2 * t / std::sqrt(df);
        e_[i] = std::exp((df - 1) * std::log(t) - t * t - lg);
    }
    width_ = b - a;
    studentizing_ready_ = true;
}

const MC::FactorGroups& MC::Groups() {
    if (groups_ready_) return groups_;
    int n = k > 1 ? k - 1 : 0;
    // Sort the factor indexes by lambda bits (stable: first member first),
    // then number the groups in order of their first member.
    std::vector<int> order(n);
    for (int j = 0; j < n; ++j) order[j] = j;
    std::stable_sort(order.begin(), order.end(),
                     [this](int a, int b) { return BitsOf(lambda[a]) < BitsOf(lambda[b]); });
    std::vector<int> leader(n);  // first member of the group of j
    for (int r = 0; r < n; ++r)
        leader[order[r]] =
            r > 0 && BitsOf(lambda[order[r]]) == BitsOf(lambda[order[r - 1]]) ? leader[order[r - 1]] : order[r];
    groups_.group.assign(n, 0);
    groups_.leader.assign(n, 0);
    groups_.shared.assign(n, 0);
    groups_.count = 0;
    groups_.zero_is_final = true;
    for (int j = 0; j < n; ++j) {
        groups_.leader[j] = leader[j] == j;
        groups_.group[j] = leader[j] == j ? groups_.count++ : groups_.group[leader[j]];
        if (leader[j] != j) groups_.shared[leader[j]] = 1;
        if (!(std::fabs(lambda[j]) <= DBL_MAX) || !(std::fabs(lambdaScale[j]) <= DBL_MAX))
            groups_.zero_is_final = false;
    }
    groups_ready_ = true;
    return groups_;
}

double MC::CDF(double q) {
    if (q <= 0) return 0;
    if (df >= InfiniteDfThreshold) return ConditionalCDF(q, 1.0);
    if (!studentizing_ready_) PrepareStudentizing();
    double sum = 0;
    for (int i = 0; i < kGaussPoints; ++i) {
        double g = ConditionalCDF(q, s_[i]);
        sum += g * e_[i] * width_ * GaussLegendre48.weight[i];
    }
    return sum;
}

double MC::ICDF(double p) {
    std::pair<double, double> bracket = QuantileBracket(1.0 - p);
    double lo = bracket.first, hi = bracket.second;
    if (lo == hi) return lo + (hi - lo) * 0.5;
    auto f = [this, p](double x) { return CDF(x) - p; };
    std::uintmax_t evaluations = kSearchMaxEvaluations;
    std::pair<double, double> r = boost::math::tools::toms748_solve(
        f, lo, hi, boost::math::tools::eps_tolerance<double>(kSearchToleranceBits), evaluations, ThrowPolicy());
    return r.first + (r.second - r.first) * 0.5;
}

std::pair<double, double> MC::StudentBracket(double a1, double a2) const {
    // Boost.Math accepts infinite degrees of freedom here; this library does not.
    if (!(df > 0) || !(df <= DBL_MAX))
        raise_domain<ThrowPolicy>("boost::math::students_t_distribution<%1%>::students_t_distribution",
                                  "Degrees of freedom argument is %1%, but must be > 0 !", df);
    StudentT dist(df);
    double t1 = boost::math::quantile(dist, a1);
    double t2 = boost::math::quantile(dist, a2);
    return {-t1, -t2};
}

// ---------------------------------------------------------------------------
// Tukey

void TukeyDistribution::PrepareNodes() {
    double l0 = lambda[0];
    c0_ = k > 0 ? lambdaScale[0] : 1 / std::sqrt(1 - l0 * l0);
    double r2 = std::sqrt(2.0);
    for (int i = 0; i < kGaussPoints; ++i) {
        z_[i] = r2 * l0 * GaussHermite48.node[i];
        first_[i] = 1 - NormalCdf(-c0_ * z_[i]);
    }
    nodes_ready_ = true;
}

double TukeyDistribution::ConditionalCDF(double q, double s) {
    if (!nodes_ready_) PrepareNodes();
    double qs = q * s;
    double sum = 0;
    for (int i = 0; i < kGaussPoints; ++i) {
        // 1 - Phi(-c0 (z - qs)), with Phi(v) = erfc(-(v / sqrt 2)) / 2.
        double y = (c0_ * (z_[i] - qs)) / kRootTwo;
        if (y != y) NormalCdfOfNaNProduct(z_[i] - qs, -c0_);
        double d = first_[i] - UpperComplement(y);
        sum += IntegerPower(d, k - 1) * GaussHermite48.weight[i];
    }
    return static_cast<double>(k) * sum / SqrtPi();
}

std::pair<double, double> TukeyDistribution::QuantileBracket(double alpha) {
    return StudentBracket(alpha * 0.5, alpha / Int32Product(k, k - 1));
}

// ---------------------------------------------------------------------------
// Hsu

double HsuDistribution::ConditionalCDF(double q, double s) {
    const FactorGroups& groups = Groups();
    factor_.resize(groups.count);
    double qs = q * s;
    double r2 = std::sqrt(2.0);
    double sum = 0;
    for (int i = 0; i < kGaussPoints; ++i) {
        double x = GaussHermite48.node[i];
        double prod = 1;
        for (int j = 0; j < k - 1; ++j) {
            // A group's first member comes first in j: its factor is computed
            // there and read by the later members.
            double factor;
            if (groups.leader[j]) {
                double z = r2 * lambda[j] * x;
                double c = lambdaScale[j];
                // 1 - Phi(-(z + qs) c)
                double y = ((z + qs) * c) / kRootTwo;
                if (y != y) NormalCdfOfNaNProduct(-(z + qs), c);
                factor = UpperComplement(y);
                if (groups.shared[j]) factor_[groups.group[j]] = factor;
            } else {
                factor = factor_[groups.group[j]];
            }
            prod *= factor;
            if (prod == 0 && groups.zero_is_final) break;
        }
        sum += prod * GaussHermite48.weight[i];
    }
    return sum / SqrtPi();
}

std::pair<double, double> HsuDistribution::QuantileBracket(double alpha) {
    return StudentBracket(alpha, alpha / static_cast<double>(k - 1));
}

// ---------------------------------------------------------------------------
// Dunnett

double DunnettDistribution::ConditionalCDF(double q, double s) {
    const FactorGroups& groups = Groups();
    factor_.resize(groups.count);
    mirror_.resize(groups.count);
    double qs = q * s;
    double r2 = std::sqrt(2.0);
    double term[kGaussPoints];
    for (int i = 0; i < kGaussHalf; ++i) {
        // Node i + 24 is -x: its two normal arguments are the negatives of
        // node i's, in swapped order.
        double x = GaussHermite48.node[i];
        double prod = 1, prod_mirror = 1;
        for (int j = 0; j < k - 1; ++j) {
            double factor, factor_mirror;
            if (groups.leader[j]) {
                double z = r2 * lambda[j] * x;
                double c = lambdaScale[j];
                // (1 - Phi(-(qs + z) c)) - (1 - Phi(-(z - qs) c))
                double y1 = ((qs + z) * c) / kRootTwo;
                if (y1 != y1) NormalCdfOfNaNProduct(-(qs + z), c);
                double y2 = ((z - qs) * c) / kRootTwo;
                if (y2 != y2) NormalCdfOfNaNProduct(-(z - qs), c);
                double u1, u1m, u2, u2m;
                UpperComplementBoth(y1, u1, u1m);
                UpperComplementBoth(y2, u2, u2m);
                factor = u1 - u2;
                factor_mirror = u2m - u1m;
                if (groups.shared[j]) {
                    factor_[groups.group[j]] = factor;
                    mirror_[groups.group[j]] = factor_mirror;
                }
            } else {
                factor = factor_[groups.group[j]];
                factor_mirror = mirror_[groups.group[j]];
            }
            prod *= factor;
            prod_mirror *= factor_mirror;
            if (prod == 0 && prod_mirror == 0 && groups.zero_is_final) break;
        }
        term[i] = prod;
        term[i + kGaussHalf] = prod_mirror;
    }
    double sum = 0;
    for (int i = 0; i < kGaussPoints; ++i) sum += term[i] * GaussHermite48.weight[i];
    return sum / SqrtPi();
}

std::pair<double, double> DunnettDistribution::QuantileBracket(double alpha) {
    return StudentBracket(alpha * 0.5, alpha / Int32TwiceMinusTwo(k));
}

}  // namespace multcomp
}  // namespace qcm
