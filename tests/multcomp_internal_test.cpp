// Multiple-comparison distributions, white-box: the Gauss tables, the normal
// and erfc shortcuts, and the precomputed evaluation against a direct one that
// rebuilds everything on every call (bit for bit).
#include <gtest/gtest.h>

#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/math/tools/toms748_solve.hpp>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "boundary/conventions.hpp"
#include "multcomp/gauss_tables.hpp"
#include "multcomp/mc_distribution.hpp"
#include "support/qcm_test.hpp"

namespace {

using qcm::ThrowPolicy;
using qcm::multcomp::DunnettDistribution;
using qcm::multcomp::GaussHermite48;
using qcm::multcomp::GaussLegendre48;
using qcm::multcomp::GaussRule;
using qcm::multcomp::HsuDistribution;
using qcm::multcomp::MC;
using qcm::multcomp::TukeyDistribution;
using qcm_test::bits_of;

// ---------------------------------------------------------------------------
// Tables

struct TellingEntry {
    const char* table;
    const GaussRule* rule;
    int index;
    double node, weight;
};

TEST(MultcompTables, TellingEntries) {
    // Source: the published entries of the two 48-point rules.
    const TellingEntry rows[] = {
        {"Legendre", &GaussLegendre48, 0, 0.9987710072524261, 0.0031533460523058385},
        {"Legendre", &GaussLegendre48, 23, 0.03238017096286936, 0.06473769681268392},
        {"Hermite", &GaussHermite48, 0, 8.975315081931686, 7.935551460773996e-36},
        {"Hermite", &GaussHermite48, 23, 0.15949293584886248, 0.31100103037796306},
    };
    for (const TellingEntry& r : rows) {
        EXPECT_EQ(r.rule->node[r.index], r.node) << r.table << " " << r.index;
        EXPECT_EQ(r.rule->weight[r.index], r.weight) << r.table << " " << r.index;
    }
}

TEST(MultcompTables, OrderSymmetryAndWeightSums) {
    struct Row {
        const char* table;
        const GaussRule* rule;
        double sum;
    } rows[] = {{"Legendre", &GaussLegendre48, 2.0}, {"Hermite", &GaussHermite48, std::sqrt(M_PI)}};
    for (const Row& r : rows) {
        double sum = 0;
        for (int i = 0; i < 48; ++i) {
            sum += r.rule->weight[i];
            EXPECT_GT(r.rule->weight[i], 0.0);
            if (i < 24) {
                EXPECT_GT(r.rule->node[i], 0.0) << r.table << " " << i;
                if (i > 0) {
                    EXPECT_LT(r.rule->node[i], r.rule->node[i - 1]) << r.table << " " << i;
                }
                // The mirrored half is exact: the quadrature code relies on it.
                EXPECT_EQ(bits_of(r.rule->node[i + 24]), bits_of(-r.rule->node[i])) << r.table << " " << i;
                EXPECT_EQ(r.rule->weight[i + 24], r.rule->weight[i]) << r.table << " " << i;
            }
        }
        // 48 rounded terms summed in order: a few ulps.
        EXPECT_LE(qcm_test::ulp_distance(sum, r.sum), 8) << r.table << " sum " << sum;
    }
}

// ---------------------------------------------------------------------------
// Normal distribution function and erfc pairs against Boost, bit for bit.

std::vector<double> ArgumentGrid() {
    std::vector<double> xs = {0.0, -0.0, 0.5, -0.5, 28.0, -28.0, 1e-300, -1e-300, 1e-11, 5.8, 27.999, 40, 1e300};
    for (double x = -30; x <= 30; x += 0.0137) xs.push_back(x);
    xs.push_back(std::nextafter(0.5, 0.0));
    xs.push_back(std::nextafter(0.5, 1.0));
    return xs;
}

TEST(MultcompNormal, NormalCdfMatchesBoostBitForBit) {
    boost::math::normal_distribution<double, ThrowPolicy> normal(0, 1);
    std::vector<double> xs = ArgumentGrid();
    xs.push_back(HUGE_VAL);
    xs.push_back(-HUGE_VAL);
    for (double x : xs) ASSERT_EQ(bits_of(qcm::multcomp::NormalCdf(x)), bits_of(boost::math::cdf(normal, x))) << x;
}

TEST(MultcompNormal, ErfcBothMatchesBoostBitForBit) {
    for (double y : ArgumentGrid()) {
        double a, b;
        qcm::multcomp::ErfcBoth(y, a, b);
        ASSERT_EQ(bits_of(a), bits_of(boost::math::erfc(y, ThrowPolicy()))) << y;
        ASSERT_EQ(bits_of(b), bits_of(boost::math::erfc(-y, ThrowPolicy()))) << y;
    }
}

TEST(MultcompNormal, ComplementSaturatesBeyondTheCutOff) {
    // The evaluation skips erfc where 1 - erfc(y) / 2 is exactly 1 or 0.
    const double cut = qcm::multcomp::kErfcSaturation;
    for (double y = cut; y < 40; y = y * (1 + 1e-4)) {
        ASSERT_EQ(1 - boost::math::erfc(y, ThrowPolicy()) / 2, 1.0) << y;
        ASSERT_EQ(1 - boost::math::erfc(-y, ThrowPolicy()) / 2, 0.0) << y;
    }
    EXPECT_EQ(1 - boost::math::erfc(HUGE_VAL, ThrowPolicy()) / 2, 1.0);
    EXPECT_EQ(1 - boost::math::erfc(-HUGE_VAL, ThrowPolicy()) / 2, 0.0);
}

// ---------------------------------------------------------------------------
// The direct evaluation: every call rebuilds the distributions and evaluates
// each normal probability through Boost's normal cdf.

enum class Kind { Tukey, Hsu, Dunnett };

struct Direct {
    Kind kind;
    int k;
    double df;
    const double* lambda;
    std::vector<double> scale;

