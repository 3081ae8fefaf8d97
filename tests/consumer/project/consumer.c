/* A C host: a two-sided normal p-value, a critical value and the errno report. */
#include <errno.h>
#include <math.h>
#include <stdio.h>

#include <korvane/core_math.h>

static int check(const char* what, double got, double want, double tol)
{
    const int ok = fabs(got - want) <= tol * fabs(want);
    printf("%-34s %.17g %s\n", what, got, ok ? "ok" : "WRONG");
    return ok;
}

int main(void)
{
    int ok = 1;
    ok &= check("2*NormalCDF(1.96, 0, 1, upper)", 2.0 * NormalCDF(1.96, 0.0, 1.0, 1),
                0.04999579029644087, 1e-14);
    ok &= check("NormalICDF(0.975, 0, 1, lower)", NormalICDF(0.975, 0.0, 1.0, 0),
                1.959963984540054, 1e-14);
    ok &= check("Erf(0.5)", Erf(0.5), 0.5204998778130465, 1e-14);

    errno = 0;
    const double bad = NormalPDF(0.0, 0.0, -1.0);
    printf("NormalPDF(0, 0, -1)                %g errno %d\n", bad, errno);
    ok &= isnan(bad) && errno == EDOM;

    errno = 0;
    const double edge = NormalICDF(0.0, 0.0, 1.0, 0);
    printf("NormalICDF(0, 0, 1, lower)         %g errno %d\n", edge, errno);
    ok &= isinf(edge) && edge < 0 && errno == ERANGE;
    return ok ? 0 : 1;
}
