"""The Kolmogorov distribution and the two array utilities."""
import numpy as np

from . import _native
from ._checks import flag, int32, int32_array
from ._doc import numpydoc
from ._scalar import B, D, R, S, make, nan_guard

_k_cdf = make("kolmogorov_cdf", "KolmogorovCDF", [("x", D, R), ("n", D, R), ("upper", S, 0)], "")
# The export returns a number for a NaN p: refused here. (A p outside [0, 1]
# it refuses itself: no root can be bracketed.)
_k_icdf = make("kolmogorov_icdf", "KolmogorovICDF", [("p", D, R), ("n", D, R), ("upper", S, 0)], "",
               guard=nan_guard("p"))


def kolmogorov_cdf(x, n, upper=False):
    return _k_cdf(x, n, flag(upper, "upper"))


def kolmogorov_icdf(p, n, upper=False):
    return _k_icdf(p, n, flag(upper, "upper"))


_N = ("n", D, R, ">= 1 (truncated to an integer)", "Sample size.")
kolmogorov_cdf.__doc__ = numpydoc(
    "kolmogorov_cdf", "Distribution function of the two-sided one-sample Kolmogorov-Smirnov "
    "statistic D_n, in either tail.", [("x", D, R, "[0, 1]"), _N, ("upper", B, False)],
    "KolmogorovCDF", returns="P(D_n <= x), or P(D_n >= x) with upper=True (accurate for "
    "small p-values).", example=("0.2, 30, upper=True", "0.15796916101546743"))
kolmogorov_icdf.__doc__ = numpydoc(
    "kolmogorov_icdf", "Quantile of the two-sided one-sample Kolmogorov-Smirnov statistic D_n.",
    [("p", D, R), _N, ("upper", B, False)], "KolmogorovICDF",
    returns="The x with P(D_n <= x) = p, or P(D_n >= x) = p with upper=True.",
    example=("0.05, 30, upper=True", "0.24170347059707498"),
    extra_errors=[("DomainWarning", "A NaN p gives NaN there (DomainError under "
                   "``errstate(domain='raise')``).")])


kolmogorov_cdf.export = "KolmogorovCDF"
kolmogorov_icdf.export = "KolmogorovICDF"


def sort_double_array(values):
    int32(np.size(values), "the length of values")
    a = np.array(values, dtype=np.float64, order="C", copy=True).ravel()
    fn = _native.export("SortDoubleArray")
    fn(a.ctypes.data_as(_native.pd), len(a))
    return a


sort_double_array.export = "SortDoubleArray"


def extract_sorted(counts, values):
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

_NO_REPORT = [("OverflowError", "A length that does not fit the export's 32-bit integer.")]
sort_double_array.__doc__ = numpydoc(
    "sort_double_array", "A copy of values rearranged by the library's deliberately partial "
    "order.", [("values", "array_like of float", R, "any length up to 2**31 - 1",
                "The numbers; not modified.")],
    "SortDoubleArray", returns=("out : ndarray of float", "The rearranged copy."),
    extra_errors=_NO_REPORT, example=("[3.0, 2.0, 1.0]", "array([2., 1., 3.])"),
    notes="The order moves NaNs towards the end but is not a total order: two numbers in "
          "descending order compare as equal, so the result is in general NOT ascending (for 2 "
          "to 8 numbers without NaN it is the input rotated left by one place). Use numpy.sort "
          "for sorting; this wrapper reproduces the library's behaviour.")
extract_sorted.__doc__ = numpydoc(
    "extract_sorted", "Expand distinct values with their multiplicities.",
    [("counts", "array_like of int", R, "32-bit integers", "Multiplicity of each value."),
     ("values", "array_like of float", R, "as long as counts", "The distinct values.")],
    "ExtractSorted", returns=("out, counts_after : ndarray", "values[i] repeated counts[i] "
                              "times where counts[i] > 0, in order (copied bit for bit), and the "
                              "counts with the consumed ones set to 0."),
    extra_errors=_NO_REPORT + [("ValueError", "counts and values of different lengths, or a "
                                              "count that is not a whole number.")],
    example=("[2, 0, 1], [1.5, 2.5, 3.5]", "(array([1.5, 1.5, 3.5]), array([0, 0, 0], dtype=int32))"))
