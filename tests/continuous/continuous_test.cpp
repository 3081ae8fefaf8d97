// Student t, chi-squared, F, gamma, beta and noncentral t distributions: the R
// reference table, the mpmath table of the noncentral t with SciPy beside it,
// the identities between the exports, and the error contract.
#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <map>
#include <set>

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
    return call(row.str("function"), {row.num("a"), row.num("b"), row.num("c")}, row.num("upper"));
}

// ---- R 4.2 reference table (tests/gen/continuous.R) ---------------------------

// Tolerance rung per export, measured against R's nmath. The densities and
// distribution functions of the large-parameter rows (df2 = 1e4, shapes of
// 1e3) sit far out where both R and Boost evaluate exp of a large logarithm,
// so one ulp of the logarithm is several hundred ulps of the value: kTol3. The
// quantiles are root finding by both sides: kTol2. R's noncentral t (AS 243)
// reaches 1e-12 absolute and only values above 1e-3 are kept, so 1e-9
// relative; qnt stops at a relative 1e-11.
const std::map<std::string, double> kTolerance = {
    {"StudentTPDF", kTol2},    {"StudentTCDF", kTol2},    {"StudentTICDF", kTol2},
    {"ChiSquaredPDF", kTol1},  {"ChiSquaredCDF", kTol1},  {"ChiSquaredICDF", kTol2},
    {"FisherFPDF", kTol3},     {"FisherFCDF", kTol3},     {"FisherFICDF", kTol3},
    {"GammaPDF", kTol1},       {"GammaCDF", kTol2},       {"GammaICDF", kTol2},
    {"BetaPDF", kTol2},        {"BetaCDF", kTol3},        {"BetaICDF", kTol2},
    {"NoncentralTPDF", 1e-9},  {"NoncentralTCDF", 1e-9},  {"NoncentralTICDF", 1e-9},
};

// The Cauchy case df = 1 of the t distribution function goes through Boost's
// arcsine form of I_x(1/2, 1/2), asin(sqrt(1 - z)), which near |x| = 0 loses
// digits to the condition of asin at 1: about 1e-12 absolute at x = 1e-8.
constexpr double kCauchyNearZeroTol = kTol4;

// Far tails where Boost 1.74's incomplete-beta inverse gives up its root
// finding (errno EDOM): the first two with a wrong root (a shape below 1 and p
// below ~1e-50), the last two with the right one, 1 to the last bit. They stay
// in the table as a record and are reported, not asserted.
const std::set<std::string> kKnownInverseFailures = {
    "BetaICDF 1e-300 10 0.20000000000000001 0",
    "FisherFICDF 1e-50 0.5 7 1",
    "BetaICDF 1e-300 0.10000000000000001 10 1",
    "BetaICDF 1e-300 1000 5 1",
};

// The row as written in the table, without the expected value.
std::string key(const ReferenceTable::Row& row)
{
    return row.str("function") + " " + row.str("a") + " " + row.str("b") + " " + row.str("c") +
           " " + row.str("upper");
}

TEST(ContinuousReference, AgreesWithR)
{
    const ReferenceTable table("continuous.csv");
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        const std::string& fn = row.str("function");
        errno = 0;
        const double v = evaluate(row);
        if (row.num("upper") == 1) expect_every_nonzero_tail_byte_is_upper(row.str("function"), {row.num("a"), row.num("b"), row.num("c")});
        if (kKnownInverseFailures.count(key(row))) {
            std::printf("known Boost inverse failure: %s gives %.17g (errno %d)\n",
                        row.where().c_str(), v, errno);
            continue;
        }
        double tol = kTolerance.at(fn);
        if (fn == "StudentTCDF" && row.num("b") == 1) tol = kCauchyNearZeroTol;
        EXPECT_REL_NEAR(v, row.num("expected"), tol);
        if (std::fabs(row.num("expected")) >= DBL_MIN && std::fabs(v) >= DBL_MIN) {
            EXPECT_EQ(errno, 0) << "a successful call must leave errno alone";
        }
    }
}

// ---- Noncentral t: mpmath quadrature, SciPy beside it --------------------------

