// EigenSymmetric, FullSVD, ThinSVD: scaled residuals ||A Z - Z diag(w)|| and
// ||A - U S V^T|| with orthogonality of the vectors, mpmath eigenvalues and
// singular values, and the behaviour of the wrappers (lower triangle only,
// null z, the LDZ of the query, ignored offsets, output shapes).
#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "linalg_support.hpp"
#include "support/numeric.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace kcm::test;

// Eigenvalues and singular values are perfectly conditioned in the absolute
// sense: a backward-stable method is within a small multiple of
// eps * ||A||_2 * n of the exact values. Worst errors measured against the
// mpmath table: 11 eps ||A|| for the eigenvalues (DSYEVR, 5x5) and 2 eps ||A||
// for the singular values; the limit is 8 n eps ||A||.
constexpr double kSpectrumTolerancePerOrder = 8 * kEps;

Matrix random_symmetric(int n, uint64_t seed)
{
    Matrix a = random_matrix(n, n, seed);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < j; ++i) a(i, j) = a(j, i);
    return a;
}

struct Eigen {
    int32_t info, m;
    std::vector<double> w;
    Matrix z;
};

Eigen eigen(Matrix a, bool vectors, int32_t ldz = 0)
{
    const int n = a.cols;
    Eigen e{-999, -999, std::vector<double>(std::max(n, 1), NAN), Matrix(n, n, ldz, 0, NAN)};
    e.info = EigenSymmetric(a.at00(), a.desc(), e.w.data(), &e.m, vectors ? e.z.at00() : nullptr,
                            e.z.desc());
    return e;
}

TEST(SpectrumReference, EigenvaluesAndSingularValuesAgreeWithMpmath)
{
    const ReferenceTable table("linalg_mpmath.csv");
    for (const auto& row : table.rows()) {
        const std::string kind = row.str("kind");
        if (kind == "lstsq") continue;
        SCOPED_TRACE(row.where());
        const int m = static_cast<int>(row.num("rows")), n = static_cast<int>(row.num("cols"));
        const auto avals = parse_list(row.str("a")), expected = parse_list(row.str("expected"));
        Matrix a(m, n);
        std::copy(avals.begin(), avals.end(), a.data.begin());
        std::vector<double> got;
        double norm2 = 0;
        if (kind == "eigsy") {
            got = eigen(a, true).w;
            for (double v : expected) norm2 = std::max(norm2, std::fabs(v));
        } else {
            std::vector<double> s(std::min(m, n));
            Matrix u(m, std::min(m, n)), vt(std::min(m, n), n);
            ASSERT_EQ(ThinSVD(a.at00(), a.desc(), s.data(), u.at00(), u.desc(), vt.at00(), vt.desc()), 0);
            got = s;
            norm2 = expected.front();
        }
        ASSERT_EQ(got.size(), expected.size());
        for (size_t k = 0; k < got.size(); ++k)
            EXPECT_NEAR(got[k], expected[k], kSpectrumTolerancePerOrder * std::max(m, n) * norm2) << k;
    }
}

TEST(EigenResidual, DecompositionAndOrthonormalVectors)
{
    for (int n : {1, 2, 9, 60, 150}) {
        SCOPED_TRACE(n);
        const Matrix a = random_symmetric(n, 7000 + n);
        const Eigen e = eigen(a, true, n + 3);
        ASSERT_EQ(e.info, 0);
        EXPECT_EQ(e.m, n);
        EXPECT_TRUE(std::is_sorted(e.w.begin(), e.w.begin() + n));
        Matrix z = block(e.z, n, n), zw = z;
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i) zw(i, j) *= e.w[j];
        const double r = difference_norm(multiply(a, false, z, false), zw);
        EXPECT_LT(scaled_residual(r, frobenius(a), n, n), kResidualLimit);
        EXPECT_LT(orthogonality(z), kResidualLimit);
    }
}

TEST(EigenBehaviour, NullZGivesTheSameValuesAndNeedsAValidLdz)
{
    const Matrix a = random_symmetric(7, 7100);
    const Eigen with = eigen(a, true), without = eigen(a, false);
    EXPECT_EQ(without.info, 0);
    EXPECT_EQ(without.m, 7);
    const double norm2 = std::max(std::fabs(with.w.front()), std::fabs(with.w.back()));
    for (int k = 0; k < 7; ++k) EXPECT_NEAR(without.w[k], with.w[k], kSpectrumTolerancePerOrder * 7 * norm2);
    // The workspace query always asks for vectors: LDZ must be >= n.
    for (bool vectors : {false, true}) {
        SCOPED_TRACE(vectors);
        Matrix b = a;
        std::vector<double> w(7, NAN);
        int32_t m = -999;
        const MatrixDescriptor dz{0, 0, 7, 7};
        std::vector<double> z(49, NAN);
        EXPECT_EQ(EigenSymmetric(b.at00(), b.desc(), w.data(), &m, vectors ? z.data() : nullptr, &dz), -15);
        EXPECT_TRUE(same_bits(b.data, a.data)) << "the query fails before touching A";
    }
}

