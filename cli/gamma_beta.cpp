// kcm commands: the gamma and beta families.
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

const char* const kGamma = "Gamma function";
const char* const kBeta = "Beta function";

// The "2" forms of the inverse incomplete beta function: prints the root and
// the complement stored through the two pointers, and the returned value.
Command with_complement(std::string name, double (*fn)(double, double, double, double*, double*),
                        std::string usage)
{
    return Command{name, usage, kBeta, [name, fn](const std::vector<std::string>& words) {
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

const CommandRegistrar gamma_beta_commands({
    scalar("Gamma", Gamma, "x", kGamma),
    scalar("GammaLn", GammaLn, "x", kGamma),
    scalar("GammaRegularized", GammaRegularized, "a x", kGamma),
    scalar("GammaRegularizedC", GammaRegularizedC, "a x", kGamma),
    scalar("IncompleteGammaLower", IncompleteGammaLower, "a x", kGamma),
    scalar("IncompleteGammaUpper", IncompleteGammaUpper, "a x", kGamma),
    scalar("InverseGammaRegularized", InverseGammaRegularized, "a p", kGamma),
    scalar("InverseGammaRegularizedC", InverseGammaRegularizedC, "a q", kGamma),
    scalar("GammaDerivative", GammaDerivative, "a x", kGamma),
    scalar("LogXplus1", LogXplus1, "x", kGamma),
    scalar("Beta", Beta, "a b", kBeta),
    scalar("BetaRegularized", BetaRegularized, "a b x", kBeta),
    scalar("BetaRegularizedC", BetaRegularizedC, "a b x", kBeta),
    scalar("BetaDerivative", BetaDerivative, "a b x", kBeta),
    scalar("InverseBetaRegularized", InverseBetaRegularized, "a b p", kBeta),
    with_complement("InverseBetaRegularized2", InverseBetaRegularized2, "a b p"),
    scalar("InverseBetaRegularizedC", InverseBetaRegularizedC, "a b q", kBeta),
    with_complement("InverseBetaRegularizedC2", InverseBetaRegularizedC2, "a b q"),
});

}  // namespace
}  // namespace kcm::cli
