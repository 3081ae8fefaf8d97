"""Multiple-comparison distributions.

``mca_*``: the studentized range (Tukey, all pairwise comparisons);
``mcb_*``: Hsu's one-sided comparisons with the best;
``mcc_*``: Dunnett's two-sided comparisons with a control.

k is the number of groups, df the error degrees of freedom and ``lambdas``
the k correlation parameters (sqrt(1/2) for every entry, the balanced case,
when omitted). The upper tail is formed as 1 - CDF. Invalid degrees of
freedom raise DomainError (for an array: NaN there and one DomainWarning).
"""

import numpy as np

from . import _native
from ._checks import int32, strided
from .errors import raise_thrown, report_counts

_SQRT_HALF = 0.7071067811865476
_BAD_LAMBDAS = "lambdas outside (-1, 1) (the scale 1/sqrt(1 - lambda^2) is not finite)"


def _lambdas(k, lambdas):
    if lambdas is None:
        return np.full(max(k, 1), _SQRT_HALF)
    lam = np.array(lambdas, dtype=np.float64, order="C", copy=True).ravel()
    if len(lam) < k:
        raise ValueError(f"lambdas needs k = {k} entries, got {len(lam)}")
    return lam


def _make(pyname, export, first, doc):
    def wrapper(x, k, df, lambdas=None, upper=False):
        k = int32(k, "k")
        lam = _lambdas(k, lambdas)
        # The export reads the first k; each must give a finite scale.
        bad = not np.all(np.abs(lam[:max(k, 0)]) < 1.0)
        lp = lam.ctypes.data_as(_native.pd)
        flag = 1 if upper else 0
        xs, dfs = np.asarray(x, dtype=np.float64), np.asarray(df, dtype=np.float64)
        if xs.ndim == 0 and dfs.ndim == 0:
            if bad:
                report_counts(export, invalid=1, reason=_BAD_LAMBDAS, stacklevel=3)
                return float("nan")
            status = _native.CallStatus()
            r = _native.call(export, status, float(xs), k, float(dfs), lp, flag)
            if status.thrown:
                raise_thrown(status, export)
            return r
        shape = np.broadcast_shapes(xs.shape, dfs.shape)
        out = np.full(shape, np.nan)
        if bad:
            report_counts(export, invalid=out.size, reason=_BAD_LAMBDAS, stacklevel=3)
            return out
        xv, xstride = strided(np.broadcast_to(xs, shape))
        dv, dstride = strided(np.broadcast_to(dfs, shape))
        status = _native.call_array(export, out.size, out, [
            (xv.ctypes.data, xstride), k, (dv.ctypes.data, dstride), lp, flag])
        report_counts(export, status=status, stacklevel=3)
        return out

    wrapper.__name__ = wrapper.__qualname__ = pyname
    wrapper.__doc__ = (f"{doc}\n\n``{first}``, df: broadcastable; k: number of groups; df: error "
                       f"degrees of freedom;\nlambdas: k correlation parameters, each in (-1, 1) "
                       f"(else NaN with a domain report); upper: tail.\n\n"
                       f"Wraps the export ``{export}``.")
    wrapper.export = export
    return wrapper


mca_cdf = _make("mca_cdf", "MCaCDF", "q", "Studentized range: P(Q <= q), or 1 - that with upper=True.")
mca_icdf = _make("mca_icdf", "MCaICDF", "p", "Studentized range quantile (critical value).")
mcb_cdf = _make("mcb_cdf", "MCbCDF", "q", "Hsu (one-sided, with the best): P(max T_j <= q).")
mcb_icdf = _make("mcb_icdf", "MCbICDF", "p", "Hsu quantile (critical value).")
mcc_cdf = _make("mcc_cdf", "MCcCDF", "q", "Dunnett (two-sided, with a control): P(max |T_j| <= q).")
mcc_icdf = _make("mcc_icdf", "MCcICDF", "p", "Dunnett quantile (critical value).")

# Descriptive aliases.
studentized_range_cdf, studentized_range_icdf = mca_cdf, mca_icdf
hsu_cdf, hsu_icdf = mcb_cdf, mcb_icdf
dunnett_cdf, dunnett_icdf = mcc_cdf, mcc_icdf
