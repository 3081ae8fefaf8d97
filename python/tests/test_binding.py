"""The binding's own behaviour: the surface (names, docstrings, the tail flag),
errno and exception reports, array calls, and the checks made before a call."""
import inspect
import re
import threading
import tracemalloc
import warnings

import numpy as np
import pytest
from numpy.testing import assert_allclose, assert_array_equal

import korvane_core_math as kcm
from korvane_core_math import _native

from conftest import header_exports


def test_every_export_has_a_wrapper_a_prototype_and_its_array_loop():
    names = header_exports()
    assert len(names) == 91 and set(names) == set(kcm.EXPORTS) == set(_native.PROTOTYPES)
    assert not kcm.missing_exports()
    assert set(_native.loops) == set(_native.ARRAY_ARGUMENTS)
    assert set(_native.ARRAY_ARGUMENTS) <= {getattr(f, "export", None) for f in kcm.EXPORTS.values()}


@pytest.mark.parametrize("fn, names", [
    (kcm.normal_cdf, "x loc scale upper"), (kcm.normal_icdf, "p loc scale upper"),
    (kcm.gamma_cdf, "x shape scale upper"), (kcm.hypergeometric_cdf, "k M n N upper"),
    (kcm.hypergeometric_icdf, "p M n N upper"), (kcm.studentized_range_icdf, "p k df upper"),
    (kcm.mca_cdf, "q k df lambdas upper"), (kcm.dunnett_icdf, "p k df lambdas upper"),
], ids=lambda v: getattr(v, "__name__", ""))
def test_argument_names(fn, names):
    assert list(inspect.signature(fn).parameters) == names.split()


SCALAR_MODULES = ("special", "distributions", "empirical", "multcomp", "_scalar")
PUBLIC = sorted(n for n in dir(kcm) if not n.startswith("_") and inspect.isfunction(getattr(kcm, n))
                and getattr(kcm, n).__module__.split(".")[-1] in SCALAR_MODULES + ("linalg", "random", "optim"))


@pytest.mark.parametrize("name", PUBLIC)
def test_numpydoc_docstring_with_a_true_example(name):
    fn = getattr(kcm, name)
    doc = inspect.getdoc(fn)
    sections = set(re.findall(r"^(\w[\w ]*)\n-+$", doc, re.M))
    assert {"Returns", "Examples"} <= sections and ({"Raises", "Warns"} & sections)
    wanted = list(inspect.signature(fn).parameters)
    if wanted:
        params = doc.split("Parameters\n----------\n")[1].split("\n\n")[0]
        assert [p for line in re.findall(r"^(\w+(?:, \w+)*) :", params, re.M) for p in line.split(", ")] == wanted
    call, shown = re.search(r"^>>> (kcm\..*)\n?(.*)$", doc, re.M).groups()
    got = eval(call, {"kcm": kcm})
    shown = eval(shown or "None", {"array": np.array, "int32": np.int32})
    got, shown = (got, shown) if isinstance(got, tuple) else ([got], [shown])
    assert len(got) == len(shown)
    rtol = 1e-13 if fn.__module__.endswith(SCALAR_MODULES) else 1e-8  # numpy prints 8 digits of an array
    for g, s in zip(got, shown):
        assert g is s if s is None else np.allclose(g, s, rtol=rtol, atol=0)


def test_the_docstring_walk_finds_the_functions_and_help_shows_them(capsys):
    assert len(PUBLIC) > 60 and "studentized_range_icdf" in PUBLIC
    help(kcm.normal_cdf)
    text = capsys.readouterr().out
    assert "loc : array_like of float" in text and ">>> kcm.normal_cdf" in text


UPPER = [lambda u: kcm.normal_cdf(1.0, upper=u), lambda u: kcm.binomial_icdf(0.3, 10, 0.4, upper=u),
         lambda u: kcm.fnc_hypergeometric_cdf(2, 10, 8, 30, 2.0, upper=u),
         lambda u: kcm.kolmogorov_cdf(0.2, 30, upper=u), lambda u: kcm.dunnett_icdf(0.05, 3, 10.0, upper=u),
         lambda u: kcm.student_t_cdf([1.0, 2.0], 5.0, upper=u)[0]]


@pytest.mark.parametrize("call", UPPER)
def test_upper_takes_booleans_and_0_1_only(call):
    lower, upper = call(False), call(True)
    assert lower != upper
    assert [call(v) for v in (0, np.False_, np.int64(0), 1, np.True_, np.int32(1))] == [lower] * 3 + [upper] * 3
    for bad, error in [("no", TypeError), (None, TypeError), (1.0, TypeError), (2, ValueError), (-1, ValueError)]:
        with pytest.raises(error, match="upper"):
            call(bad)


