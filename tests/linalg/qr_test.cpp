// QR, QRP, QR_Q, QR_Qy: scaled residuals ||A P - Q R|| and ||Q^T Q - I|| on
// tall, square and wide seeded matrices, the offset that all four honour, and
// the fixed workspace limit that turns into each routine's own LWORK error.
#include <sys/mman.h>

#include <numeric>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "linalg_support.hpp"

namespace {

using namespace kcm::test;

constexpr int kShapes[][2] = {{30, 8}, {12, 12}, {6, 15}, {200, 40}, {1, 1}, {7, 1}, {1, 5}};

// The upper trapezoid R (min(m, n) x n) of a factored matrix.
Matrix upper_part(const Matrix& f)
{
    const int k = std::min(f.rows, f.cols);
    Matrix r(k, f.cols);
    for (int j = 0; j < f.cols; ++j)
        for (int i = 0; i <= std::min(j, k - 1); ++i) r(i, j) = f(i, j);
    return r;
}

// Explicit m x k Q from a factored matrix: QR_Q on the first k columns
// (for m < n only the first m reflectors exist and Q is square).
Matrix explicit_q(const Matrix& f, std::vector<double>& tau)
{
    const int k = std::min(f.rows, f.cols);
    Matrix q = block(f, f.rows, k);
    EXPECT_EQ(QR_Q(q.ptr(), q.desc(), tau.data()), 0);
    return q;
}

TEST(QRResidual, FactorsReproduceTheMatrix)
{
    for (auto [m, n] : kShapes) {
        SCOPED_TRACE(testing::Message() << m << "x" << n);
        const Matrix a = random_matrix(m, n, 1000 + m * 31 + n, m + 3);
        Matrix f = a;
        std::vector<double> tau(std::min(m, n));
        ASSERT_EQ(QR(f.ptr(), f.desc(), tau.data()), 0);
        const Matrix q = explicit_q(f, tau);
        EXPECT_LT(orthogonality(q), kResidualLimit);
        const double r = difference_norm(multiply(q, false, upper_part(f), false), a);
        EXPECT_LT(scaled_residual(r, frobenius(a), m, n), kResidualLimit);
    }
}

TEST(QRResidual, PivotedFactorsReproduceThePermutedMatrix)
{
    for (auto [m, n] : kShapes) {
        SCOPED_TRACE(testing::Message() << m << "x" << n);
        const Matrix a = random_matrix(m, n, 2000 + m * 31 + n);
        Matrix f = a;
        std::vector<double> tau(std::min(m, n));
        std::vector<int32_t> jpvt(n, 0);
        ASSERT_EQ(QRP(f.ptr(), f.desc(), tau.data(), jpvt.data()), 0);
        std::vector<int32_t> sorted = jpvt, all(n);
        std::sort(sorted.begin(), sorted.end());
        std::iota(all.begin(), all.end(), 1);
        ASSERT_EQ(sorted, all) << "jpvt must be a permutation of 1..n";
        Matrix ap(m, n);
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < m; ++i) ap(i, j) = a(i, jpvt[j] - 1);
        const Matrix q = explicit_q(f, tau);
        const Matrix r = upper_part(f);
        const double res = difference_norm(multiply(q, false, r, false), ap);
        EXPECT_LT(scaled_residual(res, frobenius(a), m, n), kResidualLimit);
        // Pivoting orders |R(i,i)| non-increasingly.
        for (int i = 1; i < std::min(m, n); ++i) EXPECT_LE(std::fabs(r(i, i)), std::fabs(r(i - 1, i - 1)) * (1 + 1e-14));
    }
}

