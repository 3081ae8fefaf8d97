// Error-contract rows of the scalar exports: a call with the value it must
// return and the errno it must leave behind, or the exception it must raise.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <boost/math/policies/error_handling.hpp>

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

struct ThrowRow {
    const char* call;
    std::function<double()> f;
    enum Kind { kDomain, kOverflow, kEvaluation } type;
    const char* message_part;  // must appear in what()
};

// The call raises the row's exception type with the row's text in its message.
inline void expect_throws(const ThrowRow& row)
{
    SCOPED_TRACE(row.call);
    const auto check = [&row](ThrowRow::Kind kind, const std::exception& e) {
        EXPECT_EQ(row.type, kind) << e.what();
        EXPECT_NE(std::string(e.what()).find(row.message_part), std::string::npos) << e.what();
    };
    try {
        row.f();
        ADD_FAILURE() << "returned instead of throwing";
    } catch (const std::domain_error& e) {
        check(ThrowRow::kDomain, e);
    } catch (const std::overflow_error& e) {
        check(ThrowRow::kOverflow, e);
    } catch (const boost::math::evaluation_error& e) {
        check(ThrowRow::kEvaluation, e);
    }
}

}  // namespace kcm::test
