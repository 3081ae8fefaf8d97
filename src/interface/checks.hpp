// The error convention shared by the scalar exports.
//
// An argument check sets errno to EDOM at the moment it fails and reports the
// failure; it never clears errno. Callers combine checks with '&' rather than
// '&&' where every failed check must leave its mark. A result beyond the
// largest finite double sets ERANGE and becomes +inf (or +-inf where the sign
// is part of the contract). The library never resets errno on success.
#pragma once

#include <cerrno>
#include <cmath>
#include <limits>

#include <boost/math/policies/error_handling.hpp>

#include "interface/policies.hpp"

namespace kcm {

// 1.7976931348623157e308: anything larger in magnitude is an overflow.
constexpr double kMaxFinite = std::numeric_limits<double>::max();
constexpr double kInf = std::numeric_limits<double>::infinity();

inline double domain_nan()
{
    errno = EDOM;
    return std::numeric_limits<double>::quiet_NaN();
}

inline double quiet_nan() { return std::numeric_limits<double>::quiet_NaN(); }

inline bool fail_domain()
{
    errno = EDOM;
    return false;
}

inline bool check_finite(double v) { return std::isfinite(v) || fail_domain(); }

inline bool check_positive_finite(double v) { return (v > 0 && std::isfinite(v)) || fail_domain(); }

inline bool check_non_negative_finite(double v)
{
    return (v >= 0 && std::isfinite(v)) || fail_domain();
}

// p in [0, 1]; NaN and the infinities fail.
inline bool check_probability(double p) { return (p >= 0 && p <= 1) || fail_domain(); }

// Overflow guard of the errno convention: +inf with ERANGE.
inline double guard_overflow(double v)
{
    if (std::fabs(v) > kMaxFinite) {
        errno = ERANGE;
        return kInf;
    }
    return v;
}

// As guard_overflow, keeping the sign of the result.
inline double guard_overflow_signed(double v)
{
    if (std::fabs(v) > kMaxFinite) {
        errno = ERANGE;
        return std::copysign(kInf, v);
    }
    return v;
}

// Overflow check of the exports that run under the throwing policy: raises
// std::overflow_error with Boost's message, naming `function`, for example
// "boost::math::lgamma<%1%>(%1%)".
inline double throw_on_overflow(double v, const char* function)
{
    if (std::fabs(v) > kMaxFinite)
        return boost::math::policies::raise_overflow_error<double>(function, nullptr,
                                                                   pol::Throwing());
    return v;
}

// The result check of the throwing special functions: the overflow check
// above, and the counterpart of the errno policy's NaN rule: a NaN value from
// arguments that are all numbers (Boost 1.74 takes an infinite shape through
// to inf / inf) raises std::domain_error naming `function`, with the first
// infinite argument in the message. A NaN argument that comes back as NaN is
// returned.
template <typename... Arguments>
double checked_throwing(double v, const char* function, Arguments... arguments)
{
    if (!std::isnan(v) || (std::isnan(double(arguments)) || ...)) return throw_on_overflow(v, function);
    double culprit = 0;
    ((std::isinf(double(arguments)) && culprit == 0 ? culprit = arguments : 0), ...);
    return boost::math::policies::raise_domain_error<double>(
        function, "The function has no value at an argument of %1%.", culprit, pol::Throwing());
}

// The throwing exports report through exceptions only: whatever the C library
// records in errno during their evaluation (the ERANGE of an underflowing exp
// inside a good result) is undone when the export returns or raises.
class ErrnoKept {
public:
    ErrnoKept() : saved_(errno) {}
    ~ErrnoKept() { errno = saved_; }
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;

private:
    int saved_;
};

// The one-byte tail flag: zero is the lower tail, any other byte the upper.
inline bool is_upper_tail(unsigned char flag) { return flag != 0; }

}  // namespace kcm
