// Beta function, the regularized incomplete beta function in both tails, its
// inverses in both tails (plain, and with the complementary root), and the
// derivative of I_x(a, b).
//
// Values are Boost.Math's (beta, ibeta, ibetac, ibeta_inv, ibetac_inv,
// ibeta_derivative). Beta and the two incomplete beta functions evaluate
// under the throwing policy and add the library's own overflow check; the
// others report through errno. The two inverses are deliberately not
// symmetric: only the lower-tail one checks its arguments itself, the
// upper-tail one relies on the checks inside ibetac_inv.
//
// Reference: A. R. DiDonato and A. H. Morris, "Algorithm 708: Significant
// digit computation of the incomplete beta function ratios", ACM TOMS 18
// (1992) 360-373; the inverse starts from the approximations of N. M. Temme,
// "Asymptotic inversion of the incomplete beta function", J. Comput. Appl.
// Math. 41 (1992) 145-157.
#include <algorithm>
#include <cerrno>
#include <cmath>

#include <boost/math/special_functions/beta.hpp>

#include "interface/checks.hpp"
#include "interface/evaluation.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;

// Names under which the library's own checks raise their exceptions.
constexpr const char* kBetaName = "boost::math::beta<%1%>(%1%,%1%)";
constexpr const char* kIbetaName = "boost::math::ibeta<%1%>(%1%,%1%,%1%)";
constexpr const char* kIbetacName = "boost::math::ibetac<%1%>(%1%,%1%,%1%)";
constexpr const char* kXOutsideUnitInterval =
    "Parameter x outside the range [0,1] in the incomplete beta function (got x=%1%).";

// A NaN x is outside [0, 1], but Boost 1.74 lets it through its range test into
// an integer truncation that raises a rounding error; it is reported here as
// the domain error that any other x outside [0, 1] gets.
double require_x_in_domain(double x, const char* function)
{
    if (std::isnan(x))
        return boost::math::policies::raise_domain_error<double>(function, kXOutsideUnitInterval,
                                                                 x, pol::Throwing());
    return x;
}

// Finite shapes beyond what the incomplete beta function is evaluated for
// raise boost::math::evaluation_error, once the arguments have passed Boost's
// own checks (x in [0, 1], then a >= 0, then b >= 0): an x outside [0, 1] and
// a negative other shape are reported as such whatever the shapes, and an
// infinite shape (no value: a domain error) and a zero other shape (a limit
// Boost decides) are left to Boost.
void require_evaluable_shapes(double a, double b, double x, const char* function)
{
    if (beta_shape_too_large(a, b) && x >= 0 && x <= 1 && a > 0 && b > 0 && std::isfinite(a) &&
        std::isfinite(b))
        boost::math::policies::raise_evaluation_error<double>(
            function, "Shape argument %1% is beyond the range the incomplete beta function is evaluated in.",
            std::max(a, b), pol::Throwing());
}

// The inverse core of both tails under the errno policy: `upper` selects
// ibetac_inv. The root is returned and its complement 1 - x, as the inverse
// computed it, goes to *y when y is not null (on a domain error *y is left
// alone). A NaN probability is a domain error (EDOM, NaN): Boost 1.74 would
// let it reach a rounding error that throws even under the errno policy.
double inverse_ibeta(double a, double b, double p, bool upper, double* y)
{
    if (std::isnan(p) || beta_shape_too_large(a, b)) return domain_nan();
    return evaluate([&] {
        return upper ? boost::math::ibetac_inv(a, b, p, y, pol::Errno())
                     : boost::math::ibeta_inv(a, b, p, y, pol::Errno());
    }, a, b, p);
}

// The argument checks of the lower-tail inverse; NaN arguments pass them.
bool lower_inverse_arguments_ok(double a, double b, double p)
{
    return !(a <= 0 || b <= 0 || p < 0 || p > 1) || fail_domain();
}

}  // namespace

extern "C" double Beta(double a, double b)
{
    const ErrnoKept errno_kept;
    // Non-positive a or b raises std::domain_error inside beta.
    return checked_throwing(boost::math::beta(a, b, pol::Throwing()), kBetaName, a, b);
}

extern "C" double BetaRegularized(double a, double b, double x)
{
    const ErrnoKept errno_kept;
    require_x_in_domain(x, kIbetaName);
    require_evaluable_shapes(a, b, x, kIbetaName);
    return checked_throwing(boost::math::ibeta(a, b, x, pol::Throwing()), kIbetaName, a, b, x);
}

extern "C" double BetaRegularizedC(double a, double b, double x)
{
    const ErrnoKept errno_kept;
    require_x_in_domain(x, kIbetacName);
    require_evaluable_shapes(a, b, x, kIbetacName);
    return checked_throwing(boost::math::ibetac(a, b, x, pol::Throwing()), kIbetacName, a, b, x);
}

// Infinite at x = 0 for a < 1 (and at x = 1 for b < 1): +inf with ERANGE.
extern "C" double BetaDerivative(double a, double b, double x)
{
    return guard_overflow(evaluate([&] { return boost::math::ibeta_derivative(a, b, x, pol::Errno()); }, a, b, x));
}

extern "C" double InverseBetaRegularized(double a, double b, double p)
{
    if (!lower_inverse_arguments_ok(a, b, p)) return quiet_nan();
    return guard_overflow(inverse_ibeta(a, b, p, false, nullptr));
}

extern "C" double InverseBetaRegularized2(double a, double b, double p, double* x_out,
                                          double* y_out)
{
    if (!lower_inverse_arguments_ok(a, b, p)) {
        *x_out = quiet_nan();  // y_out is left untouched
        return *x_out;
    }
    // y is 1 - x as the inverse found it: full precision when x is near 1.
    double y = quiet_nan();
    const double x = inverse_ibeta(a, b, p, false, &y);
    // y stays NaN only where the inverse refused p, and then y_out is left alone.
    if (y_out && !std::isnan(y)) *y_out = guard_overflow(y);
    *x_out = guard_overflow(x);
    return *x_out;
}

// Deliberately no checks of its own: ibetac_inv refuses a <= 0, b <= 0 and q
// outside [0, 1] (EDOM, NaN).
extern "C" double InverseBetaRegularizedC(double a, double b, double q)
{
    return inverse_ibeta(a, b, q, true, nullptr);
}

extern "C" double InverseBetaRegularizedC2(double a, double b, double q, double* x_out,
                                           double* y_out)
{
    // ibetac_inv fills y_out (when not null) with 1 - x itself.
    *x_out = inverse_ibeta(a, b, q, true, y_out);
    return *x_out;
}
