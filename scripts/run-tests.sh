#!/usr/bin/env bash
# All tests: install what is missing, then build and run the test suite three times, as a plain optimised build,
# with AddressSanitizer and UndefinedBehaviorSanitizer, and as TimeKernel.dll cross-built with MinGW-w64 and run
# under Wine; run the handle tests (threads on one handle and on handles of their own) with ThreadSanitizer; and
# fuzz the read path for a bounded, reproducible run (fixed seed, fixed number of inputs, a corpus started anew
# from the seeds). Each part reports how long it took.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh
jobs=$(nproc)
# Debian's interpreter, into which apt installs the Python packages (a python3 earlier on PATH may lack them).
python_hint=()
if [ -x /usr/bin/python3 ]; then python_hint=(-DPython3_EXECUTABLE=/usr/bin/python3); fi

part_start=$SECONDS
part_done() {
  echo "== $1: $((SECONDS - part_start)) s =="
  part_start=$SECONDS
}

echo "== plain build =="
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${python_hint[@]}" >/dev/null
cmake --build build -j "$jobs"
(cd build && ctest --output-on-failure -j "$jobs")
part_done "plain build and tests"

echo "== sanitizer build (address, undefined) =="
cmake -S . -B build-sanitize -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTIMEKERNEL_SANITIZE=ON \
  -DTIMEKERNEL_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build-sanitize -j "$jobs"
# OpenBLAS's own threads are not what is under test; one thread keeps the sanitizer run quiet and fast.
(cd build-sanitize && OPENBLAS_NUM_THREADS=1 ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j "$jobs")
part_done "sanitizer build and tests"

echo "== Windows build (MinGW-w64, tests under Wine) =="
cmake -S . -B build-windows -G Ninja --toolchain cmake/mingw-w64-x86_64.cmake -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DTIMEKERNEL_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build-windows -j "$jobs"
# Wine sets up its Windows installation inside the build directory once, before tests start side by side.
if [ ! -f build-windows/wineprefix/system.reg ]; then
  WINEDEBUG=-all WINEPREFIX="$PWD/build-windows/wineprefix" WINEDLLOVERRIDES="mscoree,mshtml=" \
    /usr/lib/wine/wine64 wineboot --init
fi
# Wine itself now and then fails to start a program (a test that fails in hundredths of a second with no output
# at all); such a test runs once more, and a test that fails twice fails the run.
(cd build-windows && ctest --output-on-failure -j "$jobs" --repeat until-pass:2)
part_done "Windows build and tests"

echo "== ThreadSanitizer build (the handle tests) =="
cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTIMEKERNEL_THREAD_SANITIZE=ON \
  -DTIMEKERNEL_BUILD_BENCHMARKS=OFF -DTIMEKERNEL_BUILD_TOOLS=OFF >/dev/null
cmake --build build-tsan -j "$jobs" --target timekernel_tests
(cd build-tsan && OPENBLAS_NUM_THREADS=1 TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
  ctest --output-on-failure -j "$jobs" -R '^Handle')
part_done "ThreadSanitizer build and handle tests"

echo "== fuzzing (libFuzzer, address and undefined sanitizers) =="
FUZZ_SEED=1 FUZZ_RUNS=15000 FUZZ_SECONDS=240 FUZZ_FRESH=1 FUZZ_CORPUS=build-fuzz/test-corpus scripts/run-fuzz.sh
part_done "fuzzing"
