// Conventions every export shares: the two error policies, the errno guard,
// the raise helpers that produce Boost.Math's message format, the flag rule
// and the library's own NaN.
//
// The errno policy routes domain, pole, overflow and evaluation errors to the
// user_error handlers defined below. They record the errno value in a
// per-thread slot and return what Boost's errno_on_error would return. The
// guard on every export then restores the caller's errno and writes only the
// recorded value, so harmless ERANGE writes from libm inside a successful
// call never reach the caller.
#ifndef QCM_BOUNDARY_CONVENTIONS_HPP
#define QCM_BOUNDARY_CONVENTIONS_HPP

#include <boost/math/policies/error_handling.hpp>
#include <boost/math/policies/policy.hpp>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>

namespace qcm {

// Per-thread record of what the errno policy reported during the current
// export call (0: nothing).
// initial-exec: one small static TLS slot, read without a call into the
// dynamic linker on every export.
inline int& reported_errno() noexcept {
#if defined(__GNUC__) && !defined(_WIN32)
    static thread_local int code __attribute__((tls_model("initial-exec"))) = 0;
#else
    static thread_local int code = 0;
#endif
    return code;
}

inline void report_errno(int code) noexcept { reported_errno() = code; }

}  // namespace qcm

namespace boost {
namespace math {
namespace policies {

template <class T>
T user_domain_error(const char*, const char*, const T&) {
    qcm::report_errno(EDOM);
    return std::numeric_limits<T>::quiet_NaN();
}
template <class T>
T user_pole_error(const char*, const char*, const T&) {
    qcm::report_errno(EDOM);
    return std::numeric_limits<T>::quiet_NaN();
}
template <class T>
T user_overflow_error(const char*, const char*, const T&) {
    qcm::report_errno(ERANGE);
    return std::numeric_limits<T>::infinity();
}
template <class T>
T user_evaluation_error(const char*, const char*, const T& val) {
    qcm::report_errno(EDOM);
    return val;
}

}  // namespace policies
}  // namespace math
}  // namespace boost

namespace qcm {

namespace bmp = boost::math::policies;

// errno policy: EDOM with NaN for domain and pole errors, ERANGE with +inf for
// overflow, EDOM with the value reached for an exhausted iteration.
using ErrnoPolicy = bmp::policy<bmp::domain_error<bmp::user_error>, bmp::pole_error<bmp::user_error>,
                                bmp::overflow_error<bmp::user_error>, bmp::evaluation_error<bmp::user_error>,
                                bmp::promote_float<false>, bmp::promote_double<false>>;

// Throwing policy: Boost.Math's defaults (throw_on_error), evaluated in double.
using ThrowPolicy = bmp::policy<bmp::promote_float<false>, bmp::promote_double<false>>;

// Restores the caller's errno when the export returns or unwinds, then
// writes the value the errno policy reported during the call, if any.
class ErrnoGuard {
public:
    ErrnoGuard() noexcept : saved_(errno) { reported_errno() = 0; }
    ~ErrnoGuard() {
        int code = reported_errno();
        errno = code != 0 ? code : saved_;
    }
    ErrnoGuard(const ErrnoGuard&) = delete;
    ErrnoGuard& operator=(const ErrnoGuard&) = delete;

private:
    int saved_;
};

// An 8-bit flag: only the low byte is read; any non-zero byte is true.
inline bool flag(unsigned char f) noexcept { return f != 0; }

// The quiet NaN with every bit but the sign set, returned by the library's own
// algorithms for impossible parameters.
extern const double kLibraryNaN;

inline bool is_nan(double x) noexcept { return x != x; }
inline bool is_finite(double x) noexcept { return x - x == 0.0; }
inline bool is_inf(double x) noexcept { return !is_nan(x) && !is_finite(x); }

// Raise helpers: report an error through the policy's machinery so the message
// is "Error in function " + function (with %1% -> "double") + ": " + reason
// (with %1% -> the value at 17 significant digits). Under ErrnoPolicy they
// record the errno value and return Boost's result; under ThrowPolicy they throw.
template <class Policy>
double raise_domain(const char* function, const char* reason, double value) {
    return bmp::raise_domain_error<double>(function, reason, value, Policy());
}
template <class Policy>
double raise_pole(const char* function, const char* reason, double value) {
    return bmp::raise_pole_error<double>(function, reason, value, Policy());
}
template <class Policy>
double raise_overflow(const char* function, const char* reason = nullptr) {
    return bmp::raise_overflow_error<double>(function, reason, Policy());
}
template <class Policy>
double raise_evaluation(const char* function, const char* reason, double value) {
    return bmp::raise_evaluation_error<double>(function, reason, value, Policy());
}
template <class Policy>
double raise_rounding(const char* function, const char* reason, double value) {
    return bmp::raise_rounding_error<double>(function, reason, value, 0.0, Policy());
}

// The final narrowing check of a Boost.Math function: a magnitude above the
// largest double is an overflow ("numeric overflow" under the given name).
template <class Policy>
double checked_result(double value, const char* function) {
    if (value > std::numeric_limits<double>::max() || value < -std::numeric_limits<double>::max())
        return raise_overflow<Policy>(function, "numeric overflow");
    return value;
}

}  // namespace qcm

#endif  // QCM_BOUNDARY_CONVENTIONS_HPP
