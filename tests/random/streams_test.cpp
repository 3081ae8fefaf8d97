// Random streams: the outputs against an independent MT19937 (CPython's
// random module, tests/gen/random_mt19937.py), reproducibility and
// skip-ahead, the block layout of the one-shot exports, the status contract,
// and a statistical sanity check on 10^6 draws.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "support/numeric.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace kcm::test;

// MKL's inverse-CDF Gaussian method is not correctly rounded: against
// Phi^-1(w / 2^32) at 40 digits it is off by at most 7.3e-9 relative (8.2e-9
// absolute) over 2*10^5 draws, about 2^-27. The rung is 2^-26 of max(1, |z|);
// a stream one output out of step, or another method, misses by far more.
constexpr double kGaussianIcdfAccuracy = 1.0 / (1 << 26);

// A contiguous run of one stream in the reference table.
struct Segment {
    uint32_t seed;
    int32_t first;
    std::vector<const ReferenceTable::Row*> rows;
};

std::vector<Segment> segments(const ReferenceTable& table)
{
    std::vector<Segment> out;
    for (const auto& row : table.rows()) {
        const auto seed = static_cast<uint32_t>(row.num("seed"));
        const auto index = static_cast<int32_t>(row.num("index"));
        if (out.empty() || out.back().seed != seed ||
            out.back().first + static_cast<int32_t>(out.back().rows.size()) != index)
            out.push_back({seed, index, {}});
        out.back().rows.push_back(&row);
    }
    return out;
}

// A fresh stream positioned at `first`: near the start by drawing and
// discarding (no skip-ahead involved), far along by SkipAheadStream.
constexpr int32_t kDiscardLimit = 1000;

RandomStream stream_at(uint32_t seed, int32_t first)
{
    RandomStream h = CreateRandomStream(seed);
    EXPECT_NE(h, nullptr);
    if (first > kDiscardLimit) {
        EXPECT_EQ(SkipAheadStream(h, first), 0);
    } else if (first > 0) {
        std::vector<double> discard(first);
        EXPECT_EQ(GenerateRandomUniform(h, discard.data(), first, 0, 1), 0);
    }
    return h;
}

class StreamReference : public testing::Test {
protected:
    static void SetUpTestSuite() { table_ = new ReferenceTable("random_mt19937.csv"); }
    static void TearDownTestSuite() { delete table_; }
    static ReferenceTable* table_;
};
ReferenceTable* StreamReference::table_ = nullptr;

TEST_F(StreamReference, UniformsAreTheOutputsOver2To32)
{
    for (const auto& seg : segments(*table_)) {
        const auto n = static_cast<int32_t>(seg.rows.size());
        RandomStream h = stream_at(seg.seed, seg.first);
        std::vector<double> r(n);
        ASSERT_EQ(GenerateRandomUniform(h, r.data(), n, 0, 1), 0);
        for (int32_t i = 0; i < n; ++i) {
            SCOPED_TRACE(seg.rows[i]->where());
            EXPECT_EQ(r[i], seg.rows[i]->num("uniform"));  // exact: w / 2^32
        }
        EXPECT_EQ(DeleteRandomStream(h), 0);
    }
}

TEST_F(StreamReference, UniformsMapOntoTheInterval)
{
    // a + (b - a) u, good to a couple of roundings of the interval's scale.
    const double a = -2.5, b = 4.0;
    for (const auto& seg : segments(*table_)) {
        const auto n = static_cast<int32_t>(seg.rows.size());
        RandomStream h = stream_at(seg.seed, seg.first);
        std::vector<double> r(n);
        ASSERT_EQ(GenerateRandomUniform(h, r.data(), n, a, b), 0);
        for (int32_t i = 0; i < n; ++i) {
            SCOPED_TRACE(seg.rows[i]->where());
            const double expected = a + (b - a) * seg.rows[i]->num("uniform");
            EXPECT_NEAR(r[i], expected, 4 * kEps * (b - a));
            EXPECT_GE(r[i], a);
            EXPECT_LT(r[i], b);
        }
        DeleteRandomStream(h);
    }
}

