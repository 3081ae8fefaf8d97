"""Dense linear algebra on numpy arrays.

Each wrapper copies its inputs into column-major float64 storage, builds the
MatrixDescriptor for the caller (offset 0, ld = rows), calls the export and
returns new arrays; the caller's arrays are never modified. A nonzero LAPACK
INFO raises LinAlgError (``.info`` holds it), except for ``ols``, whose
positive status is the collinearity report it returns.

The factorising exports (``ls``, ``ols``, ``qr``, ``qrp``, ``qr_q``, ``qr_qy``,
``full_svd``, ``thin_svd``) share one process-wide workspace of 10000 doubles:
the binding runs them one at a time, whatever the number of Python threads
(every other function runs concurrently), and they fail with INFO < 0 (naming
the workspace argument) for problems needing more workspace than that.
"""
from collections import namedtuple

import numpy as np

from . import _native
from ._checks import int32, int32_array
from .errors import LinAlgError


def _fortran(a, name="a"):
    """A column-major float64 copy; its dimensions checked against the
    descriptors' 32-bit fields before anything is copied."""
    shape = np.shape(a)
    if len(shape) not in (1, 2):
        raise ValueError(f"{name}: expected a vector or a matrix")
    for size, what in zip(shape, ("rows", "columns")):
        int32(size, f"the number of {what} of {name}")
    arr = np.array(a, dtype=np.float64, order="F", copy=True)
    if arr.ndim == 1:
        arr = arr.reshape(-1, 1, order="F")
    return arr


def _desc(arr, rows=None):
    """The descriptor of all of ``arr`` (offset 0, ld = its rows), or of its
    first ``rows`` rows."""
    r, c = arr.shape
    rows = r if rows is None else rows
    if not 0 <= rows <= r:
        raise ValueError(f"a descriptor of {rows} rows on a matrix of {r}")
    return _native.MatrixDescriptor(0, max(1, r), rows, c)


def _rows(name, arr, expected, of):
    if arr.shape[0] != expected:
        raise ValueError(f"{name} has {arr.shape[0]} rows; it needs {expected}, {of}")


def _tau(t, a):
    """tau must hold the min(m, n) scalars that the reflectors of a use."""
    k = min(a.shape)
    if len(t) != k:
        raise ValueError(f"tau has {len(t)} entries; the factorisation of a {a.shape[0]} x "
                         f"{a.shape[1]} matrix has min(m, n) = {k}")


def _ptr(arr):
    return arr.ctypes.data_as(_native.pd)


def _iptr(arr):
    return arr.ctypes.data_as(_native.pi)


def _fn(name):
    return _native.export(name)


def _check(name, info):
    if info != 0:
        what = (f"argument {-info} had an illegal value" if info < 0
                else "the computation failed")
        raise LinAlgError(f"{name} returned INFO = {info}: {what}", info)


def _square(a, name="a"):
    arr = _fortran(a, name)
    if arr.shape[0] != arr.shape[1]:
        raise ValueError(f"{name}: expected a square matrix")
    return arr


def cholesky(a):
    """Lower Cholesky factor L (A = L L^T) of a symmetric positive-definite matrix.

    Only the lower triangle of ``a`` is read. A non-positive-definite leading
    minor of order k raises LinAlgError with info = k. (The export only
    supports the lower factor.) Wraps ``Cholesky``.
    """
    arr = _square(a)
    _check("Cholesky", _fn("Cholesky")(0, _ptr(arr), _desc(arr)))
    return np.tril(arr)


def cholesky_solve(l, b):
    """Solve A X = B given the lower Cholesky factor L of A. Wraps ``CholeskySolve``."""
    fac = _square(l, "l")
    vector = np.ndim(b) == 1
    rhs = _fortran(b, "b")
    _rows("b", rhs, fac.shape[0], "the order of l")
    _check("CholeskySolve", _fn("CholeskySolve")(0, _ptr(fac), _desc(fac), _ptr(rhs), _desc(rhs)))
    return rhs[:, 0] if vector else rhs


