// The outcomes an export's error family allows, for the sweep test and the
// fuzzer: errno only EDOM or ERANGE, and only under the errno policy;
// exceptions only of the classes the throwing policy raises, in Boost's
// message format.
#ifndef QCM_TOOLS_CONTRACT_HPP
#define QCM_TOOLS_CONTRACT_HPP

#include <cerrno>
#include <string>

#include "export_table.hpp"
#include "outcome.hpp"

namespace qcm {

// Empty when the outcome is one the export's contract allows; otherwise why not.
inline std::string contract_violation(const ExportInfo& e, const Outcome& r) {
    if (r.err != 0 && r.err != EDOM && r.err != ERANGE) return "errno " + std::to_string(r.err);
    const std::string errors = e.errors;
    if (errors == "errno") {
        // Boost's inner integer conversions and expm1 throw even here.
        if (r.threw && r.type != "boost::math::rounding_error" && r.type != "std::overflow_error")
            return "unexpected " + r.type + ": " + r.message;
        return "";
    }
    if (r.err != 0) return "errno " + std::string(errno_name(r.err)) + " from an export outside the errno policy";
    if (!r.threw) return "";
    // The multiple-comparison constructors allocate k correlation factors: a
    // negative k is a failed allocation.
    if (r.type == "std::bad_alloc" && std::string(e.name).rfind("MC", 0) == 0) return "";
    if (r.type != "std::domain_error" && r.type != "std::overflow_error" && r.type != "boost::math::evaluation_error" &&
        r.type != "boost::math::rounding_error")
        return "unexpected " + r.type + ": " + r.message;
    if (r.message.rfind("Error in function ", 0) != 0) return "message not in Boost's format: " + r.message;
    if (!r.boost_exception) return "exception not thrown through Boost's wrapper";
    return "";
}

}  // namespace qcm

#endif  // QCM_TOOLS_CONTRACT_HPP
