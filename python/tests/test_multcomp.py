"""Multiple-comparison distributions against SciPy.

The studentized range is compared with scipy.stats.studentized_range (the
library's statistic with every lambda = sqrt(1/2) is the range divided by
sqrt(2)); Hsu and Dunnett with independent comparisons (lambda = 0) are
compared with a direct integral over the studentizing scale. The library
integrates with a fixed 48-point rule and inverts to 24 bits.
"""
import numpy as np
import pytest
from numpy.testing import assert_allclose
from scipy import integrate, stats

import korvane_core_math as kcm

from conftest import needs

SQRT2 = np.sqrt(2.0)


def over_scale(cond, df):
    """E[cond(s)] with s = sqrt(X/df), X ~ chi-squared(df)."""
    dens = stats.chi(df, scale=1 / np.sqrt(df)).pdf
    return integrate.quad(lambda s: cond(s) * dens(s), 0, np.inf, epsabs=1e-13)[0]


@needs("MCaCDF", "MCaICDF")
class TestStudentizedRange:
    @pytest.mark.parametrize("k, df", [(3, 10.0), (4, 20.0), (6, 40.0)])
    def test_cdf_and_quantile(self, k, df):
        dist = stats.studentized_range(k, df)
        q = np.array([1.0, 2.0, 3.0])
        assert_allclose(kcm.mca_cdf(q, k, df), dist.cdf(q * SQRT2), rtol=1e-6)
        assert_allclose(kcm.mca_cdf(q, k, df, upper=True), dist.sf(q * SQRT2), rtol=1e-5)
        crit = kcm.mca_icdf(0.05, k, df, upper=True)
        assert_allclose(crit * SQRT2, dist.isf(0.05), rtol=1e-6)

    def test_lambdas_default_to_the_balanced_case(self):
        lam = np.full(4, np.sqrt(0.5))
        assert kcm.mca_cdf(2.0, 4, 20.0) == kcm.mca_cdf(2.0, 4, 20.0, lambdas=lam)
        with pytest.raises(ValueError):
            kcm.mca_cdf(2.0, 4, 20.0, lambdas=[0.5])

    def test_invalid_df_raises(self):
        with pytest.raises(kcm.DomainError, match="Degrees of freedom"):
            kcm.mca_cdf(2.0, 3, 0.0)


@needs("MCbCDF", "MCbICDF")
def test_hsu_independent_comparisons():
    k, df = 4, 15.0
    lam = np.zeros(k)
    for q in (0.5, 1.5, 2.5):
        want = over_scale(lambda s: stats.norm.cdf(q * s) ** (k - 1), df)
        assert_allclose(kcm.mcb_cdf(q, k, df, lambdas=lam), want, rtol=1e-6)
    # Two groups: the one-sided t critical value.
    assert_allclose(kcm.mcb_icdf(0.05, 2, df, upper=True), stats.t(df).isf(0.05), rtol=1e-6)


@needs("MCcCDF", "MCcICDF")
def test_dunnett_independent_comparisons():
    k, df = 4, 15.0
    lam = np.zeros(k)
    for q in (0.5, 1.5, 2.5):
        want = over_scale(lambda s: (2 * stats.norm.cdf(q * s) - 1) ** (k - 1), df)
        assert_allclose(kcm.mcc_cdf(q, k, df, lambdas=lam), want, rtol=1e-6)
    # Two groups: the two-sided t critical value.
    assert_allclose(kcm.mcc_icdf(0.05, 2, df, upper=True), stats.t(df).isf(0.025), rtol=1e-6)