def test_errno_modes_warn_raise_or_ignore():
    with pytest.warns(kcm.DomainWarning, match="NormalPDF"):
        assert np.isnan(kcm.normal_pdf(0.0, scale=-1.0))
    with kcm.errstate(domain="raise", range="raise"):
        with pytest.raises(kcm.DomainError) as info:
            kcm.normal_cdf(0.0, scale=0.0)
        assert info.value.errno == 33
        with pytest.raises(kcm.OverflowError_):
            kcm.inverse_erf(1.0)
    with kcm.errstate(domain="ignore", range="ignore"), warnings.catch_warnings():
        warnings.simplefilter("error")
        assert np.isnan(kcm.normal_pdf(0.0, scale=-1.0)) and kcm.inverse_erfc(0.0) == np.inf
    assert kcm.geterr() == {"domain": "warn", "range": "warn"}
    assert issubclass(kcm.DomainError, ValueError) and issubclass(kcm.LinAlgError, np.linalg.LinAlgError)
    # errno is cleared before each call; a finite value after a failed check still reports.
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        kcm.normal_pdf(0.0)
    with pytest.warns(kcm.DomainWarning):
        assert kcm.normal_cdf(np.inf, 0.0, -1.0, upper=True) == 0.0


@pytest.mark.parametrize("cxx, cls", [
    ("std::domain_error", kcm.DomainError), ("std::overflow_error", kcm.OverflowError_),
    ("boost::math::evaluation_error", kcm.EvaluationError), ("boost::math::rounding_error", kcm.RoundingError),
    ("unknown", kcm.KcmError), ("std::bad_alloc", MemoryError)])
def test_each_exception_type_is_reraised_as_its_class(cxx, cls):
    status = _native.CallStatus()
    status.thrown, status.type, status.message = 1, cxx.encode(), b"what"
    with pytest.raises(cls) as info:
        kcm.errors.raise_thrown(status, "Export")
    if cls is not MemoryError:
        assert info.value.cxx_type == cxx and str(info.value) == "Export: what"


# ---- Arrays: one loop per array, bit for bit the scalar calls ----------------------
P = np.array([1e-12, 0.025, 0.3, 0.5, 0.975, 1 - 1e-9])
POS = np.array([1e-3, 0.5, 1.0, 2.5, 10.0, 150.0])
SAMPLES = [
    (kcm.normal_cdf, dict(x=[-7.5, 0.0, 1.5, 40.0], loc=0.5, scale=[[1.0], [2.0]], upper=True)),
    (kcm.gamma_regularized_c, dict(a=POS[:, None], x=POS)),
    (kcm.beta_regularized, dict(a=2.5, b=POS, x=[[0.0], [0.2], [1.0]])),
    (kcm.student_t_icdf, dict(p=P, df=[[1.0], [3.5], [1e6]], upper=True)),
    (kcm.binomial_icdf, dict(p=P, n=50, prob=0.4, round_up=False)),
    (kcm.fnc_hypergeometric_cdf, dict(x=np.arange(5), n=4, m=[[3], [6]], N=10, odds=2.5)),
    (kcm.kolmogorov_icdf, dict(p=[0.1, 0.5, 0.95], n=25)),
    (kcm.mcc_icdf, dict(p=[0.05, 0.3], k=3, df=[[15.0], [40.0]], lambdas=[0.7, 0.6, 0.65], upper=True)),
]


def scalar_calls(fn, kwargs):
    names = [k for k, v in kwargs.items() if np.ndim(v) > 0 and k != "lambdas"]
    arrays = np.broadcast_arrays(*[np.asarray(kwargs[k]) for k in names])
    out = np.empty(arrays[0].shape)
    for index in np.ndindex(out.shape):
        out[index] = fn(**{**kwargs, **{k: a[index].item() for k, a in zip(names, arrays)}})
    return out


@pytest.mark.parametrize("fn, kwargs", SAMPLES, ids=[s[0].__name__ for s in SAMPLES])
def test_an_array_call_gives_the_scalar_calls_bit_for_bit(fn, kwargs):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        out, want = fn(**kwargs), scalar_calls(fn, kwargs)
    assert out.shape == want.shape and np.array_equal(out.view(np.int64), want.view(np.int64))


def test_any_layout_of_the_arguments_reads_the_right_elements():
    grid = np.linspace(0.01, 0.99, 12).reshape(3, 4)
    for p, df in [(grid.T, 4.0), (grid.ravel()[::-2], np.arange(1.0, 7.0)), (grid[:, :1], [1.0, 2.0, 5.0]),
                  (grid.astype(np.float32), 3.0), (grid.tolist(), [[2.0], [3.0], [4.0]])]:
        assert_array_equal(kcm.student_t_icdf(p, df), scalar_calls(kcm.student_t_icdf, dict(p=p, df=df)))
    assert kcm.normal_cdf(np.empty((0, 3))).shape == (0, 3)


