"""The array functions on a Dask cluster of two worker processes, each loading
the library: the same bits as one process, and random substreams per chunk
taken from one seeded stream by skip-ahead."""
import os

import numpy as np
import pytest

import korvane_core_math as kcm

da = pytest.importorskip("dask.array")
distributed = pytest.importorskip("distributed")
pytestmark = pytest.mark.filterwarnings("ignore::DeprecationWarning")  # tornado 6.2 under distributed 2022.12


@pytest.fixture(scope="module")
def client():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, distributed.Client(cluster) as c:
        pids = c.run(lambda: (os.getpid(), kcm._native.lib_path))
        assert len(pids) == 2 and os.getpid() not in {pid for pid, _ in pids.values()}
        yield c


def same_bits(a, b):
    return a.shape == b.shape and np.array_equal(a.view(np.uint64), b.view(np.uint64))


@pytest.mark.parametrize("n, p_value", [
    (10 ** 7, lambda x: kcm.normal_cdf(x, upper=True)),
    (10 ** 6, lambda x: kcm.student_t_cdf(x, 12.0, upper=True)),
])
def test_p_values_on_the_cluster_are_the_single_process_bits(client, n, p_value):
    z = da.arange(n, chunks=n // 8) / (n / 12) - 6  # the same doubles as numpy's
    on_cluster = z.map_blocks(p_value, dtype=float).compute()
    assert same_bits(on_cluster, p_value(np.arange(n) / (n / 12) - 6))


def test_chunks_draw_disjoint_reproducible_substreams_of_one_stream(client):
    def draw(block, block_info=None):
        with kcm.RandomStream(2026) as stream:
            stream.skip_ahead(block_info[0]["array-location"][0][0])
            return stream.normal(len(block))

    z = da.zeros(10 ** 6, chunks=10 ** 5).map_blocks(draw, dtype=float)
    first, again = z.compute(), z.compute()
    with kcm.RandomStream(2026) as stream:
        assert same_bits(first, stream.normal(10 ** 6)) and same_bits(again, first)
