"""Special functions: error function, gamma and beta families."""
from ctypes import byref, c_double

from . import _native
from ._scalar import B, D, R, make
from .errors import classify, raise_thrown, report_errno

erf = make("erf", "Erf", [("x", D, R)], "erf(x).")
erfc = make("erfc", "ErfC", [("x", D, R)], "erfc(x) = 1 - erf(x), computed directly.")
inverse_erf = make("inverse_erf", "InverseErf", [("p", D, R)],
                   "z with erf(z) = p, for -1 <= p <= 1 (+-inf with ERANGE at +-1).")
inverse_erfc = make("inverse_erfc", "InverseErfC", [("q", D, R)],
                    "z with erfc(z) = q, for 0 <= q <= 2 (+inf at 0, -inf at 2, ERANGE).")

gamma = make("gamma", "Gamma", [("x", D, R)],
             "Gamma(x) for 0 <= x <= 171; NaN without errno outside, +inf at 0.")
gamma_ln = make("gamma_ln", "GammaLn", [("x", D, R)],
                "log|Gamma(x)|; raises DomainError at the poles, OverflowError_ on overflow.")
gamma_regularized = make("gamma_regularized", "GammaRegularized", [("a", D, R), ("x", D, R)],
                         "P(a, x), the regularized lower incomplete gamma function (raises).")
gamma_regularized_c = make("gamma_regularized_c", "GammaRegularizedC", [("a", D, R), ("x", D, R)],
                           "Q(a, x) = 1 - P(a, x), computed directly (raises).")
incomplete_gamma_lower = make("incomplete_gamma_lower", "IncompleteGammaLower", [("a", D, R), ("x", D, R)],
                              "gamma(a, x), the non-regularized lower incomplete gamma function.")
incomplete_gamma_upper = make("incomplete_gamma_upper", "IncompleteGammaUpper", [("a", D, R), ("x", D, R)],
                              "Gamma(a, x), the non-regularized upper incomplete gamma function.")
inverse_gamma_regularized = make("inverse_gamma_regularized", "InverseGammaRegularized", [("a", D, R), ("p", D, R)], "x with P(a, x) = p.")
inverse_gamma_regularized_c = make("inverse_gamma_regularized_c", "InverseGammaRegularizedC", [("a", D, R), ("q", D, R)], "x with Q(a, x) = q.")
gamma_derivative = make("gamma_derivative", "GammaDerivative", [("a", D, R), ("x", D, R)],
                        "dP(a, x)/dx (raises on invalid arguments).")
log_xplus1 = make("log_xplus1", "LogXplus1", [("x", D, R)],
                  "log(1 + x); raises DomainError for x < -1 and OverflowError_ at x = -1.")

beta = make("beta", "Beta", [("a", D, R), ("b", D, R)], "B(a, b) (raises).")
beta_regularized = make("beta_regularized", "BetaRegularized", [("a", D, R), ("b", D, R), ("x", D, R)], "I_x(a, b) (raises).")
beta_regularized_c = make("beta_regularized_c", "BetaRegularizedC", [("a", D, R), ("b", D, R), ("x", D, R)],
                          "1 - I_x(a, b), computed directly (raises).")
beta_derivative = make("beta_derivative", "BetaDerivative", [("a", D, R), ("b", D, R), ("x", D, R)], "dI_x(a, b)/dx.")
inverse_beta_regularized = make("inverse_beta_regularized", "InverseBetaRegularized", [("a", D, R), ("b", D, R), ("p", D, R)], "x with I_x(a, b) = p.")
inverse_beta_regularized_c = make("inverse_beta_regularized_c", "InverseBetaRegularizedC", [("a", D, R), ("b", D, R), ("q", D, R)],
                                  "x with 1 - I_x(a, b) = q.")


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
    """(x, y) with I_x(a, b) = p and y = 1 - x as computed by the inverse itself.

    y keeps full precision when x is close to 1. Invalid arguments give
    (nan, nan) with a DomainWarning. Wraps the export ``InverseBetaRegularized2``.
    """
    return _paired("InverseBetaRegularized2", a, b, p)


def inverse_beta_regularized_c2(a, b, q):
    """(x, y) with 1 - I_x(a, b) = q and y = 1 - x from the inverse itself.

    Wraps the export ``InverseBetaRegularizedC2``.
    """
    return _paired("InverseBetaRegularizedC2", a, b, q)


inverse_beta_regularized2.export = "InverseBetaRegularized2"
inverse_beta_regularized_c2.export = "InverseBetaRegularizedC2"

__all__ = [n for n in dir() if not n.startswith("_") and n not in
           ("B", "D", "R", "make", "byref", "c_double", "classify", "raise_thrown",
            "report_errno")]
