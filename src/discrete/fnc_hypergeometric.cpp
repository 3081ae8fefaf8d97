// Fisher's noncentral hypergeometric distribution: the number x of marked
// items in a sample of n from an urn of N items of which m are marked, each
// marked item favoured by the odds ratio w:
//
//     P(X = x) = C(m, x) C(N - m, n - x) w^x / sum_y C(m, y) C(N - m, n - y) w^y,
//
// for x in [max(n + m - N, 0), min(n, m)].
//
// Nothing here is summed over the whole support. The distribution function
// and the quantile build a table outward from the mode by the ratio
// recursion f(x) / f(x - 1) = (m - x + 1)(n - x + 1) w / (x (x - n - m + N)),
// cut where terms fall below accuracy * 0.001 (relative to the mode) and
// bounded in length by a multiple of the approximate standard deviation; the
// moments sum normalised probabilities outward from the approximate mean. The
// cost therefore grows with the spread of the distribution, not with N. For
// large urns the log-probabilities of neighbouring x are updated by one log of
// a ratio instead of four log-factorials.
//
// A. Fog, Calculation methods for Wallenius' noncentral hypergeometric
// distribution, Comm. Statist. Simul. Comput. 37 (2008) 258-273, and
// Sampling methods for Wallenius' and Fisher's noncentral hypergeometric
// distributions, ibid. 241-257 (the mean, mode and table construction).
// J. Cornfield, A statistical problem arising from retrospective studies,
// Proc. Third Berkeley Symp. 4 (1956) 135-148 (the approximate mean).
//
// No argument is checked and errno is never set: the host validates. An
// approximate mean outside the table makes the distribution function NaN, and
// w <= 0 with n > N - m (no sample without marked items of weight zero) is NaN.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "interface/checks.hpp"
#include "interface/host_arithmetic.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;

// ln(k!) is tabulated for k below this; above it Stirling's series is used.
constexpr int32_t kLnFactorialTableSize = 1024;
// ln(sqrt(2 pi)) with these digits, one ulp below the nearest double (Boost's
// log_root_two_pi): the series is evaluated with it as it is. The first two
// Stirling coefficients, 1/12 and 1/360.
constexpr double kLnSqrtTwoPi = 0.9189385332046727;
constexpr double kStirling1 = 1.0 / 12;
constexpr double kStirling2 = 1.0 / 360;
// Below this support size the distribution function tabulates the whole
// support rather than a multiple of the standard deviation.
constexpr int32_t kFullTableLength = 200;
// Two-sided normal tail probabilities P(|Z| > 3 + i/2), i = 0..9: the first
// entry an accuracy reaches decides the table length, (i + 6) standard
// deviations; an accuracy finer than all of them gets 16.
constexpr std::array<double, 10> kTailProbability = {
    0.002699796,  0.0004652582, 6.334248e-05, 6.795346e-06, 5.733031e-07,
    3.797912e-08, 1.973175e-09, 8.032001e-11, 2.559625e-12, 6.381783e-14};
constexpr int32_t kMinimumStandardDeviations = 6;
// The table is cut at accuracy * kTableCutoff, the normalising sum of a
// probability at accuracy * kSumCutoff.
constexpr double kTableCutoff = 0.001;
constexpr double kSumCutoff = 0.1;
// The moments are summed at this accuracy, stopping after a probability below
// kMomentsCutoff.
constexpr double kMomentsAccuracy = 1e-8;
constexpr double kMomentsCutoff = 1e-9;
// "No x evaluated yet" for the incremental log-factorial update.
constexpr int32_t kNoLastX = -99;

// ln(k!). The table is built once, by whichever thread comes first; a
// function-local static is initialised exactly once, so concurrent first
// calls are race-free.
double LnFactorial(int32_t k)
{
    if (k < 0) return quiet_nan();
    if (k < 2) return 0.0;
    if (k < kLnFactorialTableSize) {
        static const std::array<double, kLnFactorialTableSize> table = [] {
            std::array<double, kLnFactorialTableSize> t{};
            double sum = 0.0;
            for (int32_t i = 2; i < kLnFactorialTableSize; ++i) t[i] = sum += std::log(double(i));
            return t;
        }();
        return table[k];
    }
    const double y = k;
    return (y + 0.5) * std::log(y) - y + kLnSqrtTwoPi + (kStirling1 - kStirling2 / (y * y)) / y;
}

