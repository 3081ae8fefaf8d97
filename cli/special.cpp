// kcm commands: special functions.
#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

const char* const kFamily = "Error function and normal distribution";

const CommandRegistrar erf_commands({
    scalar("Erf", Erf, "x", kFamily),
    scalar("ErfC", ErfC, "x", kFamily),
    scalar("InverseErf", InverseErf, "p", kFamily),
    scalar("InverseErfC", InverseErfC, "q", kFamily),
    scalar("NormalPDF", NormalPDF, "x mean sd", kFamily),
    scalar("NormalCDF", NormalCDF, "x mean sd upper", kFamily),
    scalar("NormalICDF", NormalICDF, "p mean sd upper", kFamily),
});

}  // namespace
}  // namespace kcm::cli
