// The two-sided one-sample Kolmogorov-Smirnov statistic D_n: lower tail
// P(D_n <= x), upper tail P(D_n >= x) computed directly for small values, and
// the quantile.
//
// The tails choose among five methods by the region of (n, x): closed forms at
// the edges of the support (Ruben and Gambino), the Durbin matrix power with
// decimal renormalisation (Marsaglia, Tsang and Wang), the Pomeranz recursion
// with binary renormalisation, the Pelz-Good asymptotic series, and twice the
// one-sided tail of Smirnov (exact summation, or its asymptotic form for very
// large n). The region table follows Simard and L'Ecuyer. Everything is in
// double precision. The quantile inverts a tail with Boost's bracketing root
// finder under Boost's default (throwing) policy; its exceptions reach the
// caller.
//
// References:
//   R. Simard, P. L'Ecuyer, "Computing the two-sided Kolmogorov-Smirnov
//     distribution", J. Stat. Software 39(11), 2011. doi:10.18637/jss.v039.i11
//   G. Marsaglia, W. W. Tsang, J. Wang, "Evaluating Kolmogorov's
//     distribution", J. Stat. Software 8(18), 2003. doi:10.18637/jss.v008.i18
//   J. Pomeranz, "Exact cumulative distribution of the Kolmogorov-Smirnov
//     statistic for small samples", CACM 17(12), 1974 (Algorithm 487).
//   W. Pelz, I. J. Good, "Approximating the lower tail-areas of the
//     Kolmogorov-Smirnov one-sample statistic", JRSS B 38(2), 1976.
//   H. Ruben, J. Gambino, "The exact distribution of Kolmogorov's statistic
//     D_n for n <= 10", Ann. Inst. Stat. Math. 34, 1982.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include <boost/math/constants/constants.hpp>
#include <boost/math/tools/toms748_solve.hpp>

#include "interface/checks.hpp"
#include "interface/host_arithmetic.hpp"
#include "interface/policies.hpp"
#include "korvane/core_math.h"

