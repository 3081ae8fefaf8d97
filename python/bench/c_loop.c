/* The baseline of array_bench.py: a plain C loop over one export, on the
 * same arguments as the binding's array call. Prints the median time of the
 * runs (seconds) and the sum of the results, which the script compares with
 * the binding's.
 *
 *     c_loop EXPORT N RUNS
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <korvane/core_math.h>

static double now(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

static int by_value(const void* a, const void* b)
{
    const double x = *(const double*)a, y = *(const double*)b;
    return (x > y) - (x < y);
}

int main(int argc, char** argv)
{
    if (argc != 4) {
        fprintf(stderr, "usage: c_loop EXPORT N RUNS\n");
        return 2;
    }
    const char* name = argv[1];
    const long n = atol(argv[2]);
    const int runs = atoi(argv[3]);
    double* in = malloc(sizeof(double) * (size_t)n);
    double* out = malloc(sizeof(double) * (size_t)n);
    double* times = malloc(sizeof(double) * (size_t)runs);
    if (!in || !out || !times || n < 2 || runs < 1) return 2;
    /* The arguments, formed as array_bench.py forms them. */
    for (long i = 0; i < n; ++i) {
        if (strcmp(name, "NormalCDF") == 0) in[i] = -6.0 + (double)(12 * i) / (double)(n - 1);
        else if (strcmp(name, "BinomialCDF") == 0) in[i] = (double)(i % 101);
        else in[i] = ((double)i + 0.5) / (double)n;
    }
    for (int r = 0; r < runs; ++r) {
        const double start = now();
        if (strcmp(name, "NormalCDF") == 0)
            for (long i = 0; i < n; ++i) out[i] = NormalCDF(in[i], 0.0, 1.0, 0);
        else if (strcmp(name, "StudentTICDF") == 0)
            for (long i = 0; i < n; ++i) out[i] = StudentTICDF(in[i], 10.0, 0);
        else if (strcmp(name, "BetaCDF") == 0)
            for (long i = 0; i < n; ++i) out[i] = BetaCDF(in[i], 2.5, 3.5, 0);
        else if (strcmp(name, "BinomialCDF") == 0)
            for (long i = 0; i < n; ++i) out[i] = BinomialCDF(in[i], 100.0, 0.37, 0);
        else {
            fprintf(stderr, "c_loop: no loop for %s\n", name);
            return 2;
        }
        times[r] = now() - start;
    }
    qsort(times, (size_t)runs, sizeof(double), by_value);
    double sum = 0;
    for (long i = 0; i < n; ++i) sum += out[i];
    printf("%.9g %.17g\n", times[runs / 2], sum);
    free(in);
    free(out);
    free(times);
    return 0;
}
