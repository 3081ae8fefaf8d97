// How the errno-policy exports run a Boost evaluation.
//
// Under the errno policy Boost reports a domain error or a failed iteration as
// EDOM and an overflow as ERANGE with an infinite result. The C library adds
// reports of its own: exp() of a large negative argument sets ERANGE when it
// underflows, which happens inside perfectly good evaluations (a far tail of
// a series term, a 1 - tiny). Such a report is dropped when the result is a
// nonzero finite number: a successful call leaves errno as the caller left
// it. A result of 0 keeps its ERANGE: it is either an underflow of the result
// itself or Boost's overflow of a denominator (the t density divides by an
// infinite beta function for a tiny df).
#pragma once

#include <cerrno>
#include <cmath>

namespace kcm {

template <typename F>
double evaluate(F&& f)
{
    const int saved = errno;
    errno = 0;
    const double r = f();
    const int reported = errno;
    if (reported == EDOM || (reported == ERANGE && (std::isinf(r) || r == 0))) return r;
    errno = saved;  // nothing, or only an underflow of the C library
    return r;
}

}  // namespace kcm
