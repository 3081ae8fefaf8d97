// kcm commands: multiple-comparison distributions. The lambda array is a
// comma-separated list of k values; a single value stands for k equal
// entries, and k - 1 values (all that Dunnett and Hsu read) get an unused
// last entry, since the library forms a scale factor for all k.
#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

using MCExport = double (*)(double, int32_t, double, const double*, unsigned char);

Runner multcomp(MCExport fn, std::string first)
{
    return Runner{first + " k df lambda1,lambda2,... upper", [fn](const Words& words, Output& out) {
        expect_count(words, 5);
        const double x = parse_double(words[0]);
        const int32_t k = parse_int(words[1]);
        const double df = parse_double(words[2]);
        std::vector<double> lambda = parse_doubles(words[3]);
        const unsigned char upper = parse_flag(words[4], "upper") ? 1 : 0;
        if (lambda.size() == 1 && k > 1) lambda.resize(k, lambda[0]);
        if (k > 1 && lambda.size() == static_cast<std::size_t>(k - 1))
            lambda.push_back(0.0);
        // The library reads up to k entries; never let it read past the list.
        if (k > 0 && lambda.size() < static_cast<std::size_t>(k))
            throw UsageError("lambda needs 1, k - 1 or k values");
        errno = 0;
        const double v = fn(x, k, df, lambda.data(), upper);
        out.set_errno(errno);
        out.result(v);
    }};
}

}  // namespace

// a: studentized range, b: Hsu, c: Dunnett.
const Runner run::MCaCDF = multcomp(::MCaCDF, "q");
const Runner run::MCaICDF = multcomp(::MCaICDF, "p");
const Runner run::MCbCDF = multcomp(::MCbCDF, "q");
const Runner run::MCbICDF = multcomp(::MCbICDF, "p");
const Runner run::MCcCDF = multcomp(::MCcCDF, "q");
const Runner run::MCcICDF = multcomp(::MCcICDF, "p");

}  // namespace kcm::cli
