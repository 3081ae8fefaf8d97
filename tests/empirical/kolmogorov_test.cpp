// Kolmogorov distribution: the exact-oracle tables per method region, the
// boundaries of the region table, the quantile, and the contract (whole-int
// tail flag, no errno, exceptions from the quantile).
#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <boost/math/policies/error_handling.hpp>
#include <boost/math/tools/toms748_solve.hpp>

#include "korvane/core_math.h"
#include "support/numeric.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace kcm::test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kDenormMin = std::numeric_limits<double>::denorm_min();

// Relative tolerance per method region, measured against the exact oracles:
//   closed, zero, one  closed forms: a few ulps (largest seen 3.6e-15).
//   durbin    the matrix method is R's own algorithm (bit-identical) and agrees
//             with the 60-digit matrix formula to 5e-15.
//   pomeranz  1.3e-13 in the lower tail; an upper tail 1 - P carries P's
//             absolute error (~1e-13), allowed separately below.
//   onesided  twice the one-sided tail: summation good to 1.3e-10 (n = 200000);
//             where x < 1/2 it also omits the two-sided overlap term, relative
//             size about exp(-6 n x^2), added per row.
//   onesided_asymptotic  the one-sided asymptotic form above n = 200000:
//             1.3e-8 at n = 200001, 1.2e-9 at n = 10^6.
//   pelzgood  the asymptotic series: 2.3e-5 at n = 141, 2.8e-5 in the far
//             lower tail at n = 100001, 1e-8 at n = 5000, 1.3e-11 at n = 10^5.
const std::map<std::string, double> kRegionTolerance = {
    {"closed", kTol2},   {"zero", kTol2},     {"one", kTol2},
    {"durbin", kTol4},   {"pomeranz", 1e-12}, {"onesided", 5e-10},
    {"onesided_asymptotic", 5e-8}, {"pelzgood", 5e-5},
};
// An upper tail formed as 1 - P inherits P's absolute error.
constexpr double kComplementAbsolute = 2e-13;

void check_table(const char* name)
{
    const ReferenceTable table(name);
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        const double n = row.num("n"), x = row.num("x"), expected = row.num("expected");
        const int upper = static_cast<int>(row.num("upper"));
        const std::string& region = row.str("region");
        errno = 0;
        const double v = KolmogorovCDF(x, n, upper);
        EXPECT_EQ(errno, 0);
        double tol = kRegionTolerance.at(region);
        if (region == "onesided") tol += 3 * std::exp(-6 * n * x * x);
        double allowed = tol * std::fabs(expected);
        if (upper && region != "onesided" && region != "onesided_asymptotic")
            allowed += kComplementAbsolute;
        if (std::fabs(expected) < DBL_MIN) allowed += 16 * kDenormMin;  // subnormal result
        EXPECT_LE(std::fabs(v - expected), allowed)
            << "KolmogorovCDF = " << v << ", expected " << expected << ", relative error "
            << std::fabs(v - expected) / std::fabs(expected);
    }
}

TEST(KolmogorovReference, AgreesWithRExactDistribution) { check_table("kolmogorov_r.csv"); }

TEST(KolmogorovReference, AgreesWithMpmathAndScipy) { check_table("kolmogorov_py.csv"); }

TEST(KolmogorovReference, PelzGoodSeriesUpToTheLargestSampleSize)
{
    // SciPy 1.10 kstwo, which sums the same asymptotic series, at sample sizes
    // where the series' coefficient 3240 n no longer fits an int.
    const struct {
        double n, x, lower, upper;
    } rows[] = {
        {1e6, 0.001, 0.7301789255741062, 0.26982107442589376},
        {5e6, 0.0005, 0.8359753999180726, 0.16402460008192743},
        {2e9, 2e-5, 0.5995341705497774, 0.4004658294502226},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << "n = " << r.n << ", x = " << r.x);
        EXPECT_REL_NEAR(KolmogorovCDF(r.x, r.n, 0), r.lower, 1e-13);
        EXPECT_REL_NEAR(KolmogorovCDF(r.x, r.n, 1), r.upper, 1e-13);
    }
}

