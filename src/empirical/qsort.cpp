// A quicksort of the classic C-library shape (see qsort.hpp).
//
// Ranges of more than kSelectionMax elements are split around the median of
// their first, middle and last elements; smaller ranges get a selection pass
// which, for each position from the last down to the second, takes the last
// element that compares greater than the running candidate (starting from the
// first element) and swaps it into that position. The partition uses only the
// "first before second" answer (compare < 0), so a compare function whose
// positive answer carries little order still partitions in n log n time; the
// selection pass uses only the positive answer.
#include "empirical/qsort.hpp"

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace kcm {
namespace {

// Ranges up to this many elements go to the selection pass.
constexpr std::size_t kSelectionMax = 8;
// Pending ranges: the larger part is deferred and the smaller one sorted
// first, so no more than log2(SIZE_MAX) ranges are ever pending.
constexpr int kStackSize = 64;

void swap_bytes(char* a, char* b, std::size_t width)
{
    if (a == b) return;
    if (width == sizeof(std::uint64_t)) {
        std::uint64_t t;
        std::memcpy(&t, a, sizeof t);
        std::memcpy(a, b, sizeof t);
        std::memcpy(b, &t, sizeof t);
        return;
    }
    for (std::size_t i = 0; i < width; ++i) {
        const char t = a[i];
        a[i] = b[i];
        b[i] = t;
    }
}

void selection_pass(char* lo, char* hi, std::size_t width, CompareFunction compare)
{
    while (hi > lo) {
        char* candidate = lo;
        for (char* p = lo + width; p <= hi; p += width)
            if (compare(p, candidate) > 0) candidate = p;
        swap_bytes(candidate, hi, width);
        hi -= width;
    }
}

// Partitions [lo, hi] (more than kSelectionMax elements) and returns the final
// place of the pivot: nothing before it compares after it, and nothing after
// it compares before it.
char* partition(char* lo, char* hi, std::size_t width, CompareFunction compare)
{
    const std::size_t size = static_cast<std::size_t>(hi - lo) / width + 1;
    char* mid = lo + (size / 2) * width;
    // Median of three into the middle, then parked at lo while the rest is split.
    if (compare(mid, lo) < 0) swap_bytes(mid, lo, width);
    if (compare(hi, lo) < 0) swap_bytes(hi, lo, width);
    if (compare(hi, mid) < 0) swap_bytes(hi, mid, width);
    swap_bytes(lo, mid, width);

    char* i = lo;
    char* j = hi + width;
    for (;;) {
        do i += width; while (i < hi && compare(i, lo) < 0);
        do j -= width; while (j > lo && compare(lo, j) < 0);
        if (i >= j) break;
        swap_bytes(i, j, width);
    }
    swap_bytes(lo, j, width);
    return j;
}

}  // namespace

void qsort(void* base, std::size_t count, std::size_t width, CompareFunction compare)
{
    if (base == nullptr && count != 0) {
        errno = EINVAL;
        return;
    }
    if (count < 2 || width == 0) return;

    char* stack_lo[kStackSize];
    char* stack_hi[kStackSize];
    int pending = 0;
    char* lo = static_cast<char*>(base);
    char* hi = lo + width * (count - 1);
    for (;;) {
        const std::size_t size = static_cast<std::size_t>(hi - lo) / width + 1;
        if (size <= kSelectionMax) {
            selection_pass(lo, hi, width, compare);
        } else {
            char* const p = partition(lo, hi, width, compare);
            // [lo, p) and (p, hi]: defer the larger, continue with the smaller.
            char* const left_hi = p - width;
            char* const right_lo = p + width;
            const bool left_larger = p - lo > hi - p;
            char* small_lo = left_larger ? right_lo : lo;
            char* small_hi = left_larger ? hi : left_hi;
            char* large_lo = left_larger ? lo : right_lo;
            char* large_hi = left_larger ? left_hi : hi;
            if (large_lo < large_hi) {
                stack_lo[pending] = large_lo;
                stack_hi[pending] = large_hi;
                ++pending;
            }
            if (small_lo < small_hi) {
                lo = small_lo;
                hi = small_hi;
                continue;
            }
        }
        if (pending == 0) return;
        --pending;
        lo = stack_lo[pending];
        hi = stack_hi[pending];
    }
}

}  // namespace kcm
