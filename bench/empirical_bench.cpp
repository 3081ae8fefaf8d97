// Kolmogorov distribution per method region and sample size, its quantile, and
// SortDoubleArray against std::sort and the C library's qsort. Neither Boost
// nor R's standalone math library has the Kolmogorov distribution, so its
// figures stand alone: they show each region within the cost its method
// promises (the matrix method ~m^3 log2 n with m = 2 floor(n x) + 1).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

#include "korvane/core_math.h"

namespace {

void ks_cdf(benchmark::State& state, double n, double x, int upper)
{
    for (auto _ : state) benchmark::DoNotOptimize(KolmogorovCDF(x, n, upper));
    state.counters["value"] = KolmogorovCDF(x, n, upper);
}

void ks_icdf(benchmark::State& state, double n, double p, int upper)
{
    for (auto _ : state) benchmark::DoNotOptimize(KolmogorovICDF(p, n, upper));
}

// n = 10
BENCHMARK_CAPTURE(ks_cdf, n10_closed_form, 10, 0.08, 0);
BENCHMARK_CAPTURE(ks_cdf, n10_matrix, 10, 0.2, 0);
BENCHMARK_CAPTURE(ks_cdf, n10_pomeranz, 10, 0.4, 0);
BENCHMARK_CAPTURE(ks_cdf, n10_one_sided_upper, 10, 0.7, 1);
// n = 100
BENCHMARK_CAPTURE(ks_cdf, n100_matrix, 100, 0.08, 0);
BENCHMARK_CAPTURE(ks_cdf, n100_pomeranz, 100, 0.12, 0);
BENCHMARK_CAPTURE(ks_cdf, n100_pomeranz_upper, 100, 0.15, 1);
BENCHMARK_CAPTURE(ks_cdf, n100_one_sided, 100, 0.25, 0);
// n = 1000
BENCHMARK_CAPTURE(ks_cdf, n1000_matrix, 1000, 0.0125, 0);
BENCHMARK_CAPTURE(ks_cdf, n1000_pelz_good, 1000, 0.03, 0);
BENCHMARK_CAPTURE(ks_cdf, n1000_one_sided_upper, 1000, 0.06, 1);
// n = 10^5: the matrix method at its limit, n^2 x^3 = 1.95 (m = 117)
BENCHMARK_CAPTURE(ks_cdf, n1e5_matrix, 100000, 5.8e-4, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ks_cdf, n1e5_pelz_good, 100000, 0.004, 0);
BENCHMARK_CAPTURE(ks_cdf, n1e5_one_sided_upper, 100000, 0.006, 1);
// n = 10^6
BENCHMARK_CAPTURE(ks_cdf, n1e6_pelz_good, 1000000, 0.0013, 0);
BENCHMARK_CAPTURE(ks_cdf, n1e6_one_sided_asymptotic_upper, 1000000, 0.002, 1);

BENCHMARK_CAPTURE(ks_icdf, n100_lower_95, 100, 0.95, 0);
BENCHMARK_CAPTURE(ks_icdf, n100_upper_05, 100, 0.05, 1);
BENCHMARK_CAPTURE(ks_icdf, n1e4_lower_95, 10000, 0.95, 0);
BENCHMARK_CAPTURE(ks_icdf, n1e4_upper_05, 10000, 0.05, 1);

// ---- Sorting 10^6 doubles (the copy of the input is timed in every variant) ----

constexpr std::size_t kSortSize = 1000000;

const std::vector<double>& sort_input()
{
    static const std::vector<double> input = [] {
        std::mt19937_64 rng(11);
        std::normal_distribution<double> normal;
        std::vector<double> v(kSortSize);
        for (double& x : v) x = normal(rng);
        return v;
    }();
    return input;
}

int conventional_order(const void* a, const void* b)
{
    const double x = *static_cast<const double*>(a), y = *static_cast<const double*>(b);
    return (x > y) - (x < y);
}

void Sort_SortDoubleArray(benchmark::State& state)
{
    std::vector<double> v(kSortSize);
    for (auto _ : state) {
        v = sort_input();
        SortDoubleArray(v.data(), static_cast<int32_t>(v.size()));
        benchmark::DoNotOptimize(v.data());
    }
    state.SetItemsProcessed(state.iterations() * kSortSize);
}

void Sort_StdSort(benchmark::State& state)
{
    std::vector<double> v(kSortSize);
    for (auto _ : state) {
        v = sort_input();
        std::sort(v.begin(), v.end());
        benchmark::DoNotOptimize(v.data());
    }
    state.SetItemsProcessed(state.iterations() * kSortSize);
}

void Sort_LibcQsort(benchmark::State& state)
{
    std::vector<double> v(kSortSize);
    for (auto _ : state) {
        v = sort_input();
        std::qsort(v.data(), v.size(), sizeof(double), conventional_order);
        benchmark::DoNotOptimize(v.data());
    }
    state.SetItemsProcessed(state.iterations() * kSortSize);
}

}  // namespace

BENCHMARK(Sort_SortDoubleArray)->Unit(benchmark::kMillisecond);
BENCHMARK(Sort_StdSort)->Unit(benchmark::kMillisecond);
BENCHMARK(Sort_LibcQsort)->Unit(benchmark::kMillisecond);
