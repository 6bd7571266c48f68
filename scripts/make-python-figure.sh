#!/usr/bin/env bash
# Regenerates docs/python-history.png, the picture of the README's Python section: builds the library, writes the
# example's sample file and runs the README's Python session (python/session.py) on it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh
python=python3
if [ -x /usr/bin/python3 ]; then python=/usr/bin/python3; fi  # Debian's, with the packages apt installed
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target TimeKernel timekernel_example
mkdir -p build/example docs
build/examples/timekernel_example build/example/sample.kernel >/dev/null
TIMEKERNEL_LIBRARY=build/libTimeKernel.so PYTHONPATH=python MPLBACKEND=Agg PYTHONDONTWRITEBYTECODE=1 \
  "$python" python/session.py
echo "wrote docs/python-history.png"
