// A C++ host: the header's extern "C" block, a descriptor type and the errno report.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <vector>

#include <korvane/core_math.h>

int main()
{
    const std::vector<double> xs{-2.0, -1.0, 0.0, 1.0, 2.0};
    bool ok = true;
    for (double x : xs) {
        // P(X <= x) + P(X > x) = 1, each tail computed on its own.
        const double sum = NormalCDF(x, 0.0, 1.0, 0) + NormalCDF(x, 0.0, 1.0, 1);
        ok = ok && std::fabs(sum - 1.0) < 4e-16;
        const double back = NormalICDF(NormalCDF(x, 0.0, 1.0, 0), 0.0, 1.0, 0);
        ok = ok && std::fabs(back - x) < 1e-14;
        std::printf("x = %+.1f  lower + upper = %.17g  ICDF(CDF(x)) = %+.17g\n", x, sum, back);
    }
    errno = 0;
    const double r = InverseErfC(2.0);
    std::printf("InverseErfC(2) = %g, errno %d\n", r, errno);
    ok = ok && std::isinf(r) && r < 0 && errno == ERANGE;

    const MatrixDescriptor d{0, 3, 3, 2};  // the descriptor type is usable from C++
    ok = ok && d.ld == 3 && sizeof(MatrixDescriptor) == 16;
    std::printf("%s\n", ok ? "consumer_cxx: ok" : "consumer_cxx: WRONG");
    return ok ? 0 : 1;
}
