// The process-wide LAPACK workspace shared by the linear-algebra exports.
//
// Every LAPACK call made by an export receives the same 10000-double WORK
// array and the address of the stored length 10000 as LWORK (no workspace
// query is ever made); the singular value decomposition also receives the
// 10000-integer IWORK array. The arrays are allocated once at load and never
// released. There is no lock: the exports that use the workspace must be
// called from one thread at a time.
#ifndef QCM_LINALG_WORKSPACE_HPP
#define QCM_LINALG_WORKSPACE_HPP

#include <cstdint>

#include "QuillonCoreMath.h"

namespace qcm::linalg {

struct SharedWorkspace {
    static constexpr std::int32_t kLength = 10000;

    static double* const real;           // WORK: kLength doubles
    static std::int32_t* const integer;  // IWORK: kLength 32-bit integers
    static const std::int32_t length;    // LWORK, passed by address
};

// The LAPACK array address of a matrix: the data pointer advanced by the
// descriptor's offset (used by the exports whose contract adds it).
inline double* with_offset(double* data, const MatrixDescriptor* d) { return data + d->offset; }

}  // namespace qcm::linalg

#endif  // QCM_LINALG_WORKSPACE_HPP
