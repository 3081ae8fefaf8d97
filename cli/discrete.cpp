// kcm runner: FNCHypergeometricMoments (the other discrete exports are plain
// scalar commands).
#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {

// FNCHypergeometricMoments writes its two results through pointers.
const Runner run::FNCHypergeometricMoments{"n m N odds", [](const Words& words, Output& out) {
    expect_count(words, 4);
    const int32_t n = parse_int(words[0]), m = parse_int(words[1]), N = parse_int(words[2]);
    const double odds = parse_double(words[3]);
    double mean = 0, variance = 0;
    errno = 0;
    ::FNCHypergeometricMoments(n, m, N, odds, &mean, &variance);
    out.set_errno(errno);
    out.number("mean", mean);
    out.number("variance", variance);
}};

}  // namespace kcm::cli
