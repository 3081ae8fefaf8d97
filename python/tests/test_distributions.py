"""Continuous and discrete distributions against SciPy (scipy.stats).

A sample per family to check argument order, tails and error routing; the
library's accuracy is measured by its C++ tests.
"""
import numpy as np
import pytest
from numpy.testing import assert_allclose, assert_array_equal
from scipy import stats

import korvane_core_math as kcm

from conftest import needs

P = np.array([1e-6, 0.025, 0.3, 0.5, 0.9, 0.999])


def check_continuous(pdf, cdf, icdf, dist, x, rtol=1e-11, itol=1e-10):
    assert_allclose(pdf(x), dist.pdf(x), rtol=rtol)
    assert_allclose(cdf(x), dist.cdf(x), rtol=rtol)
    assert_allclose(cdf(x, upper=True), dist.sf(x), rtol=rtol)
    # atol: a median of 0 that SciPy returns as a rounding residue
    assert_allclose(icdf(P), dist.ppf(P), rtol=itol, atol=1e-15)
    assert_allclose(icdf(P, upper=True), dist.isf(P), rtol=itol, atol=1e-15)


@needs("StudentTPDF", "StudentTCDF", "StudentTICDF")
def test_student_t():
    df = 7.5
    check_continuous(lambda x: kcm.student_t_pdf(x, df),
                     lambda x, upper=False: kcm.student_t_cdf(x, df, upper=upper),
                     lambda p, upper=False: kcm.student_t_icdf(p, df, upper),
                     stats.t(df), np.array([-4.0, -1.0, 0.0, 0.5, 3.0, 30.0]),
                     itol=1e-9)  # SciPy and the library differ by ~2e-10 at fractional df
    with pytest.warns(kcm.DomainWarning):
        assert np.isnan(kcm.student_t_cdf(1.0, 0.0))


@needs("ChiSquaredPDF", "ChiSquaredCDF", "ChiSquaredICDF")
def test_chi_squared():
    df = 4.0
    check_continuous(lambda x: kcm.chi_squared_pdf(x, df),
                     lambda x, upper=False: kcm.chi_squared_cdf(x, df, upper),
                     lambda p, upper=False: kcm.chi_squared_icdf(p, df, upper),
                     stats.chi2(df), np.array([0.01, 0.5, 3.0, 9.0, 60.0]))
    with pytest.warns(kcm.DomainWarning):
        assert np.isnan(kcm.chi_squared_cdf(np.inf, 3.0))


@needs("FisherFPDF", "FisherFCDF", "FisherFICDF")
def test_fisher_f():
    d1, d2 = 3.0, 12.0
    check_continuous(lambda x: kcm.fisher_f_pdf(x, d1, d2),
                     lambda x, upper=False: kcm.fisher_f_cdf(x, d1, d2, upper),
                     lambda p, upper=False: kcm.fisher_f_icdf(p, d1, d2, upper),
                     stats.f(d1, d2), np.array([0.05, 0.5, 1.0, 3.0, 40.0]), itol=1e-9)


@needs("GammaPDF", "GammaCDF", "GammaICDF")
def test_gamma_distribution():
    check_continuous(lambda x: kcm.gamma_pdf(x, 2.5, scale=3.0),
                     lambda x, upper=False: kcm.gamma_cdf(x, 2.5, 3.0, upper),
                     lambda p, upper=False: kcm.gamma_icdf(p, 2.5, 3.0, upper),
                     stats.gamma(2.5, scale=3.0), np.array([0.1, 1.0, 7.5, 20.0, 80.0]))


@needs("BetaPDF", "BetaCDF", "BetaICDF")
def test_beta_distribution():
    check_continuous(lambda x: kcm.beta_pdf(x, 2.0, 5.0),
                     lambda x, upper=False: kcm.beta_cdf(x, 2.0, 5.0, upper),
                     lambda p, upper=False: kcm.beta_icdf(p, 2.0, 5.0, upper),
                     stats.beta(2.0, 5.0), np.array([0.01, 0.2, 0.5, 0.8, 0.99]))


@needs("NoncentralTPDF", "NoncentralTCDF", "NoncentralTICDF")
def test_noncentral_t():
    # SciPy's noncentral t is itself accurate to about 1e-9 here.
    dist = stats.nct(10.0, 1.5)
    x = np.array([-1.0, 0.5, 1.5, 3.0, 6.0])
    assert_allclose(kcm.noncentral_t_pdf(x, 10.0, 1.5), dist.pdf(x), rtol=1e-8)
    assert_allclose(kcm.noncentral_t_cdf(x, 10.0, 1.5), dist.cdf(x), rtol=1e-8)
    assert_allclose(kcm.noncentral_t_cdf(x, 10.0, 1.5, upper=True), dist.sf(x), rtol=1e-8)
    p = np.array([0.05, 0.5, 0.95])
    assert_allclose(kcm.noncentral_t_icdf(p, 10.0, 1.5), dist.ppf(p), rtol=1e-7)
    assert_allclose(kcm.noncentral_t_icdf(p, 10.0, 1.5, upper=True), dist.isf(p), rtol=1e-7)


