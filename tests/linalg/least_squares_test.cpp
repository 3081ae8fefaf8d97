// LS, OLS and Xb: the mpmath least-squares solutions, scaled residuals of the
// normal equations on seeded matrices, OLS's collinearity stop and its status
// codes, and the residual sum of squares of Xb.
#include <cstdio>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "linalg_support.hpp"
#include "support/numeric.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace kcm::test;

// The coefficients of a backward-stable solver of a problem of condition
// number cond lie within a small multiple of cond * eps * max|x| of the exact
// solution. The tables are well conditioned (cond 1.8 to 34); the worst error
// measured is 3 eps * max|x| (LS on the 40x6 case, cond 1.8), so 8 * cond * eps
// leaves a factor of about 5 there and more elsewhere.
constexpr double kCoefficientTolerancePerCond = 8 * kEps;

double max_abs(const std::vector<double>& v)
{
    double m = 0;
    for (double x : v) m = std::max(m, std::fabs(x));
    return m;
}

TEST(LeastSquaresReference, LSAndOLSAgreeWithMpmath)
{
    const ReferenceTable table("linalg_mpmath.csv");
    for (const auto& row : table.rows()) {
        if (row.str("kind") != "lstsq") continue;
        SCOPED_TRACE(row.where());
        const int m = static_cast<int>(row.num("rows")), n = static_cast<int>(row.num("cols"));
        const auto avals = parse_list(row.str("a")), bvals = parse_list(row.str("b"));
        const auto expected = parse_list(row.str("expected"));
        const double tol = kCoefficientTolerancePerCond * row.num("cond") * max_abs(expected);
        Matrix a(m, n), b(std::max(m, n), 1);
        std::copy(avals.begin(), avals.end(), a.data.begin());
        std::copy(bvals.begin(), bvals.end(), b.data.begin());
        {
            Matrix f = a, x = b;
            ASSERT_EQ(LS(f.ptr(), f.desc(), x.ptr(), x.desc()), 0);
            for (int j = 0; j < n; ++j) EXPECT_NEAR(x(j, 0), expected[j], tol) << "LS " << j;
        }
        if (m >= n) {
            Matrix f = a, y = b, c(n, 1);
            std::vector<double> tau(n);
            ASSERT_EQ(OLS(f.ptr(), f.desc(), y.ptr(), y.desc(), c.ptr(), c.desc(), tau.data(), 1e-7), 0);
            for (int j = 0; j < n; ++j) EXPECT_NEAR(c(j, 0), expected[j], tol) << "OLS " << j;
        }
    }
}

// Normal-equation residual ||A^T (A X - B)|| / (||A||^2 ||X|| eps max(m, n)),
// the measure of dqrt17.f for an overdetermined least-squares solution.
double normal_equation_residual(const Matrix& a, const Matrix& x, const Matrix& b)
{
    Matrix r = multiply(a, false, x, false);
    for (int j = 0; j < r.cols; ++j)
        for (int i = 0; i < r.rows; ++i) r(i, j) -= b(i, j);
    const double na = frobenius(a);
    return scaled_residual(frobenius(multiply(a, true, r, false)), na * na * std::max(frobenius(x), 1.0),
                           a.rows, a.cols);
}

TEST(LeastSquaresResidual, TallSquareAndWide)
{
    for (auto [m, n] : {std::pair{50, 7}, {300, 40}, {9, 9}, {4, 11}}) {
        SCOPED_TRACE(testing::Message() << m << "x" << n);
        const Matrix a = random_matrix(m, n, 5000 + m + n);
        const Matrix b = random_matrix(std::max(m, n), 2, 5100 + m, std::max(m, n));
        Matrix f = a, x = b;
        ASSERT_EQ(LS(f.ptr(), f.desc(), x.ptr(), x.desc()), 0);
        const Matrix sol = block(x, n, 2);
        EXPECT_LT(normal_equation_residual(a, sol, block(b, m, 2)), kResidualLimit);
        if (m < n) {  // the minimum-norm solution solves A X = B exactly
            const double r = difference_norm(multiply(a, false, sol, false), block(b, m, 2));
            EXPECT_LT(scaled_residual(r, frobenius(a) * frobenius(sol), m, n), kResidualLimit);
        } else {
            Matrix g = a, y = block(b, m, 1), c(n, 1);
            std::vector<double> tau(n);
            ASSERT_EQ(OLS(g.ptr(), g.desc(), y.ptr(), y.desc(), c.ptr(), c.desc(), tau.data(), 1e-7), 0);
            EXPECT_LT(normal_equation_residual(a, c, block(b, m, 1)), kResidualLimit);
        }
    }
}

