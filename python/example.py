"""Reads the sample file that the C++ example writes (scripts/run-example.sh), from Python.

    python3 python/example.py build/libTimeKernel.so build/example/sample.kernel
"""
import sys

import timekernel

library, path = sys.argv[1], sys.argv[2]
tk = timekernel.TimeKernel(library)
print("elements:", tk.element_ids(path))
for t, (x, y, z) in enumerate(tk.history(path, ids=[100], keys=[102, 103, 104], steps=5)[0], start=1):
    print(f"node 100, step {t}: {x:.5f} {y:.5f} {z:.5f}")
maxima, minima = tk.envelope(path, ids=[100, 101], keys=[102])
print("envelope of x displacement at nodes 100 and 101:", list(zip(maxima, minima)))
