// Process-wide pieces of the export conventions.
#include "conventions.hpp"

namespace qcm {

int& reported_errno() noexcept {
    thread_local int code = 0;
    return code;
}

namespace {
double make_library_nan() noexcept {
    const std::uint64_t bits = 0x7FFFFFFFFFFFFFFFull;
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
}  // namespace

const double kLibraryNaN = make_library_nan();

}  // namespace qcm
