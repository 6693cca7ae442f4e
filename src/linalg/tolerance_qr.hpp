// The tolerance-driven least-squares solver behind OLS: a LAPACK-style driver,
// factorisation and step loop written against BLAS and LAPACK building blocks.
// All arguments are by address and arrays column-major, as in LAPACK; INFO
// follows LAPACK's convention (0 success, -k parameter k invalid, > 0 the
// 1-based column found dependent on the columns before it).
#ifndef QCM_LINALG_TOLERANCE_QR_HPP
#define QCM_LINALG_TOLERANCE_QR_HPP

namespace qcm::linalg {

// Solves min ||A X - B|| for an M x N matrix A factored without reordering of
// the free columns, stopping at the first column whose norm, after removal of
// its components along the earlier columns, is at most TOL times its initial
// norm. Parameter numbers reported: M 1, N 2, NRHS 3, LDA 5, LDB 7, LWORK 12
// (under "DGELSY"). A is overwritten by its factorisation, B by Q' B, X (LDX)
// by the solution.
void ToleranceLeastSquares(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
                           const int* ldb, int* jpvt, double* tau, const double* tol, double* x, const int* ldx,
                           double* work, const int* lwork, int* info);

// QR factorisation of A with the columns marked in JPVT moved to the front and
// factored first, the others factored in their own order by the kernel below.
// Parameter numbers reported: M 1, N 2, LDA 4, LWORK 8 (under "DGEQP3");
// needs LWORK >= 3 N + 1 when min(M, N) > 0.
void ToleranceQrFactor(const int* m, const int* n, double* a, const int* lda, int* jpvt, double* tau, double* work,
                       const int* lwork, int* info, const double* tol);

// Unblocked Householder steps on the N columns of A below row OFFSET, in the
// given order, with downdated column norms VN1 (partial) and VN2 (at the last
// recomputation). Sets INFO = i and stops before step i when column i's
// remaining norm is at most TOL times its norm on entry. WORK holds N doubles.
void ToleranceQrKernel(const int* m, const int* n, const int* offset, double* a, const int* lda, int* jpvt, double* tau,
                       double* vn1, double* vn2, double* work, int* info, const double* tol);

}  // namespace qcm::linalg

#endif  // QCM_LINALG_TOLERANCE_QR_HPP
