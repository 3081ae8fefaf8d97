// Random number streams: MT19937 streams of Intel oneMKL's Vector Statistics,
// handed to the host as opaque handles.
//
// The library chooses the generator and the methods and does the plumbing;
// all generation is MKL's. The basic generator is always MT19937 (Matsumoto
// and Nishimura, ACM TOMACS 8(1), 1998, doi:10.1145/272991.272995) seeded by
// one 32-bit word. Normals use the inverse-CDF method, so every variate of
// every method consumes exactly one 32-bit output: the same seed gives the
// same numbers, and a skip-ahead count is a count of variates.
//
// The handle is MKL's VSLStreamStatePtr itself, passed through unchanged; the
// library keeps no table and no state. Statuses are MKL's, unchanged; the
// one-shot exports discard them and return 0.
#include <cstdint>

#include <mkl_vsl.h>

#include "korvane/core_math.h"

namespace {

constexpr MKL_INT kBasicGenerator = VSL_BRNG_MT19937;
constexpr MKL_INT kNormalMethod = VSL_RNG_METHOD_GAUSSIAN_ICDF;
constexpr MKL_INT kUniformMethod = VSL_RNG_METHOD_UNIFORM_STD;
constexpr MKL_INT kIntegerMethod = VSL_RNG_METHOD_UNIFORM_STD;

// The public handle type is an opaque struct pointer; MKL's is void*.
VSLStreamStatePtr to_vsl(RandomStream stream) { return static_cast<VSLStreamStatePtr>(stream); }
RandomStream to_handle(VSLStreamStatePtr stream) { return static_cast<RandomStream>(stream); }

VSLStreamStatePtr new_stream(uint32_t seed)
{
    VSLStreamStatePtr stream = nullptr;
    vslNewStream(&stream, kBasicGenerator, seed);  // status discarded: a failure leaves null
    return stream;
}

}  // namespace

extern "C" RandomStream CreateRandomStream(uint32_t seed) { return to_handle(new_stream(seed)); }

// Deletes through a local copy: the host's handle is not cleared and must be dropped.
extern "C" int32_t DeleteRandomStream(RandomStream stream)
{
    VSLStreamStatePtr local = to_vsl(stream);
    return vslDeleteStream(&local);
}

// nskip is sign-extended to MKL's 64-bit count. A negative count must come
// back as an error status; MKL 2020 does not reject it (it steps the MT19937
// state backwards for small counts, leaves a stream of zeros for larger ones
// and crashes at -2^31), so the rejection is made here with MKL's own code,
// after MKL's check of the handle: a null handle is MKL's VSL_ERROR_NULL_PTR
// whatever the count.
extern "C" int32_t SkipAheadStream(RandomStream stream, int32_t nskip)
{
    const auto count = static_cast<long long>(nskip);
    if (count < 0 && stream != nullptr) return VSL_ERROR_BADARGS;
    return vslSkipAheadStream(to_vsl(stream), count);
}

extern "C" int32_t GenerateRandomNormal(RandomStream stream, double* r, int32_t n, double mean,
                                        double sigma)
{
    return vdRngGaussian(kNormalMethod, to_vsl(stream), n, r, mean, sigma);
}

extern "C" int32_t GenerateRandomUniform(RandomStream stream, double* r, int32_t n, double a,
                                         double b)
{
    return vdRngUniform(kUniformMethod, to_vsl(stream), n, r, a, b);
}

extern "C" int32_t RandomUniformInteger(RandomStream stream, int32_t* r, int32_t n, int32_t a,
                                        int32_t b)
{
    return viRngUniform(kIntegerMethod, to_vsl(stream), n, r, a, b);
}

extern "C" int32_t RandomNormalVariable(double* r, int32_t n, double mean, double sigma,
                                        uint32_t seed)
{
    VSLStreamStatePtr stream = new_stream(seed);
    vdRngGaussian(kNormalMethod, stream, n, r, mean, sigma);
    vslDeleteStream(&stream);
    return 0;
}

// count blocks of n variates drawn consecutively from one stream into r[k*n .. k*n + n).
extern "C" int32_t RandomNormalVariables(double* r, int32_t n, int32_t count, double mean,
                                         double sigma, uint32_t seed)
{
    VSLStreamStatePtr stream = new_stream(seed);
    for (int32_t k = 0; k < count; ++k) {
        // Deliberate: the block start is the 32-bit product k*n, which wraps for
        // starts beyond 2^31 - 1 elements; unsigned arithmetic keeps the wrap defined.
        const auto start = static_cast<int32_t>(static_cast<uint32_t>(k) * static_cast<uint32_t>(n));
        vdRngGaussian(kNormalMethod, stream, n, r + start, mean, sigma);
    }
    vslDeleteStream(&stream);
    return 0;
}
