"""The Kolmogorov distribution and the two array utilities."""
import numpy as np

from . import _native
from ._checks import int32, int32_array
from ._scalar import D, R, S, make, nan_guard

_k_cdf = make("kolmogorov_cdf", "KolmogorovCDF", [("x", D, R), ("n", D, R), ("upper", S, 0)], "")
# The export returns a number for a NaN p: refused here. (A p outside [0, 1]
# it refuses itself: no root can be bracketed.)
_k_icdf = make("kolmogorov_icdf", "KolmogorovICDF", [("p", D, R), ("n", D, R), ("upper", S, 0)], "",
               guard=nan_guard("p"))


def kolmogorov_cdf(x, n, upper=False):
    """Two-sided one-sample Kolmogorov-Smirnov statistic D_n for a sample of size n.

    P(D_n <= x), or P(D_n >= x) with upper=True (accurate for small p-values).
    n is truncated to an integer. Wraps the export ``KolmogorovCDF``.
    """
    return _k_cdf(x, n, 1 if upper else 0)


def kolmogorov_icdf(p, n, upper=False):
    """The x with P(D_n <= x) = p, or P(D_n >= x) = p with upper=True.

    A NaN p gives NaN with a domain report. Raises EvaluationError when no
    root can be bracketed (p outside what the tail reaches, p outside
    [0, 1]; for an array: NaN there and one warning). Wraps the export
    ``KolmogorovICDF``.
    """
    return _k_icdf(p, n, 1 if upper else 0)


kolmogorov_cdf.export = "KolmogorovCDF"
kolmogorov_icdf.export = "KolmogorovICDF"


def sort_double_array(values):
    """Return a copy of ``values`` rearranged by the export ``SortDoubleArray``.

    The library's order moves NaNs towards the end but is deliberately not a
    total order: two numbers in descending order compare as equal, so the
    result is in general NOT ascending (for 2 to 8 numbers without NaN it is
    the input rotated left by one place). Use numpy.sort for sorting; this
    wrapper exists to reproduce the host's behaviour.
    """
    int32(np.size(values), "the length of values")
    a = np.array(values, dtype=np.float64, order="C", copy=True).ravel()
    fn = _native.export("SortDoubleArray")
    fn(a.ctypes.data_as(_native.pd), len(a))
    return a


sort_double_array.export = "SortDoubleArray"


def extract_sorted(counts, values):
    """Expand distinct values with multiplicities: returns (out, counts_after).

    values[i] is repeated counts[i] times when counts[i] > 0, in order; the
    consumed counts become 0 and non-positive counts are left as they are.
    Values are copied bit for bit. Wraps the export ``ExtractSorted``.
    """
    c = np.array(int32_array(counts, "counts"), dtype=np.int32, copy=True).ravel()
    v = np.array(values, dtype=np.float64, copy=True).ravel()
    if len(c) != len(v):
        raise ValueError("counts and values must have the same length")
    n = int32(len(c), "the length of counts")
    out = np.zeros(int(c[c > 0].sum(dtype=np.int64)), dtype=np.float64)
    fn = _native.export("ExtractSorted")
    fn(c.ctypes.data_as(_native.pi), out.ctypes.data_as(_native.pd),
       v.ctypes.data_as(_native.pd), n)
    return out, c


extract_sorted.export = "ExtractSorted"
