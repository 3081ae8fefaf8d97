// Cholesky, CholeskySolve, SolveTriangularSystem: scaled residuals on seeded
// random matrices, and the behaviour table of the wrappers (option letters,
// ignored offset and rows, INFO passed through).
#include <dirent.h>

#include <cmath>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "linalg_support.hpp"

namespace {

using namespace kcm::test;

// The lower factor L of a, with the strictly upper triangle zeroed.
Matrix lower_factor(const Matrix& a)
{
    Matrix l(a.cols, a.cols);
    for (int j = 0; j < a.cols; ++j)
        for (int i = j; i < a.cols; ++i) l(i, j) = a(i, j);
    return l;
}

TEST(CholeskyResidual, FactorReproducesTheMatrix)
{
    for (int n : {1, 2, 7, 40, 150}) {
        SCOPED_TRACE(n);
        const Matrix a = random_spd(n, 100 + n);
        Matrix f = a;
        ASSERT_EQ(Cholesky(0, f.at00(), f.desc()), 0);
        const Matrix l = lower_factor(f);
        const double r = difference_norm(multiply(l, false, l, true), a);
        EXPECT_LT(scaled_residual(r, frobenius(a), n, n), kResidualLimit);
    }
}

TEST(CholeskyResidual, SolveLeavesASmallResidual)
{
    for (auto [n, nrhs] : {std::pair{5, 1}, {30, 3}, {120, 7}}) {
        SCOPED_TRACE(testing::Message() << n << "x" << nrhs);
        const Matrix a = random_spd(n, 200 + n);
        const Matrix b = random_matrix(n, nrhs, 300 + n, n + 2);
        Matrix f = a, x = b;
        ASSERT_EQ(Cholesky(0, f.at00(), f.desc()), 0);
        ASSERT_EQ(CholeskySolve(0, f.at00(), f.desc(), x.at00(), x.desc()), 0);
        // ||A X - B|| / (||A|| ||X|| eps n), as dpot02.f.
        const double r = difference_norm(multiply(a, false, x, false), b);
        EXPECT_LT(scaled_residual(r, frobenius(a) * frobenius(x), n, n), kResidualLimit);
    }
}

TEST(CholeskyBehaviour, LowerFactorKeepsTheCallersUpperTriangle)
{
    // A = L L^T with L = [2 0 0; 1 2 0; 1 1 2], all exact in binary.
    Matrix a(3, 3);
    a.data = {4, 2, 2, 91, 5, 3, 92, 93, 6};  // 91..93: caller's upper triangle
    ASSERT_EQ(Cholesky(0, a.at00(), a.desc()), 0);
    const std::vector<double> expected = {2, 1, 1, 91, 2, 1, 92, 93, 2};
    EXPECT_EQ(a.data, expected);
}

TEST(CholeskyBehaviour, NonzeroUpperIsRejectedAndTouchesNothing)
{
    // The upper option letter is "A", which LAPACK rejects as argument 1.
    for (int32_t upper : {1, 2, -1, 0x7fffffff}) {
        SCOPED_TRACE(upper);
        Matrix a = random_spd(4, 7), b = random_matrix(4, 2, 8);
        const auto a0 = a.data, b0 = b.data;
        EXPECT_EQ(Cholesky(upper, a.at00(), a.desc()), -1);
        EXPECT_EQ(CholeskySolve(upper, a.at00(), a.desc(), b.at00(), b.desc()), -1);
        EXPECT_TRUE(same_bits(a.data, a0));
        EXPECT_TRUE(same_bits(b.data, b0));
    }
}

TEST(CholeskyBehaviour, NotPositiveDefiniteReportsTheLeadingMinor)
{
    // Leading 2x2 minor [1 2; 2 1] has determinant -3.
    Matrix a(3, 3);
    a.data = {1, 2, 0, 2, 1, 0, 0, 0, 1};
    EXPECT_EQ(Cholesky(0, a.at00(), a.desc()), 2);
    Matrix c(3, 3);
    c.data = {1, 0, 0, 0, 1, 0, 0, 0, -1};
    EXPECT_EQ(Cholesky(0, c.at00(), c.desc()), 3);
}

TEST(CholeskyBehaviour, OffsetAndRowsAreIgnored)
{
    const Matrix a = random_spd(5, 11);
    Matrix plain = a;
    ASSERT_EQ(Cholesky(0, plain.at00(), plain.desc()), 0);
    for (MatrixDescriptor d : {MatrixDescriptor{7, 5, 5, 5}, {0, 5, 1, 5}, {3, 5, -4, 5}, {0, 5, 0, 5}}) {
        SCOPED_TRACE(testing::Message() << "offset " << d.offset << " rows " << d.rows);
        Matrix f = a;
        EXPECT_EQ(Cholesky(0, f.at00(), &d), 0);
        EXPECT_EQ(f.data, plain.data);
        Matrix b = random_matrix(5, 2, 12), bp = b;
        MatrixDescriptor db = *b.desc();
        db.offset = d.offset;
        db.rows = d.rows;
        EXPECT_EQ(CholeskySolve(0, f.at00(), &d, b.at00(), &db), 0);
        EXPECT_EQ(CholeskySolve(0, plain.at00(), plain.desc(), bp.at00(), bp.desc()), 0);
        EXPECT_EQ(b.data, bp.data);
    }
}

TEST(CholeskyBehaviour, IllegalArgumentsComeBackAsLapackInfo)
{
    Matrix a = random_spd(4, 13), b = random_matrix(4, 1, 14);
    MatrixDescriptor d = *a.desc();
    d.ld = 3;  // LDA < N
    EXPECT_EQ(Cholesky(0, a.at00(), &d), -4);
    d = *a.desc();
    d.cols = -1;
    EXPECT_EQ(Cholesky(0, a.at00(), &d), -2);
    MatrixDescriptor db = *b.desc();
    db.cols = -2;  // NRHS
    EXPECT_EQ(CholeskySolve(0, a.at00(), a.desc(), b.at00(), &db), -3);
    db = *b.desc();
    db.ld = 2;  // LDB < N
    EXPECT_EQ(CholeskySolve(0, a.at00(), a.desc(), b.at00(), &db), -7);
}

// The test environment has called DisableMKLThreading, so a factorisation big
// enough for MKL's threaded kernels (which, left alone, start OpenMP threads
// that stay for the life of the process) starts no thread at all.
int threads_in_process()
{
    int count = 0;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (const dirent* entry = readdir(dir)) count += entry->d_name[0] != '.';
        closedir(dir);
    }
    return count;
}

