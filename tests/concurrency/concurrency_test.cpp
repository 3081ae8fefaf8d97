// The re-entrant families called from 8 threads at once: every result (bit
// for bit), errno and exception must equal the single-threaded one. Random
// streams and L-BFGS-B records on separate handles from separate threads
// likewise. Built with KCM_SANITIZE=thread, ThreadSanitizer watches the same
// runs for data races.
//
// The first test is the cold start: nothing in this program calls the
// library before it, so the lazily filled tables (the log-factorial table of
// the noncentral hypergeometric distribution, any static of the numerical
// library) are first touched by the 8 threads together. Keep it first.
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include "korvane/core_math.h"

namespace {

constexpr int kThreads = 8;

struct Outcome {
    uint64_t bits = 0;
    int err = 0;
    std::string exception;  // type and message, empty when the call returned

    bool operator==(const Outcome& o) const {
        return bits == o.bits && err == o.err && exception == o.exception;
    }
};

struct Call {
    std::string name;
    std::function<double()> f;
};

Outcome Evaluate(const Call& c) {
    Outcome o;
    errno = 0;
    try {
        const double v = c.f();
        o.err = errno;
        std::memcpy(&o.bits, &v, sizeof v);
    } catch (const std::exception& e) {
        o.exception = std::string(typeid(e).name()) + ": " + e.what();
    }
    return o;
}

const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// A spread of arguments per family: ordinary values, both tails, the edges,
// invalid parameters (errno 33), overflows (errno 34) and throwing cases.
std::vector<Call> ReentrantCalls() {
    std::vector<Call> calls;
    auto add = [&](std::string name, std::function<double()> f) {
        calls.push_back({std::move(name), std::move(f)});
    };
    const double xs[] = {-3.5, -0.5, 0.0, 0.3, 1.0, 2.5, 40.0, kInf, kNaN};
    const double ps[] = {0.0, 1e-12, 0.025, 0.5, 0.975, 1.0, 1.5};
    for (double x : xs) {
        add("Erf", [=] { return Erf(x); });
        add("ErfC", [=] { return ErfC(x); });
        add("NormalPDF", [=] { return NormalPDF(x, 0.5, 2.0); });
        add("NormalCDF", [=] { return NormalCDF(x, 0.5, 2.0, 0) + NormalCDF(x, 0.5, -1, 1); });
        add("Gamma", [=] { return Gamma(x); });
        add("GammaLn", [=] { return GammaLn(x); });
        add("GammaRegularized", [=] { return GammaRegularized(2.5, x); });
        add("GammaRegularizedC", [=] { return GammaRegularizedC(0.5, x); });
        add("IncompleteGammaLower", [=] { return IncompleteGammaLower(3.0, x); });
        add("IncompleteGammaUpper", [=] { return IncompleteGammaUpper(3.0, x); });
        add("GammaDerivative", [=] { return GammaDerivative(1.5, x); });
        add("LogXplus1", [=] { return LogXplus1(x); });
        add("Beta", [=] { return Beta(x, 2.0); });
        add("BetaRegularized", [=] { return BetaRegularized(2.0, 3.0, x / 40); });
        add("BetaRegularizedC", [=] { return BetaRegularizedC(0.5, 3.0, x / 40); });
        add("BetaDerivative", [=] { return BetaDerivative(2.0, 3.0, x / 40); });
        add("StudentTPDF", [=] { return StudentTPDF(x, 4.0); });
        add("StudentTCDF", [=] { return StudentTCDF(x, 4.0, 0) + StudentTCDF(x, 0.5, 1); });
        add("ChiSquaredPDF", [=] { return ChiSquaredPDF(x, 3.0); });
        add("ChiSquaredCDF", [=] { return ChiSquaredCDF(x, 3.0, 1); });
        add("FisherFPDF", [=] { return FisherFPDF(x, 3.0, 7.0); });
        add("FisherFCDF", [=] { return FisherFCDF(x, 3.0, 7.0, 0); });
        add("GammaPDF", [=] { return GammaPDF(x, 2.0, 1.5); });
        add("GammaCDF", [=] { return GammaCDF(x, 2.0, 1.5, 1); });
        add("BetaPDF", [=] { return BetaPDF(x / 40, 2.0, 5.0); });
        add("BetaCDF", [=] { return BetaCDF(x / 40, 2.0, 5.0, 0); });
        add("NoncentralTPDF", [=] { return NoncentralTPDF(x, 6.0, 1.5); });
        add("NoncentralTCDF", [=] { return NoncentralTCDF(x, 6.0, 1.5, 1); });
        add("BinomialPDF", [=] { return BinomialPDF(std::floor(x), 20, 0.3); });
        add("BinomialCDF", [=] { return BinomialCDF(std::floor(x), 20, 0.3, 1); });
        add("PoissonPDF", [=] { return PoissonPDF(std::floor(x), 3.5); });
        add("PoissonCDF", [=] { return PoissonCDF(std::floor(x), 3.5, 0); });
        add("HypergeometricPDF", [=] { return HypergeometricPDF(std::floor(x), 10, 15, 40); });
        add("HypergeometricCDF", [=] { return HypergeometricCDF(std::floor(x), 10, 15, 40, 1); });
        add("KolmogorovCDF", [=] { return KolmogorovCDF(x / 10, 25, 0) + KolmogorovCDF(x / 10, 300, 1); });
    }
    for (double p : ps) {
        add("InverseErf", [=] { return InverseErf(2 * p - 1); });
        add("InverseErfC", [=] { return InverseErfC(2 * p); });
        add("NormalICDF", [=] { return NormalICDF(p, 1.0, 3.0, 1); });
        add("InverseGammaRegularized", [=] { return InverseGammaRegularized(2.5, p); });
        add("InverseGammaRegularizedC", [=] { return InverseGammaRegularizedC(0.3, p); });
        add("InverseBetaRegularized", [=] { return InverseBetaRegularized(2.0, 0.5, p); });
        add("InverseBetaRegularizedC", [=] { return InverseBetaRegularizedC(2.0, 0.5, p); });
        add("InverseBetaRegularized2", [=] {
            double x = 0, y = 0;
            const double r = InverseBetaRegularized2(3.0, 4.0, p, &x, &y);
            return r + y;
        });
        add("InverseBetaRegularizedC2", [=] {
            double x = 0, y = 0;
            return InverseBetaRegularizedC2(3.0, 4.0, p, &x, &y) - y;
        });
        add("StudentTICDF", [=] { return StudentTICDF(p, 7.0, 1); });
        add("ChiSquaredICDF", [=] { return ChiSquaredICDF(p, 5.0, 0); });
        add("FisherFICDF", [=] { return FisherFICDF(p, 3.0, 9.0, 1); });
        add("GammaICDF", [=] { return GammaICDF(p, 2.0, 0.5, 0); });
        add("BetaICDF", [=] { return BetaICDF(p, 2.0, 5.0, 1); });
        add("NoncentralTICDF", [=] { return NoncentralTICDF(p, 8.0, -1.0, 0); });
        add("BinomialICDF", [=] { return BinomialICDF(p, 30, 0.4, 0, 1); });
        add("BinomialPS", [=] { return BinomialPS(p, 4, 20, 0) + BinomialPS(p, 4, 20, 1); });
        add("PoissonICDF", [=] { return PoissonICDF(p, 6.0, 1, 0); });
        add("HypergeometricICDF", [=] { return HypergeometricICDF(p, 10, 15, 40, 0); });
        add("KolmogorovICDF", [=] { return KolmogorovICDF(p, 40, 1); });
    }
    // Fisher's noncentral hypergeometric: small and large urns (the latter
    // past the log-factorial table), both tails, the quantile and moments.
    const int32_t urns[][3] = {{10, 15, 40}, {50, 400, 1000}, {300, 2000, 5000}, {0, 5, 9}};
    for (const auto& u : urns) {
        for (double odds : {0.4, 1.0, 3.0}) {
            for (int32_t x : {0, 3, u[0] / 3, u[0]}) {
                add("FNCHypergeometricCDF", [=] {
                    return FNCHypergeometricCDF(x, u[0], u[1], u[2], odds, 0, 1e-9) +
                           FNCHypergeometricCDF(x, u[0], u[1], u[2], odds, 1, 1e-9);
                });
            }
            for (double p : {0.0, 0.1, 0.5, 0.99, 1.0})
                add("FNCHypergeometricICDF", [=] {
                    return FNCHypergeometricICDF(p, u[0], u[1], u[2], odds, 0, 1e-9);
                });
            add("FNCHypergeometricMoments", [=] {
                double mean = 0, variance = 0;
                FNCHypergeometricMoments(u[0], u[1], u[2], odds, &mean, &variance);
                return mean * 1e3 + variance;
            });
        }
    }
    // Multiple comparisons: the studentized range, Dunnett and Hsu, finite
    // and large degrees of freedom, and a domain error.
    static const double lambda[4] = {0.7071067811865476, 0.5, 0.6, 0.4};
    for (double df : {12.0, 2000.0, -1.0}) {
        add("MCaCDF", [=] { return MCaCDF(3.1, 4, df, lambda, 0); });
        add("MCbCDF", [=] { return MCbCDF(2.2, 4, df, lambda, 1); });
        add("MCcCDF", [=] { return MCcCDF(2.4, 4, df, lambda, 0); });
    }
    add("MCaICDF", [] { return MCaICDF(0.05, 3, 20, lambda, 1); });
    add("MCbICDF", [] { return MCbICDF(0.95, 3, 20, lambda, 0); });
    add("MCcICDF", [] { return MCcICDF(0.05, 3, 20, lambda, 1); });
    return calls;
}

// Runs body(t) on kThreads threads released together.
void OnAllThreads(const std::function<void(int)>& body) {
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            ++ready;
            while (ready.load() < kThreads) std::this_thread::yield();
            body(t);
        });
    for (auto& th : threads) th.join();
}

