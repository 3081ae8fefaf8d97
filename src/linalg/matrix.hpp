// Matrix conventions and the shared LAPACK workspace of the linear-algebra
// exports.
//
// Every matrix crosses the boundary as a data pointer plus a MatrixDescriptor
// (offset, ld, rows, cols; declared in the public header): column-major, element
// (i, j) at data[offset + j*ld + i] for the exports that honour offset. The
// descriptor's fields are handed to LAPACK by address, as Fortran passes them,
// so the wrappers below never copy a dimension and never write to a descriptor.
//
// The LAPACK and BLAS routines are MKL's Fortran-style entry points
// (mkl_lapack.h, mkl_blas.h). The library is built against the LP64 interface,
// where MKL_INT is the same 32-bit int as the descriptor's fields.
#pragma once

#include <cstdint>
#include <type_traits>

#include <mkl_blas.h>
#include <mkl_lapack.h>
#include <mkl_service.h>

#include "korvane/core_math.h"

static_assert(std::is_same<MKL_INT, std::int32_t>::value,
              "the descriptor's 32-bit fields are passed to LAPACK by address");

namespace kcm::linalg {

// Length of both blocks of the shared workspace, and the LWORK handed to every
// routine that uses it. Deliberately fixed: a problem whose routine needs more
// workspace fails with that routine's own negative INFO naming LWORK.
constexpr std::int32_t kWorkspaceSize = 10000;

// One process-wide scratch area for the exports that pass LAPACK a WORK array:
// LS, OLS, QR, QRP, QR_Q, QR_Qy, FullSVD (both blocks) and the workspace query
// of ThinSVD (integer block). Allocated once at load and never freed. There is
// no lock: the host serialises calls of those exports.
struct SharedWorkspace {
    double* work;         // kWorkspaceSize doubles
    std::int32_t* iwork;  // kWorkspaceSize 32-bit integers
    std::int32_t lwork;   // kWorkspaceSize, passed by address as LWORK
};

// Initialised by the library's static initialisers when it is loaded; an
// allocation failure there is not handled.
inline SharedWorkspace shared_workspace{new double[kWorkspaceSize],
                                        new std::int32_t[kWorkspaceSize], kWorkspaceSize};

// The first element of a matrix for the exports that honour the offset.
inline double* at_offset(double* data, const MatrixDescriptor* d) { return data + d->offset; }

}  // namespace kcm::linalg
