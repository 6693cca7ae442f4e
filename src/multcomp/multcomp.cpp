// Multiple-comparison distributions: the six exports.
//
// MCaCDF, MCbCDF, MCcCDF give P(Q <= q), or P(Q > q) = 1 - P(Q <= q) with the
// upper flag, for Tukey's (a), Hsu's (b) and Dunnett's (c) distribution;
// MCaICDF, MCbICDF, MCcICDF give the quantile, searching the lower-tail
// probability 1 - p with the upper flag. Each call builds its distribution on
// the stack. Nothing is validated here: every failure is an exception from the
// Boost.Math routines inside (throwing policy) or from the allocator.
#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "multcomp/mc_distribution.hpp"

namespace {

template <class Distribution>
double Probability(double q, int k, double df, const double* lambda, qcm_flag upper) {
    Distribution dist(k, df, lambda);
    double r = dist.CDF(q);
    return qcm::flag(upper) ? 1.0 - r : r;
}

template <class Distribution>
double Quantile(double p, int k, double df, const double* lambda, qcm_flag upper) {
    Distribution dist(k, df, lambda);
    double lower = qcm::flag(upper) ? 1.0 - p : p;
    return dist.ICDF(lower);
}

using qcm::multcomp::DunnettDistribution;
using qcm::multcomp::HsuDistribution;
using qcm::multcomp::TukeyDistribution;

}  // namespace

extern "C" {

double MCaCDF(double q, int32_t k, double df, const double* lambda, qcm_flag upper) {
    qcm::ErrnoGuard guard;
    return Probability<TukeyDistribution>(q, k, df, lambda, upper);
}

double MCbCDF(double q, int32_t k, double df, const double* lambda, qcm_flag upper) {
    qcm::ErrnoGuard guard;
    return Probability<HsuDistribution>(q, k, df, lambda, upper);
}

double MCcCDF(double q, int32_t k, double df, const double* lambda, qcm_flag upper) {
    qcm::ErrnoGuard guard;
    return Probability<DunnettDistribution>(q, k, df, lambda, upper);
}

double MCaICDF(double p, int32_t k, double df, const double* lambda, qcm_flag upper) {
    qcm::ErrnoGuard guard;
    return Quantile<TukeyDistribution>(p, k, df, lambda, upper);
}

double MCbICDF(double p, int32_t k, double df, const double* lambda, qcm_flag upper) {
    qcm::ErrnoGuard guard;
    return Quantile<HsuDistribution>(p, k, df, lambda, upper);
}

double MCcICDF(double p, int32_t k, double df, const double* lambda, qcm_flag upper) {
    qcm::ErrnoGuard guard;
    return Quantile<DunnettDistribution>(p, k, df, lambda, upper);
}

}  // extern "C"
