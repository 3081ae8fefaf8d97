// The chi-squared distribution with df degrees of freedom, written on the
// regularized incomplete gamma function with shape df/2 at x/2:
// P(X <= x) = P(df/2, x/2), P(X > x) = Q(df/2, x/2) computed directly, and
// the density (1/2) dP(df/2, z)/dz at z = x/2. Everything runs under the
// errno policy.
#include <cerrno>
#include <cmath>

#include <boost/math/special_functions/gamma.hpp>

#include "interface/evaluation.hpp"
#include "interface/checks.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;

// The density at x = 0 depends on the shape df/2: unbounded below df = 2,
// exactly 1/2 at df = 2, zero above.
constexpr double kExponentialDf = 2.0;
constexpr double kDensityAtZeroWhenDfIs2 = 0.5;

}  // namespace

extern "C" double ChiSquaredPDF(double x, double df)
{
    if (!check_positive_finite(df) || x < 0 || !std::isfinite(x)) return domain_nan();
    if (x == 0) {
        if (df < kExponentialDf) {
            errno = ERANGE;
            return kInf;
        }
        return df == kExponentialDf ? kDensityAtZeroWhenDfIs2 : 0.0;
    }
    const double r = guard_overflow(
        evaluate([&] { return boost::math::gamma_p_derivative(df / 2, x / 2, pol::Errno()); }, x, df));
    return r * 0.5;
}

// x = +inf is refused (NaN, EDOM) rather than mapped to 1; this is deliberate.
extern "C" double ChiSquaredCDF(double x, double df, unsigned char upper)
{
    if (!check_positive_finite(df) || x < 0 || !std::isfinite(x)) return domain_nan();
    const double r = evaluate([&] {
        return is_upper_tail(upper) ? boost::math::gamma_q(df / 2, x / 2, pol::Errno())
                                    : boost::math::gamma_p(df / 2, x / 2, pol::Errno());
    }, x, df);
    return guard_overflow(r);
}

// p is left to the inverse, which refuses p outside [0, 1] and returns +inf
// with ERANGE at the top end. The inverse lets a NaN p through without a word,
// so that one is refused here.
extern "C" double ChiSquaredICDF(double p, double df, unsigned char upper)
{
    if (!check_positive_finite(df) || std::isnan(p)) return domain_nan();
    const double z = evaluate([&] {
        return is_upper_tail(upper) ? boost::math::gamma_q_inv(df / 2, p, pol::Errno())
                                    : boost::math::gamma_p_inv(df / 2, p, pol::Errno());
    }, p, df);
    return guard_overflow(2 * z);
}
