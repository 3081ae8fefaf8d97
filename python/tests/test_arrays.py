"""Array calls (one call of the non-throwing layer's loop per array), the
checks made before a call, and the arguments the binding refuses."""
import math
import threading
import tracemalloc
import warnings

import numpy as np
import pytest
from numpy.testing import assert_array_equal

import korvane_core_math as kcm
from korvane_core_math import _native

P = np.array([1e-12, 0.001, 0.025, 0.3, 0.5, 0.77, 0.975, 1 - 1e-9])
X = np.array([-7.5, -1.0, 0.0, 0.25, 1.5, 3.0, 40.0])
POS = np.array([1e-3, 0.5, 1.0, 2.5, 10.0, 150.0])
UNIT = np.array([0.0, 1e-9, 0.2, 0.5, 0.8, 1.0])
LAM3 = [0.7, 0.6, 0.65]

# One row per family sampled: the wrapper and its arguments, some arrays
# (broadcast against each other), some scalars. Each array element must be
# bit for bit what the scalar call gives for that element.
SAMPLES = [
    ("erf", kcm.erf, dict(x=X)),
    ("normal_cdf upper", kcm.normal_cdf, dict(x=X, loc=0.5, scale=[[1.0], [2.0]], upper=True)),
    ("normal_icdf", kcm.normal_icdf, dict(p=P, loc=1.0, scale=3.0)),
    ("gamma_ln", kcm.gamma_ln, dict(x=POS)),
    ("gamma_regularized_c", kcm.gamma_regularized_c, dict(a=POS[:, None], x=POS)),
    ("inverse_gamma_regularized", kcm.inverse_gamma_regularized, dict(a=POS, p=0.3)),
    ("log_xplus1", kcm.log_xplus1, dict(x=[-0.5, 1e-17, 3.0])),
    ("beta_regularized", kcm.beta_regularized, dict(a=2.5, b=POS, x=UNIT[:, None])),
    ("inverse_beta_regularized_c", kcm.inverse_beta_regularized_c, dict(a=0.5, b=POS, q=0.2)),
    ("student_t_icdf upper", kcm.student_t_icdf, dict(p=P, df=[[1.0], [3.5], [1e6]], upper=True)),
    ("chi_squared_cdf", kcm.chi_squared_cdf, dict(x=POS, df=[1.0, 7.0, 1e4, 0.5, 3.0, 2.0])),
    ("fisher_f_icdf", kcm.fisher_f_icdf, dict(p=P, df1=3.0, df2=12.0)),
    ("gamma_icdf upper", kcm.gamma_icdf, dict(p=P, shape=2.0, scale=0.5, upper=True)),
    ("beta_cdf", kcm.beta_cdf, dict(x=UNIT, a=0.5, b=[[0.5], [7.0]])),
    ("noncentral_t_cdf", kcm.noncentral_t_cdf, dict(x=X[:4], df=10.0, delta=1.5)),
    ("binomial_cdf", kcm.binomial_cdf, dict(k=np.arange(0, 21, 4.0), n=20, prob=0.3)),
    ("binomial_icdf round down", kcm.binomial_icdf, dict(p=P, n=50, prob=0.4, round_up=False)),
    ("poisson_icdf upper", kcm.poisson_icdf, dict(p=P, mean=3.5, upper=True)),
    ("hypergeometric_cdf", kcm.hypergeometric_cdf, dict(k=[0.0, 1.0, 2.0, 3.0], M=20, n=5, N=4)),
    ("fnc_hypergeometric_cdf", kcm.fnc_hypergeometric_cdf,
     dict(x=np.arange(5), n=4, m=[[3], [6]], N=10, odds=2.5)),
    ("fnc_hypergeometric_icdf", kcm.fnc_hypergeometric_icdf, dict(p=P, n=4, m=3, N=10, odds=0.5)),
    ("kolmogorov_cdf upper", kcm.kolmogorov_cdf, dict(x=[0.05, 0.2, 0.4], n=[[10], [200]], upper=True)),
    ("kolmogorov_icdf", kcm.kolmogorov_icdf, dict(p=[0.1, 0.5, 0.95], n=25)),
    ("mca_cdf", kcm.mca_cdf, dict(q=[1.0, 3.5], k=3, df=20.0, lambdas=LAM3)),
    ("mcc_icdf upper", kcm.mcc_icdf, dict(p=[0.05, 0.3], k=3, df=[[15.0], [40.0]], upper=True)),
]


