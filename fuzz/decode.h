// Turns libFuzzer's bytes into argument vectors for the exports, and checks
// each outcome against the library's error contract. Shared by the fuzz
// targets in this folder; fuzz/make_corpus.py writes seeds in this format.
//
// Format: a stream of tagged fields; a field cut short by the end of the input
// reads as zeros.
//   real:     tag < 48: one of kSpecial[tag];
//             tag < 160: int16 s, value s / 64 (a fine grid on +-512);
//             tag < 224: int16 s, value s * 2^(tag - 192) (wide range);
//             otherwise: 8 raw bytes, any bit pattern.
//   integer:  tag < 128: tag - 64 - i.e. -64 ... 63 (bounded forms clamp);
//             tag < 240: int16 s;
//             otherwise: one of kSpecialInt.
//   byte:     one byte (selectors, tail flags).
#ifndef KCM_FUZZ_DECODE_H
#define KCM_FUZZ_DECODE_H

#include <boost/math/policies/error_handling.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

namespace kcmfuzz {

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

inline const double kSpecial[48] = {
    0.0, -0.0, 1.0, -1.0, 0.5, 2.0, kNaN, kInf, -kInf, 1e-300, 1e300,
    std::numeric_limits<double>::max(), std::numeric_limits<double>::min(),
    std::numeric_limits<double>::denorm_min(), 171.0, 171.5, 1000.0, 1e-8, 0.05, 0.95,
    1.0 - 1e-16, 3.0, 10.0, 30.0, 100.0, -0.5, 1e6, 2147483648.0, -2147483649.0, 1e15,
    0.999, 1e-3, 1e-16, 1e-100, 1e100, 1e10, -1e10, 0.25, 0.75, 1e-5, 1.5, 5.0,
    0x1.fffffffffffffp-1, 0x1p-1072, 170.0, 4.0, 141.0, 1e-20};
inline constexpr int32_t kSpecialInt[16] = {
    INT32_MIN, INT32_MAX, -1, 0, 1, 2, INT32_MIN + 1, INT32_MAX - 1,
    1 << 30, -(1 << 30), 46341, -46341, 65536, 1024, 1023, 200};

class Decoder {
public:
    Decoder(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}

    bool empty() const { return p_ >= end_; }

    uint8_t byte() { return p_ < end_ ? *p_++ : 0; }

    double real() {
        const uint8_t tag = byte();
        double v;
        if (tag < 48) {
            v = kSpecial[tag];
        } else if (tag < 160) {
            v = int16() / 64.0;
        } else if (tag < 224) {
            v = std::ldexp(static_cast<double>(int16()), tag - 192);
        } else {
            uint64_t bits = 0;
            for (int i = 0; i < 8; ++i) bits |= static_cast<uint64_t>(byte()) << (8 * i);
            std::memcpy(&v, &bits, sizeof v);
        }
        record(v);
        return v;
    }

    // A real confined to [lo, hi] (NaN and the infinities map into it too).
    double real_in(double lo, double hi) {
        double v = real();
        if (!std::isfinite(v)) v = lo;
        return std::fmin(std::fmax(v, lo), hi);
    }

    int32_t integer() {
        const uint8_t tag = byte();
        int32_t v;
        if (tag < 128) v = static_cast<int32_t>(tag) - 64;
        else if (tag < 240) v = int16();
        else v = kSpecialInt[tag - 240];
        record(v);
        return v;
    }

    int32_t integer_in(int32_t lo, int32_t hi) {
        const int32_t v = integer();
        return v < lo ? lo : (v > hi ? hi : v);
    }

    // Every value decoded since new_call(), for the report of a failure.
    const std::string& trail() const { return trail_; }
    void new_call() { trail_.clear(); }

private:
    int16_t int16() {
        const uint16_t lo = byte(), hi = byte();
        return static_cast<int16_t>(lo | (hi << 8));
    }
    void record(double v) {
        char buf[40];
        std::snprintf(buf, sizeof buf, "%s%.17g", trail_.empty() ? "" : ", ", v);
        trail_ += buf;
    }

