// The array utilities, the random streams and the L-BFGS-B records with
// decoded sizes (negative ones included) and caller arrays of exactly the
// size the call may use, fenced at their end.
#include "decode.h"

#include <korvane/core_math.h>

#include <algorithm>
#include <cfloat>

using namespace kcmfuzz;

namespace {

constexpr int32_t kMaxLength = 64;

int64_t Pos(int32_t v) { return v > 0 ? v : 0; }

template <class F>
void Call(const char* name, const Decoder& d, F&& f) {
    errno = 0;
    Guard(name, d, kNoThrow, f);
}

void Sorting(Decoder& d) {
    const int32_t n = d.integer_in(0, kMaxLength);  // a negative n is not guarded (see SortDoubleArray)
    Fenced<double> values(n);
    for (int32_t i = 0; i < n; ++i) values[i] = d.real();
    if (d.byte() & 1) {
        Call("SortDoubleArray", d, [&] { SortDoubleArray(values.get(), n); });
        return;
    }
    const int32_t count = d.integer_in(-3, kMaxLength);
    Fenced<int32_t> counts(count);
    int64_t total = 0;
    for (int32_t i = 0; i < count; ++i) {
        counts[i] = d.integer_in(-2, 5);
        total += std::max(counts[i], 0);
    }
    Fenced<double> from(count), out(total);
    for (int32_t i = 0; i < count; ++i) from[i] = d.real();
    Call("ExtractSorted", d, [&] { ExtractSorted(counts.get(), out.get(), from.get(), count); });
    for (int32_t i = 0; i < count; ++i)
        if (counts[i] > 0) Fail("ExtractSorted", d, "a positive count was not consumed");
}

void Streams(Decoder& d) {
    const uint32_t seed = static_cast<uint32_t>(d.integer());
    RandomStream s = nullptr;
    Call("CreateRandomStream", d, [&] { s = CreateRandomStream(seed); });
    if (!s) Fail("CreateRandomStream", d, "no stream");
    for (int calls = 0; calls < 4 && !d.empty(); ++calls) {
        const uint8_t which = d.byte() % 6;
        const int32_t n = d.integer_in(-3, kMaxLength);
        int32_t status = 0;
        if (which == 0) {
            Fenced<double> r(n);
            const double mean = d.real(), sigma = d.real();
            Call("GenerateRandomNormal", d, [&] { status = GenerateRandomNormal(s, r.get(), n, mean, sigma); });
        } else if (which == 1) {
            Fenced<double> r(n);
            const double a = d.real(), b = d.real();
            Call("GenerateRandomUniform", d, [&] { status = GenerateRandomUniform(s, r.get(), n, a, b); });
            // Vector Statistics forms a + (b - a) u, which may round onto b or a
            // few units beyond the ends when b - a is tiny beside a; a
            // subnormal width it does not honour at all. Outside those, every
            // value lies in [a, b).
            const double width = b - a;
            const double slack = 4 * std::fmax(std::fabs(a), std::fabs(b)) * DBL_EPSILON;
            if (status == 0 && std::isfinite(width) && width >= DBL_MIN)
                for (int32_t i = 0; i < n; ++i)
                    if (!(r[i] >= a - slack && r[i] <= b + slack)) {
                        char what[80];
                        std::snprintf(what, sizeof what, "the value %.17g outside [a, b)", r[i]);
                        Fail("GenerateRandomUniform", d, what);
                    }
        } else if (which == 2) {
            Fenced<int32_t> r(n);
            const int32_t a = d.integer(), b = d.integer();
            Call("RandomUniformInteger", d, [&] { status = RandomUniformInteger(s, r.get(), n, a, b); });
            if (status == 0)
                for (int32_t i = 0; i < n; ++i)
                    if (!(r[i] >= a && r[i] < b)) Fail("RandomUniformInteger", d, "a value outside [a, b)");
        } else if (which == 3) {
            const int32_t skip = d.integer();
            Call("SkipAheadStream", d, [&] { status = SkipAheadStream(s, skip); });
        } else if (which == 4) {
            Fenced<double> r(n);
            const double mean = d.real(), sigma = d.real();
            Call("RandomNormalVariable", d, [&] { status = RandomNormalVariable(r.get(), n, mean, sigma, seed); });
            if (status != 0) Fail("RandomNormalVariable", d, "nonzero status");
        } else {
            const int32_t count = d.integer_in(-3, 8);
            Fenced<double> r(Pos(n) * Pos(count));
            const double mean = d.real(), sigma = d.real();
            Call("RandomNormalVariables", d,
                 [&] { status = RandomNormalVariables(r.get(), n, count, mean, sigma, seed); });
            if (status != 0) Fail("RandomNormalVariables", d, "nonzero status");
        }
        if (status > 0) Fail("random stream", d, "a positive status");
    }
    int32_t status = 0;
    Call("DeleteRandomStream", d, [&] { status = DeleteRandomStream(s); });
    if (status != 0) Fail("DeleteRandomStream", d, "nonzero status");
}

void Optimiser(Decoder& d) {
    const int32_t n = d.integer_in(-3, 8), m = d.integer_in(-3, 8);
    Fenced<double> l(n), u(n);
    Fenced<int32_t> nbd(n);
    for (int32_t i = 0; i < n; ++i) {
        l[i] = d.real();
        u[i] = d.real();
        nbd[i] = d.integer_in(-1, 4);
    }
    const double factr = d.real(), pgtol = d.real();
    LbfgsbState* state = nullptr;
    Call("LBFGSBStart", d, [&] { state = LBFGSBStart(n, m, l.get(), u.get(), nbd.get(), factr, pgtol); });
    if (!state) Fail("LBFGSBStart", d, "no record");
    Fenced<double> x(n), g(n);
    for (int32_t i = 0; i < n; ++i) x[i] = d.real();
    // A quadratic bowl, or decoded values for f and g when the input says so.
    const bool decoded = d.byte() & 1;
    double f = 0;
    const int steps = d.byte() % 40;
    for (int step = 0; step < steps; ++step) {
        int32_t code = -1;
        Call("LBFGSBStep", d, [&] { code = LBFGSBStep(state, x.get(), &f, g.get()); });
        if (code < 0 || code > 5) Fail("LBFGSBStep", d, "a step code outside 0 ... 5");
        if (code != 1 && code != 2) break;
        if (code == 1) {
            f = 0;
            for (int32_t i = 0; i < n; ++i) {
                f += (x[i] - 1) * (x[i] - 1);
                g[i] = 2 * (x[i] - 1);
            }
            if (decoded) {
                f = d.real();
                for (int32_t i = 0; i < n; ++i) g[i] = d.real();
            }
        }
    }
    Call("LBFGSBEnd", d, [&] { LBFGSBEnd(state); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Decoder d(data, size);
    switch (d.byte() % 3) {
    case 0: Sorting(d); break;
    case 1: Streams(d); break;
    default: Optimiser(d); break;
    }
    return 0;
}
