// Symmetric eigen-decomposition (DSYEVR) and the full and thin singular value
// decompositions (DGESDD).
//
// None of the three honours a descriptor's offset: the data pointers are
// element (0, 0). Of the output descriptors only ld is read. INFO comes back
// unchanged. EigenSymmetric and the second call of ThinSVD size their own
// workspace with a query and take it from MKL's aligned allocator; FullSVD
// uses the fixed shared workspace, so a problem needing more than 10,000
// doubles fails with DGESDD's INFO = -12.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "linalg/matrix.hpp"

namespace {

using kcm::linalg::shared_workspace;

constexpr int kAlignment = 32;               // bytes, for mkl_malloc
constexpr MKL_INT kWorkspaceQuery = -1;      // LWORK/LIWORK asking for sizes only
constexpr MKL_INT kIsuppzPerOrder = 2;       // DSYEVR's ISUPPZ: 2*N integers
constexpr MKL_INT kIworkPerSingular = 8;     // DGESDD's IWORK: 8*min(M, N) integers
constexpr double kDefaultAbsTol = 0.0;       // DSYEVR picks its own tolerance

constexpr const char* kVectors = "V";
constexpr const char* kValuesOnly = "N";
constexpr const char* kAllEigenvalues = "A";
constexpr const char* kLowerTriangle = "L";
constexpr const char* kAllVectors = "A";
constexpr const char* kLeadingVectors = "S";

// A negative count (an argument LAPACK is about to reject) allocates nothing.
template <typename T>
T* aligned_array(MKL_INT count)
{
    const std::size_t n = static_cast<std::size_t>(std::max<MKL_INT>(count, 0));
    return static_cast<T*>(mkl_malloc(n * sizeof(T), kAlignment));
}

// Whether the lower triangle of the n x n matrix a (leading dimension lda)
// holds only finite numbers.
bool lower_triangle_is_finite(const double* a, MKL_INT n, MKL_INT lda)
{
    for (MKL_INT j = 0; j < n; ++j)
        for (MKL_INT i = j; i < n; ++i)
            if (!std::isfinite(a[i + static_cast<std::size_t>(j) * lda])) return false;
    return true;
}

// Whether the m x n matrix a holds only finite numbers; arguments DGESDD is
// about to reject count as finite (it returns before reading a).
bool general_matrix_is_finite(const double* a, const MatrixDescriptor* da)
{
    if (da->rows < 0 || da->cols < 0 || da->ld < std::max<MKL_INT>(1, da->rows)) return true;
    for (MKL_INT j = 0; j < da->cols; ++j)
        for (MKL_INT i = 0; i < da->rows; ++i)
            if (!std::isfinite(a[i + static_cast<std::size_t>(j) * da->ld])) return false;
    return true;
}

// DGESDD never returns on a matrix holding a NaN or an infinity. Such a matrix
// is reported as not converged (INFO = 1) with NaN singular values and
// vectors, once its arguments have passed DGESDD's own checks (a workspace
// query, which does not read A).
int32_t non_finite_svd(const char* jobz, double* a, const MatrixDescriptor* da, double* s,
                       double* u, const MatrixDescriptor* du, double* vt,
                       const MatrixDescriptor* dvt)
{
    double work_size = 0.0;
    MKL_INT info = 0;
    dgesdd(jobz, &da->rows, &da->cols, a, &da->ld, s, u, &du->ld, vt, &dvt->ld, &work_size,
           &kWorkspaceQuery, shared_workspace.iwork, &info);
    if (info != 0) return info;
    const bool all = jobz == kAllVectors;
    const MKL_INT m = da->rows, n = da->cols, k = std::min(m, n);
    const MKL_INT ucols = all ? m : k, vtrows = all ? n : k;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::fill_n(s, k, nan);
    for (MKL_INT j = 0; j < ucols; ++j) std::fill_n(u + static_cast<std::size_t>(j) * du->ld, m, nan);
    for (MKL_INT j = 0; j < n; ++j) std::fill_n(vt + static_cast<std::size_t>(j) * dvt->ld, vtrows, nan);
    return 1;
}

}  // namespace