// ---- Boundaries of the region table ----------------------------------------------

// The smallest double x with n*x*x >= w (as the library computes n*x*x).
double first_x_with_w(int n, double w)
{
    double x = std::sqrt(w / n);
    while (n * x * x >= w) x = std::nextafter(x, 0.0);
    while (n * x * x < w) x = std::nextafter(x, 2.0);
    return x;
}

TEST(KolmogorovBoundaries, LowerTailIsOneFromNx2Of18)
{
    for (int n : {20, 50, 140, 1000}) {
        SCOPED_TRACE(n);
        const double x = first_x_with_w(n, 18);
        EXPECT_EQ(KolmogorovCDF(x, n, 0), 1.0);
        // Just below, 1 - P is about 4.6e-16 for large n and still shows (for
        // small n the tail is smaller and the lower tail rounds to 1 anyway).
        if (n >= 140) {
            EXPECT_LT(KolmogorovCDF(std::nextafter(x, 0.0), n, 0), 1.0);
        }
    }
    EXPECT_EQ(KolmogorovCDF(1.0, 10, 0), 1.0);
    EXPECT_EQ(KolmogorovCDF(INFINITY, 10, 0), 1.0);
}

TEST(KolmogorovBoundaries, UpperTailIsZeroFromNx2Of370)
{
    for (int n : {400, 1000, 5000}) {
        SCOPED_TRACE(n);
        const double x = first_x_with_w(n, 370);
        EXPECT_EQ(KolmogorovCDF(x, n, 1), 0.0);
        // Short of the cut-off the tail is computed, not cut: at n x^2 = 250
        // it is 1e-267 (n = 400) to 4e-220 (n = 5000).
        EXPECT_GT(KolmogorovCDF(std::sqrt(250.0 / n), n, 1), 0.0);
    }
    EXPECT_EQ(KolmogorovCDF(1.0, 10, 1), 0.0);
}

TEST(KolmogorovBoundaries, UpperTailIsOneUpToNx2Of0_0274)
{
    // n x^2 <= 0.0274 gives exactly 1; just above, the complement of the lower tail.
    for (int n : {100, 140, 141, 5000}) {
        SCOPED_TRACE(n);
        const double x = first_x_with_w(n, 0.0274);
        EXPECT_EQ(KolmogorovCDF(x, n, 1), 1.0);
        const double above = std::nextafter(x, 1.0);
        EXPECT_EQ(KolmogorovCDF(above, n, 1), 1 - KolmogorovCDF(above, n, 0));
    }
    EXPECT_EQ(KolmogorovCDF(0.0, 10, 0), 0.0);
    EXPECT_EQ(KolmogorovCDF(0.0, 10, 1), 1.0);
}

// Below 4 (n <= 140) or 2.2 (n > 140) the upper tail is 1 - lower tail; above
// it, twice the one-sided tail, and for n <= 140 the lower tail is 1 - that.
TEST(KolmogorovBoundaries, UpperTailSwitchesToOneSidedSumAt4And2_2)
{
    struct Case {
        int n;
        double w;
        bool one_sided;
    };
    const Case cases[] = {{140, 3.9, false}, {140, 4.1, true}, {141, 2.1, false},
                          {141, 2.3, true},  {140, 2.3, false}, {5000, 2.1, false},
                          {5000, 2.3, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "n " << c.n << " w " << c.w);
        const double x = std::sqrt(c.w / c.n);
        const double lower = KolmogorovCDF(x, c.n, 0), upper = KolmogorovCDF(x, c.n, 1);
        if (!c.one_sided) {
            EXPECT_EQ(upper, 1 - lower);
        } else if (c.n <= 140) {
            EXPECT_EQ(lower, 1 - upper);
        } else {
            // Two different methods: the Pelz-Good lower tail is only close.
            EXPECT_NEAR(lower + upper, 1.0, 5e-5 * upper);
            EXPECT_NE(upper, 1 - lower);
        }
    }
}

