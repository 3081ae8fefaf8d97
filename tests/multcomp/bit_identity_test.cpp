// The exports compute the q-independent parts of the outer rule (the chi
// cut points, lgamma(Df/2), the node positions and chi densities) and, for
// the studentized range, the first normal probability at each Hermite node,
// once per call instead of once per evaluation. That must not change a
// single bit, and neither may skipping the normal probabilities that round to
// exactly 0 or 1: here the straightforward evaluation, which recomputes all of
// it at every CDF and every node, is written out and compared bit for bit.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/math/tools/toms748_solve.hpp>

#include "korvane/core_math.h"
#include "multcomp/quadrature.hpp"

namespace {

using namespace kcm::multcomp;
using Throwing = boost::math::policies::policy<>;

constexpr double kSqrt2 = 1.4142135623730951;
constexpr double kPi = 3.141592653589793;

double Phi(double x)
{
    return boost::math::cdf(boost::math::normal_distribution<double, Throwing>(), x);
}

double tQ(double df, double p)
{
    return boost::math::quantile(boost::math::students_t_distribution<double, Throwing>(df), p);
}

double scale(double lambda) { return 1 / std::sqrt(1 - lambda * lambda); }

enum class Kind { Tukey, Hsu, Dunnett };

double conditional(Kind kind, double q, double s, int K, const double* lambda)
{
    const double d = q * s;
    double sum = 0;
    for (int i = 0; i < kRuleSize; ++i) {
        double P = 1;
        if (kind == Kind::Tukey) {
            const double c = scale(lambda[0]);
            const double z = kSqrt2 * lambda[0] * kHermiteNode[i];
            const double D = (1 - Phi(-c * z)) - (1 - Phi(c * (d - z)));
            P = K == 3 ? D * D : std::pow(D, static_cast<double>(K - 1));
        } else {
            for (int j = 0; j < K - 1; ++j) {
                const double c = scale(lambda[j]);
                const double z = kSqrt2 * lambda[j] * kHermiteNode[i];
                P *= kind == Kind::Hsu ? 1 - Phi(-c * (z + d))
                                       : (1 - Phi(-c * (d + z))) - (1 - Phi(c * (d - z)));
            }
        }
        sum += kHermiteWeight[i] * P;
    }
    return kind == Kind::Tukey ? K * sum / std::sqrt(kPi) : sum / std::sqrt(kPi);
}

double cdf(Kind kind, double q, int K, double Df, const double* lambda)
{
    if (Df >= 1000) return conditional(kind, q, 1.0, K, lambda);
    const boost::math::chi_squared_distribution<double, Throwing> chi2(Df);
    const double L = boost::math::lgamma(Df / 2, Throwing());
    const double a = std::sqrt(boost::math::quantile(chi2, 5e-8) / 2);
    const double b = std::sqrt(boost::math::quantile(chi2, 0.99999995) / 2);
    double sum = 0;
    for (int i = 0; i < kRuleSize; ++i) {
        const double y = (kLegendreNode[i] + 1) * (b - a) / 2 + a;
        const double s = kSqrt2 * y / std::sqrt(Df);
        sum += conditional(kind, q, s, K, lambda) * std::exp(std::log(y) * (Df - 1) - y * y - L) *
               (b - a) * kLegendreWeight[i];
    }
    return sum;
}

double icdf(Kind kind, double p, int K, double Df, const double* lambda)
{
    const double alpha = 1 - p;
    double lower, upper;
    if (kind == Kind::Tukey) {
        lower = -tQ(Df, alpha / 2);
        upper = -tQ(Df, alpha / (K * (K - 1)));
    } else if (kind == Kind::Dunnett) {
        lower = -tQ(Df, alpha / 2);
        upper = -tQ(Df, alpha / (2 * K - 2));
    } else {
        lower = -tQ(Df, alpha);
        upper = -tQ(Df, alpha / (K - 1));
    }
    if (lower == upper) return (upper - lower) * 0.5 + lower;
    auto f = [&](double x) { return cdf(kind, x, K, Df, lambda) - p; };
    const double fu = f(upper), fl = f(lower);
    std::uintmax_t iterations = 198;
    const auto r = boost::math::tools::toms748_solve(
        f, lower, upper, fl, fu, boost::math::tools::eps_tolerance<double>(24), iterations, Throwing());
    return (r.second - r.first) * 0.5 + r.first;
}

bool same_bits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

struct Case {
    Kind kind;
    int K;
    double Df;
    std::vector<double> lambda;
};

const double kHalf = std::sqrt(0.5);

std::vector<Case> cases()
{
    return {
        {Kind::Tukey, 3, 2.5, {kHalf, kHalf, kHalf}},
        {Kind::Tukey, 4, 20, {kHalf, kHalf, kHalf, kHalf}},
        {Kind::Tukey, 10, 120, std::vector<double>(10, kHalf)},
        {Kind::Tukey, 6, 5000, std::vector<double>(6, kHalf)},
        {Kind::Tukey, 5, 7, {0.6, 0.1, 0.1, 0.1, 0.1}},
        {Kind::Hsu, 5, 11, {0.5, 0.6, 0.7, 0.4, 0.0}},
        {Kind::Hsu, 3, 1e6, {kHalf, kHalf, 0.0}},
        {Kind::Dunnett, 5, 11, {0.5, 0.6, 0.7, 0.4, 0.0}},
        {Kind::Dunnett, 8, 999.5, std::vector<double>(8, 0.3)},
    };
}

double export_cdf(const Case& c, double q)
{
    switch (c.kind) {
    case Kind::Tukey: return MCaCDF(q, c.K, c.Df, c.lambda.data(), 0);
    case Kind::Hsu: return MCbCDF(q, c.K, c.Df, c.lambda.data(), 0);
    default: return MCcCDF(q, c.K, c.Df, c.lambda.data(), 0);
    }
}

double export_icdf(const Case& c, double p)
{
    switch (c.kind) {
    case Kind::Tukey: return MCaICDF(p, c.K, c.Df, c.lambda.data(), 0);
    case Kind::Hsu: return MCbICDF(p, c.K, c.Df, c.lambda.data(), 0);
    default: return MCcICDF(p, c.K, c.Df, c.lambda.data(), 0);
    }
}

TEST(MultcompBitIdentity, NormalProbabilitiesSaturateWhereTheShortcutAssumes)
{
    // The conditional probabilities skip Phi beyond |x| = 8.5, where 1 - Phi(x)
    // is exactly 0 or 1; check that on a fine grid out to the far tail.
    for (double x = 8.5; x < 40; x += 1.0 / 1024) {
        ASSERT_EQ(1 - Phi(x), 0.0) << x;
        ASSERT_EQ(1 - Phi(-x), 1.0) << -x;
    }
    EXPECT_EQ(1 - Phi(8.5), 0.0);
    EXPECT_EQ(1 - Phi(-8.5), 1.0);
    EXPECT_LT(Phi(8.2), 1.0);  // the margin is real: Phi first rounds to 1 near 8.29
}

TEST(MultcompBitIdentity, DistributionFunctionMatchesStraightforwardEvaluation)
{
    for (const Case& c : cases()) {
        for (double q : {0.0, 0.35, 1.0, 2.2, 3.7, 6.0}) {
            SCOPED_TRACE(testing::Message() << int(c.kind) << " K " << c.K << " Df " << c.Df << " q " << q);
            const double expected = cdf(c.kind, q, c.K, c.Df, c.lambda.data());
            const double actual = export_cdf(c, q);
            EXPECT_TRUE(same_bits(actual, expected)) << actual << " vs " << expected;
        }
    }
}

TEST(MultcompBitIdentity, QuantileMatchesStraightforwardEvaluation)
{
    for (const Case& c : cases()) {
        if (c.kind == Kind::Tukey && c.lambda[0] != kHalf) continue;  // no bracket
        for (double p : {0.5, 0.9, 0.99}) {
            SCOPED_TRACE(testing::Message() << int(c.kind) << " K " << c.K << " Df " << c.Df << " p " << p);
            const double expected = icdf(c.kind, p, c.K, c.Df, c.lambda.data());
            const double actual = export_icdf(c, p);
            EXPECT_TRUE(same_bits(actual, expected)) << actual << " vs " << expected;
        }
    }
}

}  // namespace
