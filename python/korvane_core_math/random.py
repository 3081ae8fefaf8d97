"""Seeded MT19937 random streams.

    with kcm.RandomStream(seed=42) as rs:
        z = rs.normal(1000, mean=0.0, sigma=1.0)
        u = rs.uniform(10)                 # doubles in [0, 1)
        k = rs.integers(10, 1, 7)          # integers 1..6
        rs.skip_ahead(100)

The same seed always gives the same sequence; each variate (normal, uniform
or integer) consumes exactly one output of the generator, so skip_ahead
counts variates. A nonzero Vector Statistics status raises RandomStreamError.
"""
import numpy as np

from . import _native
from ._checks import INT32_MAX, int32
from .errors import RandomStreamError


def _fn(name):
    return _native.export(name)


def _check(name, status):
    if status != 0:
        raise RandomStreamError(f"{name} returned status {status}", status)


class RandomStream:
    """A seeded MT19937 stream (``CreateRandomStream``), deleted on close or exit.

    Parameters
    ----------
    seed : int
        The seed, taken modulo 2^32. The same seed gives the same sequence.

    Raises
    ------
    RandomStreamError
        A nonzero Vector Statistics status of any call (``.status`` holds it).
    ValueError
        Use after :meth:`close`.

    Examples
    --------
    >>> with kcm.RandomStream(42) as rs:
    ...     rs.uniform(3)
    array([0.6394268 , 0.11133108, 0.02501075])
    """

    def __init__(self, seed):
        self.seed = int(seed) & 0xFFFFFFFF
        self._handle = _fn("CreateRandomStream")(self.seed)
        if not self._handle:
            raise RandomStreamError("CreateRandomStream returned a null stream", -1)

    def _live(self):
        if self._handle is None:
            raise ValueError("the stream has been deleted")
        return self._handle

    def normal(self, n, mean=0.0, sigma=1.0):
        """n normal variates N(mean, sigma^2), by the inverse CDF (one generator
        output each). Wraps ``GenerateRandomNormal``.

        Raises OverflowError for n beyond 32 bits, RandomStreamError for a
        nonzero status (sigma <= 0, n < 0)."""
        n = int32(n, "n")
        r = np.empty(n)
        _check("GenerateRandomNormal", _fn("GenerateRandomNormal")(
            self._live(), r.ctypes.data_as(_native.pd), n, float(mean), float(sigma)))
        return r

    def uniform(self, n, a=0.0, b=1.0):
        """n doubles uniform on [a, b). Wraps ``GenerateRandomUniform``.

        Raises OverflowError for n beyond 32 bits, RandomStreamError for a
        nonzero status (a >= b, n < 0)."""
        n = int32(n, "n")
        r = np.empty(n)
        _check("GenerateRandomUniform", _fn("GenerateRandomUniform")(
            self._live(), r.ctypes.data_as(_native.pd), n, float(a), float(b)))
        return r

    def integers(self, n, a, b):
        """n int32 integers uniform on a <= x < b. Wraps ``RandomUniformInteger``.

        Raises OverflowError for n, a or b beyond 32 bits, RandomStreamError
        for a nonzero status (a >= b, n < 0)."""
        n, a, b = int32(n, "n"), int32(a, "a"), int32(b, "b")
        r = np.empty(n, dtype=np.int32)
        _check("RandomUniformInteger", _fn("RandomUniformInteger")(
            self._live(), r.ctypes.data_as(_native.pi), n, a, b))
        return r

    def skip_ahead(self, nskip):
        """Advance the stream by nskip variates (each variate is one generator
        output, so chunk i of a parallel computation skips to i * chunk size
        and the chunks draw disjoint substreams). Wraps ``SkipAheadStream``.

        Raises OverflowError for nskip beyond 32 bits, RandomStreamError for
        a nonzero status."""
        _check("SkipAheadStream", _fn("SkipAheadStream")(self._live(), int32(nskip, "nskip")))

    def close(self):
        """Delete the stream (``DeleteRandomStream``); later use raises ValueError."""
        if self._handle is not None:
            handle, self._handle = self._handle, None
            _check("DeleteRandomStream", _fn("DeleteRandomStream")(handle))

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
        return False

    def __del__(self):
        try:
            self.close()
        except Exception:
            pass


def random_normal_variable(n, mean=0.0, sigma=1.0, seed=0):
    """n normal variates from a fresh stream seeded with ``seed``.

    Parameters
    ----------
    n : int
        How many (32-bit).
    mean, sigma : float
        The normal law.
    seed : int
        MT19937 seed (taken modulo 2^32).

    Returns
    -------
    ndarray, (n,)
        The variates: the first n of ``RandomStream(seed).normal``.

    Raises
    ------
    OverflowError
        n beyond 32 bits. The export itself reports nothing: invalid
        arguments leave the output NaN (this wrapper fills it first).

    Examples
    --------
    >>> kcm.random_normal_variable(3, seed=42)
    array([0.35692709, -1.21947977, -1.95978002])
    """
    n = int32(n, "n")
    r = np.full(max(n, 0), np.nan)
    _fn("RandomNormalVariable")(r.ctypes.data_as(_native.pd), n, float(mean), float(sigma),
                                int(seed) & 0xFFFFFFFF)
    return r


def random_normal_variables(n, count, mean=0.0, sigma=1.0, seed=0):
    """count blocks of n normal variates drawn consecutively from one fresh stream.

    Parameters
    ----------
    n : int
        Variates per block.
    count : int
        Blocks; n * count must fit 32 bits (the export's block offsets).
    mean, sigma : float
        The normal law.
    seed : int
        MT19937 seed (taken modulo 2^32).

    Returns
    -------
    ndarray, (count, n)
        Row i is variates i*n .. (i+1)*n - 1 of the stream.

    Raises
    ------
    OverflowError
        n, count or n * count beyond 32 bits.

    Examples
    --------
    >>> kcm.random_normal_variables(2, 2, seed=42)
    array([[0.35692709, -1.21947977], [-1.95978002, 0.6481329]])
    """
    n, count = int32(n, "n"), int32(count, "count")
    if n > 0 and count > 0 and n * count > INT32_MAX:
        raise OverflowError(f"n * count = {n * count} does not fit the library's 32-bit "
                            f"block offsets (at most {INT32_MAX} variates)")
    r = np.full((max(count, 0), max(n, 0)), np.nan)
    _fn("RandomNormalVariables")(r.ctypes.data_as(_native.pd), n, count, float(mean),
                                 float(sigma), int(seed) & 0xFFFFFFFF)
    return r
