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
Runner with_complement(std::string name, double (*fn)(double, double, double, double*, double*),
                       std::string usage)
{
    return Runner{usage, [name, fn](const Words& words) {
        if (words.size() != 3) throw std::invalid_argument("expected 3 arguments");
        const double a = parse_double(words[0]), b = parse_double(words[1]),
        p = parse_double(words[2]);
        // Preset so that an output the export leaves alone shows as NaN.
        double x = std::numeric_limits<double>::quiet_NaN(), y = x;
        errno = 0;
        const double v = fn(a, b, p, &x, &y);
        const int err = errno;
        print_value(name.c_str(), v);
        print_value("x_out", x);
        print_value("y_out", y);
        print_errno(err);
    }};
}

}  // namespace

const Runner run::InverseBetaRegularized2 =
    with_complement("InverseBetaRegularized2", ::InverseBetaRegularized2, "a b p");
const Runner run::InverseBetaRegularizedC2 =
    with_complement("InverseBetaRegularizedC2", ::InverseBetaRegularizedC2, "a b q");

}  // namespace kcm::cli
