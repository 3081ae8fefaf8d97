"""A Python host with nothing but ctypes: the library loaded by ctypes.CDLL in
its default mode (RTLD_LOCAL), one export of every family called with plain
ctypes types and checked against an independent value.

    /usr/bin/python3 ctypes_host.py LIBRARY
"""
import ctypes
import math
import sys
from ctypes import POINTER, Structure, byref, c_double, c_int32, c_ubyte, c_uint32, c_void_p


class MatrixDescriptor(Structure):
    _fields_ = [("offset", c_int32), ("ld", c_int32), ("rows", c_int32), ("cols", c_int32)]


lib = ctypes.CDLL(sys.argv[1])
passed = failed = 0


def fn(name, restype, *argtypes):
    f = getattr(lib, name)
    f.restype, f.argtypes = restype, list(argtypes)
    return f


def check(what, got, want, rel=0.0):
    global passed, failed
    ok = abs(got - want) <= rel * abs(want) if rel else got == want
    passed, failed = passed + ok, failed + (not ok)
    print(f"{what:44} {got!r:26} {'ok' if ok else 'WRONG'}")


def doubles(*values):
    return (c_double * len(values))(*values)


d, b, i32, pd = c_double, c_ubyte, c_int32, POINTER(c_double)
pm = POINTER(MatrixDescriptor)

# Scalar families: SciPy 1.10 / R 4.2 values, or exact arithmetic.
check("NormalCDF(1.96, 0, 1, upper)", fn("NormalCDF", d, d, d, d, b)(1.96, 0, 1, 1),
      0.024997895148220435, 1e-15)
check("GammaLn(10.5)", fn("GammaLn", d, d)(10.5), 13.940625219403763, 1e-15)
check("BetaRegularized(2, 3, 0.4)", fn("BetaRegularized", d, d, d, d)(2, 3, 0.4), 0.5248, 1e-15)
check("BinomialCDF(3, 10, 0.5, lower)", fn("BinomialCDF", d, d, d, d, b)(3, 10, 0.5, 0), 0.171875)
check("FNCHypergeometricCDF(1, 4, 3, 10, odds 1)",
      fn("FNCHypergeometricCDF", d, i32, i32, i32, i32, d, b, d)(1, 4, 3, 10, 1.0, 0, 1e-12),
      140 / 210, 1e-12)
check("KolmogorovCDF(0.7, 1, lower)", fn("KolmogorovCDF", d, d, d, i32)(0.7, 1, 0), 0.4, 1e-14)
lam = doubles(*[math.sqrt(0.5)] * 4)
check("MCaICDF(0.05, 4, 20, upper)", fn("MCaICDF", d, d, i32, d, pd, b)(0.05, 4, 20, lam, 1),
      2.7989361485179445, 1e-6)

# Optimiser: f = (x0 - 1)^2 + 10 (x1 + 2)^2, x0 in [-5, 5], x1 free.
start = fn("LBFGSBStart", c_void_p, i32, i32, pd, pd, POINTER(i32), d, d)
step = fn("LBFGSBStep", i32, c_void_p, pd, pd, pd)
end = fn("LBFGSBEnd", None, c_void_p)
nbd = (i32 * 2)(2, 0)
state = start(2, 5, doubles(-5, 0), doubles(5, 0), nbd, 1e7, 1e-10)
x, g, f = doubles(0, 0), doubles(0, 0), c_double(0)
code = 1
for _ in range(200):
    if code == 1:
        f.value = (x[0] - 1) ** 2 + 10 * (x[1] + 2) ** 2
        g[0], g[1] = 2 * (x[0] - 1), 20 * (x[1] + 2)
    code = step(state, x, byref(f), g)
    if code not in (1, 2):
        break
end(state)
check("LBFGSBStep: converged (3)", code, 3)
check("L-BFGS-B minimiser x0", x[0], 1.0, 1e-6)
check("L-BFGS-B minimiser x1", x[1], -2.0, 1e-6)

# Random streams: the same seed gives the same normals.
create = fn("CreateRandomStream", c_void_p, c_uint32)
normal = fn("GenerateRandomNormal", i32, c_void_p, pd, i32, d, d)
delete = fn("DeleteRandomStream", i32, c_void_p)
s1, s2 = create(7), create(7)
r1, r2 = (c_double * 8)(), (c_double * 8)()
check("GenerateRandomNormal status", normal(s1, r1, 8, 0, 1), 0)
normal(s2, r2, 8, 0, 1)
check("same seed, same normals", list(r1) == list(r2), True)
check("DeleteRandomStream status", delete(s1) | delete(s2), 0)

# Linear algebra.
a = doubles(4, 2, 2, 3)
da = MatrixDescriptor(0, 2, 2, 2)
check("Cholesky INFO", fn("Cholesky", i32, i32, pd, pm)(0, a, byref(da)), 0)
check("Cholesky L(1,1)", a[3], math.sqrt(2), 1e-15)
xs, y, c, tau = doubles(1, 1, 1, 1, 0, 1, 2, 3), doubles(1, 3, 5, 7), doubles(0, 0), doubles(0, 0)
ols = fn("OLS", i32, pd, pm, pd, pm, pd, pm, pd, d)
check("OLS INFO", ols(xs, byref(MatrixDescriptor(0, 4, 4, 2)), y, byref(MatrixDescriptor(0, 4, 4, 1)),
                      c, byref(MatrixDescriptor(0, 2, 2, 1)), tau, 1e-7), 0)
check("OLS coefficients", (c[0], c[1]), (1.0, 2.0))
m, s, u, vt = doubles(3, 4, 0, 5), doubles(0, 0), doubles(0, 0, 0, 0), doubles(0, 0, 0, 0)
svd = fn("ThinSVD", i32, pd, pm, pd, pd, pm, pd, pm)
check("ThinSVD INFO", svd(m, byref(da), s, u, byref(da), vt, byref(da)), 0)
check("ThinSVD s1", s[0], math.sqrt(45), 1e-14)
check("ThinSVD s2", s[1], math.sqrt(5), 1e-14)

print(f"{passed} passed, {failed} failed")
sys.exit(1 if failed else 0)