TEST(LeastSquaresBehaviour, LSHonoursOffsetsAndReportsRankDeficiency)
{
    const Matrix a = random_matrix(6, 3, 5200);
    Matrix f = a, x = random_matrix(6, 1, 5201);
    Matrix fs = random_matrix(6, 3, 5200, 6, 8), xs = random_matrix(6, 1, 5201, 6, 16);
    std::fill(fs.data.begin(), fs.data.begin() + 8, NAN);
    std::fill(xs.data.begin(), xs.data.begin() + 16, NAN);
    ASSERT_EQ(LS(f.ptr(), f.desc(), x.ptr(), x.desc()), 0);
    ASSERT_EQ(LS(fs.ptr(), fs.desc(), xs.ptr(), xs.desc()), 0);
    for (int j = 0; j < 3; ++j) EXPECT_EQ(xs(j, 0), x(j, 0));

    Matrix d = a, y = random_matrix(6, 1, 5202);
    for (int i = 0; i < 6; ++i) d(i, 2) = 0.0;  // exactly zero third column
    EXPECT_EQ(LS(d.ptr(), d.desc(), y.ptr(), y.desc()), 3);
}

TEST(LeastSquaresBehaviour, LSWorkspaceLimitIsDgelsLworkError)
{
    // DGELS needs LWORK >= min(m,n) + max(min(m,n), nrhs) = 10001 here.
    Matrix a(1, 1, 0, 0, 2.0), b(1, 10000, 0, 0, 1.0);
    EXPECT_EQ(LS(a.ptr(), a.desc(), b.ptr(), b.desc()), -10);
    Matrix ok(1, 9999, 0, 0, 1.0);
    EXPECT_EQ(LS(a.ptr(), a.desc(), ok.ptr(), ok.desc()), 0);
    EXPECT_EQ(ok(0, 9998), 0.5);
}

// ---- OLS -------------------------------------------------------------------

struct OlsRun {
    int32_t status;
    Matrix a, b, c;
    std::vector<double> tau;
};

OlsRun run_ols(Matrix a, Matrix b, double tol, int32_t c_ld = 0)
{
    OlsRun r{0, std::move(a), std::move(b), Matrix(), {}};
    r.c = Matrix(std::max(r.a.cols, 1), std::max(r.b.cols, 1), c_ld, 0, -777.0);
    r.c.rows = r.a.cols;
    r.c.cols = r.b.cols;
    r.tau.assign(std::max(std::min(r.a.rows, r.a.cols), 1), -555.0);
    r.status = OLS(r.a.ptr(), r.a.desc(), r.b.ptr(), r.b.desc(), r.c.ptr(), r.c.desc(), r.tau.data(), tol);
    return r;
}

Matrix design_with_sum_column(uint64_t seed)
{
    Matrix x = random_matrix(10, 3, seed);
    for (int i = 0; i < 10; ++i) x(i, 2) = x(i, 0) + x(i, 1);
    return x;
}

TEST(OlsCollinearity, SumOfFirstTwoColumnsIsColumnThree)
{
    const OlsRun r = run_ols(design_with_sum_column(6000), random_matrix(10, 1, 6001), 1e-7);
    EXPECT_EQ(r.status, 3);
    for (double v : r.c.data) EXPECT_EQ(v, -777.0) << "C must be left unchanged";
}

TEST(OlsCollinearity, ZeroColumnIsReportedForAnyNonNegativeTol)
{
    // tol < 1: at tol >= 1 every column fails against its own norm, so the
    // first column is reported before the zero one is reached.
    for (double tol : {0.0, 1e-300, 1e-7, 0.5, 0.999}) {
        SCOPED_TRACE(tol);
        Matrix x = random_matrix(8, 4, 6100);
        for (int i = 0; i < 8; ++i) x(i, 1) = 0.0;
        EXPECT_EQ(run_ols(x, random_matrix(8, 1, 6101), tol).status, 2);
    }
    // A zero first column too: its saved norm is 1.0 and its partial norm 0.
    Matrix x = random_matrix(8, 3, 6102);
    for (int i = 0; i < 8; ++i) x(i, 0) = 0.0;
    EXPECT_EQ(run_ols(x, random_matrix(8, 1, 6103), 0.0).status, 1);
    EXPECT_EQ(run_ols(x, random_matrix(8, 1, 6103), 1e300).status, 1);
}

