// Fisher's noncentral hypergeometric distribution: the evaluator behind
// FNCHypergeometricCDF, FNCHypergeometricICDF and FNCHypergeometricMoments.
// Declared here so that the internal tests can reach it; nothing in this
// header is exported from the shared library.
#ifndef QCM_DISCRETE_FNC_HYPERGEOMETRIC_HPP
#define QCM_DISCRETE_FNC_HYPERGEOMETRIC_HPP

#include <cstdint>

namespace qcm {
namespace fnc {

// ln(k!) from a process-wide table for k < 1024 (filled once, on first use,
// safely from any number of threads), from Stirling's series above; 0 for
// k = 0 and 1; NaN for negative k.
double LogFactorialCached(std::int32_t k);

// Number of entries of the log-factorial table.
constexpr std::int32_t kLogFactorialTableSize = 1024;

// Two-sided normal tail probabilities at 3, 3.5, ..., 7.5 standard
// deviations: the first entry not above the requested accuracy tells how
// many standard deviations the probability table has to span.
constexpr int kAccuracyTailCount = 10;
extern const double kAccuracyTailTable[kAccuracyTailCount];

// Supports up to this many values are tabulated whole.
constexpr std::int64_t kWholeSupportLimit = 200;

// Cut-offs relative to the requested accuracy: the table walks stop below
// accuracy * kTableCutoffFactor of the mode's term, the normalisation and
// moment sums below accuracy * kProbabilityCutoffFactor.
constexpr double kTableCutoffFactor = 0.001;
constexpr double kProbabilityCutoffFactor = 0.1;

// The accuracy the moments are computed to.
constexpr double kMomentsAccuracy = 1e-08;

// lastX before any term has been evaluated.
constexpr std::int32_t kNoLastX = -99;

// Table length for a support wider than kWholeSupportLimit: (i + 6) standard
// deviations (i the index found in kAccuracyTailTable), plus
// kTableLengthMargin * (i + 6) entries. The margin covers what the normal
// picture misses: a distribution squeezed against an end of its support has
// a standard deviation far below one while its terms fall off only like a
// Poisson distribution's, and a skewed one has a longer tail on one side.
constexpr int kTableLengthMargin = 2;

// The evaluator: built on the stack of each export call and discarded at its
// end. Field order and meaning follow the distribution's data model.
struct FncHypergeometric {
    double odds;         // odds ratio
    double logOdds;      // ln(odds)
    double accuracy;     // relative size of the neglected terms
    std::int32_t n;      // sample size
    std::int32_t m;      // items of the first kind
    std::int32_t N;      // population size
    std::int32_t xMin;   // max(0, n - N + m)
    std::int32_t xMax;   // min(n, m)
    std::int32_t lastX;  // the x that logXTerms belongs to, kNoLastX when none
    double logConstant;  // ln(m!) + ln((N - m)!)
    double logXTerms;    // ln(x!) + ln((m - x)!) + ln((n - x)!) + ln((N - m - n + x)!) at lastX
    double logScale;     // logarithm of the term used as the unit of scale
    double normaliser;   // 1 / (sum of scaled terms) after the first normalisation, 0 before
    std::int32_t dirty;  // 1 until logConstant has been computed

    FncHypergeometric(std::int32_t n, std::int32_t m, std::int32_t N, double odds, double accuracy);

    // False for parameters that describe no urn (negative counts, a sample or
    // a first kind larger than the population) or a non-finite odds ratio.
    bool Possible() const;

    // The most probable x, kept inside the support.
    std::int32_t Mode() const;
    // Approximate mean: the root of x (N - m - n + x) = odds (m - x)(n - x).
    double MeanApprox() const;
    // Approximate variance from the approximate mean.
    double VarianceApprox() const;

    // Length query (length <= 0): returns the table length to allocate (NaN
    // when none can be formed) and sets *first = 1 when first is given.
    // Fill mode: writes terms relative to the mode's term into table[0..],
    // outward from the mode until they fall below cutoff; sets first and last
    // to the x values of the first and last entries; returns their sum.
    double BuildTable(double* table, std::int32_t length, std::int32_t* first, std::int32_t* last, double cutoff) const;

    // ln of the probability term at x relative to the scale term.
    double LogTerm(std::int32_t x);
    // Normalised probability of x (the first call normalises).
    double Probability(std::int32_t x);
    // Mean and variance by summing probabilities outward from the mean;
    // returns the total probability summed.
    double ExactMoments(double* mean, double* variance);
};

}  // namespace fnc
}  // namespace qcm

#endif  // QCM_DISCRETE_FNC_HYPERGEOMETRIC_HPP