TEST(KolmogorovBoundaries, ClosedFormsAtTheEdgesOfTheSupport)
{
    // n = 1: 2x - 1 and 2 - 2x.
    EXPECT_EQ(KolmogorovCDF(0.75, 1, 0), 0.5);
    EXPECT_EQ(KolmogorovCDF(0.75, 1, 1), 0.5);
    EXPECT_EQ(KolmogorovCDF(0.5, 1, 0), 0.0);
    // x <= 1/n: n! (2x - 1/n)^n, by the table to n = 20, by logarithms from 21.
    for (int n : {2, 5, 20, 21, 40}) {
        SCOPED_TRACE(n);
        const double x = 0.9 / n;
        const double exact = std::exp(std::lgamma(n + 1.0) + n * std::log(2 * x - 1.0 / n));
        EXPECT_REL_NEAR(KolmogorovCDF(x, n, 0), exact, 1e-13);
        EXPECT_EQ(KolmogorovCDF(0.5 / n, n, 0), 0.0);
    }
    // x >= 1 - 1/n: the upper tail 2 (1 - x)^n exactly.
    EXPECT_EQ(KolmogorovCDF(0.875, 4, 1), 2 * std::pow(0.125, 4));
}

TEST(KolmogorovBoundaries, FractionalSampleSizeIsTruncated)
{
    for (double x : {0.05, 0.2, 0.35, 0.6}) {
        for (int tail : {0, 1}) {
            SCOPED_TRACE(testing::Message() << x << " tail " << tail);
            EXPECT_EQ(KolmogorovCDF(x, 10.9, tail), KolmogorovCDF(x, 10, tail));
            EXPECT_EQ(KolmogorovCDF(x, 140.99, tail), KolmogorovCDF(x, 140, tail));
        }
    }
}

// ---- Identities --------------------------------------------------------------------

TEST(KolmogorovIdentities, TailsSumToOneAndFarUpperTailStaysPositive)
{
    const double cases[][2] = {{10, 0.25}, {50, 0.15}, {140, 0.1}, {1000, 0.03}, {20, 0.6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c[0] << " " << c[1]);
        EXPECT_NEAR(KolmogorovCDF(c[1], c[0], 0) + KolmogorovCDF(c[1], c[0], 1), 1.0, 1e-12);
    }
    // Far beyond 1 - P's reach: ~1e-231 at n = 1000.
    EXPECT_GT(KolmogorovCDF(0.5, 1000, 1), 1e-240);
}

TEST(KolmogorovIdentities, LowerTailIncreasesAcrossEveryRegion)
{
    for (int n : {1, 7, 30, 140, 141, 2000, 100000, 100001, 300000}) {
        SCOPED_TRACE(n);
        double previous = -1, previous_upper = 2;
        for (int i = 0; i <= 400; ++i) {
            const double x = std::min(1.0, 5.0 * i / (400 * std::sqrt(n)));
            const double v = KolmogorovCDF(x, n, 0), u = KolmogorovCDF(x, n, 1);
            EXPECT_GE(v, previous - 1e-9) << "x = " << x;
            EXPECT_LE(u, previous_upper + 1e-9) << "x = " << x;
            EXPECT_GE(v, 0.0);
            EXPECT_LE(u, 1.0);
            previous = v;
            previous_upper = u;
        }
    }
}

// ---- Quantile ----------------------------------------------------------------------

// The root is met to 24 bits: the distribution function brackets p within a
// relative 2^-22 of the returned x.
TEST(KolmogorovQuantile, InvertsTheDistributionInBothTails)
{
    const double width = std::ldexp(1.0, -22);
    for (double n : {5.0, 10.0, 100.0, 140.0, 141.0, 1000.0, 10000.0}) {
        for (double p : {1e-8, 0.01, 0.05, 0.5, 0.95, 0.99}) {
            for (int tail : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "n " << n << " p " << p << " tail " << tail);
                const double x = KolmogorovICDF(p, n, tail);
                const double below = KolmogorovCDF(x * (1 - width), n, tail);
                const double above = KolmogorovCDF(x * (1 + width), n, tail);
                if (tail == 0) {
                    EXPECT_LE(below, p);
                    EXPECT_GE(above, p);
                } else {
                    EXPECT_GE(below, p);
                    EXPECT_LE(above, p);
                }
            }
        }
    }
}

