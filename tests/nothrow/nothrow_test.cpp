// The non-throwing layer: what each kind of outcome of an export leaves in the
// caller's status and result. Exceptions are named as a host would see them
// (Boost's wrapper removed), errno is the call's own, and the result is
// written only when the export returned.
#include <cerrno>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

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

// The array loops: element i of each array argument at i * stride, every
// element the export's own value, and what each element left counted.
struct LoopRow {
    const char* what;
    std::function<int64_t(KcmArrayStatus*, double*)> call;
    std::vector<double> expected;  // bit for bit; NaN matches NaN
    int64_t edom, erange, thrown, first_thrown;
    const char* type;  // the first exception's type
};

TEST(NoThrowLayer, ArrayLoopsEvaluateEveryElement)
{
    const double nan = std::nan("");
    static const double x3[] = {1, 0, 3};
    static const double zero_one_two[] = {0, 1, 2};
    static const double sd3[] = {1, -1, 0};
    static const double one = 1, zero = 0;
    static const double p4[] = {0.9, 0.5, 0.1, 0};
    static const int32_t xs[] = {0, 1, 2};
    static const int32_t n = 4, m = 3, N = 10;
    static const double odds = 2, accuracy = 1e-10;
    static const double lambda[3] = {0.7071067811865476, 0.7071067811865476, 0.7071067811865476};
    static const double q3[] = {1, 3, 5}, df = 20, bad_df = -1;
    const LoopRow rows[] = {
        {"GammaLn(1, 0, 3): the pole in the middle throws, its neighbours are computed",
         [](KcmArrayStatus* s, double* out) { return kcmnv_GammaLn(s, 3, out, x3, 1); },
         {0.0, nan, GammaLn(3)}, 0, 0, 1, 1, "std::domain_error"},
        {"NormalPDF: x strided, sd per element; two failed checks counted",
         [](KcmArrayStatus* s, double* out) {
             return kcmnv_NormalPDF(s, 3, out, zero_one_two, 1, &zero, 0, sd3, 1);
         },
         {NormalPDF(0, 0, 1), nan, nan}, 2, 0, 0, -1, ""},
        {"NormalICDF, p read backwards (stride -1): ERANGE with the infinite quantile",
         [](KcmArrayStatus* s, double* out) {
             return kcmnv_NormalICDF(s, 4, out, p4 + 3, -1, &zero, 0, &one, 0, 0);
         },
         {-INFINITY, NormalICDF(0.1, 0, 1, 0), NormalICDF(0.5, 0, 1, 0), NormalICDF(0.9, 0, 1, 0)}, 0, 1, 0, -1, ""},
        {"LogXplus1 every other element (stride 2): both throw, the first is kept",
         [](KcmArrayStatus* s, double* out) {
             static const double v[] = {-1.5, 7, -1};
             return kcmnv_LogXplus1(s, 2, out, v, 2);
         },
         {nan, nan}, 0, 0, 2, 0, "std::domain_error"},
        {"FNCHypergeometricCDF over integer x, the rest repeated",
         [](KcmArrayStatus* s, double* out) {
             return kcmnv_FNCHypergeometricCDF(s, 3, out, xs, 1, &n, 0, &m, 0, &N, 0, &odds, 0, 0,
                                               &accuracy, 0);
         },
         {FNCHypergeometricCDF(0, 4, 3, 10, 2, 0, 1e-10), FNCHypergeometricCDF(1, 4, 3, 10, 2, 0, 1e-10),
          FNCHypergeometricCDF(2, 4, 3, 10, 2, 0, 1e-10)},
         0, 0, 0, -1, ""},
        {"MCaCDF with the lambdas fixed for the call",
         [](KcmArrayStatus* s, double* out) {
             return kcmnv_MCaCDF(s, 3, out, q3, 1, 3, &df, 0, lambda, 0);
         },
         {MCaCDF(1, 3, 20, lambda, 0), MCaCDF(3, 3, 20, lambda, 0), MCaCDF(5, 3, 20, lambda, 0)},
         0, 0, 0, -1, ""},
        {"MCaCDF with df = -1: every element throws",
         [](KcmArrayStatus* s, double* out) {
             return kcmnv_MCaCDF(s, 2, out, q3, 1, 3, &bad_df, 0, lambda, 1);
         },
         {nan, nan}, 0, 0, 2, 0, "std::domain_error"},
        {"no elements",
         [](KcmArrayStatus* s, double* out) { return kcmnv_Erf(s, 0, out, x3, 1); },
         {}, 0, 0, 0, -1, ""},
    };
    for (const LoopRow& row : rows) {
        SCOPED_TRACE(row.what);
        KcmArrayStatus status;
        std::memset(&status, 0x5a, sizeof status);
        std::vector<double> out(row.expected.size() + 1, 12345.0);
        errno = 77;
        EXPECT_EQ(row.call(&status, out.data()), row.thrown);
        EXPECT_EQ(errno, 77) << "the caller's errno is restored";
        EXPECT_EQ(status.edom, row.edom);
        EXPECT_EQ(status.erange, row.erange);
        EXPECT_EQ(status.thrown, row.thrown);
        EXPECT_EQ(status.first_thrown, row.first_thrown);
        EXPECT_STREQ(status.type, row.type);
        for (std::size_t i = 0; i < row.expected.size(); ++i) {
            if (std::isnan(row.expected[i])) EXPECT_TRUE(std::isnan(out[i])) << i << ": " << out[i];
            else EXPECT_EQ(out[i], row.expected[i]) << i;
        }
        EXPECT_EQ(out.back(), 12345.0) << "nothing written past the last element";
    }
}

TEST(NoThrowLayer, ArrayLoopRefusesANegativeCount)
{
    KcmArrayStatus status;
    double out = 12345;
    EXPECT_EQ(kcmnv_Erf(&status, -1, &out, &out, 0), -1);
    EXPECT_EQ(out, 12345);
    EXPECT_EQ(status.thrown, 0);
}

}  // namespace
