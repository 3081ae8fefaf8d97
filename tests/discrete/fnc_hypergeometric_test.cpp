// Fisher's noncentral hypergeometric distribution: BiasedUrn and R phyper
// reference tables, identities, and the edge cases of the table-based
// algorithm.
#include <cerrno>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "support/numeric.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace kcm::test;

// The distribution function is a table sum cut where terms fall below
// accuracy * 0.001 of the mode's and limited to (i + 6) approximate standard
// deviations, i chosen so that the two normal tails beyond hold less than the
// accuracy. So the absolute error is a small multiple of the accuracy
// argument (the table's tolerance column, 5 * accuracy; the generator says
// why); where that is finer than the rounding, the recursion's ~eps per term
// over a few thousand terms allows kTol5 relative. Quantiles must match
// exactly (the generator leaves out p within 1e3 * accuracy of a step).
// Moments: tolerances from the 1e-9 stopping rule and the log-factorial
// rounding of the urn, per row (see the generator).
TEST(FncReference, AgreesWithBiasedUrnAndPhyper)
{
    const ReferenceTable table("fnc_hypergeometric.csv");
    int cdf = 0, icdf = 0, moments = 0;
    double worst_cdf = 0, worst_mean = 0, worst_var = 0;
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        const std::string& fn = row.str("function");
        const auto n = int32_t(row.num("n")), m = int32_t(row.num("m")), N = int32_t(row.num("N"));
        const double odds = row.num("odds"), accuracy = row.num("accuracy");
        const auto upper = static_cast<unsigned char>(row.num("upper"));
        const double expected = row.num("expected");
        errno = 0;
        if (fn == "CDF") {
            ++cdf;
            const double v = FNCHypergeometricCDF(int32_t(row.num("x")), n, m, N, odds, upper, accuracy);
            const double diff = std::fabs(v - expected);
            if (relative_error(v, expected) > kTol5) {
                EXPECT_LE(diff, row.num("tolerance")) << v << " vs " << expected;
            }
            worst_cdf = std::max(worst_cdf, diff / accuracy);
        } else if (fn == "ICDF") {
            ++icdf;
            EXPECT_EQ(FNCHypergeometricICDF(row.num("x"), n, m, N, odds, upper, accuracy), expected);
        } else if (fn == "Moments") {
            ++moments;
            double mean = -1, variance = -1;
            FNCHypergeometricMoments(n, m, N, odds, &mean, &variance);
            EXPECT_NEAR(mean, expected, row.num("tolerance"));
            EXPECT_NEAR(variance, row.num("expected2"), row.num("tolerance2"));
            worst_mean = std::max(worst_mean, std::fabs(mean - expected) / row.num("tolerance"));
            worst_var =
                std::max(worst_var, std::fabs(variance - row.num("expected2")) / row.num("tolerance2"));
        } else {
            ADD_FAILURE() << "unknown function " << fn;
        }
        EXPECT_EQ(errno, 0);
    }
    std::printf("  %d CDF rows: worst |error| / accuracy %.3g\n", cdf, worst_cdf);
    std::printf("  %d ICDF rows; %d moment rows: worst error / tolerance mean %.3g, variance %.3g\n",
                icdf, moments, worst_mean, worst_var);
}

// ---- Identities -------------------------------------------------------------

TEST(FncIdentities, SwappingMarkedAndUnmarkedInvertsTheOdds)
{
    // If X ~ (n, m, N, w) then n - X ~ (n, N - m, N, 1/w):
    // P(X <= x) = P(n - X >= n - x) = P(Y > n - x - 1).
    struct Urn { int32_t n, m, N; double odds; };
    for (const Urn u : {Urn{20, 30, 60, 3.0}, Urn{400, 300, 1000, 0.4}, Urn{1500, 2000, 5000, 1.7}}) {
        const double mean = u.m * (u.n / double(u.N));
        for (int32_t x = int32_t(mean) - 20; x <= int32_t(mean) + 20; x += 5) {
            SCOPED_TRACE(testing::Message() << u.n << " " << u.m << " " << u.N << " x " << x);
            const double p = FNCHypergeometricCDF(x, u.n, u.m, u.N, u.odds, 0, 1e-13);
            const double q = FNCHypergeometricCDF(u.n - x - 1, u.n, u.N - u.m, u.N, 1 / u.odds, 1, 1e-13);
            EXPECT_NEAR(p, q, 1e-12);
        }
    }
}

