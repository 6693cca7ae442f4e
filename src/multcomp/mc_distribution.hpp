// Multiple-comparison distributions: the model MC and its three subclasses.
//
// MC::CDF integrates a known-variance probability (ConditionalCDF, one per
// subclass) over the distribution of the studentizing factor s with a fixed
// 48-point Gauss-Legendre rule; ConditionalCDF is itself a 48-point
// Gauss-Hermite sum over the normal distribution. MC::ICDF searches the
// quantile with TOMS 748 (Alefeld, Potra and Shi, ACM TOMS 21 (1995) 327-344)
// inside two Student's t critical values given by QuantileBracket.
//
// Everything that does not depend on q is computed once per object, on first
// use, with exactly the floating-point operations of the per-call formulas, so
// that repeated CDF calls (the quantile search) return the same bits as a
// direct evaluation would.
#ifndef QCM_MULTCOMP_MC_DISTRIBUTION_HPP
#define QCM_MULTCOMP_MC_DISTRIBUTION_HPP

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "multcomp/gauss_tables.hpp"

namespace qcm {
namespace multcomp {

// From this many degrees of freedom on, the variance is treated as known.
constexpr double InfiniteDfThreshold = 10000.0;
// Probabilities of the chi-squared quantiles that bound the studentizing integral.
constexpr double kLowerChiSquaredTail = 5e-8;
constexpr double kUpperChiSquaredTail = 0.99999995;
// Quantile search: relative tolerance 2^-23 and at most 200 evaluations in all.
constexpr unsigned kSearchToleranceBits = 24;
constexpr std::uintmax_t kSearchMaxEvaluations = 200;

// From |y| = 6 on, Boost's erfc(|y|) is below 2^-53, so 1 - erfc(y) / 2
// rounds to exactly 1 for y > 0 and to exactly 0 for y < 0 (where
// erfc(y) = 2 - erfc(-y) rounds to 2).
constexpr double kErfcSaturation = 6.0;

// The standard normal distribution function exactly as Boost.Math's normal
// cdf computes it (0 and 1 at the infinities, a domain error for NaN, else
// erfc(-(x / sqrt 2)) / 2), without rebuilding a distribution object.
double NormalCdf(double x);

// erfc(y) and erfc(-y) from one evaluation of Boost.Math's 53-bit erfc,
// composed the way that erfc itself builds its negative half.
void ErfcBoth(double y, double& at_y, double& at_minus_y);

class MC {
public:
    MC(int k, double df, const double* lambda);
    MC(const MC&) = delete;
    MC& operator=(const MC&) = delete;

    // Lower-tail probability P(statistic <= q).
    double CDF(double q);
    // The q with CDF(q) = p.
    double ICDF(double p);

    // Probability that the statistic is at most q when the standard deviation
    // estimate is s times the true one.
    virtual double ConditionalCDF(double q, double s) = 0;
    // (lower, upper) enclosing the quantile for the upper-tail probability alpha.
    virtual std::pair<double, double> QuantileBracket(double alpha) = 0;

protected:
    ~MC() = default;

    // (-t1, -t2) for the Student's t quantiles at a1 and a2 with df degrees of freedom.
    std::pair<double, double> StudentBracket(double a1, double a2) const;

    const double* lambda;
    std::unique_ptr<double[]> lambdaScale;  // 1 / sqrt(1 - lambda_i^2)
    int k;
    double df;

    // The k - 1 factors of the Hsu and Dunnett products, grouped by equal
    // correlation factors: factor j of a node equals that of every other j
    // with the same lambda bits, so each group is evaluated once per node
    // (at its first member, where a direct evaluation would first meet it).
    struct FactorGroups {
        std::vector<int> group;    // group of factor j, numbered in order of first appearance
        std::vector<char> leader;  // j is the first member of its group
        std::vector<char> shared;  // j is a first member with later members
        int count = 0;             // number of groups
        // Every lambda_j and scale c_j of the product is finite: no factor can
        // be NaN, so a product that has reached exactly 0 stays 0 (up to its
        // sign, which adding it to the positive-started sum cannot show).
        bool zero_is_final = false;
    };
    const FactorGroups& Groups();

private:
    void PrepareStudentizing();

    // q-independent part of the studentizing integral: for each Legendre
    // node its factor s and its density factor e, and the width b - a.
    bool studentizing_ready_ = false;
    double width_ = 0.0;
    double s_[kGaussPoints] = {};
    double e_[kGaussPoints] = {};

    bool groups_ready_ = false;
    FactorGroups groups_;
};

// Studentized range of k means (all pairwise comparisons); reads lambda[0].
class TukeyDistribution final : public MC {
public:
    TukeyDistribution(int k, double df, const double* lambda) : MC(k, df, lambda) {}
    double ConditionalCDF(double q, double s) override;
    std::pair<double, double> QuantileBracket(double alpha) override;

private:
    void PrepareNodes();

    // Per Hermite node: the normal abscissa z and the first normal term
    // 1 - Phi(-c0 z), neither of which depends on q or s.
    bool nodes_ready_ = false;
    double c0_ = 0.0;
    double z_[kGaussPoints] = {};
    double first_[kGaussPoints] = {};
};

// k - 1 one-sided comparisons with one mean; reads lambda[0 .. k-2].
class HsuDistribution final : public MC {
public:
    HsuDistribution(int k, double df, const double* lambda) : MC(k, df, lambda) {}
    double ConditionalCDF(double q, double s) override;
    std::pair<double, double> QuantileBracket(double alpha) override;

private:
    std::vector<double> factor_;  // per shared group, for the current node
};

// k - 1 two-sided comparisons with a control; reads lambda[0 .. k-2].
class DunnettDistribution final : public MC {
public:
    DunnettDistribution(int k, double df, const double* lambda) : MC(k, df, lambda) {}
    double ConditionalCDF(double q, double s) override;
    std::pair<double, double> QuantileBracket(double alpha) override;

private:
    std::vector<double> factor_, mirror_;  // per shared group, for the current node pair
};

}  // namespace multcomp
}  // namespace qcm

#endif  // QCM_MULTCOMP_MC_DISTRIBUTION_HPP
