// Least squares and regression exports: LS, OLS, Xb.
//
// LS is LAPACK's QR/LQ least-squares driver dgels (LAPACK Users' Guide, 3rd
// ed., SIAM 1999) inside the shared calling frame. OLS runs the library's own
// tolerance-driven solver (tolerance_qr.cpp), which factors X in its columns'
// own order and reports the first column that is numerically dependent on the
// ones before it instead of solving. Xb is the residual sum of squares of a
// fitted coefficient vector, accumulated row by row.
#include <cstdint>
#include <memory>

#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "linalg/lapack.hpp"
#include "linalg/tolerance_qr.hpp"
#include "linalg/workspace.hpp"

namespace {

using qcm::linalg::SharedWorkspace;
using qcm::linalg::with_offset;

const char kNo = 'N';

// The most columns whose pivot array the solver can ever read: with LWORK
// fixed at 10000 its factorisation needs 3 N + 1 <= 10000 - min(M, N). Larger
// counts, and negative ones, are rejected by its checks (-12, -8 or -2) before
// the array is touched, so none is allocated for them.
constexpr int32_t kMaxPivotColumns = SharedWorkspace::kLength / 3;

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
    std::unique_ptr<int32_t[]> pivots;
    if (dx->columns >= 0 && dx->columns <= kMaxPivotColumns) pivots.reset(new int32_t[dx->columns]());
    int32_t info = 0;
    qcm::linalg::ToleranceLeastSquares(&dx->rows, &dx->columns, &dy->columns, with_offset(x, dx), &dx->leadingDimension,
                                       with_offset(y, dy), &dy->leadingDimension, pivots.get(), tau, &tolerance,
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
