// kcm runners: the sorting utilities (the Kolmogorov exports are plain scalar
// commands).
#include <cstdio>
#include <string>
#include <vector>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

// Counts are read through the number list and checked as 32-bit integers.
std::string format_int(double c)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.17g", c);
    return buffer;
}

// SortDoubleArray v1,v2,...: the array as the export leaves it.
void sort(const Words& words, Output& out)
{
    expect_count(words, 1);
    std::vector<double> values = parse_doubles(words[0]);
    errno = 0;
    SortDoubleArray(values.data(), static_cast<int32_t>(values.size()));
    out.set_errno(errno);
    out.numbers("values", values);
}

// ExtractSorted c1,c2,... v1,v2,...: the expansion and the counts left.
void extract(const Words& words, Output& out)
{
    expect_count(words, 2);
    std::vector<int32_t> counts;
    for (double c : parse_doubles(words[0])) counts.push_back(parse_int(format_int(c)));
    const std::vector<double> values = parse_doubles(words[1]);
    if (values.size() != counts.size()) throw UsageError("counts and values differ in length");
    std::size_t total = 0;
    for (int32_t c : counts)
        if (c > 0) total += static_cast<std::size_t>(c);
    std::vector<double> expanded(total);
    errno = 0;
    ExtractSorted(counts.data(), expanded.data(), values.data(), static_cast<int32_t>(values.size()));
    out.set_errno(errno);
    out.numbers("out", expanded);
    out.integers("counts", counts);
}

}  // namespace

const Runner run::SortDoubleArray{"values (comma-separated)", sort};
const Runner run::ExtractSorted{"counts values (comma-separated, same length)", extract};

}  // namespace kcm::cli
