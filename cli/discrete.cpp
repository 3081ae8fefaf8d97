// kcm commands: discrete distributions.
#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

const char* const kBinomial = "Binomial distribution";
const char* const kPoisson = "Poisson distribution";
const char* const kHypergeometric = "Hypergeometric distribution";
const char* const kFnc = "Fisher's noncentral hypergeometric distribution";

// FNCHypergeometricMoments writes its two results through pointers.
Command fnc_moments()
{
    return Command{"FNCHypergeometricMoments", "n m N odds", kFnc,
                   [](const std::vector<std::string>& words) {
                       if (words.size() != 4) throw std::invalid_argument("expected 4 arguments");
                       const int32_t n = parse_int(words[0]), m = parse_int(words[1]),
                                     N = parse_int(words[2]);
                       const double odds = parse_double(words[3]);
                       double mean = 0, variance = 0;
                       errno = 0;
                       FNCHypergeometricMoments(n, m, N, odds, &mean, &variance);
                       const int err = errno;
                       print_value("mean", mean);
                       print_value("variance", variance);
                       print_errno(err);
                   }};
}

const CommandRegistrar discrete_commands({
    scalar("BinomialPDF", BinomialPDF, "k n prob", kBinomial),
    scalar("BinomialCDF", BinomialCDF, "k n prob upper", kBinomial),
    scalar("BinomialICDF", BinomialICDF, "p n prob upper round_up", kBinomial),
    scalar("BinomialPS", BinomialPS, "alpha k n which", kBinomial),
    scalar("PoissonPDF", PoissonPDF, "k mean", kPoisson),
    scalar("PoissonCDF", PoissonCDF, "k mean upper", kPoisson),
    scalar("PoissonICDF", PoissonICDF, "p mean upper round_up", kPoisson),
    scalar("HypergeometricPDF", HypergeometricPDF, "x r n N", kHypergeometric),
    scalar("HypergeometricCDF", HypergeometricCDF, "x r n N upper", kHypergeometric),
    scalar("HypergeometricICDF", HypergeometricICDF, "p r n N upper", kHypergeometric),
    scalar("FNCHypergeometricCDF", FNCHypergeometricCDF, "x n m N odds upper accuracy", kFnc),
    scalar("FNCHypergeometricICDF", FNCHypergeometricICDF, "p n m N odds upper accuracy", kFnc),
    fnc_moments(),
});

}  // namespace
}  // namespace kcm::cli
