// Continuous distributions against R's standalone math library on the same
// inputs in the same run: the t quantile, the chi-squared quantile, the F
// distribution function and the noncentral t distribution function.
#include <benchmark/benchmark.h>

#include <Rmath.h>

#include "korvane/core_math.h"

namespace {

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

void StudentTICDF_Export(benchmark::State& s) { sweep(s, 0, 1, [](double p) { return StudentTICDF(p, 7.5, 0); }); }
void StudentTICDF_Rmath(benchmark::State& s) { sweep(s, 0, 1, [](double p) { return qt(p, 7.5, 1, 0); }); }

void ChiSquaredICDF_Export(benchmark::State& s) { sweep(s, 0, 1, [](double p) { return ChiSquaredICDF(p, 12, 0); }); }
void ChiSquaredICDF_Rmath(benchmark::State& s) { sweep(s, 0, 1, [](double p) { return qchisq(p, 12, 1, 0); }); }

void FisherFCDF_Export(benchmark::State& s) { sweep(s, 0, 8, [](double x) { return FisherFCDF(x, 4, 25, 1); }); }
void FisherFCDF_Rmath(benchmark::State& s) { sweep(s, 0, 8, [](double x) { return pf(x, 4, 25, 0, 0); }); }

void NoncentralTCDF_Export(benchmark::State& s) { sweep(s, -3, 9, [](double x) { return NoncentralTCDF(x, 15, 2.8, 0); }); }
void NoncentralTCDF_Rmath(benchmark::State& s) { sweep(s, -3, 9, [](double x) { return pnt(x, 15, 2.8, 1, 0); }); }

}  // namespace

BENCHMARK(StudentTICDF_Export);
BENCHMARK(StudentTICDF_Rmath);
BENCHMARK(ChiSquaredICDF_Export);
BENCHMARK(ChiSquaredICDF_Rmath);
BENCHMARK(FisherFCDF_Export);
BENCHMARK(FisherFCDF_Rmath);
BENCHMARK(NoncentralTCDF_Export);
BENCHMARK(NoncentralTCDF_Rmath);
