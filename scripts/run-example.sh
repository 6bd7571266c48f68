#!/usr/bin/env bash
# The main job: install what is missing, build, and run the example, which writes a sample kernel file and
# prints what the library reads from it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target timekernel_example
mkdir -p build/example
build/examples/timekernel_example build/example/sample.kernel
