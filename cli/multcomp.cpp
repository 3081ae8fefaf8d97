// kcm commands: multiple-comparison distributions. The lambda array is a
// comma-separated list of k values; a single value stands for k equal
// entries, and k - 1 values (all that Dunnett and Hsu read) get an unused
// last entry, since the library forms a scale factor for all k.
#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

const char* const kFamily = "Multiple comparisons (a: studentized range, b: Hsu, c: Dunnett)";

using MCExport = double (*)(double, int32_t, double, const double*, unsigned char);

Command multcomp(std::string name, MCExport fn, std::string first)
{
    return Command{name, first + " k df lambda1,lambda2,... upper", kFamily,
                   [name, fn](const std::vector<std::string>& words) {
                       if (words.size() != 5) throw std::invalid_argument("expected 5 arguments");
                       const double x = parse_double(words[0]);
                       const int32_t k = parse_int(words[1]);
                       const double df = parse_double(words[2]);
                       std::vector<double> lambda = parse_doubles(words[3]);
                       const auto upper = parse_arg<unsigned char>(words[4]);
                       if (lambda.size() == 1 && k > 1) lambda.resize(k, lambda[0]);
                       if (k > 1 && lambda.size() == static_cast<std::size_t>(k - 1))
                           lambda.push_back(0.0);
                       // The library reads up to k entries; never let it read past the list.
                       if (k > 0 && lambda.size() < static_cast<std::size_t>(k))
                           throw std::invalid_argument("lambda needs 1, k - 1 or k values");
                       errno = 0;
                       const double v = fn(x, k, df, lambda.data(), upper);
                       const int err = errno;
                       print_value(name.c_str(), v);
                       print_errno(err);
                   }};
}

const CommandRegistrar multcomp_commands({
    multcomp("MCaCDF", MCaCDF, "q"),
    multcomp("MCaICDF", MCaICDF, "p"),
    multcomp("MCbCDF", MCbCDF, "q"),
    multcomp("MCbICDF", MCbICDF, "p"),
    multcomp("MCcCDF", MCcCDF, "q"),
    multcomp("MCcICDF", MCcICDF, "p"),
});

}  // namespace
}  // namespace kcm::cli
