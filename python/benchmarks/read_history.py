"""Time to read the displacement history of 1,000 nodes into numpy, against the C call alone.

    OPENBLAS_NUM_THREADS=1 TIMEKERNEL_LIBRARY=build/libTimeKernel.so PYTHONPATH=python \\
        python3 python/benchmarks/read_history.py [--nodes 1000] [--steps 2000]

Writes a file with the tests' writer into the temporary folder, then times, interleaved and repeated (median):
  C call alone      TimeKernelQuery on an open handle into a preallocated numpy array, straight through ctypes;
  ... new array     the same into a new numpy array each time (what any call that returns a new array pays);
  designed call     TimeKernelOutputResult (opens and closes the file at each call) into a preallocated array;
  KernelFile        f.history(ids, ["ux", "uy", "uz"]): names, checks, a new array, labels.
"""
from __future__ import annotations

import argparse
import ctypes
import os
import statistics
import sys
import tempfile
import time

import numpy as np

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests"))
import timekernel  # noqa: E402
from kernelfile_writer import random_model  # noqa: E402


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--nodes", type=int, default=1000)
    parser.add_argument("--steps", type=int, default=2000)
    parser.add_argument("--repeat", type=int, default=15)
    args = parser.parse_args()
    model = random_model(np.random.default_rng(1), nodes=args.nodes, steps=args.steps, modes=1, loads=0,
                         with_elements=False)
    model.write_by_step = False
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "history.kernel")
        size = model.write(path)
        ids = np.arange(100, 100 + args.nodes, dtype=np.int32)
        keys = np.array([102, 103, 104], dtype=np.int32)
        out = np.zeros(ids.size * args.steps * keys.size)
        with timekernel.open(path) as f:
            lib = f.library.cdll
            p_ids = ids.ctypes.data_as(ctypes.POINTER(ctypes.c_int32))
            p_keys = keys.ctypes.data_as(ctypes.POINTER(ctypes.c_int32))
            p_out = out.ctypes.data_as(ctypes.POINTER(ctypes.c_double))
            encoded = os.fsencode(path)

            def c_call():
                assert lib.TimeKernelQuery(f.handle, 0, p_ids, ids.size, p_keys, 3, 0, 0, p_out, out.size) == 0

            def c_call_new_array():
                fresh = np.empty_like(out)  # new memory: the pages are faulted in as the library writes
                p_fresh = fresh.ctypes.data_as(ctypes.POINTER(ctypes.c_double))
                assert lib.TimeKernelQuery(f.handle, 0, p_ids, ids.size, p_keys, 3, 0, 0, p_fresh, out.size) == 0

            def designed():
                assert lib.TimeKernelOutputResult(encoded, 0, p_ids, ids.size, p_keys, 3, 0, 0, p_out, out.size) == 0

            def kernel_file():
                f.history(ids, ["ux", "uy", "uz"])

            runs = {"C call alone (TimeKernelQuery)": c_call, "C call into a new array": c_call_new_array,
                    "designed call (TimeKernelOutputResult)": designed,
                    "KernelFile.history": kernel_file}
            times = {name: [] for name in runs}
            for _ in range(args.repeat):
                for name, run in runs.items():
                    start = time.perf_counter()
                    run()
                    times[name].append(time.perf_counter() - start)
            h = f.history(ids, ["ux", "uy", "uz"])
            assert h.reshape(-1).tobytes() == out.tobytes()  # the same doubles
    base = statistics.median(times["C call alone (TimeKernelQuery)"])
    print(f"{args.nodes} nodes x {args.steps} steps x 3 keys ({out.nbytes / 1e6:.0f} MB of results) "
          f"from a {size / 1e6:.0f} MB file, median of {args.repeat}:")
    for name, t in times.items():
        print(f"  {name:40s} {statistics.median(t) * 1e3:8.1f} ms   ratio {statistics.median(t) / base:5.2f}")


if __name__ == "__main__":
    main()