// One evaluation's distribution: parameters, support and the caches of the
// log-probability and of the normalising sum.
struct FncUrn {
    // n + m - N is formed in 64 bits: an inconsistent urn (n or m above N,
    // a negative count) has an empty support, and nothing is tabulated.
    FncUrn(int32_t n_, int32_t m_, int32_t N_, double odds_, double accuracy_)
        : odds(odds_), log_odds(std::log(odds_)), accuracy(accuracy_), n(n_), m(m_), N(N_),
          xmax(std::min(n_, m_))
    {
        const int64_t lowest = std::max<int64_t>(int64_t(n_) + m_ - N_, 0);
        empty = lowest > xmax;
        xmin = empty ? xmax : int32_t(lowest);
    }

    double odds, log_odds, accuracy;
    int32_t n, m, N;
    int32_t xmin, xmax;
    bool empty;  // no x satisfies the urn: xmin > xmax
    int32_t last_x = kNoLastX;
    double m_factorials = 0;  // ln(m!) + ln((N - m)!)
    double x_factorials = 0;  // the factorial part of last_x
    double scale = 0;         // subtracted from every log-probability
    double reciprocal_sum = 0;  // 1 / normalising sum; 0 until computed
    bool parameters_changed = true;
};

// Cornfield's approximate mean, the centre of every summation: the root in
// the support of (w - 1) mu^2 - a mu + w m n = 0.
double FncMean(const FncUrn& u)
{
    if (u.odds == 1) return double(u.m) * u.n / u.N;
    const double a = (double(u.m) + u.n) * u.odds + (double(u.N) - u.m - u.n);
    const double b = a * a - 4 * u.odds * (u.odds - 1) * double(u.m) * u.n;
    const double root = b > 0 ? std::sqrt(b) : 0.0;
    return (a - root) / (2 * (u.odds - 1));
}

// ln(C(m, x) C(N - m, n - x) w^x) up to the factor n! (N - n)!, minus the
// scale. For large urns the factorial part of a neighbour of the last x is
// updated by the log of one ratio instead of four log-factorials.
double FncLogProbability(FncUrn& u, int32_t x)
{
    if (u.parameters_changed) {
        u.m_factorials = LnFactorial(u.m) + LnFactorial(u.N - u.m);
        u.last_x = kNoLastX;
        u.parameters_changed = false;
    }
    const int32_t x2 = u.n - x, m2 = u.N - u.m;
    const bool small_urn = u.m < kLnFactorialTableSize && m2 < kLnFactorialTableSize;
    if (!small_urn && x == u.last_x - 1) {
        u.x_factorials += std::log(double(u.m - x) * x2 / (double(m2 - x2 + 1) * (x + 1)));
    } else if (!small_urn && x == u.last_x) {
        // unchanged
    } else if (!small_urn && x == u.last_x + 1) {
        u.x_factorials += std::log(double(m2 - x2) * x / (double(u.m - x + 1) * (x2 + 1)));
    } else {
        u.x_factorials =
            LnFactorial(x2) + LnFactorial(x) + LnFactorial(u.m - x) + LnFactorial(m2 - x2);
    }
    u.last_x = x;
    return u.m_factorials - u.x_factorials + x * u.log_odds - u.scale;
}

double FncProbability(FncUrn& u, int32_t x)
{
    if (u.empty || x < u.xmin || x > u.xmax) return 0.0;
    if (u.n == 0) return 1.0;
    if (u.odds == 1) {
        const auto ln_choose = [](int32_t a, int32_t b) {
            return LnFactorial(a) - LnFactorial(b) - LnFactorial(a - b);
        };
        return std::exp(ln_choose(u.m, x) + ln_choose(u.N - u.m, u.n - x) -
                        ln_choose(u.N, u.n));
    }
    if (u.odds == 0) {
        if (u.n <= u.N - u.m) return x == 0 ? 1.0 : 0.0;
        return quiet_nan();
    }
    if (u.reciprocal_sum == 0) {
        // The normalising sum, once per urn: from the mean outward, each way
        // until a term (relative to the one at the mean) is negligible.
        const double threshold = u.accuracy * kSumCutoff;
        const int32_t x1 = std::max(truncate_to_int32(FncMean(u)), u.xmin);
        u.scale = 0;
        u.scale = FncLogProbability(u, x1);
        double sum = 1;
        // A NaN term (a negative odds ratio has no logarithm) ends a walk too.
        for (int32_t y = x1 - 1; y >= u.xmin; --y) {
            const double term = std::exp(FncLogProbability(u, y));
            sum += term;
            if (!(term >= threshold)) break;
        }
        for (int32_t y = x1; y < u.xmax;) {  // y = x1 + 1 up to xmax
            const double term = std::exp(FncLogProbability(u, ++y));
            sum += term;
            if (!(term >= threshold)) break;
        }
        u.reciprocal_sum = 1 / sum;
    }
    return std::exp(FncLogProbability(u, x)) * u.reciprocal_sum;
}

