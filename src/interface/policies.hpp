// Every Boost.Math policy of the library: the two error policies under which
// evaluations run (errno and throwing), and the variants of each that fix an
// iteration limit or the rounding of a discrete quantile.
//
// Every export names its policy at the call site (for example
// gamma_q_inv(a, q, pol::Errno())), so the contract of a function can be read
// where it is evaluated. The policies are never installed through the
// BOOST_MATH_*_POLICY macros: per-file macro settings break the One
// Definition Rule.
#pragma once

#include <boost/math/policies/policy.hpp>
#include <boost/version.hpp>

// The workarounds of docs/boost-workarounds.md were checked against this
// Boost and no other (the build requires it too; see CMakeLists.txt).
static_assert(BOOST_VERSION == 107400, "Korvane.Core.Math is checked against Boost 1.74.0");

namespace kcm::pol {

using namespace boost::math::policies;

// Domain errors, poles and failed iterations set errno to EDOM and yield NaN;
// overflow sets ERANGE and yields +-inf. Underflow stays silent (0 is right).
using Errno = policy<domain_error<errno_on_error>, pole_error<errno_on_error>,
                     overflow_error<errno_on_error>, evaluation_error<errno_on_error>>;

// The inverse incomplete gamma functions give up their root finding after
// 200 iterations rather than Boost's default.
using ErrnoRoot200 = policy<domain_error<errno_on_error>, pole_error<errno_on_error>,
                            overflow_error<errno_on_error>, evaluation_error<errno_on_error>,
                            max_root_iterations<200>>;

// Boost's default: every error inside the evaluation is raised as an exception
// (std::domain_error, std::overflow_error, boost::math::evaluation_error).
using Throwing = policy<>;

// The throwing policy with the rounding of a discrete quantile fixed: the
// starting guess and the result of the discrete root search are rounded down
// (floor) or up (ceil). Boost's default rounds outwards.
using ThrowingRoundDown = policy<discrete_quantile<integer_round_down>>;
using ThrowingRoundUp = policy<discrete_quantile<integer_round_up>>;
// ... or left unrounded: the continuous root itself.
using ThrowingUnrounded = policy<discrete_quantile<real>>;

}  // namespace kcm::pol
