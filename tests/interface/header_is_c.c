/* The public header compiles as C99 and links against the library. */
#include <errno.h>
#include <math.h>
#include <stdio.h>

#include "korvane/core_math.h"

int main(void)
{
    MatrixDescriptor d = {0, 1, 1, 1};
    double (*erf_fn)(double) = Erf;
    LbfgsbStepCode code = KCM_LBFGSB_CONVERGED;
    errno = 0;
    double p = NormalCDF(1.959963984540054, 0.0, 1.0, 0);
    if (fabs(p - 0.975) > 1e-15 || errno != 0 || d.ld != 1 || erf_fn(0.0) != 0.0 || code != 3) {
        fprintf(stderr, "unexpected value from C: %.17g errno %d\n", p, errno);
        return 1;
    }
    return 0;
}
