// Binomial, Poisson and hypergeometric distributions: R reference tables, the
// identities between the exports, and the throwing error contract.
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>

#include <boost/math/policies/error_handling.hpp>
#include <vector>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "support/calls.hpp"
#include "support/numeric.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace kcm::test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

double evaluate(const ReferenceTable::Row& row)
{
    return call(row.str("function"), {row.num("a"), row.num("b"), row.num("c"), row.num("d")},
                row.num("upper"));
}

// Tolerance rung per export, against R (relative, both tails, tails down to
// 1e-300; measured worst case in brackets). R's dbinom uses Loader's
// saddle-point expansion and Boost the incomplete-beta derivative; in a far
// tail of n = 1e5 trials both round terms like k log(p) of size ~1e4, which
// is 1e4 ulps of the result's log: kTol4 [2.7e-13]. The distribution
// functions are TOMS 708 / Boost incomplete beta and gamma values, a few
// hundred ulps apart in far tails: kTol2 [4.0e-14 binomial, 2.2e-14
// Poisson]. dpois agrees to a few ulps: kTol2 [3.5e-15]. The hypergeometric
// values are log-factorial (R) against prime-factor (Boost) products and
// phyper's ratio recursion: kTol3 [1.1e-13]. The Clopper-Pearson bounds are
// both inverse incomplete beta roots to full precision: kTol1 [1.1e-15].
const std::map<std::string, double> kTolerance = {
    {"BinomialPDF", kTol4},       {"BinomialCDF", kTol2},       {"BinomialPS", kTol1},
    {"PoissonPDF", kTol2},        {"PoissonCDF", kTol2},        {"HypergeometricPDF", kTol3},
    {"HypergeometricCDF", kTol3},
};

TEST(DiscreteReference, AgreesWithR)
{
    const ReferenceTable table("discrete_probability.csv");
    std::map<std::string, double> worst;
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        errno = 0;
        const double v = evaluate(row);
        if (row.num("upper") == 1) expect_every_nonzero_tail_byte_is_upper(row.str("function"), {row.num("a"), row.num("b"), row.num("c"), row.num("d")});
        const double expected = row.num("expected");
        EXPECT_REL_NEAR(v, expected, kTolerance.at(row.str("function")));
        double& w = worst[row.str("function")];
        w = std::max(w, relative_error(v, expected));
        // The C library reports an underflow (a term, or the whole result,
        // below DBL_MIN) as ERANGE; any other errno is the library's fault.
        if (expected >= DBL_MIN && expected < 1)
            EXPECT_EQ(errno, 0) << "a successful call must leave errno alone";
        else
            EXPECT_TRUE(errno == 0 || errno == ERANGE) << errno;
    }
    for (const auto& [fn, err] : worst) std::printf("  %-20s worst relative error %.3g\n", fn.c_str(), err);
}

// The quantiles, in both rounding modes, against counts read off R's exact
// step functions (tests/gen/discrete.R says how).
TEST(DiscreteReference, QuantilesMatchTheStepFunction)
{
    const ReferenceTable table("discrete_quantile.csv");
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        const std::string& fn = row.str("function");
        std::vector<double> numbers = {row.num("p"), row.num("a")};
        if (fn != "PoissonICDF") numbers.push_back(row.num("b"));
        if (fn == "HypergeometricICDF") numbers.push_back(row.num("c"));
        const bool rounds = fn != "HypergeometricICDF";  // the others take round_up last
        for (int up = rounds ? 0 : 1; up <= 1; ++up) {
            std::vector<double> args = numbers;
            if (rounds) args.push_back(up);
            EXPECT_EQ(call(fn, args, row.num("upper")), row.num(up ? "up" : "down"));
            if (row.num("upper") == 1) expect_every_nonzero_tail_byte_is_upper(fn, args);
        }
    }
}

// ---- Identities -------------------------------------------------------------

TEST(DiscreteIdentities, TailsSumToOneAndFarUpperTailStaysPositive)
{
    for (double k : {0.0, 3.0, 17.0, 49.0}) {
        SCOPED_TRACE(k);
        EXPECT_NEAR(BinomialCDF(k, 50, 0.3, 0) + BinomialCDF(k, 50, 0.3, 1), 1.0, 4 * kEps);
        EXPECT_NEAR(PoissonCDF(k, 6.5, 0) + PoissonCDF(k, 6.5, 1), 1.0, 4 * kEps);
        if (k <= 20) {
            EXPECT_NEAR(HypergeometricCDF(k, 20, 30, 100, 0) + HypergeometricCDF(k, 20, 30, 100, 1),
                        1.0, 4 * kEps);
        }
    }
    // Far upper tails, formed directly and not as 1 - P (which would be 0).
    EXPECT_GT(BinomialCDF(95, 100, 0.1, 1), 0.0);
    EXPECT_LT(BinomialCDF(95, 100, 0.1, 1), 1e-80);
    EXPECT_GT(PoissonCDF(100, 2, 1), 0.0);
    EXPECT_LT(PoissonCDF(100, 2, 1), 1e-100);
    EXPECT_GT(HypergeometricCDF(19, 20, 30, 100, 1), 0.0);
    EXPECT_LT(HypergeometricCDF(19, 20, 30, 100, 1), 1e-13);  // P(X = 20) ~ 5.5e-14
}