TEST_F(StreamReference, NormalsAreTheInverseCdfOfTheUniforms)
{
    for (const auto& seg : segments(*table_)) {
        const auto n = static_cast<int32_t>(seg.rows.size());
        RandomStream standard = stream_at(seg.seed, seg.first);
        RandomStream scaled = stream_at(seg.seed, seg.first);
        std::vector<double> z(n), y(n);
        ASSERT_EQ(GenerateRandomNormal(standard, z.data(), n, 0, 1), 0);
        ASSERT_EQ(GenerateRandomNormal(scaled, y.data(), n, 3, 2), 0);
        for (int32_t i = 0; i < n; ++i) {
            SCOPED_TRACE(seg.rows[i]->where());
            const double e = seg.rows[i]->num("normal");
            const double tol = kGaussianIcdfAccuracy * std::max(1.0, std::fabs(e));
            EXPECT_NEAR(z[i], e, tol);
            EXPECT_NEAR(y[i], 3 + 2 * e, 2 * tol + 8 * kEps);
        }
        DeleteRandomStream(standard);
        DeleteRandomStream(scaled);
    }
}

TEST_F(StreamReference, IntegersAreTheFloorOfTheScaledUniform)
{
    for (const auto& seg : segments(*table_)) {
        const auto n = static_cast<int32_t>(seg.rows.size());
        RandomStream h = stream_at(seg.seed, seg.first);
        std::vector<int32_t> r(n);
        ASSERT_EQ(RandomUniformInteger(h, r.data(), n, 1, 7), 0);
        for (int32_t i = 0; i < n; ++i) {
            SCOPED_TRACE(seg.rows[i]->where());
            EXPECT_EQ(r[i], static_cast<int32_t>(seg.rows[i]->num("die")));
        }
        DeleteRandomStream(h);
    }
}

// ---- Reproducibility and skip-ahead -----------------------------------------

TEST(StreamReproducibility, SameSeedSameSequenceForEveryMethod)
{
    constexpr int32_t kCount = 5000;
    for (uint32_t seed : {0u, 7u, 4294967295u}) {
        SCOPED_TRACE(seed);
        RandomStream a = CreateRandomStream(seed), b = CreateRandomStream(seed);
        std::vector<double> ra(kCount), rb(kCount);
        std::vector<int32_t> ia(kCount), ib(kCount);
        GenerateRandomNormal(a, ra.data(), kCount, 0, 1);
        GenerateRandomNormal(b, rb.data(), kCount, 0, 1);
        EXPECT_EQ(ra, rb);
        GenerateRandomUniform(a, ra.data(), kCount, -1, 1);
        GenerateRandomUniform(b, rb.data(), kCount, -1, 1);
        EXPECT_EQ(ra, rb);
        RandomUniformInteger(a, ia.data(), kCount, -100, 100);
        RandomUniformInteger(b, ib.data(), kCount, -100, 100);
        EXPECT_EQ(ia, ib);
        DeleteRandomStream(a);
        DeleteRandomStream(b);
    }
    // Neighbouring seeds give unrelated streams.
    RandomStream a = CreateRandomStream(1), b = CreateRandomStream(2);
    double x[4], y[4];
    GenerateRandomUniform(a, x, 4, 0, 1);
    GenerateRandomUniform(b, y, 4, 0, 1);
    for (int i = 0; i < 4; ++i) EXPECT_NE(x[i], y[i]);
    DeleteRandomStream(a);
    DeleteRandomStream(b);
}

TEST(StreamSkipAhead, SkippingTenGivesTheEleventhValue)
{
    RandomStream fresh = CreateRandomStream(2024);
    double r[11];
    GenerateRandomUniform(fresh, r, 11, 0, 1);
    RandomStream skipped = CreateRandomStream(2024);
    ASSERT_EQ(SkipAheadStream(skipped, 10), 0);
    double v;
    ASSERT_EQ(GenerateRandomUniform(skipped, &v, 1, 0, 1), 0);
    EXPECT_EQ(v, r[10]);
    DeleteRandomStream(fresh);
    DeleteRandomStream(skipped);
}

