// Storage of the shared LAPACK workspace. The two arrays come from the global
// allocation operator during static initialisation, each from its own
// initialiser, and live as long as the process; a failed allocation at load
// fails the load.
#include "linalg/workspace.hpp"

#include <new>

namespace qcm::linalg {

double* const SharedWorkspace::real = static_cast<double*>(::operator new(kLength * sizeof(double)));

std::int32_t* const SharedWorkspace::integer =
    static_cast<std::int32_t*>(::operator new(kLength * sizeof(std::int32_t)));

const std::int32_t SharedWorkspace::length = SharedWorkspace::kLength;

}  // namespace qcm::linalg
