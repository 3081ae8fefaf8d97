"""Continuous and discrete distributions.

Every CDF takes ``upper=False`` (P(X <= x)) or ``upper=True`` (P(X > x),
computed directly as a complement); every ICDF takes the same flag for the
tail its probability refers to.
"""
from ctypes import byref, c_double

from . import _native
from ._checks import int32
from ._doc import numpydoc
from ._scalar import B, D, I, R, S, make, probability_guard
from .errors import raise_thrown

_U = ("upper", B, False)

# ---- normal ------------------------------------------------------------------
_NORMAL = [("loc", D, 0.0), ("scale", D, 1.0)]
normal_pdf = make("normal_pdf", "NormalPDF", [("x", D, R)] + _NORMAL,
                  "Density of the normal distribution with mean loc and standard deviation scale.",
                  example=("1.0", "0.24197072451914337"), returns="The density at x.")
normal_cdf = make("normal_cdf", "NormalCDF", [("x", D, R)] + _NORMAL + [_U],
                  "Distribution function of the normal distribution, in either tail.",
                  example=("1.96", "0.9750021048517795"),
                  notes="An infinite x is decided by the tail before loc and scale are checked.")
normal_icdf = make("normal_icdf", "NormalICDF", [("p", D, R)] + _NORMAL + [_U],
                   "Quantile of the normal distribution for a lower or upper tail probability.",
                   example=("0.025, upper=True", "1.9599639845400545"))

# ---- Student t, chi-squared, F --------------------------------------------
student_t_pdf = make("student_t_pdf", "StudentTPDF", [("x", D, R), ("df", D, R)],
                     "Density of Student's t distribution.", example=("0.5, 10", "0.3396951363520777"),
                     returns="The density at x.")
student_t_cdf = make("student_t_cdf", "StudentTCDF", [("x", D, R), ("df", D, R), _U],
                     "Distribution function of Student's t, in either tail.",
                     example=("2.0, 10, upper=True", "0.03669401738537019"))
student_t_icdf = make("student_t_icdf", "StudentTICDF", [("p", D, R), ("df", D, R), _U],
                      "Quantile of Student's t for a lower or upper tail probability.",
                      example=("0.025, 10, upper=True", "2.228138851986275"))
chi_squared_pdf = make("chi_squared_pdf", "ChiSquaredPDF", [("x", D, R, ">= 0"), ("df", D, R)],
                       "Density of the chi-squared distribution.", example=("2.0, 3", "0.20755374871029736"),
                       returns="The density at x.")
chi_squared_cdf = make("chi_squared_cdf", "ChiSquaredCDF", [("x", D, R, ">= 0, finite"), ("df", D, R), _U],
                       "Distribution function of the chi-squared distribution, in either tail.",
                       example=("7.8, 3, upper=True", "0.05033109785985335"),
                       notes="x = inf is refused (NaN with a DomainWarning) in both tails.")
chi_squared_icdf = make("chi_squared_icdf", "ChiSquaredICDF", [("p", D, R), ("df", D, R), _U],
                        "Quantile of the chi-squared distribution.",
                        example=("0.05, 3, upper=True", "7.81472790325118"))
fisher_f_pdf = make("fisher_f_pdf", "FisherFPDF", [("x", D, R, ">= 0"), ("df1", D, R), ("df2", D, R)],
                    "Density of the F distribution.", example=("1.5, 3, 20", "0.255173417811944"),
                    returns="The density at x.")
fisher_f_cdf = make("fisher_f_cdf", "FisherFCDF", [("x", D, R, ">= 0"), ("df1", D, R), ("df2", D, R), _U],
                    "Distribution function of the F distribution, in either tail.",
                    example=("3.1, 3, 20, upper=True", "0.04992453304567878"))
fisher_f_icdf = make("fisher_f_icdf", "FisherFICDF", [("p", D, R), ("df1", D, R), ("df2", D, R), _U],
                     "Quantile of the F distribution.", example=("0.05, 3, 20, upper=True", "3.09839121214078"))

# ---- gamma and beta distributions -------------------------------------------
_GAMMA = [("shape", D, R), ("scale", D, 1.0)]
gamma_pdf = make("gamma_pdf", "GammaPDF", [("x", D, R, ">= 0")] + _GAMMA,
                 "Density of the gamma distribution (0 at x = 0 for every shape).",
                 example=("2.0, 2.5, 1.5", "0.2035266746686657"), returns="The density at x.")
gamma_cdf = make("gamma_cdf", "GammaCDF", [("x", D, R, ">= 0")] + _GAMMA + [_U],
                 "Distribution function of the gamma distribution, in either tail.",
                 example=("2.0, 2.5, 1.5", "0.2487882896338786"))
