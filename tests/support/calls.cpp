#include "support/calls.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include "korvane/core_math.h"

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

std::string error_report(const std::string& name)
{
    const ScalarCall* c = find(name);
    return c ? c->errors : "";
}

}  // namespace kcm::test