def _scalar_calls(fn, kwargs):
    """The scalar path, element by element over the broadcast arguments."""
    names = [k for k, v in kwargs.items() if np.ndim(v) > 0 and k not in ("lambdas",)]
    arrays = np.broadcast_arrays(*[np.asarray(kwargs[k]) for k in names])
    out = np.empty(arrays[0].shape)
    for index in np.ndindex(out.shape):
        args = dict(kwargs)
        args.update({k: a[index].item() for k, a in zip(names, arrays)})
        out[index] = fn(**args)
    return out


@pytest.mark.parametrize("what, fn, kwargs", SAMPLES, ids=[s[0] for s in SAMPLES])
def test_an_array_call_gives_the_scalar_calls_bit_for_bit(what, fn, kwargs):
    with warnings.catch_warnings():
        warnings.simplefilter("error")  # every sample is a valid argument
        out = fn(**kwargs)
        expected = _scalar_calls(fn, kwargs)
    assert out.shape == expected.shape
    assert_array_equal(out.view(np.int64), expected.view(np.int64))


@pytest.mark.parametrize("layout", ["transposed", "reversed", "broadcast 2-d", "float32", "list"])
def test_any_layout_of_the_arguments_reads_the_right_elements(layout):
    grid = np.linspace(0.01, 0.99, 12).reshape(3, 4)
    p, df = {
        "transposed": (grid.T, 4.0),                             # not one stride: copied
        "reversed": (grid.ravel()[::-2], np.arange(1.0, 7.0)),    # negative stride
        "broadcast 2-d": (grid[:, :1], np.array([1.0, 2.0, 5.0, 9.0])),
        "float32": (grid.astype(np.float32), 3.0),
        "list": (grid.tolist(), [[2.0], [3.0], [4.0]]),
    }[layout]
    out = kcm.student_t_icdf(p, df)
    assert_array_equal(out, _scalar_calls(kcm.student_t_icdf, dict(p=p, df=df)))


def test_empty_arrays_give_empty_results():
    assert kcm.normal_cdf(np.empty((0, 3))).shape == (0, 3)


# ---- One failing element does not lose the others --------------------------------

def test_gamma_ln_pole_in_an_array_is_nan_with_one_warning():
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        out = kcm.gamma_ln([1.0, 0.0, 3.0])
    assert [type(w.message) for w in caught] == [kcm.DomainWarning]
    text = str(caught[0].message)
    assert "GammaLn" in text and "std::domain_error in 1 element" in text and "element 1" in text
    assert out[0] == 0.0 and np.isnan(out[1]) and out[2] == pytest.approx(math.log(2), rel=1e-15)


# Per row: the call, the category its failures report under, the Python
# class under errstate(... = 'raise'), the failing elements.
FAILURES = [
    ("pole: domain_error", lambda: kcm.gamma_ln([0.0, 2.0, -1.0, 4.0]), "domain",
     kcm.DomainError, [0, 2]),
    ("log1p(-1): overflow_error", lambda: kcm.log_xplus1([0.5, -1.0]), "range",
     kcm.OverflowError_, [1]),
    ("invalid prob: domain_error", lambda: kcm.binomial_cdf(3.0, 10.0, [0.5, 1.5]), "domain",
     kcm.DomainError, [1]),
    ("errno EDOM", lambda: kcm.normal_pdf([0.0, 1.0], scale=[-1.0, 1.0]), "domain",
     kcm.DomainError, [0]),
    ("errno ERANGE", lambda: kcm.normal_icdf([0.5, 0.0]), "range", kcm.OverflowError_, [1]),
    ("df < 0 in a multiple comparison", lambda: kcm.mca_cdf([2.0, 3.0], 3, [10.0, -1.0]),
     "domain", kcm.DomainError, [1]),
]


@pytest.mark.parametrize("what, call, key, cls, failing", FAILURES, ids=[f[0] for f in FAILURES])
def test_failed_elements_warn_once_raise_or_stay_silent_by_mode(what, call, key, cls, failing):
    warning = kcm.DomainWarning if key == "domain" else kcm.RangeWarning
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        out = call()
    assert [type(w.message) for w in caught] == [warning]
    others = [i for i in range(len(out)) if i not in failing]
    assert np.isfinite(out[others]).all()
    assert not np.isfinite(out[failing]).any()
    with kcm.errstate(**{key: "raise"}), pytest.raises(cls):
        call()
    with kcm.errstate(**{key: "ignore"}), warnings.catch_warnings():
        warnings.simplefilter("error")
        assert_array_equal(call(), out)


def test_the_scalar_path_still_raises_the_exception():
    with pytest.raises(kcm.DomainError):
        kcm.gamma_ln(0.0)


