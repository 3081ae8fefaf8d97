"""Every family of the binding against SciPy: argument names and order, tails,
loc/scale, and the error each bad argument reports. The library's accuracy is
measured by the C++ tests against mpmath and R; these rows catch a binding that
passes the right numbers to the wrong place."""
import numpy as np
import pytest
from numpy.testing import assert_allclose, assert_array_equal
from scipy import integrate, special as sp, stats

import korvane_core_math as kcm

X = np.array([-3.0, -0.5, 0.0, 0.25, 1.0, 2.5, 5.0])
P = np.array([1e-6, 0.025, 0.3, 0.6, 0.9, 0.999])
A, B, U = np.array([0.5, 1.0, 3.5, 20.0]), np.array([0.5, 3.0, 2.5, 40.0]), np.array([0.1, 0.5, 0.9, 0.02])
G = np.array([0.1, 1.0, 4.0, 25.0])
K20 = np.arange(0, 21)


def over_scale(cond, df):
    """E[cond(s)], s = sqrt(X/df), X ~ chi-squared(df)."""
    dens = stats.chi(df, scale=1 / np.sqrt(df)).pdf
    return integrate.quad(lambda s: cond(s) * dens(s), 0, np.inf, epsabs=1e-13)[0]


def continuous(name, pdf, cdf, icdf, dist, x, rtol=1e-11, itol=1e-10, p=P):
    return [(f"{name} pdf", lambda: pdf(x), lambda: dist.pdf(x), rtol),
            (f"{name} cdf", lambda: cdf(x), lambda: dist.cdf(x), rtol),
            (f"{name} sf", lambda: cdf(x, upper=True), lambda: dist.sf(x), rtol),
            (f"{name} ppf", lambda: icdf(p), lambda: dist.ppf(p), itol),
            (f"{name} isf", lambda: icdf(p, upper=True), lambda: dist.isf(p), itol)]