// Whether the urn allows one value only: x = xmin = xmax, or x = 0 when the
// marked items have weight zero and enough unmarked ones remain.
bool FncSingleValue(const FncUrn& u)
{
    return u.xmin == u.xmax || (u.odds <= 0 && u.n <= u.N - u.m);
}

// The length of the table the two table-based exports allocate: the whole
// support up to kFullTableLength counts, else (i + 6) approximate standard
// deviations with i chosen by the accuracy, and at least one entry so that a
// distribution narrower than one standard deviation's rounding still gets its
// mode tabulated. 0 (no table) for an urn without a distribution: an empty
// support, or w <= 0 with n > N - m.
int32_t FncTableLength(const FncUrn& u)
{
    if (u.empty) return 0;
    if (FncSingleValue(u)) return 1;
    if (u.odds <= 0) return 0;
    const int32_t n = u.n, m = u.m, N = u.N;
    const int32_t support = u.xmax - u.xmin + 1;
    if (support <= kFullTableLength) return support;
    const double mu = FncMean(u);
    const double r1 = (m - mu) * mu;
    const double r2 = (double(N) - m - n + mu) * (n - mu);
    double var = 0;
    if (r1 > 0 && r2 > 0)
        var = std::max(double(N) * r1 * r2 / (((double(N) - m) * r1 + m * r2) * (N - 1.0)), 0.0);
    int32_t i = 0;
    while (i < int32_t(kTailProbability.size()) && !(u.accuracy >= kTailProbability[i])) ++i;
    const int32_t wanted = truncate_to_int32((i + kMinimumStandardDeviations) * std::sqrt(var) + 0.5);
    return std::max(std::min(wanted, support), 1);
}

// Tabulates the unnormalised probabilities (the mode's entry is 1) outward
// from the mode by the ratio recursion, in the `length` entries that
// FncTableLength asked for, cutting each tail after a term below `cutoff`;
// entry i stands for x = *xfirst + i. Returns the sum of the entries.
double FncMakeTable(const FncUrn& u, double* table, int32_t length, int32_t* xfirst,
                    int32_t* xlast, double cutoff)
{
    const int32_t n = u.n, m = u.m, N = u.N, xmin = u.xmin, xmax = u.xmax;
    const double odds = u.odds;
    if (FncSingleValue(u)) {
        *xfirst = *xlast = xmin == xmax ? xmin : 0;
        table[0] = 1;
        return 1;
    }

    const double L = double(n) + m - N;
    double mode;
    if (odds == 1) {
        mode = (double(m) + 1) * (double(n) + 1) / (double(N) + 2);
    } else {
        const double A = 1 - odds;
        const double B = (double(m) + n + 2) * odds - L;
        const double D = B * B + 4 * A * (double(m) + 1) * (double(n) + 1) * odds;
        mode = ((D > 0 ? std::sqrt(D) : 0.0) - B) / (2 * A);
    }

    // Place the mode so that the room on each side is used: at its own offset
    // when the lower tail fits in half the table, else in the middle, or as
    // far up as the upper tail allows.
    // trunc(mode) lies in the support; the clamp only keeps a NaN mode (from
    // a NaN odds ratio) from indexing outside the table.
    const int32_t x1 = std::clamp(truncate_to_int32(mode), xmin, xmax);
    const int32_t half = length / 2;
    int32_t i1 = x1 - xmin;
    if (i1 > half) i1 = xmax - x1 > half ? half : std::max(x1 - xmax - 1 + length, 0);
    int32_t ilo = std::max(i1 - x1 + xmin, 0);
    int32_t ihi = std::min(i1 - x1 + xmax, length - 1);

    table[i1] = 1;
    double sum = 1, f = 1;
    for (int32_t i = i1 - 1; i >= ilo; --i) {
        const double x = double(i) + 1 - i1 + x1;  // the x of entry i + 1
        f *= x * (x - L) / ((m - x + 1) * (n - x + 1) * odds);
        table[i] = f;
        sum += f;
        if (f < cutoff) {
            ilo = i;
            break;
        }
    }
    if (ilo > 0) {
        std::memmove(table, table + ilo, sizeof(double) * (i1 - ilo + 1));
        i1 -= ilo;
        ihi -= ilo;
        ilo = 0;
    }
    f = 1;
    for (int32_t i = i1 + 1; i <= ihi; ++i) {
        const double x = double(i) - i1 + x1;  // the x of entry i
        f *= (m - x + 1) * (n - x + 1) * odds / (x * (x - L));
        table[i] = f;
        sum += f;
        if (f < cutoff) {
            ihi = i;
            break;
        }
    }
    *xfirst = ilo - i1 + x1;
    *xlast = ihi - i1 + x1;
    return sum;
}

