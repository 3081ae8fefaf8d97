// Error function and normal distribution against the direct Boost call and
// R's standalone math library, on the same inputs in the same run.
#include <benchmark/benchmark.h>

#include <Rmath.h>

#include <boost/math/special_functions/erf.hpp>

#include "interface/policies.hpp"
#include "korvane/core_math.h"

namespace {

constexpr double kSqrt2 = 1.4142135623730951;

template <typename F>
void sweep(benchmark::State& state, double lo, double hi, F f)
{
    constexpr int kPoints = 256;
    double x[kPoints];
    for (int i = 0; i < kPoints; ++i) x[i] = lo + (hi - lo) * (i + 0.5) / kPoints;
    for (auto _ : state)
        for (double v : x) benchmark::DoNotOptimize(f(v));
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void NormalCDF_Export(benchmark::State& s) { sweep(s, -8, 8, [](double x) { return NormalCDF(x, 0, 1, 0); }); }
void NormalCDF_Boost(benchmark::State& s)
{
    sweep(s, -8, 8, [](double x) { return boost::math::erfc(-x / kSqrt2, kcm::pol::Errno()) * 0.5; });
}
void NormalCDF_Rmath(benchmark::State& s) { sweep(s, -8, 8, [](double x) { return pnorm(x, 0, 1, 1, 0); }); }

void NormalICDF_Export(benchmark::State& s) { sweep(s, 0, 1, [](double p) { return NormalICDF(p, 0, 1, 0); }); }
void NormalICDF_Boost(benchmark::State& s)
{
    sweep(s, 0, 1, [](double p) { return -boost::math::erfc_inv(2 * p, kcm::pol::Errno()) * kSqrt2; });
}
void NormalICDF_Rmath(benchmark::State& s) { sweep(s, 0, 1, [](double p) { return qnorm(p, 0, 1, 1, 0); }); }

void ErfC_Export(benchmark::State& s) { sweep(s, -6, 26, [](double x) { return ErfC(x); }); }
void ErfC_Boost(benchmark::State& s) { sweep(s, -6, 26, [](double x) { return boost::math::erfc(x, kcm::pol::Errno()); }); }
void ErfC_Rmath(benchmark::State& s)
{
    // R has no erfc; 2 * pnorm(-x*sqrt(2)) is its nearest equivalent.
    sweep(s, -6, 26, [](double x) { return 2 * pnorm(-x * kSqrt2, 0, 1, 1, 0); });
}

}  // namespace

BENCHMARK(NormalCDF_Export);
BENCHMARK(NormalCDF_Boost);
BENCHMARK(NormalCDF_Rmath);
BENCHMARK(NormalICDF_Export);
BENCHMARK(NormalICDF_Boost);
BENCHMARK(NormalICDF_Rmath);
BENCHMARK(ErfC_Export);
BENCHMARK(ErfC_Boost);
BENCHMARK(ErfC_Rmath);