namespace {

using namespace kcm;

// ---- Algorithm configuration --------------------------------------------------

// Up to this n the exact methods (matrix, Pomeranz) cover the lower tail.
constexpr int kExactMaxN = 140;
// Up to this n the matrix method also serves n > kExactMaxN while n^2 x^3 <= 2.
constexpr int kMatrixMaxN = 100000;
// n x^2 at and above which the lower tail is 1.0 (the upper tail < 5e-16).
constexpr double kLowerIsOne = 18.0;
// n x^2 at and above which the upper tail is 0.0.
constexpr double kUpperIsZero = 370.0;
// n x^2 at and below which the upper tail is 1.0.
constexpr double kUpperIsOne = 0.0274;
// n x^2 below which the matrix method is used for n <= kExactMaxN.
constexpr double kMatrixMaxW = 0.754693;
// n x^2 at and above which the upper tail is twice the one-sided tail
// (n <= kExactMaxN), below which Pomeranz serves the lower tail.
constexpr double kPomeranzMaxW = 4.0;
// n x^2 at and above which the upper tail is twice the one-sided tail (n > kExactMaxN).
constexpr double kOneSidedMinW = 2.2;
// n^2 x^3 up to which the matrix method is used for n > kExactMaxN.
constexpr double kMatrixMaxN2X3 = 2.0;
// Above this n the one-sided tail takes its asymptotic form.
constexpr int kOneSidedExactMaxN = 200000;
// Up to this n the one-sided sum starts at jmax/3, above it at jmax/2.
constexpr int kOneSidedDivisorN = 3000;
// Relative cut-off of the one-sided sum.
constexpr double kOneSidedEps = 1e-12;

// Matrix method: entries are kept below 10^140 by decimal renormalisation.
constexpr double kMatrixBig = 1e140;
constexpr double kMatrixSmall = 1e-140;
constexpr int kMatrixExponentStep = 140;

// Pomeranz recursion: renormalisation by 2^350, undone in the final logarithm.
constexpr int kPomeranzExponent = 350;
constexpr double kPomeranzScale = 0x1p350;
constexpr double kPomeranzTiny = 1e-280;
// Tolerance for matching a step width to one of the four tabulated widths.
constexpr double kPomeranzWidthTol = 1e-15;
using boost::math::double_constants::ln_two;

// Pelz-Good series: at most this many terms, stopped at this relative size.
constexpr int kPelzGoodMaxTerm = 20;
constexpr double kPelzGoodEps = 1e-10;
// Powers of pi, formed from Boost's pi^2; each product rounds to the nearest
// double of its power.
using boost::math::double_constants::pi_sqr;
constexpr double kPi4 = pi_sqr * pi_sqr;
constexpr double kPi6 = kPi4 * pi_sqr;
constexpr double kThreePi2 = 3 * pi_sqr;
static_assert(kPi4 == 97.40909103400243 && kPi6 == 961.3891935753043 &&
                  kThreePi2 == 29.608813203268074,
              "the Pelz-Good series is evaluated with these values of pi^4, pi^6 and 3 pi^2");
// sqrt(2 pi) and sqrt(pi / 2) with these digits, each one ulp away from the
// nearest double (Boost's root_two_pi and root_half_pi): the series is
// evaluated with them as they are.
constexpr double kSqrtTwoPi = 2.506628274631001;
constexpr double kSqrtHalfPi = 1.2533141373155001;

// Own log1p: the series below this |x|, the C library above.
constexpr double kLog1pSeriesMax = 0.1;
constexpr double kLog1pEps = 1e-15;
constexpr int kLog1pMaxTerm = 50;

// Quantile: starting guess kGuessScale / sqrt(n) (the asymptotic 5% critical
// value), bracket growth factor, 24 bits of tolerance, 100 evaluations shared
// by the bracketing walk and the refinement.
constexpr double kGuessScale = 1.36;
constexpr double kGuessGrowth = 2.0;
constexpr unsigned kQuantileBits = 24;
constexpr std::uintmax_t kQuantileMaxIterations = 100;

// k! for k = 0 ... 20, exact in double precision.
constexpr int kFactorialTableMax = 20;
constexpr double kFactorial[kFactorialTableMax + 1] = {
    1.0,
    1.0,
    2.0,
    6.0,
    24.0,
    120.0,
    720.0,
    5040.0,
    40320.0,
    362880.0,
    3628800.0,
    39916800.0,
    479001600.0,
    6227020800.0,
    87178291200.0,
    1307674368000.0,
    20922789888000.0,
    355687428096000.0,
    6402373705728000.0,
    121645100408832000.0,
    2432902008176640000.0,
};

// ln(k!) for k = 0 ... 30, correctly rounded (mpmath, 40 digits).
constexpr int kLogFactorialTableMax = 30;
constexpr double kLogFactorial[kLogFactorialTableMax + 1] = {
    0.0,
    0.0,
    0.6931471805599453,
    1.791759469228055,
    3.1780538303479458,
    4.787491742782046,
    6.579251212010101,
    8.525161361065415,
    10.60460290274525,
    12.801827480081469,
    15.104412573075516,
    17.502307845873887,
    19.987214495661885,
    22.552163853123425,
    25.19122118273868,
    27.89927138384089,
    30.671860106080672,
    33.50507345013689,
    36.39544520803305,
    39.339884187199495,
    42.335616460753485,
    45.38013889847691,
    48.47118135183523,
    51.60667556776438,
    54.78472939811232,
    58.00360522298052,
    61.261701761002,
    64.55753862700634,
    67.88974313718154,
    71.25703896716801,
    74.65823634883016,
};

// ---- Helpers --------------------------------------------------------------------

// ln(n!): the table, or Stirling's series with y = n + 1. The digits of the
// series constants are used exactly as written.
double LogFactorial(int n)
{
    if (n <= kLogFactorialTableMax) return kLogFactorial[n];
    const double y = n + 1.0;
    const double r = 1.0 / (y * y);
    const double series =
        ((0.0007936500793651 - 0.000595238095238 * r) * r - 0.0027777777777778) * r +
        0.083333333333333;
    return (y - 0.5) * std::log(y) - y + 0.91893853320467 + series / y;
}

// ln(1 + x), by its alternating series for small |x|.
double Log1p(double x)
{
    if (std::fabs(x) > kLog1pSeriesMax) return std::log1p(x);
    double term = x;
    double sum = x;
    for (int s = 2; std::fabs(term) > kLog1pEps * std::fabs(sum) && s < kLog1pMaxTerm; ++s) {
        term *= -x;
        sum += term / s;
    }
    return sum;
}

// n! (2x - 1/n)^n, the lower tail on 1/(2n) < x <= 1/n.
double lower_near_zero(int n, double x)
{
    const double base = 2 * x - 1.0 / n;
    if (n <= kFactorialTableMax) return std::pow(base, n) * kFactorial[n];
    return std::exp(n * std::log(base) + LogFactorial(n));
}

// ---- Durbin matrix method ------------------------------------------------------

// A square matrix stored row by row, with a decimal exponent: the value is
// entries * 10^exponent.
struct ScaledMatrix {
    std::vector<double> a;
    int exponent;
};

void MatrixMultiply(const std::vector<double>& A, const std::vector<double>& B,
                    std::vector<double>& C, int m)
{
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j) {
            double s = 0;
            for (int k = 0; k < m; ++k) s += A[i * m + k] * B[k * m + j];
            C[i * m + j] = s;
        }
}

