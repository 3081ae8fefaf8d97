"""Random streams: reproducibility, skip-ahead, ranges, and the normal law (SciPy's KS test)."""
import numpy as np
import pytest
from numpy.testing import assert_array_equal
from scipy import stats

import korvane_core_math as kcm

from conftest import needs

pytestmark = needs("CreateRandomStream", "DeleteRandomStream", "SkipAheadStream",
                   "GenerateRandomNormal", "GenerateRandomUniform", "RandomUniformInteger",
                   "RandomNormalVariable", "RandomNormalVariables")


def test_same_seed_same_sequence_and_skip_ahead():
    with kcm.RandomStream(7) as a, kcm.RandomStream(7) as b:
        assert_array_equal(a.uniform(20), b.uniform(20))
    with kcm.RandomStream(7) as fresh:
        eleven = fresh.uniform(11)
    with kcm.RandomStream(7) as skipped:
        skipped.skip_ahead(10)
        assert skipped.uniform(1)[0] == eleven[10]


def test_ranges_and_status():
    with kcm.RandomStream(1) as rs:
        k = rs.integers(2000, 1, 7)
        assert set(k) == {1, 2, 3, 4, 5, 6}
        u = rs.uniform(2000, 2.0, 3.0)
        assert u.min() >= 2.0 and u.max() < 3.0
        with pytest.raises(kcm.RandomStreamError) as info:
            rs.integers(5, 5, 5)
        assert info.value.status < 0
    with pytest.raises(ValueError):
        rs.uniform(1)


def test_normal_variates_follow_the_normal_law():
    with kcm.RandomStream(12345) as rs:
        z = rs.normal(4000, mean=2.0, sigma=3.0)
    assert stats.kstest(z, stats.norm(2.0, 3.0).cdf).pvalue > 1e-3


def test_one_shot_streams():
    blocks = kcm.random_normal_variables(4, 3, seed=99)
    assert blocks.shape == (3, 4)
    assert_array_equal(blocks[0], kcm.random_normal_variable(4, seed=99))
    with kcm.RandomStream(99) as rs:
        assert_array_equal(rs.normal(12), blocks.ravel())
