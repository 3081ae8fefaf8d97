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

#include <boost/math/distributions/detail/common_error_handling.hpp>
#include <boost/math/distributions/hypergeometric.hpp>
#include <boost/math/special_functions/trunc.hpp>

#include "interface/checks.hpp"
#include "interface/host_arithmetic.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;
using Hypergeometric = boost::math::hypergeometric_distribution<double, pol::Throwing>;
using HypergeometricRoundUp =
    boost::math::hypergeometric_distribution<double, pol::ThrowingRoundUp>;

// The variate's truncation must fit an int of either sign.
constexpr double kVariateLimit = 2147483647.0;
// Boost forms the support's lower end as (int)(n + r) - (int)N: an urn of 2^31
// items or more has no correct evaluation there (its quantile walks round the
// 32-bit range for hours). Such urns are refused as out of range.
constexpr uint32_t kLargestUrn = 2147483647;
constexpr const char* kConstructorName =
    "boost::math::hypergeometric_distribution<%1%>::hypergeometric_distribution";
constexpr const char* kPdfName =
    "boost::math::pdf(const hypergeometric_distribution<%1%>&, const %1%&)";
// Both tails of the distribution function report under this one name.
constexpr const char* kCdfName =
    "boost::math::cdf(const hypergeometric_distribution<%1%>&, const %1%&)";
constexpr const char* kQuantileName =
    "boost::math::quantile(const hypergeometric_distribution<%1%>&, %1%)";
constexpr const char* kComplementQuantileName =
    "quantile(const complemented2_type<hypergeometric_distribution<%1%>, %1%>&)";

// The low 32 bits of the host's 64-bit truncation.
uint32_t to_count(double v) { return static_cast<uint32_t>(truncate_to_int64(v)); }

// The support's lower end, max(0, n + r - N), formed in 64 bits.
template <class Distribution>
int64_t lowest_count(const Distribution& dist)
{
    return std::max<int64_t>(int64_t(dist.sample_count()) + dist.defective() - dist.total(), 0);
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

template <class Distribution>
void raise_urn_too_large(const Distribution& dist)
{
    boost::math::policies::raise_domain_error<double>(
        kConstructorName, "Parameter N out of range: must be <= 2147483647 but got %1%",
        double(dist.total()), pol::Throwing());
}

// The urn limit of the density and the distribution function. It comes after
// every check of x, so that a bad x is reported as such in any urn: after
// check_variate, and after Boost's own checks, which are made here as Boost's
// pdf and cdf make them (an integer as its unsigned int truncation compares,
// then the support), except that the support's lower end is formed in 64 bits
// where Boost's int arithmetic is wrong for such an urn.
template <class Distribution>
void refuse_large_urn(const Distribution& dist, double x, const char* function)
{
    if (dist.total() <= kLargestUrn) return;
    const auto u = static_cast<unsigned>(truncate_to_int32(x));
    if (u != x)
        boost::math::policies::raise_domain_error<double>(
            function, "Random variable out of range: must be an integer but got %1%", x, pol::Throwing());
    if (u < lowest_count(dist))
        boost::math::policies::raise_domain_error<double>(
            function, "Random variable out of range: must be > 0 and > m + r - N but got %1%", double(u),
            pol::Throwing());
    if (u > std::min(dist.defective(), dist.sample_count()))
        boost::math::policies::raise_domain_error<double>(
            function, "Random variable out of range: must be less than both n and r but got %1%", double(u),
            pol::Throwing());
    raise_urn_too_large(dist);
}

// The urn limit of the quantile: after Boost's check of p, made here as
// Boost's quantile makes it.
template <class Distribution>
void refuse_large_urn_quantile(const Distribution& dist, double p, const char* function)
{
    if (dist.total() <= kLargestUrn) return;
    double ignored;
    boost::math::detail::check_probability(function, p, &ignored, pol::Throwing());
    raise_urn_too_large(dist);
}

}  // namespace

// Each export builds the distribution first: its constructor checks r <= N,
// then n <= N.
extern "C" double HypergeometricPDF(double x, double r, double n, double N)
{
    const ErrnoKept errno_kept;
    const Hypergeometric dist(to_count(r), to_count(n), to_count(N));
    check_variate(x);
    refuse_large_urn(dist, x, kPdfName);
    return pdf(dist, x);
}

extern "C" double HypergeometricCDF(double x, double r, double n, double N, unsigned char upper)
{
    const ErrnoKept errno_kept;
    const Hypergeometric dist(to_count(r), to_count(n), to_count(N));
    check_variate(x);
    refuse_large_urn(dist, x, kCdfName);
    return is_upper_tail(upper) ? cdf(complement(dist, x)) : cdf(dist, x);
}

// Boost checks p (NaN included) and rounds the count up: the result is the
// smallest count whose accumulated probability, summed from the nearer end of
// the support, reaches p within Boost's small fudge factor, never beyond
// min(r, n).
extern "C" double HypergeometricICDF(double p, double r, double n, double N, unsigned char upper)
{
    const ErrnoKept errno_kept;
    const HypergeometricRoundUp dist(to_count(r), to_count(n), to_count(N));
    refuse_large_urn_quantile(dist, p, is_upper_tail(upper) ? kComplementQuantileName : kQuantileName);
    // A support of one count is that count for every p; Boost would walk the
    // 32-bit range looking for it. An invalid p still goes to Boost's check.
    const int64_t lowest = lowest_count(dist);
    if (lowest == std::min(dist.defective(), dist.sample_count()) && p >= 0 && p <= 1) return double(lowest);
    return is_upper_tail(upper) ? quantile(complement(dist, p)) : quantile(dist, p);
}
