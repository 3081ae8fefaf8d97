"""The stepwise L-BFGS-B minimiser.

The library never calls back into Python: the host steps the solver and
evaluates the objective and gradient itself. Three levels of convenience::

    # 1. the driver loop as an iterator
    with kcm.LBFGSB(lower=[0, 0], upper=[2, 2]) as opt:
        for x in opt.iterate([1.5, 1.5]):
            opt.tell(f(x), grad(x))
    opt.x, opt.f, opt.code

    # 2. one function call
    res = kcm.minimize(lambda x: (f(x), grad(x)), [1.5, 1.5], lower=[0, 0], upper=[2, 2])

    # 3. the raw step codes: opt.step(x, f, g) -> EVALUATE, NEW_X, CONVERGED, ...
"""
from collections import namedtuple

import numpy as np

from . import _native
from ._checks import int32

OTHER, EVALUATE, NEW_X, CONVERGED, ABNORMAL, ERROR = 0, 1, 2, 3, 4, 5
CODE_NAMES = {OTHER: "other", EVALUATE: "evaluate", NEW_X: "new iterate",
              CONVERGED: "converged", ABNORMAL: "abnormal termination", ERROR: "input error"}

OptimizeResult = namedtuple("OptimizeResult", "x f g code success iterations evaluations")


def bound_types(lower, upper, n):
    """L-BFGS-B's (l, u, nbd) from bounds where None or +-inf means unbounded."""
    lo = np.full(n, -np.inf) if lower is None else np.array(
        [-np.inf if v is None else v for v in np.broadcast_to(np.asarray(lower, dtype=object), (n,))],
        dtype=np.float64)
    hi = np.full(n, np.inf) if upper is None else np.array(
        [np.inf if v is None else v for v in np.broadcast_to(np.asarray(upper, dtype=object), (n,))],
        dtype=np.float64)
    has_lo, has_hi = np.isfinite(lo), np.isfinite(hi)
    nbd = np.where(has_lo & has_hi, 2, np.where(has_lo, 1, np.where(has_hi, 3, 0))).astype(np.int32)
    return np.where(has_lo, lo, 0.0), np.where(has_hi, hi, 0.0), nbd


