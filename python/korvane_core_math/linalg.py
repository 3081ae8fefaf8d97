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
    """Lower Cholesky factor L, A = L L^T, of a symmetric positive-definite matrix.

    Parameters
    ----------
    a : array_like, (n, n)
        The matrix; only its lower triangle is read. Not modified.

    Returns
    -------
    l : ndarray, (n, n)
        The lower factor (zeros above the diagonal).

    Raises
    ------
    LinAlgError
        ``info = k`` when the leading minor of order k is not positive
        definite; ``info < 0`` for an illegal argument.
    ValueError
        ``a`` is not square.

    Notes
    -----
    Wraps ``Cholesky``, which computes the lower factor only.

    Examples
    --------
    >>> kcm.cholesky([[4.0, 2.0], [2.0, 5.0]])
    array([[2., 0.], [1., 2.]])
    """
    arr = _square(a)
    _check("Cholesky", _fn("Cholesky")(0, _ptr(arr), _desc(arr)))
    return np.tril(arr)


def cholesky_solve(l, b):
    """Solve A X = B given the lower Cholesky factor L of A.

    Parameters
    ----------
    l : array_like, (n, n)
        The lower factor, as :func:`cholesky` returns it.
    b : array_like, (n,) or (n, k)
        Right-hand side(s); a vector gives a vector.

    Returns
    -------
    x : ndarray
        The solution, shaped as ``b``.

    Raises
    ------
    ValueError
        ``b`` does not have n rows.
    LinAlgError
        A nonzero INFO of ``CholeskySolve``.

    Examples
    --------
    >>> kcm.cholesky_solve([[2.0, 0.0], [1.0, 2.0]], [6.0, 9.0])
    array([0.75, 1.5])
    """
    fac = _square(l, "l")
    vector = np.ndim(b) == 1
    rhs = _fortran(b, "b")
    _rows("b", rhs, fac.shape[0], "the order of l")
    _check("CholeskySolve", _fn("CholeskySolve")(0, _ptr(fac), _desc(fac), _ptr(rhs), _desc(rhs)))
    return rhs[:, 0] if vector else rhs


def solve_triangular_system(a, b, upper=False, transpose=False):
    """Solve op(A) X = B for a triangular A, op(A) = A or A^T.

    Parameters
    ----------
    a : array_like, (n, n)
        Triangular matrix; only the triangle named by ``upper`` is read.
    b : array_like, (n,) or (n, k)
        Right-hand side(s).
    upper : bool
        A is upper (True) or lower (False) triangular.
    transpose : bool
        Solve with A^T.

    Returns
    -------
    x : ndarray
        The solution, shaped as ``b``.

    Raises
    ------
    LinAlgError
        ``info = k`` when the diagonal element k is zero (singular A).
    ValueError
        ``b`` does not have n rows.

    Examples
    --------
    >>> kcm.solve_triangular_system([[2.0, 0.0], [1.0, 4.0]], [2.0, 9.0])
    array([1., 2.])
    """
    tri = _square(a)
    vector = np.ndim(b) == 1
    rhs = _fortran(b, "b")
    _rows("b", rhs, tri.shape[0], "the order of a")
    _check("SolveTriangularSystem", _fn("SolveTriangularSystem")(
        _ptr(tri), _desc(tri), 1 if upper else 0, 1 if transpose else 0, _ptr(rhs), _desc(rhs)))
    return rhs[:, 0] if vector else rhs


def disable_mkl_threading():
    """Run every later LAPACK call of the process on one thread.

    Returns
    -------
    None

    Raises
    ------
    Nothing. The setting concerns only the library's own copy of MKL, not
    another BLAS or OpenMP runtime of the process.

    Examples
    --------
    >>> kcm.disable_mkl_threading()
    """
    _fn("DisableMKLThreading")()