TEST(FncIdentities, OddsOneIsTheCentralHypergeometric)
{
    // Against the library's own central hypergeometric (Boost): m marked of
    // N, n drawn is (r = m, n, N).
    for (int32_t x = 0; x <= 40; x += 4) {
        SCOPED_TRACE(x);
        EXPECT_NEAR(FNCHypergeometricCDF(x, 40, 70, 150, 1.0, 0, 1e-13),
                    HypergeometricCDF(x, 70, 40, 150, 0), 1e-13);
        EXPECT_NEAR(FNCHypergeometricCDF(x, 40, 70, 150, 1.0, 1, 1e-13),
                    HypergeometricCDF(x, 70, 40, 150, 1), 1e-13);
    }
    double mean = 0, variance = 0;
    FNCHypergeometricMoments(40, 70, 150, 1.0, &mean, &variance);
    EXPECT_NEAR(mean, 40 * 70 / 150.0, 1e-9);
    EXPECT_NEAR(variance, 40 * (70 / 150.0) * (80 / 150.0) * (110 / 149.0), 1e-7);
}

TEST(FncIdentities, QuantileInvertsTheDistributionFunction)
{
    for (int32_t x = 10; x <= 30; ++x) {
        SCOPED_TRACE(x);
        const double p = FNCHypergeometricCDF(x, 40, 70, 150, 2.5, 0, 1e-13);
        const double q = FNCHypergeometricCDF(x, 40, 70, 150, 2.5, 1, 1e-13);
        // A little inside the step, so that the different order of summation
        // cannot tip the search to the neighbour.
        EXPECT_EQ(FNCHypergeometricICDF(p * (1 - 1e-9), 40, 70, 150, 2.5, 0, 1e-13), x);
        EXPECT_EQ(FNCHypergeometricICDF(q * (1 + 1e-9), 40, 70, 150, 2.5, 1, 1e-13), x);
        EXPECT_NEAR(p + q, 1.0, 4 * kEps);
    }
}

// The distribution function sums each tail from its own end of the table and
// forms only the tail holding the approximate mean as 1 - the other, so a far
// tail keeps its relative precision: 1 - P would leave ~1e-16 absolute, all of
// a 1e-14 tail. Exact rational values (tests/gen/fnc_exact_tails.py) for
// 40 drawn from 150 with 70 marked, w = 2.5 (mean about 25). An accuracy of
// 1e-20 tabulates the whole support, so only the rounding of the ratio
// recursion and the sums over some 40 terms remains (2 ulps measured): kTol2.
TEST(FncIdentities, EachTailIsSummedFromItsOwnEnd)
{
    struct Row {
        int32_t x;
        unsigned char upper;
        double expected;
    };
    const Row rows[] = {
        {0, 0, 4.2212687803785766e-23},
        {5, 0, 2.7918226607288718e-14},
        {8, 0, 1.3366300844259192e-10},
        {12, 0, 8.450527352325337e-07},
        {35, 1, 1.6205309007299093e-05},
        {38, 1, 7.602328941765246e-09},
        {39, 1, 1.7976521525150465e-10},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << "x " << r.x << " upper " << int(r.upper));
        EXPECT_REL_NEAR(FNCHypergeometricCDF(r.x, 40, 70, 150, 2.5, r.upper, 1e-20), r.expected, kTol2);
    }
}

// ---- Edge cases ---------------------------------------------------------------

