"""SciPy-shaped names: argument names and order, the studentized range on the
classical scale, the strict tail flag and the numpydoc docstrings."""
import inspect
import re

import numpy as np
import pytest
from numpy.testing import assert_allclose
from scipy import stats

import korvane_core_math as kcm

from conftest import needs

SIGNATURES = [
    (kcm.normal_pdf, ["x", "loc", "scale"]),
    (kcm.normal_cdf, ["x", "loc", "scale", "upper"]),
    (kcm.normal_icdf, ["p", "loc", "scale", "upper"]),
    (kcm.gamma_cdf, ["x", "shape", "scale", "upper"]),
    (kcm.hypergeometric_pdf, ["k", "M", "n", "N"]),
    (kcm.hypergeometric_cdf, ["k", "M", "n", "N", "upper"]),
    (kcm.hypergeometric_icdf, ["p", "M", "n", "N", "upper"]),
    (kcm.studentized_range_cdf, ["q", "k", "df", "upper"]),
    (kcm.studentized_range_icdf, ["p", "k", "df", "upper"]),
    (kcm.mca_cdf, ["q", "k", "df", "lambdas", "upper"]),
    (kcm.mca_icdf, ["p", "k", "df", "lambdas", "upper"]),
    (kcm.hsu_cdf, ["q", "k", "df", "lambdas", "upper"]),
    (kcm.hsu_icdf, ["p", "k", "df", "lambdas", "upper"]),
    (kcm.dunnett_cdf, ["q", "k", "df", "lambdas", "upper"]),
    (kcm.dunnett_icdf, ["p", "k", "df", "lambdas", "upper"]),
]


@pytest.mark.parametrize("fn, names", SIGNATURES, ids=[f.__name__ for f, _ in SIGNATURES])
def test_argument_names(fn, names):
    assert list(inspect.signature(fn).parameters) == names


def test_normal_loc_and_scale():
    assert_allclose(kcm.normal_cdf(2.0, loc=1.0, scale=4.0), stats.norm.cdf(2.0, loc=1.0, scale=4.0),
                    rtol=1e-14)
    assert_allclose(kcm.normal_icdf(p=0.1, loc=-3.0, scale=0.5), stats.norm.ppf(0.1, -3.0, 0.5),
                    rtol=1e-14)
    with pytest.raises(TypeError, match="mean"):
        kcm.normal_cdf(0.0, mean=1.0)


@needs("HypergeometricPDF", "HypergeometricCDF", "HypergeometricICDF")
@pytest.mark.parametrize("M, n, N", [(50, 15, 12), (30, 4, 20), (40, 25, 7)])
def test_hypergeometric_takes_scipys_order(M, n, N):
    # n != N, so exchanging the marked items and the draws would show.
    dist = stats.hypergeom(M, n, N)
    k = np.arange(max(0, n + N - M), min(n, N) + 1)
    assert_allclose(kcm.hypergeometric_pdf(k, M, n, N), dist.pmf(k), rtol=1e-11)
    assert_allclose(kcm.hypergeometric_cdf(k=k, M=M, n=n, N=N), dist.cdf(k), rtol=1e-11)
    assert_allclose(kcm.hypergeometric_cdf(k[:-1], M, n, N, upper=True), dist.sf(k[:-1]),
                    rtol=1e-10)
    p = np.array([0.1, 0.5, 0.9])
    assert np.array_equal(kcm.hypergeometric_icdf(p, M=M, n=n, N=N), dist.ppf(p))


# scipy.stats.studentized_range 1.10 (R's ptukey(3.5, 4, 20) = 0.90504...). The
# library integrates with a 48-point rule and inverts to 24 bits.
CLASSICAL_CDF = [  # q, k, df, P(Q <= q)
    (3.5, 4, 20, 0.9050415494536981),
    (2.0, 3, 10, 0.6294553249645047),
    (4.5, 6, 40, 0.9686124185753832),
    (3.0, 10, 5, 0.42387606189253874),
]
CLASSICAL_ISF = [  # p, k, df, q with P(Q > q) = p
    (0.05, 3, 10, 3.876776750013158),
    (0.05, 4, 20, 3.9582935609453846),
    (0.01, 6, 40, 5.114487878766677),
]


