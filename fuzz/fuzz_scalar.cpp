// Every scalar export with decoded arguments: special functions, continuous
// and discrete distributions (hypergeometric urns bounded as HyperCount says),
// Fisher's noncentral hypergeometric (urns of at most kMaxUrn items),
// Kolmogorov (samples of at most kMaxSample) and the multiple comparisons (at
// most kMaxGroups groups). The first byte picks the export; each outcome is
// checked against the error contract in decode.h. The entries, their decoders
// and their contracts come from the export table (fuzz_scalar_entries.inc);
// the exports that are not plain numbers in and out are decoded in special::.
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

// Decoders of the arguments the export table tags with a domain.
template <class T>
T decode_urn(Decoder& d);
template <>
double decode_urn<double>(Decoder& d) { return HyperCount(d.real()); }
template <>
int32_t decode_urn<int32_t>(Decoder& d) { return d.integer_in(-4, kMaxUrn); }
template <class T>
T decode_sample(Decoder& d) { return SampleSize(d.real()); }

struct Entry {
    const char* name;
    void (*run)(Decoder&);
};

}  // namespace

namespace special {

void InverseBetaRegularized2(Decoder& d) { Paired("InverseBetaRegularized2", d, ::InverseBetaRegularized2); }
void InverseBetaRegularizedC2(Decoder& d) { Paired("InverseBetaRegularizedC2", d, ::InverseBetaRegularizedC2); }

void FNCHypergeometricMoments(Decoder& d) {
    const int32_t n = d.integer_in(-4, kMaxUrn), m = d.integer_in(-4, kMaxUrn),
                  N = d.integer_in(-4, kMaxUrn);
    const double odds = d.real();
    double mean = 0, variance = 0;
    errno = 0;
    Guard("FNCHypergeometricMoments", d, kNoThrow,
          [&] { ::FNCHypergeometricMoments(n, m, N, odds, &mean, &variance); });
    CheckScalar("FNCHypergeometricMoments", d, Errno::kUntouched, false, mean, errno);
}

void MCaCDF(Decoder& d) { MultipleComparison("MCaCDF", d, ::MCaCDF, 1); }
void MCaICDF(Decoder& d) { MultipleComparison("MCaICDF", d, ::MCaICDF, 1); }
void MCbCDF(Decoder& d) { MultipleComparison("MCbCDF", d, ::MCbCDF); }
void MCbICDF(Decoder& d) { MultipleComparison("MCbICDF", d, ::MCbICDF); }
void MCcCDF(Decoder& d) { MultipleComparison("MCcCDF", d, ::MCcCDF); }
void MCcICDF(Decoder& d) { MultipleComparison("MCcICDF", d, ::MCcICDF); }

}  // namespace special

namespace {

#include "fuzz_scalar_entries.inc"

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
