// Discrete quantiles beyond 2^53.
//
// Boost 1.74 rounds a discrete quantile to a count by walking from the
// continuous root one count at a time (round_to_ceil, round_to_floor) until
// the distribution function changes. From 2^53 on, one count less is the same
// double, so that walk never ends: a Poisson mean of 1e17 hung the quantile
// export (a binomial never gets there: trials beyond 1e12 are refused). Every
// double of that size is a count already, so rounding is the identity there:
// such a quantile is the continuous root, found with the
// discrete_quantile<real> policy (pol::ThrowingUnrounded).
#pragma once

#include <cmath>

#include "interface/policies.hpp"

namespace kcm {

// 2^53: from here on every double is an integer.
constexpr double kExactIntegers = 9007199254740992.0;

// The unrounded quantile of `dist` at p in the tail `upper` when it lies at or
// beyond 2^53 (*q set, true), false when the rounding walk is safe.
template <class Dist>
bool quantile_beyond_exact_integers(const Dist& dist, double p, bool upper, double* q)
{
    *q = upper ? quantile(complement(dist, p)) : quantile(dist, p);
    return !(std::fabs(*q) < kExactIntegers);
}

}  // namespace kcm
