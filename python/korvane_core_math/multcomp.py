"""Multiple-comparison distributions.

``studentized_range_*``: the studentized range (Tukey, all pairwise
comparisons) on the classical scale, as SciPy and R;
``mca_*``: the same on the library's scale, range / sqrt(2);
``mcb_*``: Hsu's one-sided comparisons with the best;
``mcc_*``: Dunnett's two-sided comparisons with a control.

k is the number of groups, df the error degrees of freedom and ``lambdas``
the k correlation parameters (sqrt(1/2) for every entry, the balanced case,
when omitted). The upper tail is formed as 1 - CDF. Invalid degrees of
freedom raise DomainError (for an array: NaN there and one DomainWarning).
"""

import inspect

import numpy as np

from . import _native
from ._checks import flag, int32, strided
from ._doc import numpydoc
from ._scalar import Guard, guard_report
from .errors import raise_thrown, report_counts

R = inspect.Parameter.empty

_SQRT_HALF = 0.7071067811865476
_SQRT2 = 1.4142135623730951
_BAD_LAMBDAS = "lambdas outside (-1, 1) (the scale 1/sqrt(1 - lambda^2) is not finite)"


_LAMBDAS_TEXT = ("The k correlation parameters; sqrt(1/2) for each when omitted (the "
                 "balanced case).")
_LAMBDA_GUARD = Guard("lambdas", None, "any of the first k lambdas NaN or outside (-1, 1)", None)
_NOTES = ("k, lambdas and upper are the same for every element; q (or p) and df broadcast. "
          "The upper tail is formed as 1 - CDF (an upper-tail p is turned into 1 - p).")


def _lambdas(k, lambdas):
    if lambdas is None:
        return np.full(max(k, 1), _SQRT_HALF)
    lam = np.array(lambdas, dtype=np.float64, order="C", copy=True).ravel()
    if len(lam) < k:
        raise ValueError(f"lambdas needs k = {k} entries, got {len(lam)}")
    return lam


def _make(pyname, export, first, doc, example):
    def wrapper(x, k, df, lambdas=None, upper=False):
        k = int32(k, "k")
        lam = _lambdas(k, lambdas)
        # The export reads the first k; each must give a finite scale.
        bad = not np.all(np.abs(lam[:max(k, 0)]) < 1.0)
        lp = lam.ctypes.data_as(_native.pd)
        tail = flag(upper, "upper")
        xs, dfs = np.asarray(x, dtype=np.float64), np.asarray(df, dtype=np.float64)
        if xs.ndim == 0 and dfs.ndim == 0:
            if bad:
                report_counts(export, invalid=1, reason=_BAD_LAMBDAS, stacklevel=4)
                return float("nan")
            status = _native.CallStatus()
            r = _native.call(export, status, float(xs), k, float(dfs), lp, tail)
            if status.thrown:
                raise_thrown(status, export)
            return r
        shape = np.broadcast_shapes(xs.shape, dfs.shape)
        out = np.full(shape, np.nan)
        if bad:
            report_counts(export, invalid=out.size, reason=_BAD_LAMBDAS, stacklevel=4)
            return out
        xv, xstride = strided(np.broadcast_to(xs, shape))
        dv, dstride = strided(np.broadcast_to(dfs, shape))
        status = _native.call_array(export, out.size, out, [
            (xv.ctypes.data, xstride), k, (dv.ctypes.data, dstride), lp, tail])
        report_counts(export, status=status, stacklevel=4)
        return out

    # The statistic (or probability) is named q (or p) in the signature.
    def named(*args, **kwargs):
        bound = sig.bind(*args, **kwargs)
        bound.apply_defaults()
        return wrapper(*bound.arguments.values())

    params = [(first, "d", R), ("k", "int", R, ">= 1", "Number of groups."), ("df", "d", R),
              ("lambdas", "array_like of float", None, "k entries in (-1, 1)", _LAMBDAS_TEXT),
              ("upper", "b", False)]
    sig = inspect.Signature([inspect.Parameter(p[0], inspect.Parameter.POSITIONAL_OR_KEYWORD,
                                               default=p[2]) for p in params])
    named.__name__ = named.__qualname__ = pyname
    named.__signature__ = sig
    named.__doc__ = numpydoc(pyname, doc, params, export, example=example,
                             extra_errors=[guard_report(_LAMBDA_GUARD)], notes=_NOTES)
    named.export = export
    return named


mca_cdf = _make("mca_cdf", "MCaCDF", "q",
                "Studentized range on the library's scale (range / sqrt(2)): P(Q <= q).",
                ("2.5, 4, 20", "0.9095019847892396"))
mca_icdf = _make("mca_icdf", "MCaICDF", "p",
                 "Quantile (critical value) of the studentized range on the library's scale "
                 "(range / sqrt(2)).", ("0.05, 4, 20, upper=True", "2.798936780648829"))
mcb_cdf = _make("mcb_cdf", "MCbCDF", "q", "Hsu's comparisons with the best (one-sided): "
                "P(max T_j <= q).", ("2.0, 4, 20", "0.9283212084801513"))
mcb_icdf = _make("mcb_icdf", "MCbICDF", "p", "Quantile (critical value) of Hsu's comparisons "
                 "with the best.", ("0.05, 4, 20, upper=True", "2.192284253283009"))
mcc_cdf = _make("mcc_cdf", "MCcCDF", "q", "Dunnett's comparisons with a control (two-sided): "
                "P(max |T_j| <= q).", ("2.5, 4, 20", "0.9456921347868001"))
mcc_icdf = _make("mcc_icdf", "MCcICDF", "p", "Quantile (critical value) of Dunnett's "
                 "comparisons with a control.", ("0.05, 4, 20, upper=True", "2.540350190575372"))

hsu_cdf, hsu_icdf = mcb_cdf, mcb_icdf
dunnett_cdf, dunnett_icdf = mcc_cdf, mcc_icdf


# ---- the studentized range on the classical scale ---------------------------
_CLASSICAL_NOTES = ("The classical studentized range Q = range / s, as scipy.stats."
                    "studentized_range and R's ptukey / qtukey (balanced groups). mca_cdf and "
                    "mca_icdf work on range / (s sqrt(2)): studentized_range_cdf(q, k, df) = "
                    "mca_cdf(q / sqrt(2), k, df) and studentized_range_icdf(p, k, df) = "
                    "sqrt(2) mca_icdf(p, k, df).")


def studentized_range_cdf(q, k, df, upper=False):
    return mca_cdf(np.divide(q, _SQRT2), k, df, upper=upper)


def studentized_range_icdf(p, k, df, upper=False):
    return _SQRT2 * mca_icdf(p, k, df, upper=upper)


_CLASSICAL = [("k", "int", R, ">= 2", "Number of groups."), ("df", "d", R), ("upper", "b", False)]
studentized_range_cdf.__doc__ = numpydoc(
    "studentized_range_cdf", "Studentized range (Tukey): P(Q <= q) for Q the range of k "
    "normal means over their estimated standard error.", [("q", "d", R)] + _CLASSICAL, "MCaCDF",
    example=("3.5, 4, 20", "0.9050414940752187"), notes=_CLASSICAL_NOTES)
studentized_range_icdf.__doc__ = numpydoc(
    "studentized_range_icdf", "Quantile (critical value) of the studentized range (Tukey), "
    "on the classical scale.", [("p", "d", R)] + _CLASSICAL, "MCaICDF",
    example=("0.05, 4, 20, upper=True", "3.9582943554184626"), notes=_CLASSICAL_NOTES)