TEST(MklThreading, DisabledMeansNoThreadIsStarted)
{
    DisableMKLThreading();  // a second call is harmless
    const int before = threads_in_process();
    ASSERT_GE(before, 1);
    Matrix a = random_spd(1000, 7);
    EXPECT_EQ(Cholesky(0, a.at00(), a.desc()), 0);
    EXPECT_EQ(threads_in_process(), before);
}

// ---- SolveTriangularSystem -------------------------------------------------

// A well-conditioned triangle: random entries, a dominant diagonal, and NaN in
// the other triangle, which must never be read.
Matrix random_triangle(int n, bool upper, uint64_t seed)
{
    Matrix t = random_matrix(n, n, seed);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            if (i == j) t(i, j) = 2.0 + std::fabs(t(i, j)) * n / 4;
            else if ((i < j) != upper) t(i, j) = NAN;
        }
    return t;
}

Matrix clean_triangle(const Matrix& t, bool upper)
{
    Matrix c = t;
    for (int j = 0; j < t.cols; ++j)
        for (int i = 0; i < t.rows; ++i)
            if (i != j && (i < j) != upper) c(i, j) = 0;
    return c;
}

TEST(TriangularResidual, AllFourForms)
{
    for (int upper : {0, 1})
        for (int transpose : {0, 1})
            for (int n : {1, 6, 90}) {
                SCOPED_TRACE(testing::Message() << "upper " << upper << " transpose " << transpose
                                                << " n " << n);
                const Matrix t = random_triangle(n, upper, 400 + n);
                const Matrix b = random_matrix(n, 3, 500 + n);
                Matrix x = b, tt = t;
                ASSERT_EQ(SolveTriangularSystem(tt.at00(), tt.desc(), upper, transpose,
                                                x.at00(), x.desc()),
                          0);
                EXPECT_TRUE(same_bits(tt.data, t.data)) << "A must not change";
                const Matrix c = clean_triangle(t, upper);
                const double r = difference_norm(multiply(c, transpose, x, false), b);
                EXPECT_LT(scaled_residual(r, frobenius(c) * frobenius(x), n, n), kResidualLimit);
            }
}

TEST(TriangularBehaviour, ZeroDiagonalReportsItsIndexAndLeavesB)
{
    for (int k : {1, 3, 5}) {
        for (int upper : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "k " << k << " upper " << upper);
            Matrix t = random_triangle(5, upper, 600 + k);
            t(k - 1, k - 1) = 0.0;
            Matrix b = random_matrix(5, 2, 700);
            const auto b0 = b.data;
            EXPECT_EQ(SolveTriangularSystem(t.at00(), t.desc(), upper, 0, b.at00(), b.desc()), k);
            EXPECT_TRUE(same_bits(b.data, b0));
        }
    }
}

TEST(TriangularBehaviour, UpperTriangleIsATrueU)
{
    // Unlike Cholesky, a nonzero upper flag solves with the upper triangle.
    Matrix t(2, 2);
    t.data = {2, NAN, 1, 4};  // [2 1; . 4]
    Matrix b(2, 1);
    b.data = {5, 8};
    ASSERT_EQ(SolveTriangularSystem(t.at00(), t.desc(), 7, 0, b.at00(), b.desc()), 0);
    EXPECT_EQ(b.data, (std::vector<double>{1.5, 2}));
}

TEST(TriangularBehaviour, OffsetAndRowsAreIgnored)
{
    const Matrix t = random_triangle(4, true, 800);
    const Matrix b = random_matrix(4, 2, 801);
    Matrix x0 = b, t0 = t;
    ASSERT_EQ(SolveTriangularSystem(t0.at00(), t0.desc(), 1, 1, x0.at00(), x0.desc()), 0);
    Matrix x = b, tt = t;
    const MatrixDescriptor da{9, 4, 0, 4}, db{5, 4, 1, 2};
    ASSERT_EQ(SolveTriangularSystem(tt.at00(), &da, 1, 1, x.at00(), &db), 0);
    EXPECT_EQ(x.data, x0.data);
}

}  // namespace
