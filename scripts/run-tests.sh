#!/usr/bin/env bash
# All tests: install what is missing, then build and run the test suite twice, as a plain optimised build and
# with AddressSanitizer and UndefinedBehaviorSanitizer, run the handle tests (threads on one handle and on handles
# of their own) with ThreadSanitizer, and fuzz the read path for a bounded, reproducible run (fixed seed, fixed
# number of inputs, a corpus started anew from the seeds).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh
jobs=$(nproc)

echo "== plain build =="
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$jobs"
(cd build && ctest --output-on-failure -j "$jobs")

echo "== sanitizer build (address, undefined) =="
cmake -S . -B build-sanitize -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTIMEKERNEL_SANITIZE=ON \
  -DTIMEKERNEL_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build-sanitize -j "$jobs"
# OpenBLAS's own threads are not what is under test; one thread keeps the sanitizer run quiet and fast.
(cd build-sanitize && OPENBLAS_NUM_THREADS=1 ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j "$jobs")

echo "== ThreadSanitizer build (the handle tests) =="
cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTIMEKERNEL_THREAD_SANITIZE=ON \
  -DTIMEKERNEL_BUILD_BENCHMARKS=OFF -DTIMEKERNEL_BUILD_TOOLS=OFF >/dev/null
cmake --build build-tsan -j "$jobs" --target timekernel_tests
(cd build-tsan && OPENBLAS_NUM_THREADS=1 TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
  ctest --output-on-failure -j "$jobs" -R '^Handle')

echo "== fuzzing (libFuzzer, address and undefined sanitizers) =="
FUZZ_SEED=1 FUZZ_RUNS=30000 FUZZ_SECONDS=240 FUZZ_FRESH=1 FUZZ_CORPUS=build-fuzz/test-corpus scripts/run-fuzz.sh