// Reads only the lower triangle of A (order da->cols) and destroys it. The
// workspace query always asks for vectors, so dz->ld must be a valid LDZ
// (>= max(1, n)) even when z is null, or the call returns -15.
extern "C" int32_t EigenSymmetric(double* a, const MatrixDescriptor* da, double* w, int32_t* m,
                                  double* z, const MatrixDescriptor* dz)
{
    const MKL_INT n = da->cols;
    // VL, VU, IL, IU are not referenced with RANGE = "A".
    const double vl = 0.0, vu = 0.0;
    const MKL_INT il = 0, iu = 0;
    MKL_INT* isuppz = aligned_array<MKL_INT>(kIsuppzPerOrder * n);

    double work_size = 0.0;
    MKL_INT iwork_size = 0;
    MKL_INT info = 0;
    dsyevr(kVectors, kAllEigenvalues, kLowerTriangle, &da->cols, a, &da->ld, &vl, &vu, &il, &iu,
           &kDefaultAbsTol, m, w, z, &dz->ld, isuppz, &work_size, &kWorkspaceQuery, &iwork_size,
           &kWorkspaceQuery, &info);
    if (info != 0) {
        mkl_free(isuppz);
        return info;
    }

    // DSYEVR's eigenvector iteration never ends on a NaN or an infinity: such a
    // matrix gets its eigenvalues only, and its eigenvectors are NaN.
    bool vectors = z != nullptr;
    if (vectors && !lower_triangle_is_finite(a, n, da->ld)) {
        vectors = false;
        for (MKL_INT j = 0; j < n; ++j)
            std::fill_n(z + static_cast<std::size_t>(j) * dz->ld, n,
                        std::numeric_limits<double>::quiet_NaN());
    }

    const MKL_INT lwork = static_cast<MKL_INT>(work_size);
    const MKL_INT liwork = iwork_size;
    double* work = aligned_array<double>(lwork);
    MKL_INT* iwork = aligned_array<MKL_INT>(liwork);
    dsyevr(vectors ? kVectors : kValuesOnly, kAllEigenvalues, kLowerTriangle, &da->cols, a,
           &da->ld, &vl, &vu, &il, &iu, &kDefaultAbsTol, m, w, z, &dz->ld, isuppz, work, &lwork,
           iwork, &liwork, &info);
    mkl_free(work);
    mkl_free(iwork);
    mkl_free(isuppz);
    return info;
}

// U is rows x rows, VT is cols x cols; A is destroyed.
extern "C" int32_t FullSVD(double* a, const MatrixDescriptor* da, double* s, double* u,
                           const MatrixDescriptor* du, double* vt, const MatrixDescriptor* dvt)
{
    if (!general_matrix_is_finite(a, da)) return non_finite_svd(kAllVectors, a, da, s, u, du, vt, dvt);
    MKL_INT info = 0;
    dgesdd(kAllVectors, &da->rows, &da->cols, a, &da->ld, s, u, &du->ld, vt, &dvt->ld,
           shared_workspace.work, &shared_workspace.lwork, shared_workspace.iwork, &info);
    return info;
}

// U is rows x min(rows, cols), VT is min(rows, cols) x cols; A is destroyed.
extern "C" int32_t ThinSVD(double* a, const MatrixDescriptor* da, double* s, double* u,
                           const MatrixDescriptor* du, double* vt, const MatrixDescriptor* dvt)
{
    if (!general_matrix_is_finite(a, da)) return non_finite_svd(kLeadingVectors, a, da, s, u, du, vt, dvt);
    // The query's INFO is not examined: an illegal argument leaves the size at
    // 0 and the second call reports it.
    double work_size = 0.0;
    MKL_INT info = 0;
    dgesdd(kLeadingVectors, &da->rows, &da->cols, a, &da->ld, s, u, &du->ld, vt, &dvt->ld,
           &work_size, &kWorkspaceQuery, shared_workspace.iwork, &info);

    const MKL_INT lwork = static_cast<MKL_INT>(work_size);
    double* work = aligned_array<double>(lwork);
    MKL_INT* iwork = aligned_array<MKL_INT>(kIworkPerSingular * std::min(da->rows, da->cols));
    dgesdd(kLeadingVectors, &da->rows, &da->cols, a, &da->ld, s, u, &du->ld, vt, &dvt->ld, work,
           &lwork, iwork, &info);
    mkl_free(work);
    mkl_free(iwork);
    return info;
}
