"""Loading the library and the exception shim; ctypes prototypes of every export.

The library is found, in this order, at ``$KCM_LIBRARY``, at the path recorded
when the package was installed, in the ``build/`` folder of the source tree the
package sits in, and by the dynamic loader's search for
``libKorvaneCoreMath.so.1``. The shim (``libkcm_pyshim.so``) is found at
``$KCM_PYSHIM``, beside these modules, or in ``build/python/``.
"""
import ctypes
import ctypes.util
import os
import threading
from ctypes import (POINTER, Structure, c_char, c_double, c_int32, c_ubyte, c_uint32,
                    c_void_p)

_HERE = os.path.dirname(os.path.abspath(__file__))
_SOURCE_BUILD = os.path.join(os.path.dirname(os.path.dirname(_HERE)), "build")

LIBRARY_SONAME = "libKorvaneCoreMath.so.1"


def _library_path():
    env = os.environ.get("KCM_LIBRARY")
    if env:
        return env
    try:
        from . import _installed  # written by `cmake --install`
        if os.path.exists(_installed.LIBRARY):
            return _installed.LIBRARY
    except ImportError:
        pass
    local = os.path.join(_SOURCE_BUILD, "libKorvaneCoreMath.so")
    if os.path.exists(local):
        return local
    return ctypes.util.find_library("KorvaneCoreMath") or LIBRARY_SONAME


def _shim_path():
    env = os.environ.get("KCM_PYSHIM")
    if env:
        return env
    for candidate in (os.path.join(_HERE, "libkcm_pyshim.so"),
                      os.path.join(_SOURCE_BUILD, "python", "libkcm_pyshim.so")):
        if os.path.exists(candidate):
            return candidate
    return "libkcm_pyshim.so"


lib_path = _library_path()
shim_path = _shim_path()
# ctypes' default mode, RTLD_LOCAL: the library needs nothing in the global scope.
lib = ctypes.CDLL(lib_path)
shim = ctypes.CDLL(shim_path)


class MatrixDescriptor(Structure):
    """Column-major matrix: element (i, j) at data[offset + j*ld + i]."""
    _fields_ = [("offset", c_int32), ("ld", c_int32), ("rows", c_int32), ("cols", c_int32)]


class CallStatus(Structure):
    """What a call through the shim left: errno and any exception."""
    _fields_ = [("errno_value", c_int32), ("thrown", c_int32),
                ("type", c_char * 128), ("message", c_char * 1024)]


d, b, i32, u32, vp = c_double, c_ubyte, c_int32, c_uint32, c_void_p
pd, pi = POINTER(c_double), POINTER(c_int32)
pm = POINTER(MatrixDescriptor)