TEST(OlsCollinearity, NegativeTolDisablesTheStop)
{
    const OlsRun r = run_ols(design_with_sum_column(6000), random_matrix(10, 1, 6001), -1.0);
    EXPECT_EQ(r.status, 0);
    Matrix x = random_matrix(8, 4, 6100);
    for (int i = 0; i < 8; ++i) x(i, 1) = 0.0;
    EXPECT_EQ(run_ols(x, random_matrix(8, 1, 6101), -1e-300).status, 0);
}

TEST(OlsCollinearity, TolZeroStopsOnlyOnAnExactlyZeroRemainder)
{
    // Column 3 = column 1 + column 2 leaves a rounding-level remainder, not 0.
    EXPECT_EQ(run_ols(design_with_sum_column(6000), random_matrix(10, 1, 6001), 0.0).status, 0);
    // A repeated column: after the first reflector its remainder is exactly 0
    // only by luck; a column equal to e_1 * 3 after a unit first column is.
    Matrix x(4, 2);
    x.data = {1, 0, 0, 0, 3, 0, 0, 0};
    EXPECT_EQ(run_ols(x, random_matrix(4, 1, 6002), 0.0).status, 2);
}

TEST(OlsCollinearity, TheStopIsRelativeToEachColumnsOwnLength)
{
    // Column 3 = column 1 + column 2 + a remainder of relative size ~1e-9:
    // collinear at tol 1e-7, independent at tol 1e-11, whatever the scaling.
    for (double scale3 : {1.0, 1e-150, 1e150})
        for (double scale1 : {1.0, 1e-100, 1e100}) {
            SCOPED_TRACE(testing::Message() << scale1 << " " << scale3);
            Matrix x = design_with_sum_column(6200);
            Random noise(6201);
            for (int i = 0; i < 10; ++i) x(i, 2) += 1e-9 * noise.uniform();
            for (int i = 0; i < 10; ++i) {
                x(i, 0) *= scale1;
                x(i, 2) *= scale3;
            }
            EXPECT_EQ(run_ols(x, random_matrix(10, 1, 6202), 1e-7).status, 3);
            EXPECT_EQ(run_ols(x, random_matrix(10, 1, 6202), 1e-11).status, 0);
        }
}

TEST(OlsResult, CoefficientsEqualLSAndRotatedResidualsGiveXb)
{
    const Matrix x = random_matrix(10, 3, 6300);
    const Matrix y = random_matrix(10, 1, 6301);
    const OlsRun r = run_ols(x, y, 1e-7);
    ASSERT_EQ(r.status, 0);
    Matrix f = x, ls = y;
    ASSERT_EQ(LS(f.ptr(), f.desc(), ls.ptr(), ls.desc()), 0);
    for (int j = 0; j < 3; ++j) EXPECT_REL_NEAR(r.c(j, 0), ls(j, 0), kTol2);
    // The factorisation is the same Householder QR: R and tau agree with QR.
    Matrix q = x;
    std::vector<double> tau(3);
    ASSERT_EQ(QR(q.ptr(), q.desc(), tau.data()), 0);
    for (int j = 0; j < 3; ++j) {
        EXPECT_REL_NEAR(r.tau[j], tau[j], kTol2);
        for (int i = 0; i <= j; ++i) EXPECT_REL_NEAR(r.a(i, j), q(i, j), kTol2);
    }
    // Elements 4..10 of Q^T y are the residual in the rotated basis.
    double ss = 0;
    for (int i = 3; i < 10; ++i) ss += r.b(i, 0) * r.b(i, 0);
    const double rss = Xb(x.data.data(), Matrix(x).desc(), r.c.data.data(), y.data.data());
    EXPECT_REL_NEAR(ss, rss, kTol2);
}

TEST(OlsResult, HonoursEveryOffset)
{
    const Matrix x = random_matrix(12, 4, 6400), y = random_matrix(12, 1, 6401);
    const OlsRun plain = run_ols(x, y, 1e-7);
    Matrix xs = random_matrix(12, 4, 6400, 12, 8), ys = random_matrix(12, 1, 6401, 12, 8);
    std::fill(xs.data.begin(), xs.data.begin() + 8, NAN);
    std::fill(ys.data.begin(), ys.data.begin() + 8, NAN);
    Matrix cs(4, 1, 4, 8, NAN);
    std::vector<double> tau(4);
    ASSERT_EQ(OLS(xs.ptr(), xs.desc(), ys.ptr(), ys.desc(), cs.ptr(), cs.desc(), tau.data(), 1e-7), 0);
    for (int j = 0; j < 4; ++j) EXPECT_EQ(cs(j, 0), plain.c(j, 0));
    for (int i = 0; i < 8; ++i) EXPECT_TRUE(std::isnan(cs.data[i])) << "C written before its offset";
}