def qr(a):
    """Householder QR factorisation in LAPACK's compact form.

    Parameters
    ----------
    a : array_like, (m, n)
        The matrix. Not modified.

    Returns
    -------
    qr : ndarray, (m, n)
        R on and above the diagonal, the Householder vectors below it.
    tau : ndarray, (min(m, n),)
        The reflectors' scalars.

    Raises
    ------
    LinAlgError
        A nonzero INFO of ``QR`` (the shared workspace is too small: INFO < 0).

    Examples
    --------
    >>> kcm.qr([[3.0], [4.0]])
    (array([[-5.], [0.5]]), array([1.6]))
    """
    arr = _fortran(a)
    tau = np.zeros(min(arr.shape))
    _check("QR", _fn("QR")(_ptr(arr), _desc(arr), _ptr(tau)))
    return arr, tau


def qrp(a, jpvt=None):
    """QR with column pivoting, A P = Q R.

    Parameters
    ----------
    a : array_like, (m, n)
        The matrix. Not modified.
    jpvt : array_like of int, (n,), optional
        A nonzero entry keeps that column in front; by default every column
        is free.

    Returns
    -------
    qr, tau : ndarray
        As :func:`qr`.
    jpvt : ndarray of int32
        ``jpvt[j]`` is the original one-based index of the column now at j.

    Raises
    ------
    ValueError
        ``jpvt`` does not have n entries.
    LinAlgError
        A nonzero INFO of ``QRP``.

    Examples
    --------
    >>> kcm.qrp([[1.0, 0.0], [0.0, 2.0]])
    (array([[-2., 0.], [1., -1.]]), array([1., 0.]), array([2, 1], dtype=int32))
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
    """The thin Q (m x n, m >= n) from the compact output of :func:`qr`.

    Parameters
    ----------
    qr : array_like, (m, n)
        The compact factorisation.
    tau : array_like, (n,)
        Its reflectors' scalars: exactly min(m, n) = n of them.

    Returns
    -------
    q : ndarray, (m, n)
        Orthonormal columns, Q R = A.

    Raises
    ------
    ValueError
        m < n, or ``tau`` of the wrong length (checked before the call).
    LinAlgError
        A nonzero INFO of ``QR_Q``.

    Examples
    --------
    >>> kcm.qr_q(*kcm.qr([[3.0], [4.0]]))
    array([[-0.6], [-0.8]])
    """
    arr = _fortran(qr, "qr")
    t = np.array(tau, dtype=np.float64).ravel()
    _tall(arr)
    _tau(t, arr)
    _check("QR_Q", _fn("QR_Q")(_ptr(arr), _desc(arr), _ptr(t)))
    return arr


def qr_qy(qr, tau, c, transpose=False):
    """Q C, or Q^T C, from the compact output of :func:`qr`.

    Parameters
    ----------
    qr : array_like, (m, n)
        The compact factorisation (m >= n).
    tau : array_like, (n,)
        Its reflectors' scalars.
    c : array_like, (m,) or (m, k)
        The matrix to multiply.
    transpose : bool
        Apply Q^T instead of Q.

    Returns
    -------
    y : ndarray
        The product, shaped as ``c``.

    Raises
    ------
    ValueError
        Shapes that do not match what the export reads.
    LinAlgError
        A nonzero INFO of ``QR_Qy``.

    Examples
    --------
    >>> kcm.qr_qy(*kcm.qr([[3.0], [4.0]]), [3.0, 4.0], transpose=True)
    array([-5., 0.])
    """
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
    """Least-squares (m >= n) or minimum-norm (m < n) solution of A X = B.

    Parameters
    ----------
    a : array_like, (m, n)
        Full-rank matrix. Not modified.
    b : array_like, (m,) or (m, k)
        Right-hand side(s).

    Returns
    -------
    x : ndarray, (n,) or (n, k)
        The solution.

    Raises
    ------
    LinAlgError
        ``info > 0`` for a rank-deficient A; ``info < 0`` when the problem
        needs more than the shared workspace.
    ValueError
        ``b`` does not have m rows.

    Examples
    --------
    >>> kcm.ls([[1.0], [1.0], [1.0]], [1.0, 2.0, 6.0])
    array([3.])
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
    """Ordered-QR regression of y on the columns of A, taken in their order.

    Parameters
    ----------
    a : array_like, (m, n)
        The regressors.
    y : array_like, (m,)
        The response.
    tol : float
        A column whose part orthogonal to the columns before it is below
        ``tol`` times its own length is collinear; a negative tol disables
        the test.

    Returns
    -------
    OLSResult
        ``(coef, collinear, qty, qr, tau)``: ``collinear`` is 0 when every
        column passed, else the one-based index of the first collinear
        column (then ``coef`` and ``qty`` are None: drop it and refit).
        ``qty = Q^T y``; its entries from n on square-sum to the RSS.

    Raises
    ------
    LinAlgError
        A negative status (an illegal argument or the shared workspace).
    ValueError
        ``y`` does not have m entries.

    Examples
    --------
    >>> kcm.ols([[1.0], [1.0], [1.0]], [1.0, 2.0, 6.0]).coef
    array([3.])
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
    """Residual sum of squares, sum_i (y_i - (X beta)_i)^2.

    Parameters
    ----------
    x : array_like, (m, n)
        The regressors.
    beta : array_like, (n,)
        The coefficients.
    y : array_like, (m,)
        The response.

    Returns
    -------
    float
        The residual sum of squares.

    Raises
    ------
    ValueError
        Lengths that do not match x.

    Examples
    --------
    >>> kcm.xb([[1.0], [1.0], [1.0]], [3.0], [1.0, 2.0, 6.0])
    14.0
    """
    arr = _fortran(x, "x")
    bv = np.array(beta, dtype=np.float64).ravel()
    yv = np.array(y, dtype=np.float64).ravel()
    if len(bv) != arr.shape[1] or len(yv) != arr.shape[0]:
        raise ValueError("beta needs one entry per column and y one per row of x")
    return _fn("Xb")(_ptr(arr), _desc(arr), _ptr(bv), _ptr(yv))


def eigen_symmetric(a, vectors=True):
    """Eigenvalues (ascending) and eigenvectors of a symmetric matrix.

    Parameters
    ----------
    a : array_like, (n, n)
        Only the lower triangle is read.
    vectors : bool
        Also return the orthonormal eigenvectors (as columns).

    Returns
    -------
    w : ndarray, (n,)
        The eigenvalues, ascending.
    z : ndarray, (n, n)
        The eigenvectors, when ``vectors`` is true: ``(w, z)`` is returned.

    Raises
    ------
    LinAlgError
        A nonzero INFO of ``EigenSymmetric``.

    Examples
    --------
    >>> kcm.eigen_symmetric([[2.0, 1.0], [1.0, 2.0]], vectors=False)
    array([1., 3.])
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
    """Singular value decomposition A = U diag(s) V^T with all singular vectors.

    Parameters
    ----------
    a : array_like, (m, n)
        The matrix. Not modified.

    Returns
    -------
    u : ndarray, (m, m)
    s : ndarray, (min(m, n),)
        Descending singular values.
    vt : ndarray, (n, n)

    Raises
    ------
    LinAlgError
        A nonzero INFO of ``FullSVD``; -12 when the problem needs more than
        the shared workspace.

    Examples
    --------
    >>> kcm.full_svd([[3.0, 0.0], [0.0, -2.0], [0.0, 0.0]])[1]
    array([3., 2.])
    """
    return _svd("FullSVD", a, True)


def thin_svd(a):
    """Thin singular value decomposition, k = min(m, n) singular vectors.

    Parameters
    ----------
    a : array_like, (m, n)
        The matrix. Not modified.

    Returns
    -------
    u : ndarray, (m, k)
    s : ndarray, (k,)
        Descending singular values.
    vt : ndarray, (k, n)

    Raises
    ------
    LinAlgError
        A nonzero INFO of ``ThinSVD`` (the shared workspace included).

    Examples
    --------
    >>> kcm.thin_svd([[3.0, 0.0], [0.0, -2.0], [0.0, 0.0]])[1]
    array([3., 2.])
    """
    return _svd("ThinSVD", a, False)