@pytest.mark.parametrize("call, key, cls, failing", [
    (lambda: kcm.gamma_ln([0.0, 2.0, -1.0, 4.0]), "domain", kcm.DomainError, [0, 2]),
    (lambda: kcm.log_xplus1([0.5, -1.0]), "range", kcm.OverflowError_, [1]),
    (lambda: kcm.binomial_cdf(3.0, 10.0, [0.5, 1.5]), "domain", kcm.DomainError, [1]),
    (lambda: kcm.normal_pdf([0.0, 1.0], scale=[-1.0, 1.0]), "domain", kcm.DomainError, [0]),
    (lambda: kcm.normal_icdf([0.5, 0.0]), "range", kcm.OverflowError_, [1]),
    (lambda: kcm.mca_cdf([2.0, 3.0], 3, [10.0, -1.0]), "domain", kcm.DomainError, [1]),
])
def test_failed_elements_are_nan_with_one_report_and_the_others_kept(call, key, cls, failing):
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        out = call()
    assert [type(w.message) for w in caught] == [kcm.DomainWarning if key == "domain" else kcm.RangeWarning]
    assert f"in {len(failing)} element" in str(caught[0].message)
    assert np.isfinite(np.delete(out, failing)).all() and not np.isfinite(out[failing]).any()
    with kcm.errstate(**{key: "raise"}), pytest.raises(cls, match=f"in {len(failing)} element"):
        call()


BIG = 2 ** 31


@pytest.mark.parametrize("call, name", [
    (lambda: kcm.RandomStream(1).normal(BIG), "n"), (lambda: kcm.RandomStream(1).integers(4, 0, BIG), "b"),
    (lambda: kcm.RandomStream(1).skip_ahead(BIG), "nskip"), (lambda: kcm.random_normal_variables(BIG, 1), "n"),
    (lambda: kcm.random_normal_variables(1, -BIG - 1), "count"),
    (lambda: kcm.random_normal_variables(2 ** 16, 2 ** 15), r"n \* count"),
    (lambda: kcm.mcb_icdf([0.1, 0.2], k=BIG, df=10.0), "k"),
    (lambda: kcm.fnc_hypergeometric_cdf([1, 2], 4, 3, [10, BIG], 1.0), "N"),
    (lambda: kcm.binomial_icdf(0.5, 10, 0.5, round_up=BIG), "round_up"), (lambda: kcm.LBFGSB(n=2, m=BIG), "m"),
])
def test_sizes_beyond_32_bits_raise_before_any_allocation(call, name):
    tracemalloc.start()
    try:
        with pytest.raises(OverflowError, match=f"^{name} "):
            call()
        assert tracemalloc.get_traced_memory()[1] < 1 << 20
    finally:
        tracemalloc.stop()


def qr(m, n):
    return kcm.qr(np.random.default_rng(3).standard_normal((m, n)))


@pytest.mark.parametrize("call, name", [
    (lambda: kcm.qr_q(qr(5, 3)[0], qr(5, 3)[1][:1]), "tau"), (lambda: kcm.qr_q(qr(5, 3)[0], np.zeros(4)), "tau"),
    (lambda: kcm.qr_q(*qr(3, 5)), "qr"), (lambda: kcm.qr_qy(*qr(5, 3), np.ones(4)), "c"),
    (lambda: kcm.cholesky_solve(np.eye(3), np.ones(5)), "b"),
    (lambda: kcm.solve_triangular_system(np.eye(3), np.ones((2, 2))), "b"),
    (lambda: kcm.ls(np.ones((4, 2)), np.ones(3)), "b"),
    (lambda: kcm.fnc_hypergeometric_cdf([1, 2.5], 4, 3, 10, 1.0), "x must hold integers"),
])
def test_shapes_and_kinds_are_checked_against_what_the_export_reads(call, name):
    with pytest.raises(ValueError, match=f"^{name}"):
        call()


@pytest.mark.parametrize("fn, bad, message", [
    (lambda p: kcm.kolmogorov_icdf(p, 10), [np.nan], "p is NaN"),
    (lambda p: kcm.fnc_hypergeometric_icdf(p, 4, 3, 10, 2.0), [np.nan, 2.0, -1e-300], "p is NaN"),
    *[(lambda lam: kcm.mca_cdf([2.0], 3, 10.0, lambdas=lam), [lam], "lambdas outside")
      for lam in ([-1.0] * 3, [0.5, 1.0, 0.5], [0.5, np.nan, 0.5])],
])
def test_arguments_without_an_answer_give_nan_and_a_domain_report(fn, bad, message):
    for v in bad:
        with pytest.warns(kcm.DomainWarning, match=message):
            assert np.isnan(fn(v)).all()
        with kcm.errstate(domain="raise"), pytest.raises(kcm.DomainError):
            fn(v)
    with warnings.catch_warnings():
        warnings.simplefilter("error")  # only the first k lambdas are read
        assert kcm.mca_cdf(2.0, 3, 10.0, lambdas=[0.7, 0.6, 0.65, 7.0]) == kcm.mca_cdf(2.0, 3, 10.0, [0.7, 0.6, 0.65])


def test_concurrent_array_calls_give_the_serial_results():
    p = np.linspace(1e-6, 1 - 1e-6, 200_001)
    jobs = [lambda: kcm.student_t_icdf(p, 7.0), lambda: kcm.normal_cdf(p * 10 - 5),
            lambda: kcm.beta_cdf(p, 2.0, 3.0, upper=True)]
    serial = [job() for job in jobs]
    results = [None] * 8
    threads = [threading.Thread(target=lambda i=i: results.__setitem__(i, jobs[i % 3]())) for i in range(8)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for i, out in enumerate(results):
        assert_array_equal(out, serial[i % 3])