TEST(DiscreteIdentities, DistributionIsTheRunningSumOfTheMass)
{
    double binomial = 0, poisson = 0, hyper = 0;
    for (int k = 0; k <= 25; ++k) {
        SCOPED_TRACE(k);
        binomial += BinomialPDF(k, 25, 0.37);
        poisson += PoissonPDF(k, 9.25);
        EXPECT_REL_NEAR(BinomialCDF(k, 25, 0.37, 0), binomial, kTol2);
        EXPECT_REL_NEAR(PoissonCDF(k, 9.25, 0), poisson, kTol2);
        if (k >= 5 && k <= 20) {  // support of (r = 20, n = 25, N = 40): 5..20
            hyper += HypergeometricPDF(k, 20, 25, 40);
            EXPECT_REL_NEAR(HypergeometricCDF(k, 20, 25, 40, 0), hyper, kTol2);
        }
    }
}

TEST(DiscreteIdentities, QuantileInvertsDistributionInBothTails)
{
    // A probability taken from the distribution function itself falls on a
    // count, so both rounding modes must return that count. Beyond k = 30 the
    // binomial's lower tail is 1 to double precision (and an upper-tail q
    // below eps/2 turns into p = 1, whose quantile is the number of trials).
    for (int k = 0; k < 40; ++k) {
        SCOPED_TRACE(k);
        for (int32_t round_up : {0, 1}) {
            if (k > 30) break;
            EXPECT_EQ(BinomialICDF(BinomialCDF(k, 40, 0.3, 0), 40, 0.3, 0, round_up), k);
            EXPECT_EQ(BinomialICDF(BinomialCDF(k, 40, 0.3, 1), 40, 0.3, 1, round_up), k);
            EXPECT_EQ(PoissonICDF(PoissonCDF(k, 12.5, 0), 12.5, 0, round_up), k);
            EXPECT_EQ(PoissonICDF(PoissonCDF(k, 12.5, 1), 12.5, 1, round_up), k);
        }
        if (k < 20) {
            // The hypergeometric quantile sums point probabilities and moves up
            // a count when the sum falls short of p times (1 + 50 eps): at the
            // exact step value that is k or k + 1; a quarter step inside, k.
            const double lower = HypergeometricCDF(k, 20, 30, 100, 0);
            const double upper = HypergeometricCDF(k, 20, 30, 100, 1);
            const double step = HypergeometricPDF(k, 20, 30, 100);
            EXPECT_EQ(HypergeometricICDF(lower - step / 4, 20, 30, 100, 0), k);
            EXPECT_EQ(HypergeometricICDF(upper + step / 4, 20, 30, 100, 1), k);
            const double at_step = HypergeometricICDF(lower, 20, 30, 100, 0);
            EXPECT_TRUE(at_step == k || at_step == k + 1) << at_step;
        }
    }
}

TEST(DiscreteIdentities, RoundingModesDifferByAtMostOneCount)
{
    for (double p : {0.001, 0.05, 0.2, 0.5, 0.7, 0.95, 0.9999}) {
        for (unsigned char tail : {0, 1}) {
            SCOPED_TRACE(testing::Message() << p << " tail " << int(tail));
            const double bd = BinomialICDF(p, 60, 0.42, tail, 0);
            const double bu = BinomialICDF(p, 60, 0.42, tail, 1);
            EXPECT_TRUE(bu == bd || bu == bd + 1) << bd << " " << bu;
            const double pd = PoissonICDF(p, 33.3, tail, 0);
            const double pu = PoissonICDF(p, 33.3, tail, 1);
            EXPECT_TRUE(pu == pd || pu == pd + 1) << pd << " " << pu;
            // Any nonzero selector rounds up.
            EXPECT_EQ(BinomialICDF(p, 60, 0.42, tail, -7), bu);
            EXPECT_EQ(PoissonICDF(p, 33.3, tail, 256), pu);
        }
    }
    // With success fraction 1/2 and 10 trials every CDF value is a multiple
    // of 2^-10, exact in binary: 638/1024 = P(X <= 5).
    EXPECT_EQ(BinomialICDF(638.0 / 1024, 10, 0.5, 0, 0), 5.0);
    EXPECT_EQ(BinomialICDF(638.0 / 1024, 10, 0.5, 0, 1), 5.0);
    EXPECT_EQ(BinomialICDF(0.5, 10, 0.5, 0, 0), 4.0);
    EXPECT_EQ(BinomialICDF(0.5, 10, 0.5, 0, 1), 5.0);
}

