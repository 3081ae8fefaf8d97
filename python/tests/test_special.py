"""Special functions against SciPy (scipy.special).

These tests check the binding (argument order, tails, error routing) on a
sample of each family; the library's accuracy is measured by its own C++
tests against mpmath and R. Tolerances are a few hundred ulps to allow for
SciPy's own rounding.
"""
import numpy as np
import pytest
from numpy.testing import assert_allclose
from scipy import special as sp

import korvane_core_math as kcm

from conftest import needs

RTOL = 1e-13

X = np.array([-3.0, -0.5, 0.0, 0.25, 1.0, 2.5, 5.0])


def test_erf_family():
    assert_allclose(kcm.erf(X), sp.erf(X), rtol=RTOL, atol=1e-300)
    assert_allclose(kcm.erfc(X), sp.erfc(X), rtol=RTOL)
    p = np.array([-0.9, -0.1, 0.3, 0.999])
    assert_allclose(kcm.inverse_erf(p), sp.erfinv(p), rtol=RTOL)
    q = np.array([1e-20, 0.1, 1.0, 1.7])
    assert_allclose(kcm.inverse_erfc(q), sp.erfcinv(q), rtol=RTOL, atol=1e-300)


def test_normal():
    assert_allclose(kcm.normal_pdf(X, 1.0, 2.0), np.exp(-((X - 1) / 2) ** 2 / 2)
                    / (2 * np.sqrt(2 * np.pi)), rtol=RTOL)
    assert_allclose(kcm.normal_cdf(X, 1.0, 2.0), sp.ndtr((X - 1) / 2), rtol=RTOL)
    assert_allclose(kcm.normal_cdf(X, 1.0, 2.0, upper=True), sp.ndtr(-(X - 1) / 2), rtol=RTOL)
    p = np.array([1e-10, 0.025, 0.5, 0.9])
    assert_allclose(kcm.normal_icdf(p, 3.0, 2.0), 3 + 2 * sp.ndtri(p), rtol=RTOL)
    assert_allclose(kcm.normal_icdf(p, 3.0, 2.0, upper=True), 3 - 2 * sp.ndtri(p), rtol=RTOL)


@needs("Gamma", "GammaLn", "GammaRegularized", "GammaRegularizedC", "IncompleteGammaLower",
       "IncompleteGammaUpper", "InverseGammaRegularized", "InverseGammaRegularizedC",
       "GammaDerivative", "LogXplus1")
