// Test fixture for the shim: functions with export-like signatures that throw
// what the library throws, or set errno, so that the exception path of the
// Python binding is exercised whatever exports a build has.
#include <cerrno>
#include <stdexcept>

#include <boost/math/policies/error_handling.hpp>

#define FIXTURE extern "C" __attribute__((visibility("default")))

FIXTURE double fixture_throw(double kind)
{
    using namespace boost::math::policies;
    switch (static_cast<int>(kind)) {
    case 0: throw std::domain_error("Error in function f(double): domain");
    case 1: throw std::overflow_error("Error in function f(double): Overflow Error");
    case 2: throw boost::math::evaluation_error("Error in function f(double): no convergence");
    case 3: throw boost::math::rounding_error("Error in function f(double): rounding");
    case 4: throw std::bad_alloc();
    case 5: throw 42;
    default: errno = static_cast<int>(kind) - 100; return kind;
    }
}
