// The catching call behind every function of the non-throwing layer
// (libKorvaneCoreMathNoThrow): for hosts that cannot let a C++ exception
// cross into them (C programs, .NET on Linux, where it ends the process,
// Python's ctypes). The call clears errno, calls the export inside a try
// block, and records in the caller's KcmStatus the errno it left and the
// type and message of anything it threw; the result is written only when the
// export returned. The array loops (loop below) do the same per element and
// count what each element left.
#pragma once

#include <cerrno>
#include <cmath>
#include <limits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <typeinfo>

#include <cxxabi.h>

#include "korvane/core_math_nothrow.h"

namespace kcm::nothrow {

inline void copy_text(char* dst, std::size_t size, const char* src)
{
    std::strncpy(dst, src, size - 1);
    dst[size - 1] = '\0';
}

// The exception's type by name: the library's type information is not
// exported, so Boost's exception classes cannot be matched by type across
// shared objects. Boost throws through boost::throw_exception, which wraps E
// in boost::wrapexcept<E> (derived from E): E is reported. kcm names the
// exceptions it reports the same way.
inline std::string exception_type(const std::exception& e)
{
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status), std::free);
    std::string type = status == 0 ? name.get() : typeid(e).name();
    const std::string wrapper = "boost::wrapexcept<";
    if (type.compare(0, wrapper.size(), wrapper) == 0 && type.back() == '>')
        type = type.substr(wrapper.size(), type.size() - wrapper.size() - 1);
    return type;
}

template <class Status>
void record(Status* st, const std::exception& e)
{
    copy_text(st->type, sizeof st->type, exception_type(e).c_str());
    copy_text(st->message, sizeof st->message, e.what());
}

// Calls body() with errno cleared; 0 when it returned, 1 when it threw.
template <class Body>
int32_t guarded(KcmStatus* st, Body&& body)
{
    st->thrown = 0;
    st->type[0] = st->message[0] = '\0';
    errno = 0;
    try {
        body();
        st->errno_value = errno;
        return 0;
    } catch (const std::exception& e) {
        st->errno_value = errno;
        record(st, e);
    } catch (...) {
        st->errno_value = errno;
        copy_text(st->type, sizeof st->type, "unknown");
        copy_text(st->message, sizeof st->message, "a non-standard exception left the library");
    }
    st->thrown = 1;
    return 1;
}

template <class R, class... P, class... A>
int32_t call(KcmStatus* st, R* result, R (*fn)(P...), A... args)
{
    return guarded(st, [&] {
        const R r = fn(args...);
        *result = r;
    });
}

template <class... P, class... A>
int32_t call(KcmStatus* st, void (*fn)(P...), A... args)
{
    return guarded(st, [&] { fn(args...); });
}

// The array loop behind kcmnv_NAME: element(i) is the export called on the
// i-th arguments. An element that throws gets NaN and is counted (the first
// exception's type and message kept); the loop goes on with the next one.
// errno is restored afterwards, so the caller's is as the loop found it.
template <class Element>
int64_t loop(KcmArrayStatus* st, int64_t count, double* out, Element element)
{
    st->edom = st->erange = st->underflow = st->thrown = 0;
    st->first_thrown = -1;
    st->type[0] = st->message[0] = '\0';
    if (count < 0) return -1;
    const int saved = errno;
    for (int64_t i = 0; i < count; ++i) {
        errno = 0;
        double r = std::numeric_limits<double>::quiet_NaN();
        try {
            r = element(i);
        } catch (const std::exception& e) {
            if (st->thrown++ == 0) {
                st->first_thrown = i;
                record(st, e);
            }
            out[i] = std::numeric_limits<double>::quiet_NaN();
            continue;
        } catch (...) {
            if (st->thrown++ == 0) {
                st->first_thrown = i;
                copy_text(st->type, sizeof st->type, "unknown");
                copy_text(st->message, sizeof st->message,
                          "a non-standard exception left the library");
            }
            out[i] = std::numeric_limits<double>::quiet_NaN();
            continue;
        }
        const int e = errno;
        if (e == EDOM) ++st->edom;
        else if (e == ERANGE) ++(std::isinf(r) ? st->erange : st->underflow);
        out[i] = r;
    }
    errno = saved;
    return st->thrown;
}

}  // namespace kcm::nothrow
