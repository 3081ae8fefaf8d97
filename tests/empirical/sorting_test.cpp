// Sorting utilities: the permutations SortDoubleArray is defined to produce,
// the multiset it must preserve, and ExtractSorted's bit-for-bit expansion.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "korvane/core_math.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::uint64_t bits(double v)
{
    std::uint64_t b;
    std::memcpy(&b, &v, sizeof b);
    return b;
}

double from_bits(std::uint64_t b)
{
    double v;
    std::memcpy(&v, &b, sizeof v);
    return v;
}

std::vector<std::uint64_t> sorted_bits(const std::vector<double>& v)
{
    std::vector<std::uint64_t> b(v.size());
    std::transform(v.begin(), v.end(), b.begin(), bits);
    std::sort(b.begin(), b.end());
    return b;
}

TEST(SortDoubleArray, ListedPermutations)
{
    std::vector<double> a = {1, 2, 3};
    SortDoubleArray(a.data(), 3);
    EXPECT_EQ(a, (std::vector<double>{2, 3, 1}));
    std::vector<double> b = {3, 2, 1};
    SortDoubleArray(b.data(), 3);
    EXPECT_EQ(b, (std::vector<double>{2, 1, 3}));
}

TEST(SortDoubleArray, UpToEightNumbersRotateLeftByOne)
{
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> u(-5, 5);
    for (int n = 2; n <= 8; ++n) {
        for (int trial = 0; trial < 20; ++trial) {
            SCOPED_TRACE(testing::Message() << "n " << n << " trial " << trial);
            std::vector<double> a(n);
            for (double& v : a) v = trial % 3 == 0 ? std::floor(u(rng)) : u(rng);  // with ties
            if (trial == 1) std::sort(a.begin(), a.end());
            if (trial == 2) std::sort(a.rbegin(), a.rend());
            std::vector<double> expected(a.begin() + 1, a.end());
            expected.push_back(a[0]);
            SortDoubleArray(a.data(), n);
            EXPECT_EQ(a, expected);
        }
    }
}

TEST(SortDoubleArray, ZeroAndOneElementsAreLeftAlone)
{
    double a[2] = {5, 3};
    SortDoubleArray(a, 0);
    SortDoubleArray(a, 1);
    EXPECT_EQ(a[0], 5);
    EXPECT_EQ(a[1], 3);
    SortDoubleArray(nullptr, 0);
}

// A null array with elements to sort is refused with EINVAL; an empty one is
// not an error.
TEST(SortDoubleArray, NullArrayWithElementsSetsEinval)
{
    errno = 0;
    SortDoubleArray(nullptr, 5);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    SortDoubleArray(nullptr, 0);
    EXPECT_EQ(errno, 0);
}

TEST(SortDoubleArray, SmallArraysMoveNaNsToTheEnd)
{
    std::vector<double> a = {kNaN, 1, 2};
    SortDoubleArray(a.data(), 3);
    EXPECT_TRUE(std::isnan(a[2]));
    std::vector<double> b = {3, kNaN, 1, kNaN, 2};
    SortDoubleArray(b.data(), 5);
    EXPECT_TRUE(std::isnan(b[3]) && std::isnan(b[4]));
}

// Any size, with NaNs (some with payloads), signed zeros and many ties: the
// array is a permutation of its input, bit for bit, and every NaN ends up
// after every number.
TEST(SortDoubleArray, PreservesTheMultisetAndPutsNaNsLast)
{
    std::mt19937_64 rng(2024);
    const double payload_nan = from_bits(0x7ff8000000000abcULL);
    for (int n : {9, 10, 17, 100, 1000, 4097, 100000}) {
        for (int variant = 0; variant < 4; ++variant) {
            SCOPED_TRACE(testing::Message() << "n " << n << " variant " << variant);
            std::uniform_int_distribution<int> pick(0, 19);
            std::vector<double> a(n);
            for (double& v : a) {
                const int r = pick(rng);
                if (r == 0) v = kNaN;
                else if (r == 1) v = payload_nan;
                else if (r == 2) v = -0.0;
                else if (variant == 1) v = static_cast<double>(r % 4);  // heavy ties
                else v = std::ldexp(static_cast<double>(rng() >> 11), -40) - 1e3;
            }
            if (variant == 2) std::sort(a.begin(), a.end(), [](double x, double y) {
                    return !std::isnan(x) && (std::isnan(y) || x < y);
                });
            if (variant == 3) std::reverse(a.begin(), a.end());
            const auto before = sorted_bits(a);
            SortDoubleArray(a.data(), n);
            EXPECT_EQ(sorted_bits(a), before);
            const auto first_nan = std::find_if(a.begin(), a.end(), [](double v) { return std::isnan(v); });
            EXPECT_TRUE(std::all_of(first_nan, a.end(), [](double v) { return std::isnan(v); }));
        }
    }
}

