// Every scalar export with decoded arguments: special functions, continuous
// and discrete distributions (hypergeometric urns bounded as HyperCount says),
// Fisher's noncentral hypergeometric (urns of at most kMaxUrn items),
// Kolmogorov (samples of at most kMaxSample) and the multiple comparisons (at
// most kMaxGroups groups). The first byte picks the
// export; each outcome is checked against the error contract in decode.h.
#include "decode.h"

#include <korvane/core_math.h>

#include <algorithm>
#include <memory>

using namespace kcmfuzz;

namespace {

constexpr int32_t kMaxUrn = 3000;
constexpr double kMaxSample = 1e5;
constexpr int32_t kMaxGroups = 6;

// Hypergeometric counts keep the low 32 bits of their truncation. Counts of
// 2^31 and more are refused at once and stay; below that Boost's quantile
// walks the support one count at a time, so larger counts become kMaxHyperUrn.
constexpr uint32_t kMaxHyperUrn = 100000;
double HyperCount(double v) {
    if (!std::isfinite(v) || std::fabs(v) >= 9.2e18) return v;
    const uint32_t count = static_cast<uint32_t>(static_cast<int64_t>(v));
    return count > kMaxHyperUrn && count < 2147483648u ? kMaxHyperUrn : v;
}

// Kolmogorov sample sizes: any special value, finite ones bounded.
double SampleSize(double n) {
    return std::isfinite(n) && std::fabs(n) > kMaxSample ? std::copysign(kMaxSample, n) : n;
}

template <class F>
void Scalar(const char* name, const Decoder& d, Errno rule, unsigned allow, bool nan_argument,
            F&& f) {
    // KCM_FUZZ_TRACE=1 prints every call before it is made (to see which
    // call of a timed-out input hangs).
    static const bool trace = std::getenv("KCM_FUZZ_TRACE") != nullptr;
    if (trace) std::fprintf(stderr, "%s(%s)\n", name, d.trail().c_str());
    double r = 0;
    int err = 0;
    errno = 0;
    if (Guard(name, d, allow, [&] {
            r = f();
            err = errno;
        }))
        CheckScalar(name, d, rule, nan_argument, r, err);
}

// InverseBetaRegularized2 and its complement: the root is also stored.
template <class F>
void Paired(const char* name, Decoder& d, F&& f) {
    const double a = d.real(), b = d.real(), p = d.real();
    const bool with_y = d.byte() & 1;
    double x = 12345, y = 12345;
    Scalar(name, d, Errno::kPolicy, kNoThrow, std::isnan(a) || std::isnan(b) || std::isnan(p),
           [&] {
               const double r = f(a, b, p, &x, with_y ? &y : nullptr);
               if (!(r == x || (std::isnan(r) && std::isnan(x)))) Fail(name, d, "root not stored");
               return r;
           });
}

// The multiple-comparison exports: lambda holds exactly k doubles, and at
// least the one that the studentized range always reads.
template <class F>
void MultipleComparison(const char* name, Decoder& d, F&& f, int32_t at_least = 0) {
    const double q = d.real();
    const int32_t k = d.integer_in(-3, kMaxGroups);
    const double df = d.real();
    const unsigned char upper = d.byte();
    const int32_t length = std::max(k, at_least);
    std::unique_ptr<double[]> lambda(new double[length]);
    for (int32_t i = 0; i < length; ++i) lambda[i] = d.real();
    Scalar(name, d, Errno::kUntouched, kBoostThrows | kBadAlloc, false,
           [&] { return f(q, k, df, lambda.get(), upper); });
}

struct Entry {
    const char* name;
    void (*run)(Decoder&);
};

const Entry kEntries[] = {
    {"Erf", [](Decoder& d) {
        const double a0 = d.real();
        Scalar("Erf", d, Errno::kPolicy, kNoThrow, std::isnan(a0),
               [&] { return Erf(a0); });
    }},
    {"ErfC", [](Decoder& d) {
        const double a0 = d.real();
        Scalar("ErfC", d, Errno::kPolicy, kNoThrow, std::isnan(a0),
               [&] { return ErfC(a0); });
    }},
    {"InverseErf", [](Decoder& d) {
        const double a0 = d.real();
        Scalar("InverseErf", d, Errno::kPolicy, kNoThrow, std::isnan(a0),
               [&] { return InverseErf(a0); });
    }},
    {"InverseErfC", [](Decoder& d) {
        const double a0 = d.real();
        Scalar("InverseErfC", d, Errno::kPolicy, kNoThrow, std::isnan(a0),
               [&] { return InverseErfC(a0); });
    }},
    {"NormalPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("NormalPDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return NormalPDF(a0, a1, a2); });
    }},
    {"NormalCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("NormalCDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return NormalCDF(a0, a1, a2, a3); });
    }},
    {"NormalICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("NormalICDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return NormalICDF(a0, a1, a2, a3); });
    }},
    {"Gamma", [](Decoder& d) {
        const double a0 = d.real();
        Scalar("Gamma", d, Errno::kLoose, kNoThrow, std::isnan(a0),
               [&] { return Gamma(a0); });
    }},
    {"GammaLn", [](Decoder& d) {
        const double a0 = d.real();
        Scalar("GammaLn", d, Errno::kThrowing, kBoostThrows, std::isnan(a0),
               [&] { return GammaLn(a0); });
    }},
    {"GammaRegularized", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("GammaRegularized", d, Errno::kThrowing, kBoostThrows, std::isnan(a0) || std::isnan(a1),
               [&] { return GammaRegularized(a0, a1); });
    }},
    {"GammaRegularizedC", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("GammaRegularizedC", d, Errno::kThrowing, kBoostThrows, std::isnan(a0) || std::isnan(a1),
               [&] { return GammaRegularizedC(a0, a1); });
    }},
    {"IncompleteGammaLower", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("IncompleteGammaLower", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return IncompleteGammaLower(a0, a1); });
    }},
    {"IncompleteGammaUpper", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("IncompleteGammaUpper", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return IncompleteGammaUpper(a0, a1); });
    }},
    {"InverseGammaRegularized", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("InverseGammaRegularized", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return InverseGammaRegularized(a0, a1); });
    }},
    {"InverseGammaRegularizedC", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("InverseGammaRegularizedC", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return InverseGammaRegularizedC(a0, a1); });
    }},
    {"GammaDerivative", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("GammaDerivative", d, Errno::kThrowing, kBoostThrows, std::isnan(a0) || std::isnan(a1),
               [&] { return GammaDerivative(a0, a1); });
    }},
    {"LogXplus1", [](Decoder& d) {
        const double a0 = d.real();
        Scalar("LogXplus1", d, Errno::kThrowing, kBoostThrows, std::isnan(a0),
               [&] { return LogXplus1(a0); });
    }},
    {"Beta", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("Beta", d, Errno::kThrowing, kBoostThrows, std::isnan(a0) || std::isnan(a1),
               [&] { return Beta(a0, a1); });
    }},
    {"BetaRegularized", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("BetaRegularized", d, Errno::kThrowing, kBoostThrows, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BetaRegularized(a0, a1, a2); });
    }},
    {"BetaRegularizedC", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("BetaRegularizedC", d, Errno::kThrowing, kBoostThrows, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BetaRegularizedC(a0, a1, a2); });
    }},
    {"BetaDerivative", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("BetaDerivative", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BetaDerivative(a0, a1, a2); });
    }},
    {"InverseBetaRegularized", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("InverseBetaRegularized", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return InverseBetaRegularized(a0, a1, a2); });
    }},
    {"InverseBetaRegularizedC", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("InverseBetaRegularizedC", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return InverseBetaRegularizedC(a0, a1, a2); });
    }},
    {"StudentTPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("StudentTPDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return StudentTPDF(a0, a1); });
    }},
    {"StudentTCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const unsigned char a2 = d.byte();
        Scalar("StudentTCDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return StudentTCDF(a0, a1, a2); });
    }},
    {"StudentTICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const unsigned char a2 = d.byte();
        Scalar("StudentTICDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return StudentTICDF(a0, a1, a2); });
    }},
    {"ChiSquaredPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("ChiSquaredPDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return ChiSquaredPDF(a0, a1); });
    }},
    {"ChiSquaredCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const unsigned char a2 = d.byte();
        Scalar("ChiSquaredCDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return ChiSquaredCDF(a0, a1, a2); });
    }},
    {"ChiSquaredICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const unsigned char a2 = d.byte();
        Scalar("ChiSquaredICDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return ChiSquaredICDF(a0, a1, a2); });
    }},
    {"FisherFPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("FisherFPDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return FisherFPDF(a0, a1, a2); });
    }},
    {"FisherFCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("FisherFCDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return FisherFCDF(a0, a1, a2, a3); });
    }},
    {"FisherFICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("FisherFICDF", d, Errno::kPolicyInf, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return FisherFICDF(a0, a1, a2, a3); });
    }},
    {"GammaPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("GammaPDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return GammaPDF(a0, a1, a2); });
    }},
    {"GammaCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("GammaCDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return GammaCDF(a0, a1, a2, a3); });
    }},
    {"GammaICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("GammaICDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return GammaICDF(a0, a1, a2, a3); });
    }},
    {"BetaPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("BetaPDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BetaPDF(a0, a1, a2); });
    }},
    {"BetaCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("BetaCDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BetaCDF(a0, a1, a2, a3); });
    }},
    {"BetaICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("BetaICDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BetaICDF(a0, a1, a2, a3); });
    }},
    {"NoncentralTPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("NoncentralTPDF", d, Errno::kPolicy, kOverflow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return NoncentralTPDF(a0, a1, a2); });
    }},
    {"NoncentralTCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("NoncentralTCDF", d, Errno::kPolicy, kNoThrow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return NoncentralTCDF(a0, a1, a2, a3); });
    }},
    {"NoncentralTICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("NoncentralTICDF", d, Errno::kPolicy, kOverflow, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return NoncentralTICDF(a0, a1, a2, a3); });
    }},
    {"BinomialPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real();
        Scalar("BinomialPDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BinomialPDF(a0, a1, a2); });
    }},
    {"BinomialCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte();
        Scalar("BinomialCDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BinomialCDF(a0, a1, a2, a3); });
    }},
    {"BinomialICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const unsigned char a3 = d.byte(); const int32_t a4 = d.integer();
        Scalar("BinomialICDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BinomialICDF(a0, a1, a2, a3, a4); });
    }},
    {"BinomialPS", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const double a2 = d.real(); const int32_t a3 = d.integer();
        Scalar("BinomialPS", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1) || std::isnan(a2),
               [&] { return BinomialPS(a0, a1, a2, a3); });
    }},
    {"PoissonPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real();
        Scalar("PoissonPDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1),
               [&] { return PoissonPDF(a0, a1); });
    }},
    {"PoissonCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const unsigned char a2 = d.byte();
        Scalar("PoissonCDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1),
               [&] { return PoissonCDF(a0, a1, a2); });
    }},
    {"PoissonICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = d.real(); const unsigned char a2 = d.byte(); const int32_t a3 = d.integer();
        Scalar("PoissonICDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1),
               [&] { return PoissonICDF(a0, a1, a2, a3); });
    }},
    {"HypergeometricPDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = HyperCount(d.real()); const double a2 = HyperCount(d.real()); const double a3 = HyperCount(d.real());
        Scalar("HypergeometricPDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1) || std::isnan(a2) || std::isnan(a3),
               [&] { return HypergeometricPDF(a0, a1, a2, a3); });
    }},
    {"HypergeometricCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = HyperCount(d.real()); const double a2 = HyperCount(d.real()); const double a3 = HyperCount(d.real()); const unsigned char a4 = d.byte();
        Scalar("HypergeometricCDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1) || std::isnan(a2) || std::isnan(a3),
               [&] { return HypergeometricCDF(a0, a1, a2, a3, a4); });
    }},
    {"HypergeometricICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = HyperCount(d.real()); const double a2 = HyperCount(d.real()); const double a3 = HyperCount(d.real()); const unsigned char a4 = d.byte();
        Scalar("HypergeometricICDF", d, Errno::kThrowing, kBoostThrows | kRounding, std::isnan(a0) || std::isnan(a1) || std::isnan(a2) || std::isnan(a3),
               [&] { return HypergeometricICDF(a0, a1, a2, a3, a4); });
    }},
    {"FNCHypergeometricCDF", [](Decoder& d) {
        const int32_t a0 = d.integer_in(-4, kMaxUrn); const int32_t a1 = d.integer_in(-4, kMaxUrn); const int32_t a2 = d.integer_in(-4, kMaxUrn); const int32_t a3 = d.integer_in(-4, kMaxUrn); const double a4 = d.real(); const unsigned char a5 = d.byte(); const double a6 = d.real();
        Scalar("FNCHypergeometricCDF", d, Errno::kUntouched, kNoThrow, std::isnan(a4) || std::isnan(a6),
               [&] { return FNCHypergeometricCDF(a0, a1, a2, a3, a4, a5, a6); });
    }},
    {"FNCHypergeometricICDF", [](Decoder& d) {
        const double a0 = d.real(); const int32_t a1 = d.integer_in(-4, kMaxUrn); const int32_t a2 = d.integer_in(-4, kMaxUrn); const int32_t a3 = d.integer_in(-4, kMaxUrn); const double a4 = d.real(); const unsigned char a5 = d.byte(); const double a6 = d.real();
        Scalar("FNCHypergeometricICDF", d, Errno::kUntouched, kNoThrow, std::isnan(a0) || std::isnan(a4) || std::isnan(a6),
               [&] { return FNCHypergeometricICDF(a0, a1, a2, a3, a4, a5, a6); });
    }},
    {"KolmogorovCDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = SampleSize(d.real()); const int32_t a2 = d.integer();
        Scalar("KolmogorovCDF", d, Errno::kUntouched, kNoThrow, std::isnan(a0) || std::isnan(a1),
               [&] { return KolmogorovCDF(a0, a1, a2); });
    }},
    {"KolmogorovICDF", [](Decoder& d) {
        const double a0 = d.real(); const double a1 = SampleSize(d.real()); const int32_t a2 = d.integer();
        Scalar("KolmogorovICDF", d, Errno::kUntouched, kBoostThrows, std::isnan(a0) || std::isnan(a1),
               [&] { return KolmogorovICDF(a0, a1, a2); });
    }},
    {"InverseBetaRegularized2", [](Decoder& d) { Paired("InverseBetaRegularized2", d, InverseBetaRegularized2); }},
    {"InverseBetaRegularizedC2", [](Decoder& d) { Paired("InverseBetaRegularizedC2", d, InverseBetaRegularizedC2); }},
    {"FNCHypergeometricMoments", [](Decoder& d) {
        const int32_t n = d.integer_in(-4, kMaxUrn), m = d.integer_in(-4, kMaxUrn),
                      N = d.integer_in(-4, kMaxUrn);
        const double odds = d.real();
        double mean = 0, variance = 0;
        errno = 0;
        Guard("FNCHypergeometricMoments", d, kNoThrow,
              [&] { FNCHypergeometricMoments(n, m, N, odds, &mean, &variance); });
        CheckScalar("FNCHypergeometricMoments", d, Errno::kUntouched, false, mean, errno);
    }},
    {"MCaCDF", [](Decoder& d) { MultipleComparison("MCaCDF", d, MCaCDF, 1); }},
    {"MCaICDF", [](Decoder& d) { MultipleComparison("MCaICDF", d, MCaICDF, 1); }},
    {"MCbCDF", [](Decoder& d) { MultipleComparison("MCbCDF", d, MCbCDF); }},
    {"MCbICDF", [](Decoder& d) { MultipleComparison("MCbICDF", d, MCbICDF); }},
    {"MCcCDF", [](Decoder& d) { MultipleComparison("MCcCDF", d, MCcCDF); }},
    {"MCcICDF", [](Decoder& d) { MultipleComparison("MCcICDF", d, MCcICDF); }},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Decoder d(data, size);
    // Several calls per input, so that a call may follow any other.
    for (int calls = 0; calls < 4 && !d.empty(); ++calls) {
        const Entry& e = kEntries[d.byte() % (sizeof kEntries / sizeof kEntries[0])];
        d.new_call();
        e.run(d);
    }
    return 0;
}
