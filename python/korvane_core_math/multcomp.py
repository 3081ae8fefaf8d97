"""Multiple-comparison distributions.

``mca_*``: the studentized range (Tukey, all pairwise comparisons);
``mcb_*``: Hsu's one-sided comparisons with the best;
``mcc_*``: Dunnett's two-sided comparisons with a control.

k is the number of groups, df the error degrees of freedom and ``lambdas``
the k correlation parameters (sqrt(1/2) for every entry, the balanced case,
when omitted). The upper tail is formed as 1 - CDF. Invalid degrees of
freedom raise DomainError.
"""

import numpy as np

from . import _native
from .errors import raise_thrown

_SQRT_HALF = 0.7071067811865476


def _lambdas(k, lambdas):
    if lambdas is None:
        return np.full(max(int(k), 1), _SQRT_HALF)
    lam = np.array(lambdas, dtype=np.float64, order="C", copy=True).ravel()
    if len(lam) < k:
        raise ValueError(f"lambdas needs k = {k} entries, got {len(lam)}")
    return lam


def _make(pyname, export, first, doc):
    def wrapper(x, k, df, lambdas=None, upper=False):
        lam = _lambdas(k, lambdas)
        lp = lam.ctypes.data_as(_native.pd)
        status = _native.CallStatus()
        xs = np.asarray(x, dtype=np.float64)
        out = np.empty(xs.shape)
        for index in np.ndindex(xs.shape):
            r = _native.call(export, status, float(xs[index]), int(k), float(df), lp,
                             1 if upper else 0)
            if status.thrown:
                raise_thrown(status, export)
            out[index] = r
        return float(out) if xs.ndim == 0 else out

    wrapper.__name__ = wrapper.__qualname__ = pyname
    wrapper.__doc__ = (f"{doc}\n\n``{first}``: broadcastable; k: number of groups; df: error "
                       f"degrees of freedom;\nlambdas: k correlation parameters; upper: tail."
                       f"\n\nWraps the export ``{export}``.")
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
