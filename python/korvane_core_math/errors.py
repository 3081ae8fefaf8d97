"""How the library's failures reach Python.

* An exception that leaves the library (caught by the non-throwing layer) is re-raised as
  the matching subclass of :class:`KcmError`, keeping the C++ type name in
  ``cxx_type`` and the library's message:

  ==============================  ============================================
  C++ exception                   Python exception
  ==============================  ============================================
  ``std::domain_error``           :class:`DomainError` (a ``ValueError``)
  ``std::overflow_error``         :class:`OverflowError_` (an ``OverflowError``)
  ``boost::math::evaluation_error``  :class:`EvaluationError` (``ArithmeticError``)
  ``boost::math::rounding_error``    :class:`RoundingError` (``ArithmeticError``)
  ``std::bad_alloc``              ``MemoryError``
  anything else                   :class:`KcmError`
  ==============================  ============================================

* ``errno`` set by a scalar export is surfaced like numpy's floating-point
  errors, under a mode chosen with :func:`seterr` or :func:`errstate`:
  ``EDOM`` (invalid argument, NaN returned) as :class:`DomainWarning`, and
  ``ERANGE`` with an infinite result (overflow) as :class:`RangeWarning`, by
  default; ``'raise'`` turns them into :class:`DomainError` /
  :class:`OverflowError_`, ``'ignore'`` drops them. An ``ERANGE`` that comes
  with a finite result is the C library's report of a subnormal (underflowed)
  value, not a failure, and is not surfaced.
* An array call evaluates every element, whatever the others do: an element
  whose evaluation threw gets NaN and counts as a domain report
  (``std::overflow_error``: a range report), and the call reports once for
  all its elements, with the counts and the first exception's type and
  message. Under ``'raise'`` that report is the first exception's class
  (:class:`DomainError`, :class:`EvaluationError`, ...); ``std::bad_alloc``
  always raises ``MemoryError``.
* Arguments for which an export has no meaningful answer but would return
  one anyway (a NaN probability into a quantile without checks, say) are
  stopped by the binding: NaN, reported as a domain report.
* Linear-algebra INFO and random-stream status codes other than 0 raise
  :class:`LinAlgError` and :class:`RandomStreamError` with the code in ``info``
  / ``status``.
"""
import contextlib
import math
import threading
import warnings

import numpy as np

EDOM = 33
ERANGE = 34


class KcmError(Exception):
    """A failure reported by Korvane.Core.Math."""

    def __init__(self, message, cxx_type=None, errno=None):
        super().__init__(message)
        self.message = message
        self.cxx_type = cxx_type
        self.errno = errno


class DomainError(KcmError, ValueError):
    """std::domain_error from the library, or EDOM under errstate(domain='raise')."""


class OverflowError_(KcmError, OverflowError):
    """std::overflow_error from the library, or ERANGE under errstate(range='raise')."""


class EvaluationError(KcmError, ArithmeticError):
    """boost::math::evaluation_error: a series or root finder did not converge."""


class RoundingError(KcmError, ArithmeticError):
    """boost::math::rounding_error: a value could not be converted to an integer."""


class LinAlgError(KcmError, np.linalg.LinAlgError):
    """A nonzero LAPACK INFO; ``info`` holds it (negative: argument -info was illegal)."""

    def __init__(self, message, info):
        super().__init__(message)
        self.info = info


class RandomStreamError(KcmError):
    """A nonzero Vector Statistics status; ``status`` holds it."""

    def __init__(self, message, status):
        super().__init__(message)
        self.status = status


class MissingExport(KcmError, NotImplementedError):
    """The loaded library does not define this export."""


class KcmWarning(RuntimeWarning):
    """Base of the errno warnings."""


class DomainWarning(KcmWarning):
    """errno = EDOM: an argument was invalid (the result is usually NaN)."""


class RangeWarning(KcmWarning):
    """errno = ERANGE with an infinite result: the value overflowed."""


_BY_TYPE = {
    "std::domain_error": DomainError,
    "std::overflow_error": OverflowError_,
    "boost::math::evaluation_error": EvaluationError,
    "boost::math::rounding_error": RoundingError,
}

_MODES = ("ignore", "warn", "raise")
_state = threading.local()


def _modes():
    m = getattr(_state, "modes", None)
    if m is None:
        m = _state.modes = {"domain": "warn", "range": "warn"}
    return m


def geterr():
    """The current handling of errno reports: {'domain': mode, 'range': mode}."""
    return dict(_modes())


