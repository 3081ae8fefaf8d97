/* A C host that loads the library the way managed runtimes, Julia and plugin
 * hosts do: dlopen(RTLD_LAZY | RTLD_LOCAL), every export found with dlsym,
 * nothing of the library in the process's global symbol scope. It calls one
 * export of every family and checks each answer against an independent value
 * (SciPy, R, or arithmetic done by hand).
 *
 *   dlopen_host LIBRARY
 *
 * Built with -fopenmp and linked against the system's reference LAPACK, the
 * same program plays a crowded host (KCM_CROWDED_HOST): before loading the
 * library it runs a GNU OpenMP parallel region that calls that other LAPACK,
 * and afterwards it asks the library for factorisations big enough for MKL to
 * start its own threads. Reference LAPACK's error handler ends the process, so
 * a library call that strayed into it would never print the closing line. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <korvane/core_math.h>

#ifdef KCM_CROWDED_HOST
#include <omp.h>
void dpotrf_(const char* uplo, const int* n, double* a, const int* lda, int* info);
#endif

static void* lib;
static int checks, failures;

static void* bind(const char* name)
{
    void* fn = dlsym(lib, name);
    if (!fn) {
        fprintf(stderr, "dlsym(%s): %s\n", name, dlerror());
        exit(2);
    }
    return fn;
}

/* K(name): the export `name` of the loaded library, typed from the header. */
#define K(name) ((__typeof__(&name))bind(#name))

static void check(const char* what, double got, double want, double rel)
{
    const int ok = fabs(got - want) <= rel * fabs(want);
    ++checks;
    failures += !ok;
    printf("%-44s %-24.17g %s\n", what, got, ok ? "ok" : "WRONG");
}

static void check_int(const char* what, long got, long want)
{
    ++checks;
    failures += got != want;
    printf("%-44s %-24ld %s\n", what, got, got == want ? "ok" : "WRONG");
}

static void scalar_families(void)
{
    check("NormalCDF(1.96, 0, 1, upper)", K(NormalCDF)(1.96, 0, 1, 1), 0.024997895148220435, 1e-15);
    check("GammaLn(10.5)", K(GammaLn)(10.5), 13.940625219403763, 1e-15);
    check("BetaRegularized(2, 3, 0.4)", K(BetaRegularized)(2, 3, 0.4), 0.5248, 1e-15);
    /* R 4.2: qt(0.025, 10, lower.tail = FALSE) (SciPy 1.10's t.isf is 1e-11 off here). */
    check("StudentTICDF(0.025, 10, upper)", K(StudentTICDF)(0.025, 10, 1), 2.2281388519862744, 1e-15);
    check("BinomialCDF(3, 10, 0.5, lower)", K(BinomialCDF)(3, 10, 0.5, 0), 0.171875, 1e-15);
    /* Odds 1: the central hypergeometric, P(X <= 1) = (C(3,0)C(7,4) + C(3,1)C(7,3)) / C(10,4). */
    check("FNCHypergeometricCDF(1, 4, 3, 10, odds 1)",
          K(FNCHypergeometricCDF)(1, 4, 3, 10, 1.0, 0, 1e-12), 140.0 / 210.0, 1e-12);
    check("KolmogorovCDF(0.7, 1, lower)", K(KolmogorovCDF)(0.7, 1, 0), 0.4, 1e-14);
    /* The library's order is deliberately partial: {1, 2, 3} ends rotated left. */
    double values[3] = {1, 2, 3};
    K(SortDoubleArray)(values, 3);
    check_int("SortDoubleArray {1, 2, 3} -> {2, 3, 1}",
              values[0] == 2 && values[1] == 3 && values[2] == 1, 1);
    /* R: qtukey(0.95, 4, 20) / sqrt(2); the quantile is good to 24 bits. */
    const double lambda[4] = {0.7071067811865476, 0.7071067811865476, 0.7071067811865476,
                              0.7071067811865476};
    check("MCaICDF(0.05, 4, 20, upper)", K(MCaICDF)(0.05, 4, 20, lambda, 1), 2.7989361485179445, 1e-6);

    errno = 0;
    const double bad = K(NormalPDF)(0, 0, -1);
    check_int("NormalPDF(0, 0, -1): NaN and EDOM", isnan(bad) && errno == EDOM, 1);
}

