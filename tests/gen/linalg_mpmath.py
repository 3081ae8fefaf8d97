#!/usr/bin/python3
"""Reference solutions for the dense linear-algebra exports.

Oracle: mpmath at 50 significant digits, independent of any LAPACK: least
squares by the normal equations (minimum-norm solution A^T (A A^T)^-1 b for a
wide A), eigenvalues by mpmath.eigsy, singular values by mpmath.svd_r. The
matrices are seeded numpy draws, stored as doubles (17 significant digits), so
the oracle solves exactly the problem the library receives. Every matrix is
well conditioned (condition number printed in the comment of each row), so a
backward-stable double-precision solver is within a small multiple of
cond * eps of these values.

Columns: name, kind (lstsq | eigsy | svd), rows, cols, a (column-major, space
separated), b (lstsq right-hand side), expected (coefficients, eigenvalues
ascending, or singular values descending), cond.
Run: /usr/bin/python3 tests/gen/linalg_mpmath.py
"""
from pathlib import Path

import mpmath as mp
import numpy as np

mp.mp.dps = 50
OUT = Path(__file__).resolve().parent.parent / "data" / "linalg_mpmath.csv"
rng = np.random.default_rng(20260611)


def fmt(v):
    return repr(float(v))


def colmajor(a):
    return " ".join(fmt(v) for v in np.asarray(a).flatten(order="F"))


def to_mp(a):
    return mp.matrix([[mp.mpf(float(v)) for v in row] for row in a])


def cond(a):
    s = np.linalg.svd(a, compute_uv=False)
    return s[0] / s[-1]


rows = []


def lstsq(name, m, n):
    a = rng.uniform(-1, 1, (m, n))
    b = rng.uniform(-1, 1, m)
    A, B = to_mp(a), mp.matrix([mp.mpf(float(v)) for v in b])
    if m >= n:
        x = mp.lu_solve(A.T * A, A.T * B)
    else:
        x = A.T * mp.lu_solve(A * A.T, B)
    rows.append((name, "lstsq", m, n, colmajor(a), " ".join(fmt(v) for v in b),
                 " ".join(fmt(v) for v in x), cond(a)))


def eigsy(name, n):
    g = rng.uniform(-1, 1, (n, n))
    a = (g + g.T) / 2
    w = sorted(mp.eigsy(to_mp(a), eigvals_only=True))
    rows.append((name, "eigsy", n, n, colmajor(a), "", " ".join(fmt(v) for v in w), cond(a)))


def svd(name, m, n):
    a = rng.uniform(-1, 1, (m, n))
    s = sorted(mp.svd_r(to_mp(a), compute_uv=False), reverse=True)
    rows.append((name, "svd", m, n, colmajor(a), "", " ".join(fmt(v) for v in s), cond(a)))


lstsq("tall 10x3", 10, 3)
lstsq("tall 40x6", 40, 6)
lstsq("square 7x7", 7, 7)
lstsq("wide 3x6 minimum norm", 3, 6)
eigsy("symmetric 5x5", 5)
eigsy("symmetric 9x9", 9)
svd("tall 6x3", 6, 3)
svd("wide 3x6", 3, 6)
svd("square 7x7", 7, 7)

with OUT.open("w") as f:
    f.write("# Dense linear algebra: least squares, symmetric eigenvalues, singular values.\n")
    f.write("# Source: mpmath 50 digits (tests/gen/linalg_mpmath.py); inputs are numpy draws\n")
    f.write("# stored as doubles. Tolerance: a multiple of cond * eps, set in the test.\n")
    f.write("name,kind,rows,cols,a,b,expected,cond\n")
    for r in rows:
        f.write(",".join(str(v) if not isinstance(v, float) else repr(v) for v in r) + "\n")
print(f"wrote {len(rows)} rows to {OUT}")
