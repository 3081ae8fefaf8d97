// The catching call behind every function of the non-throwing layer
// (libKorvaneCoreMathNoThrow): for hosts that cannot let a C++ exception
// cross into them (C programs, .NET on Linux, where it ends the process,
// Python's ctypes). The call clears errno, calls the export inside a try
// block, and records in the caller's KcmStatus the errno it left and the
// type and message of anything it threw; the result is written only when the
// export returned.
#pragma once

#include <cerrno>
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
// in boost::wrapexcept<E> (derived from E): E is reported.
inline void record(KcmStatus* st, const std::exception& e)
{
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status), std::free);
    std::string type = status == 0 ? name.get() : typeid(e).name();
    const std::string wrapper = "boost::wrapexcept<";
    if (type.compare(0, wrapper.size(), wrapper) == 0 && type.back() == '>')
        type = type.substr(wrapper.size(), type.size() - wrapper.size() - 1);
    copy_text(st->type, sizeof st->type, type.c_str());
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

}  // namespace kcm::nothrow