def solve_triangular_system(a, b, upper=False, transpose=False):
    """Solve op(A) X = B for triangular A (op = transpose when asked).

    A zero diagonal element k raises LinAlgError with info = k.
    Wraps ``SolveTriangularSystem``.
    """
    tri = _square(a)
    vector = np.ndim(b) == 1
    rhs = _fortran(b, "b")
    _rows("b", rhs, tri.shape[0], "the order of a")
    _check("SolveTriangularSystem", _fn("SolveTriangularSystem")(
        _ptr(tri), _desc(tri), 1 if upper else 0, 1 if transpose else 0, _ptr(rhs), _desc(rhs)))
    return rhs[:, 0] if vector else rhs


def disable_mkl_threading():
    """Run every later LAPACK call of the process on one thread. Wraps ``DisableMKLThreading``."""
    _fn("DisableMKLThreading")()


def qr(a):
    """Householder QR: returns (qr, tau) in LAPACK's compact form (R on and above
    the diagonal, reflectors below). Wraps ``QR``."""
    arr = _fortran(a)
    tau = np.zeros(min(arr.shape))
    _check("QR", _fn("QR")(_ptr(arr), _desc(arr), _ptr(tau)))
    return arr, tau


def qrp(a, jpvt=None):
    """QR with column pivoting, A P = Q R: returns (qr, tau, jpvt).

    jpvt (one-based) on entry marks columns to keep in front (nonzero); by
    default all columns are free. On exit jpvt[j] is the original (one-based)
    index of the column now in position j. Wraps ``QRP``.
    """
    arr = _fortran(a)
    n = arr.shape[1]
    piv = (np.zeros(n, dtype=np.int32) if jpvt is None
           else np.array(int32_array(jpvt, "jpvt"), dtype=np.int32).ravel())
    if len(piv) != n:
        raise ValueError("jpvt needs one entry per column")
    tau = np.zeros(min(arr.shape))
    _check("QRP", _fn("QRP")(_ptr(arr), _desc(arr), _ptr(tau), _iptr(piv)))
    return arr, tau, piv


def _tall(arr):
    if arr.shape[0] < arr.shape[1]:
        raise ValueError(f"qr is {arr.shape[0]} x {arr.shape[1]}: the reflectors need "
                         f"at least as many rows as columns")


def qr_q(qr, tau):
    """The thin Q (m x n, m >= n) from the compact output of qr(). Wraps ``QR_Q``.

    tau must have min(m, n) = n entries, as qr() returns it."""
    arr = _fortran(qr, "qr")
    t = np.array(tau, dtype=np.float64).ravel()
    _tall(arr)
    _tau(t, arr)
    _check("QR_Q", _fn("QR_Q")(_ptr(arr), _desc(arr), _ptr(t)))
    return arr


def qr_qy(qr, tau, c, transpose=False):
    """Q C, or Q^T C with transpose=True, from the compact output of qr(). Wraps ``QR_Qy``."""
    arr = _fortran(qr, "qr")
    t = np.array(tau, dtype=np.float64).ravel()
    _tall(arr)
    _tau(t, arr)
    vector = np.ndim(c) == 1
    cc = _fortran(c, "c")
    _rows("c", cc, arr.shape[0], "the rows of qr")
    _check("QR_Qy", _fn("QR_Qy")(_ptr(arr), _desc(arr), 1 if transpose else 0, _ptr(t),
                                 _ptr(cc), _desc(cc)))
    return cc[:, 0] if vector else cc


def ls(a, b):
    """Least-squares (m >= n) or minimum-norm (m < n) solution of A X = B. Wraps ``LS``.

    A rank-deficient A raises LinAlgError with info > 0.
    """
    arr = _fortran(a)
    m, n = arr.shape
    vector = np.ndim(b) == 1
    rhs_in = _fortran(b, "b")
    _rows("b", rhs_in, m, "the rows of a")
    rhs = np.zeros((max(m, n), rhs_in.shape[1]), order="F")
    rhs[:m] = rhs_in
    _check("LS", _fn("LS")(_ptr(arr), _desc(arr), _ptr(rhs), _desc(rhs)))
    x = rhs[:n]
    return x[:, 0] if vector else x


