// What one call of an export did: its value (or bit pattern), the errno it
// left, or the exception it threw with its exact message. Shared by the
// command-line tool and the tests.
#ifndef QCM_TOOLS_OUTCOME_HPP
#define QCM_TOOLS_OUTCOME_HPP

#include <boost/exception/exception.hpp>
#include <boost/math/policies/error_handling.hpp>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

namespace qcm {

struct Outcome {
    double value = 0.0;
    int err = 0;  // errno after the call (cleared before it)
    bool threw = false;
    std::string type;              // exception class, when threw
    std::string message;           // what(), when threw
    bool boost_exception = false;  // also catchable as boost::exception

    std::uint64_t bits() const {
        std::uint64_t b;
        std::memcpy(&b, &value, sizeof b);
        return b;
    }
};

inline const char* errno_name(int e) {
    if (e == 0) return "0";
    if (e == EDOM) return "EDOM";
    if (e == ERANGE) return "ERANGE";
    return "other";
}

// Calls f with errno cleared and records what happened.
template <class F>
Outcome capture(F&& f) {
    Outcome out;
    errno = 0;
    auto record = [&](const char* type, const std::exception& e) {
        out.err = errno;
        out.threw = true;
        out.type = type;
        out.message = e.what();
        out.boost_exception = dynamic_cast<const boost::exception*>(&e) != nullptr;
    };
    try {
        out.value = static_cast<double>(f());
        out.err = errno;
    } catch (const boost::math::evaluation_error& e) {
        record("boost::math::evaluation_error", e);
    } catch (const boost::math::rounding_error& e) {
        record("boost::math::rounding_error", e);
    } catch (const std::domain_error& e) {
        record("std::domain_error", e);
    } catch (const std::overflow_error& e) {
        record("std::overflow_error", e);
    } catch (const std::bad_alloc& e) {
        record("std::bad_alloc", e);
    } catch (const std::exception& e) {
        record("std::exception", e);
    }
    return out;
}

}  // namespace qcm

#endif  // QCM_TOOLS_OUTCOME_HPP
