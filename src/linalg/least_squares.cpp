// Least squares and regression exports: LS, OLS, Xb.
//
// LS is LAPACK's QR/LQ least-squares driver dgels (LAPACK Users' Guide, 3rd
// ed., SIAM 1999) inside the shared calling frame. OLS runs the library's own
// tolerance-driven solver (tolerance_qr.cpp), which factors X in its columns'
// own order and reports the first column that is numerically dependent on the
// ones before it instead of solving. Xb is the residual sum of squares of a
// fitted coefficient vector, accumulated row by row.
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "linalg/lapack.hpp"
#include "linalg/tolerance_qr.hpp"
#include "linalg/workspace.hpp"

namespace {

using qcm::linalg::SharedWorkspace;
using qcm::linalg::with_offset;

const char kNo = 'N';

// Bytes for `columns` pivot entries, computed in 64-bit unsigned arithmetic as
// the allocator would: a negative count wraps to a huge value, and an overflow
// asks for the largest size, which no allocation satisfies.
std::size_t pivot_bytes(int32_t columns) {
    const std::uint64_t count = static_cast<std::uint64_t>(static_cast<std::int64_t>(columns));
    constexpr std::uint64_t kEntry = sizeof(int32_t);
    if (count > std::numeric_limits<std::uint64_t>::max() / kEntry) return std::numeric_limits<std::size_t>::max();
    return static_cast<std::size_t>(count * kEntry);
}

struct FreeDeleter {
    void operator()(void* p) const { ::operator delete(p); }
};

}  // namespace

extern "C" {

int32_t LS(double* a, const MatrixDescriptor* da, double* b, const MatrixDescriptor* db) {
    qcm::ErrnoGuard guard;
    int32_t info = 0;
    dgels_(&kNo, &da->rows, &da->columns, &db->columns, with_offset(a, da), &da->leadingDimension, with_offset(b, db),
           &db->leadingDimension, SharedWorkspace::real, &SharedWorkspace::length, &info);
    return info;
}

int32_t OLS(double* x, const MatrixDescriptor* dx, double* y, const MatrixDescriptor* dy, double* beta,
            const MatrixDescriptor* dbeta, double* tau, double tolerance) {
    qcm::ErrnoGuard guard;
    // The pivot array, all zeros: every column is free and stays in place.
    // A count the allocator cannot serve (negative or absurdly large) leaves it
    // null; the solver rejects every such count (-2 or -12) before touching it.
    const std::size_t bytes = pivot_bytes(dx->columns);
    std::unique_ptr<void, FreeDeleter> storage(::operator new(bytes, std::nothrow));
    auto* pivots = static_cast<int32_t*>(storage.get());
    if (pivots) {
        for (std::size_t i = 0; i < bytes / sizeof(int32_t); ++i) pivots[i] = 0;
    } else if (dx->columns >= 0 && dx->columns < SharedWorkspace::kLength / 3) {
        throw std::bad_alloc();  // a small request failed: the heap is exhausted
    }
    int32_t info = 0;
    qcm::linalg::ToleranceLeastSquares(&dx->rows, &dx->columns, &dy->columns, with_offset(x, dx), &dx->leadingDimension,
                                       with_offset(y, dy), &dy->leadingDimension, pivots, tau, &tolerance,
                                       with_offset(beta, dbeta), &dbeta->leadingDimension, SharedWorkspace::real,
                                       &SharedWorkspace::length, &info);
    return info;
}

double Xb(const double* x, const MatrixDescriptor* dx, const double* beta, const double* y) {
    qcm::ErrnoGuard guard;
    const int32_t rows = dx->rows, columns = dx->columns, ld = dx->leadingDimension;
    double sum = 0.0;
    for (int32_t i = 0; i < rows; ++i) {
        double p = 0.0;
        for (int32_t j = 0; j < columns; ++j) p += x[i + static_cast<std::ptrdiff_t>(j) * ld] * beta[j];
        const double r = y[i] - p;
        sum += r * r;
    }
    return sum;
}

}  // extern "C"