void Renormalize(std::vector<double>& A, int& exponent)
{
    for (double& v : A) v *= kMatrixSmall;
    exponent += kMatrixExponentStep;
}

double centre(const std::vector<double>& A, int m) { return A[(m / 2) * m + m / 2]; }

// A^n by repeated squaring, renormalised whenever the centre entry passes 10^140.
ScaledMatrix MatrixPower(const std::vector<double>& A, int eA, int m, int n)
{
    if (n == 1) return {A, eA};
    ScaledMatrix V = MatrixPower(A, eA, m, n / 2);
    ScaledMatrix B{std::vector<double>(A.size()), 2 * V.exponent};
    MatrixMultiply(V.a, V.a, B.a, m);
    if (centre(B.a, m) > kMatrixBig) Renormalize(B.a, B.exponent);
    if (n % 2 == 0) {
        V = std::move(B);
    } else {
        MatrixMultiply(A, B.a, V.a, m);  // A on the left
        V.exponent = eA + B.exponent;
    }
    if (centre(V.a, m) > kMatrixBig) Renormalize(V.a, V.exponent);
    return V;
}

double DurbinMatrix(int n, double d)
{
    const int k = static_cast<int>(n * d) + 1;
    const int m = 2 * k - 1;
    const double h = k - n * d;
    std::vector<double> H(static_cast<std::size_t>(m) * m);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j) H[i * m + j] = (i - j + 1 >= 0) ? 1.0 : 0.0;
    for (int i = 0; i < m; ++i) {
        H[i * m] -= std::pow(h, i + 1);
        H[(m - 1) * m + i] -= std::pow(h, m - i);
    }
    if (2 * h - 1 > 0) H[(m - 1) * m] += std::pow(2 * h - 1, m);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j)
            if (i - j + 1 > 0)
                for (int g = 1; g <= i - j + 1; ++g) H[i * m + j] /= g;

    const ScaledMatrix Q = MatrixPower(H, 0, m, n);
    double s = Q.a[(k - 1) * m + k - 1];
    int eQ = Q.exponent;
    // Multiply by n!/n^n one factor at a time, keeping s clear of underflow.
    for (int i = 1; i <= n; ++i) {
        s = s * i / n;
        if (s < kMatrixSmall) {
            s *= kMatrixBig;
            eQ -= kMatrixExponentStep;
        }
    }
    return s * std::pow(10.0, eQ);
}

// ---- Pomeranz recursion --------------------------------------------------------

struct PomeranzData {
    std::vector<double> A;  // break points A_0 ... A_(2n+2)
    std::vector<int> F;     // floor(A_i - t)
    std::vector<int> C;     // ceil(A_i + t)
};

