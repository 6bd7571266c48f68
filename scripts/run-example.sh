#!/usr/bin/env bash
# The main job: install what is missing, build, solve the five-storey frame example, write its kernel file, read
# it back through the library with the physics checks, and plot the roof displacement and base shear when
# matplotlib is present; then the Python package prints what the file holds and plots the roof's history.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target frame_example timekernel_example TimeKernel
mkdir -p build/example
build/examples/frame_example build/example/frame.kernel build/example/frame.csv
# Debian's interpreter, where python3-matplotlib lives (a python3 earlier on PATH may lack it).
python=/usr/bin/python3
[ -x "$python" ] || python=python3
status=0
"$python" examples/frame/plot_frame.py build/example/frame.csv build/example/frame.png || status=$?
if [ "$status" -eq 3 ]; then
  echo "(no plot: matplotlib is not installed)"
  exit 0
elif [ "$status" -ne 0 ]; then
  exit "$status"
fi

# The same file from the Python package: what it holds, and a plot of the roof's displacement history.
export TIMEKERNEL_LIBRARY=build/libTimeKernel.so PYTHONPATH=python MPLBACKEND=Agg PYTHONDONTWRITEBYTECODE=1
"$python" -m timekernel info build/example/frame.kernel
"$python" -m timekernel plot build/example/frame.kernel --nodes 5 --keys ux,uy -o build/example/roof.png
# The small sample file that the README's Python session opens.
build/examples/timekernel_example build/example/sample.kernel >/dev/null
