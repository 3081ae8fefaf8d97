// kcm commands: continuous distributions.
#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

const char* const kStudent = "Student t, chi-squared and F distributions";
const char* const kGammaBeta = "Gamma and beta distributions";
const char* const kNoncentral = "Noncentral t distribution";

const CommandRegistrar continuous_commands({
    scalar("StudentTPDF", StudentTPDF, "x df", kStudent),
    scalar("StudentTCDF", StudentTCDF, "x df upper", kStudent),
    scalar("StudentTICDF", StudentTICDF, "p df upper", kStudent),
    scalar("ChiSquaredPDF", ChiSquaredPDF, "x df", kStudent),
    scalar("ChiSquaredCDF", ChiSquaredCDF, "x df upper", kStudent),
    scalar("ChiSquaredICDF", ChiSquaredICDF, "p df upper", kStudent),
    scalar("FisherFPDF", FisherFPDF, "x df1 df2", kStudent),
    scalar("FisherFCDF", FisherFCDF, "x df1 df2 upper", kStudent),
    scalar("FisherFICDF", FisherFICDF, "p df1 df2 upper", kStudent),
    scalar("GammaPDF", GammaPDF, "x shape scale", kGammaBeta),
    scalar("GammaCDF", GammaCDF, "x shape scale upper", kGammaBeta),
    scalar("GammaICDF", GammaICDF, "p shape scale upper", kGammaBeta),
    scalar("BetaPDF", BetaPDF, "x a b", kGammaBeta),
    scalar("BetaCDF", BetaCDF, "x a b upper", kGammaBeta),
    scalar("BetaICDF", BetaICDF, "p a b upper", kGammaBeta),
    scalar("NoncentralTPDF", NoncentralTPDF, "x df delta", kNoncentral),
    scalar("NoncentralTCDF", NoncentralTCDF, "x df delta upper", kNoncentral),
    scalar("NoncentralTICDF", NoncentralTICDF, "p df delta upper", kNoncentral),
});

}  // namespace
}  // namespace kcm::cli
