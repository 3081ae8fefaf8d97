// Householder QR of a general matrix, with and without column pivoting, the
// explicit thin Q, and the product of Q or Q^T with another matrix.
//
// One LAPACK call each (DGEQRF, DGEQP3, DORGQR, DORMQR) in place on the
// caller's storage, with the shared workspace (LWORK = 10000) and INFO
// returned unchanged. All four honour every descriptor's offset. The factored
// A stays in LAPACK's compact form: R on and above the diagonal, the
// Householder vectors below, the scalars in tau.
#include "linalg/matrix.hpp"

namespace {

using kcm::linalg::at_offset;
using kcm::linalg::shared_workspace;

constexpr const char* kLeft = "L";
constexpr const char* kNoTranspose = "N";
constexpr const char* kTranspose = "T";

}  // namespace

extern "C" int32_t QR(double* a, const MatrixDescriptor* da, double* tau)
{
    MKL_INT info = 0;
    dgeqrf(&da->rows, &da->cols, at_offset(a, da), &da->ld, tau, shared_workspace.work,
           &shared_workspace.lwork, &info);
    return info;
}

// The export takes tau before jpvt; DGEQP3 the other way round. jpvt goes
// through untouched, so its non-zero entries on entry fix columns up front.
extern "C" int32_t QRP(double* a, const MatrixDescriptor* da, double* tau, int32_t* jpvt)
{
    MKL_INT info = 0;
    dgeqp3(&da->rows, &da->cols, at_offset(a, da), &da->ld, jpvt, tau, shared_workspace.work,
           &shared_workspace.lwork, &info);
    return info;
}

// K = N reflectors: needs rows >= cols, else DORGQR rejects N (INFO = -2).
extern "C" int32_t QR_Q(double* a, const MatrixDescriptor* da, double* tau)
{
    MKL_INT info = 0;
    dorgqr(&da->rows, &da->cols, &da->cols, at_offset(a, da), &da->ld, tau,
           shared_workspace.work, &shared_workspace.lwork, &info);
    return info;
}

// M comes from A's descriptor, not from dc.rows.
extern "C" int32_t QR_Qy(double* a, const MatrixDescriptor* da, int32_t transpose, double* tau,
                         double* c, const MatrixDescriptor* dc)
{
    MKL_INT info = 0;
    dormqr(kLeft, transpose != 0 ? kTranspose : kNoTranspose, &da->rows, &dc->cols, &da->cols,
           at_offset(a, da), &da->ld, tau, at_offset(c, dc), &dc->ld, shared_workspace.work,
           &shared_workspace.lwork, &info);
    return info;
}