    Direct(Kind kind_, int k_, double df_, const double* lambda_) : kind(kind_), k(k_), df(df_), lambda(lambda_) {
        for (int i = 0; i < k; ++i) scale.push_back(1 / std::sqrt(1 - lambda[i] * lambda[i]));
    }

    double Conditional(double q, double s) const {
        boost::math::normal_distribution<double, ThrowPolicy> normal(0, 1);
        auto Phi = [&](double x) { return boost::math::cdf(normal, x); };
        double qs = q * s;
        double r2 = std::sqrt(2.0);
        double sum = 0;
        for (int i = 0; i < 48; ++i) {
            double x = GaussHermite48.node[i];
            double term;
            if (kind == Kind::Tukey) {
                double c0 = scale[0];
                double z = r2 * lambda[0] * x;
                double d = (1 - Phi(-c0 * z)) - (1 - Phi(-c0 * (z - qs)));
                term = 1;  // d^(k-1) by repeated squaring
                double base = d;
                for (unsigned e = static_cast<unsigned>(k - 1); e != 0;) {
                    if (e & 1u) term *= base;
                    e >>= 1;
                    if (e) base *= base;
                }
            } else {
                term = 1;
                for (int j = 0; j <= k - 2; ++j) {
                    double z = r2 * lambda[j] * x;
                    if (kind == Kind::Hsu)
                        term *= 1 - Phi(-(z + qs) * scale[j]);
                    else
                        term *= (1 - Phi(-(qs + z) * scale[j])) - (1 - Phi(-(z - qs) * scale[j]));
                }
            }
            sum += term * GaussHermite48.weight[i];
        }
        if (kind == Kind::Tukey) return static_cast<double>(k) * sum / std::sqrt(3.141592653589793);
        return sum / std::sqrt(3.141592653589793);
    }

    double Cdf(double q) const {
        if (q <= 0) return 0;
        if (df >= 10000) return Conditional(q, 1.0);
        boost::math::chi_squared_distribution<double, ThrowPolicy> chi(df);
        double lg = boost::math::lgamma(df * 0.5, ThrowPolicy());
        double a = std::sqrt(0.5 * boost::math::quantile(chi, 5e-8));
        double b = std::sqrt(0.5 * boost::math::quantile(chi, 0.99999995));
        double h = (b - a) * 0.5;
        double r2 = std::sqrt(2.0);
        double sum = 0;
        for (int i = 0; i < 48; ++i) {
            double t = (GaussLegendre48.node[i] + 1.0) * h + a;
            double s = r2 * t / std::sqrt(df);
            double g = Conditional(q, s);
            double e = std::exp((df - 1) * std::log(t) - t * t - lg);
            sum += g * e * (b - a) * GaussLegendre48.weight[i];
        }
        return sum;
    }

