/*
 * Korvane.Core.Math: the numerical core of the Korvane statistics application.
 *
 * 91 plain C functions: special functions, distributions, multiple-comparison
 * statistics, the Kolmogorov distribution, dense linear algebra, random
 * streams and a stepwise L-BFGS-B minimiser.
 *
 * The tail flag of the distribution functions is one byte: 0 asks for the
 * lower tail P(X <= x), any other value for the upper tail P(X > x), computed
 * as a direct complement unless a family says otherwise. errno is never
 * cleared: set it to 0 before a call you want to test.
 *
 * Each declaration ends with how it reports a failure:
 *   errno            an invalid argument: NaN and errno = EDOM (33); a result
 *                    beyond the largest double: +inf and errno = ERANGE (34)
 *   errno/loose      as errno, but some NaN and infinite results come without errno
 *   errno/inf        as errno, but an infinite quantile may come without ERANGE
 *   errno+overflow   as errno, and std::overflow_error from an internal ratio
 *   throws           a C++ exception leaves the function (std::domain_error,
 *                    std::overflow_error, boost::math::evaluation_error);
 *                    errno is left as it was. Nothing here catches.
 *   throws+rounding  as throws, and boost::math::rounding_error for a count
 *                    beyond the integer range
 *   none             nothing is reported (no argument checks)
 *   none+throws      no errno; boost::math::evaluation_error when the root
 *                    cannot be bracketed
 *   none+throws+alloc  no errno; the numerical library's exceptions and
 *                    std::bad_alloc
 *   info             LAPACK's INFO, returned unchanged
 *   status           the Vector Statistics status, returned unchanged
 *   steps            the step code of the minimiser
 * (src/exports.table lists the same, and the tests hold the two together.)
 */
#ifndef KORVANE_CORE_MATH_H
#define KORVANE_CORE_MATH_H

#include <stdint.h>

#if defined(KCM_BUILDING_LIBRARY)
#define KCM_API __attribute__((visibility("default")))
#else
#define KCM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Column-major matrix: element (i, j) at data[offset + j*ld + i]. Exports say
   whether they honour offset; square orders come from cols. */
typedef struct MatrixDescriptor {
    int32_t offset;
    int32_t ld;
    int32_t rows;
    int32_t cols;
} MatrixDescriptor;

/* Opaque handles owned by the host between their create and delete calls:
   the host keeps the pointer and never reads or writes what it points to. */
typedef struct KcmRandomStreamState* RandomStream;
typedef struct LbfgsbState LbfgsbState;

/* ---- Error function and normal distribution ---- */
KCM_API double Erf(double x);  /* errno */
KCM_API double ErfC(double x);  /* errno */
KCM_API double InverseErf(double p);  /* errno */
KCM_API double InverseErfC(double q);  /* errno */
KCM_API double NormalPDF(double x, double mean, double sd);  /* errno */
/* The upper tail decides an infinite x before checking mean and sd. */
KCM_API double NormalCDF(double x, double mean, double sd, unsigned char upper);  /* errno */
KCM_API double NormalICDF(double p, double mean, double sd, unsigned char upper);  /* errno */

/* ---- Gamma function family ---- */
/* NaN with errno untouched for x < 0 or x > 171; +inf at 0. */
KCM_API double Gamma(double x);  /* errno/loose */
/* std::domain_error at the poles, std::overflow_error beyond the double range. */
KCM_API double GammaLn(double x);  /* throws */
KCM_API double GammaRegularized(double a, double x);  /* throws */
KCM_API double GammaRegularizedC(double a, double x);  /* throws */
KCM_API double IncompleteGammaLower(double a, double x);  /* errno */
KCM_API double IncompleteGammaUpper(double a, double x);  /* errno */
KCM_API double InverseGammaRegularized(double a, double p);  /* errno */
KCM_API double InverseGammaRegularizedC(double a, double q);  /* errno */
KCM_API double GammaDerivative(double a, double x);  /* throws */
/* std::domain_error for x < -1, std::overflow_error at -1. */
KCM_API double LogXplus1(double x);  /* throws */

/* ---- Beta function family ---- */
KCM_API double Beta(double a, double b);  /* throws */
KCM_API double BetaRegularized(double a, double b, double x);  /* throws */
KCM_API double BetaRegularizedC(double a, double b, double x);  /* throws */
KCM_API double BetaDerivative(double a, double b, double x);  /* errno */
KCM_API double InverseBetaRegularized(double a, double b, double p);  /* errno */
/* Stores the root in *x_out and its complement 1 - x in *y_out (may be null). */
KCM_API double InverseBetaRegularized2(double a, double b, double p, double* x_out,
                                       double* y_out);  /* errno */
KCM_API double InverseBetaRegularizedC(double a, double b, double q);  /* errno */
KCM_API double InverseBetaRegularizedC2(double a, double b, double q, double* x_out,
                                        double* y_out);  /* errno */