@needs("MCaCDF", "MCaICDF")
class TestClassicalStudentizedRange:
    @pytest.mark.parametrize("q, k, df, want", CLASSICAL_CDF)
    def test_cdf(self, q, k, df, want):
        assert_allclose(kcm.studentized_range_cdf(q, k, df), want, rtol=1e-6)
        assert_allclose(kcm.studentized_range_cdf(q, k, df, upper=True), 1 - want, rtol=1e-5)
        # The library's own scale is range / sqrt(2).
        assert_allclose(kcm.mca_cdf(q / np.sqrt(2), k, df), want, rtol=1e-6)

    def test_ptukey(self):
        assert round(kcm.studentized_range_cdf(3.5, 4, 20), 5) == 0.90504

    @pytest.mark.parametrize("p, k, df, want", CLASSICAL_ISF)
    def test_quantile(self, p, k, df, want):
        assert_allclose(kcm.studentized_range_icdf(p, k, df, upper=True), want, rtol=1e-6)
        assert_allclose(kcm.studentized_range_icdf(1 - p, k, df), want, rtol=1e-6)
        assert_allclose(kcm.mca_icdf(p, k, df, upper=True) * np.sqrt(2), want, rtol=1e-6)

    def test_arrays(self):
        q = np.array([[c[0]] for c in CLASSICAL_CDF[:1]] * 2)
        out = kcm.studentized_range_cdf(q, 4, [20.0, 20.0])
        assert out.shape == (2, 2)
        assert_allclose(out, CLASSICAL_CDF[0][3], rtol=1e-6)


UPPER_WRAPPERS = [
    ("normal_cdf", lambda u: kcm.normal_cdf(1.0, upper=u)),
    ("binomial_icdf", lambda u: kcm.binomial_icdf(0.3, 10, 0.4, upper=u)),
    ("fnc_hypergeometric_cdf", lambda u: kcm.fnc_hypergeometric_cdf(2, 10, 8, 30, 2.0, upper=u)),
    ("kolmogorov_cdf", lambda u: kcm.kolmogorov_cdf(0.2, 30, upper=u)),
    ("mca_cdf", lambda u: kcm.mca_cdf(2.0, 3, 10.0, upper=u)),
    ("dunnett_icdf", lambda u: kcm.dunnett_icdf(0.05, 3, 10.0, upper=u)),
    ("studentized_range_cdf", lambda u: kcm.studentized_range_cdf(3.0, 3, 10.0, upper=u)),
    ("array call", lambda u: kcm.student_t_cdf([1.0, 2.0], 5.0, upper=u)[0]),
]
IDS = [w[0] for w in UPPER_WRAPPERS]


@pytest.mark.parametrize("name, call", UPPER_WRAPPERS, ids=IDS)
def test_upper_accepts_booleans_and_0_1(name, call):
    lower, upper = call(False), call(True)
    assert lower != upper
    for v in (0, np.False_, np.int64(0)):
        assert call(v) == lower
    for v in (1, np.True_, np.int32(1)):
        assert call(v) == upper


@pytest.mark.parametrize("name, call", UPPER_WRAPPERS, ids=IDS)
@pytest.mark.parametrize("bad, error", [("no", TypeError), ("", TypeError), (None, TypeError),
                                        (1.0, TypeError), (2, ValueError), (-1, ValueError)])
def test_upper_refuses_anything_else(name, call, bad, error):
    with pytest.raises(error, match="upper"):
        call(bad)


# The functions of the special functions, distributions, Kolmogorov and
# multiple-comparison modules (the factory's wrappers are defined in _scalar).
MODULES = {"korvane_core_math." + m for m in
           ("special", "distributions", "empirical", "multcomp", "_scalar")}
PUBLIC = sorted(name for name in dir(kcm) if not name.startswith("_")
                and inspect.isfunction(getattr(kcm, name))
                and getattr(kcm, name).__module__ in MODULES)


def test_the_public_functions_are_found():
    # Guards the list the docstring test walks.
    assert len(PUBLIC) > 60 and "studentized_range_icdf" in PUBLIC and "erf" in PUBLIC
    assert set(PUBLIC) <= set(dir(kcm))


@pytest.mark.parametrize("name", PUBLIC)
def test_numpydoc_docstring(name):
    fn = getattr(kcm, name)
    doc = inspect.getdoc(fn)
    sections = re.findall(r"^(\w[\w ]*)\n-+$", doc, re.M)
    for wanted in ("Parameters", "Returns", "Examples"):
        assert wanted in sections, f"{name}: no {wanted} section"
    assert "Raises" in sections or "Warns" in sections
    params = doc.split("Parameters\n----------\n")[1].split("\n\n")[0]
    documented = re.findall(r"^(\w+) :", params, re.M)
    assert documented == list(inspect.signature(fn).parameters)
    # The example is evaluated and must give the value it shows.
    example = re.search(r"^>>> (kcm\.\w+\(.*\))\n(.+)$", doc, re.M)
    assert example, f"{name}: no example call"
    got = eval(example.group(1), {"kcm": kcm})
    shown = eval(example.group(2), {"array": np.array, "int32": np.int32})
    if isinstance(got, tuple):
        assert len(got) == len(shown)
        for g, s in zip(got, shown):
            assert_allclose(g, s, rtol=1e-13, atol=0)
    else:
        assert_allclose(got, shown, rtol=1e-13, atol=0)


def test_help_shows_the_sections(capsys):
    help(kcm.normal_cdf)
    text = capsys.readouterr().out
    assert "Parameters" in text and "loc : array_like of float" in text and ">>> kcm.normal_cdf" in text