    const uint8_t* p_;
    const uint8_t* end_;
    std::string trail_;
};

[[noreturn]] inline void Fail(const char* name, const Decoder& d, const char* what) {
    std::fprintf(stderr, "\n*** %s(%s): %s\n", name, d.trail().c_str(), what);
    std::fflush(stderr);
    std::abort();
}

// The exception types an export may let out.
enum Allow : unsigned {
    kNoThrow = 0,
    kDomain = 1,      // std::domain_error
    kOverflow = 2,    // std::overflow_error
    kEvaluation = 4,  // boost::math::evaluation_error
    kRounding = 8,    // boost::math::rounding_error
    kBadAlloc = 16,   // std::bad_alloc itself (not bad_array_new_length)
    kBoostThrows = kDomain | kOverflow | kEvaluation,
};

// Runs call(), which performs one export call, and aborts on an exception the
// export may not throw. Returns true when the call returned normally.
template <class Call>
bool Guard(const char* name, const Decoder& d, unsigned allow, Call&& call) {
    try {
        call();
        return true;
    } catch (const boost::math::evaluation_error& e) {
        if (!(allow & kEvaluation)) Fail(name, d, ("boost::math::evaluation_error: " + std::string(e.what())).c_str());
    } catch (const boost::math::rounding_error& e) {
        if (!(allow & kRounding)) Fail(name, d, ("boost::math::rounding_error: " + std::string(e.what())).c_str());
    } catch (const std::domain_error& e) {
        if (!(allow & kDomain)) Fail(name, d, ("std::domain_error: " + std::string(e.what())).c_str());
    } catch (const std::overflow_error& e) {
        if (!(allow & kOverflow)) Fail(name, d, ("std::overflow_error: " + std::string(e.what())).c_str());
    } catch (const std::bad_array_new_length&) {
        Fail(name, d, "std::bad_array_new_length");
    } catch (const std::bad_alloc&) {
        if (!(allow & kBadAlloc)) Fail(name, d, "std::bad_alloc");
    } catch (const std::exception& e) {
        std::string what = std::string("undocumented exception ") + typeid(e).name() + ": " + e.what();
        Fail(name, d, what.c_str());
    } catch (...) {
        Fail(name, d, "undocumented exception of a non-standard type");
    }
    return false;
}

// How a scalar export reports through errno.
enum class Errno {
    // NaN with errno 33 (unless an argument was NaN), +-inf with errno 34 or
    // 33, errno 34 only with an infinite or zero result, no other errno.
    kPolicy,
    // As kPolicy, but an infinity may also come without errno (a division
    // by an exact zero that the export does not flag).
    kPolicyInf,
    // As kPolicy, but NaN and infinities may also come without errno.
    kLoose,
    // Errors are exceptions: errno is never set, and NaN comes only from a NaN
    // argument.
    kThrowing,
    // No errno convention: the export reports nothing through errno itself,
    // but the C library's log, sqrt, exp it is specified to call may leave
    // EDOM or ERANGE; NaN is a possible answer.
    kUntouched,
};

inline void CheckScalar(const char* name, const Decoder& d, Errno rule, bool nan_argument,
                        double r, int err) {
    char what[128];
    if (rule == Errno::kUntouched || rule == Errno::kThrowing) {
        if (rule == Errno::kThrowing && std::isnan(r) && !nan_argument)
            Fail(name, d, "NaN instead of an exception");
        // These exports report nothing through errno themselves; an ERANGE
        // that the C library's exp or pow leaves on an underflow inside them
        // passes through, as it would from any caller's own arithmetic (and
        // for kUntouched, an EDOM of the C library's log or sqrt).
        if (err != 0 && err != ERANGE && !(rule == Errno::kUntouched && err == EDOM)) {
            std::snprintf(what, sizeof what, "errno %d from an export that sets no errno (result %.17g)",
                          err, r);
            Fail(name, d, what);
        }
        return;
    }
    if (err != 0 && err != EDOM && err != ERANGE) {
        std::snprintf(what, sizeof what, "errno %d (result %.17g)", err, r);
        Fail(name, d, what);
    }
    if (rule == Errno::kLoose) return;
    if (std::isnan(r) && !nan_argument && err != EDOM) {
        std::snprintf(what, sizeof what, "NaN with errno %d", err);
        Fail(name, d, what);
    }
    if (std::isinf(r) && err != EDOM && err != ERANGE && rule != Errno::kPolicyInf) {
        std::snprintf(what, sizeof what, "%g with errno %d", r, err);
        Fail(name, d, what);
    }
    if (err == ERANGE && std::isfinite(r) && r != 0.0) {
        std::snprintf(what, sizeof what, "errno 34 with the finite result %.17g", r);
        Fail(name, d, what);
    }
}

// A caller array of exactly n elements that ends against an inaccessible
// page: a read or write past its end faults at once, also inside the
// uninstrumented LAPACK and Vector Statistics code that ASan cannot see.
template <class T>
class Fenced {
public:
    explicit Fenced(int64_t n) : n_(n > 0 ? n : 0) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t bytes = static_cast<size_t>(n_) * sizeof(T);
        const size_t data_pages = (bytes + page - 1) / page;
        length_ = (data_pages + 1) * page;
        void* base = mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (base == MAP_FAILED) std::abort();
        base_ = static_cast<char*>(base);
        mprotect(base_ + data_pages * page, page, PROT_NONE);
        data_ = reinterpret_cast<T*>(base_ + data_pages * page - bytes);
    }
    ~Fenced() { munmap(base_, length_); }
    Fenced(const Fenced&) = delete;
    Fenced& operator=(const Fenced&) = delete;

    T* get() { return data_; }
    T& operator[](int64_t i) { return data_[i]; }
    int64_t size() const { return n_; }

private:
    int64_t n_;
    size_t length_;
    char* base_;
    T* data_;
};

}  // namespace kcmfuzz

#endif
