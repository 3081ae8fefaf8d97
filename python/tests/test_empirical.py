"""Kolmogorov distribution against scipy.stats.kstwo; the array utilities."""
import numpy as np
import pytest
from numpy.testing import assert_allclose, assert_array_equal
from scipy import stats

import korvane_core_math as kcm

from conftest import needs


@needs("KolmogorovCDF", "KolmogorovICDF")
class TestKolmogorov:
    @pytest.mark.parametrize("n", [1, 5, 20, 100])
    def test_exact_regions(self, n):
        dist = stats.kstwo(n)
        x = np.array([0.3, 0.5, 0.7, 0.95]) if n < 5 else np.array([0.05, 0.15, 0.3, 0.5])
        x = x[dist.sf(x) > 1e-250]
        assert_allclose(kcm.kolmogorov_cdf(x, n), dist.cdf(x), rtol=1e-9, atol=1e-300)
        assert_allclose(kcm.kolmogorov_cdf(x, n, upper=True), dist.sf(x), rtol=1e-9)

    def test_large_sample(self):
        dist = stats.kstwo(2000)
        x = np.array([0.02, 0.03, 0.05])
        assert_allclose(kcm.kolmogorov_cdf(x, 2000), dist.cdf(x), rtol=1e-5)
        assert_allclose(kcm.kolmogorov_cdf(x, 2000, upper=True), dist.sf(x), rtol=1e-5)

    def test_quantile(self):
        dist = stats.kstwo(30)
        p = np.array([0.05, 0.5, 0.95])
        # The root is found to 24 bits.
        assert_allclose(kcm.kolmogorov_icdf(p, 30), dist.ppf(p), rtol=1e-6)
        assert_allclose(kcm.kolmogorov_icdf(p, 30, upper=True), dist.isf(p), rtol=1e-6)

    def test_negative_x_is_not_an_error(self):
        assert kcm.kolmogorov_cdf(-0.1, 10) == 0.0
        assert kcm.kolmogorov_cdf(-0.1, 10, upper=True) == 1.0

    def test_unreachable_probability_raises(self):
        with pytest.raises(kcm.KcmError):
            kcm.kolmogorov_icdf(1.5, 10)


@needs("SortDoubleArray")
def test_sort_double_array_keeps_the_library_order():
    # The order function reports descending pairs as equal: short arrays rotate.
    assert_array_equal(kcm.sort_double_array([1.0, 2.0, 3.0]), [2.0, 3.0, 1.0])
    assert_array_equal(kcm.sort_double_array([3.0, 2.0, 1.0]), [2.0, 1.0, 3.0])
    original = np.array([5.0])
    assert_array_equal(kcm.sort_double_array(original), original)


@needs("ExtractSorted")
def test_extract_sorted():
    out, counts = kcm.extract_sorted([2, 0, 1, -1], [5.0, 6.0, 7.0, 8.0])
    assert_array_equal(out, [5.0, 5.0, 7.0])
    assert_array_equal(counts, [0, 0, 0, -1])
    out, _ = kcm.extract_sorted([1], [-0.0])
    assert np.signbit(out[0])
