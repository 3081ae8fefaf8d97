// Discrete distributions against the direct Boost call and R's standalone
// math library, on the same inputs in the same run; and Fisher's noncentral
// hypergeometric distribution over urns from N = 100 to 10^7, to show that
// its cost follows the spread of the distribution, not the size of the urn.
#include <cmath>
#include <cstdint>

#include <benchmark/benchmark.h>

#include <Rmath.h>

#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/hypergeometric.hpp>
#include <boost/math/distributions/poisson.hpp>

#include "interface/policies.hpp"
#include "korvane/core_math.h"

namespace {

template <typename F>
void sweep(benchmark::State& state, double lo, double hi, F f)
{
    constexpr int kPoints = 64;
    double x[kPoints];
    for (int i = 0; i < kPoints; ++i) x[i] = std::floor(lo + (hi - lo) * (i + 0.5) / kPoints);
    for (auto _ : state)
        for (double v : x) benchmark::DoNotOptimize(f(v));
    state.SetItemsProcessed(state.iterations() * kPoints);
}

// Binomial CDF, 500 trials at 0.3: k across the bulk and both tails.
void BinomialCDF_Export(benchmark::State& s) { sweep(s, 0, 500, [](double k) { return BinomialCDF(k, 500, 0.3, 0); }); }
void BinomialCDF_Boost(benchmark::State& s)
{
    const boost::math::binomial_distribution<double, kcm::pol::Throwing> d(500, 0.3);
    sweep(s, 0, 500, [&](double k) { return cdf(d, k); });
}
void BinomialCDF_Rmath(benchmark::State& s) { sweep(s, 0, 500, [](double k) { return pbinom(k, 500, 0.3, 1, 0); }); }

// Poisson quantile, mean 40, rounded up (R's qpois also returns the smallest
// count whose CDF reaches p).
template <typename F>
void sweep_p(benchmark::State& state, F f)
{
    constexpr int kPoints = 64;
    double p[kPoints];
    for (int i = 0; i < kPoints; ++i) p[i] = (i + 0.5) / kPoints;
    for (auto _ : state)
        for (double v : p) benchmark::DoNotOptimize(f(v));
    state.SetItemsProcessed(state.iterations() * kPoints);
}
void PoissonICDF_Export(benchmark::State& s) { sweep_p(s, [](double p) { return PoissonICDF(p, 40, 0, 1); }); }
void PoissonICDF_Boost(benchmark::State& s)
{
    const boost::math::poisson_distribution<double, kcm::pol::ThrowingRoundUp> d(40);
    sweep_p(s, [&](double p) { return quantile(d, p); });
}
void PoissonICDF_Rmath(benchmark::State& s) { sweep_p(s, [](double p) { return qpois(p, 40, 1, 0); }); }

// Hypergeometric CDF: 300 defective of 1000, samples of 400.
void HypergeometricCDF_Export(benchmark::State& s)
{
    sweep(s, 100, 140, [](double x) { return HypergeometricCDF(x, 300, 400, 1000, 0); });
}
void HypergeometricCDF_Boost(benchmark::State& s)
{
    const boost::math::hypergeometric_distribution<double, kcm::pol::Throwing> d(300, 400, 1000);
    sweep(s, 100, 140, [&](double x) { return cdf(d, x); });
}
void HypergeometricCDF_Rmath(benchmark::State& s)
{
    sweep(s, 100, 140, [](double x) { return phyper(x, 300, 700, 400, 1, 0); });
}

// Fisher's noncentral hypergeometric, odds 1.5. "Proportional" urns draw
// n = N/10 of N with m = N/5 marked, so the standard deviation grows as
// sqrt(N); "fixed" urns draw n = 100 with m = N/2 marked, so it stays near 5
// whatever N is. The counter sd is the standard deviation.
struct Urn {
    int32_t n, m, N;
};
Urn urn(benchmark::State& s)
{
    const auto N = static_cast<int32_t>(s.range(0));
    return s.range(1) ? Urn{N / 10, N / 5, N} : Urn{100, N / 2, N};
}
void set_spread(benchmark::State& s, const Urn& u)
{
    double mean = 0, variance = 0;
    FNCHypergeometricMoments(u.n, u.m, u.N, 1.5, &mean, &variance);
    s.counters["sd"] = std::sqrt(variance);
}

void FNCHypergeometricCDF_Export(benchmark::State& s)
{
    const Urn u = urn(s);
    const auto x = static_cast<int32_t>(u.n * (u.m / double(u.N)));
    for (auto _ : s) benchmark::DoNotOptimize(FNCHypergeometricCDF(x, u.n, u.m, u.N, 1.5, 0, 1e-10));
    set_spread(s, u);
}
void FNCHypergeometricMoments_Export(benchmark::State& s)
{
    const Urn u = urn(s);
    double mean = 0, variance = 0;
    for (auto _ : s) {
        FNCHypergeometricMoments(u.n, u.m, u.N, 1.5, &mean, &variance);
        benchmark::DoNotOptimize(mean);
    }
    set_spread(s, u);
}
void urn_sizes(benchmark::internal::Benchmark* b)
{
    for (int proportional : {1, 0})
        for (int64_t N : {100, 1000, 10000, 100000, 1000000, 10000000})
            if (proportional || N >= 1000) b->Args({N, proportional});
    b->ArgNames({"N", "proportional"});
    // The distribution function keeps every table it builds (by design): a
    // short fixed run bounds what the benchmark leaves allocated.
    b->MinTime(0.05);
}

}  // namespace

BENCHMARK(BinomialCDF_Export);
BENCHMARK(BinomialCDF_Boost);
BENCHMARK(BinomialCDF_Rmath);
BENCHMARK(PoissonICDF_Export);
BENCHMARK(PoissonICDF_Boost);
BENCHMARK(PoissonICDF_Rmath);
BENCHMARK(HypergeometricCDF_Export);
BENCHMARK(HypergeometricCDF_Boost);
BENCHMARK(HypergeometricCDF_Rmath);
BENCHMARK(FNCHypergeometricCDF_Export)->Apply(urn_sizes);
BENCHMARK(FNCHypergeometricMoments_Export)->Apply(urn_sizes);