TEST(DiscreteIdentities, ClopperPearsonBoundsLeaveAlphaInTheTail)
{
    // At the lower bound P(X >= k) = alpha; at the upper bound P(X <= k) = alpha.
    const double cases[][3] = {{0.025, 3, 10}, {0.05, 12, 40}, {0.005, 250, 1000}, {0.1, 1, 7}};
    for (const auto& c : cases) {
        const double alpha = c[0], k = c[1], n = c[2];
        SCOPED_TRACE(testing::Message() << alpha << " " << k << " " << n);
        const double lower = BinomialPS(alpha, k, n, 0);
        const double upper = BinomialPS(alpha, k, n, 1);
        EXPECT_LT(lower, k / n);
        EXPECT_GT(upper, k / n);
        EXPECT_REL_NEAR(BinomialCDF(k - 1, n, lower, 1), alpha, 1e-10);
        EXPECT_REL_NEAR(BinomialCDF(k, n, upper, 0), alpha, 1e-10);
    }
    for (double alpha : {0.0, 0.05, 0.5, 1.0}) {
        SCOPED_TRACE(alpha);
        EXPECT_EQ(BinomialPS(alpha, 0, 17, 0), 0.0);
        EXPECT_EQ(BinomialPS(alpha, 17, 17, 1), 1.0);
    }
    // Any other selector: -1 before anything is checked.
    for (int32_t which : {2, -1, 1 << 16, std::numeric_limits<int32_t>::min()})
        EXPECT_EQ(BinomialPS(kNaN, -5, -10, which), -1.0);
}

TEST(DiscreteIdentities, HypergeometricQuantileEndsAreTheSupportEnds)
{
    // Support of (r = 30, n = 80, N = 100): max(0, 80 + 30 - 100) = 10 .. 30.
    EXPECT_EQ(HypergeometricICDF(0, 30, 80, 100, 0), 10.0);
    EXPECT_EQ(HypergeometricICDF(1, 30, 80, 100, 0), 30.0);
    EXPECT_EQ(HypergeometricICDF(1, 30, 80, 100, 1), 10.0);
    EXPECT_EQ(HypergeometricICDF(0, 30, 80, 100, 1), 30.0);
    EXPECT_EQ(HypergeometricICDF(0, 5, 10, 50, 0), 0.0);
    EXPECT_EQ(HypergeometricICDF(1, 5, 10, 50, 0), 5.0);
}

TEST(DiscreteIdentities, HypergeometricCountsAreTruncatedTo64ThenKept32Bits)
{
    const double reference = HypergeometricPDF(2, 5, 10, 20);
    EXPECT_EQ(HypergeometricPDF(2, 5.99, 10.5, 20.01), reference);
    EXPECT_EQ(HypergeometricPDF(2, 4294967296.0 + 5, 10, 20), reference);  // 2^32 + 5
    EXPECT_EQ(HypergeometricPDF(2, 5, 10, 3 * 4294967296.0 + 20), reference);
    // -0.5 truncates to 0, not to a wrapped count.
    EXPECT_EQ(HypergeometricPDF(0, -0.5, 10, 20), 1.0);
    // NaN and values beyond 64 bits give the hardware's 0x8000000000000000,
    // whose low 32 bits are 0: r = 0.
    EXPECT_EQ(HypergeometricPDF(0, kNaN, 10, 20), 1.0);
    EXPECT_EQ(HypergeometricPDF(0, 1e300, 10, 20), 1.0);
    EXPECT_EQ(HypergeometricCDF(0, -kInf, 10, 20, 0), 1.0);
}

TEST(DiscreteIdentities, HypergeometricSupportOfBillionCountUrns)
{
    // n + r - N = 1e9 for (r, n, N) = (1.5e9, 1.5e9, 2e9), though n + r itself
    // is beyond the int range: x = 1e9 is the lowest count, 15000 standard
    // deviations below the mean, and one count less is out of range.
    EXPECT_EQ(HypergeometricCDF(1e9, 1.5e9, 1.5e9, 2e9, 0), 0.0);
    EXPECT_EQ(HypergeometricCDF(1e9, 1.5e9, 1.5e9, 2e9, 1), 1.0);
    EXPECT_THROW(HypergeometricPDF(1e9 - 1, 1.5e9, 1.5e9, 2e9), std::domain_error);
    EXPECT_THROW(HypergeometricCDF(1e9 - 1, 1.5e9, 1.5e9, 2e9, 0), std::domain_error);
}