TEST(QRResidual, QyAppliesQAndItsTranspose)
{
    const int m = 25, n = 6;
    const Matrix a = random_matrix(m, n, 3000);
    Matrix f = a;
    std::vector<double> tau(n);
    ASSERT_EQ(QR(f.ptr(), f.desc(), tau.data()), 0);
    const Matrix c = random_matrix(m, 3, 3001, m + 1);
    Matrix qtc = c;
    ASSERT_EQ(QR_Qy(f.ptr(), f.desc(), 1, tau.data(), qtc.ptr(), qtc.desc()), 0);
    Matrix back = qtc;
    ASSERT_EQ(QR_Qy(f.ptr(), f.desc(), 0, tau.data(), back.ptr(), back.desc()), 0);
    EXPECT_LT(scaled_residual(difference_norm(back, c), frobenius(c), m, n), kResidualLimit);
    // Q^T A reproduces R above the diagonal and zeros below.
    Matrix qta = a;
    ASSERT_EQ(QR_Qy(f.ptr(), f.desc(), 7, tau.data(), qta.ptr(), qta.desc()), 0);
    Matrix r(m, n);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) r(i, j) = f(i, j);
    EXPECT_LT(scaled_residual(difference_norm(qta, r), frobenius(a), m, n), kResidualLimit);
}

TEST(QRBehaviour, FiveByThreeThinQAndRecomputedR)
{
    const Matrix a = random_matrix(5, 3, 3100);
    Matrix f = a;
    std::vector<double> tau(3);
    ASSERT_EQ(QR(f.ptr(), f.desc(), tau.data()), 0);
    Matrix q = f;
    ASSERT_EQ(QR_Q(q.ptr(), q.desc(), tau.data()), 0);
    EXPECT_LT(orthogonality(q), kResidualLimit);
    Matrix qta = a;
    ASSERT_EQ(QR_Qy(f.ptr(), f.desc(), 1, tau.data(), qta.ptr(), qta.desc()), 0);
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i <= j; ++i) EXPECT_NEAR(qta(i, j), f(i, j), 1e-15 * 8) << i << "," << j;
}

TEST(QRBehaviour, AllFourHonourTheOffset)
{
    // An offset of 8 doubles keeps the alignment of the data mod 64 bytes:
    // MKL's kernels may round differently on differently aligned data.
    const int m = 9, n = 4, off = 8;
    const Matrix a0 = random_matrix(m, n, 3200, m + 2, 0);
    const Matrix a8 = [&] {
        Matrix s = random_matrix(m, n, 3200, m + 2, off);
        for (int i = 0; i < off; ++i) s.data[i] = NAN;  // before the matrix: never read
        return s;
    }();
    auto run = [&](Matrix a, Matrix c) {
        std::vector<double> tau(n);
        std::vector<int32_t> jpvt(n, 0);
        Matrix p = a;
        EXPECT_EQ(QRP(p.ptr(), p.desc(), tau.data(), jpvt.data()), 0);
        EXPECT_EQ(QR(a.ptr(), a.desc(), tau.data()), 0);
        EXPECT_EQ(QR_Qy(a.ptr(), a.desc(), 1, tau.data(), c.ptr(), c.desc()), 0);
        EXPECT_EQ(QR_Q(a.ptr(), a.desc(), tau.data()), 0);
        return std::vector<std::vector<double>>{
            std::vector<double>(p.data.begin() + p.offset, p.data.end()),
            std::vector<double>(a.data.begin() + a.offset, a.data.end()),
            std::vector<double>(c.data.begin() + c.offset, c.data.end())};
    };
    const auto plain = run(a0, random_matrix(m, 2, 3300, m, 0));
    const auto shifted = run(a8, random_matrix(m, 2, 3300, m, 16));
    for (int k = 0; k < 3; ++k) EXPECT_TRUE(same_bits(plain[k], shifted[k])) << "result " << k;
}

