"""The wrapper factory of the scalar exports.

Each scalar export is called through the library's non-throwing layer (so
exceptions become Python exceptions and errno is read right after the call). Numeric arguments
broadcast like numpy ufunc arguments: scalars give a float, arrays an array of
the broadcast shape. Tail flags and selectors are plain scalars.
"""
import inspect
import numpy as np

from . import _native
from .errors import classify, raise_thrown, report_errno

# Argument kinds: 'd' double, 'i' 32-bit integer (both broadcast),
# 'b' one-byte flag (bool), 's' 32-bit selector (scalar int).
_REQUIRED = inspect.Parameter.empty


def _as_int32(v, name):
    iv = int(v)
    if iv != v:
        raise ValueError(f"{name} must be an integer, got {v!r}")
    return iv


def make(pyname, export, params, doc):
    """Build ``pyname(...)`` wrapping ``export``.

    params: (name, kind, default) in the export's argument order.
    """
    names = [p[0] for p in params]
    kinds = [p[1] for p in params]
    sig = inspect.Signature([
        inspect.Parameter(n, inspect.Parameter.POSITIONAL_OR_KEYWORD, default=dflt)
        for n, _, dflt in params])
    broadcast = [i for i, k in enumerate(kinds) if k in "di"]

    def convert(values):
        out = []
        for v, k, n in zip(values, kinds, names):
            if k == "d":
                out.append(float(v))
            elif k == "i":
                out.append(_as_int32(v, n))
            elif k == "b":
                out.append(1 if v else 0)
            else:
                out.append(_as_int32(v, n))
        return out

    def call_one(status, values):
        r = _native.call(export, status, *convert(values))
        if status.thrown:
            raise_thrown(status, export)
        return r, status.errno_value

    def wrapper(*args, **kwargs):
        bound = sig.bind(*args, **kwargs)
        bound.apply_defaults()
        values = list(bound.arguments.values())
        status = _native.CallStatus()
        for i, (k, v) in enumerate(zip(kinds, values)):
            if k in "bs" and np.ndim(v) != 0:
                raise TypeError(f"{names[i]} must be a scalar")
        if all(np.ndim(values[i]) == 0 for i in broadcast):
            r, err = call_one(status, values)
            dom, rng = classify(err, r)
            if dom or rng:
                report_errno(export, int(dom), int(rng))
            return r
        arrays = np.broadcast_arrays(*[np.asarray(values[i]) for i in broadcast])
        out = np.empty(arrays[0].shape, dtype=float)
        n_dom = n_rng = 0
        row = list(values)
        for index in np.ndindex(out.shape):
            for j, i in enumerate(broadcast):
                row[i] = arrays[j][index]
            r, err = call_one(status, row)
            out[index] = r
            dom, rng = classify(err, r)
            n_dom += dom
            n_rng += rng
        if n_dom or n_rng:
            report_errno(export, n_dom, n_rng)
        return out

    wrapper.__name__ = wrapper.__qualname__ = pyname
    wrapper.__signature__ = sig
    wrapper.__doc__ = f"{doc}\n\nWraps the export ``{export}``."
    wrapper.export = export
    return wrapper


D, I, B, S = "d", "i", "b", "s"
R = _REQUIRED
