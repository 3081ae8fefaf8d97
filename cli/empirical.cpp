// kcm runners: the sorting utilities (the Kolmogorov exports are plain scalar
// commands).
#include <cstdio>
#include <string>
#include <vector>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

void print_array(const char* label, const std::vector<double>& values)
{
    std::printf("%s =", label);
    for (std::size_t i = 0; i < values.size(); ++i)
        std::printf("%s%.17g", i ? "," : " ", values[i]);
    std::printf("\n");
}

// Counts are read through the number list and checked as 32-bit integers.
std::string format_int(double c)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.17g", c);
    return buffer;
}

void expect_words(const std::vector<std::string>& words, std::size_t count)
{
    if (words.size() != count)
        throw std::invalid_argument("expected " + std::to_string(count) + " arguments");
}

// SortDoubleArray v1,v2,...: prints the array as the export leaves it.
void sort(const Words& words)
{
    expect_words(words, 1);
    std::vector<double> values = parse_doubles(words[0]);
    errno = 0;
    SortDoubleArray(values.data(), static_cast<int32_t>(values.size()));
    const int err = errno;
    print_array("values", values);
    print_errno(err);
}

// ExtractSorted c1,c2,... v1,v2,...: prints the expansion and the counts left.
void extract(const Words& words)
{
    expect_words(words, 2);
    std::vector<int32_t> counts;
    for (double c : parse_doubles(words[0])) counts.push_back(parse_int(format_int(c)));
    const std::vector<double> values = parse_doubles(words[1]);
    if (values.size() != counts.size())
        throw std::invalid_argument("counts and values differ in length");
    std::size_t total = 0;
    for (int32_t c : counts)
        if (c > 0) total += static_cast<std::size_t>(c);
    std::vector<double> out(total);
    errno = 0;
    ExtractSorted(counts.data(), out.data(), values.data(), static_cast<int32_t>(values.size()));
    const int err = errno;
    print_array("out", out);
    std::printf("counts =");
    for (std::size_t i = 0; i < counts.size(); ++i) std::printf("%s%d", i ? "," : " ", counts[i]);
    std::printf("\n");
    print_errno(err);
}

}  // namespace

const Runner run::SortDoubleArray{"values (comma-separated)", sort};
const Runner run::ExtractSorted{"counts values (comma-separated, same length)", extract};

}  // namespace kcm::cli
