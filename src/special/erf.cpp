// Error function, its complement and inverses, and the normal distribution.
//
// The error-function values are Boost.Math's (erf, erfc, erf_inv, erfc_inv);
// the normal distribution is written on erfc and erfc_inv rather than on a
// distribution object. The exports add the argument checks, the special
// values and the errno convention of the library.
#include <cerrno>
#include <cmath>

#include <boost/math/constants/constants.hpp>
#include <boost/math/special_functions/erf.hpp>

#include "interface/checks.hpp"
#include "interface/evaluation.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;

using boost::math::double_constants::root_two;
using boost::math::double_constants::two_pi;

// Shared by InverseErfC and NormalICDF.
double inverse_erfc(double q)
{
    if (q < 0 || q > 2) errno = EDOM;  // flagged, then evaluated anyway
    if (q == 0) {
        errno = ERANGE;
        return kInf;
    }
    if (q == 2) {
        errno = ERANGE;
        return -kInf;
    }
    // erfc_inv pairs (1 - c, c) with c = q, or c = 2 - q and a negative sign for
    // q > 1, so the small one of the pair keeps full precision.
    return guard_overflow_signed(evaluate([&] { return boost::math::erfc_inv(q, pol::Errno()); }, q));
}

// (x - mean) / (sd sqrt(2)); when x - mean and sd sqrt(2) both overflow,
// from x and mean scaled by sd first.
double standardize(double x, double mean, double sd)
{
    const double z = (x - mean) / (sd * root_two);
    if (std::isnan(z)) return (x / sd - mean / sd) / root_two;
    return z;
}

}  // namespace

// A NaN goes through to the core and comes back as NaN; errno is not touched.
extern "C" double Erf(double x) { return guard_overflow(evaluate([&] { return boost::math::erf(x, pol::Errno()); }, x)); }

extern "C" double ErfC(double x) { return guard_overflow(evaluate([&] { return boost::math::erfc(x, pol::Errno()); }, x)); }

extern "C" double InverseErf(double p)
{
    if (p < -1 || p > 1) errno = EDOM;  // flagged, then evaluated anyway
    if (p == 1) {
        errno = ERANGE;
        return kInf;
    }
    if (p == -1) {
        errno = ERANGE;
        return -kInf;
    }
    if (p == 0) return 0.0;
    // erf_inv works on |p| with the pair (|p|, 1 - |p|) and restores the sign.
    return guard_overflow_signed(evaluate([&] { return boost::math::erf_inv(p, pol::Errno()); }, p));
}

extern "C" double InverseErfC(double q) { return inverse_erfc(q); }

extern "C" double NormalPDF(double x, double mean, double sd)
{
    // '&' not '&&': both checks run, and each failure sets errno.
    const bool ok = check_positive_finite(sd) & check_finite(mean);
    if (std::isinf(x)) return 0.0;  // even after a failed check
    if (!ok || std::isnan(x)) return domain_nan();
    const double z = x - mean;
    double exponent = -z * z / ((sd + sd) * sd);
    if (std::isnan(exponent)) {
        // z^2 and 2 sd^2 both overflowed or both underflowed: their ratio from
        // z / sd, or from x / sd - mean / sd when x - mean itself overflowed.
        const double u = std::isinf(z) ? x / sd - mean / sd : z / sd;
        exponent = -0.5 * u * u;
    }
    // A subnormal sd puts the density at the mean beyond the double range; an
    // sd near it, sqrt(2 pi) sd.
    const double norm = std::sqrt(two_pi) * sd;
    if (std::isinf(norm)) return std::exp(exponent) / sd / std::sqrt(two_pi);
    return guard_overflow(std::exp(exponent) / norm);
}

extern "C" double NormalCDF(double x, double mean, double sd, unsigned char upper)
{
    const bool ok = check_positive_finite(sd) & check_finite(mean);
    double z;
    if (!is_upper_tail(upper)) {
        if (!ok) return domain_nan();
        if (x == -kInf) return 0.0;
        if (x == kInf) return 1.0;
        if (std::isnan(x)) return domain_nan();
        z = -standardize(x, mean, sd);
    } else {
        // Deliberate asymmetry: the upper tail settles an infinite x before it
        // consults the parameter checks, so a bad sd or mean still yields 0 or 1.
        if (x == -kInf) return 1.0;
        if (x == kInf) return 0.0;
        if (!ok || std::isnan(x)) return domain_nan();
        z = standardize(x, mean, sd);
    }
    // Both tails go through erfc, so a far tail is a small number rather than
    // the cancellation 1 - erf.
    return guard_overflow(evaluate([&] { return boost::math::erfc(z, pol::Errno()); }, z)) * 0.5;
}

extern "C" double NormalICDF(double p, double mean, double sd, unsigned char upper)
{
    const bool ok = check_positive_finite(sd) & check_finite(mean);
    if (!ok || !(p >= 0 && p <= 1)) return domain_nan();
    double v = inverse_erfc(2 * p);
    if (!is_upper_tail(upper)) v = -v;
    const double scale = sd * root_two;
    // Beyond the double range sd * sqrt(2) would make the median 0 * inf.
    const double w = std::isinf(scale) ? v * sd * root_two : v * scale;
    return guard_overflow_signed(w + mean);
}