// Deliberate: the CDF's table is never freed and its allocation not checked
// (tools/sanitizers/lsan.supp names this function).
__attribute__((noinline)) double* AllocateRetainedFncCdfTable(int32_t length)
{
    auto* table = static_cast<double*>(std::malloc(sizeof(double) * std::size_t(length)));
    // Not a tail call: this frame must stay on the allocation's stack trace
    // for the suppression to name it.
    asm volatile("" : : "r"(table) : "memory");
    return table;
}

}  // namespace

extern "C" double FNCHypergeometricCDF(int32_t x, int32_t n, int32_t m, int32_t N, double odds,
                                       unsigned char upper, double accuracy)
{
    FncUrn u(n, m, N, odds, accuracy);
    const double cutoff = accuracy * kTableCutoff;
    const int32_t length = FncTableLength(u);
    if (length == 0) return quiet_nan();
    double* table = AllocateRetainedFncCdfTable(length);
    int32_t xfirst = 0, xlast = -1;
    const double sum = FncMakeTable(u, table, length, &xfirst, &xlast, cutoff);

    const int32_t xm = truncate_to_int32(FncMean(u) + 0.5);
    if (xm < xfirst || xm > xlast) return quiet_nan();
    // Each tail accumulated from its own end, so a small tail probability is
    // summed from small terms and not formed as a difference.
    const auto t = [table, xfirst](int32_t y) -> double& { return table[y - xfirst]; };
    for (int32_t y = xfirst + 1; y <= xm; ++y) t(y) += t(y - 1);
    for (int32_t y = xlast - 1; y > xm; --y) t(y) += t(y + 1);

    if (x > xm) {
        const double tail = x < xlast ? t(x + 1) / sum : 0.0;
        return is_upper_tail(upper) ? tail : 1 - tail;
    }
    const double tail = x >= xfirst ? t(x) / sum : 0.0;
    return is_upper_tail(upper) ? 1 - tail : tail;
}

extern "C" double FNCHypergeometricICDF(double p, int32_t n, int32_t m, int32_t N, double odds,
                                        unsigned char upper, double accuracy)
{
    FncUrn u(n, m, N, odds, accuracy);
    const double cutoff = accuracy * kTableCutoff;
    const int32_t length = FncTableLength(u);
    if (length == 0) return quiet_nan();
    double* table = static_cast<double*>(std::malloc(sizeof(double) * std::size_t(length)));
    int32_t xfirst = 0, xlast = -1;
    const double sum = FncMakeTable(u, table, length, &xfirst, &xlast, cutoff);

    for (int32_t i = 1; i <= xlast - xfirst; ++i) table[i] += table[i - 1];
    if (is_upper_tail(upper)) p = 1 - p;
    const double target = sum * p;
    // The smallest x whose cumulative value is not below the target; the
    // cumulative sum, added in another order than `sum`, may end a little
    // short of it, hence the clamp to xlast.
    uint32_t lo = 0, hi = uint32_t(xlast - xfirst + 1);
    while (lo < hi) {
        const uint32_t mid = (lo + hi) / 2;
        if (table[mid] < target)
            lo = mid + 1;
        else
            hi = mid;
    }
    const int32_t x = std::min(int32_t(lo) + xfirst, xlast);
    std::free(table);
    return x;
}

extern "C" void FNCHypergeometricMoments(int32_t n, int32_t m, int32_t N, double odds,
                                         double* mean, double* variance)
{
    FncUrn u(n, m, N, odds, kMomentsAccuracy);
    const int32_t xm = truncate_to_int32(FncMean(u));
    // Sums of p, (x - xm) p and (x - xm)^2 p about the approximate mean, so the
    // second moment does not cancel. The square is a 32-bit product, wrapped
    // as the hardware multiply wraps.
    double s0 = 0, s1 = 0, s2 = 0;
    const auto add = [&](int32_t x) {
        const double p = FncProbability(u, x);
        const int32_t d = x - xm;
        const int32_t d2 = int32_t(uint32_t(d) * uint32_t(d));
        s0 += p;
        s1 += d * p;
        s2 += d2 * p;
        return p;
    };
    // Each walk also ends at a NaN probability.
    for (int64_t x = xm; x <= u.xmax; ++x)
        if (!(add(int32_t(x)) >= kMomentsCutoff) && x != xm) break;
    for (int32_t x = xm; x > u.xmin;)  // x = xm - 1 down to xmin
        if (!(add(--x) >= kMomentsCutoff)) break;
    const double m1 = s1 / s0;
    *mean = xm + m1;
    *variance = std::max(s2 / s0 - m1 * m1, 0.0);
}
