"""Special functions: error function, gamma and beta families."""
from ctypes import byref, c_double

from . import _native
from ._doc import numpydoc
from ._scalar import B, D, R, make
from .errors import classify, raise_thrown, report_errno

_X = ("x", D, R)
_A = ("a", D, R, "> 0", "Parameter a.")
_B = ("b", D, R, "> 0", "Parameter b.")
_XA = ("x", D, R, ">= 0", "Upper limit of the integral.")
_XB = ("x", D, R, "[0, 1]", "Upper limit of the integral.")
_P = ("p", D, R, "[0, 1]", "Target value of the regularized function.")
_Q = ("q", D, R, "[0, 1]", "Target value of the complement.")

erf = make("erf", "Erf", [_X], "The error function erf(x).", example=("0.5", "0.5204998778130466"))
erfc = make("erfc", "ErfC", [_X], "The complementary error function erfc(x) = 1 - erf(x), "
            "computed directly.", example=("3.0", "2.209049699858544e-05"))
inverse_erf = make("inverse_erf", "InverseErf", [("p", D, R, "[-1, 1]", "Value of erf.")],
                   "The z with erf(z) = p (+-inf with a RangeWarning at p = +-1).",
                   example=("0.5", "0.4769362762044699"))
inverse_erfc = make("inverse_erfc", "InverseErfC", [("q", D, R, "[0, 2]", "Value of erfc.")],
                    "The z with erfc(z) = q (+inf at 0 and -inf at 2, with a RangeWarning).",
                    example=("0.5", "0.4769362762044699"))

gamma = make("gamma", "Gamma", [("x", D, R, "[0, 171]")],
             "The gamma function; NaN without a warning outside [0, 171], +inf at 0.",
             example=("4.5", "11.631728396567448"))
gamma_ln = make("gamma_ln", "GammaLn", [("x", D, R, "not 0 or a negative integer (the poles)")],
                "log|Gamma(x)|.", example=("10.0", "12.801827480081469"))
gamma_regularized = make("gamma_regularized", "GammaRegularized", [_A, _XA],
                         "P(a, x), the regularized lower incomplete gamma function.",
                         example=("2.5, 1.5", "0.3000141641213725"))
gamma_regularized_c = make("gamma_regularized_c", "GammaRegularizedC", [_A, _XA],
                           "Q(a, x) = 1 - P(a, x), computed directly.", example=("2.5, 1.5", "0.6999858358786275"))
incomplete_gamma_lower = make("incomplete_gamma_lower", "IncompleteGammaLower", [_A, _XA],
                              "gamma(a, x), the non-regularized lower incomplete gamma function.",
                              example=("2.5, 1.5", "0.39882094539234464"))
incomplete_gamma_upper = make("incomplete_gamma_upper", "IncompleteGammaUpper", [_A, _XA],
                              "Gamma(a, x), the non-regularized upper incomplete gamma function.",
                              example=("2.5, 1.5", "0.9305194427867924"))
inverse_gamma_regularized = make("inverse_gamma_regularized", "InverseGammaRegularized", [_A, _P],
                                 "The x with P(a, x) = p.", example=("2.5, 0.5", "2.1757300955477636"))
inverse_gamma_regularized_c = make("inverse_gamma_regularized_c", "InverseGammaRegularizedC", [_A, _Q],
                                   "The x with Q(a, x) = q.", example=("2.5, 0.5", "2.1757300955477636"))
gamma_derivative = make("gamma_derivative", "GammaDerivative", [_A, _XA],
                        "dP(a, x)/dx, the density of the standard gamma distribution.",
                        example=("2.5, 1.5", "0.30836065960753856"))
log_xplus1 = make("log_xplus1", "LogXplus1", [("x", D, R, "> -1")],
                  "log(1 + x), accurate for small x; DomainError for x < -1, OverflowError_ at -1.",
                  example=("1e-10", "9.999999999500001e-11"))

beta = make("beta", "Beta", [_A, _B], "The beta function B(a, b).", example=("2.5, 1.5", "0.19634954084936207"))
beta_regularized = make("beta_regularized", "BetaRegularized", [_A, _B, _XB],
                        "I_x(a, b), the regularized incomplete beta function.",
                        example=("2.0, 3.0, 0.4", "0.5248"))
beta_regularized_c = make("beta_regularized_c", "BetaRegularizedC", [_A, _B, _XB],
                          "1 - I_x(a, b), computed directly.", example=("2.0, 3.0, 0.4", "0.47519999999999996"))
beta_derivative = make("beta_derivative", "BetaDerivative", [_A, _B, _XB],
                       "dI_x(a, b)/dx, the density of the beta distribution.",
                       example=("2.0, 3.0, 0.4", "1.728"))
inverse_beta_regularized = make("inverse_beta_regularized", "InverseBetaRegularized", [_A, _B, _P],
                                "The x with I_x(a, b) = p.", example=("2.0, 3.0, 0.5", "0.38572756813238956"))
inverse_beta_regularized_c = make("inverse_beta_regularized_c", "InverseBetaRegularizedC", [_A, _B, _Q],
                                  "The x with 1 - I_x(a, b) = q.", example=("2.0, 3.0, 0.5", "0.38572756813238956"))


def _paired(export, a, b, p):
    status = _native.CallStatus()
    x, y = c_double(float("nan")), c_double(float("nan"))
    r = _native.call(export, status, float(a), float(b), float(p), byref(x), byref(y))
    if status.thrown:
        raise_thrown(status, export)
    dom, rng = classify(status.errno_value, r)
    if dom or rng:
        report_errno(export, int(dom), int(rng))
    return x.value, y.value


def inverse_beta_regularized2(a, b, p):
    return _paired("InverseBetaRegularized2", a, b, p)


def inverse_beta_regularized_c2(a, b, q):
    return _paired("InverseBetaRegularizedC2", a, b, q)


inverse_beta_regularized2.export = "InverseBetaRegularized2"
inverse_beta_regularized_c2.export = "InverseBetaRegularizedC2"
_PAIR = ("x, y : float", "The root x and y = 1 - x as computed by the inverse itself (full "
         "precision when x is close to 1); (nan, nan) for invalid arguments. Scalars only.")
inverse_beta_regularized2.__doc__ = numpydoc(
    "inverse_beta_regularized2", "The x with I_x(a, b) = p, and its complement 1 - x.",
    [(n, "float") + t[2:] for n, t in zip("abp", (_A, _B, _P))], "InverseBetaRegularized2",
    returns=_PAIR, example=("2.0, 3.0, 0.5", "(0.38572756813238956, 0.6142724318676105)"))
inverse_beta_regularized_c2.__doc__ = numpydoc(
    "inverse_beta_regularized_c2", "The x with 1 - I_x(a, b) = q, and its complement 1 - x.",
    [(n, "float") + t[2:] for n, t in zip("abq", (_A, _B, _Q))], "InverseBetaRegularizedC2",
    returns=_PAIR, example=("2.0, 3.0, 0.5", "(0.38572756813238956, 0.6142724318676105)"))

__all__ = [n for n in dir() if not n.startswith("_") and n not in
           ("B", "D", "R", "make", "numpydoc", "byref", "c_double", "classify", "raise_thrown",
            "report_errno")]