HG = stats.hypergeom(50, 15, 12)
FNC = stats.nchypergeom_fisher(60, 25, 20, 2.5)
ROWS = [  # id, the binding, the oracle, rtol
    ("erf", lambda: kcm.erf(X), lambda: sp.erf(X), 1e-13),
    ("erfc", lambda: kcm.erfc(X), lambda: sp.erfc(X), 1e-13),
    ("inverse_erf", lambda: kcm.inverse_erf([-0.9, 0.3, 0.999]), lambda: sp.erfinv([-0.9, 0.3, 0.999]), 1e-13),
    ("inverse_erfc", lambda: kcm.inverse_erfc([1e-20, 0.1, 1.7]), lambda: sp.erfcinv([1e-20, 0.1, 1.7]), 1e-13),
    ("normal_cdf loc scale", lambda: kcm.normal_cdf(X, loc=1.0, scale=2.0), lambda: sp.ndtr((X - 1) / 2), 1e-13),
    ("normal_cdf upper", lambda: kcm.normal_cdf(X, 1.0, 2.0, upper=True), lambda: sp.ndtr((1 - X) / 2), 1e-13),
    ("normal_icdf", lambda: kcm.normal_icdf(p=P, loc=3.0, scale=2.0), lambda: stats.norm.ppf(P, 3, 2), 1e-13),
    ("normal_icdf upper", lambda: kcm.normal_icdf(P, 3.0, 2.0, True), lambda: stats.norm.isf(P, 3, 2), 1e-13),
    ("gamma", lambda: kcm.gamma([0.5, 5.0, 10.5, 171.0]), lambda: sp.gamma([0.5, 5.0, 10.5, 171.0]), 1e-12),
    ("gamma_ln", lambda: kcm.gamma_ln([0.5, 3.0, 100.0, -2.5]), lambda: sp.gammaln([0.5, 3.0, 100.0, -2.5]), 1e-12),
    ("gamma_regularized", lambda: kcm.gamma_regularized(A, G), lambda: sp.gammainc(A, G), 1e-12),
    ("gamma_regularized_c", lambda: kcm.gamma_regularized_c(A, G), lambda: sp.gammaincc(A, G), 1e-12),
    ("incomplete_gamma_lower", lambda: kcm.incomplete_gamma_lower(A, G), lambda: sp.gammainc(A, G) * sp.gamma(A), 1e-12),
    ("incomplete_gamma_upper", lambda: kcm.incomplete_gamma_upper(A, G), lambda: sp.gammaincc(A, G) * sp.gamma(A), 1e-12),
    ("inverse_gamma_regularized", lambda: kcm.inverse_gamma_regularized(A, U), lambda: sp.gammaincinv(A, U), 1e-11),
    ("inverse_gamma_regularized_c", lambda: kcm.inverse_gamma_regularized_c(A, U), lambda: sp.gammainccinv(A, U), 1e-11),
    ("gamma_derivative", lambda: kcm.gamma_derivative(A, G), lambda: np.exp((A - 1) * np.log(G) - G - sp.gammaln(A)), 1e-12),
    ("log_xplus1", lambda: kcm.log_xplus1([1e-20, -0.5, 3.0]), lambda: np.log1p([1e-20, -0.5, 3.0]), 1e-13),
    ("beta", lambda: kcm.beta(A, B), lambda: sp.beta(A, B), 1e-12),
    ("beta_regularized", lambda: kcm.beta_regularized(A, B, U), lambda: sp.betainc(A, B, U), 1e-12),
    ("beta_regularized_c", lambda: kcm.beta_regularized_c(A, B, U), lambda: sp.betainc(B, A, 1 - U), 1e-11),
    ("beta_derivative", lambda: kcm.beta_derivative(A, B, U),
     lambda: np.exp((A - 1) * np.log(U) + (B - 1) * np.log1p(-U) - sp.betaln(A, B)), 1e-11),
    ("inverse_beta_regularized", lambda: kcm.inverse_beta_regularized(A, B, U), lambda: sp.betaincinv(A, B, U), 1e-11),
    ("inverse_beta_regularized_c", lambda: kcm.inverse_beta_regularized_c(A, B, U), lambda: sp.betaincinv(A, B, 1 - U), 1e-10),
    ("inverse_beta_regularized2", lambda: kcm.inverse_beta_regularized2(2.0, 3.0, 0.3),
     lambda: (sp.betaincinv(2, 3, 0.3), 1 - sp.betaincinv(2, 3, 0.3)), 1e-12),
    ("inverse_beta_regularized_c2", lambda: kcm.inverse_beta_regularized_c2(2.0, 3.0, 0.3),
     lambda: (sp.betaincinv(2, 3, 0.7), 1 - sp.betaincinv(2, 3, 0.7)), 1e-12),
    # SciPy and the library differ by ~2e-10 in the t and F quantiles at these df.
    *continuous("t", lambda x: kcm.student_t_pdf(x, 7.5), lambda x, upper=False: kcm.student_t_cdf(x, 7.5, upper),
                lambda p, upper=False: kcm.student_t_icdf(p, 7.5, upper), stats.t(7.5), X, itol=1e-9),
    *continuous("chi2", lambda x: kcm.chi_squared_pdf(x, 4.0), lambda x, upper=False: kcm.chi_squared_cdf(x, 4.0, upper),
                lambda p, upper=False: kcm.chi_squared_icdf(p, 4.0, upper), stats.chi2(4.0), G),
    *continuous("f", lambda x: kcm.fisher_f_pdf(x, 3.0, 12.0), lambda x, upper=False: kcm.fisher_f_cdf(x, 3.0, 12.0, upper),
                lambda p, upper=False: kcm.fisher_f_icdf(p, 3.0, 12.0, upper), stats.f(3, 12), G, itol=1e-9),
    *continuous("gamma", lambda x: kcm.gamma_pdf(x, 2.5, scale=3.0), lambda x, upper=False: kcm.gamma_cdf(x, 2.5, 3.0, upper),
                lambda p, upper=False: kcm.gamma_icdf(p, 2.5, 3.0, upper), stats.gamma(2.5, scale=3.0), G),
    *continuous("beta", lambda x: kcm.beta_pdf(x, 2.0, 5.0), lambda x, upper=False: kcm.beta_cdf(x, 2.0, 5.0, upper),
                lambda p, upper=False: kcm.beta_icdf(p, 2.0, 5.0, upper), stats.beta(2, 5), U),
    # SciPy's noncentral t is itself accurate to about 1e-9 here.
    *continuous("nct", lambda x: kcm.noncentral_t_pdf(x, 10.0, 1.5), lambda x, upper=False: kcm.noncentral_t_cdf(x, 10.0, 1.5, upper),
                lambda p, upper=False: kcm.noncentral_t_icdf(p, 10.0, 1.5, upper), stats.nct(10, 1.5), X,
                rtol=1e-8, itol=1e-7, p=P[1:-1]),
    ("binomial pmf", lambda: kcm.binomial_pdf(K20, 20, 0.3), lambda: stats.binom.pmf(K20, 20, 0.3), 1e-12),
    ("binomial cdf", lambda: kcm.binomial_cdf(K20, 20, 0.3), lambda: stats.binom.cdf(K20, 20, 0.3), 1e-12),
    ("binomial sf", lambda: kcm.binomial_cdf(K20[:-3], 20, 0.3, True), lambda: stats.binom.sf(K20[:-3], 20, 0.3), 1e-11),
    ("binomial ppf", lambda: kcm.binomial_icdf(P, 20, 0.3), lambda: stats.binom.ppf(P, 20, 0.3), 0),
    ("binomial ppf round down", lambda: kcm.binomial_icdf([0.05, 0.5], 20, 0.3, round_up=False), lambda: [2, 5], 0),
    ("binomial_ps lower", lambda: kcm.binomial_ps(0.025, 7, 30, "lower"), lambda: stats.beta.ppf(0.025, 7, 24), 1e-10),
    ("binomial_ps upper", lambda: kcm.binomial_ps(0.025, 7, 30, "upper"), lambda: stats.beta.isf(0.025, 8, 23), 1e-10),
    ("binomial_ps k = 0, bad n", lambda: [kcm.binomial_ps(0.025, 0, 30, 0), kcm.binomial_ps(0.025, 50, -1, 2)],
     lambda: [0.0, -1.0], 0),
    ("poisson pmf", lambda: kcm.poisson_pdf(K20, 6.5), lambda: stats.poisson.pmf(K20, 6.5), 1e-12),
    ("poisson cdf", lambda: kcm.poisson_cdf(K20, 6.5), lambda: stats.poisson.cdf(K20, 6.5), 1e-12),
    ("poisson sf", lambda: kcm.poisson_cdf(K20, 6.5, upper=True), lambda: stats.poisson.sf(K20, 6.5), 1e-10),
    ("poisson ppf", lambda: kcm.poisson_icdf(P, 6.5), lambda: stats.poisson.ppf(P, 6.5), 0),
    # SciPy's order (k, M, n, N), n != N so that swapping them would show.
    ("hypergeom pmf", lambda: kcm.hypergeometric_pdf(k=K20[:13], M=50, n=15, N=12), lambda: HG.pmf(K20[:13]), 1e-11),
    ("hypergeom cdf", lambda: kcm.hypergeometric_cdf(K20[:13], 50, 15, 12), lambda: HG.cdf(K20[:13]), 1e-11),
    ("hypergeom sf", lambda: kcm.hypergeometric_cdf(K20[:8], 50, 15, 12, True), lambda: HG.sf(K20[:8]), 1e-10),
    ("hypergeom ppf", lambda: kcm.hypergeometric_icdf(P, 50, 15, 12), lambda: HG.ppf(P), 0),
    ("fnc cdf", lambda: kcm.fnc_hypergeometric_cdf(K20[3:18], 20, 25, 60, 2.5), lambda: FNC.cdf(K20[3:18]), 1e-7),
    ("fnc sf", lambda: kcm.fnc_hypergeometric_cdf(K20[3:15], 20, 25, 60, 2.5, True), lambda: FNC.sf(K20[3:15]), 1e-7),
    ("fnc central", lambda: kcm.fnc_hypergeometric_cdf(K20[2:16], 20, 25, 60, 1.0),
     lambda: stats.hypergeom.cdf(K20[2:16], 60, 25, 20), 1e-7),
    ("fnc ppf", lambda: kcm.fnc_hypergeometric_icdf(P[1:], 20, 25, 60, 2.5), lambda: FNC.ppf(P[1:]), 0),
    ("fnc moments", lambda: kcm.fnc_hypergeometric_moments(20, 25, 60, 2.5), lambda: FNC.stats("mv"), 1e-7),
    ("kolmogorov cdf", lambda: kcm.kolmogorov_cdf([0.05, 0.15, 0.3], 20), lambda: stats.kstwo.cdf([0.05, 0.15, 0.3], 20), 1e-9),
    ("kolmogorov sf n = 2", lambda: kcm.kolmogorov_cdf([0.3, 0.7, 0.95], 2, True), lambda: stats.kstwo.sf([0.3, 0.7, 0.95], 2), 1e-9),
    ("kolmogorov large n", lambda: kcm.kolmogorov_cdf([0.02, 0.05], 2000, True), lambda: stats.kstwo.sf([0.02, 0.05], 2000), 1e-5),
    ("kolmogorov below 0", lambda: [kcm.kolmogorov_cdf(-0.1, 10), kcm.kolmogorov_cdf(-0.1, 10, True)], lambda: [0, 1], 0),
    # Roots found to 24 bits.
    ("kolmogorov ppf", lambda: kcm.kolmogorov_icdf([0.05, 0.5, 0.95], 30), lambda: stats.kstwo.ppf([0.05, 0.5, 0.95], 30), 1e-6),
    ("kolmogorov isf", lambda: kcm.kolmogorov_icdf(0.05, 30, True), lambda: stats.kstwo.isf(0.05, 30), 1e-6),
    # The classical studentized range (R's ptukey(3.5, 4, 20) = 0.90504...);
    # the library's own scale is range / sqrt(2).
    ("studentized_range cdf", lambda: kcm.studentized_range_cdf(3.5, 4, [20, 20]), lambda: [0.9050415494536981] * 2, 1e-6),
    ("studentized_range k = 3", lambda: kcm.studentized_range_cdf(2.0, 3, 10), lambda: 0.6294553249645047, 1e-6),
    ("studentized_range sf", lambda: kcm.studentized_range_cdf(q=4.5, k=6, df=40, upper=True), lambda: 1 - 0.9686124185753832, 1e-5),
    ("studentized_range isf", lambda: kcm.studentized_range_icdf(p=0.05, k=4, df=20, upper=True), lambda: 3.9582935609453846, 1e-6),
    ("studentized_range ppf", lambda: kcm.studentized_range_icdf(0.99, 6, 40), lambda: 5.114487878766677, 1e-6),
    ("mca cdf scale", lambda: kcm.mca_cdf(3.5 / np.sqrt(2), 4, 20), lambda: 0.9050415494536981, 1e-6),
    ("mca isf scale", lambda: kcm.mca_icdf(0.05, 3, 10, upper=True), lambda: 3.876776750013158 / np.sqrt(2), 1e-6),
    ("hsu independent", lambda: kcm.hsu_cdf([0.5, 2.5], 4, 15.0, lambdas=np.zeros(4)),
     lambda: [over_scale(lambda s: stats.norm.cdf(q * s) ** 3, 15) for q in (0.5, 2.5)], 1e-6),
    ("hsu k = 2 is t", lambda: kcm.hsu_icdf(0.05, 2, 15.0, upper=True), lambda: stats.t.isf(0.05, 15), 1e-6),
    ("dunnett independent", lambda: kcm.dunnett_cdf([0.5, 2.5], 4, 15.0, lambdas=np.zeros(4)),
     lambda: [over_scale(lambda s: (2 * stats.norm.cdf(q * s) - 1) ** 3, 15) for q in (0.5, 2.5)], 1e-6),
    ("dunnett k = 2 is |t|", lambda: kcm.dunnett_icdf(0.05, 2, 15.0, upper=True), lambda: stats.t.isf(0.025, 15), 1e-6),
    ("mca balanced lambdas", lambda: kcm.mca_cdf(2.0, 4, 20.0), lambda: kcm.mca_cdf(2.0, 4, 20.0, lambdas=[0.5 ** 0.5] * 4), 0),
    # The order function reports descending pairs as equal: short arrays rotate.
    ("sort_double_array", lambda: [kcm.sort_double_array([1.0, 2.0, 3.0]), kcm.sort_double_array([3.0, 2.0, 1.0])],
     lambda: [[2, 3, 1], [2, 1, 3]], 0),
    ("extract_sorted", lambda: kcm.extract_sorted([2, 0, 1, -1], [5.0, 6.0, 7.0, 8.0]),
     lambda: ([5, 5, 7], [0, 0, 0, -1]), 0),
]


