// The scalar exports called by name, for tables whose rows name the export.
// The list comes from the export table (generated/test_scalar_calls.inc).
#pragma once

#include <string>
#include <vector>

namespace kcm::test {

// `name` called with `numbers` for its number arguments, in order (extra ones
// are ignored), and `upper` for its tail flag. An unknown name, or fewer
// numbers than it takes, fails the test and gives NaN.
double call(const std::string& name, const std::vector<double>& numbers, double upper = 0);

// The tail flag is a byte and every nonzero value means the upper tail: the
// call with 2, 128 and 255 gives the bits of the call with 1.
void expect_every_nonzero_tail_byte_is_upper(const std::string& name, const std::vector<double>& numbers);

// Every row of tests/data/contract.csv for the test program `program`: the
// call gives the row's value (NaN for NaN) and leaves the row's errno (or, for
// "keep", errno as it was).
void expect_contract_rows(const std::string& program);

// How the export reports errors, as the export table says ("errno",
// "throws", ...); empty for a name that is not a scalar export.
std::string error_report(const std::string& name);

}  // namespace kcm::test
