"""Loading the library and its non-throwing layer; ctypes prototypes of every export.

The library is found, in this order, at ``$KCM_LIBRARY``, at the path recorded
when the package was installed, in the ``build/`` folder of the source tree the
package sits in, and by the dynamic loader's search for
``libKorvaneCoreMath.so.1``. The non-throwing layer
(``libKorvaneCoreMathNoThrow.so.1``), through which every export that reports
by errno or by exception is called, is found the same way (``$KCM_NOTHROW``).
"""
import ctypes
import ctypes.util
import os
import threading
from ctypes import (POINTER, Structure, c_char, c_double, c_int32, c_int64, c_ubyte, c_uint32,
                    c_void_p)

_HERE = os.path.dirname(os.path.abspath(__file__))
_SOURCE_BUILD = os.path.join(os.path.dirname(os.path.dirname(_HERE)), "build")

LIBRARY_SONAME = "libKorvaneCoreMath.so.1"
NOTHROW_SONAME = "libKorvaneCoreMathNoThrow.so.1"


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


def _nothrow_path():
    env = os.environ.get("KCM_NOTHROW")
    if env:
        return env
    try:
        from . import _installed  # written by `cmake --install`
        if os.path.exists(_installed.NOTHROW):
            return _installed.NOTHROW
    except (ImportError, AttributeError):
        pass
    local = os.path.join(_SOURCE_BUILD, "nothrow", "libKorvaneCoreMathNoThrow.so")
    if os.path.exists(local):
        return local
    return NOTHROW_SONAME


lib_path = _library_path()
nothrow_path = _nothrow_path()
# ctypes' default mode, RTLD_LOCAL: the library needs nothing in the global scope.
lib = ctypes.CDLL(lib_path)
nothrow = ctypes.CDLL(nothrow_path)


class MatrixDescriptor(Structure):
    """Column-major matrix: element (i, j) at data[offset + j*ld + i]."""
    _fields_ = [("offset", c_int32), ("ld", c_int32), ("rows", c_int32), ("cols", c_int32)]


class CallStatus(Structure):
    """KcmStatus: what a call through the non-throwing layer left, errno and any exception."""
    _fields_ = [("errno_value", c_int32), ("thrown", c_int32),
                ("type", c_char * 128), ("message", c_char * 1024)]


class ArrayStatus(Structure):
    """KcmArrayStatus: what the elements of one array loop left (counts), and
    the first exception's type and message."""
    _fields_ = [("edom", c_int64), ("erange", c_int64), ("underflow", c_int64),
                ("thrown", c_int64), ("first_thrown", c_int64),
                ("type", c_char * 128), ("message", c_char * 1024)]


def _load_exports():
    """The generated table of every export (_exports.py, written at build time
    from src/exports.table): installed beside these modules, or in the build
    tree's generated/python/."""
    try:
        from . import _exports  # installed
        return _exports
    except ImportError:
        pass
    import importlib.util
    for folder in (os.environ.get("KCM_GENERATED_PYTHON"),
                   os.path.join(_SOURCE_BUILD, "generated", "python")):
        path = os.path.join(folder or "", "_exports.py")
        if folder and os.path.exists(path):
            found = importlib.util.spec_from_file_location(__name__ + "_exports", path)
            module = importlib.util.module_from_spec(found)
            found.loader.exec_module(module)
            return module
    raise ImportError("korvane_core_math: the generated _exports.py was not found "
                      "(build the library, or set KCM_GENERATED_PYTHON)")


_CTYPES = {"double": c_double, "i32": c_int32, "u32": c_uint32, "flag": c_ubyte,
           "double*": POINTER(c_double), "const double*": POINTER(c_double),
           "i32*": POINTER(c_int32), "const i32*": POINTER(c_int32),
           "desc": POINTER(MatrixDescriptor), "stream": c_void_p, "state": c_void_p, "void": None}
pd, pi = POINTER(c_double), POINTER(c_int32)

_GENERATED = _load_exports()
# Every export: name -> (result type, argument types), from the export table.
PROTOTYPES = {name: (_CTYPES[result], [_CTYPES[k] for k in kinds])
              for name, (result, kinds, _errors, _family) in _GENERATED.PROTOTYPES.items()}
# How each export reports failures (the ERRORS column: "errno", "throws", ...).
ERROR_KINDS = {name: errors for name, (_r, _k, errors, _f) in _GENERATED.PROTOTYPES.items()}
# The exports with an array loop: name -> for each argument, whether the loop
# takes it as a strided array (else as one value for every element).
ARRAY_ARGUMENTS = dict(_GENERATED.ARRAY_ARGUMENTS)


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


def export(name):
    """The ctypes function of an export; raises MissingExport if the library lacks it."""
    fn = exports.get(name)
    if fn is None:
        from .errors import MissingExport
        raise MissingExport(f"{name} is not defined by {lib_path}")
    return fn


def _bind_guarded():
    """kcmnt_NAME of the non-throwing layer for every export it covers."""
    found = {}
    for name, (restype, argtypes) in PROTOTYPES.items():
        fn = getattr(nothrow, "kcmnt_" + name, None)
        if fn is None:
            continue
        fn.restype = c_int32
        fn.argtypes = [POINTER(CallStatus)] + ([] if restype is None else [POINTER(restype)]) + argtypes
        found[name] = fn
    return found


guarded = _bind_guarded()


def call(export, status, *args):
    """Calls ``export`` through the non-throwing layer; the result (None for a
    void export), with errno and any exception in ``status``."""
    fn = guarded.get(export)
    if fn is None:
        from .errors import MissingExport
        raise MissingExport(f"{export} is not defined by {nothrow_path}")
    if PROTOTYPES[export][0] is None:
        fn(ctypes.byref(status), *args)
        return None
    result = c_double(float("nan"))
    fn(ctypes.byref(status), ctypes.byref(result), *args)
    return result.value


def _bind_loops():
    """kcmnv_NAME of the non-throwing layer: one call evaluates a whole array."""
    found = {}
    for name, varies in ARRAY_ARGUMENTS.items():
        fn = getattr(nothrow, "kcmnv_" + name, None)
        if fn is None:
            continue
        argtypes = [POINTER(ArrayStatus), c_int64, c_void_p]
        for kind, array in zip(PROTOTYPES[name][1], varies):
            argtypes += [c_void_p, c_int64] if array else [kind]
        fn.restype = c_int64
        fn.argtypes = argtypes
        found[name] = fn
    return found


loops = _bind_loops()


def call_array(export, count, out, args):
    """Evaluates ``export`` for ``count`` elements into the float64 array
    ``out`` (contiguous) through its array loop; ``args`` holds, in the
    export's order, (address, element stride) for each array argument and the
    value of each other one. Returns the ArrayStatus. ctypes releases the GIL
    for the whole loop."""
    fn = loops.get(export)
    if fn is None:
        from .errors import MissingExport
        raise MissingExport(f"kcmnv_{export} is not defined by {nothrow_path}")
    status = ArrayStatus()
    flat = []
    for arg, array in zip(args, ARRAY_ARGUMENTS[export]):
        flat += list(arg) if array else [arg]
    fn(ctypes.byref(status), count, out.ctypes.data, *flat)
    return status
