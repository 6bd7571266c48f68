#!/usr/bin/env bash
# Fuzzes the whole read path for a bounded time: builds the libFuzzer target with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, writes the seed corpus with the kernel-file writer, replays it and the kept
# regression inputs, then fuzzes. A crash leaves its input in build-fuzz/crashes and fails the script.
#
#   FUZZ_SECONDS  time limit of the fuzzing run (default 120)
#   FUZZ_RUNS     number of inputs to run, or -1 for no limit but the time (default -1)
#   FUZZ_SEED     random seed; fixed by the test command so that a run can be reproduced (default: random)
#   FUZZ_CORPUS   corpus folder (default build-fuzz/corpus); FUZZ_FRESH=1 starts it anew from the seeds
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-dependencies.sh
seconds=${FUZZ_SECONDS:-120}
runs=${FUZZ_RUNS:--1}
corpus=${FUZZ_CORPUS:-build-fuzz/corpus}

CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DTIMEKERNEL_SANITIZE=ON -DTIMEKERNEL_BUILD_FUZZ=ON -DTIMEKERNEL_BUILD_TESTS=OFF \
  -DTIMEKERNEL_BUILD_TOOLS=OFF -DTIMEKERNEL_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build-fuzz -j "$(nproc)" --target fuzz_read_path make_seeds fuzz_replay

if [ "${FUZZ_FRESH:-0}" = 1 ]; then rm -rf "$corpus"; fi
mkdir -p "$corpus" build-fuzz/crashes
build-fuzz/fuzz/make_seeds "$corpus"
export OPENBLAS_NUM_THREADS=1
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
build-fuzz/fuzz/fuzz_replay "$corpus" fuzz/regressions
seed_option=()
if [ -n "${FUZZ_SEED:-}" ]; then seed_option=(-seed="$FUZZ_SEED"); fi
build-fuzz/fuzz/fuzz_read_path "${seed_option[@]}" -runs="$runs" -max_total_time="$seconds" -rss_limit_mb=4096 \
  -timeout=20 -artifact_prefix=build-fuzz/crashes/ -print_final_stats=1 "$corpus"
