"""korvane_core_math: Python access to libKorvaneCoreMath.

Every export of the library has a wrapper here (``EXPORTS`` maps each export
name to its wrapper). Scalar functions take keyword arguments and broadcast
over numpy arrays; tails are chosen with ``upper=True``; exceptions that
leave the library become :class:`KcmError` subclasses and errno reports
become warnings (see :mod:`korvane_core_math.errors`).

    >>> import korvane_core_math as kcm
    >>> round(kcm.normal_icdf(0.975), 12)
    1.959963984540
"""
from . import _native
from .distributions import *  # noqa: F401,F403
from .empirical import extract_sorted, kolmogorov_cdf, kolmogorov_icdf, sort_double_array
from .errors import (DomainError, DomainWarning, EvaluationError, KcmError, KcmWarning,
                     LinAlgError, MissingExport, OverflowError_, RandomStreamError, RangeWarning,
                     RoundingError, errstate, geterr, seterr)
from .linalg import (OLSResult, cholesky, cholesky_solve, disable_mkl_threading, eigen_symmetric,
                     full_svd, ls, ols, qr, qr_q, qr_qy, qrp, solve_triangular_system, thin_svd, xb)
from .multcomp import (dunnett_cdf, dunnett_icdf, hsu_cdf, hsu_icdf, mca_cdf, mca_icdf, mcb_cdf,
                       mcb_icdf, mcc_cdf, mcc_icdf, studentized_range_cdf, studentized_range_icdf)
from .optim import LBFGSB, OptimizeResult, minimize
from .random import RandomStream, random_normal_variable, random_normal_variables
from .special import *  # noqa: F401,F403
from . import distributions, empirical, linalg, multcomp, optim, random, special

__version__ = "1.0.0"

available = _native.available
missing_exports = _native.missing
library_path = _native.lib_path


def _collect():
    table = {}
    for module in (special, distributions, empirical, multcomp, linalg):
        for name in dir(module):
            obj = getattr(module, name)
            export = getattr(obj, "export", None)
            if callable(obj) and export and not name.startswith("_") and export not in table:
                table[export] = obj
    table.update({
        "LBFGSBStart": LBFGSB, "LBFGSBStep": LBFGSB.step, "LBFGSBEnd": LBFGSB.close,
        "CreateRandomStream": RandomStream, "DeleteRandomStream": RandomStream.close,
        "SkipAheadStream": RandomStream.skip_ahead, "GenerateRandomNormal": RandomStream.normal,
        "GenerateRandomUniform": RandomStream.uniform,
        "RandomUniformInteger": RandomStream.integers,
        "RandomNormalVariable": random_normal_variable,
        "RandomNormalVariables": random_normal_variables,
    })
    for fn, export in ((cholesky, "Cholesky"), (cholesky_solve, "CholeskySolve"),
                       (solve_triangular_system, "SolveTriangularSystem"),
                       (disable_mkl_threading, "DisableMKLThreading"), (qr, "QR"), (qrp, "QRP"),
                       (qr_q, "QR_Q"), (qr_qy, "QR_Qy"), (ls, "LS"), (ols, "OLS"), (xb, "Xb"),
                       (eigen_symmetric, "EigenSymmetric"), (full_svd, "FullSVD"),
                       (thin_svd, "ThinSVD")):
        table[export] = fn
    return table


EXPORTS = _collect()