/* ---- Student t, chi-squared and F distributions ---- */
KCM_API double StudentTPDF(double x, double df);  /* errno */
KCM_API double StudentTCDF(double x, double df, unsigned char upper);  /* errno */
KCM_API double StudentTICDF(double p, double df, unsigned char upper);  /* errno */
KCM_API double ChiSquaredPDF(double x, double df);  /* errno */
KCM_API double ChiSquaredCDF(double x, double df, unsigned char upper);  /* errno */
KCM_API double ChiSquaredICDF(double p, double df, unsigned char upper);  /* errno */
KCM_API double FisherFPDF(double x, double df1, double df2);  /* errno */
KCM_API double FisherFCDF(double x, double df1, double df2, unsigned char upper);  /* errno */
KCM_API double FisherFICDF(double p, double df1, double df2, unsigned char upper);  /* errno/inf */

/* ---- Gamma and beta distributions ---- */
KCM_API double GammaPDF(double x, double shape, double scale);  /* errno */
KCM_API double GammaCDF(double x, double shape, double scale, unsigned char upper);  /* errno */
KCM_API double GammaICDF(double p, double shape, double scale, unsigned char upper);  /* errno */
KCM_API double BetaPDF(double x, double a, double b);  /* errno */
KCM_API double BetaCDF(double x, double a, double b, unsigned char upper);  /* errno */
KCM_API double BetaICDF(double p, double a, double b, unsigned char upper);  /* errno */

/* ---- Noncentral t distribution ---- */
KCM_API double NoncentralTPDF(double x, double df, double delta);  /* errno+overflow */
KCM_API double NoncentralTCDF(double x, double df, double delta, unsigned char upper);  /* errno */
KCM_API double NoncentralTICDF(double p, double df, double delta, unsigned char upper);  /* errno+overflow */

/* ---- Binomial distribution ---- */
KCM_API double BinomialPDF(double k, double n, double prob);  /* throws+rounding */
KCM_API double BinomialCDF(double k, double n, double prob, unsigned char upper);  /* throws+rounding */
/* round_up = 0 rounds the discrete quantile down, anything else up. */
KCM_API double BinomialICDF(double p, double n, double prob, unsigned char upper,
                            int32_t round_up);  /* throws+rounding */
/* Clopper-Pearson bound: which = 0 lower, 1 upper, anything else -1.0. */
KCM_API double BinomialPS(double alpha, double k, double n, int32_t which);  /* throws+rounding */

/* ---- Poisson distribution ---- */
KCM_API double PoissonPDF(double k, double mean);  /* throws+rounding */
KCM_API double PoissonCDF(double k, double mean, unsigned char upper);  /* throws+rounding */
KCM_API double PoissonICDF(double p, double mean, unsigned char upper, int32_t round_up);  /* throws+rounding */

/* ---- Hypergeometric distribution ---- */
KCM_API double HypergeometricPDF(double x, double r, double n, double N);  /* throws+rounding */
KCM_API double HypergeometricCDF(double x, double r, double n, double N, unsigned char upper);  /* throws+rounding */
KCM_API double HypergeometricICDF(double p, double r, double n, double N, unsigned char upper);  /* throws+rounding */

/* ---- Fisher's noncentral hypergeometric distribution ---- */
/* No argument checks. */
KCM_API double FNCHypergeometricCDF(int32_t x, int32_t n, int32_t m, int32_t N, double odds,
                                    unsigned char upper, double accuracy);  /* none */
KCM_API double FNCHypergeometricICDF(double p, int32_t n, int32_t m, int32_t N, double odds,
                                     unsigned char upper, double accuracy);  /* none */
KCM_API void FNCHypergeometricMoments(int32_t n, int32_t m, int32_t N, double odds,
                                      double* mean, double* variance);  /* none */

/* ---- Kolmogorov distribution ---- */
/* The tail flag is a whole int32_t. */
KCM_API double KolmogorovCDF(double x, double n, int32_t upper);  /* none */
KCM_API double KolmogorovICDF(double p, double n, int32_t upper);  /* none+throws */

/* ---- Sorting utilities ---- */
/* Sorts with a deliberately partial order; see the documentation. */
KCM_API void SortDoubleArray(double* values, int32_t n);  /* none */
KCM_API void ExtractSorted(int32_t* counts, double* out, const double* values, int32_t n);  /* none */

/* ---- Multiple comparisons ---- */
/* The upper tail is 1 - CDF; lambda holds k correlation parameters. */
KCM_API double MCaCDF(double q, int32_t k, double df, const double* lambda,
                      unsigned char upper);  /* none+throws+alloc */
KCM_API double MCaICDF(double p, int32_t k, double df, const double* lambda,
                       unsigned char upper);  /* none+throws+alloc */
KCM_API double MCbCDF(double q, int32_t k, double df, const double* lambda,
                      unsigned char upper);  /* none+throws+alloc */
KCM_API double MCbICDF(double p, int32_t k, double df, const double* lambda,
                       unsigned char upper);  /* none+throws+alloc */
KCM_API double MCcCDF(double q, int32_t k, double df, const double* lambda,
                      unsigned char upper);  /* none+throws+alloc */
KCM_API double MCcICDF(double p, int32_t k, double df, const double* lambda,
                       unsigned char upper);  /* none+throws+alloc */

