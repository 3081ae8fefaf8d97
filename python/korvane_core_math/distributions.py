"""Continuous and discrete distributions.

Every CDF takes ``upper=False`` (P(X <= x)) or ``upper=True`` (P(X > x),
computed directly as a complement); every ICDF takes the same flag for the
tail its probability refers to.
"""
from ctypes import byref, c_double

from . import _native
from ._checks import int32
from ._scalar import B, D, I, R, S, make, probability_guard
from .errors import raise_thrown

_U = ("upper", B, False)

# ---- normal ------------------------------------------------------------------
normal_pdf = make("normal_pdf", "NormalPDF", [("x", D, R), ("mean", D, 0.0), ("sd", D, 1.0)],
                  "Density of the normal distribution.")
normal_cdf = make("normal_cdf", "NormalCDF", [("x", D, R), ("mean", D, 0.0), ("sd", D, 1.0), _U],
                  "P(X <= x), or P(X > x) with upper=True.")
normal_icdf = make("normal_icdf", "NormalICDF", [("p", D, R), ("mean", D, 0.0), ("sd", D, 1.0), _U],
                   "Quantile of the lower (or, with upper=True, upper) tail probability p.")

# ---- Student t, chi-squared, F --------------------------------------------
student_t_pdf = make("student_t_pdf", "StudentTPDF", [("x", D, R), ("df", D, R)],
                     "Density of Student's t.")
student_t_cdf = make("student_t_cdf", "StudentTCDF", [("x", D, R), ("df", D, R), _U],
                     "P(T <= x), or P(T > x) with upper=True.")
student_t_icdf = make("student_t_icdf", "StudentTICDF", [("p", D, R), ("df", D, R), _U],
                      "Quantile of Student's t.")
chi_squared_pdf = make("chi_squared_pdf", "ChiSquaredPDF", [("x", D, R), ("df", D, R)],
                       "Density of the chi-squared distribution.")
chi_squared_cdf = make("chi_squared_cdf", "ChiSquaredCDF", [("x", D, R), ("df", D, R), _U],
                       "P(X <= x) or P(X > x); x = inf is refused (NaN, EDOM).")
chi_squared_icdf = make("chi_squared_icdf", "ChiSquaredICDF", [("p", D, R), ("df", D, R), _U], "Quantile of the chi-squared distribution.")
fisher_f_pdf = make("fisher_f_pdf", "FisherFPDF", [("x", D, R), ("df1", D, R), ("df2", D, R)],
                    "Density of the F distribution.")
fisher_f_cdf = make("fisher_f_cdf", "FisherFCDF", [("x", D, R), ("df1", D, R), ("df2", D, R), _U], "P(F <= x) or P(F > x).")
fisher_f_icdf = make("fisher_f_icdf", "FisherFICDF", [("p", D, R), ("df1", D, R), ("df2", D, R), _U], "Quantile of the F distribution.")

# ---- gamma and beta distributions -------------------------------------------
gamma_pdf = make("gamma_pdf", "GammaPDF", [("x", D, R), ("shape", D, R), ("scale", D, 1.0)],
                 "Density of the gamma distribution (0 at x = 0 for every shape).")
gamma_cdf = make("gamma_cdf", "GammaCDF", [("x", D, R), ("shape", D, R), ("scale", D, 1.0), _U], "P(X <= x) or P(X > x).")
gamma_icdf = make("gamma_icdf", "GammaICDF", [("p", D, R), ("shape", D, R), ("scale", D, 1.0), _U],
                  "Quantile of the gamma distribution.")
beta_pdf = make("beta_pdf", "BetaPDF", [("x", D, R), ("a", D, R), ("b", D, R)],
                "Density of the beta distribution.")
beta_cdf = make("beta_cdf", "BetaCDF", [("x", D, R), ("a", D, R), ("b", D, R), _U],
                "P(X <= x) or P(X > x).")
beta_icdf = make("beta_icdf", "BetaICDF", [("p", D, R), ("a", D, R), ("b", D, R), _U],
                 "Quantile of the beta distribution.")

# ---- noncentral t -------------------------------------------------------------
noncentral_t_pdf = make("noncentral_t_pdf", "NoncentralTPDF", [("x", D, R), ("df", D, R), ("delta", D, R)],
                        "Density of the noncentral t distribution.")
noncentral_t_cdf = make("noncentral_t_cdf", "NoncentralTCDF", [("x", D, R), ("df", D, R), ("delta", D, R), _U], "P(T <= x) or P(T > x).")
noncentral_t_icdf = make("noncentral_t_icdf", "NoncentralTICDF", [("p", D, R), ("df", D, R), ("delta", D, R), _U],
                         "Quantile of the noncentral t distribution.")

