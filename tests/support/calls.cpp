#include "support/calls.hpp"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "support/reference_table.hpp"

namespace kcm::test {
namespace {

struct ScalarCall {
    const char* name;
    const char* errors;
    const char* kinds;  // d: double, i: 32-bit count, f: tail flag
    double (*f)(const double*);
};

#include "test_scalar_calls.inc"

const ScalarCall* find(const std::string& name)
{
    for (const ScalarCall& c : kScalarCalls)
        if (name == c.name) return &c;
    return nullptr;
}

}  // namespace

double call(const std::string& name, const std::vector<double>& numbers, double upper)
{
    const ScalarCall* c = find(name);
    if (!c) {
        ADD_FAILURE() << "no scalar export " << name;
        return NAN;
    }
    std::vector<double> args;
    std::size_t next = 0;
    for (const char* k = c->kinds; *k; ++k) {
        if (*k == 'f') {
            args.push_back(upper);
        } else if (next < numbers.size()) {
            args.push_back(numbers[next++]);
        } else {
            ADD_FAILURE() << name << " takes more than " << numbers.size() << " numbers";
            return NAN;
        }
    }
    return c->f(args.data());
}

void expect_every_nonzero_tail_byte_is_upper(const std::string& name, const std::vector<double>& numbers)
{
    const double upper = call(name, numbers, 1);
    for (double tail : {2, 128, 255}) {
        const double v = call(name, numbers, tail);
        EXPECT_TRUE(std::memcmp(&v, &upper, sizeof v) == 0) << name << " tail byte " << tail;
    }
}

void expect_contract_rows(const std::string& program)
{
    constexpr int kSentinel = 12345;
    const ReferenceTable table("contract.csv");
    int checked = 0;
    for (const auto& row : table.rows()) {
        if (row.str("program") != program) continue;
        SCOPED_TRACE(row.where());
        std::vector<double> numbers;
        std::istringstream in(row.str("args"));
        for (std::string word; in >> word;) numbers.push_back(std::strtod(word.c_str(), nullptr));
        errno = kSentinel;
        const double v = call(row.str("function"), numbers, row.num("upper"));
        const int err = errno;
        const double expected = row.num("expected");
        EXPECT_TRUE(v == expected || (std::isnan(v) && std::isnan(expected))) << v;
        const std::string& want = row.str("errno");
        EXPECT_EQ(err, want == "keep" ? kSentinel : want == "EDOM" ? EDOM : ERANGE);
        ++checked;
    }
    EXPECT_GT(checked, 0) << "no contract rows for " << program;
}

std::string error_report(const std::string& name)
{
    const ScalarCall* c = find(name);
    return c ? c->errors : "";
}

}  // namespace kcm::test