gamma_icdf = make("gamma_icdf", "GammaICDF", [("p", D, R)] + _GAMMA + [_U],
                  "Quantile of the gamma distribution.", example=("0.5, 2.5, 1.5", "3.2635951433216457"))
beta_pdf = make("beta_pdf", "BetaPDF", [("x", D, R, "[0, 1]"), ("a", D, R), ("b", D, R)],
                "Density of the beta distribution.", example=("0.3, 2, 5", "2.1609000000000003"),
                returns="The density at x.")
beta_cdf = make("beta_cdf", "BetaCDF", [("x", D, R, "[0, 1]"), ("a", D, R), ("b", D, R), _U],
                "Distribution function of the beta distribution, in either tail.",
                example=("0.3, 2, 5", "0.5798249999999999"))
beta_icdf = make("beta_icdf", "BetaICDF", [("p", D, R), ("a", D, R), ("b", D, R), _U],
                 "Quantile of the beta distribution.", example=("0.5, 2, 5", "0.26444998329565994"))

# ---- noncentral t -------------------------------------------------------------
noncentral_t_pdf = make("noncentral_t_pdf", "NoncentralTPDF", [("x", D, R), ("df", D, R), ("delta", D, R)],
                        "Density of the noncentral t distribution.", example=("1.0, 10, 1.5", "0.34107493192608385"),
                        returns="The density at x.")
noncentral_t_cdf = make("noncentral_t_cdf", "NoncentralTCDF", [("x", D, R), ("df", D, R), ("delta", D, R), _U],
                        "Distribution function of the noncentral t distribution, in either tail.",
                        example=("1.0, 10, 1.5", "0.3041093289228765"))
noncentral_t_icdf = make("noncentral_t_icdf", "NoncentralTICDF", [("p", D, R), ("df", D, R), ("delta", D, R), _U],
                         "Quantile of the noncentral t distribution.",
                         example=("0.5, 10, 1.5", "1.5393384473884733"))

# ---- binomial, Poisson, hypergeometric (raise on invalid arguments) ----------
_ROUND = ("round_up", S, True)
binomial_pdf = make("binomial_pdf", "BinomialPDF", [("k", D, R, "whole number in [0, n]"), ("n", D, R), ("prob", D, R)],
                    "P(X = k) for the number X of successes in n trials with success probability prob.",
                    example=("3, 10, 0.25", "0.25028228759765625"), returns="P(X = k).")
binomial_cdf = make("binomial_cdf", "BinomialCDF", [("k", D, R, "whole number in [0, n]"), ("n", D, R), ("prob", D, R), _U],
                    "Distribution function of the binomial distribution, P(X <= k) or P(X > k).",
                    example=("3, 10, 0.25", "0.7758750915527344"))
binomial_icdf = make("binomial_icdf", "BinomialICDF", [("p", D, R), ("n", D, R), ("prob", D, R), _U, _ROUND],
                     "Quantile of the binomial distribution as a whole count, rounded up (default) or down.",
                     example=("0.5, 10, 0.25", "2.0"))
_binomial_ps = make("binomial_ps", "BinomialPS", [("alpha", D, R), ("k", D, R), ("n", D, R), ("which", S, R)], "")


def binomial_ps(alpha, k, n, which):
    which = {"lower": 0, "upper": 1}.get(which, which)
    return _binomial_ps(alpha, k, n, which)


binomial_ps.__doc__ = numpydoc(
    "binomial_ps", "Clopper-Pearson (exact) bound on the success probability after k "
    "successes in n trials.",
    [("alpha", D, R), ("k", D, R, "whole number in [0, n]"), ("n", D, R),
     ("which", "str or int", R, "'lower' (0) or 'upper' (1)",
      "Which bound; any other integer returns -1.0 as the export does.")],
    "BinomialPS", returns="The bound.", example=("0.025, 7, 30, 'upper'", "0.4228365229782195"),
    notes="A two-sided interval of level 1 - a uses alpha = a/2 for each bound.")


binomial_ps.export = "BinomialPS"

poisson_pdf = make("poisson_pdf", "PoissonPDF", [("k", D, R, "whole number >= 0"), ("mean", D, R)],
                   "P(X = k) for the Poisson distribution with the given mean.",
                   example=("2, 3.5", "0.18495897346170082"), returns="P(X = k).")
poisson_cdf = make("poisson_cdf", "PoissonCDF", [("k", D, R, "whole number >= 0"), ("mean", D, R), _U],
                   "Distribution function of the Poisson distribution, P(X <= k) or P(X > k).",
                   example=("2, 3.5", "0.3208471988621341"))
