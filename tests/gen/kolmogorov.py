#!/usr/bin/python3
"""Reference values of the two-sided Kolmogorov-Smirnov distribution where R's
double-precision result cannot serve: small upper tails, compared relatively,
and very large n.

Oracles:
  durbin   the exact matrix formula of Durbin (Marsaglia-Tsang-Wang form),
           P(D_n < d) = n!/n^n (H^n)_kk, evaluated in mpmath at 60 digits, so
           1 - P keeps its relative accuracy in a far upper tail (small m only).
  smirnov  twice the one-sided tail, 2 P(D_n+ >= x), by the Birnbaum-Tingey
           sum in mpmath at 40 digits. Exact for x >= 1/2; otherwise it exceeds
           the two-sided tail by P(D+ >= x, D- >= x), a relative 2e-16 or less
           where it is used here (n x^2 >= 6).
  scipy    scipy.stats.kstwo for n = 10^6 and n = 200001, where no exact method
           is affordable; SciPy uses the same asymptotic series as the library
           there, so these rows check the implementation, not the asymptotics.

Each row names the method region the library uses for (n, x, tail).
Run: /usr/bin/python3 tests/gen/kolmogorov.py   (several minutes: the matrix formula in mpmath is slow)
"""
from pathlib import Path

import mpmath as mp
import numpy as np
import scipy
from scipy.special import gammaln
from scipy.stats import kstwo

OUT = Path(__file__).resolve().parent.parent / "data" / "kolmogorov_py.csv"


def lower_region(n, x):
    w = n * x * x
    if w >= 18 or x >= 1:
        return "one"
    if x <= 0.5 / n:
        return "zero"
    if n == 1 or x <= 1 / n or x >= 1 - 1 / n:
        return "closed"
    if n <= 140:
        return "durbin" if w < 0.754693 else "pomeranz" if w < 4 else "onesided"
    if w * x * n <= 2 and n <= 100000:
        return "durbin"
    return "pelzgood"


def upper_region(n, x):
    w = n * x * x
    if w >= 370 or x >= 1:
        return "zero"
    if w <= 0.0274 or x <= 0.5 / n:
        return "one"
    if n == 1 or x <= 1 / n or x >= 1 - 1 / n:
        return "closed"
    if (n <= 140 and w >= 4) or (n > 140 and w >= 2.2):
        return "onesided" if n <= 200000 else "onesided_asymptotic"
    return lower_region(n, x)


def durbin_lower(n, d):
    """P(D_n < d), exact formula, evaluated at 60 digits."""
    with mp.workdps(60):
        d = mp.mpf(d)
        k = int(mp.floor(n * d)) + 1
        m = 2 * k - 1
        h = k - n * d
        H = [[mp.mpf(1) if i - j + 1 >= 0 else mp.mpf(0) for j in range(m)] for i in range(m)]
        for i in range(m):
            H[i][0] -= h ** (i + 1)
            H[m - 1][i] -= h ** (m - i)
        if 2 * h - 1 > 0:
            H[m - 1][0] += (2 * h - 1) ** m
        for i in range(m):
            for j in range(m):
                if i - j + 1 > 0:
                    H[i][j] /= mp.factorial(i - j + 1)

        def mul(A, B):
            Bt = list(zip(*B))
            return [[mp.fsum(a * b for a, b in zip(row, col)) for col in Bt] for row in A]

        result, base, e = None, H, n
        while e:
            if e & 1:
                result = base if result is None else mul(result, base)
            e >>= 1
            if e:
                base = mul(base, base)
        return result[k - 1][k - 1] * mp.factorial(n) / mp.mpf(n) ** n


def twice_one_sided(n, x):
    """2 P(D_n+ >= x) by the Birnbaum-Tingey sum, summing the terms that count."""
    with mp.workdps(40):
        xm = mp.mpf(x)
        jmax = int(mp.floor(n * (1 - xm)))
        if 1 - xm - mp.mpf(jmax) / n <= 0:
            jmax -= 1
        j = np.arange(0, jmax + 1, dtype=float)
        q = j / n + x
        logt = (gammaln(n + 1) - gammaln(j + 1) - gammaln(n - j + 1)
                + (n - j) * np.log1p(-q) + (j - 1) * np.log(q))
        keep = np.nonzero(logt > logt.max() - 120)[0]
        s = mp.mpf(0)
        for jj in range(int(keep.min()), int(keep.max()) + 1):
            qq = mp.mpf(jj) / n + xm
            s += mp.binomial(n, jj) * (1 - qq) ** (n - jj) * qq ** (jj - 1)
        return 2 * xm * s


rows = []


def add(n, x, upper, value, source):
    region = upper_region(n, x) if upper else lower_region(n, x)
    rows.append((n, x, upper, value, region, source))


# Exact two-sided values by the matrix formula: both tails, small m.
for n, x in [(1, 0.7), (8, 0.1), (10, 0.5), (10, 0.7), (20, 0.35), (25, 0.9), (25, 0.97),
             (30, 0.4), (30, 0.6), (40, 0.3155), (40, 0.32), (60, 0.45), (100, 0.0166),
             (140, 0.169), (140, 0.1691), (141, 0.124), (141, 0.125), (141, 0.2)]:
    p = durbin_lower(n, x)
    add(n, x, 0, p, "durbin")
    add(n, x, 1, 1 - p, "durbin")

# Far upper tails, and the one-sided sum on both sides of n = 3000 and 200000.
for n, x in [(100, 0.3), (140, 0.5), (1000, 0.1), (1000, 0.3), (1000, 0.5), (1000, 0.58),
             (3000, 0.05), (3001, 0.05), (10000, 0.03), (200000, 0.0055), (200001, 0.0055),
             (1000000, 0.0025)]:
    add(n, x, 1, twice_one_sided(n, x), "smirnov")

# Very large n: SciPy.
for n, x, upper in [(1000000, 0.001, 0), (1000000, 0.001, 1), (1000000, 0.0015, 0),
                    (200001, 0.002, 0), (200001, 0.002, 1)]:
    v = kstwo.sf(x, n) if upper else kstwo.cdf(x, n)
    add(n, x, upper, v, "scipy")

with OUT.open("w") as f:
    f.write("# mpmath %s (matrix formula at 60 digits, one-sided sum at 40 digits) and "
            "scipy %s kstwo; generated by tests/gen/kolmogorov.py\n"
            % (mp.__version__, scipy.__version__))
    f.write("n,x,upper,expected,region,source\n")
    for n, x, up, v, region, source in rows:
        f.write("%d,%r,%d,%r,%s,%s\n" % (n, float(x), up, float(v), region, source))
print("wrote", len(rows), "rows to", OUT)
