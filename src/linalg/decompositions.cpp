// QR and SVD exports: QR, QRP, QR_Qy, QR_Q, SolveTriangularSystem, SVD.
//
// Each export is one LAPACK call (dgeqrf, dgeqp3, dormqr, dorgqr, dtrtrs,
// dgesdd; LAPACK Users' Guide, 3rd ed., SIAM 1999) inside the shared calling
// frame: the descriptor fields go by address straight into LAPACK's integer
// parameters, character options are static single characters, WORK is the
// shared workspace with LWORK fixed at 10000, and LAPACK's INFO is returned
// unchanged (no check of our own, no translation). The factored matrix stays
// in the caller's buffer in LAPACK's compact form, so QR, QR_Qy, QR_Q and
// SolveTriangularSystem chain on the same buffer.
//
// Which descriptor fields are read differs per export on purpose:
// QR, QRP, QR_Qy and QR_Q add `offset` to the data pointer; the triangular
// solve and the SVD use the data pointer as element (0,0). QR_Qy takes its row
// count and reflector count from A alone, never from C's `rows`.
#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "linalg/lapack.hpp"
#include "linalg/workspace.hpp"

namespace {

using qcm::linalg::SharedWorkspace;
using qcm::linalg::with_offset;

// Character options, each a single static character passed by address.
const char kNo = 'N';
const char kTranspose = 'T';
const char kLeft = 'L';
const char kUpper = 'U';
const char kLower = 'L';

}  // namespace

extern "C" {

int32_t QR(double* a, const MatrixDescriptor* da, double* tau) {
    qcm::ErrnoGuard guard;
    int32_t info = 0;
    dgeqrf_(&da->rows, &da->columns, with_offset(a, da), &da->leadingDimension, tau, SharedWorkspace::real,
            &SharedWorkspace::length, &info);
    return info;
}

int32_t QRP(double* a, const MatrixDescriptor* da, double* tau, int32_t* jpvt) {
    qcm::ErrnoGuard guard;
    int32_t info = 0;
    dgeqp3_(&da->rows, &da->columns, with_offset(a, da), &da->leadingDimension, jpvt, tau, SharedWorkspace::real,
            &SharedWorkspace::length, &info);
    return info;
}

int32_t QR_Qy(double* a, const MatrixDescriptor* da, int32_t transpose, double* tau, double* c,
              const MatrixDescriptor* dc) {
    qcm::ErrnoGuard guard;
    int32_t info = 0;
    dormqr_(&kLeft, transpose ? &kTranspose : &kNo, &da->rows, &dc->columns, &da->columns, with_offset(a, da),
            &da->leadingDimension, tau, with_offset(c, dc), &dc->leadingDimension, SharedWorkspace::real,
            &SharedWorkspace::length, &info);
    return info;
}

int32_t QR_Q(double* a, const MatrixDescriptor* da, double* tau) {
    qcm::ErrnoGuard guard;
    int32_t info = 0;
    // The column count is both N and K: the thin Q from all the reflectors.
    dorgqr_(&da->rows, &da->columns, &da->columns, with_offset(a, da), &da->leadingDimension, tau,
            SharedWorkspace::real, &SharedWorkspace::length, &info);
    return info;
}

int32_t SolveTriangularSystem(double* a, const MatrixDescriptor* da, int32_t upper, int32_t transpose, double* b,
                              const MatrixDescriptor* db) {
    qcm::ErrnoGuard guard;
    int32_t info = 0;
    dtrtrs_(upper ? &kUpper : &kLower, transpose ? &kTranspose : &kNo, &kNo, &da->columns, &db->columns, a,
            &da->leadingDimension, b, &db->leadingDimension, &info);
    return info;
}

int32_t SVD(const char* jobz, double* a, const MatrixDescriptor* da, double* s, double* u, const MatrixDescriptor* du,
            double* vt, const MatrixDescriptor* dvt) {
    qcm::ErrnoGuard guard;
    int32_t info = 0;
    dgesdd_(jobz, &da->rows, &da->columns, a, &da->leadingDimension, s, u, &du->leadingDimension, vt,
            &dvt->leadingDimension, SharedWorkspace::real, &SharedWorkspace::length, SharedWorkspace::integer, &info);
    return info;
}

}  // extern "C"
