"""Linear algebra against numpy.linalg / scipy.linalg on small matrices."""
import numpy as np
import pytest
from numpy.testing import assert_allclose, assert_array_equal
from scipy import linalg as sla

import korvane_core_math as kcm

from conftest import needs

RNG = np.random.default_rng(20261122)
A = RNG.standard_normal((7, 4))
SPD = A.T @ A + 4 * np.eye(4)
Y = RNG.standard_normal(7)


@needs("Cholesky", "CholeskySolve", "SolveTriangularSystem")
class TestCholesky:
    def test_factor_and_solve(self):
        l = kcm.cholesky(SPD)
        assert_allclose(l, np.linalg.cholesky(SPD), rtol=1e-13, atol=1e-14)
        b = RNG.standard_normal((4, 2))
        assert_allclose(kcm.cholesky_solve(l, b), np.linalg.solve(SPD, b), rtol=1e-12)
        assert_allclose(kcm.cholesky_solve(l, b[:, 0]), np.linalg.solve(SPD, b[:, 0]), rtol=1e-12)

    def test_not_positive_definite(self):
        bad = np.array([[1.0, 2.0], [2.0, 1.0]])
        with pytest.raises(kcm.LinAlgError) as info:
            kcm.cholesky(bad)
        assert info.value.info == 2

    def test_triangular(self):
        u = np.triu(SPD)
        b = RNG.standard_normal(4)
        assert_allclose(kcm.solve_triangular_system(u, b, upper=True),
                        sla.solve_triangular(u, b, lower=False), rtol=1e-12)
        assert_allclose(kcm.solve_triangular_system(u, b, upper=True, transpose=True),
                        sla.solve_triangular(u, b, lower=False, trans="T"), rtol=1e-12)
        singular = np.diag([1.0, 0.0, 2.0])
        with pytest.raises(kcm.LinAlgError) as info:
            kcm.solve_triangular_system(singular, np.ones(3))
        assert info.value.info == 2


@needs("QR", "QRP", "QR_Q", "QR_Qy")
class TestQR:
    def test_qr_q_and_qy(self):
        qr, tau = kcm.qr(A)
        r = np.triu(qr[:4])
        q = kcm.qr_q(qr, tau)
        assert_allclose(q.T @ q, np.eye(4), atol=1e-14)
        assert_allclose(q @ r, A, atol=1e-13)
        assert_allclose(np.abs(r), np.abs(np.linalg.qr(A, mode="r")), atol=1e-13)
        qty = kcm.qr_qy(qr, tau, Y, transpose=True)
        assert_allclose(kcm.qr_qy(qr, tau, qty), Y, atol=1e-13)

    def test_pivoting_moves_a_zero_column_last(self):
        a = A.copy()
        a[:, 1] = 0.0
        qr, tau, jpvt = kcm.qrp(a)
        assert jpvt[-1] == 2
        assert sorted(jpvt) == [1, 2, 3, 4]


@needs("LS", "OLS", "Xb")
class TestLeastSquares:
    def test_ls(self):
        assert_allclose(kcm.ls(A, Y), np.linalg.lstsq(A, Y, rcond=None)[0], rtol=1e-12)
        wide = A.T[:, :5]
        x = kcm.ls(wide, Y[:4])
        assert_allclose(x, np.linalg.lstsq(wide, Y[:4], rcond=None)[0], rtol=1e-11)

    def test_ols_and_xb(self):
        res = kcm.ols(A, Y)
        coef = np.linalg.lstsq(A, Y, rcond=None)[0]
        assert res.collinear == 0
        assert_allclose(res.coef, coef, rtol=1e-12)
        rss = np.sum((Y - A @ coef) ** 2)
        assert_allclose(np.sum(res.qty[4:] ** 2), rss, rtol=1e-12)
        assert_allclose(kcm.xb(A, res.coef, Y), rss, rtol=1e-12)

    def test_ols_reports_the_first_collinear_column(self):
        a = np.column_stack([A[:, 0], A[:, 1], A[:, 0] + A[:, 1], A[:, 2]])
        res = kcm.ols(a, Y)
        assert res.collinear == 3 and res.coef is None
        a[:, 2] = 0.0
        assert kcm.ols(a, Y, tol=0.0).collinear == 3


@needs("EigenSymmetric", "FullSVD", "ThinSVD")
class TestSpectral:
    def test_eigen(self):
        w, z = kcm.eigen_symmetric(SPD)
        assert_allclose(w, np.linalg.eigvalsh(SPD), rtol=1e-13)
        assert_allclose(SPD @ z, z * w, atol=1e-12)
        assert_allclose(kcm.eigen_symmetric(np.tril(SPD), vectors=False), w, rtol=1e-13)

    def test_svd(self):
        u, s, vt = kcm.thin_svd(A)
        assert u.shape == (7, 4) and vt.shape == (4, 4)
        assert_allclose(s, np.linalg.svd(A, compute_uv=False), rtol=1e-13)
        assert_allclose(u * s @ vt, A, atol=1e-13)
        u, s, vt = kcm.full_svd(A)
        assert u.shape == (7, 7)
        assert_allclose(u.T @ u, np.eye(7), atol=1e-13)
        assert_allclose(u[:, :4] * s @ vt, A, atol=1e-13)


@needs("DisableMKLThreading")
def test_disable_threading_is_callable():
    kcm.disable_mkl_threading()


WORKSPACE_CALLS = {
    "ls": lambda a, y: kcm.ls(a, y),
    "ols": lambda a, y: kcm.ols(a, y).coef,
    "qr": lambda a, y: kcm.qr(a)[0],
    "qrp": lambda a, y: kcm.qrp(a)[0],
    "qr_q": lambda a, y: kcm.qr_q(*kcm.qr(a)),
    "qr_qy": lambda a, y: kcm.qr_qy(*kcm.qr(a), y, transpose=True),
    "full_svd": lambda a, y: kcm.full_svd(a[:20])[1],
    "thin_svd": lambda a, y: kcm.thin_svd(a)[1],
}


@needs("LS", "OLS", "QR", "QRP", "QR_Q", "QR_Qy", "FullSVD", "ThinSVD")
class TestWorkspaceUsersFromThreads:
    """The factorising exports share one workspace: the binding serialises them."""

    def test_eight_threads_give_the_serial_results(self):
        import concurrent.futures
        rng = np.random.default_rng(8)
        problems = [(name, rng.standard_normal((120, 30)), rng.standard_normal(120))
                    for _ in range(12) for name in WORKSPACE_CALLS]
        serial = [WORKSPACE_CALLS[name](a, y) for name, a, y in problems]
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            for _ in range(3):
                threaded = list(pool.map(lambda p: WORKSPACE_CALLS[p[0]](p[1], p[2]), problems))
                for (name, _, _), want, got in zip(problems, serial, threaded):
                    assert_array_equal(got, want, err_msg=name)

    def test_only_the_workspace_users_wait_for_the_lock(self):
        import threading
        from korvane_core_math import _native
        results = {}

        def run(name, call):
            results[name] = call()

        with _native.workspace_lock:
            free = threading.Thread(target=run, args=("cholesky", lambda: kcm.cholesky(SPD)))
            held = threading.Thread(target=run, args=("ls", lambda: kcm.ls(A, Y)))
            free.start()
            held.start()
            free.join(10)
            held.join(0.5)
            assert "cholesky" in results and "ls" not in results
        held.join(10)
        assert_allclose(results["ls"], np.linalg.lstsq(A, Y, rcond=None)[0], rtol=1e-12)
