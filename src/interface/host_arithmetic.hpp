// Conversions of a double to an integer as the x86-64 hardware makes them.
//
// Counts that the host passes as doubles are truncated the way its own
// conversion instruction (cvttsd2si) truncates: toward zero, and NaN or a
// value outside the target's range becomes the "integer indefinite", the most
// negative value of the target. In C++ those cases are undefined behaviour;
// here they are defined, so that the checks that follow see what the host's
// arithmetic would have given.
#pragma once

#include <cstdint>
#include <limits>

namespace kcm {

// To 32 bits: (-2^31 - 1, 2^31) truncates, anything else is INT32_MIN.
inline int32_t truncate_to_int32(double v)
{
    if (!(v > -2147483649.0 && v < 2147483648.0)) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

// To 64 bits: [-2^63, 2^63) truncates, anything else is INT64_MIN.
inline int64_t truncate_to_int64(double v)
{
    if (!(v >= -9223372036854775808.0 && v < 9223372036854775808.0))
        return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(v);
}

}  // namespace kcm
