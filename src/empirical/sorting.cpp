// Array utilities for the host: sorting a sample with the library's order
// function, and expanding distinct values with multiplicities.
//
// SortDoubleArray runs the library's own qsort (empirical/qsort.hpp) so that
// the permutation it produces is the same on every platform: with no NaN and
// 2 <= n <= 8 the array comes back rotated left by one place ({1, 2, 3}
// becomes {2, 3, 1}); NaNs move towards the end.
#include <cstddef>
#include <cstring>

#include "empirical/qsort.hpp"
#include "korvane/core_math.h"

namespace {

// Deliberately not a three-way comparison: two numbers in descending order
// compare equal, and "greater" is reported only for a NaN first argument.
int order_doubles(const void* pa, const void* pb)
{
    const double a = *static_cast<const double*>(pa);
    const double b = *static_cast<const double*>(pb);
    if (b > a) return -1;
    if (a == b) return 0;
    if (a != a) return 1;  // a is NaN
    if (b != b) return -1;  // b is NaN
    return 0;
}

}  // namespace

// Nothing is checked: a negative n becomes a huge count, as the size type of
// qsort makes it.
extern "C" void SortDoubleArray(double* values, int32_t n)
{
    kcm::qsort(values, static_cast<std::size_t>(static_cast<std::ptrdiff_t>(n)), sizeof(double),
               order_doubles);
}

// Values are copied as 8-byte words, so a NaN payload or a negative zero
// survives. Counts that are zero or negative are skipped and left as they are.
extern "C" void ExtractSorted(int32_t* counts, double* out, const double* values, int32_t n)
{
    if (n < 1) return;
    std::size_t k = 0;
    for (int32_t i = 0; i < n; ++i) {
        const int32_t c = counts[i];
        if (c <= 0) continue;
        for (int32_t r = 0; r < c; ++r) std::memcpy(out + k + r, values + i, sizeof(double));
        k += static_cast<std::size_t>(c);
        counts[i] = 0;
    }
}
