// Full-rank least squares by DGELS, and the residual sum of squares of a
// fitted linear predictor. (The ordered-QR solver OLS has a file of its own.)
#include "linalg/matrix.hpp"

namespace {

using kcm::linalg::at_offset;
using kcm::linalg::shared_workspace;

constexpr const char* kNoTranspose = "N";

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
extern "C" double Xb(const double* x, const MatrixDescriptor* dx, const double* beta,
                     const double* y)
{
    const int32_t rows = dx->rows, cols = dx->cols, ld = dx->ld;
    double rss = 0.0;
    for (int32_t i = 0; i < rows; ++i) {
        double fitted = 0.0;
        for (int32_t j = 0; j < cols; ++j) fitted += x[j * ld + i] * beta[j];
        const double r = y[i] - fitted;
        rss += r * r;
    }
    return rss;
}
