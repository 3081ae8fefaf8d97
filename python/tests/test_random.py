"""Random streams: reproducibility, skip-ahead, ranges, status codes, the normal law."""
import numpy as np
import pytest
from numpy.testing import assert_array_equal
from scipy import stats

import korvane_core_math as kcm


def test_seed_skip_ahead_and_one_shot_streams_give_the_same_sequence():
    with kcm.RandomStream(7) as a, kcm.RandomStream(7) as b:
        eleven = a.uniform(11)
        b.skip_ahead(10)
        assert b.uniform(1)[0] == eleven[10]
    blocks = kcm.random_normal_variables(4, 3, seed=99)
    assert blocks.shape == (3, 4)
    assert_array_equal(blocks[0], kcm.random_normal_variable(4, seed=99))
    with kcm.RandomStream(99) as rs:
        assert_array_equal(rs.normal(12), blocks.ravel())


def test_ranges_laws_and_status():
    with kcm.RandomStream(1) as rs:
        assert set(rs.integers(2000, 1, 7)) == {1, 2, 3, 4, 5, 6}
        u = rs.uniform(2000, 2.0, 3.0)
        assert u.min() >= 2.0 and u.max() < 3.0
        assert stats.kstest(rs.normal(4000, mean=2.0, sigma=3.0), stats.norm(2.0, 3.0).cdf).pvalue > 1e-3
        with pytest.raises(kcm.RandomStreamError) as info:
            rs.integers(5, 5, 5)
        assert info.value.status < 0
    with pytest.raises(ValueError):
        rs.uniform(1)  # closed