@needs("BinomialPDF", "BinomialCDF", "BinomialICDF", "BinomialPS")
class TestBinomial:
    def test_pmf_cdf(self):
        k = np.arange(0, 21)
        dist = stats.binom(20, 0.3)
        assert_allclose(kcm.binomial_pdf(k, 20, 0.3), dist.pmf(k), rtol=1e-12, atol=1e-300)
        assert_allclose(kcm.binomial_cdf(k, 20, 0.3), dist.cdf(k), rtol=1e-12)
        assert_allclose(kcm.binomial_cdf(k[:-3], 20, 0.3, upper=True), dist.sf(k[:-3]), rtol=1e-11)

    def test_quantile_rounding(self):
        p = np.array([0.05, 0.3, 0.5, 0.9])
        dist = stats.binom(20, 0.3)
        up = kcm.binomial_icdf(p, 20, 0.3, round_up=True)
        down = kcm.binomial_icdf(p, 20, 0.3, round_up=False)
        assert_array_equal(up, dist.ppf(p))
        assert set(up - down) <= {0.0, 1.0}

    def test_clopper_pearson(self):
        alpha, k, n = 0.025, 7, 30
        assert_allclose(kcm.binomial_ps(alpha, k, n, "lower"),
                        stats.beta.ppf(alpha, k, n - k + 1), rtol=1e-10)
        assert_allclose(kcm.binomial_ps(alpha, k, n, "upper"),
                        stats.beta.isf(alpha, k + 1, n - k), rtol=1e-10)
        assert kcm.binomial_ps(alpha, 0, n, 0) == 0.0
        assert kcm.binomial_ps(alpha, 50, -1, 2) == -1.0

    def test_invalid_arguments_raise(self):
        with pytest.raises(kcm.DomainError, match="Success fraction"):
            kcm.binomial_pdf(1, 10, 1.5)
        with pytest.raises(kcm.DomainError, match="Number of Trials"):
            kcm.binomial_cdf(1, -1, 0.5)


@needs("PoissonPDF", "PoissonCDF", "PoissonICDF")
class TestPoisson:
    def test_values(self):
        k = np.arange(0, 30)
        dist = stats.poisson(6.5)
        assert_allclose(kcm.poisson_pdf(k, 6.5), dist.pmf(k), rtol=1e-12)
        assert_allclose(kcm.poisson_cdf(k, 6.5), dist.cdf(k), rtol=1e-12)
        assert_allclose(kcm.poisson_cdf(k, 6.5, upper=True), dist.sf(k), rtol=1e-10)
        p = np.array([0.01, 0.3, 0.5, 0.95])
        assert_array_equal(kcm.poisson_icdf(p, 6.5), dist.ppf(p))

    def test_invalid_mean_raises(self):
        for mean in (0.0, -1.0, np.inf, np.nan):
            with pytest.raises(kcm.DomainError):
                kcm.poisson_pdf(1, mean)


@needs("HypergeometricPDF", "HypergeometricCDF", "HypergeometricICDF")
class TestHypergeometric:
    def test_values(self):
        # SciPy's order (k, M, n, N): M = 50 items, n = 15 marked, N = 12 drawn.
        dist = stats.hypergeom(50, 15, 12)
        x = np.arange(0, 13)
        assert_allclose(kcm.hypergeometric_pdf(x, 50, 15, 12), dist.pmf(x), rtol=1e-11,
                        atol=1e-300)
        assert_allclose(kcm.hypergeometric_cdf(x, 50, 15, 12), dist.cdf(x), rtol=1e-11)
        assert_allclose(kcm.hypergeometric_cdf(x[:8], 50, 15, 12, upper=True), dist.sf(x[:8]),
                        rtol=1e-10)
        p = np.array([0.05, 0.3, 0.5, 0.9])
        assert_array_equal(kcm.hypergeometric_icdf(p, 50, 15, 12), dist.ppf(p))

    def test_errors(self):
        with pytest.raises(kcm.DomainError):
            kcm.hypergeometric_pdf(1, 50, 60, 12)
        with pytest.raises(kcm.RoundingError):
            kcm.hypergeometric_pdf(np.inf, 50, 15, 12)
        with pytest.raises(kcm.KcmError):
            kcm.hypergeometric_pdf(2.5, 50, 15, 12)


@needs("FNCHypergeometricCDF", "FNCHypergeometricICDF", "FNCHypergeometricMoments")
class TestFisherNoncentralHypergeometric:
    # x marked in a sample of n = 20 from an urn of N = 60 with m = 25 marked, odds 2.5.
    dist = stats.nchypergeom_fisher(60, 25, 20, 2.5)

    def test_cdf(self):
        x = np.arange(3, 18)
        assert_allclose(kcm.fnc_hypergeometric_cdf(x, 20, 25, 60, 2.5), self.dist.cdf(x),
                        rtol=1e-7, atol=1e-9)
        assert_allclose(kcm.fnc_hypergeometric_cdf(x, 20, 25, 60, 2.5, upper=True),
                        self.dist.sf(x), rtol=1e-7, atol=1e-9)

    def test_quantile_and_moments(self):
        p = np.array([0.05, 0.3, 0.5, 0.9])
        assert_array_equal(kcm.fnc_hypergeometric_icdf(p, 20, 25, 60, 2.5), self.dist.ppf(p))
        mean, var = kcm.fnc_hypergeometric_moments(20, 25, 60, 2.5)
        assert_allclose([mean, var], [self.dist.mean(), self.dist.var()], rtol=1e-7)

    def test_central_case(self):
        central = stats.hypergeom(60, 25, 20)
        x = np.arange(2, 16)
        assert_allclose(kcm.fnc_hypergeometric_cdf(x, 20, 25, 60, 1.0), central.cdf(x),
                        rtol=1e-7, atol=1e-9)