TEST(OlsResult, SeveralRightHandSidesUseTheOverlappingCopy)
{
    // With nrhs = 2 the copy takes n elements from element k-1 of Q^T B into
    // element k-1 of C, k = 1, 2: C's second column starts at C(n-1+1) = c[2]
    // only because ldc = n; the triangular solve then runs on those columns.
    const int m = 7, n = 2;
    const Matrix x = random_matrix(m, n, 6500), y = random_matrix(m, 2, 6501);
    const OlsRun r = run_ols(x, y, 1e-7, n);
    ASSERT_EQ(r.status, 0);
    std::vector<double> c = {r.b.data[0], r.b.data[1], r.b.data[2], -777.0};
    for (int col = 0; col < 2; ++col) {  // back substitution with R, in long double
        long double x1 = c[col * n + 1] / (long double)r.a(1, 1);
        long double x0 = (c[col * n] - (long double)r.a(0, 1) * x1) / r.a(0, 0);
        c[col * n] = static_cast<double>(x0);
        c[col * n + 1] = static_cast<double>(x1);
    }
    for (int i = 0; i < 4; ++i) EXPECT_REL_NEAR(r.c.data[i], c[i], kTol1) << i;
}

TEST(OlsResult, NothingIsComputedWithoutRightHandSidesOrRows)
{
    for (auto [m, n, nrhs] : {std::tuple{6, 3, 0}, {0, 3, 1}, {6, 0, 1}}) {
        SCOPED_TRACE(testing::Message() << m << " " << n << " " << nrhs);
        Matrix x = random_matrix(m, n, 6600, std::max({m, n, 1})), y = random_matrix(m, nrhs, 6601, std::max({m, n, 1}));
        const auto x0 = x.data, y0 = y.data;
        const OlsRun r = run_ols(x, y, 1e-7);
        EXPECT_EQ(r.status, 0);
        EXPECT_TRUE(same_bits(r.a.data, x0));
        EXPECT_TRUE(same_bits(r.b.data, y0));
        for (double v : r.c.data) EXPECT_EQ(v, -777.0);
        for (double v : r.tau) EXPECT_EQ(v, -555.0);
    }
}

TEST(OlsResult, WideDesignReturnsDormqrStatus)
{
    // m < n: the ordered QR factors m columns, then DORMQR is asked for K = n
    // reflectors, more than the m it can apply, and rejects K (its -5). The
    // copy still runs; the triangular solve does not, as the 2 x 3 array holds
    // no 3 x 3 triangle (it would read beyond the matrix).
    Matrix x = random_matrix(2, 3, 6700, 3), y = random_matrix(2, 1, 6701, 3);
    x.data.resize(x.ld * 2 + 2);  // exactly the 2 x 3 matrix: the last column ends at row 2
    testing::internal::CaptureStdout();
    const OlsRun r = run_ols(x, y, 1e-7, 3);
    std::fflush(stdout);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(r.status, -5);
    EXPECT_NE(out.find("DORMQR"), std::string::npos) << out;
    // C is the copy of B's first 3 rows, the NaN padding of its leading dimension included.
    EXPECT_TRUE(same_bits(std::vector<double>(r.c.data.begin(), r.c.data.begin() + 3),
                          std::vector<double>(r.b.data.begin(), r.b.data.begin() + 3)));
}

