// Error function and normal distribution: the mpmath reference table, the
// identities between the exports, and the error contract.
#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <functional>
#include <limits>
#include <map>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "support/calls.hpp"
#include "support/contract.hpp"
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

// Tolerance rung per export. Boost's erf/erfc are rational approximations good
// to about 2 ulps; the inverses to a few ulps more. NormalPDF rounds (x-mean)^2
// and an exp of a large argument (|z| = 37 magnifies one ulp of z^2/2 ~ 700 by
// 700), so it is compared at kTol3; NormalCDF and NormalICDF inherit the
// rounding of z = (x - mean)/(sd*sqrt(2)) amplified by |z|*|d log Phi / dz|,
// which reaches ~1400 ulps at 37 sd.
const std::map<std::string, double> kTolerance = {
    {"Erf", kTol1},        {"ErfC", kTol1},      {"InverseErf", kTol1},
    {"InverseErfC", kTol1}, {"NormalPDF", kTol3}, {"NormalCDF", kTol3},
    {"NormalICDF", kTol2},
};

TEST(ErfNormalReference, AgreesWithMpmath)
{
    const ReferenceTable table("erf_normal.csv");
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        errno = 0;
        const double v = evaluate(row);
        if (row.num("upper") == 1) expect_every_nonzero_tail_byte_is_upper(row.str("function"), {row.num("a"), row.num("b"), row.num("c")});
        const int reported = errno;  // before the comparison's own arithmetic
        EXPECT_REL_NEAR(v, row.num("expected"), kTolerance.at(row.str("function")));
        // Only a result that underflows to 0 may carry the C library's
        // underflow report; every other result must leave errno alone.
        if (v != 0) {
            EXPECT_EQ(reported, 0) << "a successful call must leave errno alone";
        }
    }
}

TEST(ErfNormalIdentities, TailsSumToOneAndFarTailStaysPositive)
{
    const double cases[][3] = {{0, 0, 1}, {1.3, 0.2, 0.7}, {-4, 1, 3}, {12, 11.5, 0.1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c[0] << " " << c[1] << " " << c[2]);
        const double sum = NormalCDF(c[0], c[1], c[2], 0) + NormalCDF(c[0], c[1], c[2], 1);
        EXPECT_NEAR(sum, 1.0, 2 * kEps);
    }
    // 40 sd underflows in double precision (Q(40) ~ 3.7e-350); 37.5 sd is the
    // farthest representable case, ~4.6e-308, and must not cancel to 0.
    const double far = NormalCDF(3 + 37.5 * 2, 3, 2, 1);
    EXPECT_GT(far, 0.0);
    EXPECT_REL_NEAR(far, NormalCDF(3 - 37.5 * 2, 3, 2, 0), kTol0);
    EXPECT_EQ(NormalCDF(40, 0, 1, 1), 0.0);  // underflow, without errno
}

TEST(ErfNormalIdentities, QuantileInvertsDistributionInBothTails)
{
    for (double p : {1e-300, 1e-100, 1e-12, 0.01, 0.3, 0.5, 0.77, 0.999}) {
        for (unsigned char tail : {0, 1}) {
            SCOPED_TRACE(testing::Message() << p << " tail " << int(tail));
            const double x = NormalICDF(p, 2.5, 1.5, tail);
            EXPECT_REL_NEAR(NormalCDF(x, 2.5, 1.5, tail), p, 1e-12);
        }
    }
}

TEST(ErfNormalIdentities, InverseErfIsOddAndInvertsErf)
{
    for (double p : {1e-200, 1e-8, 0.2, 0.5, 0.95, 0.999999999}) {
        SCOPED_TRACE(p);
        EXPECT_EQ(InverseErf(-p), -InverseErf(p));
        EXPECT_REL_NEAR(Erf(InverseErf(p)), p, kTol1);
        // erfc's relative condition number near its root z is about 2 z^2.
        const double z = InverseErfC(p);
        EXPECT_REL_NEAR(ErfC(z), p, kTol1 * std::max(1.0, 2 * z * z));
        EXPECT_REL_NEAR(Erf(p) + ErfC(p), 1.0, kTol0);
    }
}

// The error contract: each row is a call, the value it must return and the
// errno it must leave (kKeep: the sentinel survives, errno untouched).

TEST(SpecialContract, RowsOfTheContractTable)
{
    // tests/gen/contract.py: the error function and normal distribution, the
    // beta family's errno rows, the gamma and beta families' exceptions.
    expect_contract_rows("special");
}

TEST(ErfNormalContract, ExtremeScalesKeepTheirLimits)
{
    // Scales where (x - mean)^2 and 2 sd^2 both overflow or both underflow,
    // or sd sqrt(2) overflows: the values still follow from z / sd (SciPy's
    // norm.pdf, norm.cdf and norm.ppf at the standardised point), and only a
    // result beyond the double range reports ERANGE.
    const ContractRow rows[] = {
        {"NormalPDF(0, 0, 1e-170)", [] { return NormalPDF(0, 0, 1e-170); }, 3.989422804014328e169, kKeep},
        {"NormalPDF(1e-171, 0, 1e-170)", [] { return NormalPDF(1e-171, 0, 1e-170); }, 3.969525474770119e169, kKeep},
        {"NormalPDF(1e308, -1e308, 1e308)", [] { return NormalPDF(1e308, -1e308, 1e308); }, 5.3990966513188e-310, kKeep},
        {"NormalPDF(0, 0, 1e-310)", [] { return NormalPDF(0, 0, 1e-310); }, kInf, ERANGE},
        {"NormalCDF(1e308, -1e308, 1.5e308, 0)", [] { return NormalCDF(1e308, -1e308, 1.5e308, 0); }, 0.9087887802741321, kKeep},
        {"NormalCDF(1e308, -1e308, 1.5e308, 1)", [] { return NormalCDF(1e308, -1e308, 1.5e308, 1); }, 0.09121121972586788, kKeep},
        {"NormalICDF(0.5, 3, 1.5e308, 0)", [] { return NormalICDF(0.5, 3, 1.5e308, 0); }, 3.0, kKeep},
        {"NormalICDF(0.6, 0, 1.5e308, 0)", [] { return NormalICDF(0.6, 0, 1.5e308, 0); }, 3.8002065470369957e307, kKeep},
        {"NormalICDF(0.999, 0, 1e308, 0)", [] { return NormalICDF(0.999, 0, 1e308, 0); }, kInf, ERANGE},
        {"NormalICDF(0.999, 0, 1e308, 1)", [] { return NormalICDF(0.999, 0, 1e308, 1); }, -kInf, ERANGE},
    };
    for (const auto& row : rows) expect_contract(row, 1e-12);
}

TEST(ErfNormalContract, NothingThrowsForAnyDouble)
{
    const double specials[] = {kNaN, kInf, -kInf, 0.0, -0.0, 1e-320, -1e308, 1e308, 2.0, -1.0};
    for (double x : specials)
        for (double y : specials)
            for (double z : specials) {
                const auto all = [&] {
                    double sink = Erf(x) + ErfC(x) + InverseErf(x) + InverseErfC(x);
                    sink += NormalPDF(x, y, z) + NormalCDF(x, y, z, 0) + NormalCDF(x, y, z, 1);
                    sink += NormalICDF(x, y, z, 0) + NormalICDF(x, y, z, 1);
                    return sink;
                };
                EXPECT_NO_THROW(all());
            }
}

}  // namespace