// mpmath integrates over the chi scale at 20 digits, independent of Boost's
// Poisson-mixture series. The distribution function and density of the series
// agree to kTol3 (their terms are summed in long double but the beta and
// Poisson weights carry a few hundred ulps); the quantile is root finding on
// top of that: kTol4.
//
// SciPy 1.10 is the cross-check, held only as far as it is itself accurate
// (measured against the mpmath column): its own hypergeometric density to
// 1e-12 where finite (it overflows to inf for delta = 40, df = 200); cdflib's
// cdftnc and its inverse, which stop at about 1e-6 relative (3.2e-6 seen at
// df = 200, delta = 40) and lose the far tails of the quantile (4% at
// p = 1e-6), to 1e-5 above 1e-3 and for p >= 0.05.
//
// Where Boost 1.74's series is known to go wrong, rows are reported, not
// asserted: the far lower tail x << delta (delta = 12 or 40 at x = 0.5, values
// below 1e-20), where its density comes out at half the value (SciPy's
// density agrees with mpmath there) and its distribution function loses from
// 3e-9 to all digits; and the one-in-a-million upper quantile for df <= 4 with
// delta >= 12, off by 1e-7 to 3e-3.
bool boost_far_tail(const ReferenceTable::Row& row)
{
    const std::string& fn = row.str("function");
    if (fn == "NoncentralTICDF")
        return row.num("upper") != 0 && row.num("a") < 1e-3 && row.num("b") <= 4 && row.num("c") >= 12;
    return row.num("expected") > 0 && row.num("expected") < 1e-20;
}

TEST(NoncentralTReference, AgreesWithMpmathAndSciPy)
{
    const ReferenceTable table("noncentral_t.csv");
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        const std::string& fn = row.str("function");
        const double v = evaluate(row);
        if (boost_far_tail(row)) {
            std::printf("Boost far tail: %s gives %.17g (%.2g relative)\n", row.where().c_str(), v,
                        relative_error(v, row.num("expected")));
            continue;
        }
        EXPECT_REL_NEAR(v, row.num("expected"), fn == "NoncentralTICDF" ? kTol4 : kTol3);
        const double scipy = row.num("scipy");
        if (!std::isfinite(scipy) || std::fabs(scipy) <= 1e-3) continue;
        if (fn == "NoncentralTPDF") {
            EXPECT_REL_NEAR(v, scipy, 1e-12) << " (SciPy)";
        }
        if (fn == "NoncentralTCDF") {
            EXPECT_REL_NEAR(v, scipy, 1e-5) << " (SciPy)";
        }
        if (fn == "NoncentralTICDF" && row.num("a") >= 0.05) {
            EXPECT_REL_NEAR(v, scipy, 1e-5) << " (SciPy)";
        }
    }
}

// ---- Identities ------------------------------------------------------------------

// A CDF export with its parameters bound: (x, tail) -> probability.
using Cdf = std::function<double(double, unsigned char)>;
using Icdf = std::function<double(double, unsigned char)>;

struct Family {
    const char* name;
    Cdf cdf;
    Icdf icdf;
    std::vector<double> xs;  // on both sides of every branch point
};