    double Icdf(double p) const {
        double alpha = 1.0 - p;
        boost::math::students_t_distribution<double, ThrowPolicy> t(df);
        double a1 = kind == Kind::Hsu ? alpha : alpha * 0.5;
        double a2 = kind == Kind::Tukey ? alpha / static_cast<double>(k * (k - 1))
                    : kind == Kind::Hsu ? alpha / static_cast<double>(k - 1)
                                        : alpha / static_cast<double>(2 * k - 2);
        double lo = -boost::math::quantile(t, a1), hi = -boost::math::quantile(t, a2);
        if (lo == hi) return lo + (hi - lo) * 0.5;
        std::uintmax_t n = 200;
        auto r = boost::math::tools::toms748_solve([&](double x) { return Cdf(x) - p; }, lo, hi,
                                                   boost::math::tools::eps_tolerance<double>(24), n, ThrowPolicy());
        return r.first + (r.second - r.first) * 0.5;
    }
};

double FastCdf(Kind kind, int k, double df, const double* lambda, double q) {
    switch (kind) {
        case Kind::Tukey:
            return TukeyDistribution(k, df, lambda).CDF(q);
        case Kind::Hsu:
            return HsuDistribution(k, df, lambda).CDF(q);
        default:
            return DunnettDistribution(k, df, lambda).CDF(q);
    }
}

double FastIcdf(Kind kind, int k, double df, const double* lambda, double p) {
    switch (kind) {
        case Kind::Tukey:
            return TukeyDistribution(k, df, lambda).ICDF(p);
        case Kind::Hsu:
            return HsuDistribution(k, df, lambda).ICDF(p);
        default:
            return DunnettDistribution(k, df, lambda).ICDF(p);
    }
}

const char* Name(Kind kind) { return kind == Kind::Tukey ? "Tukey" : kind == Kind::Hsu ? "Hsu" : "Dunnett"; }

std::vector<double> Lambdas(int pattern) {
    std::vector<double> l(20);
    for (int j = 0; j < 20; ++j) {
        if (pattern == 0) l[j] = std::sqrt(0.5);
        if (pattern == 1) l[j] = 0.5;
        if (pattern == 2) l[j] = 0.2 + 0.15 * (j % 4);   // unequal, runs of one
        if (pattern == 3) l[j] = j < 7 ? 0.3 : 0.6;      // two runs
        if (pattern >= 4) l[j] = 0.9 + 0.005 * (j % 7);  // large, repeating: products reach 0
    }
    // Factors no product may skip: an infinite scale (lambda = 1) and a NaN
    // after products have reached 0.
    if (pattern == 5) l[3] = l[18] = 1.0;
    if (pattern == 6) l[3] = l[18] = NAN;
    return l;
}

TEST(MultcompFastPath, CdfBitForBitOnGrid) {
    const int ks[] = {1, 2, 3, 5, 10, 20};
    const double dfs[] = {2, 7.5, 10, 120, 9999.5, 10000, HUGE_VAL};
    const double qs[] = {1e-300, 0.3, 1.0, 2.2, 3.5, 6.0};  // 1e-300: every Dunnett factor is 0
    for (Kind kind : {Kind::Tukey, Kind::Hsu, Kind::Dunnett})
        for (int pattern = 0; pattern < 7; ++pattern) {
            if (kind == Kind::Tukey && pattern > 1) continue;
            std::vector<double> lambda = Lambdas(pattern);
            for (int k : ks)
                for (double df : dfs)
                    for (double q : qs) {
                        Direct direct(kind, k, df, lambda.data());
                        qcm::Outcome want = qcm::capture([&] { return direct.Cdf(q); });
                        qcm::Outcome got = qcm::capture([&] { return FastCdf(kind, k, df, lambda.data(), q); });
                        ASSERT_EQ(got.threw, want.threw) << Name(kind) << " pattern " << pattern << " k " << k;
                        ASSERT_EQ(got.message, want.message) << Name(kind) << " pattern " << pattern << " k " << k;
                        ASSERT_EQ(bits_of(got.value), bits_of(want.value))
                            << Name(kind) << " pattern " << pattern << " k " << k << " df " << df << " q " << q;
                    }
        }
}

TEST(MultcompFastPath, RepeatedCallsOnOneObjectKeepTheirBits) {
    std::vector<double> lambda = Lambdas(2);
    DunnettDistribution dist(5, 12, lambda.data());
    Direct direct(Kind::Dunnett, 5, 12, lambda.data());
    for (double q : {2.0, 0.5, 3.0, 2.0}) EXPECT_EQ(bits_of(dist.CDF(q)), bits_of(direct.Cdf(q))) << q;
}

TEST(MultcompFastPath, IcdfBitForBitOnGrid) {
    for (Kind kind : {Kind::Tukey, Kind::Hsu, Kind::Dunnett})
        for (int pattern : {1, 2, 4}) {
            if (kind == Kind::Tukey && pattern > 1) continue;
            std::vector<double> lambda = Lambdas(kind == Kind::Tukey ? 0 : pattern);
            for (int k : {2, 3, 5, 10})
                for (double df : {5.0, 30.0})
                    for (double p : {0.9, 0.95, 0.99}) {
                        Direct direct(kind, k, df, lambda.data());
                        ASSERT_EQ(bits_of(FastIcdf(kind, k, df, lambda.data(), p)), bits_of(direct.Icdf(p)))
                            << Name(kind) << " pattern " << pattern << " k " << k << " df " << df << " p " << p;
                    }
        }
}

TEST(MultcompFastPath, NaNStatisticThrowsTheSameMessage) {
    std::vector<double> lambda = Lambdas(1);
    for (Kind kind : {Kind::Tukey, Kind::Hsu, Kind::Dunnett})
        for (double df : {10.0, HUGE_VAL}) {
            Direct direct(kind, 4, df, lambda.data());
            qcm::Outcome want = qcm::capture([&] { return direct.Cdf(NAN); });
            qcm::Outcome got = qcm::capture([&] { return FastCdf(kind, 4, df, lambda.data(), NAN); });
            ASSERT_TRUE(want.threw);
            EXPECT_EQ(got.type, want.type) << Name(kind);
            EXPECT_EQ(got.message, want.message) << Name(kind);
        }
}

// ---------------------------------------------------------------------------
// Counting the probability evaluations

template <class Inner>
class Counting final : public MC {
public:
    Counting(int k, double df, const double* lambda) : MC(k, df, lambda), inner_(k, df, lambda) {}
    double ConditionalCDF(double q, double s) override {
        ++calls;
        return inner_.ConditionalCDF(q, s);
    }
    std::pair<double, double> QuantileBracket(double alpha) override {
        if (forced) return *forced;
        return inner_.QuantileBracket(alpha);
    }
    int calls = 0;
    const std::pair<double, double>* forced = nullptr;

private:
    Inner inner_;
};

TEST(MultcompContract, NonPositiveStatisticNeedsNoQuadrature) {
    std::vector<double> lambda = Lambdas(0);
    for (double q : {0.0, -0.0, -1.0, -HUGE_VAL})
        for (double df : {10.0, 0.0, double(NAN), HUGE_VAL}) {
            Counting<TukeyDistribution> dist(3, df, lambda.data());
            EXPECT_EQ(dist.CDF(q), 0.0);
            EXPECT_EQ(dist.calls, 0) << q << " " << df;
        }
}

TEST(MultcompContract, KnownVarianceIsOneConditionalCall) {
    std::vector<double> lambda = Lambdas(1);
    for (double df : {10000.0, HUGE_VAL}) {
        Counting<DunnettDistribution> dist(4, df, lambda.data());
        EXPECT_EQ(bits_of(dist.CDF(2.3)), bits_of(DunnettDistribution(4, df, lambda.data()).ConditionalCDF(2.3, 1.0)));
        EXPECT_EQ(dist.calls, 1);
    }
    Counting<DunnettDistribution> below(4, 9999.5, lambda.data());
    below.CDF(2.3);
    EXPECT_EQ(below.calls, 48);
}

TEST(MultcompContract, TwoMeansInverseEvaluatesNoProbability) {
    std::vector<double> lambda = {0.9, 0.1};
    boost::math::students_t_distribution<double, ThrowPolicy> t(7);
    for (double p : {0.9, 0.95, 0.5}) {
        Counting<TukeyDistribution> tukey(2, 7, lambda.data());
        Counting<HsuDistribution> hsu(2, 7, lambda.data());
        Counting<DunnettDistribution> dunnett(2, 7, lambda.data());
        double two_sided = -boost::math::quantile(t, (1.0 - p) * 0.5);
        double one_sided = -boost::math::quantile(t, 1.0 - p);
        EXPECT_EQ(bits_of(tukey.ICDF(p)), bits_of(two_sided + 0.0));
        EXPECT_EQ(bits_of(dunnett.ICDF(p)), bits_of(two_sided + 0.0));
        EXPECT_EQ(bits_of(hsu.ICDF(p)), bits_of(one_sided + 0.0));
        EXPECT_EQ(tukey.calls + hsu.calls + dunnett.calls, 0);
    }
}

TEST(MultcompContract, SolverRejectsAnInvertedBracket) {
    std::vector<double> lambda = Lambdas(0);
    Counting<TukeyDistribution> dist(3, 10, lambda.data());
    std::pair<double, double> inverted(3.0, 2.0);
    dist.forced = &inverted;
    qcm_test::expect_throws(qcm::capture([&] { return dist.ICDF(0.95); }), "std::domain_error",
                            "Error in function boost::math::tools::toms748_solve<double>: Parameters a and b out "
                            "of order: a=3");
}

TEST(MultcompContract, SearchStopsAtTwoHundredEvaluations) {
    // Each probability costs 48 conditional calls at 10 df; the search never
    // needs the limit for an ordinary p, and a converged search is short.
    std::vector<double> lambda = Lambdas(0);
    Counting<TukeyDistribution> dist(5, 10, lambda.data());
    dist.ICDF(0.95);
    EXPECT_GT(dist.calls, 0);
    EXPECT_EQ(dist.calls % 48, 0);
    EXPECT_LE(dist.calls / 48, 200);
}

}  // namespace