class TestGammaFamily:
    a = np.array([0.5, 1.0, 3.5, 20.0])
    x = np.array([0.1, 1.0, 4.0, 25.0])

    def test_gamma_and_log_gamma(self):
        assert_allclose(kcm.gamma([0.5, 5.0, 10.5, 171.0]), sp.gamma([0.5, 5.0, 10.5, 171.0]),
                        rtol=1e-12)
        assert_allclose(kcm.gamma_ln([0.5, 3.0, 100.0, -2.5]), sp.gammaln([0.5, 3.0, 100.0, -2.5]),
                        rtol=1e-12)

    def test_gamma_refuses_negative_arguments_without_errno(self):
        import warnings
        with warnings.catch_warnings():
            warnings.simplefilter("error")
            assert np.isnan(kcm.gamma(-0.5))
            assert kcm.gamma(0.0) == np.inf

    def test_incomplete_gamma(self):
        a, x = self.a, self.x
        assert_allclose(kcm.gamma_regularized(a, x), sp.gammainc(a, x), rtol=1e-12)
        assert_allclose(kcm.gamma_regularized_c(a, x), sp.gammaincc(a, x), rtol=1e-12)
        assert_allclose(kcm.incomplete_gamma_lower(a, x), sp.gammainc(a, x) * sp.gamma(a),
                        rtol=1e-12)
        assert_allclose(kcm.incomplete_gamma_upper(a, x), sp.gammaincc(a, x) * sp.gamma(a),
                        rtol=1e-12)
        p = np.array([0.01, 0.3, 0.5, 0.99])
        assert_allclose(kcm.inverse_gamma_regularized(a, p), sp.gammaincinv(a, p), rtol=1e-11)
        assert_allclose(kcm.inverse_gamma_regularized_c(a, p), sp.gammainccinv(a, p), rtol=1e-11)

    def test_derivative_and_log1p(self):
        a, x = self.a, self.x
        dens = np.exp((a - 1) * np.log(x) - x - sp.gammaln(a))
        assert_allclose(kcm.gamma_derivative(a, x), dens, rtol=1e-12)
        assert_allclose(kcm.log_xplus1([1e-20, -0.5, 3.0]), np.log1p([1e-20, -0.5, 3.0]),
                        rtol=RTOL)

    def test_throwing_exports_raise_python_exceptions(self):
        with pytest.raises(kcm.OverflowError_):
            kcm.log_xplus1(-1.0)
        with pytest.raises(kcm.DomainError) as info:
            kcm.log_xplus1(-1.5)
        assert info.value.cxx_type == "std::domain_error"
        assert "log1p" in str(info.value)
        with pytest.raises(kcm.DomainError):
            kcm.gamma_ln(-2.0)
        with pytest.raises(kcm.KcmError):
            kcm.gamma_regularized(-1.0, 1.0)

    def test_inverse_reports_errno(self):
        with pytest.warns(kcm.DomainWarning):
            assert np.isnan(kcm.inverse_gamma_regularized(2.0, 1.5))


@needs("Beta", "BetaRegularized", "BetaRegularizedC", "BetaDerivative", "InverseBetaRegularized",
       "InverseBetaRegularized2", "InverseBetaRegularizedC", "InverseBetaRegularizedC2")
class TestBetaFamily:
    a = np.array([0.5, 2.0, 10.0, 0.9])
    b = np.array([0.5, 3.0, 2.5, 40.0])
    x = np.array([0.1, 0.5, 0.9, 0.02])

    def test_beta_and_incomplete_beta(self):
        a, b, x = self.a, self.b, self.x
        assert_allclose(kcm.beta(a, b), sp.beta(a, b), rtol=1e-12)
        assert_allclose(kcm.beta_regularized(a, b, x), sp.betainc(a, b, x), rtol=1e-12)
        assert_allclose(kcm.beta_regularized_c(a, b, x), sp.betainc(b, a, 1 - x), rtol=1e-11)
        dens = np.exp((a - 1) * np.log(x) + (b - 1) * np.log1p(-x) - sp.betaln(a, b))
        assert_allclose(kcm.beta_derivative(a, b, x), dens, rtol=1e-11)

    def test_inverses(self):
        a, b = self.a, self.b
        p = np.array([0.05, 0.5, 0.7, 0.999])
        assert_allclose(kcm.inverse_beta_regularized(a, b, p), sp.betaincinv(a, b, p), rtol=1e-11)
        assert_allclose(kcm.inverse_beta_regularized_c(a, b, p), sp.betaincinv(a, b, 1 - p),
                        rtol=1e-10)
        x, y = kcm.inverse_beta_regularized2(2.0, 3.0, 0.3)
        assert_allclose(x, sp.betaincinv(2.0, 3.0, 0.3), rtol=1e-12)
        assert_allclose(x + y, 1.0, rtol=1e-15)
        x, y = kcm.inverse_beta_regularized_c2(2.0, 3.0, 0.3)
        assert_allclose(x, sp.betaincinv(2.0, 3.0, 0.7), rtol=1e-12)
        assert_allclose(x + y, 1.0, rtol=1e-15)

    def test_errors(self):
        with pytest.raises(kcm.DomainError):
            kcm.beta(0.0, 1.0)
        with pytest.warns(kcm.DomainWarning):
            x, _ = kcm.inverse_beta_regularized2(1.0, 1.0, 1.5)
        assert np.isnan(x)