PomeranzData PomeranzLimits(int n, double t)
{
    const int size = 2 * n + 3;
    PomeranzData d{std::vector<double>(size), std::vector<int>(size), std::vector<int>(size)};
    const int ell = static_cast<int>(t);
    const double z = t - ell;
    const int last = 2 * n + 2;
    if (z > 0.5) {
        for (int i = 1; i <= last; ++i) {
            const bool even = i % 2 == 0;
            d.F[i] = even ? i / 2 - 2 - ell : i / 2 - 1 - ell;
            d.C[i] = even ? i / 2 + ell : i / 2 + 1 + ell;
        }
    } else if (z > 0) {
        for (int i = 1; i <= last; ++i) d.F[i] = i / 2 - 1 - ell;
        for (int i = 2; i <= last; ++i) d.C[i] = i / 2 + ell;
        d.C[1] = 1 + ell;
    } else {
        for (int i = 1; i <= last; ++i) {
            const bool even = i % 2 == 0;
            d.F[i] = even ? i / 2 - 1 - ell : i / 2 - ell;
            d.C[i] = even ? i / 2 - 1 + ell : i / 2 + ell;
        }
    }
    const double q = std::min(z, std::ceil(t) - t);
    d.A[0] = d.A[1] = 0;
    d.A[2] = q;
    d.A[3] = 1 - q;
    for (int i = 4; i <= 2 * n + 1; ++i) d.A[i] = d.A[i - 2] + 1;
    d.A[last] = n;
    return d;
}

double Pomeranz(int n, double x)
{
    const double t = n * x;
    const PomeranzData lim = PomeranzLimits(n, t);
    const std::vector<double>& A = lim.A;
    const int cols = n + 2;

    std::vector<double> V[2] = {std::vector<double>(cols, 0.0), std::vector<double>(cols, 0.0)};
    V[1][1] = kPomeranzScale;
    int renormalisations = 1;

    // H[s][j] = w_s^j / j! for the four possible step widths.
    std::vector<double> H[4];
    const double widths[3] = {2 * A[2] / n, (1 - 2 * A[2]) / n, A[2] / n};
    for (int s = 0; s < 3; ++s) {
        H[s].assign(cols, 0.0);
        H[s][0] = 1;
        for (int j = 1; j <= n + 1; ++j) H[s][j] = widths[s] * H[s][j - 1] / j;
    }
    H[3].assign(cols, 0.0);
    H[3][0] = 1;

    int prev = 0, cur = 1;
    for (int i = 2; i <= 2 * n + 2; ++i) {
        const int jlow = std::max(1, lim.F[i] + 2);
        const int jup = std::min(lim.C[i], n + 1);
        const int klow = std::max(1, lim.F[i - 1] + 2);
        const int kup0 = lim.C[i - 1];

        const double w = (A[i] - A[i - 1]) / n;
        int s = 0;
        while (s < 4 && !(std::fabs(w - H[s][1]) <= kPomeranzWidthTol)) ++s;
        if (s == 4) return quiet_nan();  // no tabulated width: cannot happen for valid (n, x)

        std::swap(prev, cur);
        double minsum = kPomeranzScale;
        for (int j = jlow; j <= jup; ++j) {
            double sum = 0;
            for (int k = std::min(kup0, j); k >= klow; --k) sum += V[prev][k] * H[s][j - k];
            V[cur][j] = sum;
            minsum = std::min(minsum, sum);
        }
        if (minsum < kPomeranzTiny) {
            for (int j = jlow; j <= jup; ++j) V[cur][j] *= kPomeranzScale;
            ++renormalisations;
        }
    }
    const double w = LogFactorial(n) - renormalisations * kPomeranzExponent * ln_two +
                     std::log(V[cur][n + 1]);
    if (w >= 0) return 1.0;
    return std::exp(w);
}

// ---- Pelz-Good asymptotic series ------------------------------------------------

// Sums f(i) for i = first ... kPelzGoodMaxTerm, stopping before a term once the
// previous one is no larger than kPelzGoodEps times the running sum (compared
// in absolute value when `absolute`).
template <typename F>
double pelz_good_sum(int first, bool absolute, F f)
{
    double term = 1, sum = 0;
    for (int i = first; i <= kPelzGoodMaxTerm; ++i) {
        const bool go = absolute ? std::fabs(term) > kPelzGoodEps * std::fabs(sum)
                                 : term > kPelzGoodEps * sum;
        if (!go) break;
        term = f(i);
        sum += term;
    }
    return sum;
}

