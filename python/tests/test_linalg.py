"""Linear algebra against numpy/scipy on small matrices, its error exits, and
the serialised shared workspace."""
import concurrent.futures
import threading

import numpy as np
import pytest
from numpy.testing import assert_allclose, assert_array_equal
from scipy import linalg as sla

import korvane_core_math as kcm
from korvane_core_math import _native

RNG = np.random.default_rng(20261122)
A = RNG.standard_normal((7, 4))
SPD = A.T @ A + 4 * np.eye(4)
Y = RNG.standard_normal(7)
B = RNG.standard_normal((4, 2))
QR, TAU = kcm.qr(A)
LSQ = np.linalg.lstsq(A, Y, rcond=None)[0]
U, S, VT = kcm.thin_svd(A)
W, Z = kcm.eigen_symmetric(SPD)
OLS = kcm.ols(A, Y)

ROWS = [  # id, the binding, the oracle, atol
    ("cholesky", lambda: kcm.cholesky(SPD), lambda: np.linalg.cholesky(SPD), 1e-13),
    ("cholesky_solve", lambda: kcm.cholesky_solve(kcm.cholesky(SPD), B), lambda: np.linalg.solve(SPD, B), 1e-13),
    ("cholesky_solve vector", lambda: kcm.cholesky_solve(kcm.cholesky(SPD), B[:, 0]),
     lambda: np.linalg.solve(SPD, B[:, 0]), 1e-13),
    ("triangular upper transposed", lambda: kcm.solve_triangular_system(np.triu(SPD), B[:, 0], upper=True, transpose=True),
     lambda: sla.solve_triangular(np.triu(SPD), B[:, 0], lower=False, trans="T"), 1e-13),
    ("triangular lower", lambda: kcm.solve_triangular_system(np.tril(SPD), B), lambda: sla.solve_triangular(np.tril(SPD), B, lower=True), 1e-13),
    ("qr: Q R = A", lambda: kcm.qr_q(QR, TAU) @ np.triu(QR[:4]), lambda: A, 1e-13),
    ("qr: Q'Q = I", lambda: kcm.qr_q(QR, TAU).T @ kcm.qr_q(QR, TAU), lambda: np.eye(4), 1e-14),
    ("qr_qy round trip", lambda: kcm.qr_qy(QR, TAU, kcm.qr_qy(QR, TAU, Y, transpose=True)), lambda: Y, 1e-13),
    ("ls", lambda: kcm.ls(A, Y), lambda: LSQ, 1e-13),
    ("ls wide", lambda: kcm.ls(A.T[:, :5], Y[:4]), lambda: np.linalg.lstsq(A.T[:, :5], Y[:4], rcond=None)[0], 1e-12),
    ("ols", lambda: OLS.coef, lambda: LSQ, 1e-13),
    ("ols residual sum of squares", lambda: [np.sum(OLS.qty[4:] ** 2), kcm.xb(A, OLS.coef, Y)],
     lambda: [np.sum((Y - A @ LSQ) ** 2)] * 2, 1e-13),
    ("eigen", lambda: SPD @ Z, lambda: Z * W, 1e-12),
    ("eigen values only, lower triangle", lambda: kcm.eigen_symmetric(np.tril(SPD), vectors=False),
     lambda: np.linalg.eigvalsh(SPD), 1e-12),
    ("thin svd", lambda: U * S @ VT, lambda: A, 1e-13),
    ("singular values", lambda: S, lambda: np.linalg.svd(A, compute_uv=False), 1e-13),
    ("full svd: U'U = I", lambda: (lambda u, s, vt: u.T @ u)(*kcm.full_svd(A)), lambda: np.eye(7), 1e-13),
    ("full svd", lambda: (lambda u, s, vt: u[:, :4] * s @ vt)(*kcm.full_svd(A)), lambda: A, 1e-13),
]


@pytest.mark.parametrize("name, got, want, atol", ROWS, ids=[r[0] for r in ROWS])
def test_against_numpy(name, got, want, atol):
    assert_allclose(got(), want(), rtol=0, atol=atol)


def test_error_exits_and_rank_reports():
    with pytest.raises(kcm.LinAlgError) as info:
        kcm.cholesky(np.array([[1.0, 2.0], [2.0, 1.0]]))
    assert info.value.info == 2
    with pytest.raises(kcm.LinAlgError) as info:
        kcm.solve_triangular_system(np.diag([1.0, 0.0, 2.0]), np.ones(3))
    assert info.value.info == 2
    collinear = np.column_stack([A[:, 0], A[:, 1], A[:, 0] + A[:, 1], A[:, 2]])
    res = kcm.ols(collinear, Y)
    assert res.collinear == 3 and res.coef is None
    collinear[:, 2] = 0.0
    assert kcm.ols(collinear, Y, tol=0.0).collinear == 3
    qr, tau, jpvt = kcm.qrp(collinear)  # pivoting moves the zero column last
    assert jpvt[-1] == 3 and sorted(jpvt) == [1, 2, 3, 4]
    kcm.disable_mkl_threading()


CALLS = {"ls": lambda a, y: kcm.ls(a, y), "ols": lambda a, y: kcm.ols(a, y).coef,
         "qrp": lambda a, y: kcm.qrp(a)[0], "qr_qy": lambda a, y: kcm.qr_qy(*kcm.qr(a), y, transpose=True),
         "full_svd": lambda a, y: kcm.full_svd(a[:20])[1], "thin_svd": lambda a, y: kcm.thin_svd(a)[1]}


def test_workspace_users_from_eight_threads_give_the_serial_results():
    rng = np.random.default_rng(8)
    problems = [(n, rng.standard_normal((120, 30)), rng.standard_normal(120)) for _ in range(12) for n in CALLS]
    serial = [CALLS[n](a, y) for n, a, y in problems]
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        for _ in range(3):
            for want, got in zip(serial, pool.map(lambda p: CALLS[p[0]](p[1], p[2]), problems)):
                assert_array_equal(got, want)


def test_only_the_workspace_users_wait_for_the_lock():
    results = {}
    with _native.workspace_lock:
        free = threading.Thread(target=lambda: results.setdefault("cholesky", kcm.cholesky(SPD)))
        held = threading.Thread(target=lambda: results.setdefault("ls", kcm.ls(A, Y)))
        free.start(), held.start()
        free.join(10)
        held.join(0.5)
        assert "cholesky" in results and "ls" not in results
    held.join(10)
    assert_allclose(results["ls"], LSQ, rtol=1e-12)
