// Cholesky factorisation and solve, triangular solve, and the switch that
// turns off MKL's own threading.
//
// Each export is one LAPACK call on the caller's storage (DPOTRF, DPOTRS,
// DTRTRS) and returns LAPACK's INFO unchanged: 0, -k for an illegal k-th
// argument, +k for the routine's numerical failure. None of them honours the
// descriptor's offset (the data pointer is element (0, 0)), and the order of a
// square matrix is taken from its descriptor's cols, never from rows.
#include "linalg/matrix.hpp"

namespace {

// Option letters. The upper triangle of Cholesky/CholeskySolve is "A", which
// DPOTRF/DPOTRS reject as argument 1: deliberate, only the lower factor exists.
constexpr const char* kCholeskyUpper = "A";
constexpr const char* kLower = "L";
constexpr const char* kUpper = "U";
constexpr const char* kNoTranspose = "N";
constexpr const char* kTranspose = "T";
constexpr const char* kNonUnitDiagonal = "N";

const char* cholesky_uplo(int32_t upper) { return upper != 0 ? kCholeskyUpper : kLower; }

}  // namespace

extern "C" int32_t Cholesky(int32_t upper, double* a, const MatrixDescriptor* da)
{
    MKL_INT info = 0;
    dpotrf(cholesky_uplo(upper), &da->cols, a, &da->ld, &info);
    return info;
}

extern "C" int32_t CholeskySolve(int32_t upper, double* a, const MatrixDescriptor* da, double* b,
                                 const MatrixDescriptor* db)
{
    MKL_INT info = 0;
    dpotrs(cholesky_uplo(upper), &da->cols, &db->cols, a, &da->ld, b, &db->ld, &info);
    return info;
}

// Unlike Cholesky, the upper triangle here is a true "U".
extern "C" int32_t SolveTriangularSystem(double* a, const MatrixDescriptor* da, int32_t upper,
                                         int32_t transpose, double* b, const MatrixDescriptor* db)
{
    MKL_INT info = 0;
    dtrtrs(upper != 0 ? kUpper : kLower, transpose != 0 ? kTranspose : kNoTranspose,
           kNonUnitDiagonal, &da->cols, &db->cols, a, &da->ld, b, &db->ld, &info);
    return info;
}

// Process-wide and one-way: no export turns threading back on.
extern "C" void DisableMKLThreading()
{
    mkl_set_num_threads(1);
    mkl_set_dynamic(0);
}
