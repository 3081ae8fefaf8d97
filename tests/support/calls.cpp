#include "support/calls.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include <boost/math/policies/error_handling.hpp>

#include "korvane/core_math.h"
#include "support/contract.hpp"
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

// f throws the exception named `type` with the message `message` (its
// commas written as semicolons, as the CSV holds it; a leading ~ asks only
// that the rest appear in the message).
template <typename F>
void expect_throws(const std::string& type, const std::string& message, F f)
{
    const auto check = [&](const char* caught, const std::exception& e) {
        std::string what = e.what();
        std::replace(what.begin(), what.end(), ',', ';');
        EXPECT_EQ(type, caught);
        if (message.rfind('~', 0) == 0)
            EXPECT_NE(what.find(message.substr(1)), std::string::npos) << what;
        else
            EXPECT_EQ(what, message);
    };
    try {
        f();
        ADD_FAILURE() << "returned instead of throwing " << type;
    } catch (const boost::math::rounding_error& e) {
        check("rounding_error", e);
    } catch (const boost::math::evaluation_error& e) {
        check("evaluation_error", e);
    } catch (const std::domain_error& e) {
        check("domain_error", e);
    } catch (const std::overflow_error& e) {
        check("overflow_error", e);
    }
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
    const ReferenceTable table("contract.csv");
    int checked = 0;
    for (const auto& row : table.rows()) {
        if (row.str("program") != program) continue;
        SCOPED_TRACE(row.where());
        std::vector<double> numbers;
        std::istringstream in(row.str("args"));
        for (std::string word; in >> word;) numbers.push_back(std::strtod(word.c_str(), nullptr));
        const std::string& want = row.str("errno");
        errno = kSentinel;
        if (want.size() > 6 && want.compare(want.size() - 6, 6, "_error") == 0) {
            expect_throws(want, row.str("expected"), [&] { call(row.str("function"), numbers, row.num("upper")); });
        } else {
            const double v = call(row.str("function"), numbers, row.num("upper"));
            const int err = errno;
            const double expected = row.num("expected");
            EXPECT_TRUE(v == expected || (std::isnan(v) && std::isnan(expected))) << v;
            EXPECT_EQ(err, want == "keep" ? kSentinel : want == "EDOM" ? EDOM : ERANGE);
            errno = kSentinel;
        }
        EXPECT_EQ(errno, kSentinel) << "errno changed by a call that throws";
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
