// The noncentral t distribution with df degrees of freedom and noncentrality
// delta, through boost::math::non_central_t_distribution under the errno
// policy (Benton and Krishnamoorthy's series: Computational Statistics & Data
// Analysis 43 (2003) 249-267). The distribution is not symmetric, so the
// upper tail and the upper-tail quantile are solved from the complement, not
// by reflection. delta = 0 is the central t of StudentTCDF, bit for bit.
//
// Not every error inside the evaluation is under the errno policy: Boost
// evaluates the gamma-function ratio Gamma(z) / Gamma(z + 1/2) of the density
// and of the quantile's starting guess under its default policy, so an
// overflow there leaves the export as std::overflow_error
// ("boost::math::tgamma_delta_ratio<%1%>(%1%, %1%)"); it is not caught.
#include <cerrno>
#include <climits>
#include <cmath>

#include <boost/math/distributions/non_central_t.hpp>

#include "interface/evaluation.hpp"
#include "interface/checks.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;
using NoncentralT = boost::math::non_central_t_distribution<double, pol::Errno>;

// Boost starts its Poisson-weighted series at the int k = trunc(delta^2 / 2)
// and raises a rounding error (an exception, outside the errno policy) when
// that does not fit; k + 1 must fit too. Beyond this |delta| the series cannot
// be evaluated and the call fails as an evaluation error: NaN with EDOM.
constexpr double kMaxHalfDeltaSquared = INT_MAX - 1.0;

// df > 0 and finite (Boost would take an infinite df for the normal limit),
// then delta finite; '&': each failed check sets errno.
bool check_parameters(double df, double delta)
{
    return check_positive_finite(df) & check_finite(delta);
}

bool series_can_start(double delta) { return delta * delta / 2 < kMaxHalfDeltaSquared; }

}  // namespace

extern "C" double NoncentralTPDF(double x, double df, double delta)
{
    if (!check_parameters(df, delta)) return quiet_nan();
    if (!series_can_start(delta)) return domain_nan();
    // A non-finite x is refused by the distribution (NaN, EDOM).
    return evaluate([&] { return boost::math::pdf(NoncentralT(df, delta), x); }, x, df, delta);
}

// x = +-inf is refused (NaN, EDOM) rather than mapped to 0 or 1; deliberate.
extern "C" double NoncentralTCDF(double x, double df, double delta, unsigned char upper)
{
    if (!check_parameters(df, delta) || !std::isfinite(x)) return domain_nan();
    if (delta == 0) return StudentTCDF(x, df, upper);
    if (!series_can_start(delta)) return domain_nan();
    const NoncentralT dist(df, delta);
    const double r = evaluate([&] {
        return is_upper_tail(upper) ? boost::math::cdf(boost::math::complement(dist, x))
                                    : boost::math::cdf(dist, x);
    }, x, df, delta);
    return guard_overflow(r);
}

// The lower tail asks the quantile with (p, 1 - p), the upper with (1 - p, p):
// the upper-tail quantile is found from its own complement. p outside [0, 1]
// is refused by the quantile (NaN, EDOM); p = 0 or 1 give -inf or +inf with
// ERANGE.
extern "C" double NoncentralTICDF(double p, double df, double delta, unsigned char upper)
{
    if (!check_parameters(df, delta)) return quiet_nan();
    if (!series_can_start(delta)) return domain_nan();
    const NoncentralT dist(df, delta);
    return evaluate([&] {
        return is_upper_tail(upper) ? boost::math::quantile(boost::math::complement(dist, p))
                                    : boost::math::quantile(dist, p);
    }, p, df, delta);
}