TEST(EigenBehaviour, ReadsOnlyTheLowerTriangleAndIgnoresOffsets)
{
    const Matrix a = random_symmetric(6, 7200);
    const Eigen clean = eigen(a, true);
    Matrix g = a;
    for (int j = 0; j < 6; ++j)
        for (int i = 0; i < j; ++i) g(i, j) = NAN;
    std::vector<double> w(6);
    Matrix z(6, 6);
    int32_t m = 0;
    const MatrixDescriptor da{11, 6, 0, 6}, dz{13, 6, 1, 1};  // offset, rows ignored
    ASSERT_EQ(EigenSymmetric(g.at00(), &da, w.data(), &m, z.at00(), &dz), 0);
    EXPECT_EQ(w, clean.w);
    EXPECT_EQ(z.data, clean.z.data);
}

TEST(EigenBehaviour, NonFiniteEntriesGiveEigenvaluesOnlyAndNaNVectors)
{
    // The eigenvector iteration would never end on these; the call returns,
    // the eigenvalues are whatever the value-only solver makes of the matrix,
    // and every eigenvector entry is NaN.
    for (const double bad : {NAN, INFINITY, -INFINITY}) {
        SCOPED_TRACE(bad);
        Matrix a = random_symmetric(5, 7300);
        a(3, 1) = bad;
        std::vector<double> w(5, 0.0);
        Matrix z(5, 5, 6, 0, 1.0);
        int32_t m = -1;
        const int32_t info = EigenSymmetric(a.at00(), a.desc(), w.data(), &m, z.at00(), z.desc());
        EXPECT_GE(info, 0);
        for (int j = 0; j < 5; ++j)
            for (int i = 0; i < 5; ++i) EXPECT_TRUE(std::isnan(z(i, j)));
        EXPECT_EQ(z.data[5], 1.0) << "the spare row of the leading dimension is not written";
    }
}

// ---- SVD -------------------------------------------------------------------

struct Svd {
    int32_t info;
    std::vector<double> s;
    Matrix u, vt;
};

// u and vt get one spare row and column of NaN around what the routine
// should fill, to show its shape.
Svd svd(Matrix a, bool full)
{
    const int m = a.rows, n = a.cols, k = std::min(m, n);
    const int ucols = full ? m : k, vrows = full ? n : k;
    Svd r{-999, std::vector<double>(k, NAN), Matrix(m, ucols + 1, m + 1, 0, NAN),
          Matrix(vrows, n + 1, vrows + 1, 0, NAN)};
    r.u.cols = ucols;
    r.vt.cols = n;
    r.info = (full ? FullSVD : ThinSVD)(a.at00(), a.desc(), r.s.data(), r.u.at00(), r.u.desc(),
                                        r.vt.at00(), r.vt.desc());
    return r;
}

TEST(SvdResidual, ThinAndFullReproduceTheMatrix)
{
    for (auto [m, n] : {std::pair{30, 8}, {12, 12}, {6, 15}, {1, 1}, {120, 45}, {40, 120}}) {
        for (bool full : {false, true}) {
            if (full && std::max(m, n) > 50) continue;  // beyond the fixed workspace
            SCOPED_TRACE(testing::Message() << m << "x" << n << (full ? " full" : " thin"));
            const Matrix a = random_matrix(m, n, 8000 + m * 7 + n);
            const Svd r = svd(a, full);
            ASSERT_EQ(r.info, 0);
            const int k = std::min(m, n);
            EXPECT_TRUE(std::is_sorted(r.s.rbegin(), r.s.rend()));
            const Matrix u = block(r.u, m, full ? m : k), vt = block(r.vt, full ? n : k, n);
            EXPECT_LT(orthogonality(u), kResidualLimit);
            EXPECT_LT(orthogonality(transpose(vt)), kResidualLimit);
            Matrix us = block(u, m, k);
            for (int j = 0; j < k; ++j)
                for (int i = 0; i < m; ++i) us(i, j) *= r.s[j];
            const double res = difference_norm(multiply(us, false, block(vt, k, n), false), a);
            EXPECT_LT(scaled_residual(res, frobenius(a), m, n), kResidualLimit);
        }
    }
}

