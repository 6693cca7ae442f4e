// Hypergeometric distribution: the number of marked items in a sample of n
// drawn without replacement from N items of which r are marked.
//
// HypergeometricPDF, HypergeometricCDF, HypergeometricICDF: thin layers over
// Boost.Math's hypergeometric_distribution (prime-factorisation and
// recurrence evaluation of the probabilities, as described in the
// Boost.Math documentation of hypergeometric_distribution) under the throwing
// policy. The counts arrive as doubles and are narrowed here; the
// distribution's constructor then checks r <= N before n <= N. The quantile
// walks the probability function and rounds up in both tails: the smallest
// count whose cumulative probability reaches P.
#include <boost/math/distributions/hypergeometric.hpp>
#include <cmath>
#include <cstdint>

#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "tails.hpp"

namespace {

namespace bm = boost::math;
namespace bmp = boost::math::policies;
using qcm::ErrnoGuard;

using HyperPolicy = bmp::normalise<qcm::ThrowPolicy, bmp::discrete_quantile<bmp::integer_round_up>>::type;
using Hypergeometric = bm::hypergeometric_distribution<double, HyperPolicy>;

// Magnitude from which a double no longer fits a signed 64-bit integer (2^63).
constexpr double kInt64Limit = 9223372036854775808.0;

// A count given as a double: truncated toward zero to a signed 64-bit integer
// of which the low 32 bits are kept, so -1 becomes 4294967295. NaN and
// magnitudes beyond the 64-bit range take the value the x86-64 conversion
// instruction gives them (0x8000000000000000), whose low 32 bits are 0.
std::uint32_t to_count(double value) {
    if (!(std::fabs(value) < kInt64Limit)) return 0;
    auto wide = static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    return static_cast<std::uint32_t>(wide & 0xFFFFFFFFu);
}

Hypergeometric make_distribution(double r, double n, double N) {
    return Hypergeometric(to_count(r), to_count(n), to_count(N));
}

}  // namespace

extern "C" {

double HypergeometricPDF(double x, double r, double n, double N) {
    ErrnoGuard guard;
    Hypergeometric dist = make_distribution(r, n, N);
    return bm::pdf(dist, x);
}

double HypergeometricCDF(double x, double r, double n, double N, qcm_flag upper) {
    ErrnoGuard guard;
    Hypergeometric dist = make_distribution(r, n, N);
    return qcm::tail_cdf(dist, x, qcm::flag(upper));
}

double HypergeometricICDF(double P, double r, double n, double N, qcm_flag upper) {
    ErrnoGuard guard;
    Hypergeometric dist = make_distribution(r, n, N);
    return qcm::tail_quantile(dist, P, qcm::flag(upper));
}

}  // extern "C"
