"""The stepwise L-BFGS-B minimiser against scipy.optimize (the same algorithm)."""
import numpy as np
import pytest
from numpy.testing import assert_allclose
from scipy import optimize

import korvane_core_math as kcm
from korvane_core_math import optim


def test_bounded_rosenbrock_matches_scipy():
    lower, upper = [-2.0, 1.5, -2.0], [2.0, 3.0, 2.0]
    res = kcm.minimize(lambda x: (optimize.rosen(x), optimize.rosen_der(x)), [0.0, 2.0, 0.0],
                       lower=lower, upper=upper, pgtol=1e-8, factr=10)
    ref = optimize.minimize(optimize.rosen, [0.0, 2.0, 0.0], jac=optimize.rosen_der, method="L-BFGS-B",
                            bounds=list(zip(lower, upper)), options={"gtol": 1e-8, "ftol": 10 * np.finfo(float).eps})
    assert res.success and res.code == optim.CONVERGED and res.x[1] >= 1.5
    assert_allclose(res.x, ref.x, atol=1e-6)


def test_iterator_protocol_and_errors():
    with kcm.LBFGSB(2, lower=[None, 0.5]) as opt:
        assert list(opt.nbd) == [0, 1]
        points = 0
        for x in opt.iterate([3.0, 3.0]):
            points += 1
            opt.tell(np.sum((x - 1.0) ** 2), 2 * (x - 1.0))
        assert opt.code == optim.CONVERGED and points == opt.evaluations
        assert_allclose(opt.x, [1.0, 1.0], atol=1e-6)
    assert opt._handle is None
    with kcm.LBFGSB(1) as opt:
        it = opt.iterate([1.0])
        next(it)
        with pytest.raises(RuntimeError):  # no tell() before the next point
            next(it)
    with kcm.LBFGSB(1, m=0) as opt:
        assert opt.step([1.0], 0.0, [0.0]) == optim.ERROR
    opt = kcm.LBFGSB(2)
    assert opt.step([1.0, 2.0], 0.0, [0.0, 0.0]) == optim.EVALUATE
    assert opt.step(None, 5.0, [2.0, 4.0]) in (optim.EVALUATE, optim.NEW_X)
    opt.close()  # stops a run that has not finished
    opt.close()
