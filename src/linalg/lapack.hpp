// The LAPACK and BLAS entry points the linear-algebra exports use, in the
// reference (Fortran) calling convention: every argument by address, column-
// major arrays, 32-bit integers.
//
// Single-character options (SIDE, TRANS, UPLO, DIAG, JOBZ, CMACH) are declared
// CHARACTER of length one on the Fortran side, so their hidden length
// arguments are never read and are not passed here. The two routines that take
// a CHARACTER*(*) name, ILAENV and XERBLA, do read the length, so it is passed
// to them explicitly (see ilaenv() and report_bad_argument() below).
#ifndef QCM_LINALG_LAPACK_HPP
#define QCM_LINALG_LAPACK_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>

static_assert(sizeof(int) == sizeof(std::int32_t), "LAPACK integers are 32-bit");

extern "C" {

// Factorisations and their companions.
void dgeqrf_(const int* m, const int* n, double* a, const int* lda, double* tau, double* work, const int* lwork,
             int* info);
void dgeqp3_(const int* m, const int* n, double* a, const int* lda, int* jpvt, double* tau, double* work,
             const int* lwork, int* info);
void dormqr_(const char* side, const char* trans, const int* m, const int* n, const int* k, const double* a,
             const int* lda, const double* tau, double* c, const int* ldc, double* work, const int* lwork, int* info);
void dorgqr_(const int* m, const int* n, const int* k, double* a, const int* lda, const double* tau, double* work,
             const int* lwork, int* info);
void dtrtrs_(const char* uplo, const char* trans, const char* diag, const int* n, const int* nrhs, const double* a,
             const int* lda, double* b, const int* ldb, int* info);
void dgesdd_(const char* jobz, const int* m, const int* n, double* a, const int* lda, double* s, double* u,
             const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* iwork, int* info);
void dgels_(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
            const int* ldb, double* work, const int* lwork, int* info);
void dgelsy_(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b, const int* ldb,
             int* jpvt, const double* rcond, int* rank, double* work, const int* lwork, int* info);

// Building blocks of the tolerance-driven least-squares solver.
int ilaenv_(const int* ispec, const char* name, const char* opts, const int* n1, const int* n2, const int* n3,
            const int* n4, std::size_t name_length, std::size_t opts_length);
double dlamch_(const char* cmach);
void xerbla_(const char* srname, const int* info, std::size_t srname_length);
void dlarfg_(const int* n, double* alpha, double* x, const int* incx, double* tau);
void dlarf_(const char* side, const int* m, const int* n, const double* v, const int* incv, const double* tau,
            double* c, const int* ldc, double* work);

// BLAS.
double dnrm2_(const int* n, const double* x, const int* incx);
void dswap_(const int* n, double* x, const int* incx, double* y, const int* incy);
void dcopy_(const int* n, const double* x, const int* incx, double* y, const int* incy);
void dtrsm_(const char* side, const char* uplo, const char* transa, const char* diag, const int* m, const int* n,
            const double* alpha, const double* a, const int* lda, double* b, const int* ldb);

}  // extern "C"

namespace qcm::linalg {

// LAPACK's block-size query (ISPEC 1) for a routine such as "DGEQRF".
inline int ilaenv(int ispec, const char* name, const char* opts, int n1, int n2, int n3, int n4) {
    return ilaenv_(&ispec, name, opts, &n1, &n2, &n3, &n4, std::strlen(name), std::strlen(opts));
}

// Reports invalid parameter number `parameter` of `routine` through LAPACK's
// error handler, which prints the message and returns.
inline void report_bad_argument(const char* routine, int parameter) {
    xerbla_(routine, &parameter, std::strlen(routine));
}

}  // namespace qcm::linalg

#endif  // QCM_LINALG_LAPACK_HPP
