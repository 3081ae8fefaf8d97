// The binomial distribution and the Clopper-Pearson bounds on its success
// fraction.
//
// Thin wrappers over boost::math::binomial_distribution under Boost's default
// throwing policy: an invalid success fraction, number of trials or
// probability leaves the export as std::domain_error with Boost's message.
// The exports fix the argument order, the tail handling (upper tails through
// complement, never 1 - P) and, for the quantile, the rounding of a result
// that falls between two counts.
//
// C. J. Clopper and E. S. Pearson, The use of confidence or fiducial limits
// illustrated in the case of the binomial, Biometrika 26 (1934) 404-413.
#include <cmath>
#include <cstdint>

#include <boost/math/distributions/binomial.hpp>

#include "interface/checks.hpp"
#include "korvane/core_math.h"
#include "special/incomplete_beta.hpp"

namespace {

using namespace kcm;
using boost::math::binomial_distribution;

// The binomial distribution function is the incomplete beta function with
// shapes near k and n - k, which is not evaluated beyond kLargestBetaShape
// (Boost 1.74 is inaccurate there and from 1e16 on does not finish). Such a
// number of trials raises evaluation_error. Each caller makes this check only
// where Boost is about to evaluate the incomplete beta function: after Boost's
// own checks of the trials and of the variate or probability, so that an
// invalid argument is reported as such whatever the number of trials.
void require_evaluable_trials(double n, const char* function)
{
    require_within_beta_range(n, "Number of trials", function);
}

template <class Policy>
double binomial_quantile(double p, double n, double prob, unsigned char upper)
{
    // The constructor checks the success fraction, then the number of trials;
    // quantile then checks p.
    const binomial_distribution<double, Policy> dist(n, prob);
    if (p >= 0 && p <= 1)
        require_evaluable_trials(n, "boost::math::quantile(const binomial_distribution<%1%>&, %1%)");
    // A quantile never exceeds n <= 1e12 < 2^53: Boost's one-count rounding
    // walk always ends.
    return is_upper_tail(upper) ? quantile(complement(dist, p)) : quantile(dist, p);
}

}  // namespace

extern "C" double BinomialPDF(double k, double n, double prob)
{
    const ErrnoKept errno_kept;
    const binomial_distribution<double, pol::Throwing> dist(n, prob);
    return pdf(dist, k);
}

extern "C" double BinomialCDF(double k, double n, double prob, unsigned char upper)
{
    const ErrnoKept errno_kept;
    const binomial_distribution<double, pol::Throwing> dist(n, prob);
    if (k >= 0 && k <= n)
        require_evaluable_trials(n, "boost::math::cdf(const binomial_distribution<%1%>&, %1%)");
    return is_upper_tail(upper) ? cdf(complement(dist, k)) : cdf(dist, k);
}

// round_up is read as a whole int: 0 rounds a quantile that falls between two
// counts down to the lower one, anything else up to the higher one.
extern "C" double BinomialICDF(double p, double n, double prob, unsigned char upper,
                               int32_t round_up)
{
    const ErrnoKept errno_kept;
    if (round_up == 0) return binomial_quantile<pol::ThrowingRoundDown>(p, n, prob, upper);
    return binomial_quantile<pol::ThrowingRoundUp>(p, n, prob, upper);
}

// which = 0: lower bound, ibeta_inv(k, n - k + 1, alpha), 0 for k = 0;
// which = 1: upper bound, ibetac_inv(k + 1, n - k, alpha), 1 for k = n;
// any other which: -1 before anything is checked. Boost checks n (negative or
// not finite), then k (negative or not finite, then above n), and decides the
// end k = 0 or k = n itself; only then can the limit on the trials apply. It
// does not check alpha: an alpha outside [0, 1] reaches the inverse
// incomplete beta, which raises its own domain error.
extern "C" double BinomialPS(double alpha, double k, double n, int32_t which)
{
    const ErrnoKept errno_kept;
    using Dist = binomial_distribution<double, pol::Throwing>;
    if (which != 0 && which != 1) return -1.0;
    const bool boosts_checks_pass = std::isfinite(n) && k >= 0 && k <= n;
    const bool end_of_range = which == 0 ? k == 0 : k == n;
    if (boosts_checks_pass && !end_of_range && alpha > 0 && alpha < 1)
        require_evaluable_trials(n, "boost::math::binomial_distribution<%1%>::find_bound_on_p");
    return which == 0 ? Dist::find_lower_bound_on_p(n, k, alpha)
                      : Dist::find_upper_bound_on_p(n, k, alpha);
}
