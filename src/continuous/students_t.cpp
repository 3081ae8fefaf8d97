// Student's t distribution: density, distribution function and quantile.
//
// Evaluated through boost::math::students_t_distribution under the errno
// policy. The upper tail of the distribution function and the upper-tail
// quantile come from the symmetry of t about 0 (P(T > x) = P(T <= -x)), not
// from 1 - P, so a far upper tail keeps its relative accuracy.
#include <cerrno>
#include <cmath>

#include <boost/math/distributions/students_t.hpp>

#include "interface/evaluation.hpp"
#include "interface/checks.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;
using StudentT = boost::math::students_t_distribution<double, pol::Errno>;

}  // namespace

// Boost takes an infinite df for the normal limit; here a df must be finite,
// so the check refuses it before the distribution is built. A NaN x is left
// to the distribution, which refuses it the same way (NaN, EDOM).
extern "C" double StudentTPDF(double x, double df)
{
    if (!check_positive_finite(df)) return quiet_nan();
    return evaluate([&] { return boost::math::pdf(StudentT(df), x); }, x, df);
}

extern "C" double StudentTCDF(double x, double df, unsigned char upper)
{
    if (!check_positive_finite(df)) return quiet_nan();
    const double t = is_upper_tail(upper) ? -x : x;
    return evaluate([&] { return boost::math::cdf(StudentT(df), t); }, x, df);
}

// p outside [0, 1] (or NaN) is refused by the quantile itself; p = 0 and 1
// give -inf and +inf with ERANGE.
extern "C" double StudentTICDF(double p, double df, unsigned char upper)
{
    if (!check_positive_finite(df)) return quiet_nan();
    const double q = evaluate([&] { return boost::math::quantile(StudentT(df), p); }, p, df);
    return is_upper_tail(upper) ? -q : q;
}
