"""The binding itself: coverage of the header, the shim, the errno modes."""
import ctypes
import inspect
import os
import warnings

import numpy as np
import pytest

import korvane_core_math as kcm
from korvane_core_math import _native

from conftest import header_exports, needs


def test_every_header_export_has_a_wrapper_and_a_prototype():
    names = header_exports()
    assert len(names) == 91
    assert set(names) == set(kcm.EXPORTS) == set(_native.PROTOTYPES)


def test_every_export_the_library_defines_is_bound():
    for name in _native.PROTOTYPES:
        try:
            getattr(_native.lib, name)
            present = True
        except AttributeError:
            present = False
        assert kcm.available(name) == present, name


def test_missing_exports_raise_missing_export():
    absent = kcm.missing_exports()
    if not absent:
        pytest.skip("the library defines every export")
    with pytest.raises(kcm.MissingExport):
        _native.export(absent[0])


def test_scalar_wrappers_take_keywords_and_broadcast():
    sig = inspect.signature(kcm.normal_cdf)
    assert list(sig.parameters) == ["x", "loc", "scale", "upper"]
    assert kcm.normal_cdf(x=1.0, loc=1.0, scale=2.0) == 0.5
    out = kcm.normal_cdf(np.array([[0.0], [1.0]]), loc=[0.0, 1.0])
    assert out.shape == (2, 2)
    assert out[0, 0] == 0.5 and out[1, 1] == 0.5
    with pytest.raises(TypeError):
        kcm.normal_cdf(0.0, upper=[True, False])


def test_upper_flag_is_a_boolean():
    assert kcm.normal_cdf(1.0, upper=True) == kcm.normal_cdf(-1.0)
    assert kcm.normal_cdf(1.0, upper=1) == kcm.normal_cdf(1.0, upper=np.True_)


class TestErrno:
    def test_domain_warns_by_default(self):
        with pytest.warns(kcm.DomainWarning, match="NormalPDF"):
            assert np.isnan(kcm.normal_pdf(0.0, scale=-1.0))

    def test_range_warns_on_an_infinite_result(self):
        with pytest.warns(kcm.RangeWarning, match="NormalICDF"):
            assert kcm.normal_icdf(0.0) == -np.inf

    def test_raise_and_ignore_modes(self):
        with kcm.errstate(domain="raise", range="raise"):
            with pytest.raises(kcm.DomainError) as info:
                kcm.normal_cdf(0.0, scale=0.0)
            assert info.value.errno == 33
            with pytest.raises(kcm.OverflowError_):
                kcm.inverse_erf(1.0)
        with kcm.errstate(domain="ignore", range="ignore"), warnings.catch_warnings():
            warnings.simplefilter("error")
            assert np.isnan(kcm.normal_pdf(0.0, scale=-1.0))
            assert kcm.inverse_erfc(0.0) == np.inf
        assert kcm.geterr() == {"domain": "warn", "range": "warn"}

    def test_a_finite_value_after_a_failed_check_still_reports(self):
        # The upper tail decides an infinite x before the parameter checks.
        with pytest.warns(kcm.DomainWarning):
            assert kcm.normal_cdf(np.inf, 0.0, -1.0, upper=True) == 0.0

    def test_array_calls_report_once_with_a_count(self):
        with pytest.warns(kcm.DomainWarning, match="in 2 elements"):
            out = kcm.normal_pdf([0.0, 1.0, 2.0], scale=[1.0, -1.0, 0.0])
        assert np.isfinite(out[0]) and np.isnan(out[1:]).all()

    def test_errno_is_cleared_before_each_call(self):
        with pytest.warns(kcm.DomainWarning):
            kcm.normal_pdf(0.0, scale=-1.0)
        with warnings.catch_warnings():
            warnings.simplefilter("error")
            kcm.normal_pdf(0.0)


def _status(cxx_type, message=b"what", errno_value=0):
    status = _native.CallStatus()
    status.thrown, status.errno_value = 1, errno_value
    status.type, status.message = cxx_type, message
    return status


@pytest.mark.parametrize("cxx, cls", [
    ("std::domain_error", kcm.DomainError),
    ("std::overflow_error", kcm.OverflowError_),
    ("boost::math::evaluation_error", kcm.EvaluationError),
    ("boost::math::rounding_error", kcm.RoundingError),
    ("unknown", kcm.KcmError),
])
def test_each_exception_type_is_reraised_as_its_class(cxx, cls):
    with pytest.raises(cls) as info:
        kcm.errors.raise_thrown(_status(cxx.encode()), "Export")
    assert info.value.cxx_type == cxx
    assert str(info.value) == "Export: what"


def test_bad_alloc_becomes_memory_error():
    with pytest.raises(MemoryError):
        kcm.errors.raise_thrown(_status(b"std::bad_alloc"), "Export")


def test_an_exception_through_the_layer_reaches_python_with_its_message():
    with pytest.raises(kcm.DomainError, match="log1p\\(x\\) requires x > -1"):
        kcm.log_xplus1(-1.5)
    with pytest.raises(kcm.OverflowError_):
        kcm.log_xplus1(-1.0)


def test_python_exceptions_fit_the_builtin_hierarchy():
    assert issubclass(kcm.DomainError, ValueError)
    assert issubclass(kcm.OverflowError_, OverflowError)
    assert issubclass(kcm.LinAlgError, np.linalg.LinAlgError)
    assert issubclass(kcm.DomainWarning, RuntimeWarning)