// The quantile is the midpoint of Boost's bracket_and_solve_root on the
// distribution function, started at 1.36/sqrt(n) with n as given (not
// truncated), growth factor 2, 24 bits and 100 evaluations in all.
TEST(KolmogorovQuantile, IsTheMidpointOfTheStatedBracketingSearch)
{
    for (double n : {10.9, 10.0, 100.0, 250.5}) {
        for (double p : {0.05, 0.8}) {
            for (int tail : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "n " << n << " p " << p << " tail " << tail);
                const auto f = [&](double x) {
                    return tail ? p - KolmogorovCDF(x, n, 1) : KolmogorovCDF(x, n, 0) - p;
                };
                std::uintmax_t budget = 100;
                const auto r = boost::math::tools::bracket_and_solve_root(
                    f, 1.36 / std::sqrt(n), 2.0, true,
                    boost::math::tools::eps_tolerance<double>(24), budget);
                EXPECT_EQ(KolmogorovICDF(p, n, tail), r.first + (r.second - r.first) * 0.5);
            }
        }
    }
}

TEST(KolmogorovQuantile, UnreachableProbabilityThrows)
{
    const std::string prefix =
        "Error in function boost::math::tools::bracket_and_solve_root<double>: "
        "Unable to bracket root, last nearest value was ";
    struct Case {
        double p, n;
        int tail;
    };
    // Above 1 in the lower tail and below 0 in the upper tail the walk runs
    // upwards forever; a negative n makes the starting guess NaN.
    const Case cases[] = {{1.5, 100, 0}, {-0.5, 100, 1}, {2.0, 10, 0}, {0.5, -3, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.p << " " << c.n << " " << c.tail);
        try {
            KolmogorovICDF(c.p, c.n, c.tail);
            ADD_FAILURE() << "no exception";
        } catch (const boost::math::evaluation_error& e) {
            EXPECT_EQ(std::string(e.what()).substr(0, prefix.size()), prefix);
        }
    }
}

// ---- Contract ----------------------------------------------------------------------

TEST(KolmogorovContract, TailFlagIsAWholeInt)
{
    // A one-byte reading would take 256 and 512 for the lower tail.
    for (int32_t tail : {1, 2, 255, 256, 512, -1, INT32_MIN}) {
        SCOPED_TRACE(tail);
        EXPECT_EQ(KolmogorovCDF(0.3, 20, tail), KolmogorovCDF(0.3, 20, 1));
        EXPECT_EQ(KolmogorovICDF(0.05, 20, tail), KolmogorovICDF(0.05, 20, 1));
    }
}

TEST(KolmogorovContract, NegativeXAndNaNAndErrnoLeftAlone)
{
    struct Row {
        const char* call;
        double x, n;
        int tail;
        double expected;  // NaN matches NaN
    };
    const Row rows[] = {
        {"(-0.1, 10, 0)", -0.1, 10, 0, 0.0},   {"(-0.1, 10, 1)", -0.1, 10, 1, 1.0},
        {"(-inf, 10, 0)", -INFINITY, 10, 0, 0.0}, {"(NaN, 10, 0)", kNaN, 10, 0, kNaN},
        {"(NaN, 10, 1)", kNaN, 10, 1, kNaN},   {"(NaN, 1000, 0)", kNaN, 1000, 0, kNaN},
        {"(NaN, 1000, 1)", kNaN, 1000, 1, kNaN}, {"(0.3, 0, 0)", 0.3, 0, 0, 0.0},
        {"(0.3, 0, 1)", 0.3, 0, 1, 1.0},       {"(0.3, -5, 1)", 0.3, -5, 1, 1.0},
        {"(0.3, 0.9, 0)", 0.3, 0.9, 0, 0.0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.call);
        const auto [v, err] = with_errno([&] { return KolmogorovCDF(r.x, r.n, r.tail); }, 12345);
        EXPECT_REL_NEAR(v, r.expected, 0.0);
        EXPECT_EQ(err, 12345);
    }
}

}  // namespace