TEST(Concurrency, ReentrantFamiliesFromAColdStartMatchOneThread) {
    const std::vector<Call> calls = ReentrantCalls();
    const size_t n = calls.size();
    // Each thread walks the whole list from its own starting point, so that
    // different exports overlap; the first calls of all happen at once.
    std::vector<std::vector<Outcome>> seen(kThreads, std::vector<Outcome>(n));
    OnAllThreads([&](int t) {
        for (size_t k = 0; k < n; ++k) {
            const size_t i = (k + t * n / kThreads) % n;
            seen[t][i] = Evaluate(calls[i]);
        }
    });
    size_t compared = 0;
    for (size_t i = 0; i < n; ++i) {
        const Outcome alone = Evaluate(calls[i]);
        for (int t = 0; t < kThreads; ++t) {
            EXPECT_TRUE(seen[t][i] == alone)
                << calls[i].name << " (call " << i << ") on thread " << t << ": bits " << std::hex
                << seen[t][i].bits << " vs " << alone.bits << std::dec << ", errno "
                << seen[t][i].err << " vs " << alone.err << ", exception '" << seen[t][i].exception
                << "' vs '" << alone.exception << "'";
            ++compared;
        }
    }
    std::printf("%d threads, %zu distinct calls, %zu concurrent calls compared\n", kThreads, n,
                compared);
}

