// The tail flag of every CDF and ICDF export evaluated through Boost.Math:
// false is the lower tail, true the complement evaluated directly (not
// 1 minus the lower tail), so small upper-tail probabilities keep their digits.
#ifndef QCM_BOUNDARY_TAILS_HPP
#define QCM_BOUNDARY_TAILS_HPP

#include <boost/math/distributions/complement.hpp>

namespace qcm {

template <class Distribution>
double tail_cdf(const Distribution& dist, double x, bool upper) {
    return upper ? cdf(boost::math::complement(dist, x)) : cdf(dist, x);
}

template <class Distribution>
double tail_quantile(const Distribution& dist, double p, bool upper) {
    return upper ? quantile(boost::math::complement(dist, p)) : quantile(dist, p);
}

}  // namespace qcm

#endif  // QCM_BOUNDARY_TAILS_HPP
