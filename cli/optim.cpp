// kcm commands: the stepwise L-BFGS-B minimiser. The exports take a callback-
// free host loop, so the command is that loop on a fixed objective, the
// chained Rosenbrock function sum 100 (x[i+1] - x[i]^2)^2 + (1 - x[i])^2: it
// calls LBFGSBStart, then LBFGSBStep, evaluating f and g whenever asked (code
// 1) and tracing each new iterate (code 2), then LBFGSBEnd. Only code 3
// (converged) counts as success in the exit status.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

constexpr int kMaxSteps = 100000;

double rosenbrock(const std::vector<double>& x, std::vector<double>& g)
{
    double f = 0;
    std::fill(g.begin(), g.end(), 0.0);
    for (std::size_t i = 0; i + 1 < x.size(); ++i) {
        const double a = x[i + 1] - x[i] * x[i], b = 1.0 - x[i];
        f += 100.0 * a * a + b * b;
        g[i] += -400.0 * x[i] * a - 2.0 * b;
        g[i + 1] += 200.0 * a;
    }
    return f;
}

const char* meaning(int32_t code)
{
    switch (code) {
    case 1: return "evaluate f and g";
    case 2: return "new iterate";
    case 3: return "converged";
    case 4: return "abnormal termination";
    case 5: return "input rejected by the solver";
    default: return "other task";
    }
}

void minimise(const Words& words, Output& out)
{
    expect_count(words, 6);
    const int32_t m = parse_int(words[0]);
    const double factr = parse_double(words[1]), pgtol = parse_double(words[2]);
    const std::vector<double> lower = parse_doubles(words[3]), upper = parse_doubles(words[4]);
    std::vector<double> x = parse_doubles(words[5]);
    if (lower.size() != x.size() || upper.size() != x.size())
        throw UsageError("lower, upper and start must have the same length");

    // An infinite bound is no bound: the bound type follows from which are finite.
    const auto n = static_cast<int32_t>(x.size());
    std::vector<int32_t> nbd(n);
    std::vector<double> l(n, 0.0), u(n, 0.0);
    for (int32_t i = 0; i < n; ++i) {
        const bool has_lower = std::isfinite(lower[i]), has_upper = std::isfinite(upper[i]);
        nbd[i] = has_lower ? (has_upper ? 2 : 1) : (has_upper ? 3 : 0);
        if (has_lower) l[i] = lower[i];
        if (has_upper) u[i] = upper[i];
    }

    LbfgsbState* state = LBFGSBStart(n, m, l.data(), u.data(), nbd.data(), factr, pgtol);
    std::vector<double> g(n, 0.0);
    double f = 0;
    int evaluations = 0, iterations = 0;
    int32_t code = 0;
    for (int step = 0; step < kMaxSteps; ++step) {
        code = LBFGSBStep(state, x.data(), &f, g.data());
        if (code == 1) {
            f = rosenbrock(x, g);
            ++evaluations;
        } else if (code == 2) {
            Output row;
            row.integer("iteration", ++iterations);
            row.integer("evaluations", evaluations);
            row.number("f", f);
            row.numbers("x", x);
            out.trace(row);
        } else {
            break;
        }
    }
    LBFGSBEnd(state);
    out.status("code", code, code == 3, meaning(code));
    out.number("f", f);
    out.numbers("x", x);
    out.integer("iterations", iterations);
    out.integer("evaluations", evaluations);
}

const char* const kUsage = "m factr pgtol lower upper start (lists; +-inf: no bound)";

}  // namespace

// A record lives only as long as one kcm run, so each of the three commands
// runs the whole loop: Start, Step until done, End.
const Runner run::LBFGSBStart{kUsage, minimise};
const Runner run::LBFGSBStep{kUsage, minimise};
const Runner run::LBFGSBEnd{kUsage, minimise};

}  // namespace kcm::cli
