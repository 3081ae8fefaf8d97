// The (central) hypergeometric distribution: x defective items in a sample
// of n drawn without replacement from N items of which r are defective.
//
// Thin wrappers over boost::math::hypergeometric_distribution under Boost's
// default throwing policy. The counts r, n and N arrive as doubles and are
// converted as the host's own integer conversion does: truncated toward zero
// to 64 bits, of which the low 32 bits are the unsigned count. Nothing about
// a negative or fractional count is checked here; a negative count becomes a
// large unsigned one and is then caught (or not) by Boost's r <= N, n <= N.
//
// The variate of the PDF and CDF stays a double until Boost converts it. Boost
// 1.74 converts it with rounding errors ignored, so a non-finite x or one
// beyond the int range would surface as a domain error ("must be an integer")
// or a wrong count; the exports raise Boost's rounding error for those first.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include <boost/math/distributions/hypergeometric.hpp>
#include <boost/math/special_functions/trunc.hpp>

#include "interface/checks.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;
using Hypergeometric = boost::math::hypergeometric_distribution<double, pol::Throwing>;
using HypergeometricRoundUp =
    boost::math::hypergeometric_distribution<double, pol::ThrowingRoundUp>;

// The 64-bit range of the truncation, [-2^63, 2^63).
constexpr double kInt64Low = -9223372036854775808.0;
constexpr double kInt64High = 9223372036854775808.0;
// x86-64's "integer indefinite": what the hardware conversion yields for NaN
// and for values outside the 64-bit range.
constexpr int64_t kInt64Indefinite = std::numeric_limits<int64_t>::min();
// The variate's truncation must fit an int of either sign.
constexpr double kVariateLimit = 2147483647.0;
// Boost forms the support's lower end as (int)(n + r) - (int)N: an urn of 2^31
// items or more has no correct evaluation there (its quantile walks round the
// 32-bit range for hours). Such urns are refused as out of range.
constexpr uint32_t kLargestUrn = 2147483647;
constexpr const char* kConstructorName =
    "boost::math::hypergeometric_distribution<%1%>::hypergeometric_distribution";

uint32_t to_count(double v)
{
    const int64_t t = (v >= kInt64Low && v < kInt64High) ? static_cast<int64_t>(v)
                                                          : kInt64Indefinite;
    return static_cast<uint32_t>(t);  // the low 32 bits
}

// The distribution after Boost's own checks (r <= N, then n <= N) and the
// urn-size limit.
template <class Distribution>
Distribution make_distribution(double r, double n, double N)
{
    const Distribution dist(to_count(r), to_count(n), to_count(N));
    if (dist.total() > kLargestUrn)
        boost::math::policies::raise_domain_error<double>(
            kConstructorName, "Parameter N out of range: must be <= 2147483647 but got %1%",
            double(dist.total()), pol::Throwing());
    return dist;
}

// Raises the rounding errors of trunc (non-finite x) and itrunc (|trunc x|
// beyond the int range); an x that passes reaches Boost unchanged.
void check_variate(double x)
{
    const double t = boost::math::trunc(x, pol::Throwing());
    if (std::fabs(t) > kVariateLimit)
        boost::math::policies::raise_rounding_error("boost::math::itrunc<%1%>(%1%)", nullptr, x,
                                                    0, pol::Throwing());
}

}  // namespace

extern "C" double HypergeometricPDF(double x, double r, double n, double N)
{
    const ErrnoKept errno_kept;
    const auto dist = make_distribution<Hypergeometric>(r, n, N);
    check_variate(x);
    return pdf(dist, x);
}

extern "C" double HypergeometricCDF(double x, double r, double n, double N, unsigned char upper)
{
    const ErrnoKept errno_kept;
    const auto dist = make_distribution<Hypergeometric>(r, n, N);
    check_variate(x);
    return is_upper_tail(upper) ? cdf(complement(dist, x)) : cdf(dist, x);
}

// Boost checks p (NaN included) and rounds the count up: the result is the
// smallest count whose accumulated probability, summed from the nearer end of
// the support, reaches p within Boost's small fudge factor, never beyond
// min(r, n).
extern "C" double HypergeometricICDF(double p, double r, double n, double N, unsigned char upper)
{
    const ErrnoKept errno_kept;
    const auto dist = make_distribution<HypergeometricRoundUp>(r, n, N);
    // A support of one count is that count for every p; Boost would walk the
    // 32-bit range looking for it. An invalid p still goes to Boost's check.
    const int64_t lowest = std::max<int64_t>(int64_t(dist.sample_count()) + dist.defective() - dist.total(), 0);
    if (lowest == std::min(dist.defective(), dist.sample_count()) && p >= 0 && p <= 1) return double(lowest);
    return is_upper_tail(upper) ? quantile(complement(dist, p)) : quantile(dist, p);
}
