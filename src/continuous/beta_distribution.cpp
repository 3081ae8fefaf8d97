// The beta distribution with shapes a and b: the regularized incomplete beta
// function I_x(a, b), its complement computed directly, its derivative and its
// inverses, under the errno policy. The ends of the support and of [0, 1] in
// the quantile are settled here rather than in the evaluation.
#include <cerrno>
#include <cmath>

#include <boost/math/special_functions/beta.hpp>

#include "interface/checks.hpp"
#include "interface/evaluation.hpp"
#include "korvane/core_math.h"
#include "special/incomplete_beta.hpp"

namespace {

using namespace kcm;

// a before b; '&&' on purpose: errno is set once, by the first parameter found
// invalid.
bool check_parameters(double a, double b)
{
    return check_positive_finite(a) && check_positive_finite(b);
}

}  // namespace

// x = 0 or 1 with a shape below 1 is a pole of the density: +inf with ERANGE.
// The incomplete beta functions give a NaN x back without a word (or end in a
// rounding error), so a NaN x is refused with EDOM here.
extern "C" double BetaPDF(double x, double a, double b)
{
    if (!check_parameters(a, b) || x < 0 || x > 1 || std::isnan(x)) return domain_nan();
    return guard_overflow(
        evaluate([&] { return boost::math::ibeta_derivative(a, b, x, pol::Errno()); }, a, b, x));
}

extern "C" double BetaCDF(double x, double a, double b, unsigned char upper)
{
    if (!check_parameters(a, b) || x < 0 || x > 1 || std::isnan(x)) return domain_nan();
    const bool up = is_upper_tail(upper);
    if (x == 0) return up ? 1.0 : 0.0;
    if (x == 1) return up ? 0.0 : 1.0;
    return guard_overflow(ibeta_errno(a, b, x, up));
}

extern "C" double BetaICDF(double p, double a, double b, unsigned char upper)
{
    if (!check_parameters(a, b) || !check_probability(p)) return domain_nan();
    const bool up = is_upper_tail(upper);
    // The ends of the support: 0 for the lower tail's p = 0 (the upper's p = 1),
    // 1 for the other two.
    if (p == 0 || p == 1) return (p == 1) != up ? 1.0 : 0.0;
    // ibeta_inv pairs p with its complement 1 - p.
    if (!up) return guard_overflow(ibeta_inv_errno(a, b, p, false, nullptr));
    return ibeta_inv_errno(a, b, p, true, nullptr);
}
