// Fisher's F distribution with df1 and df2 degrees of freedom, written on the
// regularized incomplete beta function. With v = df1 x and s = v + df2,
//   P(F <= x) = I_{v/s}(df1/2, df2/2) = 1 - I_{df2/s}(df2/2, df1/2),
// and of the two forms the one whose argument is below 1/2 is used (v <= df2
// takes the first), so neither v/s nor df2/s is formed near 1 where it would
// lose digits. Everything runs under the errno policy.
#include <cerrno>
#include <cmath>

#include <boost/math/special_functions/beta.hpp>

#include "interface/checks.hpp"
#include "interface/evaluation.hpp"
#include "korvane/core_math.h"
#include "special/incomplete_beta.hpp"

namespace {

using namespace kcm;

// The density at x = 0 depends on df1: unbounded below 2, 1 at 2, 0 above.
constexpr double kExponentialDf1 = 2.0;
constexpr double kDensityAtZeroWhenDf1Is2 = 1.0;

bool check_df(double df) { return check_positive_finite(df); }

// Both forms of the density's factor are df1 df2 / s^2 (s - v = df2). With
// degrees of freedom near the ends of the double range s^2 or df1 df2
// overflows, or everything underflows, and the stated form is NaN: the factor
// is then taken as (df1 / s)(df2 / s). What is still NaN (an infinite
// derivative times a factor that is 0) is a domain error, and a density
// beyond the largest double (a huge factor times a large derivative) is +inf
// with ERANGE.
double finite_or_rescaled(double density, double df1, double df2, double s, double d)
{
    if (!std::isnan(density)) return guard_overflow(density);
    const double rescaled = (df1 / s) * (df2 / s) * d;
    return std::isnan(rescaled) ? domain_nan() : guard_overflow(rescaled);
}

}  // namespace

extern "C" double FisherFPDF(double x, double df1, double df2)
{
    const bool ok = check_df(df1) & check_df(df2);
    if (!ok || x < 0 || !std::isfinite(x)) return domain_nan();
    if (x == 0) {
        if (df1 < kExponentialDf1) {
            errno = ERANGE;
            return kInf;
        }
        return df1 == kExponentialDf1 ? kDensityAtZeroWhenDf1Is2 : 0.0;
    }
    const double v = df1 * x;
    const double s = v + df2;
    if (v > df2) {
        const double d = guard_overflow(evaluate(
            [&] { return boost::math::ibeta_derivative(df2 / 2, df1 / 2, df2 / s, pol::Errno()); },
            x, df1, df2));
        return finite_or_rescaled(df1 * df2 / (s * s) * d, df1, df2, s, d);
    }
    const double d = guard_overflow(evaluate(
        [&] { return boost::math::ibeta_derivative(df1 / 2, df2 / 2, v / s, pol::Errno()); },
        x, df1, df2));
    return finite_or_rescaled((s * df1 - x * df1 * df1) / (s * s) * d, df1, df2, s, d);
}

// Both degrees of freedom are refused here, df2 included: the incomplete beta
// function takes a zero shape as its limit (I = 0 or 1) and an infinite one
// to a silent NaN, so it cannot be left to refuse df2 itself.
// x = +inf is refused (NaN, EDOM) rather than mapped to 1; this is deliberate.
extern "C" double FisherFCDF(double x, double df1, double df2, unsigned char upper)
{
    const bool ok = check_df(df1) & check_df(df2);
    if (!ok || x < 0 || !std::isfinite(x)) return domain_nan();
    const double v = df1 * x;
    const double s = v + df2;
    const bool up = is_upper_tail(upper);
    // F is large: the tail of the beta variable df2/s near 0, the lower tail
    // as its complement.
    if (v > df2) return guard_overflow(ibeta_errno(df2 / 2, df1 / 2, df2 / s, !up));
    return guard_overflow(ibeta_errno(df1 / 2, df2 / 2, v / s, up));
}

// The quantile is x df2 / (y df1) with x the incomplete-beta root and y = 1 - x
// delivered by the inverse itself, so an upper quantile (x near 1) keeps its
// digits. p = 1 in the lower tail (p = 0 in the upper) divides by y = 0 and
// gives +inf without ERANGE.
extern "C" double FisherFICDF(double p, double df1, double df2, unsigned char upper)
{
    const bool ok = check_df(df1) & check_df(df2);
    if (!ok) return domain_nan();
    const double a = df1 / 2, b = df2 / 2;
    double x, y = quiet_nan();
    if (!is_upper_tail(upper)) {
        if (!check_lower_inverse_arguments(a, b, p)) return quiet_nan();
        x = guard_overflow(ibeta_inv_errno(a, b, p, false, &y));
        y = guard_overflow(y);
    } else {
        // The inverse refuses a p outside [0, 1] itself (NaN, EDOM).
        x = ibeta_inv_errno(a, b, p, true, &y);
    }
    return x * df2 / (y * df1);
}
