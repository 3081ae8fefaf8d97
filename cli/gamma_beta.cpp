// kcm runners: the "2" forms of the inverse incomplete beta function (the
// rest of the gamma and beta families are plain scalar commands).
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

// The "2" forms of the inverse incomplete beta function: prints the root and
// the complement stored through the two pointers, and the returned value.
Runner with_complement(double (*fn)(double, double, double, double*, double*), std::string usage)
{
    return Runner{usage, [fn](const Words& words, Output& out) {
        expect_count(words, 3);
        const double a = parse_double(words[0]), b = parse_double(words[1]),
        p = parse_double(words[2]);
        // Preset so that an output the export leaves alone shows as NaN.
        double x = std::numeric_limits<double>::quiet_NaN(), y = x;
        errno = 0;
        const double v = fn(a, b, p, &x, &y);
        out.set_errno(errno);
        out.result(v);
        out.number("x_out", x);
        out.number("y_out", y);
    }};
}

}  // namespace

const Runner run::InverseBetaRegularized2 =
    with_complement(::InverseBetaRegularized2, "a b p");
const Runner run::InverseBetaRegularizedC2 =
    with_complement(::InverseBetaRegularizedC2, "a b q");

}  // namespace kcm::cli