TEST(DiscreteIdentities, HypergeometricUrnsOf2To31ItemsAreRefused)
{
    // Boost's int arithmetic of the support has no correct evaluation for such
    // urns; a negative count is one way to reach them (its low 32 bits).
    for (const double N : {2147483648.0, 4294967295.0, -3.5, -409.6}) {
        SCOPED_TRACE(N);
        EXPECT_THROW(HypergeometricICDF(0.05, 10, 10, N, 0), std::domain_error);
        EXPECT_THROW(HypergeometricPDF(0, 1, 1, N), std::domain_error);
        EXPECT_THROW(HypergeometricCDF(0, 1, 1, N, 1), std::domain_error);
    }
    try {
        HypergeometricPDF(0, 1, 1, -3.5);
    } catch (const std::domain_error& e) {
        EXPECT_NE(std::string(e.what()).find("Parameter N out of range: must be <= 2147483647 but got 4294967293"),
                  std::string::npos) << e.what();
    }
    // r <= N and n <= N are still checked first.
    EXPECT_THROW(HypergeometricPDF(0, 5, 1, 3), std::domain_error);
    // 2^31 - 1 items are evaluated, and a support of one count is that count.
    EXPECT_EQ(HypergeometricICDF(0.3, 0, 3, 2147483647.0, 0), 0.0);
    EXPECT_EQ(HypergeometricICDF(0.3, 7, 2147483647.0, 2147483647.0, 1), 7.0);
    EXPECT_THROW(HypergeometricICDF(1.5, 0, 3, 2147483647.0, 0), std::domain_error);
}

TEST(DiscreteIdentities, PoissonQuantileBelowTheMassAtZeroIsZero)
{
    const double mean = 3.7, p0 = std::exp(-mean);
    for (double p : {0.0, 1e-300, 0.5 * p0, p0}) {
        SCOPED_TRACE(p);
        EXPECT_EQ(PoissonICDF(p, mean, 0, 1), 0.0);
        EXPECT_EQ(PoissonICDF(p, mean, 0, 0), 0.0);
    }
    EXPECT_EQ(PoissonICDF(1.5 * p0, mean, 0, 1), 1.0);
}

TEST(DiscreteIdentities, QuantilesBeyondTwoToThe53AreTheContinuousRoot)
{
    // From 2^53 on every double is a count and one count less is the same
    // double; Boost's one-count rounding walk never ended there. The upper
    // quantile of a Poisson mean of 1e17 at 0.3 is mean + z sqrt(mean),
    // z = 0.5244 (normal to 1e-8 at this mean).
    const double mean = 1e17, z = 0.52440051270804067;
    for (int32_t round_up : {0, 1}) {
        SCOPED_TRACE(round_up);
        const double q = PoissonICDF(0.3, mean, 1, round_up);
        EXPECT_NEAR(q, mean + z * std::sqrt(mean), 1e-8 * mean);
        EXPECT_EQ(q, std::floor(q));
    }
    const double huge = PoissonICDF(1e-5, 3.3356512311686063e+151, 1, 1);
    EXPECT_NEAR(huge / 3.3356512311686063e+151, 1.0, 1e-12);
}

TEST(DiscreteContract, BinomialTrialsBeyond1e12AreAFailedEvaluation)
{
    // Boost's incomplete beta function is inaccurate there and from 1e16 on
    // never finishes; 1e12 itself is evaluated.
    EXPECT_THROW(BinomialCDF(5e299, 1e300, 0.5, 0), boost::math::evaluation_error);
    EXPECT_THROW(BinomialICDF(0.5, 1e300, 0.5, 1, 1), boost::math::evaluation_error);
    EXPECT_THROW(BinomialPS(0.05, 5e15, 1e16, 0), boost::math::evaluation_error);
    // The end of each bound is decided without an evaluation, whatever n is;
    // the other end is evaluated like any k between.
    EXPECT_EQ(BinomialPS(0.05, 0, 1e13, 0), 0.0);
    EXPECT_EQ(BinomialPS(0.05, 1e13, 1e13, 1), 1.0);
    EXPECT_THROW(BinomialPS(0.05, 1e13, 1e13, 0), boost::math::evaluation_error);
    EXPECT_THROW(BinomialPS(0.05, 0, 1e13, 1), boost::math::evaluation_error);
    EXPECT_NEAR(BinomialCDF(5e11, 1e12, 0.5, 0), 0.5, 1e-6);
    // Boost's own checks come first.
    EXPECT_THROW(BinomialCDF(-1, 1e300, 0.5, 0), std::domain_error);
    EXPECT_THROW(BinomialICDF(1.5, 1e300, 0.5, 0, 0), std::domain_error);
}

TEST(DiscreteContract, InvalidArgumentsThrowWithBoostsMessage)
{
    // tests/gen/contract.py lists the calls, Boost's exception and message.
    expect_contract_rows("discrete");
}

}  // namespace
