// The multiple-comparison distributions: a statistic that, given the
// studentizing scale, is a function of correlated standard normals, and whose
// distribution is found by integrating over the scale sqrt(chi^2_Df / Df).
//
// MC owns the parameters, integrates the subclass's conditional probability
// over the scale with a fixed 48-point Gauss-Legendre rule, and inverts the
// result with TOMS 748 inside the subclass's bracket. The subclasses
// (TukeyDistribution, DunnettDistribution, HsuDistribution, one file each)
// supply the conditional probability and the bracket. An object lives on the
// stack of one export call; everything is evaluated under Boost's throwing
// policy, so bad parameters leave the export as exceptions.
//
// References: C. W. Dunnett, "A multiple comparison procedure for comparing
// several treatments with a control", JASA 50 (1955) 1096-1121; J. C. Hsu,
// "Multiple Comparisons", Chapman & Hall (1996), appendix on computation;
// G. E. Alefeld, F. A. Potra, Y. Shi, "Algorithm 748: enclosing zeros of
// continuous functions", ACM TOMS 21 (1995) 327-344.
#pragma once

#include <cstdint>
#include <utility>

#include <boost/math/constants/constants.hpp>

#include "interface/checks.hpp"
#include "multcomp/quadrature.hpp"

namespace kcm::multcomp {

using boost::math::double_constants::pi;
using boost::math::double_constants::root_two;

// Deliberately no virtual destructor: each object is created and destroyed on
// an export's stack as the exact class that made it.
class MC {
public:
    // Borrows Lambda (K entries); allocates Scale[i] = 1/sqrt(1 - Lambda[i]^2).
    // Nothing is validated: |Lambda[i]| > 1 gives a NaN scale, 1 gives +inf.
    MC(int32_t K, double Df, const double* Lambda);
    MC(const MC&) = delete;
    MC& operator=(const MC&) = delete;
    ~MC();

    // P(statistic <= q | studentizing deviation = s times the true one).
    virtual double ConditionalCDF(double q, double s) = 0;
    // An interval (lower, upper) holding the quantile of order 1 - alpha.
    virtual std::pair<double, double> QuantileBracket(double alpha) = 0;

    // P(statistic <= q), integrated over the studentizing scale.
    double CDF(double q);
    // The q with CDF(q) = p, to 24 bits.
    double ICDF(double p);

protected:
    const double* Lambda;
    double* Scale;
    int32_t K;
    double Df;

private:
    // The parts of the outer rule that do not depend on q: the scale ratio at
    // each Legendre node, the chi density there, and the width of the cut
    // range. Filled at the first CDF of the object, so every CDF of one ICDF
    // shares them; each is the very value the rule would compute afresh.
    struct OuterRule {
        double ratio[kRuleSize];    // s_i = sqrt(2) y_i / sqrt(Df)
        double density[kRuleSize];  // exp(ln(y_i)(Df - 1) - y_i^2 - lgamma(Df/2))
        double width;               // b - a
    };
    const OuterRule& outer_rule();

    OuterRule rule_;
    bool rule_ready_ = false;
};

// Student t quantile of the brackets, through Boost's distribution object
// under the throwing policy. An infinite Df is refused with the constructor's
// own domain error, which Boost 1.74 no longer raises for +inf.
double student_t_quantile(double Df, double probability);

// Standard normal distribution function, boost::math::cdf of a
// normal_distribution under the throwing policy (a NaN argument raises
// "Random variate x is %1%, but must be finite!").
double normal_cdf(double x);

// Beyond this argument Phi rounds to exactly 1 in double precision, and
// below its negative 1 - Phi rounds to exactly 1: Phi(8.5) = 1 - 9.5e-18
// (half an ulp below 1 is 5.6e-17, a margin of 5.8 that no error of the
// erfc approximation comes near; Phi first rounds to 1 at 8.29).
constexpr double kNormalSaturation = 8.5;

// 1 - Phi(x) as the conditional probabilities form it, without evaluating
// Phi where the result is known to the last bit: 0 from 8.5 on, 1 up to
// -8.5. A NaN fails both tests and reaches Phi, which raises as before.
inline double normal_upper_by_subtraction(double x)
{
    if (x >= kNormalSaturation) return 0.0;
    if (x <= -kNormalSaturation) return 1.0;
    return 1 - normal_cdf(x);
}

// The two exports of each distribution: the object is built on the stack from
// (K, Df, Lambda), asked once and destroyed. This family alone forms the
// upper tail by subtraction, 1 - CDF (a small upper tail keeps only absolute
// precision), and turns an upper-tail p into the lower-tail 1 - p the same
// way.
template <class Distribution>
double export_cdf(double q, int32_t K, double Df, const double* Lambda, unsigned char upper)
{
    Distribution dist(K, Df, Lambda);
    const double r = dist.CDF(q);
    return is_upper_tail(upper) ? 1 - r : r;
}

template <class Distribution>
double export_icdf(double p, int32_t K, double Df, const double* Lambda, unsigned char upper)
{
    Distribution dist(K, Df, Lambda);
    return dist.ICDF(is_upper_tail(upper) ? 1 - p : p);
}

}  // namespace kcm::multcomp