static void optimiser(void)
{
    /* f = (x0 - 1)^2 + 10 (x1 + 2)^2 with x0 in [-5, 5] and x1 unbounded. */
    double l[2] = {-5, 0}, u[2] = {5, 0}, x[2] = {0, 0}, f = 0, g[2];
    int32_t nbd[2] = {2, 0};
    LbfgsbState* s = K(LBFGSBStart)(2, 5, l, u, nbd, 1e7, 1e-10);
    int32_t code = 1, steps = 0;
    while ((code == 1 || code == 2) && steps++ < 200) {
        if (code == 1) {
            f = (x[0] - 1) * (x[0] - 1) + 10 * (x[1] + 2) * (x[1] + 2);
            g[0] = 2 * (x[0] - 1);
            g[1] = 20 * (x[1] + 2);
        }
        code = K(LBFGSBStep)(s, x, &f, g);
    }
    K(LBFGSBEnd)(s);
    check_int("LBFGSBStep: converged (3)", code, 3);
    check("L-BFGS-B minimiser x0", x[0], 1.0, 1e-6);
    check("L-BFGS-B minimiser x1", x[1], -2.0, 1e-6);
}

static void random_streams(void)
{
    RandomStream a = K(CreateRandomStream)(7), b = K(CreateRandomStream)(7);
    double first[8], second[8];
    check_int("GenerateRandomNormal status", K(GenerateRandomNormal)(a, first, 8, 0, 1), 0);
    K(GenerateRandomNormal)(b, second, 8, 0, 1);
    check_int("same seed, same normals", memcmp(first, second, sizeof first) == 0, 1);
    check_int("DeleteRandomStream status", K(DeleteRandomStream)(a) | K(DeleteRandomStream)(b), 0);
}

static void small_linear_algebra(void)
{
    /* [[4, 2], [2, 3]] = L L^T with L = [[2, 0], [1, sqrt 2]]. */
    double a[4] = {4, 2, 2, 3};
    const MatrixDescriptor da = {0, 2, 2, 2};
    check_int("Cholesky INFO", K(Cholesky)(0, a, &da), 0);
    check("Cholesky L(1,1)", a[3], sqrt(2.0), 1e-15);
    /* The upper letter is rejected by the library's own LAPACK: -1, matrix untouched. */
    double b[4] = {4, 2, 2, 3};
    check_int("Cholesky(upper) INFO", K(Cholesky)(1, b, &da), -1);

    /* y = 1 + 2 t at t = 0..3 on the design [1, t]. */
    double x[8] = {1, 1, 1, 1, 0, 1, 2, 3}, y[4] = {1, 3, 5, 7}, c[2], tau[2];
    const MatrixDescriptor dx = {0, 4, 4, 2}, dy = {0, 4, 4, 1}, dc = {0, 2, 2, 1};
    check_int("OLS INFO", K(OLS)(x, &dx, y, &dy, c, &dc, tau, 1e-7), 0);
    check("OLS intercept", c[0], 1.0, 1e-14);
    check("OLS slope", c[1], 2.0, 1e-14);

    /* Singular values of [[3, 0], [4, 5]]: sqrt(45) and sqrt(5). */
    double m[4] = {3, 4, 0, 5}, s[2], uu[4], vt[4];
    const MatrixDescriptor dm = {0, 2, 2, 2};
    check_int("ThinSVD INFO", K(ThinSVD)(m, &dm, s, uu, &dm, vt, &dm), 0);
    check("ThinSVD s1", s[0], sqrt(45.0), 1e-14);
    check("ThinSVD s2", s[1], sqrt(5.0), 1e-14);
}