def test_array_reports_keep_the_first_exception_type_under_raise():
    with kcm.errstate(domain="raise"), pytest.raises(kcm.DomainError) as info:
        kcm.gamma_ln([2.0, 0.0, -1.0])
    assert info.value.cxx_type == "std::domain_error"
    assert "in 2 elements" in str(info.value) and "element 1" in str(info.value)


# ---- Sizes and shapes are checked before the call -----------------------------------

BIG = 2 ** 31
SIZE_CHECKS = [
    ("RandomStream.normal n", lambda: kcm.RandomStream(1).normal(BIG), "n"),
    ("RandomStream.uniform n", lambda: kcm.RandomStream(1).uniform(BIG), "n"),
    ("RandomStream.integers n", lambda: kcm.RandomStream(1).integers(BIG, 0, 2), "n"),
    ("RandomStream.integers b", lambda: kcm.RandomStream(1).integers(4, 0, BIG), "b"),
    ("skip_ahead nskip", lambda: kcm.RandomStream(1).skip_ahead(BIG), "nskip"),
    ("random_normal_variable n", lambda: kcm.random_normal_variable(BIG), "n"),
    ("random_normal_variables n", lambda: kcm.random_normal_variables(BIG, 1), "n"),
    ("random_normal_variables count", lambda: kcm.random_normal_variables(1, -BIG - 1), "count"),
    ("random_normal_variables n * count", lambda: kcm.random_normal_variables(2 ** 16, 2 ** 15),
     "n \\* count"),
    ("mca_cdf k", lambda: kcm.mca_cdf(2.0, k=BIG, df=10.0), "k"),
    ("mcb_icdf k, array", lambda: kcm.mcb_icdf([0.1, 0.2], k=BIG, df=10.0), "k"),
    ("fnc_hypergeometric_cdf n", lambda: kcm.fnc_hypergeometric_cdf(1, BIG, 3, 10, 1.0), "n"),
    ("fnc_hypergeometric_cdf N, array",
     lambda: kcm.fnc_hypergeometric_cdf([1, 2], 4, 3, [10, BIG], 1.0), "N"),
    ("fnc_hypergeometric_moments m", lambda: kcm.fnc_hypergeometric_moments(4, -BIG - 1, 10, 1.0),
     "m"),
    ("binomial_icdf round_up", lambda: kcm.binomial_icdf(0.5, 10, 0.5, round_up=BIG), "round_up"),
    ("LBFGSB n", lambda: kcm.LBFGSB(n=BIG), "n"),
    ("LBFGSB m", lambda: kcm.LBFGSB(n=2, m=BIG), "m"),
]


@pytest.mark.parametrize("what, call, name", SIZE_CHECKS, ids=[s[0] for s in SIZE_CHECKS])
def test_sizes_beyond_32_bits_raise_before_any_allocation(what, call, name):
    tracemalloc.start()
    try:
        with pytest.raises(OverflowError, match=f"^{name} "):
            call()
        _, peak = tracemalloc.get_traced_memory()
    finally:
        tracemalloc.stop()
    assert peak < 1 << 20  # numpy reports its allocations to tracemalloc


def test_a_count_that_is_not_whole_is_refused():
    with pytest.raises(ValueError, match="x must hold integers"):
        kcm.fnc_hypergeometric_cdf([1, 2.5], 4, 3, 10, 1.0)


def _qr(m, n):
    return kcm.qr(np.random.default_rng(3).standard_normal((m, n)))


SHAPE_CHECKS = [
    ("qr_q short tau", lambda: kcm.qr_q(_qr(5, 3)[0], _qr(5, 3)[1][:1]), "tau"),
    ("qr_q long tau", lambda: kcm.qr_q(_qr(5, 3)[0], np.zeros(4)), "tau"),
    ("qr_q wide", lambda: kcm.qr_q(*_qr(3, 5)), "qr"),
    ("qr_qy short tau", lambda: kcm.qr_qy(_qr(5, 3)[0], [0.5], np.ones(5)), "tau"),
    ("qr_qy rows of c", lambda: kcm.qr_qy(*_qr(5, 3), np.ones(4)), "c"),
    ("cholesky_solve rows of b", lambda: kcm.cholesky_solve(np.eye(3), np.ones(5)), "b"),
    ("solve_triangular_system rows of b",
     lambda: kcm.solve_triangular_system(np.eye(3), np.ones((2, 2))), "b"),
    ("ls rows of b", lambda: kcm.ls(np.ones((4, 2)), np.ones(3)), "b"),
]


