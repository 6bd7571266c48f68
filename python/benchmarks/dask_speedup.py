"""Speed-up of an element envelope on a local Dask cluster of worker processes, against one process.

    OPENBLAS_NUM_THREADS=1 TIMEKERNEL_LIBRARY=build/libTimeKernel.so PYTHONPATH=python \\
        python3 python/benchmarks/dask_speedup.py [--bars 2000] [--steps 2000] [--workers 2]

Writes a chain of bars (12 degrees of freedom; force 6 x 2 ends with a velocity table, stress 11 x 2, one load)
with the tests' writer into the temporary folder. Then the envelope of all 34 force and stress keys of every
bar over all steps is computed (best of three each):
  one process       KernelFile.envelope(..., elements=True) on one handle, one thread;
  threads           timekernel.dask.envelope on Dask's threaded scheduler with `workers` threads;
  local cluster     timekernel.dask.envelope on dask.distributed.LocalCluster with `workers` processes of one
                    thread each (cluster start not counted), chunks of `--chunk` bars.
"""
from __future__ import annotations

import argparse
import os
import sys
import tempfile
import time

import numpy as np

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests"))
import timekernel  # noqa: E402
import timekernel.dask as tkd  # noqa: E402
from kernelfile_writer import Element, random_model  # noqa: E402

FORCE = [140402, 140403, 140404, 140406, 140407, 140408]
STRESS = [142101, 142102, 142103, 142104, 142105, 142119, 142120, 142153, 142154, 142155, 142156]


def write_bars(path: str, bars: int, steps: int) -> int:
    rng = np.random.default_rng(2)
    model = random_model(rng, nodes=bars + 1, steps=steps, modes=1, loads=1, with_elements=False)
    model.write_by_step = False
    for b in range(bars):
        model.elements.append(Element(10000 + b, 583, list(range(6 * b, 6 * b + 12)), {
            "forceRecovery": rng.normal(size=(12, 12)), "stressRecovery": rng.normal(size=(22, 12)),
            "velocityForce": rng.normal(size=(12, 12)), "forceLoad": rng.normal(size=(12, 1)),
            "stressLoad": rng.normal(size=(22, 1))}))
    return model.write(path)


def best(run, times: int = 3) -> float:
    result = []
    for _ in range(times):
        start = time.perf_counter()
        run()
        result.append(time.perf_counter() - start)
    return min(result)


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--bars", type=int, default=2000)
    parser.add_argument("--steps", type=int, default=2000)
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--chunk", type=int, default=100)
    args = parser.parse_args()
    keys = [loc * 100000000 + c for loc in (1, 2) for c in FORCE + STRESS]
    from dask.distributed import Client, LocalCluster
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "bars.kernel")
        size = write_bars(path, args.bars, args.steps)
        with timekernel.open(path) as f:
            ids = f.element_ids
            single = f.envelope(ids, keys, elements=True)
            one = best(lambda: f.envelope(ids, keys, elements=True))
        threads = best(lambda: tkd.envelope(path, ids, keys, elements=True, chunk=args.chunk).compute(
            scheduler="threads", num_workers=args.workers))
        with LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True, dashboard_address=None,
                          silence_logs=40) as cluster, Client(cluster):
            def on_cluster():
                # A new graph each time: the cluster would otherwise hand back what it kept of the last one.
                return tkd.envelope(path, ids, keys, elements=True, chunk=args.chunk).compute()

            bounds = on_cluster()
            many = best(on_cluster)
        assert np.array_equal(bounds[0], single.maximum) and np.array_equal(bounds[1], single.minimum)
    print(f"envelope of {len(keys)} keys at {args.bars} bars over {args.steps} steps ({size / 1e6:.0f} MB file):")
    print(f"  one process, one thread:                 {one:6.2f} s")
    print(f"  threads, {args.workers} on one handle each chunk:     {threads:6.2f} s   speed-up {one / threads:4.2f}")
    print(f"  LocalCluster, {args.workers} worker processes:        {many:6.2f} s   speed-up {one / many:4.2f}")


if __name__ == "__main__":
    main()