#ifdef KCM_CROWDED_HOST
/* The host's own work first: a parallel region that factors with the host's
 * LAPACK on every thread. */
static void host_work(void)
{
    int bad = 0;
#pragma omp parallel reduction(+ : bad)
    {
        double a[4] = {4, 2, 2, 3};
        const int n = 2;
        int info = 0;
        dpotrf_("L", &n, a, &n, &info);
        bad += info != 0 || a[1] != 1.0;
    }
    check_int("host: GNU OpenMP region with its own LAPACK", bad, 0);
}

/* An n x n symmetric positive-definite matrix: the diagonally dominant
 * a(i, j) = 1 / (1 + |i - j|) + n [i = j]. */
static double* spd(int n)
{
    double* a = malloc(sizeof(double) * (size_t)n * (size_t)n);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) a[i + j * n] = 1.0 / (1 + abs(i - j)) + (i == j ? n : 0);
    return a;
}

/* Factorisations large enough for MKL's threaded kernels, checked by residuals:
 * ||A - L L^T||_max / (n ||A||_max eps) and ||A x - b|| scaled the same way. */
static void threaded_linear_algebra(void)
{
    const int n = 600;
    double *a = spd(n), *l = spd(n), *b = malloc(sizeof(double) * n);
    const MatrixDescriptor d = {0, n, n, n}, db = {0, n, n, 1};
    check_int("Cholesky 600 x 600 INFO", K(Cholesky)(0, l, &d), 0);
    double worst = 0;
    for (int j = 0; j < n; ++j)
        for (int i = j; i < n; ++i) {
            double sum = 0;
            for (int k = 0; k <= j; ++k) sum += l[i + k * n] * l[j + k * n];
            worst = fmax(worst, fabs(sum - a[i + j * n]));
        }
    const double scale = n * (n + 1.0) * 2.220446049250313e-16;
    check_int("Cholesky scaled residual < 30", worst / scale < 30, 1);

    for (int i = 0; i < n; ++i) b[i] = 1;
    check_int("CholeskySolve INFO", K(CholeskySolve)(0, l, &d, b, &db), 0);
    worst = 0;
    for (int i = 0; i < n; ++i) {
        double sum = 0;
        for (int k = 0; k < n; ++k) sum += a[i + k * n] * b[k];
        worst = fmax(worst, fabs(sum - 1));
    }
    check_int("CholeskySolve scaled residual < 30", worst / scale < 30, 1);

    double* tau = malloc(sizeof(double) * n);
    double* q = spd(n);
    const MatrixDescriptor dq = {0, n, n, n};
    /* n = 600 needs more than the fixed workspace for a blocked QR: INFO names LWORK. */
    const int32_t qr = K(QR)(q, &dq, tau);
    check_int("QR 600 x 600 INFO (0 or the LWORK argument)", qr == 0 || qr == -7, 1);
    double *s = malloc(sizeof(double) * n), *w = spd(n), *u = spd(n), *vt = spd(n);
    check_int("ThinSVD 600 x 600 INFO", K(ThinSVD)(w, &d, s, u, &d, vt, &d), 0);
    /* a = n I + T with T positive definite: every singular value exceeds n. */
    check_int("ThinSVD singular values above n", s[n - 1] > n && s[0] < 3.0 * n, 1);
    free(a); free(l); free(b); free(tau); free(q); free(s); free(w); free(u); free(vt);
}
#endif

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s LIBRARY\n", argv[0]);
        return 2;
    }
#ifdef KCM_CROWDED_HOST
    host_work();
#endif
    lib = dlopen(argv[1], RTLD_LAZY | RTLD_LOCAL);
    if (!lib) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 2;
    }
    scalar_families();
    optimiser();
    random_streams();
    small_linear_algebra();
#ifdef KCM_CROWDED_HOST
    threaded_linear_algebra();
    host_work();  /* and the host's OpenMP and LAPACK still work afterwards */
#endif
    printf("%d passed, %d failed\n", checks - failures, failures);
    return failures != 0;
}