poisson_icdf = make("poisson_icdf", "PoissonICDF", [("p", D, R), ("mean", D, R), _U, _ROUND],
                    "Quantile of the Poisson distribution as a whole count, rounded up (default) or down.",
                    example=("0.5, 3.5", "3.0"))

# SciPy's hypergeom(M, n, N): M items of which n are marked (defective), N
# drawn. The export takes (x, r, n, N) with r the defectives, n the sample
# and N the items: export (x, r, n, N) = (k, n, N, M) here.
_HYPER = [("M", D, R), ("n", D, R, "whole number, <= M", "Number of marked (defective) items among the M."),
          ("N", D, R)]
_HYPER_ORDER = (0, 2, 3, 1)
_HYPER_NOTE = ("Arguments in SciPy's order (k, M, n, N): M items, n of them marked, N drawn. "
               "The C export takes (x, r, n, N) = (k, n, N, M).")
hypergeometric_pdf = make("hypergeometric_pdf", "HypergeometricPDF", [("k", D, R, "whole number")] + _HYPER,
                          "P(X = k) for the number X of marked items among N drawn without "
                          "replacement from M items of which n are marked.",
                          order=_HYPER_ORDER, example=("4, 50, 15, 12", "0.26463333303599584"), returns="P(X = k).",
                          notes=_HYPER_NOTE)
hypergeometric_cdf = make("hypergeometric_cdf", "HypergeometricCDF", [("k", D, R, "whole number")] + _HYPER + [_U],
                          "Distribution function of the hypergeometric distribution, P(X <= k) or P(X > k).",
                          order=_HYPER_ORDER + (4,), example=("4, 50, 15, 12", "0.7464722069534844"), notes=_HYPER_NOTE)
hypergeometric_icdf = make("hypergeometric_icdf", "HypergeometricICDF", [("p", D, R)] + _HYPER + [_U],
                           "Quantile (rounded up) of the hypergeometric distribution.",
                           order=_HYPER_ORDER + (4,), example=("0.5, 50, 15, 12", "4.0"),
                           notes=_HYPER_NOTE)

# ---- Fisher's noncentral hypergeometric ---------------------------------------
_FNC = [("n", I, R, "whole number, 0 <= n <= N", "Number of items drawn (the sample)."),
        ("m", I, R), ("N", I, R, "whole number >= 1", "Number of items in the urn."),
        ("odds", D, R)]
_ACC = ("accuracy", D, 1e-8)
fnc_hypergeometric_cdf = make(
    "fnc_hypergeometric_cdf", "FNCHypergeometricCDF", [("x", I, R, "whole number")] + _FNC + [_U, _ACC],
    "Distribution function of Fisher's noncentral hypergeometric distribution, in either tail.",
    example=("3, 10, 8, 30, 2.0", "0.45366873619088427"),
    notes="x marked items in a sample of n from an urn of N with m marked, each marked item "
          "favoured by the odds ratio. The export checks no argument.")
fnc_hypergeometric_icdf = make(
    "fnc_hypergeometric_icdf", "FNCHypergeometricICDF", [("p", D, R)] + _FNC + [_U, _ACC],
    "Quantile of Fisher's noncentral hypergeometric distribution: the smallest x whose "
    "probability of the chosen tail reaches p.",
    example=("0.5, 10, 8, 30, 2.0", "4.0"),
    notes="A p that is NaN or outside [0, 1] gives NaN with a domain report (the export, "
          "which checks nothing, would return a count).",
    guard=probability_guard("p"))


def fnc_hypergeometric_moments(n, m, N, odds):
    status = _native.CallStatus()
    mean, var = c_double(float("nan")), c_double(float("nan"))
    _native.call("FNCHypergeometricMoments", status, int32(n, "n"), int32(m, "m"), int32(N, "N"),
                 float(odds),
                 byref(mean), byref(var))
    if status.thrown:
        raise_thrown(status, "FNCHypergeometricMoments")
    return mean.value, var.value


fnc_hypergeometric_moments.export = "FNCHypergeometricMoments"
fnc_hypergeometric_moments.__doc__ = numpydoc(
    "fnc_hypergeometric_moments", "Mean and variance of Fisher's noncentral hypergeometric "
    "distribution.", [(p[0], "int", R) + p[3:] for p in _FNC[:3]] + [("odds", "float", R)],
    "FNCHypergeometricMoments", returns=("mean, variance : float", "The two moments."),
    example=("10, 8, 30, 2.0", "(3.6390874664548, 1.4332408013219535)"))

__all__ = [n for n in dir() if not n.startswith("_") and n not in
           ("B", "D", "I", "R", "S", "int32", "make", "probability_guard", "byref", "c_double",
            "raise_thrown", "numpydoc")]
