// Fisher's noncentral hypergeometric distribution: the evaluator's internal
// operations (log-factorials, mode, table length and fill, log terms).
#include <cmath>
#include <limits>
#include <vector>

#include "discrete/fnc_hypergeometric.hpp"
#include "support/qcm_test.hpp"

namespace {

using qcm::fnc::FncHypergeometric;
using qcm::fnc::LogFactorialCached;
using qcm_test::load_reference;

constexpr double kEps = std::numeric_limits<double>::epsilon();

// ln(k!) against mpmath. The table is a running sum of k logarithms, each
// rounded once, so entry k is off by at most about k/2 ulps of its value's
// scale; Stirling's series beyond 1023 is truncated after 1/(360 k^3), whose
// successor 1/(1260 k^5) is below 1e-18, so only its few roundings count.
TEST(FncLogFactorial, AgainstMpmath) {
    const auto rows = load_reference("fnc_logfactorial.csv");
    ASSERT_GE(rows.size(), 10u);
    for (const auto& r : rows) {
        const auto k = static_cast<std::int32_t>(r.args[0]);
        const double got = LogFactorialCached(k);
        const double tol = k < 1024 ? (k / 2.0 + 1) * kEps * r.expected : 8 * kEps * r.expected;
        EXPECT_NEAR(got, r.expected, tol) << "k=" << k;
    }
    EXPECT_EQ(LogFactorialCached(0), 0.0);
    EXPECT_EQ(LogFactorialCached(1), 0.0);
    EXPECT_EQ(qcm_test::bits_of(LogFactorialCached(-1)), 0x7FFFFFFFFFFFFFFFull);
}

// The mode against the largest most probable x of the exact distribution,
// including odds a hair away from 1 on a large urn, where the quadratic's
// textbook root loses every digit.
TEST(FncMode, AgainstExactArgmax) {
    const auto rows = load_reference("fnc_mode.csv");
    ASSERT_GE(rows.size(), 20u);
    for (const auto& r : rows) {
        const FncHypergeometric d(static_cast<int>(r.args[0]), static_cast<int>(r.args[1]), static_cast<int>(r.args[2]),
                                  r.args[3], 1e-8);
        EXPECT_EQ(d.Mode(), r.expected) << "n=" << d.n << " m=" << d.m << " N=" << d.N << " odds=" << d.odds;
    }
}

// Table length: the whole support up to 200 values; beyond, (i + 6)
// standard deviations plus the margin, i being the first entry of the
// accuracy table not above the accuracy (10 when none is).
TEST(FncBuildTable, LengthQuery) {
    struct Case {
        double accuracy;
        int i;
    };
    const Case cases[] = {{1e-2, 0}, {0.002699796, 0}, {1e-3, 1}, {1e-8, 6}, {2e-9, 6}, {1e-13, 9}, {1e-20, 10}};
    const FncHypergeometric narrow(150, 120, 300, 3.7, 1e-8);
    std::int32_t first = 0;
    EXPECT_EQ(narrow.BuildTable(nullptr, 0, &first, nullptr, 0), 121.0);
    EXPECT_EQ(first, 1);
    for (const Case& c : cases) {
        const FncHypergeometric d(5000, 5000, 100000, 2.0, c.accuracy);
        const double s = std::sqrt(d.VarianceApprox());
        const double want = std::floor((c.i + 6) * s + 0.5) + qcm::fnc::kTableLengthMargin * (c.i + 6);
        EXPECT_EQ(d.BuildTable(nullptr, 0, nullptr, nullptr, 0), want) << "accuracy " << c.accuracy;
    }
    // Squeezed against the lower end (standard deviation 0.017): the margin
    // alone, 2 * (6 + 6) entries for accuracy 1e-8.
    const FncHypergeometric squeezed(5000, 5000, 100000, 1e-6, 1e-8);
    EXPECT_EQ(squeezed.BuildTable(nullptr, 0, nullptr, nullptr, 0), 24.0);
    // Single-point support, and odds 0 without room for the sample.
    EXPECT_EQ(FncHypergeometric(0, 5, 10, 2.0, 1e-8).BuildTable(nullptr, 0, nullptr, nullptr, 0), 1.0);
    EXPECT_TRUE(std::isnan(FncHypergeometric(5, 4, 8, 0.0, 1e-8).BuildTable(nullptr, 0, nullptr, nullptr, 0)));
}

// Filled table: the mode's entry is 1, neighbours follow the exact term
// ratio, entries fall to the cut-off at both ends (or the support ends),
// and the sum is returned.
TEST(FncBuildTable, FillOutwardFromTheMode) {
    const FncHypergeometric cases[] = {
        {1000, 1200, 3000, 1.7, 1e-8},   {5000, 5000, 100000, 2.0, 1e-12}, {60, 50, 80, 0.5, 1e-8},
        {5000, 5000, 100000, 1e6, 1e-8}, {30, 40, 100, 1e-6, 1e-8},
    };
    for (const FncHypergeometric& d : cases) {
        const auto length = static_cast<std::int32_t>(d.BuildTable(nullptr, 0, nullptr, nullptr, 0));
        std::vector<double> table(length + 1, -1.0);  // one guard entry past the end
        std::int32_t first = 0, last = 0;
        const double cutoff = d.accuracy * qcm::fnc::kTableCutoffFactor;
        const double sum = d.BuildTable(table.data(), length, &first, &last, cutoff);
        const std::int32_t mode = d.Mode();
        ASSERT_LE(first, mode);
        ASSERT_GE(last, mode);
        ASSERT_LT(last - first, length);
        EXPECT_EQ(table[length], -1.0) << "wrote past the end";
        EXPECT_EQ(table[mode - first], 1.0);
        double total = 0;
        for (std::int32_t x = first; x <= last; ++x) {
            total += table[x - first];
            if (x > first) {
                const double ratio = (d.n - x + 1.0) * (d.m - x + 1.0) * d.odds / (x * (x - (d.n - d.N + d.m) * 1.0));
                EXPECT_NEAR(table[x - first] / table[x - first - 1], ratio, 1e-13 * ratio) << "x=" << x;
            }
        }
        EXPECT_NEAR(sum, total, 1e-13 * total);
        EXPECT_TRUE(first == d.xMin || table[0] < cutoff || last - first + 1 == length) << "first=" << first;
        EXPECT_TRUE(last == d.xMax || table[last - first] < cutoff || last - first + 1 == length) << "last=" << last;
    }
}

// With factorial arguments beyond the table, neighbouring log terms are
// updated incrementally: they must agree with a fresh evaluation.
TEST(FncLogTerm, IncrementalMatchesFresh) {
    FncHypergeometric walker(250000, 2500, 10000000, 1.3, 1e-8);
    for (std::int32_t x = 40; x <= 130; ++x) {
        const double incremental = walker.LogTerm(x);
        FncHypergeometric fresh(250000, 2500, 10000000, 1.3, 1e-8);
        // Fresh objects recompute from Stirling's series at ~1.5e8: a few
        // ulps of that scale.
        EXPECT_NEAR(incremental, fresh.LogTerm(x), 2e-7) << "x=" << x;
    }
}

// Probabilities: normalised on the first call, summing to 1 over the
// support, and equal to the central hypergeometric ones for odds 1.
TEST(FncProbability, SumsToOne) {
    const FncHypergeometric cases[] = {
        {4, 4, 8, 2.0, 1e-8},
        {60, 50, 80, 0.5, 1e-8},
        {2000, 2500, 10000, 1.0, 1e-8},
        {3000, 4000, 10000, 0.5, 1e-8},
    };
    for (FncHypergeometric d : cases) {
        double total = 0;
        for (std::int32_t x = d.xMin; x <= d.xMax; ++x) total += d.Probability(x);
        EXPECT_NEAR(total, 1.0, 1e-8) << "n=" << d.n << " odds=" << d.odds;
        EXPECT_EQ(d.Probability(d.xMin - 1), 0.0);
        EXPECT_EQ(d.Probability(d.xMax + 1), 0.0);
    }
    // Odds 2 on four of each kind: P(2) = 144/321.
    FncHypergeometric example(4, 4, 8, 2.0, 1e-8);
    EXPECT_NEAR(example.Probability(2), 144.0 / 321.0, 8 * kEps);
}

}  // namespace