class LBFGSB:
    """One optimisation record (``LBFGSBStart`` ... ``LBFGSBEnd``), a context manager.

    Parameters
    ----------
    n : int, optional
        Number of variables; taken from the bounds when omitted.
    lower, upper : array_like, optional
        Bounds; None or +-inf for none.
    m : int
        Correction pairs kept.
    factr : float
        Stop when the relative reduction of f is below factr * eps.
    pgtol : float
        Stop when the projected gradient is below pgtol.

    Raises
    ------
    ValueError
        Neither n nor bounds of length n; use after :meth:`close`.
    OverflowError
        n or m beyond 32 bits. Invalid settings (m = 0, lower > upper) come
        back from the first :meth:`step` as the code ERROR (5).

    Examples
    --------
    >>> with kcm.LBFGSB(lower=[1.5]) as opt:
    ...     for x in opt.iterate([3.0]):
    ...         opt.tell((x[0] - 1) ** 2, 2 * (x - 1))
    >>> opt.x, opt.code
    (array([1.5]), 3)
    """

    def __init__(self, n=None, lower=None, upper=None, m=5, factr=1e7, pgtol=1e-5):
        if n is None:
            for b in (lower, upper):
                if b is not None and np.ndim(b) > 0:
                    n = len(b)
                    break
        if n is None:
            raise ValueError("give n or bounds of length n")
        self.n = int32(n, "n")
        m = int32(m, "m")
        self.lower, self.upper, self.nbd = bound_types(lower, upper, self.n)
        start = _native.export("LBFGSBStart")
        self._handle = start(self.n, m, self.lower.ctypes.data_as(_native.pd),
                             self.upper.ctypes.data_as(_native.pd),
                             self.nbd.ctypes.data_as(_native.pi), float(factr), float(pgtol))
        self.x = np.zeros(self.n)
        self.f = 0.0
        self.g = np.zeros(self.n)
        self.code = None
        self.iterations = 0
        self.evaluations = 0
        self._told = False

    # -- raw protocol ------------------------------------------------------------
    def step(self, x=None, f=None, g=None):
        """One ``LBFGSBStep``: returns the code; self.x, self.f, self.g are updated."""
        if self._handle is None:
            raise ValueError("the optimiser record has been released")
        if x is not None:
            self.x = np.array(x, dtype=np.float64, copy=True).reshape(self.n)
        if f is not None:
            self.f = float(f)
        if g is not None:
            self.g = np.array(g, dtype=np.float64, copy=True).reshape(self.n)
        fv = _native.c_double(self.f)
        self.code = _native.exports["LBFGSBStep"](
            self._handle, self.x.ctypes.data_as(_native.pd), _native.ctypes.byref(fv),
            self.g.ctypes.data_as(_native.pd))
        self.f = fv.value
        return self.code

    def close(self):
        """``LBFGSBEnd``: ends the solver's run if still open and frees the record."""
        if self._handle is not None:
            _native.exports["LBFGSBEnd"](self._handle)
            self._handle = None

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

    # -- iterator driver ---------------------------------------------------------
    def tell(self, f, g):
        """Give the objective and gradient at the point last yielded by iterate()."""
        self.f = float(f)
        self.g = np.array(g, dtype=np.float64, copy=True).reshape(self.n)
        self._told = True

    def iterate(self, x0, max_iterations=1000):
        """Yield each point where f and g are wanted; answer each with tell(f, g).

        Stops on convergence, abnormal termination, an input error or after
        max_iterations iterations; self.code then tells which (self.code stays
        NEW_X when the iteration limit ended the run).
        """
        code = self.step(x0, 0.0, np.zeros(self.n))
        while True:
            if code == EVALUATE:
                self._told = False
                yield self.x.copy()
                if not self._told:
                    raise RuntimeError("call tell(f, g) before asking for the next point")
                self.evaluations += 1
                code = self.step()
            elif code == NEW_X:
                self.iterations += 1
                if self.iterations >= max_iterations:
                    return
                code = self.step()
            else:
                return

    @property
    def success(self):
        return self.code == CONVERGED


def minimize(fun, x0, lower=None, upper=None, m=5, factr=1e7, pgtol=1e-5, max_iterations=1000):
    """Minimise fun(x) -> (f, gradient) subject to bounds, by L-BFGS-B.

    Parameters
    ----------
    fun : callable
        Returns the objective and its gradient at x.
    x0 : array_like, (n,)
        Starting point.
    lower, upper : array_like, optional
        Bounds; None or +-inf for none.
    m : int
        Correction pairs kept.
    factr : float
        Stop when the relative reduction of f is below factr * eps.
    pgtol : float
        Stop when the projected gradient is below pgtol.
    max_iterations : int
        Iterations at most.

    Returns
    -------
    OptimizeResult
        ``(x, f, g, code, success, iterations, evaluations)``; ``code`` is
        the last step code (3 converged, 4 abnormal, 5 input error).

    Raises
    ------
    OverflowError
        n or m beyond 32 bits. Input errors come back as ``code = 5``.

    Examples
    --------
    >>> kcm.minimize(lambda x: ((x[0] - 1) ** 2, 2 * (x - 1)), [3.0], lower=[1.5]).x
    array([1.5])
    """
    x0 = np.asarray(x0, dtype=np.float64).ravel()
    with LBFGSB(len(x0), lower, upper, m=m, factr=factr, pgtol=pgtol) as opt:
        for x in opt.iterate(x0, max_iterations=max_iterations):
            f, g = fun(x)
            opt.tell(f, g)
        return OptimizeResult(opt.x.copy(), opt.f, opt.g.copy(), opt.code, opt.success,
                              opt.iterations, opt.evaluations)