std::vector<Family> families()
{
    return {
        // Boost switches from I_{x^2/(df+x^2)}(1/2, df/2) to I_{df/(df+x^2)}(df/2, 1/2)
        // at x^2 = df/2 (here x = +-2 for df = 8).
        {"StudentT df=8", [](double x, unsigned char u) { return StudentTCDF(x, 8, u); },
         [](double p, unsigned char u) { return StudentTICDF(p, 8, u); },
         {-30, -2.0000001, -2, -1.9999999, -0.3, 0.3, 1.9999999, 2, 2.0000001, 45}},
        {"StudentT df=0.7", [](double x, unsigned char u) { return StudentTCDF(x, 0.7, u); },
         [](double p, unsigned char u) { return StudentTICDF(p, 0.7, u); },
         {-1e6, -1, -0.1, 0.5, 3, 1e8}},
        // The incomplete gamma function changes method around x = a (df/2).
        {"ChiSquared df=7", [](double x, unsigned char u) { return ChiSquaredCDF(x, 7, u); },
         [](double p, unsigned char u) { return ChiSquaredICDF(p, 7, u); },
         {1e-6, 0.5, 6.9999, 7, 7.0001, 20, 150}},
        {"ChiSquared df=0.3", [](double x, unsigned char u) { return ChiSquaredCDF(x, 0.3, u); },
         [](double p, unsigned char u) { return ChiSquaredICDF(p, 0.3, u); },
         {1e-30, 1e-4, 0.3, 2, 40}},
        // The F distribution function changes form at v = df1 x = df2 (x = 4/3).
        {"FisherF 3,4", [](double x, unsigned char u) { return FisherFCDF(x, 3, 4, u); },
         [](double p, unsigned char u) { return FisherFICDF(p, 3, 4, u); },
         {1e-5, 0.5, 4.0 / 3 * (1 - 1e-9), 4.0 / 3, 4.0 / 3 * (1 + 1e-9), 30, 1e5}},
        {"FisherF 40,2.5", [](double x, unsigned char u) { return FisherFCDF(x, 40, 2.5, u); },
         [](double p, unsigned char u) { return FisherFICDF(p, 40, 2.5, u); },
         {0.01, 0.0625 * (1 - 1e-9), 0.0625, 0.0625 * (1 + 1e-9), 2, 500}},
        {"Gamma 2.5,0.4", [](double x, unsigned char u) { return GammaCDF(x, 2.5, 0.4, u); },
         [](double p, unsigned char u) { return GammaICDF(p, 2.5, 0.4, u); },
         {1e-8, 0.3, 0.99999, 1, 1.00001, 8, 60}},
        {"Gamma 0.05,3", [](double x, unsigned char u) { return GammaCDF(x, 0.05, 3, u); },
         [](double p, unsigned char u) { return GammaICDF(p, 0.05, 3, u); },
         {1e-100, 1e-5, 0.15, 2, 50}},
        {"Beta 2,3", [](double x, unsigned char u) { return BetaCDF(x, 2, 3, u); },
         [](double p, unsigned char u) { return BetaICDF(p, 2, 3, u); },
         {1e-9, 0.1, 0.4, 0.5, 0.6, 0.999}},
        {"Beta 0.3,30", [](double x, unsigned char u) { return BetaCDF(x, 0.3, 30, u); },
         [](double p, unsigned char u) { return BetaICDF(p, 0.3, 30, u); },
         {1e-30, 1e-3, 0.01, 0.2, 0.6}},
        {"NoncentralT 6,1.5", [](double x, unsigned char u) { return NoncentralTCDF(x, 6, 1.5, u); },
         [](double p, unsigned char u) { return NoncentralTICDF(p, 6, 1.5, u); },
         {-6, -0.5, 0, 0.4, 1.5, 3, 12}},
        {"NoncentralT 3,-2", [](double x, unsigned char u) { return NoncentralTCDF(x, 3, -2, u); },
         [](double p, unsigned char u) { return NoncentralTICDF(p, 3, -2, u); },
         {-40, -2, -0.1, 0.1, 1, 6}},
    };
}

TEST(ContinuousIdentities, TailsSumToOne)
{
    for (const auto& f : families())
        for (double x : f.xs) {
            SCOPED_TRACE(testing::Message() << f.name << " x=" << x);
            const double lower = f.cdf(x, 0), upper = f.cdf(x, 1);
            EXPECT_GT(upper, 0.0);
            EXPECT_NEAR(lower + upper, 1.0, 64 * kEps);
        }
}

TEST(ContinuousIdentities, FarUpperTailIsComputedNotCancelled)
{
    // Each is far below eps, where 1 - lower would be 0.
    const std::pair<const char*, double> tails[] = {
        {"StudentTCDF(1e9, 3, 1)", StudentTCDF(1e9, 3, 1)},
        {"ChiSquaredCDF(800, 3, 1)", ChiSquaredCDF(800, 3, 1)},
        {"FisherFCDF(1e15, 3, 4, 1)", FisherFCDF(1e15, 3, 4, 1)},
        {"GammaCDF(500, 2, 1, 1)", GammaCDF(500, 2, 1, 1)},
        {"BetaCDF(1 - 2^-40, 2, 3, 1)", BetaCDF(1 - std::ldexp(1.0, -40), 2, 3, 1)},
        {"NoncentralTCDF(1e6, 5, 1, 1)", NoncentralTCDF(1e6, 5, 1, 1)},
    };
    for (const auto& [what, v] : tails) {
        SCOPED_TRACE(what);
        EXPECT_GT(v, 0.0);
        EXPECT_LT(v, 1e-20);
    }
}

