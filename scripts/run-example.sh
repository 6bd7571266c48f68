#!/usr/bin/env bash
# The main job: install what is missing, build, and run the example, which writes a sample kernel file and
# prints what the library reads from it; then the Python package prints what the file holds and plots a history
# into build/example/history.png.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target timekernel_example
mkdir -p build/example
build/examples/timekernel_example build/example/sample.kernel

# The same file from Python: what it holds, and a plot of two nodes' x and y displacement.
python=python3
if [ -x /usr/bin/python3 ]; then python=/usr/bin/python3; fi  # Debian's, with the packages apt installed
export TIMEKERNEL_LIBRARY=build/libTimeKernel.so PYTHONPATH=python MPLBACKEND=Agg PYTHONDONTWRITEBYTECODE=1
"$python" -m timekernel info build/example/sample.kernel
"$python" -m timekernel plot build/example/sample.kernel --nodes 100,101 --keys ux,uy -o build/example/history.png