// Larger arrays are ordered block by block: the result is not ascending, but
// no element is further than one small block from its place.
TEST(SortDoubleArray, LargeArraysAreOrderedUpToSmallBlocks)
{
    std::mt19937_64 rng(5);
    std::vector<double> a(10000);
    for (double& v : a) v = std::uniform_real_distribution<double>(0, 1)(rng);
    std::vector<double> sorted = a;
    std::sort(sorted.begin(), sorted.end());
    SortDoubleArray(a.data(), static_cast<int32_t>(a.size()));
    EXPECT_FALSE(std::is_sorted(a.begin(), a.end()));
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto rank = std::lower_bound(sorted.begin(), sorted.end(), a[i]) - sorted.begin();
        EXPECT_LE(std::abs(static_cast<long>(rank) - static_cast<long>(i)), 8) << "at " << i;
    }
}

TEST(ExtractSorted, ExpandsAndConsumesPositiveCounts)
{
    std::vector<int32_t> counts = {2, 0, 1};
    const std::vector<double> values = {5, 6, 7};
    std::vector<double> out(3, -1);
    ExtractSorted(counts.data(), out.data(), values.data(), 3);
    EXPECT_EQ(out, (std::vector<double>{5, 5, 7}));
    EXPECT_EQ(counts, (std::vector<int32_t>{0, 0, 0}));
}

TEST(ExtractSorted, LeavesNegativeCountsAndWritesNothingForThem)
{
    std::vector<int32_t> counts = {-1, 3, 0, -7, 1};
    const std::vector<double> values = {1, 2, 3, 4, 5};
    std::vector<double> out(5, -9);
    ExtractSorted(counts.data(), out.data(), values.data(), 5);
    EXPECT_EQ(out, (std::vector<double>{2, 2, 2, 5, -9}));
    EXPECT_EQ(counts, (std::vector<int32_t>{-1, 0, 0, -7, 0}));
}

TEST(ExtractSorted, CopiesBitForBit)
{
    const std::uint64_t patterns[] = {0x8000000000000000ULL,   // -0
                                      0x7ff8000000000123ULL,   // quiet NaN with payload
                                      0x7ff0000000000001ULL,   // signalling NaN
                                      0xfff800000000beefULL,   // negative NaN
                                      0x0000000000000001ULL};  // smallest subnormal
    std::vector<double> values;
    for (auto p : patterns) values.push_back(from_bits(p));
    std::vector<int32_t> counts = {1, 2, 1, 1, 1};
    std::vector<double> out(6);
    ExtractSorted(counts.data(), out.data(), values.data(), 5);
    const std::uint64_t expected[] = {patterns[0], patterns[1], patterns[1],
                                      patterns[2], patterns[3], patterns[4]};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(bits(out[i]), expected[i]) << "at " << i;
}

TEST(ExtractSorted, NonPositiveLengthDoesNothing)
{
    int32_t counts[1] = {3};
    double out[3] = {0, 0, 0};
    const double values[1] = {1};
    ExtractSorted(counts, out, values, 0);
    ExtractSorted(counts, out, values, -4);
    EXPECT_EQ(counts[0], 3);
    EXPECT_EQ(out[0], 0);
    ExtractSorted(nullptr, nullptr, nullptr, 0);
}

}  // namespace
