// Error-contract rows written in C++ (the calls the contract table cannot
// name): a call with the value it must return and the errno it must leave.
#pragma once

#include <functional>

#include <gtest/gtest.h>

#include "support/numeric.hpp"

namespace kcm::test {

constexpr int kSentinel = 12345;  // errno preset before every call
constexpr int kKeep = -1;         // errno must still hold the sentinel

struct ContractRow {
    const char* call;
    std::function<double()> f;
    double expected;  // NaN matches NaN
    int expected_errno;
};

// A row whose call text is the call itself.
#define KCM_CONTRACT_ROW(call, expected, err) {#call, [] { return call; }, expected, err}

// The value within `tolerance` (relative) and errno as the row says.
inline void expect_contract(const ContractRow& row, double tolerance = 0.0)
{
    SCOPED_TRACE(row.call);
    const auto [value, err] = with_errno(row.f, kSentinel);
    EXPECT_REL_NEAR(value, row.expected, tolerance);
    EXPECT_EQ(err, row.expected_errno == kKeep ? kSentinel : row.expected_errno);
}

}  // namespace kcm::test