double PelzGood(int n, double x)
{
    // The coefficients' factors of n are formed in double: 3240 n overflows an
    // int from n = 662804.
    const double dn = n;
    const double rn = std::sqrt(static_cast<double>(n));
    const double z = rn * x;
    const double z2 = z * z, z4 = z2 * z2, z6 = z4 * z2, z8 = z6 * z2;
    const double w = pi_sqr / (2 * z2);

    double S = pelz_good_sum(0, false, [&](int i) {
        const double u = (i + 0.5) * (i + 0.5);
        return std::exp(-u * w);
    });
    S *= kSqrtTwoPi / z;

    double T = pelz_good_sum(0, true, [&](int i) {
        const double u = (i + 0.5) * (i + 0.5);
        return (pi_sqr * u - z2) * std::exp(-u * w);
    });
    S += T * kSqrtHalfPi / (3 * rn * z4);

    T = pelz_good_sum(0, true, [&](int i) {
        const double u = (i + 0.5) * (i + 0.5);
        return (6 * z6 + 2 * z4 + pi_sqr * (2 * z4 - 5 * z2) * u + kPi4 * (1 - 2 * z2) * u * u) *
               std::exp(-u * w);
    });
    S += T * kSqrtHalfPi / (36 * dn * z * z6);

    T = pelz_good_sum(1, false, [&](int i) {
        const double u = static_cast<double>(i) * i;
        return pi_sqr * u * std::exp(-u * w);
    });
    S -= T * kSqrtHalfPi / (18 * dn * z * z2);

    T = pelz_good_sum(0, true, [&](int i) {
        const double u = (i + 0.5) * (i + 0.5);
        return (-30 * z6 - 90 * z8 + pi_sqr * (135 * z4 - 96 * z6) * u +
                kPi4 * (212 * z4 - 60 * z2) * u * u + kPi6 * u * u * u * (5 - 30 * z2)) *
               std::exp(-u * w);
    });
    S += T * kSqrtHalfPi / (3240 * dn * rn * z4 * z6);

    T = pelz_good_sum(1, true, [&](int i) {
        const double u = static_cast<double>(i) * i;
        return (kThreePi2 * u * z2 - kPi4 * u * u) * std::exp(-u * w);
    });
    S += T * kSqrtHalfPi / (108 * dn * rn * z6);
    return S;  // not clamped to [0, 1]
}

// ---- One-sided (Smirnov) upper tail ---------------------------------------------

double KsPlusAsymptotic(int n, double x)
{
    const double t = 6.0 * n * x + 1;
    const double z = t * t / (18.0 * n);
    const double v = 1 - (2 * z * z - 4 * z - 1) / (18.0 * n);
    if (v <= 0) return 0.0;
    return std::min(1.0, v * std::exp(-z));
}

// P(D_n+ >= x) by the Birnbaum-Tingey sum, started in the middle of its range
// where the terms peak and walked both ways until they no longer count.
double KsPlusUpperComplement(int n, double x)
{
    if (n > kOneSidedExactMaxN) return KsPlusAsymptotic(n, x);
    int jmax = static_cast<int>(n * (1 - x));
    if (1 - x - static_cast<double>(jmax) / n <= 0) --jmax;
    const int divisor = n <= kOneSidedDivisorN ? 3 : 2;

    const auto term = [&](int j, double log_binomial) {
        const double q = static_cast<double>(j) / n + x;
        return std::exp(log_binomial + (j - 1) * std::log(q) + (n - j) * Log1p(-q));
    };

    double sum = 0;
    int j = jmax / divisor + 1;
    double L = LogFactorial(n) - LogFactorial(j) - LogFactorial(n - j);
    const double L0 = L;
    while (j <= jmax) {
        const double t = term(j, L);
        sum += t;
        L += std::log(static_cast<double>(n - j) / (j + 1));
        if (t <= kOneSidedEps * sum) break;
        ++j;
    }

    j = jmax / divisor;
    L = L0 + std::log(static_cast<double>(j + 1) / (n - j));
    while (j > 0) {
        const double t = term(j, L);
        sum += t;
        L += std::log(static_cast<double>(j) / (n - j + 1));
        if (t <= kOneSidedEps * sum) break;
        --j;
    }
    return sum * x + std::exp(n * Log1p(-x));  // the j = 0 term
}

// ---- The two tails --------------------------------------------------------------

double KsCdf(int n, double x);

