// How the errno-policy exports run a Boost evaluation.
//
// Under the errno policy Boost reports a domain error or a failed iteration as
// EDOM and an overflow as ERANGE with an infinite result. Three things are
// added here.
//
// A NaN result from arguments that are all numbers is a domain error, whether
// or not Boost said so: some evaluations (an infinite shape, a shape so small
// that the series start is 0/0) arrive at NaN without a report, and the host
// must see the NaN with EDOM as for any other invalid argument. A NaN argument
// that comes back as NaN is not reported.
//
// The C library adds reports of its own: exp() of a large negative argument
// sets ERANGE when it underflows, which happens inside perfectly good
// evaluations (a far tail of a series term, a 1 - tiny). Such a report is
// dropped when the result is a nonzero finite number: a successful call leaves
// errno as the caller left it. A result of 0 keeps its ERANGE: it is either an
// underflow of the result itself or Boost's overflow of a denominator (the t
// density divides by an infinite beta function for a tiny df).
//
// Boost's Newton and Halley iterations (boost::math::tools, under the inverse
// incomplete beta and gamma functions) report a bracket in the wrong order or
// a search with no root in sight through the default, throwing policy,
// whatever policy the caller passed: boost::math::evaluation_error. Under the
// errno policy a failed iteration is EDOM and NaN, so that is what it becomes.
#pragma once

#include <cerrno>
#include <cmath>
#include <limits>

#include <boost/math/policies/error_handling.hpp>

namespace kcm {

// f() evaluated on `arguments` (the numbers it depends on, for the NaN rule).
template <typename F, typename... Arguments>
double evaluate(F&& f, double first, Arguments... arguments)
{
    const int saved = errno;
    errno = 0;
    double r;
    try {
        r = f();
    } catch (const boost::math::evaluation_error&) {
        errno = EDOM;
        return std::numeric_limits<double>::quiet_NaN();
    }
    const int reported = errno;
    if (reported == EDOM) return r;
    if (std::isnan(r) && !std::isnan(first) && !(std::isnan(double(arguments)) || ...)) {
        errno = EDOM;
        return r;
    }
    if (reported == ERANGE && (std::isinf(r) || r == 0)) return r;
    errno = saved;  // nothing, or only an underflow of the C library
    return r;
}

}  // namespace kcm
