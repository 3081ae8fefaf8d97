"""The stepwise L-BFGS-B minimiser against scipy.optimize (the same algorithm)."""
import numpy as np
import pytest
from numpy.testing import assert_allclose
from scipy import optimize

import korvane_core_math as kcm
from korvane_core_math import optim

from conftest import needs

pytestmark = needs("LBFGSBStart", "LBFGSBStep", "LBFGSBEnd")


def rosen(x):
    return optimize.rosen(x), optimize.rosen_der(x)


def test_bounded_rosenbrock_matches_scipy():
    lower, upper = [-2.0, 1.5, -2.0], [2.0, 3.0, 2.0]
    res = kcm.minimize(rosen, [0.0, 2.0, 0.0], lower=lower, upper=upper, pgtol=1e-8, factr=10)
    ref = optimize.minimize(optimize.rosen, [0.0, 2.0, 0.0], jac=optimize.rosen_der,
                            method="L-BFGS-B", bounds=list(zip(lower, upper)),
                            options={"gtol": 1e-8, "ftol": 10 * np.finfo(float).eps})
    assert res.success and res.code == optim.CONVERGED
    assert_allclose(res.x, ref.x, atol=1e-6)
    assert res.x[1] >= 1.5


def test_iterator_protocol():
    with kcm.LBFGSB(2, lower=[None, 0.5]) as opt:
        assert list(opt.nbd) == [0, 1]
        points = 0
        for x in opt.iterate([3.0, 3.0]):
            points += 1
            opt.tell(np.sum((x - 1.0) ** 2), 2 * (x - 1.0))
        assert opt.code == optim.CONVERGED
        assert_allclose(opt.x, [1.0, 1.0], atol=1e-6)
        assert points == opt.evaluations
    assert opt._handle is None


def test_first_step_asks_for_an_evaluation_and_end_after_new_x():
    opt = kcm.LBFGSB(2)
    try:
        assert opt.step([1.0, 2.0], 0.0, [0.0, 0.0]) == optim.EVALUATE
        code = opt.step(None, 5.0, [2.0, 4.0])
        assert code in (optim.EVALUATE, optim.NEW_X)
    finally:
        opt.close()   # stops a run that has not finished
    opt.close()       # idempotent


def test_forgetting_to_tell_is_an_error():
    with kcm.LBFGSB(1) as opt:
        it = opt.iterate([1.0])
        next(it)
        with pytest.raises(RuntimeError):
            next(it)


def test_input_errors_come_back_as_a_code():
    with kcm.LBFGSB(1, m=0) as opt:
        assert opt.step([1.0], 0.0, [0.0]) == optim.ERROR