TEST(FncEdges, EmptySampleIsCertainlyZero)
{
    for (int32_t x : {0, 1, 5, 1000}) {
        SCOPED_TRACE(x);
        EXPECT_EQ(FNCHypergeometricCDF(x, 0, 30, 60, 2.0, 0, 1e-10), 1.0);
        EXPECT_EQ(FNCHypergeometricCDF(x, 0, 30, 60, 2.0, 1, 1e-10), 0.0);
    }
    for (double p : {0.0, 0.3, 1.0}) EXPECT_EQ(FNCHypergeometricICDF(p, 0, 30, 60, 2.0, 0, 1e-10), 0.0);
    double mean = -1, variance = -1;
    FNCHypergeometricMoments(0, 30, 60, 2.0, &mean, &variance);
    EXPECT_EQ(mean, 0.0);
    EXPECT_EQ(variance, 0.0);
}

TEST(FncEdges, TableEndsAndQuantileEnds)
{
    // N = 2000 has a support of 501 values, so the table is cut to the mass.
    const int32_t n = 500, m = 800, N = 2000;
    const double odds = 1.8, accuracy = 1e-10;
    const double xfirst = FNCHypergeometricICDF(0, n, m, N, odds, 0, accuracy);
    const double xlast = FNCHypergeometricICDF(1, n, m, N, odds, 0, accuracy);
    EXPECT_GT(xfirst, 0.0);   // the table does not reach x = 0 ...
    EXPECT_LT(xlast, 500.0);  // ... nor x = 500
    EXPECT_EQ(FNCHypergeometricICDF(1, n, m, N, odds, 1, accuracy), xfirst);
    EXPECT_EQ(FNCHypergeometricICDF(0, n, m, N, odds, 1, accuracy), xlast);
    const auto a = int32_t(xfirst), b = int32_t(xlast);
    // Below the table the lower tail is 0; at or beyond its end the upper tail is 0.
    EXPECT_EQ(FNCHypergeometricCDF(a - 1, n, m, N, odds, 0, accuracy), 0.0);
    EXPECT_EQ(FNCHypergeometricCDF(a - 100, n, m, N, odds, 1, accuracy), 1.0);
    EXPECT_GT(FNCHypergeometricCDF(a, n, m, N, odds, 0, accuracy), 0.0);
    EXPECT_EQ(FNCHypergeometricCDF(b, n, m, N, odds, 1, accuracy), 0.0);
    EXPECT_EQ(FNCHypergeometricCDF(b + 50, n, m, N, odds, 0, accuracy), 1.0);
    EXPECT_GT(FNCHypergeometricCDF(b - 1, n, m, N, odds, 1, accuracy), 0.0);
    // The cut-off mass is below the accuracy.
    EXPECT_LT(FNCHypergeometricCDF(a, n, m, N, odds, 0, accuracy), 1e3 * accuracy);
}

TEST(FncEdges, ZeroOddsAndWeightlessUrns)
{
    // w = 0: no marked item is ever drawn while enough unmarked ones remain.
    EXPECT_EQ(FNCHypergeometricCDF(0, 10, 30, 60, 0.0, 0, 1e-10), 1.0);
    EXPECT_EQ(FNCHypergeometricCDF(0, 10, 30, 60, 0.0, 1, 1e-10), 0.0);
    EXPECT_EQ(FNCHypergeometricICDF(0.7, 10, 30, 60, 0.0, 0, 1e-10), 0.0);
    double mean = -1, variance = -1;
    FNCHypergeometricMoments(10, 30, 60, 0.0, &mean, &variance);
    EXPECT_EQ(mean, 0.0);
    EXPECT_EQ(variance, 0.0);
    // ... and with too few unmarked items there is no distribution: NaN.
    EXPECT_TRUE(std::isnan(FNCHypergeometricCDF(5, 40, 30, 60, 0.0, 0, 1e-10)));
    EXPECT_TRUE(std::isnan(FNCHypergeometricICDF(0.5, 40, 30, 60, 0.0, 0, 1e-10)));
    FNCHypergeometricMoments(40, 30, 60, 0.0, &mean, &variance);
    EXPECT_TRUE(std::isnan(mean));
    // A single possible value: n = N takes every item, x = m.
    EXPECT_EQ(FNCHypergeometricICDF(0.5, 60, 30, 60, 3.0, 0, 1e-10), 30.0);
    EXPECT_EQ(FNCHypergeometricCDF(29, 60, 30, 60, 3.0, 0, 1e-10), 0.0);
    EXPECT_EQ(FNCHypergeometricCDF(30, 60, 30, 60, 3.0, 0, 1e-10), 1.0);
}

