// Random streams and the stepwise minimiser against the calls they wrap.
//
// Streams: 10^6 normals or uniforms per iteration through the export, through
// MKL's vdRngGaussian / vdRngUniform on the same kind of stream, and through
// std::mt19937 with the standard library's distributions.
// Minimiser: a fixed run of L-BFGS-B at n = 1000 on the chained Rosenbrock function,
// through LBFGSBStart/Step/End and through setulb_ called directly with the
// host's own arrays; the difference per step is the wrapper's copying.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include <mkl_vsl.h>

#include "korvane/core_math.h"

extern "C" void setulb_(const int32_t* n, const int32_t* m, double* x, const double* l,
                        const double* u, const int32_t* nbd, double* f, double* g,
                        const double* factr, const double* pgtol, double* wa, int32_t* iwa,
                        char* task, const int32_t* iprint, char* csave, int32_t* lsave,
                        int32_t* isave, double* dsave, std::size_t task_length,
                        std::size_t csave_length);

namespace {

constexpr int32_t kDraws = 1000000;
constexpr uint32_t kSeed = 20240601;

// ---- Streams ------------------------------------------------------------------

void Normal_Export(benchmark::State& state)
{
    std::vector<double> r(kDraws);
    RandomStream h = CreateRandomStream(kSeed);
    for (auto _ : state) {
        GenerateRandomNormal(h, r.data(), kDraws, 0, 1);
        benchmark::DoNotOptimize(r.data());
    }
    DeleteRandomStream(h);
    state.SetItemsProcessed(state.iterations() * kDraws);
}

void Normal_MKL(benchmark::State& state)
{
    std::vector<double> r(kDraws);
    VSLStreamStatePtr h;
    vslNewStream(&h, VSL_BRNG_MT19937, kSeed);
    for (auto _ : state) {
        vdRngGaussian(VSL_RNG_METHOD_GAUSSIAN_ICDF, h, kDraws, r.data(), 0, 1);
        benchmark::DoNotOptimize(r.data());
    }
    vslDeleteStream(&h);
    state.SetItemsProcessed(state.iterations() * kDraws);
}

void Normal_StdMt19937(benchmark::State& state)
{
    std::vector<double> r(kDraws);
    std::mt19937 engine(kSeed);
    std::normal_distribution<double> normal(0, 1);
    for (auto _ : state) {
        for (double& v : r) v = normal(engine);
        benchmark::DoNotOptimize(r.data());
    }
    state.SetItemsProcessed(state.iterations() * kDraws);
}

void Uniform_Export(benchmark::State& state)
{
    std::vector<double> r(kDraws);
    RandomStream h = CreateRandomStream(kSeed);
    for (auto _ : state) {
        GenerateRandomUniform(h, r.data(), kDraws, 0, 1);
        benchmark::DoNotOptimize(r.data());
    }
    DeleteRandomStream(h);
    state.SetItemsProcessed(state.iterations() * kDraws);
}

void Uniform_MKL(benchmark::State& state)
{
    std::vector<double> r(kDraws);
    VSLStreamStatePtr h;
    vslNewStream(&h, VSL_BRNG_MT19937, kSeed);
    for (auto _ : state) {
        vdRngUniform(VSL_RNG_METHOD_UNIFORM_STD, h, kDraws, r.data(), 0, 1);
        benchmark::DoNotOptimize(r.data());
    }
    vslDeleteStream(&h);
    state.SetItemsProcessed(state.iterations() * kDraws);
}

void Uniform_StdMt19937(benchmark::State& state)
{
    std::vector<double> r(kDraws);
    std::mt19937 engine(kSeed);
    std::uniform_real_distribution<double> uniform(0, 1);
    for (auto _ : state) {
        for (double& v : r) v = uniform(engine);
        benchmark::DoNotOptimize(r.data());
    }
    state.SetItemsProcessed(state.iterations() * kDraws);
}

// ---- Minimiser ----------------------------------------------------------------

constexpr int32_t kN = 1000;
constexpr int32_t kM = 10;
constexpr int kSteps = 60;  // a fixed number of solver calls per run

// Chained Rosenbrock from (-1.2, 1, -1.2, ...): hundreds of iterations to
// go, so every one of the kSteps calls is a working step; the objective is
// O(n), the solver's step O(mn).
double objective(const double* x, double* g)
{
    double f = 0;
    std::memset(g, 0, kN * sizeof(double));
    for (int32_t i = 0; i + 1 < kN; ++i) {
        const double a = x[i + 1] - x[i] * x[i], b = 1.0 - x[i];
        f += 100.0 * a * a + b * b;
        g[i] += -400.0 * x[i] * a - 2.0 * b;
        g[i + 1] += 200.0 * a;
    }
    return f;
}

struct Problem {
    std::vector<double> l = std::vector<double>(kN, -2.0), u = std::vector<double>(kN, 2.0);
    std::vector<int32_t> nbd = std::vector<int32_t>(kN, 2);
    std::vector<double> x0 = start();
    static std::vector<double> start()
    {
        std::vector<double> x(kN);
        for (int32_t i = 0; i < kN; ++i) x[i] = i % 2 == 0 ? -1.2 : 1.0;
        return x;
    }
};

void LbfgsbStep_Export(benchmark::State& state)
{
    const Problem p;
    std::vector<double> x(kN), g(kN);
    for (auto _ : state) {
        LbfgsbState* s = LBFGSBStart(kN, kM, p.l.data(), p.u.data(), p.nbd.data(), 0.0, 0.0);
        x = p.x0;
        double f = 0;
        for (int step = 0; step < kSteps; ++step) {
            const int32_t code = LBFGSBStep(s, x.data(), &f, g.data());
            if (code == 1) f = objective(x.data(), g.data());
            else if (code != 2) state.SkipWithError("the run ended early");
        }
        LBFGSBEnd(s);
        benchmark::DoNotOptimize(f);
    }
    state.SetItemsProcessed(state.iterations() * kSteps);
}

void LbfgsbStep_SetulbDirect(benchmark::State& state)
{
    const Problem p;
    std::vector<double> x(kN), g(kN), wa((2 * kM + 5) * kN + 11 * kM * kM + 8 * kM);
    std::vector<int32_t> iwa(3 * kN);
    const double factr = 0.0, pgtol = 0.0;
    const int32_t n = kN, m = kM, iprint = -1;
    for (auto _ : state) {
        char task[60], csave[60];
        int32_t lsave[4], isave[44];
        double dsave[29];
        std::memset(task, ' ', 60);
        std::memcpy(task, "START", 5);
        x = p.x0;
        double f = 0;
        for (int step = 0; step < kSteps; ++step) {
            setulb_(&n, &m, x.data(), p.l.data(), p.u.data(), p.nbd.data(), &f, g.data(), &factr,
                    &pgtol, wa.data(), iwa.data(), task, &iprint, csave, lsave, isave, dsave, 60,
                    60);
            if (std::strncmp(task, "FG", 2) == 0) f = objective(x.data(), g.data());
            else if (std::strncmp(task, "NEW_X", 5) != 0) state.SkipWithError("the run ended early");
        }
        std::memset(task, ' ', 60);
        std::memcpy(task, "STOP", 4);
        setulb_(&n, &m, x.data(), p.l.data(), p.u.data(), p.nbd.data(), &f, g.data(), &factr,
                &pgtol, wa.data(), iwa.data(), task, &iprint, csave, lsave, isave, dsave, 60, 60);
        benchmark::DoNotOptimize(f);
    }
    state.SetItemsProcessed(state.iterations() * kSteps);
}

}  // namespace

BENCHMARK(Normal_Export)->Unit(benchmark::kMillisecond);
BENCHMARK(Normal_MKL)->Unit(benchmark::kMillisecond);
BENCHMARK(Normal_StdMt19937)->Unit(benchmark::kMillisecond);
BENCHMARK(Uniform_Export)->Unit(benchmark::kMillisecond);
BENCHMARK(Uniform_MKL)->Unit(benchmark::kMillisecond);
BENCHMARK(Uniform_StdMt19937)->Unit(benchmark::kMillisecond);
BENCHMARK(LbfgsbStep_Export)->Unit(benchmark::kMicrosecond);
BENCHMARK(LbfgsbStep_SetulbDirect)->Unit(benchmark::kMicrosecond);
