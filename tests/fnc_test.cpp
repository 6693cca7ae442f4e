// Fisher's noncentral hypergeometric distribution through the exports, as the
// host calls them: reference values from exact sums (tests/data/gen_fnc.py),
// identities, the tail flag, and impossible parameters.
#include <cerrno>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/qcm_test.hpp"

namespace {

using qcm_test::bits_of;
using qcm_test::load_reference;

constexpr std::uint64_t kLibraryNaNBits = 0x7FFFFFFFFFFFFFFFull;
constexpr double kEps = std::numeric_limits<double>::epsilon();

// Tolerance of a CDF value. Two sources of error: the terms the table leaves
// out (at most `accuracy` in all, by the length bound and the cut-off, an
// absolute error) and rounding: every step of the outward walk multiplies by
// a ratio costing about 4 roundings, so an entry k steps from the mode is off
// by at most about 4 k eps, relatively, and so are sums of such entries. The
// widest table in the data has a few thousand entries. A tail taken as 1
// minus the other (the tail toward the mean) carries a few eps absolute.
double CdfTolerance(double want, double accuracy, double table_steps) {
    return accuracy + 4 * table_steps * kEps * std::fabs(want) + 4 * kEps;
}

struct Urn {
    int n, m, N;
    double odds;
};

double Support(const Urn& u) { return std::min(u.n, u.m) - std::max(0, u.n - u.N + u.m) + 1; }

TEST(FncReference, CdfAgainstExactSums) {
    const auto rows = load_reference("fnc_cdf.csv");
    ASSERT_GT(rows.size(), 1000u);
    double worst = 0;
    for (const auto& r : rows) {
        const int x = static_cast<int>(r.args[0]);
        const Urn u{static_cast<int>(r.args[1]), static_cast<int>(r.args[2]), static_cast<int>(r.args[3]), r.args[4]};
        const bool upper = r.args[5] != 0;
        const double accuracy = r.args[6];
        const auto got =
            qcm_test::capture([&] { return FNCHypergeometricCDF(x, u.n, u.m, u.N, u.odds, upper ? 1 : 0, accuracy); });
        const double tol = CdfTolerance(r.expected, accuracy, Support(u));
        EXPECT_NEAR(got.value, r.expected, tol)
            << "line " << r.line << ": x=" << x << " n=" << u.n << " m=" << u.m << " N=" << u.N << " odds=" << u.odds
            << " upper=" << upper << " accuracy=" << accuracy;
        EXPECT_EQ(got.err, 0) << "line " << r.line;
        worst = std::max(worst, std::fabs(got.value - r.expected) / tol);
    }
    RecordProperty("worst_error_over_tolerance", std::to_string(worst));
}

// Tail probabilities far below 1e-12 keep their relative accuracy when the
// cut-off is below them: the tail away from the mean is summed, not taken
// as 1 minus the rest.
TEST(FncReference, SmallTailsAreRelativelyAccurate) {
    int checked = 0;
    for (const auto& r : load_reference("fnc_cdf.csv")) {
        const double accuracy = r.args[6];
        if (!(r.expected > 0 && r.expected < 1e-12 && accuracy < 1e-3 * r.expected)) continue;
        const Urn u{static_cast<int>(r.args[1]), static_cast<int>(r.args[2]), static_cast<int>(r.args[3]), r.args[4]};
        const double got =
            FNCHypergeometricCDF(static_cast<int>(r.args[0]), u.n, u.m, u.N, u.odds, r.args[5] != 0 ? 1 : 0, accuracy);
        // Neglected terms are below accuracy * 1e-3 of the mode's, so at most
        // 1e-3 relative here, plus the rounding of the walk.
        EXPECT_LE(qcm_test::relative_error(got, r.expected), 1e-3 + 4 * Support(u) * kEps) << "line " << r.line;
        ++checked;
    }
    EXPECT_GT(checked, 10);
}

TEST(FncReference, QuantilesAgainstExactSums) {
    const auto rows = load_reference("fnc_icdf.csv");
    ASSERT_GT(rows.size(), 1000u);
    for (const auto& r : rows) {
        const Urn u{static_cast<int>(r.args[1]), static_cast<int>(r.args[2]), static_cast<int>(r.args[3]), r.args[4]};
        const auto got = qcm_test::capture(
            [&] { return FNCHypergeometricICDF(r.args[0], u.n, u.m, u.N, u.odds, r.args[5] != 0 ? 1 : 0, r.args[6]); });
        EXPECT_EQ(got.value, r.expected) << "line " << r.line << ": p=" << r.args[0] << " n=" << u.n << " m=" << u.m
                                         << " N=" << u.N << " odds=" << u.odds << " upper=" << r.args[5];
        EXPECT_EQ(got.err, 0) << "line " << r.line;
    }
}

// The moments sum probabilities outward from the mean until one falls below
// c = 1e-9. For a bell-shaped distribution of standard deviation s the sums
// stop where the density is c, z < 7 standard deviations out: the neglected
// tails shift the mean by about s^2 c and the variance, relatively, by
// 2 z s c (1 + 1/z^2) < 15 s c. Squeezed against an end of the support
// (s < 1) the terms fall like a Poisson distribution's and the first
// neglected term, below c times the mean, sits within 3 of the end: 9 c
// relatively. Rounding adds 1e-13 relative (the logarithms of factorials
// reach 1.6e8 for the largest urn, but the normalisation cancels their common
// error).
TEST(FncReference, MomentsAgainstExactSums) {
    const auto rows = load_reference("fnc_moments.csv");
    ASSERT_GE(rows.size(), 40u);
    const double c = 1e-9;
    for (std::size_t i = 0; i + 1 < rows.size(); i += 2) {
        const auto& rm = rows[i];
        const auto& rv = rows[i + 1];
        ASSERT_EQ(rm.function, "mean");
        ASSERT_EQ(rv.function, "variance");
        const Urn u{static_cast<int>(rm.args[0]), static_cast<int>(rm.args[1]), static_cast<int>(rm.args[2]),
                    rm.args[3]};
        double mean = -1, variance = -1;
        const auto got =
            qcm_test::capture([&] { return FNCHypergeometricMoments(u.n, u.m, u.N, u.odds, &mean, &variance); });
        const double s = std::sqrt(rv.expected);
        EXPECT_NEAR(mean, rm.expected, std::max(rv.expected, 1.0) * 4 * c + 1e-13 * std::fabs(rm.expected))
            << "line " << rm.line;
        EXPECT_NEAR(variance, rv.expected, (15 * std::max(s, 1.0) * c + 1e-13) * rv.expected) << "line " << rv.line;
        EXPECT_NEAR(got.value, 1.0, 1e-7) << "line " << rm.line;
        EXPECT_EQ(got.err, 0);
    }
}

// The worked example: odds 2, four of each kind, four drawn. P = [1, 32,
// 144, 128, 16] / 321, so P(X <= 2) = 177/321 and the mean is 768/321.
TEST(FncExample, FourOfEachKindOddsTwo) {
    EXPECT_NEAR(FNCHypergeometricCDF(2, 4, 4, 8, 2.0, 0, 1e-10), 177.0 / 321.0, 2 * kEps);
    EXPECT_NEAR(FNCHypergeometricCDF(2, 4, 4, 8, 2.0, 1, 1e-10), 144.0 / 321.0, 2 * kEps);
    EXPECT_EQ(FNCHypergeometricICDF(0.5, 4, 4, 8, 2.0, 0, 1e-10), 2.0);
    double mean = 0, variance = 0;
    EXPECT_NEAR(FNCHypergeometricMoments(4, 4, 8, 2.0, &mean, &variance), 1.0, 1e-15);
    EXPECT_NEAR(mean, 768.0 / 321.0, 4 * kEps);
}

// Urns used by the identity checks: small, wide, central, extreme odds.
const std::vector<Urn> kIdentityUrns = {
    {4, 4, 8, 2.0},      {10, 6, 20, 5.0},          {60, 50, 80, 0.5},
    {100, 80, 250, 1.0}, {1000, 1200, 3000, 1.7},   {5000, 5000, 100000, 2.0},
    {30, 40, 100, 1e-6}, {5000, 5000, 100000, 1e6}, {250000, 2500, 10000000, 1.3},
};

TEST(FncIdentities, LowerPlusUpperIsOne) {
    for (const Urn& u : kIdentityUrns) {
        const int lo = std::max(0, u.n - u.N + u.m), hi = std::min(u.n, u.m);
        const int step = std::max(1, (hi - lo) / 50);
        for (int x = lo - 1; x <= hi + 1; x += step) {
            const double lower = FNCHypergeometricCDF(x, u.n, u.m, u.N, u.odds, 0, 1e-12);
            const double upper = FNCHypergeometricCDF(x, u.n, u.m, u.N, u.odds, 1, 1e-12);
            EXPECT_NEAR(lower + upper, 1.0, 2 * kEps) << "x=" << x << " n=" << u.n << " odds=" << u.odds;
            EXPECT_GE(lower, 0.0);
            EXPECT_LE(lower, 1.0);
        }
    }
}

// The quantile of a probability halfway up the step at x is x, for every x
// whose step the table resolves; the CDF is non-decreasing on the way.
TEST(FncIdentities, QuantileOfCdfReturnsX) {
    for (const Urn& u : kIdentityUrns) {
        const int lo = std::max(0, u.n - u.N + u.m), hi = std::min(u.n, u.m);
        double before = 0;
        int resolved = 0;
        for (int x = lo; x <= hi; ++x) {
            const double at = FNCHypergeometricCDF(x, u.n, u.m, u.N, u.odds, 0, 1e-12);
            ASSERT_GE(at, before) << "x=" << x;
            if (at - before > 1e-9) {
                EXPECT_EQ(FNCHypergeometricICDF((before + at) / 2, u.n, u.m, u.N, u.odds, 0, 1e-12), x)
                    << "n=" << u.n << " odds=" << u.odds;
                ++resolved;
            }
            before = at;
            if (hi - lo > 400 && at > 1 - 1e-12) break;
        }
        EXPECT_GT(resolved, 0);
    }
}

TEST(FncIdentities, UpperFlagMirrorsTheProbability) {
    for (const Urn& u : kIdentityUrns) {
        for (double p : {0.05, 0.3, 0.5, 0.9}) {
            EXPECT_EQ(FNCHypergeometricICDF(p, u.n, u.m, u.N, u.odds, 1, 1e-10),
                      FNCHypergeometricICDF(1 - p, u.n, u.m, u.N, u.odds, 0, 1e-10))
                << "p=" << p << " n=" << u.n;
        }
        // Only the flag's byte being non-zero counts.
        EXPECT_EQ(FNCHypergeometricCDF(u.n / 3, u.n, u.m, u.N, u.odds, 2, 1e-10),
                  FNCHypergeometricCDF(u.n / 3, u.n, u.m, u.N, u.odds, 1, 1e-10));
    }
}

// Outside the table: x below its first entry has lower tail 0, x at or above
// its last has upper tail 0. p is not validated: p <= 0 gives the first
// entry, p >= 1 (and NaN) the last.
TEST(FncEdges, OutsideTheTable) {
    const Urn u{5000, 5000, 100000, 2.0};  // support 0..5000, table around 456
    EXPECT_EQ(FNCHypergeometricCDF(0, u.n, u.m, u.N, u.odds, 0, 1e-8), 0.0);
    EXPECT_EQ(FNCHypergeometricCDF(-5, u.n, u.m, u.N, u.odds, 1, 1e-8), 1.0);
    EXPECT_EQ(FNCHypergeometricCDF(5000, u.n, u.m, u.N, u.odds, 1, 1e-8), 0.0);
    EXPECT_EQ(FNCHypergeometricCDF(6000, u.n, u.m, u.N, u.odds, 0, 1e-8), 1.0);
    const double first = FNCHypergeometricICDF(0.0, u.n, u.m, u.N, u.odds, 0, 1e-8);
    const double last = FNCHypergeometricICDF(1.0, u.n, u.m, u.N, u.odds, 0, 1e-8);
    EXPECT_GT(first, 200);
    EXPECT_LT(first, 456);
    EXPECT_GT(last, 456);
    EXPECT_LT(last, 800);
    EXPECT_EQ(FNCHypergeometricICDF(-3.0, u.n, u.m, u.N, u.odds, 0, 1e-8), first);
    EXPECT_EQ(FNCHypergeometricICDF(7.0, u.n, u.m, u.N, u.odds, 0, 1e-8), last);
    EXPECT_EQ(FNCHypergeometricICDF(std::nan(""), u.n, u.m, u.N, u.odds, 0, 1e-8), last);
    EXPECT_EQ(FNCHypergeometricICDF(1.0, u.n, u.m, u.N, u.odds, 1, 1e-8), first);
    // The table ends where its terms fall below 1e-8 * 1e-3 of the mode's:
    // the tails beyond hold less than the requested accuracy.
    EXPECT_LT(FNCHypergeometricCDF(static_cast<int>(first), u.n, u.m, u.N, u.odds, 0, 1e-8), 1e-8);
    EXPECT_LT(FNCHypergeometricCDF(static_cast<int>(last) - 1, u.n, u.m, u.N, u.odds, 1, 1e-8), 1e-8);
    // The mean (2.63) rounds to the last value of the support: upper tail 0
    // there exactly.
    EXPECT_EQ(FNCHypergeometricCDF(3, 3, 10, 12, 1.5, 1, 1e-8), 0.0);
    EXPECT_EQ(FNCHypergeometricCDF(3, 3, 10, 12, 1.5, 0, 1e-8), 1.0);
}

// Single-point supports: the CDF is 1 at and above the point for the lower
// tail, the quantile is the point, the variance 0.
TEST(FncEdges, SinglePointSupports) {
    struct Case {
        Urn u;
        int point;
    };
    const Case cases[] = {{{0, 5, 10, 2.0}, 0},  {{5, 0, 10, 2.0}, 0}, {{4, 10, 10, 3.0}, 4},
                          {{10, 3, 10, 0.5}, 3}, {{0, 0, 0, 1.0}, 0},  {{7, 3, 10, 0.0}, 0}};
    for (const Case& c : cases) {
        const Urn& u = c.u;
        EXPECT_EQ(FNCHypergeometricCDF(c.point, u.n, u.m, u.N, u.odds, 0, 1e-8), 1.0) << u.n << " " << u.m;
        EXPECT_EQ(FNCHypergeometricCDF(c.point + 1, u.n, u.m, u.N, u.odds, 0, 1e-8), 1.0);
        EXPECT_EQ(FNCHypergeometricCDF(c.point - 1, u.n, u.m, u.N, u.odds, 0, 1e-8), 0.0);
        EXPECT_EQ(FNCHypergeometricCDF(c.point, u.n, u.m, u.N, u.odds, 1, 1e-8), 0.0);
        EXPECT_EQ(FNCHypergeometricICDF(0.5, u.n, u.m, u.N, u.odds, 0, 1e-8), c.point);
        double mean = -1, variance = -1;
        EXPECT_EQ(FNCHypergeometricMoments(u.n, u.m, u.N, u.odds, &mean, &variance), 1.0);
        EXPECT_EQ(mean, c.point);
        EXPECT_EQ(variance, 0.0);
    }
}

// Impossible parameters give the library's NaN from every export, set no
// errno and leave the caller's untouched.
TEST(FncEdges, ImpossibleParametersGiveTheLibraryNaN) {
    const Urn cases[] = {
        {5, 4, 8, 0.0},  // odds 0 but fewer second-kind items than the sample
        {9, 4, 8, 2.0},  // sample larger than the population
        {4, 9, 8, 2.0},  // first kind larger than the population
        {-1, 4, 8, 2.0},
        {4, -1, 8, 2.0},
        {4, 4, -8, 2.0},
        {4, 4, 8, std::nan("")},
        {4, 4, 8, std::numeric_limits<double>::infinity()},
    };
    for (const Urn& u : cases) {
        errno = 4711;
        const double cdf = FNCHypergeometricCDF(2, u.n, u.m, u.N, u.odds, 0, 1e-8);
        const double icdf = FNCHypergeometricICDF(0.5, u.n, u.m, u.N, u.odds, 1, 1e-8);
        double mean = 0, variance = 0;
        const double total = FNCHypergeometricMoments(u.n, u.m, u.N, u.odds, &mean, &variance);
        EXPECT_EQ(errno, 4711);
        EXPECT_EQ(bits_of(cdf), kLibraryNaNBits) << "n=" << u.n << " m=" << u.m << " N=" << u.N << " odds=" << u.odds;
        EXPECT_EQ(bits_of(icdf), kLibraryNaNBits) << "n=" << u.n << " m=" << u.m << " N=" << u.N;
        EXPECT_EQ(bits_of(total), kLibraryNaNBits) << "n=" << u.n << " m=" << u.m << " N=" << u.N;
        EXPECT_EQ(bits_of(mean), kLibraryNaNBits);
        EXPECT_EQ(bits_of(variance), kLibraryNaNBits);
    }
    // Null output pointers are not written.
    EXPECT_EQ(FNCHypergeometricMoments(4, 4, 8, 2.0, nullptr, nullptr), 1.0);
}

// Odds of exactly 0 with room for the sample among the second kind: all of
// it is of the second kind.
TEST(FncEdges, ZeroOdds) {
    EXPECT_EQ(FNCHypergeometricCDF(0, 4, 4, 8, 0.0, 0, 1e-8), 1.0);
    EXPECT_EQ(FNCHypergeometricCDF(-1, 4, 4, 8, 0.0, 0, 1e-8), 0.0);
    EXPECT_EQ(FNCHypergeometricICDF(0.99, 4, 4, 8, 0.0, 0, 1e-8), 0.0);
    double mean = -1, variance = -1;
    EXPECT_EQ(FNCHypergeometricMoments(4, 4, 8, 0.0, &mean, &variance), 1.0);
    EXPECT_EQ(mean, 0.0);
    EXPECT_EQ(variance, 0.0);
}

// ln(0) for odds 0 is a pole for libm, which sets ERANGE inside the call;
// the caller's errno stays as it was.
TEST(FncEdges, LibmErrnoDoesNotLeak) {
    errno = 0;
    EXPECT_EQ(FNCHypergeometricCDF(0, 4, 4, 8, 0.0, 0, 1e-8), 1.0);
    EXPECT_EQ(errno, 0);
    double mean = -1, variance = -1;
    EXPECT_EQ(FNCHypergeometricMoments(4, 4, 8, 0.0, &mean, &variance), 1.0);
    EXPECT_EQ(errno, 0);
}

}  // namespace