def seterr(domain=None, range=None):
    """Set how EDOM ('domain') and ERANGE ('range') reports are handled.

    Each mode is 'ignore', 'warn' (the default) or 'raise'. Returns the old
    settings. The settings are per thread.
    """
    old = geterr()
    for key, mode in (("domain", domain), ("range", range)):
        if mode is not None:
            if mode not in _MODES:
                raise ValueError(f"{key} mode must be one of {_MODES}, not {mode!r}")
            _modes()[key] = mode
    return old


@contextlib.contextmanager
def errstate(domain=None, range=None):
    """Context manager form of :func:`seterr`::

        with kcm.errstate(domain='raise'):
            kcm.normal_cdf(0.0, sd=-1.0)      # raises DomainError
    """
    old = seterr(domain=domain, range=range)
    try:
        yield
    finally:
        seterr(**old)


def raise_thrown(status, export):
    """Re-raise the exception recorded in a CallStatus of the non-throwing layer."""
    cxx_type = status.type.decode(errors="replace")
    message = status.message.decode(errors="replace")
    if cxx_type == "std::bad_alloc":
        raise MemoryError(f"{export}: {message}")
    cls = _BY_TYPE.get(cxx_type, KcmError)
    raise cls(f"{export}: {message}", cxx_type=cxx_type, errno=status.errno_value or None)


def report_errno(export, domain_count, range_count, detail=""):
    """Surface errno reports of one call (or of the elements of one array call)."""
    modes = _modes()
    if domain_count and modes["domain"] != "ignore":
        text = f"{export}{detail}: invalid argument (errno EDOM)"
        if domain_count > 1:
            text += f" in {domain_count} elements"
        if modes["domain"] == "raise":
            raise DomainError(text, errno=EDOM)
        warnings.warn(text, DomainWarning, stacklevel=4)
    if range_count and modes["range"] != "ignore":
        text = f"{export}{detail}: result out of range (errno ERANGE)"
        if range_count > 1:
            text += f" in {range_count} elements"
        if modes["range"] == "raise":
            raise OverflowError_(text, errno=ERANGE)
        warnings.warn(text, RangeWarning, stacklevel=4)


def _elements(count):
    return f"{count} element{'s' if count != 1 else ''}"


def report_counts(export, edom=0, erange=0, invalid=0, reason="", status=None, stacklevel=4):
    """Surface, once, what the elements of one call left: errno counts, the
    elements the binding refused (``invalid``, with its ``reason``) and, from
    an ArrayStatus, the elements that threw."""
    thrown, cxx, message = 0, "", ""
    if status is not None:
        thrown = status.thrown
        edom += status.edom
        erange += status.erange
        cxx = status.type.decode(errors="replace")
        message = status.message.decode(errors="replace")
    if thrown and cxx == "std::bad_alloc":
        raise MemoryError(f"{export}: {message} (element {status.first_thrown})")
    thrown_range = thrown if cxx == "std::overflow_error" else 0
    thrown_domain = thrown - thrown_range
    threw = (f"{cxx} in {_elements(thrown)}, NaN returned there (the first, element "
             f"{status.first_thrown if status is not None else -1}: {message})")
    modes = _modes()
    for key, parts, thrown_here in (
            ("domain", [f"invalid argument (errno EDOM) in {_elements(edom)}" if edom else "",
                        f"{reason} in {_elements(invalid)}, NaN returned" if invalid else "",
                        threw if thrown_domain else ""], thrown_domain),
            ("range", [f"result out of range (errno ERANGE) in {_elements(erange)}" if erange
                       else "", threw if thrown_range else ""], thrown_range)):
        parts = [p for p in parts if p]
        if not parts or modes[key] == "ignore":
            continue
        text = f"{export}: " + "; ".join(parts)
        if modes[key] == "raise":
            if thrown_here:
                raise _BY_TYPE.get(cxx, KcmError)(text, cxx_type=cxx)
            if key == "domain":
                raise DomainError(text, errno=EDOM if edom else None)
            raise OverflowError_(text, errno=ERANGE)
        warnings.warn(text, DomainWarning if key == "domain" else RangeWarning,
                      stacklevel=stacklevel)


def classify(errno_value, value):
    """(is a domain report, is a range report) for one scalar result."""
    if errno_value == EDOM:
        return True, False
    if errno_value == ERANGE:
        return False, isinstance(value, float) and math.isinf(value)
    return False, False
