// Multiple-comparison distributions against R's standalone math library
// (ptukey, qtukey) on the same quantiles in the same run. The library's
// statistic with lambda = sqrt(1/2) is R's studentized range over sqrt(2).
// Dunnett and Hsu have no R standalone counterpart; their quantiles are
// timed alone.
#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

#include <Rmath.h>

#include "korvane/core_math.h"

namespace {

constexpr double kSqrt2 = 1.4142135623730951;
constexpr double kP = 0.95;

std::vector<double> half_lambda(int k) { return std::vector<double>(k, std::sqrt(0.5)); }

void MCaCDF_Export(benchmark::State& state)
{
    const int k = static_cast<int>(state.range(0));
    const double df = static_cast<double>(state.range(1));
    const std::vector<double> lambda = half_lambda(k);
    const double q = qtukey(kP, 1, k, df, 1, 0) / kSqrt2;
    for (auto _ : state) benchmark::DoNotOptimize(MCaCDF(q, k, df, lambda.data(), 0));
}

void MCaCDF_Rmath(benchmark::State& state)
{
    const int k = static_cast<int>(state.range(0));
    const double df = static_cast<double>(state.range(1));
    const double q = qtukey(kP, 1, k, df, 1, 0);
    for (auto _ : state) benchmark::DoNotOptimize(ptukey(q, 1, k, df, 1, 0));
}

void MCaICDF_Export(benchmark::State& state)
{
    const int k = static_cast<int>(state.range(0));
    const double df = static_cast<double>(state.range(1));
    const std::vector<double> lambda = half_lambda(k);
    for (auto _ : state) benchmark::DoNotOptimize(MCaICDF(1 - kP, k, df, lambda.data(), 1));
}

void MCaICDF_Rmath(benchmark::State& state)
{
    const int k = static_cast<int>(state.range(0));
    const double df = static_cast<double>(state.range(1));
    for (auto _ : state) benchmark::DoNotOptimize(qtukey(kP, 1, k, df, 1, 0));
}

void MCcICDF_Export(benchmark::State& state)
{
    const int k = static_cast<int>(state.range(0));
    const std::vector<double> lambda = half_lambda(k);
    for (auto _ : state) benchmark::DoNotOptimize(MCcICDF(1 - kP, k, 20, lambda.data(), 1));
}

void MCbICDF_Export(benchmark::State& state)
{
    const int k = static_cast<int>(state.range(0));
    const std::vector<double> lambda = half_lambda(k);
    for (auto _ : state) benchmark::DoNotOptimize(MCbICDF(1 - kP, k, 20, lambda.data(), 1));
}

void tukey_grid(benchmark::internal::Benchmark* b)
{
    for (int k : {3, 10, 20})
        for (int df : {10, 120}) b->Args({k, df});
    b->ArgNames({"k", "df"})->Unit(benchmark::kMicrosecond);
}

}  // namespace

BENCHMARK(MCaCDF_Export)->Apply(tukey_grid);
BENCHMARK(MCaCDF_Rmath)->Apply(tukey_grid);
BENCHMARK(MCaICDF_Export)->Apply(tukey_grid);
BENCHMARK(MCaICDF_Rmath)->Apply(tukey_grid);
BENCHMARK(MCcICDF_Export)->Arg(5)->Arg(20)->ArgName("k")->Unit(benchmark::kMicrosecond);
BENCHMARK(MCbICDF_Export)->Arg(5)->Arg(20)->ArgName("k")->Unit(benchmark::kMicrosecond);
