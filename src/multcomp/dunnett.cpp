// Dunnett's two-sided distribution: K - 1 treatments compared with one
// control, the largest absolute value of K - 1 correlated t statistics.
// Exports MCcCDF and MCcICDF.
//
// Comparisons i and j have correlation Lambda[i] * Lambda[j], the structure
// of comparisons with a common control; Lambda[0..K-2] are read, Lambda[K-1]
// never. Given the scale,
//   P(|T_j| <= d for all j) = integral phi(z) prod_j [Phi((d - l_j z)/r_j)
//                                                    - Phi((-d - l_j z)/r_j)] dz,
// r_j = sqrt(1 - l_j^2), by 48-point Gauss-Hermite quadrature, z = sqrt(2) x.
//
// Reference: C. W. Dunnett, "A multiple comparison procedure for comparing
// several treatments with a control", JASA 50 (1955) 1096-1121.
#include <cmath>
#include <cstdint>
#include <utility>

#include "korvane/core_math.h"
#include "multcomp/mc.hpp"

namespace kcm::multcomp {
namespace {

class DunnettDistribution : public MC {
public:
    DunnettDistribution(int32_t K, double Df, const double* Lambda) : MC(K, Df, Lambda) {}

    double ConditionalCDF(double q, double s) override;
    std::pair<double, double> QuantileBracket(double alpha) override;
};

double DunnettDistribution::ConditionalCDF(double q, double s)
{
    const double d = q * s;
    double sum = 0;
    for (int i = 0; i < kRuleSize; ++i) {
        double product = 1;
        for (int32_t j = 0; j < K - 1; ++j) {
            const double z = root_two * Lambda[j] * kHermiteNode[i];
            const double c = Scale[j];
            // Phi(c (d + z)) - Phi(-c (d - z)), formed from the two upper
            // tails in the order of the studentized range.
            product *= normal_upper_by_subtraction(-c * (d + z)) -
                       normal_upper_by_subtraction(c * (d - z));
        }
        sum += kHermiteWeight[i] * product;
    }
    return sum / std::sqrt(pi);
}

std::pair<double, double> DunnettDistribution::QuantileBracket(double alpha)
{
    // The unadjusted and the Bonferroni-adjusted two-sided t critical values
    // for K - 1 comparisons. 2K - 2 wraps as a 32-bit expression would.
    const double lower = -student_t_quantile(Df, alpha / 2);
    const auto sides = static_cast<int32_t>(2u * static_cast<uint32_t>(K) - 2u);
    const double upper = -student_t_quantile(Df, alpha / sides);
    return {lower, upper};
}

}  // namespace
}  // namespace kcm::multcomp

using kcm::multcomp::DunnettDistribution;

extern "C" double MCcCDF(double q, int32_t k, double df, const double* lambda, unsigned char upper)
{
    return kcm::multcomp::export_cdf<DunnettDistribution>(q, k, df, lambda, upper);
}

extern "C" double MCcICDF(double p, int32_t k, double df, const double* lambda, unsigned char upper)
{
    return kcm::multcomp::export_icdf<DunnettDistribution>(p, k, df, lambda, upper);
}