TEST(ContinuousIdentities, QuantileInvertsDistributionInBothTails)
{
    for (const auto& f : families())
        for (double p : {1e-12, 1e-4, 0.03, 0.5, 0.77, 0.999}) {
            for (unsigned char tail : {0, 1}) {
                SCOPED_TRACE(testing::Message() << f.name << " p=" << p << " tail " << int(tail));
                const double x = f.icdf(p, tail);
                EXPECT_REL_NEAR(f.cdf(x, tail), p, 1e-9);
            }
        }
}

TEST(ContinuousIdentities, DistributionInvertsQuantileInBothTails)
{
    for (const auto& f : families())
        for (double x : f.xs) {
            for (unsigned char tail : {0, 1}) {
                const double p = f.cdf(x, tail);
                if (p < 1e-280 || p > 1 - 1e-6) continue;  // x not determined by p
                SCOPED_TRACE(testing::Message() << f.name << " x=" << x << " tail " << int(tail));
                EXPECT_REL_NEAR(f.icdf(p, tail), x, 1e-8);
            }
        }
}

TEST(ContinuousIdentities, StudentTIsSymmetric)
{
    for (double df : {0.3, 1.0, 4.0, 1e3})
        for (double x : {1e-8, 0.5, 2.0, 70.0}) {
            SCOPED_TRACE(testing::Message() << "df=" << df << " x=" << x);
            EXPECT_EQ(StudentTCDF(x, df, 1), StudentTCDF(-x, df, 0));
            EXPECT_EQ(StudentTCDF(-x, df, 1), StudentTCDF(x, df, 0));
            EXPECT_EQ(StudentTPDF(x, df), StudentTPDF(-x, df));
            EXPECT_EQ(StudentTICDF(x / 100, df, 1), -StudentTICDF(x / 100, df, 0));
        }
    EXPECT_EQ(StudentTCDF(0, 3, 0), 0.5);
    EXPECT_EQ(StudentTCDF(0, 3, 1), 0.5);
}

TEST(ContinuousIdentities, NoncentralTWithZeroDeltaIsTheCentralT)
{
    for (double df : {0.5, 1.0, 7.0, 1e6, 1e17})
        for (double x : {-1e5, -3.0, -1e-9, 0.0, 0.25, 2.0, 40.0})
            for (unsigned char tail : {0, 1, 7})
                for (double zero : {0.0, -0.0}) {
                    SCOPED_TRACE(testing::Message() << "df=" << df << " x=" << x << " tail "
                                                    << int(tail) << " delta " << zero);
                    const auto [central, central_errno] =
                        with_errno([&] { return StudentTCDF(x, df, tail); });
                    const auto [value, value_errno] =
                        with_errno([&] { return NoncentralTCDF(x, df, zero, tail); });
                    EXPECT_EQ(value, central);
                    // Also the same errno: 0, or ERANGE where the result underflows.
                    EXPECT_EQ(value_errno, central_errno);
                }
}

TEST(ContinuousIdentities, NoncentralTUpperQuantileIsItsOwnComplement)
{
    for (double delta : {-3.0, 0.7, 5.0})
        for (double p : {0.01, 0.2, 0.6}) {
            SCOPED_TRACE(testing::Message() << "delta=" << delta << " p=" << p);
            const double upper = NoncentralTICDF(p, 9, delta, 1);
            EXPECT_REL_NEAR(upper, NoncentralTICDF(1 - p, 9, delta, 0), 1e-9);
            EXPECT_GT(std::fabs(upper + NoncentralTICDF(p, 9, delta, 0)), 1e-3)
                << "the upper quantile must not be the negated lower one";
        }
}

