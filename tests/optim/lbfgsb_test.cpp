// The stepwise L-BFGS-B minimiser: whole runs against SciPy's fmin_l_bfgs_b
// (tests/gen/lbfgsb_scipy.py), the step codes, ending a record after every
// kind of return, and that a record's memory all comes back.
//
// The heap is observed by interposing malloc, calloc and free: the test
// program defines them, they count the blocks alive while a window is open,
// then forward to glibc's own. (The solver itself is linked into the library
// and cannot be interposed on.)
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "korvane/core_math.h"
#include "support/numeric.hpp"
#include "support/reference_table.hpp"

// ---- The heap as the library sees it -------------------------------------------

// A sanitizer build brings its own malloc, which this counting cannot sit on
// top of; there LeakSanitizer checks that every block comes back.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KCM_SANITIZED_HEAP 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KCM_SANITIZED_HEAP 1
#endif

extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void __libc_free(void*);

namespace {
std::atomic<bool> counting{false};
std::atomic<long> live_blocks{0};
std::atomic<std::size_t> largest_request{0};  // bytes, while counting

void note_request(std::size_t bytes)
{
    std::size_t seen = largest_request.load();
    while (bytes > seen && !largest_request.compare_exchange_weak(seen, bytes)) {
    }
}
}  // namespace

#ifndef KCM_SANITIZED_HEAP
extern "C" void* malloc(std::size_t size)
{
    if (counting) note_request(size);
    void* p = __libc_malloc(size);
    if (p && counting) ++live_blocks;
    return p;
}

extern "C" void* calloc(std::size_t count, std::size_t size)
{
    if (counting) note_request(count * size);
    void* p = __libc_calloc(count, size);
    if (p && counting) ++live_blocks;
    return p;
}

extern "C" void free(void* p)
{
    if (p && counting) --live_blocks;
    __libc_free(p);
}
#endif

