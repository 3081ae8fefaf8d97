// Full-rank least squares by DGELS, and the residual sum of squares of a
// fitted linear predictor. (The ordered-QR solver OLS has a file of its own.)
#include "linalg/matrix.hpp"

namespace {

using kcm::linalg::at_offset;
using kcm::linalg::shared_workspace;

constexpr const char* kNoTranspose = "N";

// Rows of Xb evaluated together (their predictions live on the stack).
constexpr int32_t kXbRowBlock = 256;

// Adds the squared residuals of rows i0 .. i0+nb-1 (nb <= kXbRowBlock) to rss.
// A full block has its length as a template argument, so that the compiler
// knows the trip count and can vectorise across rows.
template <int32_t Fixed>
double add_squared_residuals(const double* x, int32_t ld, int32_t cols, const double* beta,
                             const double* y, int32_t i0, int32_t nb, double rss)
{
    const int32_t count = Fixed > 0 ? Fixed : nb;
    double fitted[kXbRowBlock] = {};
    int32_t j = 0;
    // Four columns per pass: the same additions in the same order for each
    // row, with a quarter of the loads and stores of the running sums.
    for (; j + 4 <= cols; j += 4) {
        const double b0 = beta[j], b1 = beta[j + 1], b2 = beta[j + 2], b3 = beta[j + 3];
        const double* c0 = x + (j * ld + i0);  // element indices in 32 bits
        const double* c1 = x + ((j + 1) * ld + i0);
        const double* c2 = x + ((j + 2) * ld + i0);
        const double* c3 = x + ((j + 3) * ld + i0);
        for (int32_t k = 0; k < count; ++k)
            fitted[k] = (((fitted[k] + c0[k] * b0) + c1[k] * b1) + c2[k] * b2) + c3[k] * b3;
    }
    for (; j < cols; ++j) {
        const double b = beta[j];
        const double* column = x + (j * ld + i0);
        for (int32_t k = 0; k < count; ++k) fitted[k] += column[k] * b;
    }
    for (int32_t k = 0; k < count; ++k) {
        const double r = y[i0 + k] - fitted[k];
        rss += r * r;
    }
    return rss;
}

}  // namespace

// QR for rows >= cols, the minimum-norm LQ solution otherwise; the first cols
// rows of B receive X. Honours both offsets.
extern "C" int32_t LS(double* a, const MatrixDescriptor* da, double* b, const MatrixDescriptor* db)
{
    MKL_INT info = 0;
    dgels(kNoTranspose, &da->rows, &da->cols, &db->cols, at_offset(a, da), &da->ld,
          at_offset(b, db), &db->ld, shared_workspace.work, &shared_workspace.lwork, &info);
    return info;
}

// sum_i (y_i - sum_j x(i, j) beta_j)^2, each prediction one running sum in
// ascending j, the squares summed in ascending i. Ignores dx->offset. The index
// j*ld + i is formed in 32-bit arithmetic, as the descriptor's fields are.
// Rows are taken kXbRowBlock at a time with the column loop outside, so the
// matrix is read down its columns; each prediction still sees exactly the
// same additions in the same order, so the result is unchanged by the blocking.
extern "C" double Xb(const double* x, const MatrixDescriptor* dx, const double* beta,
                     const double* y)
{
    const int32_t rows = dx->rows, cols = dx->cols, ld = dx->ld;
    double rss = 0.0;
    int32_t i0 = 0;
    for (; i0 + kXbRowBlock <= rows; i0 += kXbRowBlock)
        rss = add_squared_residuals<kXbRowBlock>(x, ld, cols, beta, y, i0, kXbRowBlock, rss);
    if (i0 < rows) rss = add_squared_residuals<0>(x, ld, cols, beta, y, i0, rows - i0, rss);
    return rss;
}