/* ---- Stepwise L-BFGS-B minimiser ---- */
/* The codes LBFGSBStep returns; the return type stays int32_t. */
typedef enum LbfgsbStepCode {
    KCM_LBFGSB_OTHER = 0,
    KCM_LBFGSB_EVALUATE = 1,
    KCM_LBFGSB_NEW_ITERATE = 2,
    KCM_LBFGSB_CONVERGED = 3,
    KCM_LBFGSB_ABNORMAL = 4,
    KCM_LBFGSB_ERROR = 5
} LbfgsbStepCode;
KCM_API LbfgsbState* LBFGSBStart(int32_t n, int32_t m, const double* l, const double* u,
                                 const int32_t* nbd, double factr, double pgtol);  /* none */
/* Returns 1 evaluate f and g, 2 new iterate, 3 converged, 4 abnormal, 5 error, 0 other. */
KCM_API int32_t LBFGSBStep(LbfgsbState* state, double* x, double* f, double* g);  /* steps */
KCM_API void LBFGSBEnd(LbfgsbState* state);  /* none */

/* ---- Linear algebra: Cholesky and triangular solves ---- */
/* A nonzero upper returns -1 and leaves a untouched: only the lower factor is supported. */
KCM_API int32_t Cholesky(int32_t upper, double* a, const MatrixDescriptor* da);  /* info */
KCM_API int32_t CholeskySolve(int32_t upper, double* a, const MatrixDescriptor* da, double* b,
                              const MatrixDescriptor* db);  /* info */
KCM_API int32_t SolveTriangularSystem(double* a, const MatrixDescriptor* da, int32_t upper,
                                      int32_t transpose, double* b, const MatrixDescriptor* db);  /* info */
KCM_API void DisableMKLThreading(void);  /* none */

/* ---- Linear algebra: QR decompositions ---- */
/* These honour the descriptors' offset. */
KCM_API int32_t QR(double* a, const MatrixDescriptor* da, double* tau);  /* info */
KCM_API int32_t QRP(double* a, const MatrixDescriptor* da, double* tau, int32_t* jpvt);  /* info */
KCM_API int32_t QR_Q(double* a, const MatrixDescriptor* da, double* tau);  /* info */
KCM_API int32_t QR_Qy(double* a, const MatrixDescriptor* da, int32_t transpose, double* tau,
                      double* c, const MatrixDescriptor* dc);  /* info */

/* ---- Linear algebra: least squares and linear predictor ---- */
KCM_API int32_t LS(double* a, const MatrixDescriptor* da, double* b,
                   const MatrixDescriptor* db);  /* info */
/* Returns 0, the one-based index of the first collinear column, or -argument. */
KCM_API int32_t OLS(double* a, const MatrixDescriptor* da, double* b,
                    const MatrixDescriptor* db, double* c, const MatrixDescriptor* dc,
                    double* tau, double tol);  /* info */
/* Residual sum of squares of y against x*beta; ignores offset. */
KCM_API double Xb(const double* x, const MatrixDescriptor* dx, const double* beta,
                  const double* y);  /* none */

/* ---- Linear algebra: eigen-decomposition and SVD ---- */
/* These ignore the descriptors' offset. */
KCM_API int32_t EigenSymmetric(double* a, const MatrixDescriptor* da, double* w, int32_t* m,
                               double* z, const MatrixDescriptor* dz);  /* info */
KCM_API int32_t FullSVD(double* a, const MatrixDescriptor* da, double* s, double* u,
                        const MatrixDescriptor* du, double* vt, const MatrixDescriptor* dvt);  /* info */
KCM_API int32_t ThinSVD(double* a, const MatrixDescriptor* da, double* s, double* u,
                        const MatrixDescriptor* du, double* vt, const MatrixDescriptor* dvt);  /* info */

/* ---- Random streams ---- */
/* MT19937 streams of the Vector Statistics library. */
KCM_API RandomStream CreateRandomStream(uint32_t seed);  /* none */
KCM_API int32_t DeleteRandomStream(RandomStream stream);  /* status */
KCM_API int32_t SkipAheadStream(RandomStream stream, int32_t nskip);  /* status */
KCM_API int32_t GenerateRandomNormal(RandomStream stream, double* r, int32_t n, double mean,
                                     double sigma);  /* status */
/* Doubles in [a, b). */
KCM_API int32_t GenerateRandomUniform(RandomStream stream, double* r, int32_t n, double a,
                                      double b);  /* status */
/* Integers with a <= x < b. */
KCM_API int32_t RandomUniformInteger(RandomStream stream, int32_t* r, int32_t n, int32_t a,
                                     int32_t b);  /* status */
/* One-shot streams: always return 0. */
KCM_API int32_t RandomNormalVariable(double* r, int32_t n, double mean, double sigma,
                                     uint32_t seed);  /* status */
KCM_API int32_t RandomNormalVariables(double* r, int32_t n, int32_t count, double mean,
                                      double sigma, uint32_t seed);  /* status */

#ifdef __cplusplus
}
#endif

#endif /* KORVANE_CORE_MATH_H */