# ---- binomial, Poisson, hypergeometric (raise on invalid arguments) ----------
binomial_pdf = make("binomial_pdf", "BinomialPDF", [("k", D, R), ("n", D, R), ("prob", D, R)],
                    "P(X = k) for n trials with success fraction prob (raises DomainError).")
binomial_cdf = make("binomial_cdf", "BinomialCDF", [("k", D, R), ("n", D, R), ("prob", D, R), _U], "P(X <= k) or P(X > k).")
binomial_icdf = make("binomial_icdf", "BinomialICDF", [("p", D, R), ("n", D, R), ("prob", D, R), _U, ("round_up", S, True)],
                     "Quantile as a whole count, rounded up (default) or down.")
_binomial_ps = make("binomial_ps", "BinomialPS", [("alpha", D, R), ("k", D, R), ("n", D, R), ("which", S, R)], "")


def binomial_ps(alpha, k, n, which):
    """Clopper-Pearson bound on the success fraction after k successes in n trials.

    which: 'lower' (or 0) for the lower bound, 'upper' (or 1) for the upper
    bound; any other integer returns -1.0 as the export does. A two-sided
    interval of level 1 - a uses alpha = a/2 for each bound.
    Wraps the export ``BinomialPS``.
    """
    which = {"lower": 0, "upper": 1}.get(which, which)
    return _binomial_ps(alpha, k, n, which)


binomial_ps.export = "BinomialPS"

poisson_pdf = make("poisson_pdf", "PoissonPDF", [("k", D, R), ("mean", D, R)],
                   "P(X = k) (raises DomainError for a mean that is not positive and finite).")
poisson_cdf = make("poisson_cdf", "PoissonCDF", [("k", D, R), ("mean", D, R), _U],
                   "P(X <= k) or P(X > k).")
poisson_icdf = make("poisson_icdf", "PoissonICDF", [("p", D, R), ("mean", D, R), _U, ("round_up", S, True)],
                    "Quantile as a whole count, rounded up (default) or down.")
hypergeometric_pdf = make("hypergeometric_pdf", "HypergeometricPDF", [("x", D, R), ("r", D, R), ("n", D, R), ("N", D, R)],
                          "P(X = x): x defectives in a sample of n from N items of which r defective.")
hypergeometric_cdf = make("hypergeometric_cdf", "HypergeometricCDF", [("x", D, R), ("r", D, R), ("n", D, R), ("N", D, R), _U],
                          "P(X <= x) or P(X > x).")
hypergeometric_icdf = make("hypergeometric_icdf", "HypergeometricICDF", [("p", D, R), ("r", D, R), ("n", D, R), ("N", D, R), _U],
                           "Quantile (rounded up) of the hypergeometric distribution.")

# ---- Fisher's noncentral hypergeometric ---------------------------------------
fnc_hypergeometric_cdf = make(
    "fnc_hypergeometric_cdf", "FNCHypergeometricCDF", [("x", I, R), ("n", I, R), ("m", I, R), ("N", I, R), ("odds", D, R), _U,
     ("accuracy", D, 1e-8)],
    "P(X <= x) or P(X > x): x marked items in a sample of n from an urn of N with m marked,\n"
    "each marked item favoured by the odds ratio. No argument checks.")
fnc_hypergeometric_icdf = make(
    "fnc_hypergeometric_icdf", "FNCHypergeometricICDF", [("p", D, R), ("n", I, R), ("m", I, R), ("N", I, R), ("odds", D, R), _U,
     ("accuracy", D, 1e-8)],
    "The smallest x whose cumulative probability reaches p (of the chosen tail).\n"
    "A p that is NaN or outside [0, 1] gives NaN with a domain report (the export, which\n"
    "checks nothing, would return a count).",
    guard=probability_guard("p"))


def fnc_hypergeometric_moments(n, m, N, odds):
    """(mean, variance) of Fisher's noncentral hypergeometric distribution.

    Wraps the export ``FNCHypergeometricMoments``.
    """
    status = _native.CallStatus()
    mean, var = c_double(float("nan")), c_double(float("nan"))
    _native.call("FNCHypergeometricMoments", status, int32(n, "n"), int32(m, "m"), int32(N, "N"),
                 float(odds),
                 byref(mean), byref(var))
    if status.thrown:
        raise_thrown(status, "FNCHypergeometricMoments")
    return mean.value, var.value


fnc_hypergeometric_moments.export = "FNCHypergeometricMoments"

__all__ = [n for n in dir() if not n.startswith("_") and n not in
           ("B", "D", "I", "R", "S", "int32", "make", "probability_guard", "byref", "c_double",
            "raise_thrown")]
