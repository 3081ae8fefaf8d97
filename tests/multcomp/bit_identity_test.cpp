// The exports hoist the q-independent parts of the rule out of the
// evaluations and skip normal probabilities that round to exactly 0 or 1;
// neither may change a bit. tests/gen/multcomp_plain.cpp evaluates the plain
// way and wrote the bit patterns of tests/data/multcomp_bits.csv.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "support/reference_table.hpp"

TEST(MultcompBitIdentity, EveryResultHasThePlainEvaluationsBits)
{
    using Export = double (*)(double, int32_t, double, const double*, unsigned char);
    const std::pair<const char*, Export> exports[] = {{"MCaCDF", MCaCDF}, {"MCaICDF", MCaICDF},
        {"MCbCDF", MCbCDF}, {"MCbICDF", MCbICDF}, {"MCcCDF", MCcCDF}, {"MCcICDF", MCcICDF}};
    const kcm::test::ReferenceTable table("multcomp_bits.csv");
    ASSERT_EQ(table.rows().size(), 78u);
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        std::vector<double> lambda;
        std::istringstream in(row.str("lambdas"));
        for (double l; in >> l;) lambda.push_back(l);
        Export f = nullptr;
        for (const auto& [name, e] : exports)
            if (row.str("function") == name) f = e;
        ASSERT_NE(f, nullptr);
        const double v = f(row.num("x"), int32_t(row.num("k")), row.num("df"), lambda.data(), 0);
        std::uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        EXPECT_EQ(bits, std::strtoull(row.str("bits").c_str(), nullptr, 16)) << v;
    }
}
