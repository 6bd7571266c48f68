#!/usr/bin/env bash
# The main job: install what is missing, build, solve the five-storey frame example, write its kernel file, read
# it back through the library with the physics checks, and plot the roof displacement and base shear when
# matplotlib is present.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target frame_example
mkdir -p build/example
build/examples/frame_example build/example/frame.kernel build/example/frame.csv
# Debian's interpreter, where python3-matplotlib lives (a python3 earlier on PATH may lack it).
python=/usr/bin/python3
[ -x "$python" ] || python=python3
status=0
"$python" examples/frame/plot_frame.py build/example/frame.csv build/example/frame.png || status=$?
if [ "$status" -eq 3 ]; then
  echo "(no plot: matplotlib is not installed)"
elif [ "$status" -ne 0 ]; then
  exit "$status"
fi