TEST(SvdBehaviour, SixByThreeShapes)
{
    const Matrix a = random_matrix(6, 3, 8100);
    const Svd thin = svd(a, false), full = svd(a, true);
    ASSERT_EQ(thin.info, 0);
    ASSERT_EQ(full.info, 0);
    // Thin: U 6x3 and VT 3x3 filled; the spare row and column stay NaN.
    for (int i = 0; i < 6; ++i) {
        for (int j = 0; j < 3; ++j) EXPECT_FALSE(std::isnan(thin.u(i, j)));
        EXPECT_TRUE(std::isnan(thin.u(i, 3)));
    }
    for (int j = 0; j < 3; ++j) EXPECT_TRUE(std::isnan(thin.u(6, j)));
    // Full: U 6x6.
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j) EXPECT_FALSE(std::isnan(full.u(i, j)));
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(thin.s[k], full.s[k], 16 * kEps * full.s[0]);
}

TEST(SvdBehaviour, NonFiniteEntriesAreReportedAsNotConverged)
{
    // DGESDD would never return on these: INFO 1, NaN values and vectors in
    // their shapes, the spare row of each leading dimension untouched.
    for (const bool full : {false, true}) {
        SCOPED_TRACE(full);
        Matrix a(2, 7, 3, 0, 0.0);
        a(0, 0) = NAN;
        a(1, 0) = -INFINITY;
        const int vtrows = full ? 7 : 2;
        std::vector<double> s(2, 7.0);
        Matrix u(2, 2, 3, 0, 7.0), vt(vtrows, 7, vtrows + 1, 0, 7.0);
        const int32_t info = (full ? FullSVD : ThinSVD)(a.at00(), a.desc(), s.data(), u.at00(),
                                                        u.desc(), vt.at00(), vt.desc());
        EXPECT_EQ(info, 1);
        for (double v : s) EXPECT_TRUE(std::isnan(v));
        for (int j = 0; j < 2; ++j) {
            for (int i = 0; i < 2; ++i) EXPECT_TRUE(std::isnan(u(i, j)));
            EXPECT_EQ(u(2, j), 7.0);
        }
        for (int j = 0; j < 7; ++j) {
            for (int i = 0; i < vtrows; ++i) EXPECT_TRUE(std::isnan(vt(i, j)));
            EXPECT_EQ(vt(vtrows, j), 7.0);
        }
    }
    // The argument checks still come first.
    Matrix a(2, 7, 3, 0, NAN);
    a.ld = 1;
    EXPECT_EQ(svd(a, false).info, -5);
}

TEST(SvdBehaviour, OffsetsAreIgnored)
{
    const Matrix a = random_matrix(5, 4, 8200);
    const Svd plain = svd(a, false);
    Matrix b = a;
    std::vector<double> s(4);
    Matrix u(5, 4), vt(4, 4);
    const MatrixDescriptor da{3, 5, 5, 4}, du{7, 5, 0, 0}, dvt{9, 4, 0, 0};
    ASSERT_EQ(ThinSVD(b.at00(), &da, s.data(), u.at00(), &du, vt.at00(), &dvt), 0);
    EXPECT_EQ(s, plain.s);
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 5; ++i) EXPECT_EQ(u(i, j), plain.u(i, j));
}

TEST(SvdBehaviour, FullSvdBeyondTheFixedWorkspaceIsDgesddLworkError)
{
    // DGESDD with all vectors needs on the order of 3n^2 doubles: 60x60 is
    // beyond 10,000; ThinSVD sizes its own workspace and succeeds.
    const Matrix a = random_matrix(60, 60, 8300);
    EXPECT_EQ(svd(a, true).info, -12);
    EXPECT_EQ(svd(a, false).info, 0);
}

TEST(SvdBehaviour, IllegalArgumentsComeBackAsLapackInfo)
{
    Matrix a = random_matrix(4, 3, 8400);
    std::vector<double> s(3), u(16), vt(9);
    const MatrixDescriptor bad_lda{0, 3, 4, 3}, du{0, 4, 4, 4}, dvt{0, 3, 3, 3};
    EXPECT_EQ(ThinSVD(a.at00(), &bad_lda, s.data(), u.data(), &du, vt.data(), &dvt), -5);
    EXPECT_EQ(FullSVD(a.at00(), &bad_lda, s.data(), u.data(), &du, vt.data(), &dvt), -5);
    const MatrixDescriptor da{0, 4, 4, 3}, bad_ldu{0, 3, 4, 4};
    EXPECT_EQ(ThinSVD(a.at00(), &da, s.data(), u.data(), &bad_ldu, vt.data(), &dvt), -8);
}

}  // namespace
