// The exception shim of the Python binding.
//
// Several exports let a C++ exception out (the throwing error policy, the
// discrete distributions, the multiple-comparison statistics, the Kolmogorov
// inverse). An exception must not unwind through a ctypes frame, so Python
// calls those exports through the trampolines below: each takes the export's
// address and its arguments, clears errno, makes the call inside a try block,
// and reports the errno the call left and the type and message of anything
// it threw. One trampoline per argument signature; the shim does not link
// against the library, so it loads whatever subset of exports a build has.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <typeinfo>

#include <cxxabi.h>

namespace {

// What a call left behind; read by Python as a ctypes Structure.
struct CallStatus {
    int32_t errno_value;
    int32_t thrown;         // 1 when an exception was caught
    char type[128];         // demangled type name, e.g. "std::domain_error"
    char message[1024];     // what()
};

void copy_text(char* dst, std::size_t size, const char* src)
{
    std::strncpy(dst, src, size - 1);
    dst[size - 1] = '\0';
}

void record(CallStatus* st, const std::exception& e)
{
    // Compared by name: the library's own type information is not exported,
    // so Boost's exception classes cannot be matched by type across objects.
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status), std::free);
    std::string type = status == 0 ? name.get() : typeid(e).name();
    // Boost throws through boost::throw_exception, which wraps the exception
    // in boost::wrapexcept<E> (derived from E): report E.
    const std::string wrapper = "boost::wrapexcept<";
    if (type.compare(0, wrapper.size(), wrapper) == 0 && type.back() == '>')
        type = type.substr(wrapper.size(), type.size() - wrapper.size() - 1);
    copy_text(st->type, sizeof st->type, type.c_str());
    copy_text(st->message, sizeof st->message, e.what());
    st->thrown = 1;
}

template <class R, class... A>
R guarded(CallStatus* st, R (*fn)(A...), A... args)
{
    st->thrown = 0;
    st->type[0] = st->message[0] = '\0';
    errno = 0;
    try {
        if constexpr (std::is_void_v<R>) {
            fn(args...);
            st->errno_value = errno;
        } else {
            R r = fn(args...);
            st->errno_value = errno;
            return r;
        }
    } catch (const std::exception& e) {
        st->errno_value = errno;
        record(st, e);
    } catch (...) {
        st->errno_value = errno;
        copy_text(st->type, sizeof st->type, "unknown");
        copy_text(st->message, sizeof st->message, "a non-standard exception left the library");
        st->thrown = 1;
    }
    if constexpr (!std::is_void_v<R>) return R{};
}

using u8 = unsigned char;
using i32 = int32_t;
using dp = double*;
using cdp = const double*;

}  // namespace

#define KCM_SHIM_EXPORT extern "C" __attribute__((visibility("default")))

// Trampolines are named kcmpy_<result>_<arguments>: d double, b one-byte flag,
// i int32, p pointer, v void.

KCM_SHIM_EXPORT double kcmpy_d_d(double (*f)(double), CallStatus* st, double a)
{ return guarded(st, f, a); }
KCM_SHIM_EXPORT double kcmpy_d_dd(double (*f)(double, double), CallStatus* st, double a, double b)
{ return guarded(st, f, a, b); }
KCM_SHIM_EXPORT double kcmpy_d_ddd(double (*f)(double, double, double), CallStatus* st,
                                   double a, double b, double c)
{ return guarded(st, f, a, b, c); }
KCM_SHIM_EXPORT double kcmpy_d_dddd(double (*f)(double, double, double, double), CallStatus* st,
                                    double a, double b, double c, double d)
{ return guarded(st, f, a, b, c, d); }
KCM_SHIM_EXPORT double kcmpy_d_ddb(double (*f)(double, double, u8), CallStatus* st,
                                   double a, double b, u8 t)
{ return guarded(st, f, a, b, t); }
KCM_SHIM_EXPORT double kcmpy_d_dddb(double (*f)(double, double, double, u8), CallStatus* st,
                                    double a, double b, double c, u8 t)
{ return guarded(st, f, a, b, c, t); }
KCM_SHIM_EXPORT double kcmpy_d_ddddb(double (*f)(double, double, double, double, u8),
                                     CallStatus* st, double a, double b, double c, double d, u8 t)
{ return guarded(st, f, a, b, c, d, t); }
KCM_SHIM_EXPORT double kcmpy_d_ddbi(double (*f)(double, double, u8, i32), CallStatus* st,
                                    double a, double b, u8 t, i32 r)
{ return guarded(st, f, a, b, t, r); }
KCM_SHIM_EXPORT double kcmpy_d_dddbi(double (*f)(double, double, double, u8, i32),
                                     CallStatus* st, double a, double b, double c, u8 t, i32 r)
{ return guarded(st, f, a, b, c, t, r); }
KCM_SHIM_EXPORT double kcmpy_d_dddi(double (*f)(double, double, double, i32), CallStatus* st,
                                    double a, double b, double c, i32 w)
{ return guarded(st, f, a, b, c, w); }
KCM_SHIM_EXPORT double kcmpy_d_ddi(double (*f)(double, double, i32), CallStatus* st,
                                   double a, double b, i32 t)
{ return guarded(st, f, a, b, t); }
KCM_SHIM_EXPORT double kcmpy_d_dddpp(double (*f)(double, double, double, dp, dp), CallStatus* st,
                                     double a, double b, double c, dp x, dp y)
{ return guarded(st, f, a, b, c, x, y); }
KCM_SHIM_EXPORT double kcmpy_d_iiiidbd(double (*f)(i32, i32, i32, i32, double, u8, double),
                                       CallStatus* st, i32 x, i32 n, i32 m, i32 N, double w,
                                       u8 t, double acc)
{ return guarded(st, f, x, n, m, N, w, t, acc); }
KCM_SHIM_EXPORT double kcmpy_d_diiidbd(double (*f)(double, i32, i32, i32, double, u8, double),
                                       CallStatus* st, double p, i32 n, i32 m, i32 N, double w,
                                       u8 t, double acc)
{ return guarded(st, f, p, n, m, N, w, t, acc); }
KCM_SHIM_EXPORT void kcmpy_v_iiidpp(void (*f)(i32, i32, i32, double, dp, dp), CallStatus* st,
                                    i32 n, i32 m, i32 N, double w, dp mean, dp var)
{ guarded(st, f, n, m, N, w, mean, var); }
KCM_SHIM_EXPORT double kcmpy_d_didpb(double (*f)(double, i32, double, cdp, u8), CallStatus* st,
                                     double q, i32 k, double df, cdp lambda, u8 t)
{ return guarded(st, f, q, k, df, lambda, t); }