TEST(FncEdges, InconsistentUrnsHaveNoDistribution)
{
    // No x satisfies these urns (a sample or marked count above the urn size,
    // a negative count, n + m - N beyond 32 bits): NaN, and nothing is read
    // or written outside a table.
    const int32_t kMax = std::numeric_limits<int32_t>::max();
    const int32_t urns[][3] = {{5, 1, 3},  {2, 5, 3},         {-5, 3, 10},  {5, -3, 10},
                               {2, 1, -1}, {kMax, kMax, 10},  {kMax, 3, -kMax}};
    for (const auto& u : urns) {
        SCOPED_TRACE(testing::Message() << u[0] << " " << u[1] << " " << u[2]);
        for (const double odds : {1.0, 2.5}) {
            EXPECT_TRUE(std::isnan(FNCHypergeometricCDF(1, u[0], u[1], u[2], odds, 0, 1e-10)));
            EXPECT_TRUE(std::isnan(FNCHypergeometricICDF(0.5, u[0], u[1], u[2], odds, 1, 1e-10)));
            double mean = 0, variance = 0;
            FNCHypergeometricMoments(u[0], u[1], u[2], odds, &mean, &variance);
            EXPECT_TRUE(std::isnan(mean));
        }
    }
}

TEST(FncEdges, NegativeOddsEndTheSummationAtOnce)
{
    // A negative odds ratio has no logarithm: every term is NaN, and the walks
    // over a billion-item support stop at the first one instead of running on.
    double mean = 0, variance = 0;
    FNCHypergeometricMoments(1000000000, 1000000000, 2000000000, -1.0, &mean, &variance);
    EXPECT_TRUE(std::isnan(mean));
}

TEST(FncEdges, ExtremeOddsKeepAtLeastTheMode)
{
    // Odds so large that the approximate standard deviation rounds the table
    // length to zero: the mode alone carries the mass.
    EXPECT_EQ(FNCHypergeometricICDF(0.5, 300, 400, 1000, 1e12, 0, 1e-10), 300.0);
    EXPECT_EQ(FNCHypergeometricCDF(299, 300, 400, 1000, 1e12, 0, 1e-10), 0.0);
    EXPECT_EQ(FNCHypergeometricCDF(300, 300, 400, 1000, 1e12, 0, 1e-10), 1.0);
}

TEST(FncEdges, ErrnoIsLeftAlone)
{
    errno = 12345;
    FNCHypergeometricCDF(250, 1000, 100000, 400000, 0.3, 1, 1e-12);
    FNCHypergeometricICDF(0.01, 1000, 100000, 400000, 0.3, 0, 1e-12);
    double mean, variance;
    FNCHypergeometricMoments(1000, 100000, 400000, 0.3, &mean, &variance);
    FNCHypergeometricCDF(3, 40, 60, 60, 1.0, 0, 1e-10);
    EXPECT_EQ(errno, 12345);
    // ln w is the C library's log, which reports its own pole and domain
    // errors: w = 0 leaves ERANGE, w < 0 EDOM; the exports add nothing.
    errno = 0;
    FNCHypergeometricCDF(0, 10, 30, 60, 0.0, 0, 1e-10);
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
    FNCHypergeometricCDF(0, 10, 30, 60, -1.0, 0, 1e-10);
    EXPECT_EQ(errno, EDOM);
}

TEST(FncEdges, ConcurrentFirstCallsAgree)
{
    // The log-factorial table is filled by whichever call comes first; calls
    // racing to be first must all see the finished table.
    constexpr int kThreads = 4;
    std::vector<double> means(kThreads), variances(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] { FNCHypergeometricMoments(300, 500, 1000, 2.0, &means[i], &variances[i]); });
    for (auto& t : threads) t.join();
    for (int i = 1; i < kThreads; ++i) {
        EXPECT_EQ(means[i], means[0]);
        EXPECT_EQ(variances[i], variances[0]);
    }
}

}  // namespace
