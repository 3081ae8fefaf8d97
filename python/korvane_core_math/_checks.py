"""Checks made before a call, and the strided views the array loops read.

The exports take their sizes and counts as signed 32-bit integers, and ctypes
wraps a larger Python int silently; every wrapper therefore checks its sizes
here first, before it allocates anything, and names the argument.
"""
import operator

import numpy as np

INT32_MIN = -2 ** 31
INT32_MAX = 2 ** 31 - 1


def int32(value, name):
    """``value`` as an int in the signed 32-bit range.

    ValueError when it is not a whole number, OverflowError naming ``name``
    when it does not fit 32 bits.
    """
    try:
        iv = operator.index(value)
    except TypeError:
        fv = float(value)
        if not fv.is_integer():
            raise ValueError(f"{name} must be an integer, got {value!r}") from None
        iv = int(fv)
    if not INT32_MIN <= iv <= INT32_MAX:
        raise OverflowError(f"{name} = {iv} does not fit the library's 32-bit integer "
                            f"[{INT32_MIN}, {INT32_MAX}]")
    return iv


def int32_array(values, name):
    """``values`` as an int32 array, with the checks of :func:`int32` on every element."""
    arr = np.asarray(values)
    if arr.dtype.kind in "iub":
        wide = arr
    else:
        as_float = arr.astype(np.float64)
        if not np.all(np.isfinite(as_float)) or np.any(as_float != np.floor(as_float)):
            raise ValueError(f"{name} must hold integers")
        wide = as_float
    if wide.size and (wide.min() < INT32_MIN or wide.max() > INT32_MAX):
        bad = wide.max() if wide.max() > INT32_MAX else wide.min()
        raise OverflowError(f"{name} holds {int(bad)}, which does not fit the library's "
                            f"32-bit integer [{INT32_MIN}, {INT32_MAX}]")
    return arr.astype(np.int32, copy=False)


def strided(view):
    """(array, element stride) such that element i of ``view`` in C order is
    array's element at i * stride from its first one: the view itself when
    one stride walks it (broadcast dimensions have stride 0), else a
    contiguous copy. Keep the returned array alive during the call."""
    dims = [(size, step) for size, step in zip(view.shape, view.strides) if size != 1]
    if not dims:
        return view, 0
    step = dims[-1][1]
    expected = step
    for size, actual in reversed(dims):
        if actual != expected:
            break
        expected = actual * size
    else:
        if step % view.itemsize == 0:
            return view, step // view.itemsize
    copy = np.ascontiguousarray(view)
    return copy, 1


def flag(value, name):
    """``value`` as a tail flag (0 or 1): True/False, a numpy bool or the ints 0 and 1.

    TypeError for anything else that is not an integer (a string such as
    'no', a float, None), ValueError for another integer; both name ``name``.
    """
    if isinstance(value, (bool, np.bool_)):
        return 1 if value else 0
    if isinstance(value, (int, np.integer)):
        if value in (0, 1):
            return int(value)
        raise ValueError(f"{name} must be True or False (or 0 / 1), got {value!r}")
    raise TypeError(f"{name} must be a bool (True or False), got {type(value).__name__} {value!r}")