TEST(QRBehaviour, QyTakesMFromTheFactoredMatrix)
{
    const int m = 8, n = 3;
    Matrix f = random_matrix(m, n, 3400);
    std::vector<double> tau(n);
    ASSERT_EQ(QR(f.ptr(), f.desc(), tau.data()), 0);
    Matrix c = random_matrix(m, 2, 3401), c2 = c;
    ASSERT_EQ(QR_Qy(f.ptr(), f.desc(), 1, tau.data(), c.ptr(), c.desc()), 0);
    c2.rows = 3;  // ignored: M is da.rows
    ASSERT_EQ(QR_Qy(f.ptr(), f.desc(), 1, tau.data(), c2.ptr(), c2.desc()), 0);
    EXPECT_EQ(c.data, c2.data);
}

TEST(QRBehaviour, ZeroColumnGoesLastUnderFreePivoting)
{
    Matrix a = random_matrix(6, 4, 3500);
    for (int i = 0; i < 6; ++i) a(i, 1) = 0.0;
    std::vector<double> tau(4);
    std::vector<int32_t> jpvt(4, 0);
    ASSERT_EQ(QRP(a.ptr(), a.desc(), tau.data(), jpvt.data()), 0);
    EXPECT_EQ(jpvt.back(), 2);
}

TEST(QRBehaviour, NonZeroJpvtFixesColumnsUpFront)
{
    Matrix a = random_matrix(6, 4, 3600);
    std::vector<double> tau(4);
    std::vector<int32_t> jpvt = {0, 0, 0, 1};
    ASSERT_EQ(QRP(a.ptr(), a.desc(), tau.data(), jpvt.data()), 0);
    EXPECT_EQ(jpvt.front(), 4);
}

TEST(QRBehaviour, ThinQNeedsRowsAtLeastCols)
{
    Matrix a = random_matrix(3, 5, 3700);
    std::vector<double> tau(3);
    ASSERT_EQ(QR(a.ptr(), a.desc(), tau.data()), 0);
    EXPECT_EQ(QR_Q(a.ptr(), a.desc(), tau.data()), -2);
}

// The workspace is fixed at 10,000 doubles. A problem that needs more gets
// the routine's own LWORK error. The matrices are shaped so that the check
// fails before any data is touched; where a 10001-column square is needed it
// is only reserved address space with no access, so a touch would crash.
TEST(QRBehaviour, FixedWorkspaceLimitIsTheRoutinesLworkError)
{
    {
        Matrix a(1, 10001);  // DGEQRF needs LWORK >= N
        std::vector<double> tau(1);
        EXPECT_EQ(QR(a.ptr(), a.desc(), tau.data()), -7);
        Matrix ok(1, 10000);
        EXPECT_EQ(QR(ok.ptr(), ok.desc(), tau.data()), 0);
    }
    {
        Matrix a(1, 3334);  // DGEQP3 needs LWORK >= 3N + 1
        std::vector<double> tau(1);
        std::vector<int32_t> jpvt(3334, 0);
        EXPECT_EQ(QRP(a.ptr(), a.desc(), tau.data(), jpvt.data()), -8);
        Matrix ok(1, 3333);
        EXPECT_EQ(QRP(ok.ptr(), ok.desc(), tau.data(), jpvt.data()), 0);
    }
    {
        Matrix f = random_matrix(1, 1, 3800);  // DORMQR needs LWORK >= N = dc.cols
        std::vector<double> tau(1);
        ASSERT_EQ(QR(f.ptr(), f.desc(), tau.data()), 0);
        Matrix c(1, 10001);
        EXPECT_EQ(QR_Qy(f.ptr(), f.desc(), 1, tau.data(), c.ptr(), c.desc()), -12);
    }
    {
        constexpr int32_t n = 10001;  // DORGQR needs LWORK >= N, with M >= N
        const size_t bytes = sizeof(double) * n * size_t(n);
        void* space = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        ASSERT_NE(space, MAP_FAILED);
        std::vector<double> tau(n);
        const MatrixDescriptor d{0, n, n, n};
        EXPECT_EQ(QR_Q(static_cast<double*>(space), &d, tau.data()), -8);
        munmap(space, bytes);
    }
}

}  // namespace