TEST(StreamSkipAhead, CountsVariatesOfEveryMethod)
{
    // One output per variate: skipping k equals drawing k of any kind.
    constexpr int32_t kSkip = 37;
    RandomStream drawn = CreateRandomStream(99), skipped = CreateRandomStream(99);
    double normals[kSkip + 3];
    GenerateRandomNormal(drawn, normals, kSkip, 0, 1);
    int32_t ints[3];
    RandomUniformInteger(drawn, ints, 3, 0, 10);
    GenerateRandomNormal(drawn, normals + kSkip, 3, 0, 1);
    ASSERT_EQ(SkipAheadStream(skipped, kSkip + 6), 0);
    double after_drawn[2], after_skipped[2];
    GenerateRandomNormal(drawn, after_drawn, 2, 0, 1);
    GenerateRandomNormal(skipped, after_skipped, 2, 0, 1);
    EXPECT_EQ(after_drawn[0], after_skipped[0]);
    EXPECT_EQ(after_drawn[1], after_skipped[1]);
    DeleteRandomStream(drawn);
    DeleteRandomStream(skipped);
}

TEST(StreamSkipAhead, ZeroIsANoOpAndNegativeCountsAreRejected)
{
    RandomStream fresh = CreateRandomStream(5), h = CreateRandomStream(5);
    EXPECT_EQ(SkipAheadStream(h, 0), 0);
    double a, b;
    GenerateRandomUniform(fresh, &a, 1, 0, 1);
    GenerateRandomUniform(h, &b, 1, 0, 1);
    EXPECT_EQ(a, b);
    // -1 sign-extended is a negative 64-bit count, not 2^32 - 1 outputs ahead.
    for (int32_t nskip : {-1, -1000, std::numeric_limits<int32_t>::min()}) {
        SCOPED_TRACE(nskip);
        EXPECT_LT(SkipAheadStream(h, nskip), 0);
    }
    // The rejected calls left the stream where it was.
    GenerateRandomUniform(fresh, &a, 1, 0, 1);
    GenerateRandomUniform(h, &b, 1, 0, 1);
    EXPECT_EQ(a, b);
    DeleteRandomStream(fresh);
    DeleteRandomStream(h);
}

// ---- One-shot exports --------------------------------------------------------

