"""Reads the sample file that the C++ example writes (scripts/run-example.sh), from Python.

    PYTHONPATH=python python3 python/example.py build/libTimeKernel.so build/example/sample.kernel

It uses the designed calls alone (timekernel.raw), which every build of the library has.
"""
import sys

import timekernel
from timekernel import raw

library, path = sys.argv[1], sys.argv[2]
timekernel.load_library(library)
print("elements:", raw.element_ids(path).tolist())
steps = 5  # the sample file's steps
history = raw.output_result(path, ids=[100], keys=[102, 103, 104], length=3 * steps).reshape(steps, 3)
for t, (x, y, z) in enumerate(history, start=1):
    print(f"node 100, step {t}: {x:.5f} {y:.5f} {z:.5f}")
flat = raw.output_result(path, ids=[100, 101], keys=[102], flags=16)  # the envelope: two 2 x 2 matrices
print("envelope of x displacement at nodes 100 and 101:", list(zip(flat[0:4:3], flat[4:8:3])))
