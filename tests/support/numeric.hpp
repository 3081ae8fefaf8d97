// Tolerances and comparisons shared by the tests.
//
// The tolerance ladder is in units of machine epsilon, as GSL's TEST_TOL0..6;
// every table says which rung it uses and why.
#pragma once

#include <cerrno>
#include <cfloat>
#include <cmath>
#include <string>

#include <gtest/gtest.h>

namespace kcm::test {

constexpr double kEps = DBL_EPSILON;
constexpr double kTol0 = 2 * kEps;         // correctly rounded or one ulp off
constexpr double kTol1 = 16 * kEps;        // a few ulps: a good Boost evaluation
constexpr double kTol2 = 256 * kEps;       // series or continued fraction near its limit
constexpr double kTol3 = 2048 * kEps;      // root finding to full precision
constexpr double kTol4 = 16384 * kEps;     // ill-conditioned region
constexpr double kTol5 = 131072 * kEps;    // ~3e-11: iterative methods, matrix powers
constexpr double kTol6 = 1048576 * kEps;   // ~2e-10: root finders with a loose stop

// Relative error of `actual` against `expected`; exact agreement (including
// equal infinities and two NaNs) is 0, a NaN against a number is infinite.
inline double relative_error(double actual, double expected)
{
    if (std::isnan(actual) || std::isnan(expected))
        return std::isnan(actual) && std::isnan(expected) ? 0.0 : INFINITY;
    if (actual == expected) return 0.0;
    if (std::isinf(actual) || std::isinf(expected)) return INFINITY;
    if (expected == 0) return std::fabs(actual);
    return std::fabs((actual - expected) / expected);
}

inline ::testing::AssertionResult RelativelyNear(const char* actual_expr, const char*,
                                                 const char*, double actual, double expected,
                                                 double tolerance)
{
    const double err = relative_error(actual, expected);
    if (err <= tolerance) return ::testing::AssertionSuccess();
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, " = %.17g, expected %.17g: relative error %.3g > %.3g",
                  actual, expected, err, tolerance);
    return ::testing::AssertionFailure() << actual_expr << buffer;
}

// EXPECT_REL_NEAR(actual, expected, tolerance): relative comparison that also
// accepts matching infinities and NaNs.
#define EXPECT_REL_NEAR(actual, expected, tolerance) \
    EXPECT_PRED_FORMAT3(::kcm::test::RelativelyNear, actual, expected, tolerance)

// Calls f with errno preset to `sentinel` and reports the value and errno
// afterwards; a sentinel that survives shows errno was left alone.
template <typename F>
std::pair<double, int> with_errno(F&& f, int sentinel = 0)
{
    errno = sentinel;
    const double v = f();
    return {v, errno};
}

}  // namespace kcm::test