TEST(OneShotNormals, BlocksAreConsecutiveDrawsOfOneStream)
{
    constexpr uint32_t kSeed = 42;
    const double sentinel = -12345.0;
    std::vector<double> blocks(16, sentinel);
    EXPECT_EQ(RandomNormalVariables(blocks.data(), 4, 3, 0, 1, kSeed), 0);
    // r[0..12) filled, nothing beyond.
    for (int i = 12; i < 16; ++i) EXPECT_EQ(blocks[i], sentinel);

    double single[4];
    EXPECT_EQ(RandomNormalVariable(single, 4, 0, 1, kSeed), 0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(blocks[i], single[i]);

    RandomStream h = CreateRandomStream(kSeed);
    double consecutive[12];
    GenerateRandomNormal(h, consecutive, 12, 0, 1);
    DeleteRandomStream(h);
    for (int i = 0; i < 12; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(blocks[i], consecutive[i]);
    }
}

TEST(OneShotNormals, MeanAndSigmaScaleTheStandardDraws)
{
    double z[6], y[6];
    RandomNormalVariable(z, 6, 0, 1, 11);
    RandomNormalVariables(y, 3, 2, -4, 0.5, 11);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(y[i], -4 + 0.5 * z[i], 8 * kEps);
}

TEST(OneShotNormals, AlwaysReturnZeroAndLeaveBadRequestsUnwritten)
{
    const double sentinel = 777.0;
    struct Row {
        const char* call;
        int32_t status;
    };
    std::vector<double> r(8, sentinel);
    const Row rows[] = {
        {"RandomNormalVariable sigma 0", RandomNormalVariable(r.data(), 4, 0, 0, 1)},
        {"RandomNormalVariable sigma -1", RandomNormalVariable(r.data(), 4, 0, -1, 1)},
        {"RandomNormalVariable n -1", RandomNormalVariable(r.data(), -1, 0, 1, 1)},
        {"RandomNormalVariable n 0", RandomNormalVariable(r.data(), 0, 0, 1, 1)},
        {"RandomNormalVariables sigma 0", RandomNormalVariables(r.data(), 2, 3, 0, 0, 1)},
        {"RandomNormalVariables n -2", RandomNormalVariables(r.data(), -2, 3, 0, 1, 1)},
        {"RandomNormalVariables count 0", RandomNormalVariables(r.data(), 2, 0, 0, 1, 1)},
        {"RandomNormalVariables count -3", RandomNormalVariables(r.data(), 2, -3, 0, 1, 1)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.call);
        EXPECT_EQ(row.status, 0);
    }
    for (double v : r) EXPECT_EQ(v, sentinel);
}

// ---- Status contract: MKL's codes come back unchanged ------------------------

TEST(StreamContract, BadArgumentsReturnTheLibraryStatus)
{
    RandomStream h = CreateRandomStream(3);
    double r[4];
    int32_t k[4];
    struct Row {
        const char* call;
        int32_t status;
    };
    const Row rows[] = {
        {"uniform a == b", GenerateRandomUniform(h, r, 4, 1, 1)},
        {"uniform b < a", GenerateRandomUniform(h, r, 4, 2, 1)},
        {"uniform n < 0", GenerateRandomUniform(h, r, -1, 0, 1)},
        {"integer a == b", RandomUniformInteger(h, k, 4, 5, 5)},
        {"integer b < a", RandomUniformInteger(h, k, 4, 6, 5)},
        {"normal sigma 0", GenerateRandomNormal(h, r, 4, 0, 0)},
        {"normal sigma < 0", GenerateRandomNormal(h, r, 4, 0, -2)},
        {"normal null buffer", GenerateRandomNormal(h, nullptr, 4, 0, 1)},
        {"delete null handle", DeleteRandomStream(nullptr)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.call);
        EXPECT_LT(row.status, 0);
    }
    EXPECT_EQ(GenerateRandomNormal(h, r, 0, 0, 1), 0);  // nothing to do is fine
    EXPECT_EQ(DeleteRandomStream(h), 0);
}

// The library refuses a negative skip-ahead count itself, but only after
// MKL's own check of the handle. Codes of mkl_vsl_defines.h.
TEST(StreamContract, SkipAheadChecksTheHandleBeforeTheCount)
{
    constexpr int32_t kBadArgs = -3;  // VSL_ERROR_BADARGS
    constexpr int32_t kNullPtr = -5;  // VSL_ERROR_NULL_PTR
    RandomStream h = CreateRandomStream(3);
    struct Row {
        const char* call;
        int32_t status, expected;
    };
    const Row rows[] = {
        {"SkipAheadStream(null, 10)", SkipAheadStream(nullptr, 10), kNullPtr},
        {"SkipAheadStream(null, -1)", SkipAheadStream(nullptr, -1), kNullPtr},
        {"SkipAheadStream(null, INT32_MIN)",
         SkipAheadStream(nullptr, std::numeric_limits<int32_t>::min()), kNullPtr},
        {"SkipAheadStream(h, -1)", SkipAheadStream(h, -1), kBadArgs},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.call);
        EXPECT_EQ(row.status, row.expected);
    }
    DeleteRandomStream(h);
}

TEST(StreamContract, IntegersStayInsideTheHalfOpenRange)
{
    constexpr int32_t kCount = 100000;
    RandomStream h = CreateRandomStream(17);
    std::vector<int32_t> r(kCount);
    ASSERT_EQ(RandomUniformInteger(h, r.data(), kCount, 1, 7), 0);
    std::map<int32_t, int> seen;
    for (int32_t v : r) ++seen[v];
    ASSERT_EQ(seen.size(), 6u);
    EXPECT_EQ(seen.begin()->first, 1);
    EXPECT_EQ(seen.rbegin()->first, 6);
    // A one-value range and the full-width extremes.
    ASSERT_EQ(RandomUniformInteger(h, r.data(), 1000, -3, -2), 0);
    EXPECT_TRUE(std::all_of(r.begin(), r.begin() + 1000, [](int32_t v) { return v == -3; }));
    const int32_t lo = std::numeric_limits<int32_t>::min(), hi = std::numeric_limits<int32_t>::max();
    ASSERT_EQ(RandomUniformInteger(h, r.data(), 1000, lo, hi), 0);
    EXPECT_TRUE(std::all_of(r.begin(), r.begin() + 1000, [hi](int32_t v) { return v < hi; }));
    DeleteRandomStream(h);
}

