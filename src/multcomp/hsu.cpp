// Hsu's one-sided distribution for multiple comparisons with the best: the
// largest of K - 1 correlated t statistics. Exports MCbCDF and MCbICDF.
//
// Comparisons i and j have correlation Lambda[i] * Lambda[j]; Lambda[0..K-2]
// are read, Lambda[K-1] never. Given the scale,
//   P(T_j <= d for all j) = integral phi(z) prod_j Phi((d + l_j z)/sqrt(1 - l_j^2)) dz,
// by 48-point Gauss-Hermite quadrature with z = sqrt(2) x.
//
// Reference: J. C. Hsu, "Multiple Comparisons: Theory and Methods", Chapman &
// Hall (1996), chapter 4 and appendix E.
#include <cmath>
#include <cstdint>
#include <utility>

#include "korvane/core_math.h"
#include "multcomp/mc.hpp"

namespace kcm::multcomp {
namespace {

class HsuDistribution : public MC {
public:
    HsuDistribution(int32_t K, double Df, const double* Lambda) : MC(K, Df, Lambda) {}

    double ConditionalCDF(double q, double s) override;
    std::pair<double, double> QuantileBracket(double alpha) override;
};

double HsuDistribution::ConditionalCDF(double q, double s)
{
    const double d = q * s;
    double sum = 0;
    for (int i = 0; i < kRuleSize; ++i) {
        double product = 1;
        for (int32_t j = 0; j < K - 1; ++j)
            product *= normal_upper_by_subtraction(-Scale[j] * (root_two * Lambda[j] * kHermiteNode[i] + d));
        sum += kHermiteWeight[i] * product;
    }
    return sum / std::sqrt(pi);
}

std::pair<double, double> HsuDistribution::QuantileBracket(double alpha)
{
    // The unadjusted and the Bonferroni-adjusted one-sided t critical values
    // for K - 1 comparisons; K - 1 in 32-bit arithmetic.
    const double lower = -student_t_quantile(Df, alpha);
    const auto comparisons = static_cast<int32_t>(static_cast<uint32_t>(K) - 1u);
    const double upper = -student_t_quantile(Df, alpha / comparisons);
    return {lower, upper};
}

}  // namespace
}  // namespace kcm::multcomp

using kcm::multcomp::HsuDistribution;

extern "C" double MCbCDF(double q, int32_t k, double df, const double* lambda, unsigned char upper)
{
    return kcm::multcomp::export_cdf<HsuDistribution>(q, k, df, lambda, upper);
}

extern "C" double MCbICDF(double p, int32_t k, double df, const double* lambda, unsigned char upper)
{
    return kcm::multcomp::export_icdf<HsuDistribution>(p, k, df, lambda, upper);
}
