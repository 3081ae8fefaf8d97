// Incomplete gamma and beta functions and their inverses against the direct
// Boost call (same policy) and R's standalone math library (pgamma, qgamma,
// pbeta, qbeta with scale 1 / lower tail), on the same inputs in the same run.
#include <benchmark/benchmark.h>

#include <Rmath.h>

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/gamma.hpp>

#include "interface/policies.hpp"
#include "korvane/core_math.h"

namespace {

constexpr int kPoints = 64;

// A fixed set of (shape, argument) pairs: shapes from 0.5 to ~50, arguments
// spread across the bulk of each distribution.
template <typename F>
void sweep2(benchmark::State& state, double lo, double hi, F f)
{
    double a[kPoints], x[kPoints];
    for (int i = 0; i < kPoints; ++i) {
        a[i] = 0.5 + 0.75 * (i % 8) * (i % 8);
        x[i] = lo + (hi - lo) * (i + 0.5) / kPoints;
    }
    for (auto _ : state)
        for (int i = 0; i < kPoints; ++i) benchmark::DoNotOptimize(f(a[i], x[i]));
    state.SetItemsProcessed(state.iterations() * kPoints);
}

template <typename F>
void sweep3(benchmark::State& state, F f)
{
    double a[kPoints], b[kPoints], x[kPoints];
    for (int i = 0; i < kPoints; ++i) {
        a[i] = 0.5 + 1.5 * (i % 8);
        b[i] = 0.7 + 2.5 * (i % 5);
        x[i] = (i + 0.5) / kPoints;
    }
    for (auto _ : state)
        for (int i = 0; i < kPoints; ++i) benchmark::DoNotOptimize(f(a[i], b[i], x[i]));
    state.SetItemsProcessed(state.iterations() * kPoints);
}

// P(a, x) with x as a multiple of a, so every shape sees both tails.
void GammaRegularized_Export(benchmark::State& s)
{
    sweep2(s, 0.05, 3, [](double a, double m) { return GammaRegularized(a, a * m); });
}
void GammaRegularized_Boost(benchmark::State& s)
{
    sweep2(s, 0.05, 3, [](double a, double m) {
        return boost::math::gamma_p(a, a * m, kcm::pol::Throwing());
    });
}
void GammaRegularized_Rmath(benchmark::State& s)
{
    sweep2(s, 0.05, 3, [](double a, double m) { return pgamma(a * m, a, 1, 1, 0); });
}

void InverseGammaRegularized_Export(benchmark::State& s)
{
    sweep2(s, 0, 1, [](double a, double p) { return InverseGammaRegularized(a, p); });
}
void InverseGammaRegularized_Boost(benchmark::State& s)
{
    sweep2(s, 0, 1, [](double a, double p) {
        return boost::math::gamma_p_inv(a, p, kcm::pol::ErrnoRoot200());
    });
}
void InverseGammaRegularized_Rmath(benchmark::State& s)
{
    sweep2(s, 0, 1, [](double a, double p) { return qgamma(p, a, 1, 1, 0); });
}

void BetaRegularized_Export(benchmark::State& s)
{
    sweep3(s, [](double a, double b, double x) { return BetaRegularized(a, b, x); });
}
void BetaRegularized_Boost(benchmark::State& s)
{
    sweep3(s, [](double a, double b, double x) {
        return boost::math::ibeta(a, b, x, kcm::pol::Throwing());
    });
}
void BetaRegularized_Rmath(benchmark::State& s)
{
    sweep3(s, [](double a, double b, double x) { return pbeta(x, a, b, 1, 0); });
}

void InverseBetaRegularized_Export(benchmark::State& s)
{
    sweep3(s, [](double a, double b, double p) { return InverseBetaRegularized(a, b, p); });
}
void InverseBetaRegularized_Boost(benchmark::State& s)
{
    sweep3(s, [](double a, double b, double p) {
        return boost::math::ibeta_inv(a, b, p, kcm::pol::Errno());
    });
}
void InverseBetaRegularized_Rmath(benchmark::State& s)
{
    sweep3(s, [](double a, double b, double p) { return qbeta(p, a, b, 1, 0); });
}

}  // namespace

BENCHMARK(GammaRegularized_Export);
BENCHMARK(GammaRegularized_Boost);
BENCHMARK(GammaRegularized_Rmath);
BENCHMARK(InverseGammaRegularized_Export);
BENCHMARK(InverseGammaRegularized_Boost);
BENCHMARK(InverseGammaRegularized_Rmath);
BENCHMARK(BetaRegularized_Export);
BENCHMARK(BetaRegularized_Boost);
BENCHMARK(BetaRegularized_Rmath);
BENCHMARK(InverseBetaRegularized_Export);
BENCHMARK(InverseBetaRegularized_Boost);
BENCHMARK(InverseBetaRegularized_Rmath);