// ---- Statistical sanity ------------------------------------------------------
// Bounds a correct generator exceeds with probability below about 1e-8
// (6 standard errors, chi-squared far beyond its 1 - 1e-9 quantile).

constexpr int32_t kDraws = 1000000;

double chi_squared(const std::vector<int64_t>& counts, double expected)
{
    double s = 0;
    for (int64_t c : counts) s += (c - expected) * (c - expected) / expected;
    return s;
}

TEST(StreamStatistics, UniformsHaveTheRightMomentsAndSpread)
{
    RandomStream h = CreateRandomStream(20240601);
    std::vector<double> r(kDraws);
    ASSERT_EQ(GenerateRandomUniform(h, r.data(), kDraws, 0, 1), 0);
    DeleteRandomStream(h);
    double sum = 0, sum2 = 0;
    constexpr int kBins = 100;
    std::vector<int64_t> counts(kBins);
    for (double v : r) {
        sum += v;
        sum2 += v * v;
        ++counts[static_cast<int>(v * kBins)];
    }
    const double mean = sum / kDraws, var = sum2 / kDraws - mean * mean;
    EXPECT_NEAR(mean, 0.5, 6 * std::sqrt(1.0 / 12 / kDraws));
    EXPECT_NEAR(var, 1.0 / 12, 6 * std::sqrt(1.0 / 180 / kDraws));
    // 99 degrees of freedom: P(chi2 > 200) ~ 2e-9.
    EXPECT_LT(chi_squared(counts, double(kDraws) / kBins), 200.0);
    // Lag-one correlation of a sound generator is ~N(0, 1/n).
    double lag = 0;
    for (int32_t i = 1; i < kDraws; ++i) lag += (r[i] - 0.5) * (r[i - 1] - 0.5);
    EXPECT_NEAR(lag / kDraws * 12, 0.0, 6 / std::sqrt(double(kDraws)));
}

TEST(StreamStatistics, NormalsHaveTheRightMomentsAndShape)
{
    RandomStream h = CreateRandomStream(8675309);
    std::vector<double> z(kDraws);
    ASSERT_EQ(GenerateRandomNormal(h, z.data(), kDraws, 0, 1), 0);
    DeleteRandomStream(h);
    double sum = 0, sum2 = 0, sum4 = 0;
    constexpr int kBins = 50;
    std::vector<int64_t> counts(kBins);
    for (double v : z) {
        sum += v;
        sum2 += v * v;
        sum4 += v * v * v * v;
        // Equal-probability bins through the normal CDF (libm's erfc).
        const double p = 0.5 * std::erfc(-v / std::sqrt(2.0));
        ++counts[std::min(kBins - 1, static_cast<int>(p * kBins))];
    }
    EXPECT_NEAR(sum / kDraws, 0.0, 6 / std::sqrt(double(kDraws)));
    EXPECT_NEAR(sum2 / kDraws, 1.0, 6 * std::sqrt(2.0 / kDraws));
    EXPECT_NEAR(sum4 / kDraws, 3.0, 6 * std::sqrt(96.0 / kDraws));  // Var z^4 = 105 - 9
    // 49 degrees of freedom: P(chi2 > 130) ~ 1e-9.
    EXPECT_LT(chi_squared(counts, double(kDraws) / kBins), 130.0);
}

TEST(StreamStatistics, IntegerFacesAreEquallyLikely)
{
    RandomStream h = CreateRandomStream(31337);
    std::vector<int32_t> r(kDraws);
    ASSERT_EQ(RandomUniformInteger(h, r.data(), kDraws, 1, 7), 0);
    DeleteRandomStream(h);
    std::vector<int64_t> counts(6);
    for (int32_t v : r) ++counts[v - 1];
    // 5 degrees of freedom: P(chi2 > 50) ~ 1.4e-9.
    EXPECT_LT(chi_squared(counts, kDraws / 6.0), 50.0);
}

}  // namespace
