// Tolerance-driven least squares: ToleranceLeastSquares, ToleranceQrFactor,
// ToleranceQrKernel.
//
// The driver and factorisation follow the shape of LAPACK's complete
// orthogonal least-squares driver (xGELSY) and its column-pivoted QR (xGEQP3
// with the unblocked step xLAQP2), with the pivot search removed: the free
// columns are factored in their own order, and the loop stops at the first
// column that is numerically dependent on the earlier ones. The column-norm
// downdating and its safeguard are those of Drmac and Bujanovic, "On the
// failure of rank-revealing QR factorization software -- a case study",
// ACM TOMS 35 (2008), as used in LAPACK 3.2 and later.
#include "linalg/tolerance_qr.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "linalg/lapack.hpp"

namespace qcm::linalg {

namespace {

const char kLeft = 'L';
const char kUpper = 'U';
const char kNo = 'N';
const char kTranspose = 'T';
const char kEpsilon = 'E';
const int kOne = 1;
const int kQueryLength = -1;

// Reference norms live on the stack up to this many columns, which covers
// every problem the shared workspace admits; larger direct calls use the heap.
constexpr int kStackReferenceNorms = 2500;

// Element (i, j), 1-based, of a column-major array with leading dimension ld.
inline double& at(double* a, int ld, int i, int j) { return a[(i - 1) + static_cast<std::ptrdiff_t>(j - 1) * ld]; }

}  // namespace

void ToleranceQrKernel(const int* m, const int* n, const int* offset, double* a, const int* lda, int* jpvt, double* tau,
                       double* vn1, double* vn2, double* work, int* info, const double* tol) {
    (void)jpvt;  // no column is moved: the pivot vector stays as the caller set it
    const int M = *m, N = *n, ld = *lda;
    const int k = std::min(M - *offset, N);
    const double tol3z = std::sqrt(dlamch_(&kEpsilon));

    // Norms at entry, the yardstick of the tolerance test; a zero norm counts
    // as 1 so that a zero column is caught at any tolerance >= 0.
    std::array<double, kStackReferenceNorms> local;
    std::vector<double> heap;
    double* ref = local.data();
    if (k > kStackReferenceNorms) {
        heap.resize(k);
        ref = heap.data();
    }
    for (int i = 0; i < k; ++i) ref[i] = vn2[i] == 0.0 ? 1.0 : vn2[i];

    for (int i = 1; i <= k; ++i) {
        if (*tol * ref[i - 1] >= vn1[i - 1]) {
            *info = i;
            return;
        }
        const int offpi = *offset + i;
        // Householder reflector H(i) annihilating A(offpi+1:M, i).
        if (offpi < M) {
            const int len = M - offpi + 1;
            dlarfg_(&len, &at(a, ld, offpi, i), &at(a, ld, offpi + 1, i), &kOne, &tau[i - 1]);
        } else {
            dlarfg_(&kOne, &at(a, ld, M, i), &at(a, ld, M, i), &kOne, &tau[i - 1]);
        }
        // Apply H(i) to A(offpi:M, i+1:N) from the left.
        if (i < N) {
            double& diagonal = at(a, ld, offpi, i);
            const double aii = diagonal;
            diagonal = 1.0;
            const int rows = M - offpi + 1;
            const int cols = N - i;
            dlarf_(&kLeft, &rows, &cols, &diagonal, &kOne, &tau[i - 1], &at(a, ld, offpi, i + 1), lda, work);
            diagonal = aii;
        }
        // Downdate the partial norms of the later columns; when cancellation
        // has eaten too much of a norm, compute it afresh.
        for (int j = i + 1; j <= N; ++j) {
            if (vn1[j - 1] == 0.0) continue;
            double t = std::abs(at(a, ld, offpi, j)) / vn1[j - 1];
            t = std::max(1.0 - t * t, 0.0);
            const double ratio = vn1[j - 1] / vn2[j - 1];
            const double t2 = t * ratio * ratio;
            if (t2 <= tol3z) {
                if (offpi < M) {
                    const int len = M - offpi;
                    vn1[j - 1] = dnrm2_(&len, &at(a, ld, offpi + 1, j), &kOne);
                    vn2[j - 1] = vn1[j - 1];
                } else {
                    vn1[j - 1] = 0.0;
                    vn2[j - 1] = 0.0;
                }
            } else {
                vn1[j - 1] *= std::sqrt(t);
            }
        }
    }
}

void ToleranceQrFactor(const int* m, const int* n, double* a, const int* lda, int* jpvt, double* tau, double* work,
                       const int* lwork, int* info, const double* tol) {
    const int M = *m, N = *n, ld = *lda;
    *info = 0;
    const bool query = *lwork == kQueryLength;
    if (M < 0) {
        *info = -1;
    } else if (N < 0) {
        *info = -2;
    } else if (ld < std::max(1, M)) {
        *info = -4;
    }
    const int minmn = std::min(M, N);
    if (*info == 0) {
        // Sizes in 64 bits: column counts near the int range must not wrap.
        std::int64_t minimum = 1;
        double optimum = 1.0;
        if (minmn > 0) {
            minimum = 3 * std::int64_t{N} + 1;
            const int nb = ilaenv(1, "DGEQRF", " ", M, N, -1, -1);
            optimum = 2.0 * N + (N + 1.0) * nb;
        }
        work[0] = optimum;
        if (*lwork < minimum && !query) *info = -8;
    }
    if (*info != 0) {
        report_bad_argument("DGEQP3", -*info);
        return;
    }
    if (query || minmn == 0) return;

    // Columns marked in JPVT move to the front, in their order.
    int fixed = 1;
    for (int j = 1; j <= N; ++j) {
        if (jpvt[j - 1] != 0) {
            if (j != fixed) {
                dswap_(&M, &at(a, ld, 1, j), &kOne, &at(a, ld, 1, fixed), &kOne);
                jpvt[j - 1] = jpvt[fixed - 1];
                jpvt[fixed - 1] = j;
            } else {
                jpvt[j - 1] = j;
            }
            ++fixed;
        } else {
            jpvt[j - 1] = j;
        }
    }
    fixed -= 1;

    // Factor the fixed columns and carry their Q' over the free ones.
    if (fixed > 0) {
        const int na = std::min(M, fixed);
        dgeqrf_(&M, &na, a, lda, tau, work, lwork, info);
        if (na < N) {
            const int free_columns = N - na;
            dormqr_(&kLeft, &kTranspose, &M, &free_columns, &na, a, lda, tau, &at(a, ld, 1, na + 1), lda, work, lwork,
                    info);
        }
    }

    // Factor the free columns in their own order.
    if (fixed < minmn) {
        const int sm = M - fixed;
        for (int j = fixed + 1; j <= N; ++j) {
            work[j - 1] = dnrm2_(&sm, &at(a, ld, fixed + 1, j), &kOne);
            work[N + j - 1] = work[j - 1];
        }
        const int free_columns = N - fixed;
        ToleranceQrKernel(&M, &free_columns, &fixed, &at(a, ld, 1, fixed + 1), lda, &jpvt[fixed], &tau[fixed],
                          &work[fixed], &work[N + fixed], &work[2 * N], info, tol);
    }
}

void ToleranceLeastSquares(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
                           const int* ldb, int* jpvt, double* tau, const double* tol, double* x, const int* ldx,
                           double* work, const int* lwork, int* info) {
    const int M = *m, N = *n, R = *nrhs;
    const int mn = std::min(M, N);
    *info = 0;
    const bool query = *lwork == kQueryLength;
    if (M < 0) {
        *info = -1;
    } else if (N < 0) {
        *info = -2;
    } else if (R < 0) {
        *info = -3;
    } else if (*lda < std::max(1, M)) {
        *info = -5;
    } else if (*ldb < std::max({1, M, N})) {
        *info = -7;
    }

    double optimum = 1.0;
    if (*info == 0) {
        std::int64_t minimum = 1;  // in 64 bits: counts near the int range must not wrap
        if (mn > 0 && R > 0) {
            const int nb = std::max({ilaenv(1, "DGEQRF", " ", M, N, -1, -1), ilaenv(1, "DGERQF", " ", M, N, -1, -1),
                                     ilaenv(1, "DORMQR", " ", M, N, R, -1), ilaenv(1, "DORMRQ", " ", M, N, R, -1)});
            const std::int64_t mn64 = mn;
            minimum = mn64 + std::max({2 * mn64, std::int64_t{N} + 1, mn64 + R});
            optimum = std::max({static_cast<double>(minimum), mn + 2.0 * N + static_cast<double>(nb) * (N + 1.0),
                                2.0 * mn + static_cast<double>(nb) * R});
        }
        work[0] = optimum;
        if (*lwork < minimum && !query) *info = -12;
    }
    if (*info != 0) {
        report_bad_argument("DGELSY", -*info);
        return;
    }
    if (query || mn == 0 || R == 0) return;

    // A = Q R, the free columns in their own order.
    const int factor_lwork = *lwork - mn;
    ToleranceQrFactor(m, n, a, lda, jpvt, tau, work + mn, &factor_lwork, info, tol);
    if (*info != 0) return;

    // B := Q' B. The status is deliberately not tested: a rejection here (for
    // instance fewer rows than columns) still lets the solve below run.
    const int apply_lwork = *lwork - 2 * mn;
    dormqr_(&kLeft, &kTranspose, m, nrhs, n, a, lda, tau, b, ldb, work + 2 * mn, &apply_lwork, info);

    // X := the first N rows of B. Right-hand side j starts j - 1 elements in,
    // in both arrays; exact for the single right-hand side OLS passes.
    for (int j = 1; j <= R; ++j) dcopy_(n, b + (j - 1), &kOne, x + (j - 1), &kOne);

    // X := R^-1 X over the full N x N upper triangle (no rank truncation).
    const double one = 1.0;
    dtrsm_(&kLeft, &kUpper, &kNo, &kNo, n, nrhs, &one, a, lda, x, ldx);

    work[0] = optimum;
}

}  // namespace qcm::linalg