// Closed forms of the upper tail; -1 where none applies.
double upper_closed_form(int n, double x)
{
    const double w = n * x * x;
    if (w >= kUpperIsZero || x >= 1) return 0.0;
    if (w <= kUpperIsOne) return 1.0;
    if (x <= 0.5 / n) return 1.0;
    if (n == 1) {
        const double v = 2 - 2 * x;
        if (v >= 0) return v;
    }
    if (x <= 1.0 / n) {
        const double v = 1 - lower_near_zero(n, x);
        if (v >= 0) return v;
    } else if (x >= 1 - 1.0 / n) {
        return 2 * std::pow(1 - x, n);
    }
    return -1.0;
}

double KsComplement(int n, double x)
{
    const double v = upper_closed_form(n, x);
    if (v >= 0) return v;
    const double w = n * x * x;
    // Deliberate asymmetry: above the boundary the upper tail is twice the
    // one-sided tail; below it, 1 - the lower tail.
    if ((n <= kExactMaxN && w >= kPomeranzMaxW) || (n > kExactMaxN && w >= kOneSidedMinW))
        return 2 * KsPlusUpperComplement(n, x);
    return 1 - KsCdf(n, x);
}

double KsCdf(int n, double x)
{
    const double w = n * x * x;
    if (w >= kLowerIsOne || x >= 1) return 1.0;
    if (x <= 0.5 / n) return 0.0;
    if (n == 1) return 2 * x - 1;
    if (x <= 1.0 / n) {
        const double v = lower_near_zero(n, x);
        if (v >= 0) return v;
    } else if (x >= 1 - 1.0 / n) {
        const double v = 1 - 2 * std::pow(1 - x, n);
        if (v >= 0) return v;
    }
    // A sample size below 1 has no distribution; the methods below assume n >= 1.
    if (n < 1) return quiet_nan();

    if (n <= kExactMaxN) {
        if (w < kMatrixMaxW) return DurbinMatrix(n, x);
        if (w < kPomeranzMaxW) return Pomeranz(n, x);
        if (w >= kPomeranzMaxW) {
            double upper = upper_closed_form(n, x);
            if (upper < 0) upper = 2 * KsPlusUpperComplement(n, x);
            return 1 - upper;
        }
        return quiet_nan();  // a NaN x matches no row
    }
    if (w * x * n <= kMatrixMaxN2X3 && n <= kMatrixMaxN) return DurbinMatrix(n, x);
    return PelzGood(n, x);
}

// ---- Quantile -------------------------------------------------------------------

// Increasing in x in both tails, so the root finder always sees a rising function.
struct KolmogorovQuantileFunctor {
    bool upper;
    double p;
    double n;  // as given; truncated at every evaluation

    double operator()(double x) const
    {
        const int m = truncate_to_int32(n);
        return upper ? p - KsComplement(m, x) : KsCdf(m, x) - p;
    }
};

}  // namespace

// The sample size is not validated; x < 0 is not an error. errno is never set.
extern "C" double KolmogorovCDF(double x, double n, int32_t upper)
{
    if (x < 0) return upper != 0 ? 1.0 : 0.0;  // a NaN x goes on to the methods
    const int m = truncate_to_int32(n);
    // Terms of the sums underflow harmlessly; the C library's ERANGE for them
    // is not the caller's business.
    const ErrnoKept errno_kept;
    return upper != 0 ? KsComplement(m, x) : KsCdf(m, x);
}

// Throws boost::math::evaluation_error when p cannot be bracketed within the
// iteration budget (a p outside what the tail reaches).
extern "C" double KolmogorovICDF(double p, double n, int32_t upper)
{
    // The guess uses n as given (10.9 stays 10.9); the tails truncate it.
    const double guess = kGuessScale / std::sqrt(n);
    std::uintmax_t iterations = kQuantileMaxIterations;
    const ErrnoKept errno_kept;  // underflowing terms, as in KolmogorovCDF
    const std::pair<double, double> r = boost::math::tools::bracket_and_solve_root(
        KolmogorovQuantileFunctor{upper != 0, p, n}, guess, kGuessGrowth, true,
        boost::math::tools::eps_tolerance<double>(kQuantileBits), iterations, pol::Throwing());
    // A budget exhausted during the refinement is not reported: the bracket
    // as it stands is used.
    return r.first + (r.second - r.first) * 0.5;
}