@pytest.mark.parametrize("name, got, want, rtol", ROWS, ids=[r[0] for r in ROWS])
def test_against_scipy(name, got, want, rtol):
    got, want = got(), want()
    if isinstance(got, tuple):
        got, want = list(got), list(want)
        for g, w in zip(got, want):
            (assert_allclose if rtol else assert_array_equal)(g, w, **({"rtol": rtol} if rtol else {}))
    elif rtol:
        assert_allclose(got, want, rtol=rtol, atol=1e-300)
    else:
        assert_array_equal(got, want)


ERRORS = [  # the call, what it reports (an exception, or a warning with NaN/inf), message
    (lambda: kcm.normal_pdf(0.0, scale=-1.0), kcm.DomainWarning, "NormalPDF"),
    (lambda: kcm.normal_icdf(0.0), kcm.RangeWarning, "NormalICDF"),
    (lambda: kcm.student_t_cdf(1.0, 0.0), kcm.DomainWarning, "StudentTCDF"),
    (lambda: kcm.chi_squared_cdf(np.inf, 3.0), kcm.DomainWarning, ""),
    (lambda: kcm.inverse_gamma_regularized(2.0, 1.5), kcm.DomainWarning, ""),
    (lambda: kcm.inverse_beta_regularized2(1.0, 1.0, 1.5)[0], kcm.DomainWarning, ""),
    (lambda: kcm.log_xplus1(-1.5), kcm.DomainError, r"LogXplus1: .*log1p\(x\) requires x > -1"),
    (lambda: kcm.log_xplus1(-1.0), kcm.OverflowError_, ""),
    (lambda: kcm.gamma_ln(-2.0), kcm.DomainError, ""),
    (lambda: kcm.gamma_regularized(-1.0, 1.0), kcm.KcmError, ""),
    (lambda: kcm.beta(0.0, 1.0), kcm.DomainError, ""),
    (lambda: kcm.binomial_pdf(1, 10, 1.5), kcm.DomainError, "Success fraction"),
    (lambda: kcm.binomial_cdf(1, -1, 0.5), kcm.DomainError, "Number of Trials"),
    *[(lambda m=m: kcm.poisson_pdf(1, m), kcm.DomainError, "") for m in (0.0, -1.0, np.inf, np.nan)],
    (lambda: kcm.hypergeometric_pdf(1, 50, 60, 12), kcm.DomainError, ""),
    (lambda: kcm.hypergeometric_pdf(np.inf, 50, 15, 12), kcm.RoundingError, ""),
    (lambda: kcm.hypergeometric_pdf(2.5, 50, 15, 12), kcm.KcmError, ""),
    (lambda: kcm.kolmogorov_icdf(1.5, 10), kcm.EvaluationError, ""),
    (lambda: kcm.mca_cdf(2.0, 3, 0.0), kcm.DomainError, "Degrees of freedom"),
    (lambda: kcm.mca_cdf(2.0, 4, 20.0, lambdas=[0.5]), ValueError, "lambdas needs k = 4"),
]


@pytest.mark.parametrize("call, report, message", ERRORS)
def test_bad_arguments_report_their_error(call, report, message):
    if issubclass(report, Warning):
        with pytest.warns(report, match=message):
            assert not np.isfinite(call())
    else:
        with pytest.raises(report, match=message):
            call()


def test_errno_free_refusals_stay_silent():
    import warnings
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        assert np.isnan(kcm.gamma(-0.5)) and kcm.gamma(0.0) == np.inf
