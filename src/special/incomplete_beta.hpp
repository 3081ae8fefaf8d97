// The regularized incomplete beta function I_x(a, b), its complement and its
// inverses, as every export built on them evaluates them: the beta-function
// family, the beta and F distributions, and (inside Boost's binomial
// distribution) the binomial exports.
//
// Added to Boost's ibeta, ibetac, ibeta_inv and ibetac_inv here: the shape
// limit, the NaN rules, the argument checks of the lower-tail inverse, and
// the complementary root y = 1 - x that the inverses deliver.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>

#include <boost/math/policies/error_handling.hpp>
#include <boost/math/special_functions/beta.hpp>

#include "interface/checks.hpp"
#include "interface/evaluation.hpp"
#include "interface/policies.hpp"

namespace kcm {

// Boost 1.74's incomplete beta function and its inverses lose accuracy as the
// shapes grow past 1e11 (at a = b and x = 1/2, where the value is exactly 1/2,
// the relative error is 3e-8 at 1e12, 1.5e-7 at 1e13, 4e-6 at 1e14); from
// about 1e16 on the results are wrong in the first digit and the evaluation
// time grows without bound (0.5 s at 1e20, hours at 1e300). Shapes beyond
// 1e12 are refused as a failed evaluation.
constexpr double kLargestBetaShape = 1e12;

inline bool beta_shape_too_large(double a, double b)
{
    return a > kLargestBetaShape || b > kLargestBetaShape;
}

// The throwing form of the limit: `value` (the argument `what`, such as
// "Shape argument") beyond kLargestBetaShape raises
// boost::math::evaluation_error naming `function`. Callers make this check
// only once the arguments have passed Boost's own checks, so that an invalid
// argument is reported as such whatever the shapes.
inline void require_within_beta_range(double value, const char* what, const char* function)
{
    if (value > kLargestBetaShape) {
        const std::string message =
            std::string(what) + " %1% is beyond the range the incomplete beta function is evaluated in.";
        boost::math::policies::raise_evaluation_error<double>(function, message.c_str(), value,
                                                              pol::Throwing());
    }
}

// ---- Errno policy ------------------------------------------------------------

// I_x(a, b), or for `upper` its complement computed directly. Shapes beyond
// the limit are EDOM and NaN.
inline double ibeta_errno(double a, double b, double x, bool upper)
{
    if (beta_shape_too_large(a, b)) return domain_nan();
    return evaluate([&] {
        return upper ? boost::math::ibetac(a, b, x, pol::Errno())
                     : boost::math::ibeta(a, b, x, pol::Errno());
    }, a, b, x);
}

// The root x of I_x(a, b) = p, or for `upper` of 1 - I_x(a, b) = p. Its
// complement 1 - x, as the inverse computed it (full precision when x is near
// 1), goes to *y when y is not null; on a domain error *y is left alone. A NaN
// p is a domain error (EDOM, NaN): Boost 1.74 would let it reach a rounding
// error that throws even under the errno policy. Shapes beyond the limit are
// EDOM and NaN.
inline double ibeta_inv_errno(double a, double b, double p, bool upper, double* y)
{
    if (std::isnan(p) || beta_shape_too_large(a, b)) return domain_nan();
    return evaluate([&] {
        return upper ? boost::math::ibetac_inv(a, b, p, y, pol::Errno())
                     : boost::math::ibeta_inv(a, b, p, y, pol::Errno());
    }, a, b, p);
}

// The checks a lower-tail inverse makes itself (the upper-tail one leaves
// them to ibetac_inv): a <= 0, b <= 0, p < 0 or p > 1 sets EDOM. NaN
// arguments pass them.
inline bool check_lower_inverse_arguments(double a, double b, double p)
{
    return !(a <= 0 || b <= 0 || p < 0 || p > 1) || fail_domain();
}

// ---- Throwing policy -----------------------------------------------------------

// I_x(a, b), or for `upper` its complement computed directly, with the result
// check of the throwing special functions. Boost 1.74 lets a NaN x through
// its range test into an integer truncation that raises a rounding error; it
// is reported as the domain error of any other x outside [0, 1]. The shape
// limit comes after Boost's own checks (x in [0, 1], then a >= 0, then
// b >= 0); an infinite shape (no value: a domain error) and a zero other shape
// (a limit Boost decides) are left to Boost.
inline double ibeta_throwing(double a, double b, double x, bool upper)
{
    const char* function =
        upper ? "boost::math::ibetac<%1%>(%1%,%1%,%1%)" : "boost::math::ibeta<%1%>(%1%,%1%,%1%)";
    if (std::isnan(x))
        boost::math::policies::raise_domain_error<double>(
            function, "Parameter x outside the range [0,1] in the incomplete beta function (got x=%1%).", x,
            pol::Throwing());
    if (x >= 0 && x <= 1 && a > 0 && b > 0 && std::isfinite(a) && std::isfinite(b))
        require_within_beta_range(std::max(a, b), "Shape argument", function);
    return checked_throwing(upper ? boost::math::ibetac(a, b, x, pol::Throwing())
                                  : boost::math::ibeta(a, b, x, pol::Throwing()),
                            function, a, b, x);
}

}  // namespace kcm
