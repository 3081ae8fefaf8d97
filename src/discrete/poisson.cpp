// The Poisson distribution.
//
// Thin wrappers over boost::math::poisson_distribution under Boost's default
// throwing policy: a mean that is not finite and positive, or a probability
// outside [0, 1], leaves the export as std::domain_error with Boost's message.
// Every export builds the distribution first, so the mean is checked before
// anything else. Upper tails go through complement, never 1 - P.
#include <cstdint>

#include <boost/math/distributions/poisson.hpp>

#include "discrete/large_quantile.hpp"
#include "interface/checks.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;
using boost::math::poisson_distribution;

// Below a mean of 2^50 every quantile of a p > 0 lies far under 2^53.
constexpr double kLargeMean = 1125899906842624.0;

template <class Policy>
double poisson_quantile(double p, double mean, unsigned char upper)
{
    const poisson_distribution<double, Policy> dist(mean);
    double q;
    if (mean > kLargeMean &&
        quantile_beyond_exact_integers(poisson_distribution<double, pol::ThrowingUnrounded>(mean), p,
                                       is_upper_tail(upper), &q))
        return q;
    return is_upper_tail(upper) ? quantile(complement(dist, p)) : quantile(dist, p);
}

}  // namespace

extern "C" double PoissonPDF(double k, double mean)
{
    const ErrnoKept errno_kept;
    const poisson_distribution<double, pol::Throwing> dist(mean);
    return pdf(dist, k);
}

extern "C" double PoissonCDF(double k, double mean, unsigned char upper)
{
    const ErrnoKept errno_kept;
    const poisson_distribution<double, pol::Throwing> dist(mean);
    return is_upper_tail(upper) ? cdf(complement(dist, k)) : cdf(dist, k);
}

// round_up is read as a whole int: 0 rounds a quantile that falls between two
// counts down, anything else up (the smallest count whose lower-tail CDF
// reaches p). A lower-tail p at or below P(X = 0) gives 0 in either mode; a
// lower-tail p of 1 (upper-tail 0) has no finite quantile and raises Boost's
// overflow error.
extern "C" double PoissonICDF(double p, double mean, unsigned char upper, int32_t round_up)
{
    const ErrnoKept errno_kept;
    if (round_up == 0) return poisson_quantile<pol::ThrowingRoundDown>(p, mean, upper);
    return poisson_quantile<pol::ThrowingRoundUp>(p, mean, upper);
}
