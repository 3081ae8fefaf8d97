// The multiple-comparison framework: the outer integration over the
// studentizing scale and the inversion shared by the three distributions.
//
// With X ~ chi^2(Df) the integration variable is y = sqrt(X/2), of density
// 2 y^(Df-1) e^(-y^2) / Gamma(Df/2); its range is cut at the 5e-8 and
// 0.99999995 chi-squared quantiles, which leaves all 48 Gauss-Legendre nodes
// where the density is not negligible. The rule is fixed: no adaptive
// refinement, no error estimate, no clamping of the sum to [0, 1].
#include "multcomp/mc.hpp"

#include <cmath>
#include <cstddef>
#include <limits>
#include <new>

#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/policies/error_handling.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/math/tools/toms748_solve.hpp>

#include "interface/policies.hpp"

namespace kcm::multcomp {

namespace {

// From this many degrees of freedom on the scale is taken as exactly known.
constexpr double kKnownVarianceDf = 1000;
// Cut points of the chi range, as chi-squared probabilities.
constexpr double kLowerCut = 5e-8;
constexpr double kUpperCut = 0.99999995;
// The root finder stops at a relative bracket width of 2^-23 ...
constexpr int kToleranceBits = 24;
// ... or after this many iterations, silently (the bracket midpoint stands).
constexpr std::uintmax_t kMaxIterations = 198;

}  // namespace

MC::MC(int32_t K, double Df, const double* Lambda) : Lambda(Lambda), Scale(nullptr), K(K), Df(Df)
{
    // A negative K is widened as a signed value, an impossible size that the
    // allocator refuses with std::bad_alloc. That refusal is raised here
    // without asking: an instrumented allocator (AddressSanitizer) treats the
    // request itself as a fatal error instead of throwing.
    if (K < 0) throw std::bad_alloc();
    Scale = static_cast<double*>(::operator new[](static_cast<std::size_t>(K) * sizeof(double)));
    for (int32_t i = 0; i < K; ++i) Scale[i] = 1 / std::sqrt(1 - Lambda[i] * Lambda[i]);
}

MC::~MC() { ::operator delete[](Scale); }

const MC::OuterRule& MC::outer_rule()
{
    if (rule_ready_) return rule_;
    const boost::math::chi_squared_distribution<double, pol::Throwing> chi2(Df);
    const double L = boost::math::lgamma(Df / 2, pol::Throwing());
    const double a = std::sqrt(boost::math::quantile(chi2, kLowerCut) / 2);
    const double b = std::sqrt(boost::math::quantile(chi2, kUpperCut) / 2);
    rule_.width = b - a;
    for (int i = 0; i < kRuleSize; ++i) {
        const double y = (kLegendreNode[i] + 1) * (b - a) / 2 + a;
        rule_.ratio[i] = root_two * y / std::sqrt(Df);
        rule_.density[i] = std::exp(std::log(y) * (Df - 1) - y * y - L);
    }
    rule_ready_ = true;
    return rule_;
}

double MC::CDF(double q)
{
    // A NaN Df fails this test and is refused by the chi-squared distribution.
    if (Df >= kKnownVarianceDf) return ConditionalCDF(q, 1.0);
    const OuterRule& r = outer_rule();
    // The factor (b - a) is the rule's half-width times the density's 2.
    double sum = 0;
    for (int i = 0; i < kRuleSize; ++i)
        sum += ConditionalCDF(q, r.ratio[i]) * r.density[i] * r.width * kLegendreWeight[i];
    return sum;
}

double MC::ICDF(double p)
{
    const std::pair<double, double> bracket = QuantileBracket(1 - p);
    const double lower = bracket.first, upper = bracket.second;
    if (lower == upper) return (upper - lower) * 0.5 + lower;
    auto f = [this, p](double x) { return CDF(x) - p; };
    const double f_upper = f(upper);  // the upper end first
    const double f_lower = f(lower);
    std::uintmax_t iterations = kMaxIterations;
    // Running out of iterations is not an error here: the bracket reached is
    // returned. Reversed or non-bracketing ends raise toms748_solve's errors.
    const std::pair<double, double> root = boost::math::tools::toms748_solve(
        f, lower, upper, f_lower, f_upper, boost::math::tools::eps_tolerance<double>(kToleranceBits),
        iterations, pol::Throwing());
    return (root.second - root.first) * 0.5 + root.first;
}

double student_t_quantile(double Df, double probability)
{
    if (std::isinf(Df) && Df > 0)
        boost::math::policies::raise_domain_error<double>(
            "boost::math::students_t_distribution<%1%>::students_t_distribution",
            "Degrees of freedom argument is %1%, but must be > 0 !", Df, pol::Throwing());
    const boost::math::students_t_distribution<double, pol::Throwing> t(Df);
    return boost::math::quantile(t, probability);
}

double normal_cdf(double x)
{
    static const boost::math::normal_distribution<double, pol::Throwing> standard;
    return boost::math::cdf(standard, x);
}

}  // namespace kcm::multcomp