TEST(ContinuousIdentities, FamiliesAgreeWithTheirIncompleteFunctions)
{
    // Chi-squared(df) is gamma(df/2, 2); F(d1, d2) at x is beta(d1/2, d2/2) at
    // d1 x / (d1 x + d2); t(df)^2 is F(1, df).
    for (double x : {0.01, 1.0, 6.5, 30.0})
        for (unsigned char tail : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "x=" << x << " tail " << int(tail));
            EXPECT_REL_NEAR(ChiSquaredCDF(x, 5, tail), GammaCDF(x, 2.5, 2, tail), kTol1);
            EXPECT_REL_NEAR(ChiSquaredPDF(x, 5), GammaPDF(x, 2.5, 2), kTol1);
            const double v = 3 * x / (3 * x + 80);  // v <= df2: the I_{v/s} branch
            EXPECT_REL_NEAR(FisherFCDF(x, 3, 80, tail), BetaCDF(v, 1.5, 40, tail), kTol2);
            const double t = std::sqrt(x);
            EXPECT_REL_NEAR(FisherFCDF(x, 1, 6, 1), 2 * StudentTCDF(t, 6, 1), kTol2);
        }
}

// ---- Error contract --------------------------------------------------------------

TEST(ContinuousContract, BadInputGetsTheDefinedAnswer)
{
    // tests/gen/contract.py: every argument's domain, and the rows no domain
    // explains (ends of the supports, ERANGE, the order of the checks).
    expect_contract_rows("continuous");
}

TEST(ContinuousContract, NothingThrowsForAnyDouble)
{
        // Shapes near 1e300 are left out: Boost 1.74's incomplete-beta inverse
    // spins for minutes there (ibeta_inv(5e299, 5e299, 5e-324)) or raises an
    // evaluation error from its Newton iteration.
    const double specials[] = {kNaN, kInf, -kInf, 0.0, -0.0, 5e-324, -1.0, 0.5, 1.0, 2.0, 1e4};
    for (double x : specials)
        for (double y : specials)
            for (double z : specials) {
                SCOPED_TRACE(testing::Message() << x << " " << y << " " << z);
                const auto all = [&] {
                    double sink = 0;
                    for (unsigned char t : {0, 1}) {
                        sink += StudentTCDF(x, y, t) + StudentTICDF(x, y, t);
                        sink += ChiSquaredCDF(x, y, t) + ChiSquaredICDF(x, y, t);
                        sink += FisherFCDF(x, y, z, t) + FisherFICDF(x, y, z, t);
                        sink += GammaCDF(x, y, z, t) + GammaICDF(x, y, z, t);
                        sink += BetaCDF(x, y, z, t) + BetaICDF(x, y, z, t);
                        sink += NoncentralTCDF(x, y, z, t);
                    }
                    sink += StudentTPDF(x, y) + ChiSquaredPDF(x, y) + FisherFPDF(x, y, z);
                    sink += GammaPDF(x, y, z) + BetaPDF(x, y, z) + NoncentralTPDF(x, y, z);
                    return sink;
                };
                EXPECT_NO_THROW(all());
            }
}

TEST(ContinuousContract, FailedNewtonIterationIsEdomNotAnException)
{
    // The incomplete-beta inverse's Newton iteration finds no root for a
    // subnormal p with these shapes; Boost raises that with its default policy.
    const auto [v, err] = with_errno([] { return BetaICDF(1.9762625833649862e-323, 5, 1e-5, 0); });
    EXPECT_TRUE(std::isnan(v));
    EXPECT_EQ(err, EDOM);
}

TEST(ContinuousContract, GammaDensityOverflowingThroughItsScaleIsErange)
{
    // gamma_p_derivative(1/2, 1.26e-8) is about 5e3, finite; divided by a
    // scale of 5.4e-312 the density is 9e314, beyond the double range.
    const auto [v, err] =
        with_errno([] { return GammaPDF(6.8551608360472958e-320, 0.5, 5.4323092248661565e-312); });
    EXPECT_EQ(v, std::numeric_limits<double>::infinity());
    EXPECT_EQ(err, ERANGE);
}

}  // namespace
