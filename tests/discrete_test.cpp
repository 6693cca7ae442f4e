// Binomial and hypergeometric exports: reference tables (exact rational sums
// and 50-digit Clopper-Pearson roots from tests/data/gen_discrete.py, 50-digit
// hypergeometric values at large counts from gen_hypergeometric_large.py), the
// identities between pmf, cdf and quantile, and the error contract.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/qcm_test.hpp"

namespace {

using qcm_test::capture;
using qcm_test::expect_throws;
using qcm_test::load_reference;
using qcm_test::ReferenceRow;
using qcm_test::relative_error;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
constexpr double kEps = std::numeric_limits<double>::epsilon();

// ------------------------------------------------------------ references

double call(const ReferenceRow& row) {
    const std::vector<double>& a = row.args;
    auto b = [](double v) { return static_cast<qcm_flag>(v != 0); };
    if (row.function == "BinomialPDF") return BinomialPDF(a.at(0), a.at(1), a.at(2));
    if (row.function == "BinomialCDF") return BinomialCDF(a.at(0), a.at(1), a.at(2), b(a.at(3)));
    if (row.function == "BinomialICDF")
        return BinomialICDF(a.at(0), a.at(1), a.at(2), b(a.at(3)), static_cast<int32_t>(a.at(4)));
    if (row.function == "BinomialPS") return BinomialPS(a.at(0), a.at(1), a.at(2), static_cast<int32_t>(a.at(3)));
    if (row.function == "HypergeometricPDF") return HypergeometricPDF(a.at(0), a.at(1), a.at(2), a.at(3));
    if (row.function == "HypergeometricCDF") return HypergeometricCDF(a.at(0), a.at(1), a.at(2), a.at(3), b(a.at(4)));
    if (row.function == "HypergeometricICDF") return HypergeometricICDF(a.at(0), a.at(1), a.at(2), a.at(3), b(a.at(4)));
    ADD_FAILURE() << "unknown function " << row.function;
    return kNaN;
}

// Largest relative error accepted per export. Boost evaluates the binomial
// through the incomplete beta function (its derivative for the pmf), whose
// error grows with n: measured at most 237 eps (pmf) and 156 eps (cdf), both
// at n = 1000 about 15 standard deviations out, so 1e-13 (450 eps). The
// hypergeometric pmf is Loader's saddle-point form carried in 64-bit
// significands and the cdf a tail sum in the same precision: measured at most
// 0.85 eps (pmf) and 0.99 eps (cdf) against the exact sums up to N = 10000,
// 0.6 and 1.0 eps against mpmath up to N = 2^32 - 1, so 1e-15 (4.5 eps).
// The Clopper-Pearson bounds are incomplete-beta inverses: measured at most
// 10 eps, so 1e-14. Quantiles are counts and must match exactly.
struct Tolerance {
    const char* function;
    double relative;
};
const Tolerance kTolerances[] = {
    {"BinomialPDF", 1e-13},        // measured 237 eps
    {"BinomialCDF", 1e-13},        // measured 156 eps
    {"BinomialPS", 1e-14},         // measured 10 eps
    {"HypergeometricPDF", 1e-15},  // measured 0.85 eps
    {"HypergeometricCDF", 1e-15},  // measured 1.0 eps
    {"BinomialICDF", 0.0},         // exact counts
    {"HypergeometricICDF", 0.0},   // exact counts
};

double tolerance_of(const std::string& function) {
    for (const Tolerance& t : kTolerances)
        if (function == t.function) return t.relative;
    ADD_FAILURE() << "no tolerance for " << function;
    return 0.0;
}

void check_table(const char* file) {
    std::vector<ReferenceRow> rows = load_reference(file);
    ASSERT_GT(rows.size(), 100u) << file;
    for (const ReferenceRow& row : rows) {
        qcm::Outcome got = capture([&] { return call(row); });
        ASSERT_FALSE(got.threw) << file << ":" << row.line << " " << got.message;
        EXPECT_EQ(got.err, 0) << file << ":" << row.line;
        double tol = tolerance_of(row.function);
        if (tol == 0.0 || row.expected == 0.0) {
            EXPECT_EQ(got.value, row.expected) << file << ":" << row.line << " " << row.function;
        } else {
            EXPECT_LE(relative_error(got.value, row.expected), tol)
                << file << ":" << row.line << " " << row.function << " got " << got.value << " want " << row.expected
                << " (" << relative_error(got.value, row.expected) / kEps << " eps)";
        }
    }
}

TEST(DiscreteReference, BinomialExactSumsQuantilesAndClopperPearson) { check_table("discrete_binomial.csv"); }

TEST(DiscreteReference, HypergeometricExactSumsAndQuantiles) { check_table("discrete_hypergeometric.csv"); }

TEST(DiscreteReference, HypergeometricLargeCounts) { check_table("discrete_hypergeometric_large.csv"); }

// ------------------------------------------------------------ identities

struct BinomialCase {
    double n, p;
};
const BinomialCase kBinomialCases[] = {{10, 0.5}, {20, 0.3}, {50, 0.05}, {200, 0.01}, {1000, 0.25}};

struct HyperCase {
    double r, n, N;
};
const HyperCase kHyperCases[] = {{10, 8, 30}, {50, 30, 100}, {150, 400, 500}, {300, 200, 1000}};

// The running sum of the rounded pmf values and the cdf each stay within the
// reference tolerance (1e-13) of the exact sum; adding the terms rounds once
// more per term.
double sum_tolerance(int terms) { return 2e-13 + terms * kEps; }

TEST(DiscreteIdentities, BinomialCdfIsRunningSumOfPmfAndTailsAddToOne) {
    for (const BinomialCase& c : kBinomialCases) {
        double sum = 0.0;
        for (int k = 0; k <= static_cast<int>(c.n); ++k) {
            sum += BinomialPDF(k, c.n, c.p);
            double lower = BinomialCDF(k, c.n, c.p, 0);
            double upper = BinomialCDF(k, c.n, c.p, 1);
            if (lower > 1e-290) {
                EXPECT_LE(relative_error(sum, lower), sum_tolerance(k + 1)) << c.n << " " << c.p << " " << k;
            }
            EXPECT_NEAR(lower + upper, 1.0, 4 * kEps) << c.n << " " << c.p << " " << k;
        }
    }
}

TEST(DiscreteIdentities, HypergeometricCdfIsRunningSumOfPmfAndTailsAddToOne) {
    for (const HyperCase& c : kHyperCases) {
        int lo = static_cast<int>(std::max(0.0, c.n + c.r - c.N));
        int hi = static_cast<int>(std::min(c.r, c.n));
        double sum = 0.0;
        for (int x = lo; x <= hi; ++x) {
            sum += HypergeometricPDF(x, c.r, c.n, c.N);
            double lower = HypergeometricCDF(x, c.r, c.n, c.N, 0);
            double upper = HypergeometricCDF(x, c.r, c.n, c.N, 1);
            if (lower > 1e-290) {
                EXPECT_LE(relative_error(sum, lower), sum_tolerance(x - lo + 1)) << c.r << " " << x;
            }
            EXPECT_NEAR(lower + upper, 1.0, 4 * kEps) << c.r << " " << c.n << " " << c.N << " " << x;
        }
    }
}

// A probability halfway through the step of count x has x as its smallest
// count reaching it (rounding up), and x - 1 as the largest count below it
// (rounding down); in the upper tail the same holds for P(X > x).
TEST(DiscreteIdentities, QuantileInvertsTheCdfInsideEachStep) {
    for (const BinomialCase& c : kBinomialCases) {
        for (int x = 0; x <= static_cast<int>(c.n); ++x) {
            double mass = BinomialPDF(x, c.n, c.p);
            if (mass < 1e-9) continue;  // too narrow a step to aim at
            double P = BinomialCDF(x, c.n, c.p, 0) - mass / 2;
            double Q = BinomialCDF(x, c.n, c.p, 1) + mass / 2;
            EXPECT_EQ(BinomialICDF(P, c.n, c.p, 0, 1), x) << c.n << " " << c.p << " " << P;
            EXPECT_EQ(BinomialICDF(P, c.n, c.p, 0, 0), std::max(x - 1, 0)) << c.n << " " << c.p << " " << P;
            EXPECT_EQ(BinomialICDF(Q, c.n, c.p, 1, 1), x) << c.n << " " << c.p << " " << Q;
            EXPECT_EQ(BinomialICDF(Q, c.n, c.p, 1, 0), std::max(x - 1, 0)) << c.n << " " << c.p << " " << Q;
        }
    }
    for (const HyperCase& c : kHyperCases) {
        int lo = static_cast<int>(std::max(0.0, c.n + c.r - c.N));
        int hi = static_cast<int>(std::min(c.r, c.n));
        for (int x = lo; x <= hi; ++x) {
            double mass = HypergeometricPDF(x, c.r, c.n, c.N);
            if (mass < 1e-9) continue;
            double P = HypergeometricCDF(x, c.r, c.n, c.N, 0) - mass / 2;
            double Q = HypergeometricCDF(x, c.r, c.n, c.N, 1) + mass / 2;
            EXPECT_EQ(HypergeometricICDF(P, c.r, c.n, c.N, 0), x) << c.r << " " << c.n << " " << P;
            EXPECT_EQ(HypergeometricICDF(Q, c.r, c.n, c.N, 1), x) << c.r << " " << c.n << " " << Q;
        }
    }
}

TEST(DiscreteIdentities, RoundingSelectorsDifferByAtMostOne) {
    for (const BinomialCase& c : kBinomialCases) {
        for (int i = 0; i <= 1000; ++i) {
            double P = i / 1000.0;
            for (qcm_flag upper : {qcm_flag{0}, qcm_flag{1}}) {
                double down = BinomialICDF(P, c.n, c.p, upper, 0);
                double up = BinomialICDF(P, c.n, c.p, upper, 7);  // any non-zero selects rounding up
                EXPECT_LE(down, up) << c.n << " " << c.p << " " << P << " " << int(upper);
                EXPECT_LE(up - down, 1.0) << c.n << " " << c.p << " " << P << " " << int(upper);
            }
        }
    }
}

// At counts up to 2^32 - 1 (standard deviations up to 16384): the two tails
// add to 1, the step of the cdf at x is the pmf, and a probability inside
// that step comes back as x from the tail that holds it.
struct LargeHyperCase {
    double r, n, N;  // as passed; negative counts wrap to 2^32 + count
    double mean, sd;
};
const LargeHyperCase kLargeHyperCases[] = {
    {1234567, 7654321, 1e7, 945003.7, 397.1},
    {2147483648.0, 2147483648.0, 4294967295.0, 1073741824.25, 16384.0},
    {-2e9, -3e9, -1, 691938826.9, 14101.4},
};

TEST(DiscreteIdentities, HypergeometricLargeCountsStepsAndTails) {
    for (const LargeHyperCase& c : kLargeHyperCases) {
        for (double k : {-8.0, -2.0, 0.0, 1.0, 6.0}) {
            const double x = std::round(c.mean + k * c.sd);
            const double mass = HypergeometricPDF(x, c.r, c.n, c.N);
            const double lower = HypergeometricCDF(x, c.r, c.n, c.N, 0);
            const double upper = HypergeometricCDF(x, c.r, c.n, c.N, 1);
            EXPECT_NEAR(lower + upper, 1.0, 4 * kEps) << c.N << " " << x;
            // the step from the smaller side: each tail is good to a few eps of itself
            const double step = k < 0 ? lower - HypergeometricCDF(x - 1, c.r, c.n, c.N, 0)
                                      : HypergeometricCDF(x - 1, c.r, c.n, c.N, 1) - upper;
            EXPECT_LE(relative_error(step, mass), 16 * kEps * std::min(lower, upper) / mass) << c.N << " " << x;
            // (a step of 1e-16 next to 1 has no double inside it)
            if (lower < 0.5) {
                EXPECT_EQ(HypergeometricICDF(lower - mass / 2, c.r, c.n, c.N, 0), x) << c.N << " " << x;
            }
            if (upper < 0.5) {
                EXPECT_EQ(HypergeometricICDF(upper + mass / 2, c.r, c.n, c.N, 1), x) << c.N << " " << x;
            }
        }
    }
}

// Counts are truncated toward zero to 64 bits and the low 32 bits kept.
TEST(DiscreteIdentities, HypergeometricCountsAreTruncatedToLow32Bits) {
    const double two32 = 4294967296.0;
    EXPECT_EQ(HypergeometricPDF(2, 3.9, 8, 30), HypergeometricPDF(2, 3, 8, 30));
    EXPECT_EQ(HypergeometricPDF(2, 10, 8.99, 30.5), HypergeometricPDF(2, 10, 8, 30));
    EXPECT_EQ(HypergeometricPDF(2, two32 + 10, 8, two32 + 30), HypergeometricPDF(2, 10, 8, 30));
    EXPECT_EQ(HypergeometricCDF(2, -two32 + 10, 8, 30, 0), HypergeometricCDF(2, 10, 8, 30, 0));
}

// Beyond 2^52 trials every double is a whole number: the quantile still
// comes back (Boost's step-by-one refinement alone would never end) and is a
// whole number next to the normal approximation n p + z sqrt(n p (1 - p)).
TEST(DiscreteIdentities, HugeTrialCountsGiveWholeQuantiles) {
    const double n = 1e17, p = 0.5, sd = std::sqrt(n * p * (1 - p));
    for (int rounding : {0, 1}) {
        double lower = BinomialICDF(0.3, n, p, 0, rounding);
        double upper = BinomialICDF(0.3, n, p, 1, rounding);
        EXPECT_EQ(lower, std::floor(lower));
        EXPECT_NEAR(lower, n * p - 0.5244005127080407 * sd, 1e-3 * sd);
        EXPECT_NEAR(upper, n * p + 0.5244005127080407 * sd, 1e-3 * sd);
    }
}

// ------------------------------------------------------------ contract

const std::string kBinomialCtor =
    "Error in function boost::math::binomial_distribution<double>::binomial_distribution: ";
const std::string kBinomialPdf = "Error in function boost::math::pdf(binomial_distribution<double> const&, double): ";
const std::string kBinomialCdf = "Error in function boost::math::cdf(binomial_distribution<double> const&, double): ";
const std::string kBinomialQuantile =
    "Error in function boost::math::quantile(binomial_distribution<double> const&, double): ";
const std::string kLower = "Error in function boost::math::binomial_distribution<double>::find_lower_bound_on_p: ";
const std::string kUpper = "Error in function boost::math::binomial_distribution<double>::find_upper_bound_on_p: ";
const std::string kHyperCtor =
    "Error in function boost::math::hypergeometric_distribution<double>::hypergeometric_distribution: ";
const std::string kHyperPdf =
    "Error in function boost::math::pdf(const hypergeometric_distribution<double>&, const double&): ";
const std::string kHyperCdf =
    "Error in function boost::math::cdf(const hypergeometric_distribution<double>&, const double&): ";
const std::string kHyperQuantile =
    "Error in function boost::math::quantile(const hypergeometric_distribution<double>&, double): ";
const std::string kHyperQuantileC =
    "Error in function quantile(const complemented2_type<hypergeometric_distribution<double>, double>&): ";

const std::string kFraction = "Success fraction argument is %, but must be >= 0 and <= 1 !";
const std::string kTrials = "Number of Trials argument is %, but must be >= 0 !";
const std::string kSuccesses = "Number of Successes argument is %, but must be >= 0 !";
const std::string kAboveTrials = "Number of Successes argument is %, but must be <= Number of Trials !";
const std::string kProbability = "Probability argument is %, but must be >= 0 and <= 1 !";

std::string with(const std::string& prefix, const std::string& reason, const std::string& value) {
    std::string text = reason;
    text.replace(text.find('%'), 1, value);
    return prefix + text;
}

struct ThrowCase {
    const char* what;
    std::function<double()> call;
    std::string message;
};

// Every invalid argument leaves as std::domain_error with its exact text;
// where several are wrong, the first in the checking order is reported.
const ThrowCase kThrowCases[] = {
    {"p = NaN is not finite", [] { return BinomialPDF(3, 10, kNaN); }, with(kBinomialCtor, kFraction, "nan")},
    {"p above 1", [] { return BinomialCDF(3, 10, 1.0000001, 0); },
     with(kBinomialCtor, kFraction, "1.0000001000000001")},
    {"p = -inf", [] { return BinomialICDF(0.5, 10, -kInf, 0, 1); }, with(kBinomialCtor, kFraction, "-inf")},
    {"n = +inf", [] { return BinomialICDF(0.5, kInf, 0.5, 0, 1); }, with(kBinomialCtor, kTrials, "inf")},
    {"n below 0", [] { return BinomialCDF(0, -1, 0.5, 1); }, with(kBinomialCtor, kTrials, "-1")},
    {"p is checked before n", [] { return BinomialPDF(3, -1, 2); }, with(kBinomialCtor, kFraction, "2")},
    {"k below 0", [] { return BinomialPDF(-1, 10, 0.5); }, with(kBinomialPdf, kSuccesses, "-1")},
    {"k above n, upper tail", [] { return BinomialCDF(11, 10, 0.5, 1); }, with(kBinomialCdf, kAboveTrials, "11")},
    {"k = NaN", [] { return BinomialCDF(kNaN, 10, 0.5, 0); }, with(kBinomialCdf, kSuccesses, "nan")},
    {"P above 1", [] { return BinomialICDF(1.5, 10, 0.5, 0, 1); }, with(kBinomialQuantile, kProbability, "1.5")},
    {"upper tail passes 1 - P", [] { return BinomialICDF(1.5, 10, 0.5, 1, 0); },
     with(kBinomialQuantile, kProbability, "-0.5")},
    {"alpha above 1, lower bound", [] { return BinomialPS(2, 10, 3, 0); }, with(kLower, kFraction, "2")},
    {"alpha checked when k = 0", [] { return BinomialPS(2, 10, 0, 0); }, with(kLower, kFraction, "2")},
    {"alpha checked when k = n", [] { return BinomialPS(-0.5, 10, 10, 1); }, with(kUpper, kFraction, "-0.5")},
    {"alpha = NaN", [] { return BinomialPS(kNaN, 10, 3, 1); }, with(kUpper, kFraction, "nan")},
    {"bound: n first", [] { return BinomialPS(2, -1, 3, 0); }, with(kLower, kTrials, "-1")},
    {"bound: n = +inf", [] { return BinomialPS(0.05, kInf, 3, 1); }, with(kUpper, kTrials, "inf")},
    {"bound: k before alpha", [] { return BinomialPS(2, 10, -1, 1); }, with(kUpper, kSuccesses, "-1")},
    {"bound: k = NaN", [] { return BinomialPS(0.05, 10, kNaN, 0); }, with(kLower, kSuccesses, "nan")},
    {"bound: k <= n before alpha", [] { return BinomialPS(2, 10, 11, 0); }, with(kLower, kAboveTrials, "11")},
    {"r = N + 1", [] { return HypergeometricPDF(2, 31, 8, 30); },
     kHyperCtor + "Parameter r out of range: must be <= N but got 31"},
    {"r = -1 is 4294967295", [] { return HypergeometricCDF(2, -1, 8, 30, 0); },
     kHyperCtor + "Parameter r out of range: must be <= N but got 4294967295"},
    {"n = -1 is 4294967295", [] { return HypergeometricICDF(0.5, 10, -1, 30, 0); },
     kHyperCtor + "Parameter n out of range: must be <= N but got 4294967295"},
    {"r is checked before n", [] { return HypergeometricPDF(2, 31, 31, 30); },
     kHyperCtor + "Parameter r out of range: must be <= N but got 31"},
    {"N = NaN counts as 0", [] { return HypergeometricPDF(0, 1, 0, kNaN); },
     kHyperCtor + "Parameter r out of range: must be <= N but got 1"},
    {"x not integral", [] { return HypergeometricPDF(2.5, 10, 8, 30); },
     kHyperPdf + "Random variable out of range: must be an integer but got 2.5"},
    {"x above min(n, r)", [] { return HypergeometricCDF(9, 10, 8, 30, 0); },
     kHyperCdf + "Random variable out of range: must be less than both n and r but got 9"},
    {"x below n + r - N", [] { return HypergeometricCDF(2, 25, 8, 30, 1); },
     kHyperCdf + "Random variable out of range: must be > 0 and > m + r - N but got 2"},
    {"P above 1", [] { return HypergeometricICDF(1.5, 10, 8, 30, 0); }, with(kHyperQuantile, kProbability, "1.5")},
    {"P = NaN, upper tail", [] { return HypergeometricICDF(kNaN, 10, 8, 30, 1); },
     with(kHyperQuantileC, kProbability, "nan")},
    // Boost's support check forms n + r - N in 32-bit int: at N = 4e9 and
    // n = r = 1000 it comes out as 294969296 and rejects the whole support.
    {"wrapped lower bound, N = 4e9", [] { return HypergeometricPDF(0, 1000, 1000, 4e9); },
     kHyperPdf + "Random variable out of range: must be > 0 and > m + r - N but got 0"},
    {"x beyond the int range", [] { return HypergeometricCDF(3e9, 4e9, 4e9, 4e9, 0); },
     kHyperCdf + "Random variable out of range: must be an integer but got 3000000000"},
};

TEST(DiscreteContract, InvalidArgumentsThrowTheirExactMessages) {
    for (const ThrowCase& c : kThrowCases) {
        SCOPED_TRACE(c.what);
        qcm::Outcome got = capture(c.call);
        expect_throws(got, "std::domain_error", c.message);
        EXPECT_EQ(got.err, 0) << "the caller's errno is kept";
    }
}

struct ValueCase {
    const char* what;
    std::function<double()> call;
    double expected;
};

const ValueCase kValueCases[] = {
    {"p = -0 is accepted", [] { return BinomialPDF(0, 10, -0.0); }, 1.0},
    {"p = 1 is accepted", [] { return BinomialPDF(10, 10, 1.0); }, 1.0},
    {"n = 0 is accepted", [] { return BinomialCDF(0, 0, 0.5, 0); }, 1.0},
    {"lower bound of k = 0 is 0", [] { return BinomialPS(0.05, 10, 0, 0); }, 0.0},
    {"upper bound of k = n is 1", [] { return BinomialPS(0.05, 10, 10, 1); }, 1.0},
    {"alpha = 0 gives the whole interval", [] { return BinomialPS(0.0, 10, 3, 0); }, 0.0},
    {"selector 2 returns -1", [] { return BinomialPS(0.05, 10, 3, 2); }, -1.0},
    {"selector -1 returns -1", [] { return BinomialPS(0.05, 10, 3, -1); }, -1.0},
    {"an unknown selector checks nothing", [] { return BinomialPS(kNaN, -1, kNaN, 2); }, -1.0},
    {"r = N is accepted", [] { return HypergeometricPDF(8, 30, 8, 30); }, 1.0},
    {"n = N is accepted", [] { return HypergeometricCDF(10, 10, 30, 30, 0); }, 1.0},
    {"upper tail is P(X > x)", [] { return HypergeometricCDF(5, 5, 5, 10, 1); }, 0.0},
    {"P = 0 gives the lower end of the support", [] { return HypergeometricICDF(0, 25, 8, 30, 0); }, 3.0},
    // where Boost's wrapped bound lets x below the true support n + r - N through
    {"x below a wrapped support", [] { return HypergeometricPDF(5, 4e9 - 10, 4e9 - 10, 4e9); }, 0.0},
    {"upper tail below a wrapped support", [] { return HypergeometricCDF(5, 4e9 - 10, 4e9 - 10, 4e9, 1); }, 1.0},
    // -2, -3, -1 are 2^32 - 2, 2^32 - 3, 2^32 - 1: support 2^32 - 4 .. 2^32 - 3,
    // P(X = 2^32 - 3) = 2 / (2^32 - 1)
    {"P = 1 gives the upper end", [] { return HypergeometricICDF(1, -2, -3, -1, 0); }, 4294967293.0},
    {"median of wrapped counts", [] { return HypergeometricICDF(0.5, -2, -3, -1, 1); }, 4294967292.0},
};

TEST(DiscreteContract, BoundaryArgumentsGiveTheirValues) {
    for (const ValueCase& c : kValueCases) {
        SCOPED_TRACE(c.what);
        qcm::Outcome got = capture(c.call);
        ASSERT_FALSE(got.threw) << got.message;
        EXPECT_EQ(got.value, c.expected);
        EXPECT_EQ(got.err, 0);
    }
}

}  // namespace
