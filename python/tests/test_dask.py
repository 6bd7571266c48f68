"""Dask: lazy histories chunked by ID ranges, computed by threads and by a local cluster of worker processes, give
the single-process results bit for bit."""
from __future__ import annotations

import numpy as np
import pytest

import timekernel

pytestmark = pytest.mark.usefixtures("needs_handles")


@pytest.fixture(scope="module")
def wide_path(tmp_path_factory):
    from kernelfile_writer import random_model
    model = random_model(np.random.default_rng(11), nodes=23, steps=40, with_elements=True)
    path = tmp_path_factory.mktemp("dask") / "wide.kernel"
    model.write(path)
    return str(path)


def test_lazy_array_chunked_by_id_ranges(wide_path):
    import timekernel.dask as tkd
    h = tkd.history(wide_path, keys=["ux", "vrz"], chunk=5)
    assert h.shape == (23, 40, 2) and h.chunks[0] == (5, 5, 5, 5, 3)
    with timekernel.open(wide_path) as f:
        want = f.history(f.node_ids, ["ux", "vrz"])
        env = f.envelope(f.node_ids, ["ux", "vrz"])
    got = h.compute(scheduler="threads")
    assert got.tobytes() == np.asarray(want).tobytes()
    bounds = tkd.envelope(wide_path, keys=["ux", "vrz"], chunk=5).compute(scheduler="threads")
    np.testing.assert_array_equal(bounds[0], env.maximum)
    np.testing.assert_array_equal(bounds[1], env.minimum)


def test_local_cluster_of_processes_matches_one_process(wide_path):
    from dask.distributed import Client, LocalCluster
    import timekernel.dask as tkd
    with timekernel.open(wide_path) as f:
        want = f.history(f.element_ids, [100140402], elements=True)
        single = f.envelope(f.node_ids, ["uy"])
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None,
                      silence_logs=40) as cluster, Client(cluster) as client:
        bars = tkd.history(wide_path, ids=[5001, 5002], keys=[100140402], elements=True, chunk=1)
        got = bars.compute()
        bounds = tkd.envelope(wide_path, keys=["uy"], chunk=4).compute()
        pids = set(client.run(lambda: __import__("os").getpid()).values())
    assert len(pids) == 2
    assert got.tobytes() == np.asarray(want[:2]).tobytes()
    np.testing.assert_array_equal(bounds[0], single.maximum)
    np.testing.assert_array_equal(bounds[1], single.minimum)
