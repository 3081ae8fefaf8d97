// Gamma function, its logarithm, the incomplete gamma functions in both tails
// (regularized or not), their inverses, the derivative of P(a, x), and
// log(1 + x).
//
// Values are Boost.Math's (tgamma, lgamma, gamma_p, gamma_q, tgamma_lower,
// the two-argument tgamma, gamma_p_inv, gamma_q_inv, gamma_p_derivative,
// log1p). Each export names the error policy it evaluates under: the errno
// policy reports through errno, the throwing policy lets Boost's exceptions
// leave the call. The exports add the range decisions of Gamma and the
// library's own overflow checks.
//
// Reference: N. M. Temme, "A set of algorithms for the incomplete gamma
// functions", Probability in the Engineering and Informational Sciences 8
// (1994) 291-307; A. R. DiDonato and A. H. Morris, "Computation of the
// incomplete gamma function ratios and their inverse", ACM TOMS 12 (1986)
// 377-393 (Algorithm 654), on which Boost's inverse starts its iteration.
#include <cerrno>
#include <cmath>

#include <boost/math/constants/constants.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/math/special_functions/log1p.hpp>

#include "interface/checks.hpp"
#include "interface/evaluation.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;

// Gamma refuses arguments above this bound (171 itself is evaluated; Gamma(172)
// would overflow a double anyway, Gamma(171) ~ 7.3e306 does not).
constexpr double kGammaMaxArgument = 171.0;

// Names under which the library's own overflow checks raise std::overflow_error.
constexpr const char* kLgammaName = "boost::math::lgamma<%1%>(%1%)";
constexpr const char* kGammaPName = "gamma_p<%1%>(%1%, %1%)";
constexpr const char* kGammaQName = "gamma_q<%1%>(%1%, %1%)";
constexpr const char* kGammaPDerivativeName = "boost::math::gamma_p_derivative<%1%>(%1%, %1%)";

// The one evaluation core of the four incomplete gamma exports: regularized
// (P, Q) or not (lower gamma, upper Gamma), lower or upper tail. The upper tail
// is always Boost's direct complement, never 1 - lower.
template <class Policy>
double incomplete_gamma(double a, double x, bool regularized, bool upper, const Policy& pol)
{
    // Boost's own checks come first: a <= 0 or x < 0 is its domain error
    // whatever the other argument is. A NaN that passes them comes back as NaN
    // with errno untouched: Boost 1.74 would send a NaN shape with x = 0 into
    // an integer truncation that raises a rounding error, even under the
    // errno policy.
    const bool boost_rejects = a <= 0 || x < 0;
    if (!boost_rejects && (std::isnan(a) || std::isnan(x))) return quiet_nan();
    if (regularized)
        return upper ? boost::math::gamma_q(a, x, pol) : boost::math::gamma_p(a, x, pol);
    return upper ? boost::math::tgamma(a, x, pol) : boost::math::tgamma_lower(a, x, pol);
}

// Boost 1.74's lgamma finds the sign of Gamma at a negative x by converting
// floor(x) to int, which is undefined below the int range. There (x is a
// non-integer only down to -2^52) the reflection
// log|Gamma(x)| = log(pi) - log|sin(pi x)| - log Gamma(1 - x) is formed here,
// sin(pi x) from the fraction of x, which is exact.
constexpr double kIntLowest = -2147483648.0;
using boost::math::double_constants::pi;

double lgamma_far_negative(double x)
{
    const double fraction = x - std::floor(x);
    const double v = std::log(pi) - std::log(std::fabs(std::sin(pi * fraction))) -
                     boost::math::lgamma(1 - x, pol::Throwing());
    return throw_on_overflow(v, kLgammaName);
}

}  // namespace

extern "C" double Gamma(double x)
{
    // Deliberate narrowing: negative arguments (even the non-integers where
    // Gamma is defined) and arguments above 171 are refused with NaN, and
    // errno is left alone. A NaN passes both tests and reaches tgamma.
    if (x < 0 || x > kGammaMaxArgument) return quiet_nan();
    if (x == 0) return kInf;  // also -0; errno left alone
    return guard_overflow(evaluate([&] { return boost::math::tgamma(x, pol::Errno()); }, x));
}

extern "C" double GammaLn(double x)
{
    const ErrnoKept errno_kept;
    if (x < kIntLowest && x != std::floor(x)) return lgamma_far_negative(x);
    // Poles (0 and the negative integers) raise std::domain_error inside lgamma.
    return throw_on_overflow(boost::math::lgamma(x, pol::Throwing()), kLgammaName);
}

extern "C" double GammaRegularized(double a, double x)
{
    const ErrnoKept errno_kept;
    return checked_throwing(incomplete_gamma(a, x, true, false, pol::Throwing()), kGammaPName, a, x);
}

extern "C" double GammaRegularizedC(double a, double x)
{
    const ErrnoKept errno_kept;
    return checked_throwing(incomplete_gamma(a, x, true, true, pol::Throwing()), kGammaQName, a, x);
}

// Not regularized, so the value overflows for large a; the overflow is +inf
// whatever the sign Boost gave it.
extern "C" double IncompleteGammaLower(double a, double x)
{
    return guard_overflow(evaluate([&] { return incomplete_gamma(a, x, false, false, pol::Errno()); }, a, x));
}

extern "C" double IncompleteGammaUpper(double a, double x)
{
    return guard_overflow(evaluate([&] { return incomplete_gamma(a, x, false, true, pol::Errno()); }, a, x));
}

// The arguments go straight to the inverse: a <= 0 or a probability outside
// [0, 1] is its own domain error (EDOM, NaN), as is a root search that has not
// converged after 200 iterations. p = 1 (q = 0) is an overflow: +inf, ERANGE.
extern "C" double InverseGammaRegularized(double a, double p)
{
    return guard_overflow(evaluate([&] { return boost::math::gamma_p_inv(a, p, pol::ErrnoRoot200()); }, a, p));
}

extern "C" double InverseGammaRegularizedC(double a, double q)
{
    return guard_overflow(evaluate([&] { return boost::math::gamma_q_inv(a, q, pol::ErrnoRoot200()); }, a, q));
}

extern "C" double GammaDerivative(double a, double x)
{
    const ErrnoKept errno_kept;
    return checked_throwing(boost::math::gamma_p_derivative(a, x, pol::Throwing()),
                            kGammaPDerivativeName, a, x);
}

// x < -1 raises std::domain_error, x = -1 std::overflow_error (log 0).
extern "C" double LogXplus1(double x)
{
    const ErrnoKept errno_kept;
    return boost::math::log1p(x, pol::Throwing());
}