// Each bad argument: the status, and the routine name the LAPACK error
// handler prints ("DGELSY" for the driver's checks, "DGEQP3" for the
// factorisation's workspace check).
TEST(OlsContract, EveryNegativeStatusAndItsRoutineName)
{
    struct Row {
        const char* what;
        MatrixDescriptor da, db;
        int32_t expected;
        const char* routine;
        const char* parameter;
    };
    const Row rows[] = {
        {"m < 0", {0, 4, -1, 2}, {0, 4, 4, 1}, -1, "DGELSY", "1"},
        {"n < 0", {0, 4, 4, -2}, {0, 4, 4, 1}, -2, "DGELSY", "2"},
        {"nrhs < 0", {0, 4, 4, 2}, {0, 4, 4, -1}, -3, "DGELSY", "3"},
        {"lda < m", {0, 3, 4, 2}, {0, 4, 4, 1}, -5, "DGELSY", "5"},
        {"lda < 1", {0, 0, 0, 2}, {0, 4, 4, 1}, -5, "DGELSY", "5"},
        {"ldb < m", {0, 4, 4, 2}, {0, 3, 4, 1}, -7, "DGELSY", "7"},
        {"ldb < n (wide)", {0, 2, 2, 3}, {0, 2, 2, 1}, -7, "DGELSY", "7"},
        {"ldb < 1 with nrhs = 0", {0, 4, 4, 2}, {0, 0, 4, 0}, -7, "DGELSY", "7"},
        // LWORK (10000) below mn + max(2 mn, n + 1, mn + nrhs) = 1 + 10000.
        {"workspace for nrhs", {0, 1, 1, 1}, {0, 1, 1, 9999}, -12, "DGELSY", "12"},
        // The factorisation's 10000 - mn = 9999 below 3 n + 1 = 10000.
        {"workspace for n", {0, 1, 1, 3333}, {0, 3333, 1, 1}, -8, "DGEQP3", "8"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::vector<double> a(4 * 3333 + 16, 1.0), b(4 * 9999 + 16, 1.0), c(4 * 9999 + 16, -777.0);
        std::vector<double> tau(3333, -555.0);
        const MatrixDescriptor dc{0, 3333, 3333, 1};
        testing::internal::CaptureStdout();
        const int32_t status = OLS(a.data(), &row.da, b.data(), &row.db, c.data(), &dc, tau.data(), 1e-7);
        std::fflush(stdout);
        const std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(status, row.expected);
        EXPECT_NE(out.find(row.routine), std::string::npos) << out;
        // The wording is MKL's ("Parameter 7 was incorrect on entry to DGELSY.",
        // at times "Condition -7 detected in function DGELSY."): only the
        // routine name and the argument number are the library's.
        EXPECT_NE(out.find(row.parameter), std::string::npos) << out;
        for (double v : c) ASSERT_EQ(v, -777.0);
    }
    // One step inside each workspace limit succeeds.
    std::vector<double> a(3332, 1.0), b(3332, 1.0), c(3332), tau(1);
    a[0] = 2.0;
    const MatrixDescriptor da{0, 1, 1, 3332}, db{0, 3332, 1, 1}, dc{0, 3332, 3332, 1};
    EXPECT_EQ(OLS(a.data(), &da, b.data(), &db, c.data(), &dc, tau.data(), -1.0), -5)
        << "fits the workspace; DORMQR then rejects K = n > m";
}

// ---- Xb --------------------------------------------------------------------

TEST(XbBehaviour, ReadsRowsAtStrideLdAndIgnoresOffset)
{
    // Three rows, two columns, ld = 5: rows 3 and 4 are NaN and never read.
    const std::vector<double> x = {1, 2, 3, NAN, NAN, 4, 5, 6, NAN, NAN};
    const double beta[] = {0.5, -1};
    const double y[] = {-3, -4, -5};
    const MatrixDescriptor dx{3, 5, 3, 2};  // the offset is ignored
    // predictions -3.5, -4, -4.5: residuals 0.5, 0, -0.5
    EXPECT_EQ(Xb(x.data(), &dx, beta, y), 0.5);
}

TEST(XbBehaviour, EmptyShapes)
{
    const double x[] = {1, 2}, beta[] = {3}, y[] = {3, -4};
    const MatrixDescriptor no_rows{0, 2, 0, 1}, negative_rows{0, 2, -5, 1};
    EXPECT_EQ(Xb(x, &no_rows, beta, y), 0.0);
    EXPECT_EQ(Xb(x, &negative_rows, beta, y), 0.0);
    const MatrixDescriptor no_cols{0, 2, 2, 0}, negative_cols{0, 2, 2, -1};
    EXPECT_EQ(Xb(x, &no_cols, beta, y), 25.0);
    EXPECT_EQ(Xb(x, &negative_cols, beta, y), 25.0);
}

TEST(XbBehaviour, AgreesWithLongDoubleResidual)
{
    const Matrix x = random_matrix(200, 6, 6800, 203);
    const Matrix beta = random_matrix(6, 1, 6801), y = random_matrix(200, 1, 6802);
    long double rss = 0;
    for (int i = 0; i < 200; ++i) {
        long double f = 0;
        for (int j = 0; j < 6; ++j) f += (long double)x(i, j) * beta(j, 0);
        rss += (y(i, 0) - f) * (y(i, 0) - f);
    }
    EXPECT_REL_NEAR(Xb(x.data.data(), Matrix(x).desc(), beta.data.data(), y.data.data()),
                    static_cast<double>(rss), kTol2);
}

}  // namespace

namespace {

using namespace kcm::test;

}  // namespace
