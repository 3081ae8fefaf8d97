// The non-throwing layer: what each kind of outcome of an export leaves in the
// caller's status and result. Exceptions are named as a host would see them
// (Boost's wrapper removed), errno is the call's own, and the result is
// written only when the export returned.
#include <cerrno>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "korvane/core_math_nothrow.h"

namespace {

struct Row {
    const char* what;
    std::function<int32_t(KcmStatus*, double*)> call;
    int32_t thrown;
    const char* type;     // exception type, when thrown
    const char* message;  // a part of its message, when thrown
    int errno_value;
    double value;         // when returned, bit for bit; NaN matches NaN
};

TEST(NoThrowLayer, StatusAndResultOfEachOutcome)
{
    const double nan = std::nan("");
    const Row rows[] = {
        {"Erf(0.5): the export's own value",
         [](KcmStatus* s, double* r) { return kcmnt_Erf(s, r, 0.5); }, 0, "", "", 0, Erf(0.5)},
        {"NormalPDF(0, 0, -1): NaN and EDOM",
         [](KcmStatus* s, double* r) { return kcmnt_NormalPDF(s, r, 0, 0, -1); }, 0, "", "", EDOM, nan},
        {"NormalICDF(0, 0, 1, lower): -inf and ERANGE",
         [](KcmStatus* s, double* r) { return kcmnt_NormalICDF(s, r, 0, 0, 1, 0); }, 0, "", "",
         ERANGE, -INFINITY},
        {"LogXplus1(-1.5): domain error",
         [](KcmStatus* s, double* r) { return kcmnt_LogXplus1(s, r, -1.5); }, 1,
         "std::domain_error", "log1p(x) requires x > -1, but got x = -1.5", 0, 0},
        {"LogXplus1(-1): overflow error",
         [](KcmStatus* s, double* r) { return kcmnt_LogXplus1(s, r, -1); }, 1,
         "std::overflow_error", "log1p", 0, 0},
        {"GammaLn(0): the pole",
         [](KcmStatus* s, double* r) { return kcmnt_GammaLn(s, r, 0); }, 1, "std::domain_error",
         "", 0, 0},
        {"MCaICDF with df = -1: the t quantile's domain error",
         [](KcmStatus* s, double* r) {
             const double lambda[3] = {0.7071067811865476, 0.7071067811865476, 0.7071067811865476};
             return kcmnt_MCaICDF(s, r, 0.05, 3, -1, lambda, 1);
         },
         1, "std::domain_error", "Degrees of freedom", 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        KcmStatus status;
        std::memset(&status, 0x5a, sizeof status);  // whatever the caller's storage held
        double result = 12345;
        errno = 77;  // the layer clears errno before the call
        EXPECT_EQ(row.call(&status, &result), row.thrown);
        EXPECT_EQ(status.thrown, row.thrown);
        EXPECT_EQ(status.errno_value, row.errno_value);
        if (row.thrown) {
            EXPECT_STREQ(status.type, row.type);
            EXPECT_NE(std::string(status.message).find(row.message), std::string::npos)
                << status.message;
            EXPECT_EQ(result, 12345) << "the result is written only when the export returns";
        } else {
            EXPECT_STREQ(status.type, "");
            if (std::isnan(row.value)) EXPECT_TRUE(std::isnan(result)) << result;
            else EXPECT_EQ(result, row.value);
        }
    }
}

TEST(NoThrowLayer, VoidExportsAndOutputPointers)
{
    KcmStatus status;
    double mean = 0, variance = 0;
    // Odds 1: the central hypergeometric, mean n m / N and variance
    // n m (N - m)(N - n) / (N^2 (N - 1)).
    EXPECT_EQ(kcmnt_FNCHypergeometricMoments(&status, 4, 3, 10, 1.0, &mean, &variance), 0);
    EXPECT_NEAR(mean, 1.2, 1e-9);
    EXPECT_NEAR(variance, 4.0 * 3 * 7 * 6 / (100.0 * 9), 1e-9);
    double root = 0, complement = 0, value = 0;
    EXPECT_EQ(kcmnt_InverseBetaRegularized2(&status, &value, 2, 3, 0.5248, &root, &complement), 0);
    EXPECT_NEAR(root, 0.4, 1e-14);
    EXPECT_EQ(value, root);
    EXPECT_EQ(complement, 1 - root);
}

}  // namespace
