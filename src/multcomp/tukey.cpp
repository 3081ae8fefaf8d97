// The studentized range: all pairwise comparisons of K equally correlated
// normal means, studentized. Exports MCaCDF and MCaICDF.
//
// Given the scale, P(range <= d) = K * integral phi(z) [Phi(z) - Phi(z - d)]^(K-1) dz,
// written for means of correlation lambda (only Lambda[0] is read) and
// evaluated by 48-point Gauss-Hermite quadrature with z = sqrt(2) x. With
// lambda = sqrt(1/2) (c * lambda = 1) the statistic is the studentized range
// divided by sqrt(2), the scale of a two-sample t statistic, which is the
// scale of the Bonferroni bracket.
//
// Reference: R. E. Lund, J. R. Lund, "Algorithm AS 190: probabilities and
// upper quantiles for the studentized range", Applied Statistics 32 (1983)
// 204-210 (the same integral, by other rules).
#include <cmath>
#include <cstdint>
#include <utility>

#include "korvane/core_math.h"
#include "multcomp/mc.hpp"

namespace kcm::multcomp {
namespace {

class TukeyDistribution : public MC {
public:
    TukeyDistribution(int32_t K, double Df, const double* Lambda) : MC(K, Df, Lambda) {}

    double ConditionalCDF(double q, double s) override;
    std::pair<double, double> QuantileBracket(double alpha) override;

private:
    // Independent of q and s: z_i = sqrt(2) lambda x_i at each Hermite node
    // and the first probability of D_i, 1 - Phi(-c z_i). Filled at the first
    // conditional probability, so an ICDF computes them once, not once per
    // node of every outer rule; the values are those the sum would form.
    struct Nodes {
        double c;
        double z[kRuleSize];
        double first[kRuleSize];
    };
    const Nodes& nodes();

    Nodes nodes_;
    bool nodes_ready_ = false;
};

const TukeyDistribution::Nodes& TukeyDistribution::nodes()
{
    if (nodes_ready_) return nodes_;
    const double lambda = Lambda[0];
    // K = 0 leaves Scale empty; c is then formed here as Scale[0] would be.
    nodes_.c = K > 0 ? Scale[0] : 1 / std::sqrt(1 - lambda * lambda);
    for (int i = 0; i < kRuleSize; ++i) {
        nodes_.z[i] = root_two * lambda * kHermiteNode[i];
        nodes_.first[i] = normal_upper_by_subtraction(-nodes_.c * nodes_.z[i]);
    }
    nodes_ready_ = true;
    return nodes_;
}

double TukeyDistribution::ConditionalCDF(double q, double s)
{
    const Nodes& n = nodes();
    const double d = q * s;
    double sum = 0;
    for (int i = 0; i < kRuleSize; ++i) {
        // Phi(c z) - Phi(c (z - d)), formed from the two upper tails.
        const double D = n.first[i] - normal_upper_by_subtraction(n.c * (d - n.z[i]));
        // D is never -0, and pow(+0, K - 1) is +0 for K >= 2: skip the call.
        const double P = K == 3 ? D * D
                         : D == 0 && K > 1 ? 0.0
                                           : std::pow(D, static_cast<double>(K - 1));
        sum += kHermiteWeight[i] * P;
    }
    return K * sum / std::sqrt(pi);
}

std::pair<double, double> TukeyDistribution::QuantileBracket(double alpha)
{
    // The unadjusted and the Bonferroni-adjusted two-sided t critical values
    // for the K(K-1)/2 pairs. K(K-1) wraps as a 32-bit product would.
    const double lower = -student_t_quantile(Df, alpha / 2);
    const auto pairs = static_cast<int32_t>(static_cast<uint32_t>(K) * (static_cast<uint32_t>(K) - 1u));
    const double upper = -student_t_quantile(Df, alpha / pairs);
    return {lower, upper};
}

}  // namespace
}  // namespace kcm::multcomp

using kcm::multcomp::TukeyDistribution;

extern "C" double MCaCDF(double q, int32_t k, double df, const double* lambda, unsigned char upper)
{
    return kcm::multcomp::export_cdf<TukeyDistribution>(q, k, df, lambda, upper);
}

extern "C" double MCaICDF(double p, int32_t k, double df, const double* lambda, unsigned char upper)
{
    return kcm::multcomp::export_icdf<TukeyDistribution>(p, k, df, lambda, upper);
}