# Every export: name -> (result type, argument types), as in core_math.h.
PROTOTYPES = {
    "Erf": (d, [d]), "ErfC": (d, [d]), "InverseErf": (d, [d]), "InverseErfC": (d, [d]),
    "NormalPDF": (d, [d, d, d]), "NormalCDF": (d, [d, d, d, b]), "NormalICDF": (d, [d, d, d, b]),
    "Gamma": (d, [d]), "GammaLn": (d, [d]),
    "GammaRegularized": (d, [d, d]), "GammaRegularizedC": (d, [d, d]),
    "IncompleteGammaLower": (d, [d, d]), "IncompleteGammaUpper": (d, [d, d]),
    "InverseGammaRegularized": (d, [d, d]), "InverseGammaRegularizedC": (d, [d, d]),
    "GammaDerivative": (d, [d, d]), "LogXplus1": (d, [d]),
    "Beta": (d, [d, d]), "BetaRegularized": (d, [d, d, d]), "BetaRegularizedC": (d, [d, d, d]),
    "BetaDerivative": (d, [d, d, d]), "InverseBetaRegularized": (d, [d, d, d]),
    "InverseBetaRegularized2": (d, [d, d, d, pd, pd]),
    "InverseBetaRegularizedC": (d, [d, d, d]),
    "InverseBetaRegularizedC2": (d, [d, d, d, pd, pd]),
    "StudentTPDF": (d, [d, d]), "StudentTCDF": (d, [d, d, b]), "StudentTICDF": (d, [d, d, b]),
    "ChiSquaredPDF": (d, [d, d]), "ChiSquaredCDF": (d, [d, d, b]),
    "ChiSquaredICDF": (d, [d, d, b]),
    "FisherFPDF": (d, [d, d, d]), "FisherFCDF": (d, [d, d, d, b]),
    "FisherFICDF": (d, [d, d, d, b]),
    "GammaPDF": (d, [d, d, d]), "GammaCDF": (d, [d, d, d, b]), "GammaICDF": (d, [d, d, d, b]),
    "BetaPDF": (d, [d, d, d]), "BetaCDF": (d, [d, d, d, b]), "BetaICDF": (d, [d, d, d, b]),
    "NoncentralTPDF": (d, [d, d, d]), "NoncentralTCDF": (d, [d, d, d, b]),
    "NoncentralTICDF": (d, [d, d, d, b]),
    "BinomialPDF": (d, [d, d, d]), "BinomialCDF": (d, [d, d, d, b]),
    "BinomialICDF": (d, [d, d, d, b, i32]), "BinomialPS": (d, [d, d, d, i32]),
    "PoissonPDF": (d, [d, d]), "PoissonCDF": (d, [d, d, b]), "PoissonICDF": (d, [d, d, b, i32]),
    "HypergeometricPDF": (d, [d, d, d, d]), "HypergeometricCDF": (d, [d, d, d, d, b]),
    "HypergeometricICDF": (d, [d, d, d, d, b]),
    "FNCHypergeometricCDF": (d, [i32, i32, i32, i32, d, b, d]),
    "FNCHypergeometricICDF": (d, [d, i32, i32, i32, d, b, d]),
    "FNCHypergeometricMoments": (None, [i32, i32, i32, d, pd, pd]),
    "KolmogorovCDF": (d, [d, d, i32]), "KolmogorovICDF": (d, [d, d, i32]),
    "SortDoubleArray": (None, [pd, i32]), "ExtractSorted": (None, [pi, pd, pd, i32]),
    "MCaCDF": (d, [d, i32, d, pd, b]), "MCaICDF": (d, [d, i32, d, pd, b]),
    "MCbCDF": (d, [d, i32, d, pd, b]), "MCbICDF": (d, [d, i32, d, pd, b]),
    "MCcCDF": (d, [d, i32, d, pd, b]), "MCcICDF": (d, [d, i32, d, pd, b]),
    "LBFGSBStart": (vp, [i32, i32, pd, pd, pi, d, d]),
    "LBFGSBStep": (i32, [vp, pd, pd, pd]), "LBFGSBEnd": (None, [vp]),
    "Cholesky": (i32, [i32, pd, pm]), "CholeskySolve": (i32, [i32, pd, pm, pd, pm]),
    "SolveTriangularSystem": (i32, [pd, pm, i32, i32, pd, pm]),
    "DisableMKLThreading": (None, []),
    "QR": (i32, [pd, pm, pd]), "QRP": (i32, [pd, pm, pd, pi]), "QR_Q": (i32, [pd, pm, pd]),
    "QR_Qy": (i32, [pd, pm, i32, pd, pd, pm]),
    "LS": (i32, [pd, pm, pd, pm]), "OLS": (i32, [pd, pm, pd, pm, pd, pm, pd, d]),
    "Xb": (d, [pd, pm, pd, pd]),
    "EigenSymmetric": (i32, [pd, pm, pd, pi, pd, pm]),
    "FullSVD": (i32, [pd, pm, pd, pd, pm, pd, pm]),
    "ThinSVD": (i32, [pd, pm, pd, pd, pm, pd, pm]),
    "CreateRandomStream": (vp, [u32]), "DeleteRandomStream": (i32, [vp]),
    "SkipAheadStream": (i32, [vp, i32]),
    "GenerateRandomNormal": (i32, [vp, pd, i32, d, d]),
    "GenerateRandomUniform": (i32, [vp, pd, i32, d, d]),
    "RandomUniformInteger": (i32, [vp, pi, i32, i32, i32]),
    "RandomNormalVariable": (i32, [pd, i32, d, d, u32]),
    "RandomNormalVariables": (i32, [pd, i32, i32, d, d, u32]),
}


# The exports that share the library's one LAPACK workspace. Two of them
# running at once corrupt each other's results, and the library takes no lock:
# serialising them is the host's duty. ctypes releases the GIL during a call,
# so the binding holds this lock around each of them, and only them.
WORKSPACE_USERS = frozenset({"LS", "OLS", "QR", "QRP", "QR_Q", "QR_Qy", "FullSVD", "ThinSVD"})
workspace_lock = threading.Lock()


def _serialised(fn):
    def call(*args):
        with workspace_lock:
            return fn(*args)
    call.__name__ = fn.__name__
    return call


def _bind_exports():
    found = {}
    for name, (restype, argtypes) in PROTOTYPES.items():
        try:
            fn = getattr(lib, name)
        except AttributeError:
            continue  # not in this build of the library
        fn.restype = restype
        fn.argtypes = argtypes
        found[name] = _serialised(fn) if name in WORKSPACE_USERS else fn
    return found


exports = _bind_exports()


def available(name):
    """True when the loaded library defines the export ``name``."""
    return name in exports


def missing():
    """The exports of the public header that the loaded library lacks."""
    return sorted(set(PROTOTYPES) - set(exports))


def address(name):
    """The address of an export, for the shim; raises MissingExport if absent."""
    fn = exports.get(name)
    if fn is None:
        from .errors import MissingExport
        raise MissingExport(f"{name} is not defined by {lib_path}")
    return ctypes.cast(fn, c_void_p).value


_CODES = {"d": c_double, "b": c_ubyte, "i": c_int32, "p": POINTER(c_double), "v": None}


def _bind_trampolines():
    table = {}
    for sig in ("d_d", "d_dd", "d_ddd", "d_dddd", "d_ddb", "d_dddb", "d_ddddb", "d_ddbi",
                "d_dddbi", "d_dddi", "d_ddi", "d_dddpp", "d_iiiidbd", "d_diiidbd",
                "v_iiidpp", "d_didpb"):
        fn = getattr(shim, "kcmpy_" + sig)
        result, args = sig.split("_")
        fn.restype = _CODES[result]
        fn.argtypes = [c_void_p, POINTER(CallStatus)] + [_CODES[c] for c in args]
        table[sig] = fn
    return table


trampolines = _bind_trampolines()
