// Parameter checks shared by the continuous distribution exports.
//
// Every distribution parameter here (degrees of freedom, shape, scale, the two
// beta shapes) must be a positive finite double. The test is written on the
// encoding: "not (v > 0)" catches zero, negatives and NaN, and "all exponent
// bits set" catches both infinities and every NaN. A failed check reports a
// domain error through the errno policy (EDOM, quiet NaN), so the export can
// return at once: the Boost.Math evaluation would only reach the same outcome,
// and in a few places (an infinite Student's t df taken as the normal limit,
// the F cdf with a bad df2) it would not reach it at all.
#ifndef QCM_CONTINUOUS_PARAMETER_CHECKS_HPP
#define QCM_CONTINUOUS_PARAMETER_CHECKS_HPP

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>

#include "conventions.hpp"

namespace qcm {
namespace continuous {

constexpr std::uint64_t kExponentMask = 0x7FF0000000000000ULL;

// True for a usable parameter: greater than zero and finite.
inline bool positive_finite(double v) noexcept {
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return v > 0 && (bits & kExponentMask) != kExponentMask;
}

// One named parameter of a distribution and the reason reported when it fails.
struct Parameter {
    double value;
    const char* reason;
};

// Checks the parameters in order and stops at the first failure, which is
// reported as a domain error under the errno policy (so one EDOM at most).
// Returns true when every parameter is usable; otherwise the export returns
// `rejected()`.
inline bool parameters_ok(const char* function, std::initializer_list<Parameter> params) {
    for (const Parameter& p : params) {
        if (!positive_finite(p.value)) {
            raise_domain<ErrnoPolicy>(function, p.reason, p.value);
            return false;
        }
    }
    return true;
}

// Boost's probability check of a quantile: p outside [0, 1] or not finite is
// a domain error (EDOM, NaN) under the errno policy.
inline bool probability_ok(const char* function, double p) {
    if (p < 0 || p > 1 || !(p - p == 0.0)) {
        raise_domain<ErrnoPolicy>(function, "Probability argument is %1%, but must be >= 0 and <= 1 !", p);
        return false;
    }
    return true;
}

// The value an export returns after a failed parameter check.
inline double rejected() noexcept { return std::numeric_limits<double>::quiet_NaN(); }

}  // namespace continuous
}  // namespace qcm

#endif  // QCM_CONTINUOUS_PARAMETER_CHECKS_HPP
