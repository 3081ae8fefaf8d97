// The multiple-comparison distributions evaluated the plain way: every
// normal probability computed, and the chi cut points, lgamma(Df/2), node
// positions and chi densities recomputed at every CDF and node. It writes
// tests/data/multcomp_bits.csv, the bit patterns the exports must give.
//
//   g++ -std=c++17 -O2 -Isrc -Iinclude tests/gen/multcomp_plain.cpp -o /tmp/plain
//   /tmp/plain > tests/data/multcomp_bits.csv
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/math/tools/toms748_solve.hpp>

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

}  // namespace

std::uint64_t bits(double x)
{
    std::uint64_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}

int main()
{
    const char* names[] = {"MCa", "MCb", "MCc"};
    std::printf("# The plain evaluation of tests/gen/multcomp_plain.cpp (Boost 1.74, x86-64).\n"
                "# function, argument, k, df, lambdas (space separated), result bits (hex)\n"
                "function,x,k,df,lambdas,bits\n");
    for (const Case& c : cases()) {
        char buffer[512];
        std::string exact;
        for (double l : c.lambda) {
            std::snprintf(buffer, sizeof buffer, "%s%.17g", exact.empty() ? "" : " ", l);
            exact += buffer;
        }
        const char* name = names[int(c.kind)];
        for (double q : {0.0, 0.35, 1.0, 2.2, 3.7, 6.0})
            std::printf("%sCDF,%.17g,%d,%.17g,%s,%016llx\n", name, q, c.K, c.Df, exact.c_str(),
                        (unsigned long long)bits(cdf(c.kind, q, c.K, c.Df, c.lambda.data())));
        if (c.kind == Kind::Tukey && c.lambda[0] != kHalf) continue;  // no bracket
        for (double p : {0.5, 0.9, 0.99})
            std::printf("%sICDF,%.17g,%d,%.17g,%s,%016llx\n", name, p, c.K, c.Df, exact.c_str(),
                        (unsigned long long)bits(icdf(c.kind, p, c.K, c.Df, c.lambda.data())));
    }
}
