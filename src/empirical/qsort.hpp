// The library's own qsort.
//
// SortDoubleArray's order function is not a consistent three-way comparison,
// so what it produces depends on the sorting algorithm behind it. The C
// library of this platform sorts differently from the quicksort the result is
// defined by, so the library carries that quicksort itself: median-of-three
// partitioning for ranges of more than 8 elements, and a selection pass for
// ranges of at most 8.
#pragma once

#include <cstddef>

namespace kcm {

using CompareFunction = int (*)(const void*, const void*);

// Sorts `count` elements of `width` bytes at `base` with `compare`, in the
// manner of the C library's qsort. A null base with a nonzero count sets errno
// to EINVAL and does nothing. Safe for any compare function: every scan is
// bounded by its range, and the recursion depth is at most log2(count).
void qsort(void* base, std::size_t count, std::size_t width, CompareFunction compare);

}  // namespace kcm
