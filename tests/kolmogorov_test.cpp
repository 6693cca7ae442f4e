// Kolmogorov distribution exports: KolmogorovCDF against exact and
// independent values (both tails, every dispatch boundary), the contract
// cases, and KolmogorovICDF's agreement between tails, its tolerance and its
// bracketing failure.
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <string>

#include "support/qcm_test.hpp"

namespace {

using qcm_test::capture;
using qcm_test::load_reference;
using qcm_test::relative_error;

constexpr double kEps = 2.220446049250313e-16;
constexpr double kSearchTolerance = 1.1920928955078125e-07;  // 2^-23, the 24-bit search width

// Accuracy of a tail taken by an exact method (Durbin, Pomeranz, closed
// forms): 1e-12 relative; an upper tail taken as 1 - lower also carries the
// lower tail's absolute error, measured below 1e-13 (Pomeranz at n = 140).
// Where the upper tail is twice the one-sided tail (n <= 140 and n d^2 >= 4,
// or n > 140 and n d^2 >= 2.2) it omits the chance of crossing both bands,
// a relative 2 exp(-6 n d^2) at most (zero for d >= 1/2).
double exact_tolerance(int n, double d, bool upper, double expected) {
    double tol = 1e-12;
    if (upper) {
        const double w = n * d * d;
        tol += 2e-13 / expected;
        if (d < 0.5 && ((n <= 140 && w >= 4.0) || (n > 140 && w >= 2.2))) tol += 2 * std::exp(-6 * w);
    }
    return tol;
}

double cdf(int upper, double n, double d) { return KolmogorovCDF(d, n, upper); }

TEST(KolmogorovCDF, ExactValuesBothTails) {
    // Durbin's formula in exact rationals (n <= 20) or 400-bit arithmetic.
    int checked = 0;
    for (const auto& row : load_reference("kolmogorov_exact.csv")) {
        const bool upper = row.function == "upper";
        const int n = static_cast<int>(row.args[0]);
        const double d = row.args[1];
        const auto r = capture([&] { return cdf(upper, n, d); });
        EXPECT_FALSE(r.threw);
        EXPECT_EQ(r.err, 0);
        EXPECT_LE(relative_error(r.value, row.expected), exact_tolerance(n, d, upper, row.expected))
            << row.function << " n=" << n << " d=" << d << " line " << row.line;
        ++checked;
    }
    EXPECT_EQ(checked, 78);
}

TEST(KolmogorovCDF, KnownValue) {
    // P(D_10 < 0.274) in exact rationals: 0.62847961545650428...
    EXPECT_LE(relative_error(KolmogorovCDF(0.274, 10, 0), 0.62847961545650428), 2 * kEps);
}

TEST(KolmogorovCDF, ClosedForms) {
    // F_n(1/n) = n!/n^n and F_n(1 - 1/n) = 1 - 2/n^n. The double d differs
    // from 1/n or 1 - 1/n by its rounding; raised to the n-th power that
    // moves the value by up to n^2 eps relative (d near 1) or n eps (d = 1/n);
    // the log-factorial form adds 1e-12 for n up to 500.
    for (const auto& row : load_reference("kolmogorov_closed.csv")) {
        const bool upper = row.function == "upper";
        const int n = static_cast<int>(row.args[0]);
        const double d = row.args[1];
        const double tol = 2e-12 + 4.0 * n * n * kEps + (upper ? 2e-16 / row.expected : 0);
        EXPECT_LE(relative_error(cdf(upper, n, d), row.expected), tol)
            << row.function << " n=" << n << " d=" << d << " line " << row.line;
    }
}

// Every dispatch boundary against its reference. Accuracy by source:
//  exact:   1e-12 where an exact method applies (see exact_tolerance). At
//           n = 141 and 1000 the lower tail beyond n^2 d^3 = 2 is Pelz-Good's
//           series: absolute error measured 1.5e-6 at n = 141 and 3.8e-8 at
//           n = 1000 (the upper tail below n d^2 = 2.2 is 1 - lower).
//  R:       R's double-precision exact routine, about 13 digits. Durbin's
//           matrix at n = 100000 (n^2 d^3 <= 2) matches it to 1e-13. Pelz-Good
//           at n = 100001 has measured relative errors 4e-11 near the median
//           but loses relative accuracy far in the lower tail: 2.6e-5 at
//           F = 3e-15, 9.2e-5 at F = 2e-18, 7.2e-3 at F = 1.6e-38.
//  smirnov: twice the one-sided tail. The exact sum at n = 200000 drifts with
//           the number of terms it walks (measured 3.3e-10); the asymptotic
//           form at 200001 is within 2.3e-8 (measured, n d^2 = 8).
double boundary_tolerance(const qcm_test::ReferenceRow& row) {
    const bool upper = row.args[0] != 0;
    const int n = static_cast<int>(row.args[1]);
    const double d = row.args[2];
    const double w = n * d * d;
    const bool pelz_good = n > 140 && (w * d * n > 2.0 || n > 100000);
    if (row.function == "exact") {
        if (!pelz_good || (upper && w >= 2.2)) return exact_tolerance(n, d, upper, row.expected);
        return (n <= 141 ? 2e-6 : 5e-8) / row.expected;
    }
    if (row.function == "R") {
        if (!pelz_good) return 2e-13;
        const double F = row.expected;
        return F > 0.01 ? 1e-10 : F > 1e-16 ? 5e-5 : F > 1e-20 ? 2e-4 : 1e-2;
    }
    return n <= 200000 ? 1e-9 : 5e-8;
}

TEST(KolmogorovCDF, DispatchBoundaries) {
    int checked = 0;
    for (const auto& row : load_reference("kolmogorov_boundaries.csv")) {
        const bool upper = row.args[0] != 0;
        const int n = static_cast<int>(row.args[1]);
        const double d = row.args[2];
        const auto r = capture([&] { return cdf(upper, n, d); });
        EXPECT_EQ(r.err, 0);
        EXPECT_LE(relative_error(r.value, row.expected), boundary_tolerance(row))
            << row.function << (upper ? " upper" : " lower") << " n=" << n << " d=" << d << " line " << row.line;
        ++checked;
    }
    EXPECT_EQ(checked, 56);
}

TEST(KolmogorovCDF, TailsSumToOne) {
    // Where the two tails come from different methods their sum shows each
    // method's error: 2e-13 for the exact methods; Pelz-Good's error (6e-6 at
    // n = 141, falling as n grows) against twice Smirnov's one-sided tail,
    // which omits the joint crossing, 2 exp(-8 n d^2) absolute (4.5e-8 at the
    // switch n d^2 = 2.2, measured 3.0e-8 at n = 1e5 and 1e6).
    struct Case {
        double n;
        double tol;
    };
    const Case cases[] = {{5, 1e-14},   {50, 1e-13},      {140, 2e-13}, {141, 6e-6},
                          {1000, 2e-7}, {100000, 4.5e-8}, {1e6, 4.5e-8}};
    for (const Case& c : cases)
        for (double u = 0.2; u < 3.0; u += 0.1) {
            const double d = u / std::sqrt(c.n);
            EXPECT_NEAR(KolmogorovCDF(d, c.n, 0) + KolmogorovCDF(d, c.n, 1), 1.0, c.tol) << "n=" << c.n << " d=" << d;
        }
}

TEST(KolmogorovCDF, ContinuousAcrossMethodSwitches) {
    // A step of 1e-14 relative in d across each switch moves the value by
    // less than 1e-12 through the density alone; what is left is the
    // disagreement of the two methods: the exact ones agree to 1e-12, twice
    // Smirnov's tail at n d^2 = 4 lacks the joint crossing, exp(-24) = 3.8e-11
    // relative (measured 3.5e-11),
    // Pelz-Good's series meets Durbin's exact value within 1e-5 (n = 1000,
    // measured 9.6e-6) and 3e-5 (n = 100000, measured 2.5e-5, far in the
    // lower tail where F is near 1e-15); twice Smirnov's one-sided tail meets
    // 1 - Pelz-Good within 5e-6.
    struct Case {
        int n;
        double d;  // where the method changes
        int upper;
        double tol;
    };
    const Case cases[] = {
        {100, std::sqrt(0.754693 / 100), 0, 2e-12},  // Durbin | Pomeranz
        {100, std::sqrt(4.0 / 100), 1, 1e-10},       // 1 - Pomeranz | twice Smirnov
        {1000, std::cbrt(2.0 / 1e6), 0, 1.2e-5},     // Durbin | Pelz-Good
        {1000, std::sqrt(2.2 / 1000), 1, 5e-6},      // 1 - Pelz-Good | twice Smirnov
        {100000, std::cbrt(2.0 / 1e10), 0, 3e-5},    // Durbin | Pelz-Good
    };
    for (const Case& c : cases) {
        const double below = KolmogorovCDF(c.d * (1 - 1e-14), c.n, c.upper);
        const double above = KolmogorovCDF(c.d * (1 + 1e-14), c.n, c.upper);
        EXPECT_LE(relative_error(above, below), c.tol) << "n=" << c.n << " d=" << c.d;
    }
}

TEST(KolmogorovCDF, ContractCases) {
    struct Case {
        double d, n;
        int flag;
        double expected;
        const char* why;
    };
    const Case cases[] = {
        {-0.1, 10, 0, 0.0, "d < 0, lower"},
        {-0.1, 10, 1, 1.0, "d < 0, upper"},
        {-HUGE_VAL, 10, 256, 1.0, "an int flag of 256 is true"},
        {-0.1, 10, -1, 1.0, "any non-zero int flag"},
        {1.0, 10, 0, 1.0, "d >= 1, lower"},
        {1.0, 10, 1, 0.0, "d >= 1, upper"},
        {HUGE_VAL, 10, 1, 0.0, "infinite d"},
        {0.05, 10, 0, 0.0, "d = 1/(2n), lower"},
        {0.05, 10, 1, 1.0, "d = 1/(2n), upper"},
        {0.75, 1, 0, 0.5, "n = 1: 2d - 1"},
        {0.6, 1, 1, 0.8, "n = 1: 2 - 2d"},
        {0.1, 10, 0, 0.00036288, "d = 1/n: 10!/10^10"},
        {0.3, 0.5, 0, 0.0, "n truncates to 0"},
    };
    for (const Case& c : cases) {
        const auto r = capture([&] { return KolmogorovCDF(c.d, c.n, c.flag); });
        EXPECT_FALSE(r.threw) << c.why;
        EXPECT_EQ(r.err, 0) << c.why;
        EXPECT_LE(relative_error(r.value, c.expected), 4 * kEps) << c.why << ": got " << r.value;
    }
    // n is truncated toward zero: 10.9 is 10.
    EXPECT_EQ(KolmogorovCDF(0.274, 10.9, 0), KolmogorovCDF(0.274, 10, 0));
    EXPECT_EQ(KolmogorovCDF(0.274, 10.9, 1), KolmogorovCDF(0.274, 10, 1));
    // Impossible inputs give the library's NaN, without errno.
    for (double n : {10.0, std::nan(""), 1e10}) {
        const double d = n == 10.0 ? std::nan("") : 0.3;
        const auto r = capture([&] { return KolmogorovCDF(d, n, 0); });
        EXPECT_EQ(r.bits(), 0x7FFFFFFFFFFFFFFFull) << "n=" << n;
        EXPECT_EQ(r.err, 0);
    }
    // The caller's errno is kept.
    errno = 12345;
    KolmogorovCDF(0.274, 10, 0);
    KolmogorovCDF(0.01, 100000, 0);
    EXPECT_EQ(errno, 12345);
}

// ---- quantile -------------------------------------------------------------------

const double kSizes[] = {1, 2, 5, 10, 20, 21, 50, 100, 140, 141, 1000, 100000, 1e6};

TEST(KolmogorovICDF, LowerAndUpperFormsAgree) {
    for (double n : kSizes) {
        const double a = KolmogorovICDF(0.95, n, 0);
        const double b = KolmogorovICDF(0.05, n, 1);
        EXPECT_LE(relative_error(a, b), kSearchTolerance) << "n=" << n << " " << a << " " << b;
    }
}

TEST(KolmogorovICDF, CdfAtTheRootIsWithinTheSearchTolerance) {
    // The returned d lies within 2^-23 relative of the root: the tail at
    // d (1 -+ 2^-23) brackets p.
    for (double n : kSizes)
        for (double p : {0.001, 0.05, 0.5, 0.9, 0.999}) {
            for (int upper : {0, 1}) {
                const double d = KolmogorovICDF(p, n, upper);
                const double lo = KolmogorovCDF(d * (1 - kSearchTolerance), n, upper);
                const double hi = KolmogorovCDF(d * (1 + kSearchTolerance), n, upper);
                if (upper)
                    EXPECT_TRUE(hi <= p && p <= lo) << "n=" << n << " p=" << p << " d=" << d;
                else
                    EXPECT_TRUE(lo <= p && p <= hi) << "n=" << n << " p=" << p << " d=" << d;
            }
        }
}

TEST(KolmogorovICDF, PublishedCriticalValues) {
    // Two-sided 5% critical values: n = 1 is 0.975 exactly (F = 2d - 1);
    // Miller (JASA 51, 1956) gives 0.40925 for n = 10 and 0.29408 for n = 20.
    EXPECT_LE(relative_error(KolmogorovICDF(0.05, 1, 1), 0.975), kSearchTolerance);
    EXPECT_NEAR(KolmogorovICDF(0.05, 10, 1), 0.40925, 5e-6);
    EXPECT_NEAR(KolmogorovICDF(0.05, 20, 1), 0.29408, 5e-6);
}

TEST(KolmogorovICDF, ProbabilityEnds) {
    // p = 0 and p = 1 are reached exactly by the closed forms.
    EXPECT_EQ(KolmogorovCDF(KolmogorovICDF(0.0, 10, 0), 10, 0), 0.0);
    EXPECT_EQ(KolmogorovCDF(KolmogorovICDF(1.0, 10, 0), 10, 0), 1.0);
    EXPECT_EQ(KolmogorovCDF(KolmogorovICDF(0.0, 10, 1), 10, 1), 0.0);
    EXPECT_EQ(KolmogorovCDF(KolmogorovICDF(1.0, 10, 1), 10, 1), 1.0);
}

TEST(KolmogorovICDF, NonIntegralSampleSize) {
    // The tail uses n = 10, the starting guess 1.36/sqrt(10.9): the same root.
    EXPECT_LE(relative_error(KolmogorovICDF(0.05, 10.9, 1), KolmogorovICDF(0.05, 10, 1)), kSearchTolerance);
}

std::string bracket_message(double last) {
    char value[64];
    std::snprintf(value, sizeof value, "%.17g", last);
    return std::string(
               "Error in function boost::math::tools::bracket_and_solve_root<double>: "
               "Unable to bracket root, last nearest value was ") +
           value;
}

TEST(KolmogorovICDF, ProbabilityOutsideZeroOneCannotBeBracketed) {
    // The walk from 1.36/sqrt(n) multiplies (or divides) by 2, the factor
    // doubling after steps 20, 40, 60 and 80: 99 steps move by 2^299.
    struct Case {
        double p, n;
        int flag;
        int power;  // the last point is guess * 2^power
    };
    const Case cases[] = {
        {1.5, 10, 0, 299},    // F - p < 0 everywhere: upward
        {-0.5, 10, 0, -299},  // F - p > 0 everywhere: downward
        {1.5, 10, 1, -299},   // p - Q > 0: downward
        {-0.5, 10, 1, 299},   // p - Q < 0: upward
        {2.0, 1e6, 0, 299},
    };
    for (const Case& c : cases) {
        const auto r = capture([&] { return KolmogorovICDF(c.p, c.n, c.flag); });
        qcm_test::expect_throws(r, "boost::math::evaluation_error",
                                bracket_message(std::ldexp(1.36 / std::sqrt(c.n), c.power)));
    }
    const auto r = capture([&] { return KolmogorovICDF(std::nan(""), 10, 0); });
    EXPECT_TRUE(r.threw);
    EXPECT_EQ(r.type, "boost::math::evaluation_error");
}

}  // namespace
