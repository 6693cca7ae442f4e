// Kolmogorov distribution, internal routines: each method against exact
// values over its whole range (not only where the dispatcher uses it), the
// scaled matrix power, the one-sided sum and its asymptotic form, and the
// helper functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kolmogorov/kolmogorov.hpp"
#include "support/qcm_test.hpp"

namespace {

using namespace qcm::kolmogorov;
using qcm_test::load_reference;
using qcm_test::relative_error;

constexpr double kEps = 2.220446049250313e-16;

bool is_library_nan(double x) { return qcm_test::bits_of(x) == 0x7FFFFFFFFFFFFFFFull; }

// ---- helpers: ln(n!) and ln(1+x) ---------------------------------------------

TEST(KolmogorovHelpers, LogFactorialAgainstLogGamma) {
    // Table entries are correctly rounded; Stirling's series beyond n = 30 is
    // truncated after x^-7 (x = n + 1), below 1e-17 relative from n = 31 on;
    // the constants are given to 14 digits, 1e-14 absolute.
    for (const auto& row : load_reference("kolmogorov_functions.csv")) {
        if (row.function != "logfactorial") continue;
        const int n = static_cast<int>(row.args[0]);
        const double got = LogFactorial(n);
        if (n <= 30)
            EXPECT_LE(qcm_test::ulp_distance(got, row.expected), 1) << "n=" << n;
        else
            EXPECT_LE(std::fabs(got - row.expected), 1e-14 + 4 * kEps * row.expected) << "n=" << n;
    }
    EXPECT_TRUE(std::isnan(LogFactorial(-1)));
}

TEST(KolmogorovHelpers, Log1pSeriesAgainstMpmath) {
    // The series stops at a 1e-15 relative term; the direct logarithm beyond
    // |x| = 0.1 loses the rounding of 1 + x (relative 2^-53 / |ln(1+x)| <= 1.2e-15).
    for (const auto& row : load_reference("kolmogorov_functions.csv")) {
        if (row.function != "log1p") continue;
        const double x = row.args[0];
        EXPECT_LE(relative_error(Log1pSeries(x), row.expected), 3e-15) << "x=" << x;
    }
    EXPECT_EQ(qcm_test::bits_of(Log1pSeries(-0.0)), qcm_test::bits_of(-0.0));
}

TEST(KolmogorovHelpers, Tables) {
    // n! is exact in double up to 22!; the two tables must describe the same numbers.
    for (int n = 0; n <= 20; ++n) EXPECT_NEAR(std::log(FactorialTable[n]), LogFactorialTable[n], 1e-14) << n;
    for (int n = 1; n <= 20; ++n) EXPECT_EQ(FactorialTable[n], FactorialTable[n - 1] * n) << n;
    EXPECT_EQ(FactorialTable[20], 2432902008176640000.0);
    EXPECT_EQ(LogFactorialTable[30], 74.658236348830164);
}

// ---- the exact methods over their whole range ---------------------------------

// Both Durbin's matrix and Pomeranz's recursion are exact methods; each is
// checked on every exact row with n <= 140, inside and outside the range in
// which the dispatcher calls it. Measured worst: Durbin 2.5e-15, Pomeranz
// 1.4e-13 relative (n = 140).
TEST(KolmogorovMethods, DurbinAndPomeranzAgainstExactValues) {
    int checked = 0;
    for (const char* file : {"kolmogorov_exact.csv", "kolmogorov_closed.csv"}) {
        for (const auto& row : load_reference(file)) {
            if (row.function != "lower") continue;
            const int n = static_cast<int>(row.args[0]);
            const double d = row.args[1];
            if (n < 2 || n > 140 || row.expected == 1.0 || row.expected < 1e-280) continue;
            const bool closed = std::string(file) == "kolmogorov_closed.csv";  // d rounded to double
            const double tol = closed ? 1e-12 + 4.0 * n * n * kEps : 1e-12;
            EXPECT_LE(relative_error(DurbinMatrix(n, d), row.expected), tol) << file << ":" << row.line;
            EXPECT_LE(relative_error(Pomeranz(n, d), row.expected), tol) << file << ":" << row.line;
            ++checked;
        }
    }
    EXPECT_GT(checked, 50);
}

TEST(KolmogorovMethods, DurbinBeyondTheSmallRange) {
    // n > 140 with n^2 d^3 <= 2: exact rows at n = 141 and 1000 (1e-12), and
    // R's double-precision values at n = 100000 (2e-13; R's routine scales
    // the same matrix power and agrees to the last digit or two).
    int checked = 0;
    for (const auto& row : load_reference("kolmogorov_boundaries.csv")) {
        if (row.function == "smirnov" || row.args[0] != 0) continue;
        const int n = static_cast<int>(row.args[1]);
        const double d = row.args[2];
        if (n <= 140 || static_cast<double>(n) * n * d * d * d > 2.0) continue;
        const double tol = row.function == "exact" ? 1e-12 : 2e-13;
        EXPECT_LE(relative_error(DurbinMatrix(n, d), row.expected), tol) << "line " << row.line;
        ++checked;
    }
    EXPECT_EQ(checked, 8);
}

TEST(KolmogorovMethods, NonPositiveSampleSizeGivesLibraryNaN) {
    EXPECT_TRUE(is_library_nan(DurbinMatrix(0, 0.3)));
    EXPECT_TRUE(is_library_nan(DurbinMatrix(-5, 0.3)));
    EXPECT_TRUE(is_library_nan(Pomeranz(-5, 0.3)));
    EXPECT_TRUE(is_library_nan(SmirnovUpper(0, 0.3)));
    EXPECT_TRUE(is_library_nan(SmirnovUpper(10, std::nan(""))));
    EXPECT_TRUE(is_library_nan(KolmogorovLowerTail(-5, 0.3)));
    EXPECT_TRUE(is_library_nan(KolmogorovLowerTail(10, std::nan(""))));
    EXPECT_TRUE(is_library_nan(KolmogorovUpperTail(10, std::nan(""))));
}

// ---- scaled matrix power ------------------------------------------------------

TEST(KolmogorovMatrix, MultiplyAndRescale) {
    const double A[4] = {1, 2, 3, 4}, B[4] = {5, 6, 7, 8};
    double P[4];
    MatrixMultiply(A, B, P, 2);
    EXPECT_EQ(P[0], 19);
    EXPECT_EQ(P[1], 22);
    EXPECT_EQ(P[2], 43);
    EXPECT_EQ(P[3], 50);
    double M[4] = {1e150, 2e150, 0, 4};
    int e = 7;
    MatrixRescale(M, 2, e);
    EXPECT_EQ(e, 147);
    EXPECT_LE(relative_error(M[1], 2e10), 4 * kEps);
    EXPECT_LE(relative_error(M[3], 4e-140), 4 * kEps);
}

TEST(KolmogorovMatrix, PowerKeepsTheCentreBelow1e140) {
    // (1e100 I)^n for a 3x3 identity: the centre is rescaled whenever it
    // passes 1e140, the square before it is used and the product after.
    struct Case {
        int n;
        int exponent;  // the decimal exponent the rescaling leaves
    };
    // n = 2: square 1e200 -> 1e60 (e 140). n = 3: square 1e200 -> 1e60 (140),
    // times A 1e160 -> 1e20 (280). n = 5: V = A^2 = 1e60 (140); square
    // 1e120 (280), times A 1e220 -> 1e80 (420).
    const Case cases[] = {{1, 0}, {2, 140}, {3, 280}, {5, 420}};
    std::vector<double> A(9, 0.0);
    for (int i = 0; i < 3; ++i) A[i * 3 + i] = 1e100;
    for (const Case& c : cases) {
        std::vector<double> V;
        int eV = -1;
        MatrixPower(A, 0, V, eV, 3, c.n);
        ASSERT_EQ(V.size(), 9u);
        EXPECT_EQ(eV, c.exponent) << "n=" << c.n;
        EXPECT_LE(V[4], 1e140);
        // the value represented is 10^(100 n)
        EXPECT_LE(relative_error(V[4], std::pow(10.0, 100 * c.n - eV)), 1e-14) << "n=" << c.n;
        EXPECT_EQ(V[1], 0.0);
    }
}

// ---- Smirnov's one-sided tail ---------------------------------------------------

TEST(KolmogorovSmirnov, ExactSumAgainstMpmath) {
    // The walk stops at a 1e-12 relative term on each side. The logarithm of
    // the binomial coefficient is carried by recurrence through every term
    // walked (about n of them), so its rounding drifts with n: measured
    // 1e-13 up to n = 141, 9.6e-13 at 1000, 1.4e-11 at 3000, 7e-11 at 20000,
    // 4e-10 at 200000; allowed max(1e-12, 6e-15 n).
    for (const auto& row : load_reference("kolmogorov_smirnov.csv")) {
        const int n = static_cast<int>(row.args[0]);
        const double d = row.args[1];
        EXPECT_LE(relative_error(SmirnovUpper(n, d), row.expected), std::max(1e-12, 6e-15 * n))
            << "n=" << n << " d=" << d;
    }
}

TEST(KolmogorovSmirnov, AsymptoticFormBeyond200000) {
    // Above n = 200000 the one-sided tail switches to the asymptotic formula.
    // Against the exact sum (boundary rows hold twice the one-sided tail):
    // measured 2.4e-9 at n d^2 = 2.5 and 2.3e-8 at n d^2 = 8 for n = 200001;
    // the exact sum itself is within 3.3e-10 at n = 200000.
    for (const auto& row : load_reference("kolmogorov_boundaries.csv")) {
        if (row.function != "smirnov") continue;
        const int n = static_cast<int>(row.args[1]);
        const double d = row.args[2];
        const double tol = n <= 200000 ? 1e-9 : 5e-8;
        EXPECT_LE(relative_error(2 * SmirnovUpper(n, d), row.expected), tol) << "n=" << n << " d=" << d;
        if (n > 200000) {
            EXPECT_EQ(SmirnovUpper(n, d), SmirnovUpperAsymptotic(n, d));
        }
    }
    EXPECT_EQ(SmirnovUpperAsymptotic(300000, 0.5), 0.0);  // the bracket goes negative: 0
}

// ---- closed forms and dispatch ------------------------------------------------

TEST(KolmogorovSpecial, RangesOfTheClosedForms) {
    struct Case {
        int n;
        double d;
        double lower, upper;  // -1: none applies
    };
    const Case cases[] = {
        {10, 1.0, 1, 0},                                      // d >= 1
        {1000, std::sqrt(18.0 / 1000) * (1 + 1e-15), 1, -1},  // w = 18: lower is 1, upper not yet 0
        {1000, std::sqrt(370.0 / 1000) * (1 + 1e-15), 1, 0},  // w = 370
        {10, 0.05, 0, 1},                                     // d = 1/(2n)
        {1000, 0.005, -1, 1},                                 // w = 0.025 <= 0.0274: upper is 1
        {10, 0.3, -1, -1},                                    // the general range
        {1, 0.75, 0.5, 0.5},                                  // n = 1: 2d - 1 and 2 - 2d
    };
    for (const Case& c : cases) {
        EXPECT_EQ(KolmogorovSpecialLower(c.n, c.d), c.lower) << c.n << " " << c.d;
        EXPECT_EQ(KolmogorovSpecialUpper(c.n, c.d), c.upper) << c.n << " " << c.d;
    }
}

TEST(KolmogorovSpecial, FactorialTableAndLogFormAgreeAcross20And21) {
    // t^n n! from the table for n = 20, exp(ln n! + n ln t) for n = 21; each
    // against exact rationals (boundary rows), within 1e-12.
    for (const auto& row : load_reference("kolmogorov_boundaries.csv")) {
        const int n = static_cast<int>(row.args[1]);
        const double d = row.args[2];
        if (row.function != "exact" || (n != 20 && n != 21)) continue;
        ASSERT_LE(d, 1.0 / n);
        EXPECT_LE(relative_error(KolmogorovSpecialLower(n, d), row.expected), 1e-12) << "n=" << n << " d=" << d;
        EXPECT_LE(relative_error(KolmogorovSpecialUpper(n, d), 1 - row.expected), 1e-12);
    }
}

}  // namespace
