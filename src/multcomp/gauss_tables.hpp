// Fixed 48-point Gauss rules of the multiple-comparison distributions.
//
// Entries 0..23 are the positive nodes from the largest down, entries 24..47
// their negatives in the same order (entry i + 24 is exactly -entry i), each
// weight at the index of its node. The sums over a rule run from index 0 to 47.
#ifndef QCM_MULTCOMP_GAUSS_TABLES_HPP
#define QCM_MULTCOMP_GAUSS_TABLES_HPP

namespace qcm {
namespace multcomp {

constexpr int kGaussPoints = 48;
constexpr int kGaussHalf = kGaussPoints / 2;

struct GaussRule {
    double node[kGaussPoints];
    double weight[kGaussPoints];
};

// Gauss-Legendre on [-1, 1]; the weights sum to 2.
extern const GaussRule GaussLegendre48;
// Gauss-Hermite for the weight exp(-x^2) on the real line; the weights sum to sqrt(pi).
extern const GaussRule GaussHermite48;

}  // namespace multcomp
}  // namespace qcm

#endif  // QCM_MULTCOMP_GAUSS_TABLES_HPP
