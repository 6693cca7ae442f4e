// Process-wide pieces of the export conventions.
#include "conventions.hpp"

namespace qcm {

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