@pytest.mark.parametrize("what, call, name", SHAPE_CHECKS, ids=[s[0] for s in SHAPE_CHECKS])
def test_shapes_are_checked_against_what_the_export_reads(what, call, name):
    with pytest.raises(ValueError, match=f"^{name} "):
        call()


def test_right_shapes_still_pass_the_checks():
    qr, tau = _qr(5, 3)
    q = kcm.qr_q(qr, tau)
    assert_array_equal(kcm.qr_qy(qr, tau, np.eye(5)[:, :3]), q)
    assert kcm.cholesky_solve(np.eye(3), np.ones(3)).shape == (3,)


# ---- Arguments without a meaningful answer ------------------------------------

GUARDS = [
    ("kolmogorov_icdf NaN p", lambda p: kcm.kolmogorov_icdf(p, 10), [np.nan]),
    ("fnc_hypergeometric_icdf p", lambda p: kcm.fnc_hypergeometric_icdf(p, 4, 3, 10, 2.0),
     [np.nan, 2.0, -1e-300]),
]


@pytest.mark.parametrize("what, fn, bad", GUARDS, ids=[g[0] for g in GUARDS])
def test_probabilities_without_an_answer_give_nan_and_a_domain_report(what, fn, bad):
    for p in bad:
        with pytest.warns(kcm.DomainWarning, match="p is NaN"):
            assert np.isnan(fn(p))
        with kcm.errstate(domain="raise"), pytest.raises(kcm.DomainError):
            fn(p)
    good = 0.4
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        out = fn([good] + bad)
    assert len(caught) == 1 and f"in {_elements(len(bad))}," in str(caught[0].message)
    assert out[0] == fn(good) and np.isnan(out[1:]).all()


def test_kolmogorov_icdf_outside_0_1_is_the_export_s_own_error():
    with pytest.raises(kcm.EvaluationError):
        kcm.kolmogorov_icdf(1.5, 10)
    with pytest.warns(kcm.DomainWarning, match="boost::math::evaluation_error in 1 element"):
        out = kcm.kolmogorov_icdf([1.5, 0.5], 10)
    assert np.isnan(out[0]) and out[1] == kcm.kolmogorov_icdf(0.5, 10)


def _elements(count):
    return f"{count} element" + ("s" if count != 1 else "")


@pytest.mark.parametrize("lambdas", [[-1.0] * 3, [0.5, 1.0, 0.5], [0.5, np.nan, 0.5],
                                     [0.5, 0.5, -1.5]])
def test_multiple_comparison_lambdas_outside_the_open_interval_give_nan(lambdas):
    with pytest.warns(kcm.DomainWarning, match="lambdas outside"):
        assert np.isnan(kcm.mca_cdf(2.0, 3, 10.0, lambdas=lambdas))
    with pytest.warns(kcm.DomainWarning, match="in 2 elements"):
        assert np.isnan(kcm.mcc_icdf([0.05, 0.1], 3, 10.0, lambdas=lambdas)).all()
    with kcm.errstate(domain="raise"), pytest.raises(kcm.DomainError):
        kcm.mcb_cdf(2.0, 3, 10.0, lambdas=lambdas)


def test_only_the_first_k_lambdas_are_checked():
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        assert kcm.mca_cdf(2.0, 3, 10.0, lambdas=LAM3 + [7.0]) == kcm.mca_cdf(2.0, 3, 10.0,
                                                                             lambdas=LAM3)


# ---- Concurrent array calls ------------------------------------------------------

def test_concurrent_array_calls_give_the_serial_results():
    p = np.linspace(1e-6, 1 - 1e-6, 200_001)
    jobs = [lambda: kcm.student_t_icdf(p, 7.0), lambda: kcm.normal_cdf(p * 10 - 5),
            lambda: kcm.gamma_ln(np.concatenate([p, [0.0]])),
            lambda: kcm.beta_cdf(p, 2.0, 3.0, upper=True)]
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        serial = [job() for job in jobs]
    results = [None] * (2 * len(jobs))

    def run(slot):
        with kcm.errstate(domain="ignore"):
            results[slot] = jobs[slot % len(jobs)]()

    threads = [threading.Thread(target=run, args=(i,)) for i in range(len(results))]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for slot, out in enumerate(results):
        assert_array_equal(out, serial[slot % len(jobs)])


def test_every_array_loop_of_the_table_is_bound():
    assert set(_native.loops) == set(_native.ARRAY_ARGUMENTS)
    wrapped = {getattr(fn, "export", None) for fn in kcm.EXPORTS.values()}
    assert set(_native.ARRAY_ARGUMENTS) <= wrapped
