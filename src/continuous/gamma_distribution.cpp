// The gamma distribution with shape k and scale theta, written on the
// regularized incomplete gamma function at z = x / theta:
// P(X <= x) = P(k, z), P(X > x) = Q(k, z) computed directly, and the density
// dP(k, z)/dz / theta. Everything runs under the errno policy.
#include <cerrno>
#include <cmath>

#include <boost/math/special_functions/gamma.hpp>

#include "interface/evaluation.hpp"
#include "interface/checks.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;

// Scale before shape; '&&' on purpose: errno is set once, by the first
// parameter found invalid.
bool check_parameters(double shape, double scale)
{
    return check_positive_finite(scale) && check_positive_finite(shape);
}

}  // namespace

extern "C" double GammaPDF(double x, double shape, double scale)
{
    if (!check_parameters(shape, scale) || x < 0 || !std::isfinite(x)) return domain_nan();
    // Deliberate: 0 at x = 0 for every shape, also where the density is
    // unbounded (shape < 1) or equal to 1/scale (shape = 1).
    if (x == 0) return 0.0;
    const double r = guard_overflow(
        evaluate([&] { return boost::math::gamma_p_derivative(shape, x / scale, pol::Errno()); },
                 x, shape, scale));
    // A tiny scale can carry a finite r beyond the double range.
    return guard_overflow(r / scale);
}

// x = +inf is refused (NaN, EDOM) rather than mapped to 1; this is deliberate.
extern "C" double GammaCDF(double x, double shape, double scale, unsigned char upper)
{
    if (!check_parameters(shape, scale) || x < 0 || !std::isfinite(x)) return domain_nan();
    const double z = x / scale;
    const double r = evaluate([&] {
        return is_upper_tail(upper) ? boost::math::gamma_q(shape, z, pol::Errno())
                                    : boost::math::gamma_p(shape, z, pol::Errno());
    }, x, shape, scale);
    return guard_overflow(r);
}

extern "C" double GammaICDF(double p, double shape, double scale, unsigned char upper)
{
    if (!check_parameters(shape, scale) || !check_probability(p)) return domain_nan();
    if (!is_upper_tail(upper)) {
        if (p == 1) {
            errno = ERANGE;
            return kInf;
        }
        return guard_overflow(
            evaluate([&] { return boost::math::gamma_p_inv(shape, p, pol::Errno()); }, p, shape, scale) * scale);
    }
    if (p == 0) {
        errno = ERANGE;
        return kInf;
    }
    return guard_overflow(
        evaluate([&] { return boost::math::gamma_q_inv(shape, p, pol::Errno()); }, p, shape, scale) * scale);
}