// ---- Handles ----------------------------------------------------------------------

struct StreamDraws {
    std::vector<double> normal, uniform, oneshot;
    std::vector<int32_t> integers;
    int32_t status = 0;
    bool operator==(const StreamDraws& o) const {
        return std::memcmp(normal.data(), o.normal.data(), normal.size() * 8) == 0 &&
               std::memcmp(uniform.data(), o.uniform.data(), uniform.size() * 8) == 0 &&
               std::memcmp(oneshot.data(), o.oneshot.data(), oneshot.size() * 8) == 0 &&
               integers == o.integers && status == o.status;
    }
};

StreamDraws Draw(uint32_t seed) {
    StreamDraws d;
    d.normal.resize(500);
    d.uniform.resize(500);
    d.integers.resize(500);
    d.oneshot.resize(300);
    RandomStream s = CreateRandomStream(seed);
    for (int round = 0; round < 20; ++round) {
        d.status |= GenerateRandomNormal(s, d.normal.data(), 500, 1.0, 2.0);
        d.status |= SkipAheadStream(s, 1000 + round);
        d.status |= GenerateRandomUniform(s, d.uniform.data(), 500, -1.0, 3.0);
        d.status |= RandomUniformInteger(s, d.integers.data(), 500, -5, 17);
    }
    d.status |= DeleteRandomStream(s);
    d.status |= RandomNormalVariables(d.oneshot.data(), 100, 3, 0.0, 1.0, seed);
    return d;
}

TEST(Concurrency, RandomStreamsOnSeparateHandles) {
    std::vector<StreamDraws> seen(kThreads);
    OnAllThreads([&](int t) { seen[t] = Draw(1000 + t % 4); });  // pairs of threads share a seed
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(seen[t].status, 0);
        EXPECT_TRUE(seen[t] == Draw(1000 + t % 4)) << "thread " << t;
    }
}

struct Minimum {
    std::vector<double> x;
    double f = 0;
    int steps = 0, code = 0;
    bool operator==(const Minimum& o) const {
        return std::memcmp(x.data(), o.x.data(), x.size() * 8) == 0 &&
               std::memcmp(&f, &o.f, 8) == 0 && steps == o.steps && code == o.code;
    }
};

// Rosenbrock's function in n variables, bounded or free by the variant.
Minimum Minimise(int variant) {
    const int32_t n = 4 + variant % 3;
    std::vector<double> lo(n, -2.0), hi(n, variant % 2 ? 0.8 : 2.0), x(n, -1.2), g(n);
    std::vector<int32_t> nbd(n, variant % 4 == 0 ? 0 : 2);
    LbfgsbState* s = LBFGSBStart(n, 5, lo.data(), hi.data(), nbd.data(), 1e7, 1e-8);
    Minimum m;
    double f = 0;
    for (m.steps = 0; m.steps < 2000; ++m.steps) {
        m.code = LBFGSBStep(s, x.data(), &f, g.data());
        if (m.code == 1) {
            f = 0;
            std::fill(g.begin(), g.end(), 0.0);
            for (int32_t i = 0; i + 1 < n; ++i) {
                const double a = x[i + 1] - x[i] * x[i], b = 1 - x[i];
                f += 100 * a * a + b * b;
                g[i] += -400 * a * x[i] - 2 * b;
                g[i + 1] += 200 * a;
            }
        } else if (m.code != 2) {
            break;
        }
    }
    LBFGSBEnd(s);
    m.x = x;
    m.f = f;
    return m;
}

TEST(Concurrency, OptimiserRecordsOnSeparateHandles) {
    std::vector<Minimum> seen(kThreads);
    OnAllThreads([&](int t) { seen[t] = Minimise(t); });
    for (int t = 0; t < kThreads; ++t) {
        const Minimum alone = Minimise(t);
        EXPECT_EQ(alone.code, 3) << "variant " << t << " did not converge";
        EXPECT_TRUE(seen[t] == alone) << "thread " << t;
    }
}

}  // namespace