namespace {

using namespace kcm::test;

enum Code { kOther = 0, kEvaluate = 1, kNewX = 2, kConverged = 3, kAbnormal = 4, kError = 5 };
// The public header names the same codes.
static_assert(int(KCM_LBFGSB_OTHER) == kOther && int(KCM_LBFGSB_EVALUATE) == kEvaluate &&
                  int(KCM_LBFGSB_NEW_ITERATE) == kNewX && int(KCM_LBFGSB_CONVERGED) == kConverged &&
                  int(KCM_LBFGSB_ABNORMAL) == kAbnormal && int(KCM_LBFGSB_ERROR) == kError,
              "the step codes of the public header");

// ---- Objectives: the same operations, in the same order, as the generator ----

double rosenbrock(const std::vector<double>& x, std::vector<double>& g)
{
    const std::size_t n = x.size();
    double f = 0;
    std::fill(g.begin(), g.end(), 0.0);
    for (std::size_t i = 0; i + 1 < n; ++i) {
        const double a = x[i + 1] - x[i] * x[i];
        const double b = 1.0 - x[i];
        f += 100.0 * a * a + b * b;
        g[i] += -400.0 * x[i] * a - 2.0 * b;
        g[i + 1] += 200.0 * a;
    }
    return f;
}

// 0.5 x'Ax - c'x, A = tridiag(-1, 4, -1), c[i] = (-1)^i (i + 1).
double quadratic(const std::vector<double>& x, std::vector<double>& g)
{
    const std::size_t n = x.size();
    double f = 0;
    for (std::size_t i = 0; i < n; ++i) {
        double ax = 4.0 * x[i];
        if (i > 0) ax -= x[i - 1];
        if (i + 1 < n) ax -= x[i + 1];
        const double c = i % 2 == 0 ? double(i + 1) : -double(i + 1);
        f += 0.5 * x[i] * ax - c * x[i];
        g[i] = ax - c;
    }
    return f;
}

struct Problem {
    std::string name, objective;
    int32_t m = 0;
    double factr = 0, pgtol = 0;
    std::vector<double> x0, lower, upper;
    std::vector<int32_t> nbd;
    // SciPy's run
    int nfev = 0, nit = 0, warnflag = 0;
    double f = 0;
    std::vector<double> x;
    std::string where;
};

std::vector<Problem> load_problems()
{
    const ReferenceTable table("lbfgsb_scipy.csv");
    std::map<std::string, Problem> byname;
    std::vector<std::string> order;
    for (const auto& row : table.rows()) {
        const std::string& name = row.str("problem");
        if (!byname.count(name)) {
            order.push_back(name);
            byname[name].name = name;
            byname[name].where = row.where();
        }
        Problem& p = byname[name];
        const std::string& q = row.str("quantity");
        const auto i = static_cast<std::size_t>(row.num("index"));
        auto put = [i](auto& v, auto value) {
            if (v.size() <= i) v.resize(i + 1);
            v[i] = value;
        };
        if (q == "objective") p.objective = row.str("value");
        else if (q == "m") p.m = static_cast<int32_t>(row.num("value"));
        else if (q == "factr") p.factr = row.num("value");
        else if (q == "pgtol") p.pgtol = row.num("value");
        else if (q == "nfev") p.nfev = static_cast<int>(row.num("value"));
        else if (q == "nit") p.nit = static_cast<int>(row.num("value"));
        else if (q == "warnflag") p.warnflag = static_cast<int>(row.num("value"));
        else if (q == "f") p.f = row.num("value");
        else if (q == "x0") put(p.x0, row.num("value"));
        else if (q == "lower") put(p.lower, row.num("value"));
        else if (q == "upper") put(p.upper, row.num("value"));
        else if (q == "nbd") put(p.nbd, static_cast<int32_t>(row.num("value")));
        else if (q == "x") put(p.x, row.num("value"));
        else ADD_FAILURE() << "unknown quantity " << q << " at " << row.where();
    }
    std::vector<Problem> out;
    for (const auto& name : order) out.push_back(byname[name]);
    return out;
}

struct Outcome {
    int last_code = -1, evaluations = 0, iterations = 0;
    double f = 0;
    std::vector<double> x;
};

// Drives one optimisation the way a host does: evaluate on 1, continue on 2,
// stop on anything else.
template <typename Objective>
Outcome drive(const Problem& p, Objective objective, int max_steps = 100000)
{
    const auto n = static_cast<int32_t>(p.x0.size());
    LbfgsbState* s = LBFGSBStart(n, p.m, p.lower.data(), p.upper.data(), p.nbd.data(), p.factr,
                                 p.pgtol);
    Outcome run;
    run.x = p.x0;
    std::vector<double> g(n, 0.0);
    for (int step = 0; step < max_steps; ++step) {
        run.last_code = LBFGSBStep(s, run.x.data(), &run.f, g.data());
        if (run.last_code == kEvaluate) {
            run.f = objective(run.x, g);
            ++run.evaluations;
        } else if (run.last_code == kNewX) {
            ++run.iterations;
        } else {
            break;
        }
    }
    LBFGSBEnd(s);
    return run;
}

double (*objective_named(const std::string& name))(const std::vector<double>&, std::vector<double>&)
{
    if (name == "rosenbrock") return rosenbrock;
    if (name == "quadratic") return quadratic;
    ADD_FAILURE() << "unknown objective " << name;
    return rosenbrock;
}

// ---- Whole runs against SciPy ------------------------------------------------

// Both drivers run the same L-BFGS-B 3.0 code on the same numbers, so the
// iterations coincide; only the BLAS inside the solver differs (MKL's here,
// the system's under SciPy), whose dot products may round differently in the
// last bit. Evaluation and iteration counts agree exactly; the final points
// differ by at most 9.2e-13 (Rosenbrock n = 10 run to factr = 10), and the
// rung, 1e-10 of the scale of x, leaves a hundredfold margin for that.
constexpr double kFinalPointTolerance = 1e-10;

TEST(LbfgsbAgainstScipy, SameEvaluationsAndSameFinalPoint)
{
    for (const Problem& p : load_problems()) {
        SCOPED_TRACE(p.name + " (" + p.where + ")");
        const Outcome run = drive(p, objective_named(p.objective));
        EXPECT_EQ(run.last_code, p.warnflag == 0 ? kConverged : kAbnormal);
        EXPECT_EQ(run.evaluations, p.nfev);
        EXPECT_EQ(run.iterations, p.nit);
        ASSERT_EQ(run.x.size(), p.x.size());
        for (std::size_t i = 0; i < p.x.size(); ++i) {
            SCOPED_TRACE(i);
            EXPECT_NEAR(run.x[i], p.x[i], kFinalPointTolerance * std::max(1.0, std::fabs(p.x[i])));
        }
        EXPECT_NEAR(run.f, p.f, kFinalPointTolerance * std::max(1.0, std::fabs(p.f)));
    }
}

// ---- Step codes ----------------------------------------------------------------

Problem small_problem(int32_t n, int32_t m, std::vector<int32_t> nbd)
{
    Problem p;
    p.m = m;
    p.factr = 1e7;
    p.pgtol = 1e-5;
    p.x0.assign(std::max(n, 0), 0.5);
    p.lower.assign(std::max(n, 0), -1.0);
    p.upper.assign(std::max(n, 0), 1.0);
    p.nbd = std::move(nbd);
    return p;
}

TEST(LbfgsbSteps, FirstStepAsksForTheFirstEvaluationAtTheStart)
{
    const Problem p = small_problem(2, 5, {2, 2});
    LbfgsbState* s = LBFGSBStart(2, 5, p.lower.data(), p.upper.data(), p.nbd.data(), 1e7, 1e-5);
    std::vector<double> x = {0.25, -0.75}, g = {0, 0};
    double f = 0;
    EXPECT_EQ(LBFGSBStep(s, x.data(), &f, g.data()), kEvaluate);
    EXPECT_EQ(x[0], 0.25);
    EXPECT_EQ(x[1], -0.75);
    f = rosenbrock(x, g);
    EXPECT_EQ(LBFGSBStep(s, x.data(), &f, g.data()), kEvaluate);  // the line search's first trial
    EXPECT_NE(x[0], 0.25);
    LBFGSBEnd(s);
}

TEST(LbfgsbSteps, AnInfeasibleStartIsProjectedOntoTheBox)
{
    const Problem p = small_problem(2, 5, {2, 2});
    LbfgsbState* s = LBFGSBStart(2, 5, p.lower.data(), p.upper.data(), p.nbd.data(), 1e7, 1e-5);
    std::vector<double> x = {3.0, -7.0}, g = {0, 0};
    double f = 0;
    EXPECT_EQ(LBFGSBStep(s, x.data(), &f, g.data()), kEvaluate);
    EXPECT_EQ(x[0], 1.0);
    EXPECT_EQ(x[1], -1.0);
    LBFGSBEnd(s);
}

TEST(LbfgsbSteps, NewIterateComesWithItsOwnValueAndGradient)
{
    const Problem p = small_problem(2, 5, {0, 0});
    LbfgsbState* s = LBFGSBStart(2, 5, p.lower.data(), p.upper.data(), p.nbd.data(), 1e7, 1e-5);
    std::vector<double> x = {-1.2, 1.0}, g(2);
    double f = 0;
    int code;
    while ((code = LBFGSBStep(s, x.data(), &f, g.data())) == kEvaluate) f = rosenbrock(x, g);
    ASSERT_EQ(code, kNewX);
    std::vector<double> g_here(2);
    EXPECT_EQ(f, rosenbrock(x, g_here));
    EXPECT_EQ(g, g_here);
    LBFGSBEnd(s);
}

TEST(LbfgsbSteps, AGradientThatPointsUphillEndsAbnormally)
{
    // f = x, but the host reports g = -1: every search direction climbs, the
    // first line search fails with no correction pairs stored, and the solver
    // gives up with "ABNORMAL_TERMINATION_IN_LNSRCH".
    const double bound = 0;
    const int32_t free_variable = 0;
    LbfgsbState* s = LBFGSBStart(1, 5, &bound, &bound, &free_variable, 1e7, 1e-5);
    double x = 0.5, f = 0, g = 0;
    int code, evaluations = 0;
    while ((code = LBFGSBStep(s, &x, &f, &g)) == kEvaluate && evaluations < 100) {
        f = x;
        g = -1;
        ++evaluations;
    }
    EXPECT_EQ(code, kAbnormal);
    LBFGSBEnd(s);
}

TEST(LbfgsbSteps, InputErrorsComeBackAsFive)
{
    struct Row {
        const char* what;
        int32_t n, m;
        std::vector<int32_t> nbd;
        double factr;
        std::vector<double> lower, upper;
    };
    const Row rows[] = {
        {"n = 0", 0, 5, {}, 1e7, {}, {}},
        {"n = -3", -3, 5, {}, 1e7, {}, {}},
        {"m = 0", 2, 0, {2, 2}, 1e7, {-1, -1}, {1, 1}},
        {"m = -1", 2, -1, {2, 2}, 1e7, {-1, -1}, {1, 1}},
        {"bound type 4", 2, 5, {2, 4}, 1e7, {-1, -1}, {1, 1}},
        {"bound type -1", 2, 5, {-1, 0}, 1e7, {-1, -1}, {1, 1}},
        {"lower above upper", 2, 5, {2, 2}, 1e7, {-1, 2}, {1, 1}},
        {"factr < 0", 2, 5, {0, 0}, -1.0, {0, 0}, {0, 0}},
        // (11m + 2(n + 4))m + 5n beyond 32 bits: the solver would index past
        // the wrapped block, so it is never called.
        {"m = 2e9", 2, 2000000000, {2, 2}, 1e7, {-1, -1}, {1, 1}},
        {"m = 20000, n = 10000", 10000, 20000, std::vector<int32_t>(10000, 0), 1e7,
         std::vector<double>(10000, 0.0), std::vector<double>(10000, 0.0)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        LbfgsbState* s = LBFGSBStart(row.n, row.m, row.lower.data(), row.upper.data(),
                                     row.nbd.data(), row.factr, 1e-5);
        std::vector<double> x(std::max(row.n, 0), 0.0), g(std::max(row.n, 0), 0.0);
        double f = 0;
        EXPECT_EQ(LBFGSBStep(s, x.data(), &f, g.data()), kError);
        LBFGSBEnd(s);
    }
}

// ---- Ending a record ------------------------------------------------------------

// Steps a small problem until the step returns stop_after_code, then ends it.
void end_after(int stop_after_code)
{
    const Problem p = small_problem(2, 5, {2, 2});
    LbfgsbState* s = LBFGSBStart(2, 5, p.lower.data(), p.upper.data(), p.nbd.data(), 1e7, 1e-5);
    std::vector<double> x = {-0.9, 0.9}, g(2, 0.0);
    double f = 0;
    int code;
    while ((code = LBFGSBStep(s, x.data(), &f, g.data())) != stop_after_code) {
        if (code == kEvaluate) f = rosenbrock(x, g);
        else if (code != kNewX) break;
    }
    EXPECT_EQ(code, stop_after_code);
    LBFGSBEnd(s);
}

TEST(LbfgsbRecords, RecordsAreIndependent)
{
    // Two optimisations stepped in lockstep end where each ends alone.
    const std::vector<Problem> problems = load_problems();
    const Problem& a = problems.front();
    const Problem& b = problems.back();
    const Outcome alone_a = drive(a, objective_named(a.objective));
    const Outcome alone_b = drive(b, objective_named(b.objective));

    struct Live {
        const Problem* p;
        LbfgsbState* s;
        std::vector<double> x, g;
        double f = 0;
        int code = kEvaluate;
    };
    Live live[2] = {{&a, nullptr, a.x0, std::vector<double>(a.x0.size())},
                    {&b, nullptr, b.x0, std::vector<double>(b.x0.size())}};
    for (auto& l : live)
        l.s = LBFGSBStart(static_cast<int32_t>(l.x.size()), l.p->m, l.p->lower.data(),
                          l.p->upper.data(), l.p->nbd.data(), l.p->factr, l.p->pgtol);
    for (bool running = true; running;) {
        running = false;
        for (auto& l : live) {
            if (l.code != kEvaluate && l.code != kNewX) continue;
            l.code = LBFGSBStep(l.s, l.x.data(), &l.f, l.g.data());
            if (l.code == kEvaluate) l.f = objective_named(l.p->objective)(l.x, l.g);
            running = true;
        }
    }
    for (auto& l : live) LBFGSBEnd(l.s);
    EXPECT_EQ(live[0].x, alone_a.x);
    EXPECT_EQ(live[1].x, alone_b.x);
}

// ---- Memory --------------------------------------------------------------------

TEST(LbfgsbMemory, EveryRecordIsFreedWhateverTheEnding)
{
    // Heap blocks allocated and not freed over whole lifecycles: Start, some
    // steps, End after 1, 2, 3 and 5, and a record abandoned before its first
    // step. The test's own vectors come and go inside the window too.
    const std::vector<double> lo(1000, -1.0), hi(1000, 1.0);
    const std::vector<int32_t> kinds(1000, 2);
    auto lifecycles = [&] {
        for (int stop : {kEvaluate, kNewX, kConverged}) end_after(stop);
        const double bounds[2] = {-1, 1};
        const int32_t bad[2] = {7, 7};
        LbfgsbState* s = LBFGSBStart(2, 5, bounds, bounds, bad, 1e7, 1e-5);
        double x[2] = {0, 0}, g[2] = {0, 0}, f = 0;
        EXPECT_EQ(LBFGSBStep(s, x, &f, g), kError);
        LBFGSBEnd(s);
        s = LBFGSBStart(1000, 17, lo.data(), hi.data(), kinds.data(), 1e7, 1e-5);
        LBFGSBEnd(s);
    };
#ifdef KCM_SANITIZED_HEAP
    GTEST_SKIP() << "the sanitizer's leak checker counts the blocks in this build";
#endif
    lifecycles();  // anything the runtimes allocate once is in place before counting
    live_blocks = 0;
    counting = true;
    for (int i = 0; i < 5; ++i) lifecycles();
    counting = false;
    EXPECT_EQ(live_blocks.load(), 0);
}

TEST(LbfgsbMemory, NegativeSizesAskTheHeapForNoImpossibleBlock)
{
#ifdef KCM_SANITIZED_HEAP
    GTEST_SKIP() << "the sanitizer's allocator is not observed in this build";
#endif
    // A negative n or m would become a size near 2^64; such a block is
    // refused without asking the heap, and the first step reports it.
    for (auto [n, m] : {std::pair{-3, 5}, std::pair{2, -7}, std::pair{-1, -1}}) {
        SCOPED_TRACE(testing::Message() << "n " << n << " m " << m);
        const double bounds[2] = {-1, 1};
        const int32_t kinds[2] = {2, 2};
        largest_request = 0;
        counting = true;
        LbfgsbState* s = LBFGSBStart(n, m, bounds, bounds, kinds, 1e7, 1e-5);
        counting = false;
        double x[2] = {0, 0}, g[2] = {0, 0}, f = 0;
        EXPECT_EQ(LBFGSBStep(s, x, &f, g), kError);
        LBFGSBEnd(s);
        EXPECT_LT(largest_request.load(), std::size_t(1) << 40);
    }
}

}  // namespace
