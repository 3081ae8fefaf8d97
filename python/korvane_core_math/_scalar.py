"""The wrapper factory of the scalar exports.

Numeric arguments broadcast like numpy ufunc arguments: scalars give a float,
arrays an array of the broadcast shape. Tail flags and selectors are plain
scalars.

A scalar call goes through the export's function in the library's
non-throwing layer (an exception becomes the Python exception, errno is read
right after the call). An array call is one call of the layer's array loop
(kcmnv_NAME), which evaluates every element with errno cleared and carries on
past an element that throws (NaN there); the call then reports once for all
its elements (errors.report_counts). Both give the same value for the same
element.
"""
import inspect

import numpy as np

from . import _native
from ._checks import flag, int32, int32_array, strided
from ._doc import numpydoc
from .errors import classify, raise_thrown, report_counts, report_errno

# Argument kinds: 'd' double, 'i' 32-bit integer (both broadcast),
# 'b' one-byte flag (bool), 's' 32-bit selector (scalar int).
_REQUIRED = inspect.Parameter.empty


class Guard:
    """Arguments an export would answer without meaning: ``invalid(values)``
    marks them (a boolean array), the wrapper returns NaN there with a domain
    report saying ``reason``, and the export sees ``substitute`` instead."""

    def __init__(self, name, invalid, reason, substitute):
        self.name, self.invalid, self.reason, self.substitute = name, invalid, reason, substitute


def probability_guard(name):
    """A probability argument must lie in [0, 1] (NaN does not)."""
    return Guard(name, lambda p: ~((p >= 0.0) & (p <= 1.0)),
                 f"{name} is NaN or outside [0, 1]", 0.5)


def nan_guard(name):
    """An argument must not be NaN."""
    return Guard(name, np.isnan, f"{name} is NaN", 0.5)


def guard_report(guard):
    """The Warns entry of a guarded argument."""
    return ("DomainWarning", f"{guard.reason}: NaN is returned there and the export is not "
                             f"called (DomainError under ``errstate(domain='raise')``).")


def make(pyname, export, params, doc, guard=None, order=None, example=None, returns=None,
         notes=None):
    """Build ``pyname(...)`` wrapping ``export``.

    params: (name, kind, default[, domain]) in the wrapper's argument order;
    order: the indices of params in the export's argument order when the two
    differ. doc: the one-line summary; with example (arguments as written,
    value), returns and notes it makes the numpydoc docstring (_doc.numpydoc).
    """
    sig = inspect.Signature([
        inspect.Parameter(p[0], inspect.Parameter.POSITIONAL_OR_KEYWORD, default=p[2])
        for p in params])
    order = tuple(range(len(params))) if order is None else tuple(order)
    if sorted(order) != list(range(len(params))):
        raise AssertionError(f"{pyname}: order is not a permutation of the parameters")
    names = [params[i][0] for i in order]
    kinds = [params[i][1] for i in order]
    broadcast = [i for i, k in enumerate(kinds) if k in "di"]
    looped = _native.ARRAY_ARGUMENTS.get(export)
    if looped is not None and tuple(k in "di" for k in kinds) != tuple(looped):
        raise AssertionError(f"{pyname}: the array loop of {export} takes other arrays")
    guarded_at = names.index(guard.name) if guard else None

    def convert(values):
        out = []
        for v, k, n in zip(values, kinds, names):
            if k == "d":
                out.append(float(v))
            elif k == "b":
                out.append(flag(v, n))
            else:
                out.append(int32(v, n))
        return out

    def call_one(values):
        status = _native.CallStatus()
        converted = convert(values)
        if guard and guard.invalid(np.float64(converted[guarded_at])):
            report_counts(export, invalid=1, reason=guard.reason)
            return float("nan")
        r = _native.call(export, status, *converted)
        if status.thrown:
            raise_thrown(status, export)
        dom, rng = classify(status.errno_value, r)
        if dom or rng:
            report_errno(export, int(dom), int(rng))
        return r

    def call_array(values):
        arrays = {i: (np.asarray(values[i], dtype=np.float64) if kinds[i] == "d"
                      else int32_array(values[i], names[i])) for i in broadcast}
        shape = np.broadcast_shapes(*[a.shape for a in arrays.values()])
        invalid, mask = 0, None
        if guard:
            checked = np.broadcast_to(arrays[guarded_at], shape)
            mask = guard.invalid(checked)
            invalid = int(np.count_nonzero(mask))
            if invalid:
                arrays[guarded_at] = np.where(mask, guard.substitute, checked)
        out = np.empty(shape, dtype=np.float64)
        args, keep = [], []
        for i, (v, k, n) in enumerate(zip(values, kinds, names)):
            if i in arrays:
                view, stride = strided(np.broadcast_to(arrays[i], shape))
                keep.append(view)
                args.append((view.ctypes.data, stride))
            elif k == "b":
                args.append(flag(v, n))
            else:
                args.append(int32(v, n))
        status = _native.call_array(export, out.size, out, args)
        if invalid:
            out[mask] = np.nan
        report_counts(export, invalid=invalid, reason=guard.reason if guard else "",
                      status=status)
        return out

    def wrapper(*args, **kwargs):
        bound = sig.bind(*args, **kwargs)
        bound.apply_defaults()
        given = list(bound.arguments.values())
        values = [given[i] for i in order]
        for i, (k, v) in enumerate(zip(kinds, values)):
            if k in "bs" and np.ndim(v) != 0:
                raise TypeError(f"{names[i]} must be a scalar")
        if all(np.ndim(values[i]) == 0 for i in broadcast):
            return call_one(values)
        return call_array(values)

    wrapper.__name__ = wrapper.__qualname__ = pyname
    wrapper.__signature__ = sig
    wrapper.__doc__ = numpydoc(pyname, doc, params, export, returns=returns, example=example,
                               extra_errors=[guard_report(guard)] if guard else (), notes=notes)
    wrapper.export = export
    return wrapper


D, I, B, S = "d", "i", "b", "s"
R = _REQUIRED
