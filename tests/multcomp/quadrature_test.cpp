// The 48-point Gauss-Legendre and Gauss-Hermite tables: their sums, the low
// moments they must integrate exactly, and the table order the outer and
// inner sums rely on. A mistyped or truncated digit fails here first.
#include <cmath>

#include <gtest/gtest.h>

#include "multcomp/quadrature.hpp"
#include "support/numeric.hpp"

namespace {

using namespace kcm::test;
using kcm::multcomp::kHermiteNode;
using kcm::multcomp::kHermiteWeight;
using kcm::multcomp::kLegendreNode;
using kcm::multcomp::kLegendreWeight;
using kcm::multcomp::kRuleSize;

constexpr double kSqrtPi = 1.7724538509055160273;

double legendre_moment(int j)
{
    double sum = 0;
    for (int i = 0; i < kRuleSize; ++i) sum += kLegendreWeight[i] * std::pow(kLegendreNode[i], j);
    return sum;
}

double hermite_moment(int j)
{
    double sum = 0;
    for (int i = 0; i < kRuleSize; ++i) sum += kHermiteWeight[i] * std::pow(kHermiteNode[i], j);
    return sum;
}

TEST(QuadratureTables, WeightsSumToTheMeasure)
{
    // 48 positive terms of similar size: a few ulps of rounding.
    EXPECT_REL_NEAR(legendre_moment(0), 2.0, kTol1);
    EXPECT_REL_NEAR(hermite_moment(0), kSqrtPi, kTol1);
}

TEST(QuadratureTables, LowPowersIntegrateExactly)
{
    // Even powers: int_{-1}^{1} x^j dx = 2/(j+1); int x^j e^{-x^2} dx = Gamma((j+1)/2).
    // Rung kTol2: the sums of x^j w over 48 nodes round at each term, and the
    // largest Hermite terms (x ~ 9) dominate cancellation-free sums of growing
    // range; one wrong digit in the 8th place misses by 1e-8.
    for (int j = 2; j <= 20; j += 2) {
        SCOPED_TRACE(j);
        EXPECT_REL_NEAR(legendre_moment(j), 2.0 / (j + 1), kTol2);
        EXPECT_REL_NEAR(hermite_moment(j), std::tgamma((j + 1) / 2.0), kTol2);
    }
    // Odd powers vanish by symmetry, to the rounding of the sum in table
    // order relative to the size of its terms (the even moment of order j+1
    // bounds sum |w x^j| within a factor of the largest node).
    for (int j = 1; j <= 19; j += 2) {
        SCOPED_TRACE(j);
        EXPECT_NEAR(legendre_moment(j), 0.0, kTol1 * 2);
        EXPECT_NEAR(hermite_moment(j), 0.0, kTol1 * std::tgamma((j + 2) / 2.0) * 9);
    }
}

TEST(QuadratureTables, HighDegreeStillExact)
{
    // A 48-point Gauss rule is exact to degree 95; degree 60 separates it
    // from any smaller or perturbed rule.
    EXPECT_REL_NEAR(legendre_moment(60), 2.0 / 61, kTol3);
    EXPECT_REL_NEAR(hermite_moment(60), std::tgamma(30.5), kTol3);
}

TEST(QuadratureTables, TableOrder)
{
    // Legendre: 24 positive nodes from the largest down, then their negatives
    // in the same order. Hermite: all nodes from the largest down.
    EXPECT_EQ(kLegendreNode[0], 0.9987710072524261);
    EXPECT_EQ(kLegendreNode[23], 0.03238017096286936);
    EXPECT_EQ(kHermiteNode[0], 8.975315081931686);
    for (int i = 0; i < kRuleSize / 2; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(kLegendreNode[i + 24], -kLegendreNode[i]);
        EXPECT_EQ(kLegendreWeight[i + 24], kLegendreWeight[i]);
        EXPECT_EQ(kHermiteNode[kRuleSize - 1 - i], -kHermiteNode[i]);
        EXPECT_EQ(kHermiteWeight[kRuleSize - 1 - i], kHermiteWeight[i]);
        if (i > 0) {
            EXPECT_LT(kLegendreNode[i], kLegendreNode[i - 1]);
            EXPECT_LT(kHermiteNode[i], kHermiteNode[i - 1]);
        }
    }
    EXPECT_GT(kHermiteNode[23], 0.0);
}

}  // namespace
