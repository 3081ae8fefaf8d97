// OLS: least squares by an ordered QR factorisation that stops at the first
// column which is numerically a linear combination of the columns before it.
//
// The model-fitting solver of the library. It is written in the manner of
// reference LAPACK so that it can be read beside the routines it is built
// from: DGELSY (argument checks, workspace sizes, the solve), DGEQP3 and its
// unblocked kernel DLAQP2 (column norms, Householder steps, norm downdating).
// The difference is that no pivot is ever selected: columns are factored in
// the caller's order, and before each step the column's remaining norm is
// compared with TOL times its norm before factorisation. A column that fails
// is reported by its one-based number so that the host can drop that term and
// refit; the coefficients then stay in the column order of A.
//
// References: E. Anderson et al., LAPACK Users' Guide, 3rd ed., SIAM 1999
// (DGELSY, DGEQP3, DLAQP2); Z. Drmac and Z. Bujanovic, "On the failure of
// rank-revealing QR factorization software - a case study", LAPACK Working
// Note 176 (2006), for the norm downdate.
//
// All arguments are passed by reference; argument errors go to the LAPACK
// error handler XERBLA under "DGELSY", or "DGEQP3" for the factorisation step.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>

#include "linalg/matrix.hpp"

namespace kcm::linalg {
namespace {

constexpr double kZero = 0.0;
constexpr double kOne = 1.0;
constexpr MKL_INT kIncOne = 1;
constexpr MKL_INT kIspecBlockSize = 1;  // ILAENV: optimal block size
constexpr MKL_INT kUnused = -1;         // ILAENV: dimension not used

// Calls the LAPACK error handler with the routine name and argument number.
void report_illegal(const char* srname, MKL_INT info)
{
    const int position = -info;
    xerbla(srname, &position, static_cast<int>(std::strlen(srname)));
}

inline double square(double x) { return x * x; }

// Column-major element (i, j), one-based as in the Fortran it mirrors.
inline double& elem(double* a, MKL_INT lda, MKL_INT i, MKL_INT j)
{
    return a[(i - 1) + static_cast<std::ptrdiff_t>(j - 1) * lda];
}

//  DLAQO2 computes an ordered QR factorization of the block
//  A(OFFSET+1:M, 1:N), columns in their given order. The block A(1:OFFSET, 1:N)
//  has already been updated by the caller. Before column I is factored, its
//  partial norm VN1(I) is compared with TOL*VN3(I); if it is not larger, the
//  factorization stops and INFO = I.
//
//  M       (in) rows of A. M >= 0.
//  N       (in) columns of A. N >= 0.
//  OFFSET  (in) rows of A already factored. OFFSET >= 0.
//  A       (in/out) LDA-by-N. On entry the matrix; on exit, for the columns
//          factored, R in the upper triangle of A(OFFSET+1:M, 1:N) and the
//          Householder vectors below it, as DGEQRF leaves them; the columns
//          from the stopping column on are updated by the reflectors before it.
//  LDA     (in) leading dimension of A. LDA >= max(1, M).
//  TOL     (in) relative collinearity tolerance; negative disables the stop.
//  TAU     (out) the scalar factors of the elementary reflectors made.
//  VN1     (in/out) N, the partial column norms.
//  VN2     (in/out) N, the exact column norms the downdate refers to.
//  VN3     (in) N, the norms before factorization, an exact 0 saved as 1.
//  WORK    (workspace) N.
//  INFO    (out) 0, or I > 0: column I is collinear with columns 1 .. I-1.
void dlaqo2(const MKL_INT* m, const MKL_INT* n, const MKL_INT* offset, double* a,
            const MKL_INT* lda, const double* tol, double* tau, double* vn1, double* vn2,
            const double* vn3, double* work, MKL_INT* info)
{
    const auto A = [&](MKL_INT i, MKL_INT j) -> double& { return elem(a, *lda, i, j); };
    const MKL_INT mn = std::min(*m - *offset, *n);
    const double tol3z = std::sqrt(dlamch("Epsilon"));
    *info = 0;

    // Compute the factorization, column by column in the given order.
    for (MKL_INT i = 1; i <= mn; ++i) {
        const MKL_INT offpi = *offset + i;

        // Stop instead of pivoting: column i is (numerically) in the span of
        // the columns before it.
        if (*tol * vn3[i - 1] >= vn1[i - 1]) {
            *info = i;
            return;
        }

        // Generate elementary reflector H(i).
        if (offpi < *m) {
            const MKL_INT order = *m - offpi + 1;
            dlarfg(&order, &A(offpi, i), &A(offpi + 1, i), &kIncOne, &tau[i - 1]);
        } else {
            dlarfg(&kIncOne, &A(*m, i), &A(*m, i), &kIncOne, &tau[i - 1]);
        }

        // Apply H(i)**T to A(offset+i:m, i+1:n) from the left.
        if (i < *n) {
            const double aii = A(offpi, i);
            A(offpi, i) = kOne;
            const MKL_INT rows = *m - offpi + 1, cols = *n - i;
            dlarf("Left", &rows, &cols, &A(offpi, i), &kIncOne, &tau[i - 1], &A(offpi, i + 1),
                  lda, work);
            A(offpi, i) = aii;
        }

        // Update partial column norms.
        for (MKL_INT j = i + 1; j <= *n; ++j) {
            if (vn1[j - 1] != kZero) {
                // NOTE: The following 4 lines follow from the analysis in
                // LAPACK Working Note 176.
                double temp = kOne - square(std::fabs(A(offpi, j)) / vn1[j - 1]);
                temp = std::max(temp, kZero);
                const double temp2 = temp * square(vn1[j - 1] / vn2[j - 1]);
                if (temp2 <= tol3z) {
                    if (offpi < *m) {
                        const MKL_INT rows = *m - offpi;
                        vn1[j - 1] = dnrm2(&rows, &A(offpi + 1, j), &kIncOne);
                        vn2[j - 1] = vn1[j - 1];
                    } else {
                        vn1[j - 1] = kZero;
                        vn2[j - 1] = kZero;
                    }
                } else {
                    vn1[j - 1] = vn1[j - 1] * std::sqrt(temp);
                }
            }
        }
    }
}

//  DGEQPO computes a QR factorization A = Q*R of an M-by-N matrix without
//  reordering its free columns, stopping at the first collinear one. Its
//  interface and argument numbers are those of DGEQP3, with TOL added.
//
//  M       (in) rows of A. M >= 0.
//  N       (in) columns of A. N >= 0.
//  A       (in/out) LDA-by-N. On exit R and the Householder vectors, as DGEQRF.
//  LDA     (in) LDA >= max(1, M).
//  JPVT    (in/out) N. On entry a non-zero JPVT(J) moves column J to the front
//          as a fixed column (factored first, never tested); zero marks a free
//          column. On exit JPVT(J) is the original number of the column now in
//          position J; free columns keep their relative order.
//  TAU     (out) min(M, N), the scalar factors of the elementary reflectors.
//  WORK    (workspace/out) LWORK. On exit WORK(1) is the optimal LWORK.
//  LWORK   (in) LWORK >= 3*N+1. LWORK = -1 is a workspace query.
//  TOL     (in) relative collinearity tolerance; negative disables the stop.
//  INFO    (out) 0 on success; -I if argument I was illegal; I > 0 when the
//          free column whose original number is I is collinear with the
//          columns factored before it.
void dgeqpo(const MKL_INT* m, const MKL_INT* n, double* a, const MKL_INT* lda, MKL_INT* jpvt,
            double* tau, double* work, const MKL_INT* lwork, const double* tol, MKL_INT* info)
{
    const auto A = [&](MKL_INT i, MKL_INT j) -> double& { return elem(a, *lda, i, j); };

    // Test input arguments.
    *info = 0;
    const bool lquery = *lwork == -1;
    if (*m < 0) {
        *info = -1;
    } else if (*n < 0) {
        *info = -2;
    } else if (*lda < std::max<MKL_INT>(1, *m)) {
        *info = -4;
    }
    const MKL_INT minmn = std::min(*m, *n);
    MKL_INT iws = 1;
    if (*info == 0) {
        MKL_INT lwkopt = 1;
        if (minmn != 0) {
            // VN1, VN2 and DLARF's work; the fixed columns use blocked code.
            iws = 3 * *n + 1;
            const MKL_INT nb = ilaenv(&kIspecBlockSize, "DGEQRF", " ", m, n, &kUnused, &kUnused);
            lwkopt = std::max(iws, *n * nb);
        }
        work[0] = lwkopt;
        if (*lwork < iws && !lquery) *info = -8;
    }
    if (*info != 0) {
        report_illegal("DGEQP3", *info);
        return;
    }
    if (lquery) return;

    // Quick return if possible.
    if (minmn == 0) return;

    // Move initial columns up front.
    MKL_INT nfxd = 1;
    for (MKL_INT j = 1; j <= *n; ++j) {
        if (jpvt[j - 1] != 0) {
            if (j != nfxd) {
                dswap(m, &A(1, j), &kIncOne, &A(1, nfxd), &kIncOne);
                jpvt[j - 1] = jpvt[nfxd - 1];
                jpvt[nfxd - 1] = j;
            } else {
                jpvt[j - 1] = j;
            }
            ++nfxd;
        } else {
            jpvt[j - 1] = j;
        }
    }
    --nfxd;

    // Factorize fixed columns and update the rest of the matrix.
    if (nfxd > 0) {
        const MKL_INT na = std::min(*m, nfxd);
        dgeqrf(m, &na, a, lda, tau, work, lwork, info);
        iws = std::max(iws, static_cast<MKL_INT>(work[0]));
        if (na < *n) {
            const MKL_INT rest = *n - na;
            dormqr("Left", "Transpose", m, &rest, &na, a, lda, tau, &A(1, na + 1), lda, work,
                   lwork, info);
            iws = std::max(iws, static_cast<MKL_INT>(work[0]));
        }
    }

    // Factorize free columns in order.
    if (nfxd < minmn) {
        const MKL_INT sm = *m - nfxd;
        const MKL_INT sn = *n - nfxd;

        // Initialize partial column norms: WORK(J) and WORK(N+J) hold the
        // column norms, VN3 a saved copy with an exact zero stored as one, so
        // that a zero column always fails a non-negative TOL. VN3 does not fit
        // DGEQP3's 3*N+1 workspace and has a buffer of its own.
        std::unique_ptr<double[]> vn3(new double[*n]);
        for (MKL_INT j = nfxd + 1; j <= *n; ++j) {
            work[j - 1] = dnrm2(&sm, &A(nfxd + 1, j), &kIncOne);
            work[*n + j - 1] = work[j - 1];
            vn3[j - 1] = work[j - 1] == kZero ? kOne : work[j - 1];
        }

        dlaqo2(m, &sn, &nfxd, &A(1, nfxd + 1), lda, tol, &tau[nfxd], &work[nfxd],
               &work[*n + nfxd], &vn3[nfxd], &work[2 * *n], info);
        if (*info > 0) *info = jpvt[nfxd + *info - 1];
    }

    work[0] = iws;
}

//  DGELSO solves min || A*X - B || by the ordered QR factorization of A
//  (DGEQPO) followed by X = R**(-1) * Q**T * B; its interface and argument
//  checks are those of DGELSY, with the coefficients written to C.
//
//  M       (in) rows of A. M >= 0.
//  N       (in) columns of A. N >= 0.
//  NRHS    (in) columns of B and C. NRHS >= 0.
//  A       (in/out) LDA-by-N. On exit R and the Householder vectors.
//  LDA     (in) LDA >= max(1, M).
//  B       (in/out) LDB-by-NRHS. On exit Q**T * B; rows N+1 .. M are the
//          residuals in the rotated basis.
//  LDB     (in) LDB >= max(1, M, N).
//  C       (out) LDC-by-NRHS, the coefficients in the column order of A.
//  LDC     (in) leading dimension of C, >= max(1, N).
//  JPVT    (in/out) N, as in DGEQPO; all zero for free columns.
//  TAU     (out) min(M, N), the scalar factors of the elementary reflectors.
//  TOL     (in) relative collinearity tolerance; negative disables the stop.
//  WORK    (workspace/out) LWORK. On exit WORK(1) is the optimal LWORK.
//  LWORK   (in) LWORK >= MN + max(2*MN, N+1, MN+NRHS), MN = min(M, N).
//  INFO    (out) 0 on success; -I if argument I was illegal (-12 for LWORK);
//          I > 0 when column I is collinear with columns 1 .. I-1, in which
//          case B and C are not referenced; otherwise DORMQR's INFO.
void dgelso(const MKL_INT* m, const MKL_INT* n, const MKL_INT* nrhs, double* a, const MKL_INT* lda,
            double* b, const MKL_INT* ldb, double* c, const MKL_INT* ldc, MKL_INT* jpvt,
            double* tau, const double* tol, double* work, const MKL_INT* lwork, MKL_INT* info)
{
    const MKL_INT mn = std::min(*m, *n);

    // Test the input arguments.
    *info = 0;
    const bool lquery = *lwork == -1;
    if (*m < 0) {
        *info = -1;
    } else if (*n < 0) {
        *info = -2;
    } else if (*nrhs < 0) {
        *info = -3;
    } else if (*lda < std::max<MKL_INT>(1, *m)) {
        *info = -5;
    } else if (*ldb < std::max<MKL_INT>({1, *m, *n})) {
        *info = -7;
    }

    // Figure out the optimal block size.
    MKL_INT lwkopt = 1;
    if (*info == 0) {
        MKL_INT lwkmin = 1;
        if (mn != 0 && *nrhs != 0) {
            const MKL_INT nb1 = ilaenv(&kIspecBlockSize, "DGEQRF", " ", m, n, &kUnused, &kUnused);
            const MKL_INT nb2 = ilaenv(&kIspecBlockSize, "DGERQF", " ", m, n, &kUnused, &kUnused);
            const MKL_INT nb3 = ilaenv(&kIspecBlockSize, "DORMQR", " ", m, n, nrhs, &kUnused);
            const MKL_INT nb4 = ilaenv(&kIspecBlockSize, "DORMRQ", " ", m, n, nrhs, &kUnused);
            const MKL_INT nb = std::max({nb1, nb2, nb3, nb4});
            lwkmin = mn + std::max({2 * mn, *n + 1, mn + *nrhs});
            lwkopt = std::max({lwkmin, mn + 2 * *n + nb * (*n + 1), 2 * mn + nb * *nrhs});
        }
        work[0] = lwkopt;
        // Reported as argument 12, DGELSY's LWORK, though LWORK is the 14th
        // argument here: deliberate, the host knows this routine by that code.
        if (*lwork < lwkmin && !lquery) *info = -12;
    }
    if (*info != 0) {
        report_illegal("DGELSY", *info);
        return;
    }
    if (lquery) return;

    // Quick return if possible.
    if (mn == 0 || *nrhs == 0) return;

    // Ordered QR factorization of A, stopping at the first collinear column.
    const MKL_INT lwork_qr = *lwork - mn;
    dgeqpo(m, n, a, lda, jpvt, tau, &work[mn], &lwork_qr, tol, info);
    if (*info != 0) return;

    // B := Q**T * B. K = N reflectors.
    const MKL_INT lwork_q = *lwork - 2 * mn;
    dormqr("Left", "Transpose", m, nrhs, n, a, lda, tau, b, ldb, &work[2 * mn], &lwork_q, info);

    // C := the first N elements from element K of B, for each K. For NRHS > 1
    // these copies overlap and do not follow the columns: deliberate, the host
    // always passes one response column and relies on this addressing.
    for (MKL_INT k = 1; k <= *nrhs; ++k) dcopy(n, &b[k - 1], &kIncOne, &c[k - 1], &kIncOne);

    // C := R**(-1) * C. With fewer rows than columns there is no N-by-N
    // triangle in the M-by-N array A (DORMQR has refused K = N > M): C keeps
    // the copy.
    if (*m >= *n) dtrsm("Left", "Upper", "No transpose", "Non-unit", n, nrhs, &kOne, a, lda, c, ldc);

    // DORMQR's INFO is not tested: it is what the routine returns.
    work[0] = lwkopt;
}

}  // namespace
}  // namespace kcm::linalg

// Honours every descriptor's offset. The column-order array never reaches the
// host: allocated per call with every column free, released before return.
extern "C" int32_t OLS(double* a, const MatrixDescriptor* da, double* b, const MatrixDescriptor* db,
                       double* c, const MatrixDescriptor* dc, double* tau, double tol)
{
    using namespace kcm::linalg;
    int32_t* jpvt = new int32_t[std::max<int32_t>(da->cols, 0)]();
    MKL_INT info = 0;
    dgelso(&da->rows, &da->cols, &db->cols, at_offset(a, da), &da->ld, at_offset(b, db), &db->ld,
           at_offset(c, dc), &dc->ld, jpvt, tau, &tol, shared_workspace.work,
           &shared_workspace.lwork, &info);
    delete[] jpvt;
    return info;
}