OLSResult = namedtuple("OLSResult", "coef collinear qty qr tau")


def ols(a, y, tol=1e-7):
    """Ordered-QR regression of one response y on the columns of A, in their order.

    Returns OLSResult(coef, collinear, qty, qr, tau). collinear is 0 when every
    column passed, else the one-based index of the first column that is (within
    tol, relative to the column's own length) a combination of the columns before
    it; then coef is None and the caller drops that column and refits. qty = Q^T y,
    whose entries n.. are the residual components (their squares sum to the RSS).
    A negative tol disables the test. Wraps ``OLS``.
    """
    arr = _fortran(a)
    m, n = arr.shape
    yv = np.array(y, dtype=np.float64).ravel()
    if len(yv) != m:
        raise ValueError("y must have one entry per row of a")
    rhs = np.zeros((max(m, n, 1), 1), order="F")
    rhs[:m, 0] = yv
    coef = np.zeros((max(n, 1), 1), order="F")
    tau = np.zeros(max(min(m, n), 1))
    status = _fn("OLS")(_ptr(arr), _desc(arr), _ptr(rhs), _desc(rhs, rows=m), _ptr(coef),
                        _desc(coef, rows=n), _ptr(tau), float(tol))
    if status < 0:
        _check("OLS", status)
    if status > 0:
        return OLSResult(None, int(status), None, arr, tau)
    return OLSResult(coef[:n, 0].copy(), 0, rhs[:m, 0].copy(), arr, tau)


def xb(x, beta, y):
    """Residual sum of squares sum_i (y_i - (X beta)_i)^2. Wraps ``Xb``."""
    arr = _fortran(x, "x")
    bv = np.array(beta, dtype=np.float64).ravel()
    yv = np.array(y, dtype=np.float64).ravel()
    if len(bv) != arr.shape[1] or len(yv) != arr.shape[0]:
        raise ValueError("beta needs one entry per column and y one per row of x")
    return _fn("Xb")(_ptr(arr), _desc(arr), _ptr(bv), _ptr(yv))


def eigen_symmetric(a, vectors=True):
    """Eigenvalues (ascending) and, if asked, orthonormal eigenvectors (columns).

    Only the lower triangle of ``a`` is read. Returns (w, z) or w.
    Wraps ``EigenSymmetric``.
    """
    arr = _square(a)
    n = arr.shape[0]
    w = np.zeros(n)
    m = np.zeros(1, dtype=np.int32)
    z = np.zeros((n, n), order="F")
    dz = _desc(z) if n else _native.MatrixDescriptor(0, 1, 0, 0)
    info = _fn("EigenSymmetric")(_ptr(arr), _desc(arr), _ptr(w), _iptr(m),
                                 _ptr(z) if vectors else None, dz)
    _check("EigenSymmetric", info)
    return (w, z) if vectors else w


def _svd(name, a, full):
    arr = _fortran(a)
    m, n = arr.shape
    k = min(m, n)
    s = np.zeros(k)
    u = np.zeros((m, m if full else k), order="F")
    vt = np.zeros((n if full else k, n), order="F")
    du = _native.MatrixDescriptor(0, max(1, m), u.shape[0], u.shape[1])
    dvt = _native.MatrixDescriptor(0, max(1, vt.shape[0]), vt.shape[0], vt.shape[1])
    _check(name, _fn(name)(_ptr(arr), _desc(arr), _ptr(s), _ptr(u), du, _ptr(vt), dvt))
    return u, s, vt


def full_svd(a):
    """A = U diag(s) V^T with all singular vectors: returns (u (m x m), s, vt (n x n)).

    Wraps ``FullSVD`` (shared workspace: large problems raise LinAlgError, info -12).
    """
    return _svd("FullSVD", a, True)


def thin_svd(a):
    """Thin SVD: returns (u (m x k), s, vt (k x n)), k = min(m, n). Wraps ``ThinSVD``."""
    return _svd("ThinSVD", a, False)
