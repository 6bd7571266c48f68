#!/usr/bin/env bash
# Installs what building and testing TimeKernel needs on Debian 12, with apt-get (run as root, or with sudo).
# Packages that are already installed are left alone.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libopenblas-dev          # BLAS (dgemv_) for element recovery
  libgtest-dev libgmock-dev  # GoogleTest
  libbenchmark-dev         # Google Benchmark
  clang libclang-rt-14-dev # libFuzzer and the sanitizer runtime for the fuzz target
  python3                  # the Python example
  # The Windows build: the 64-bit half of MinGW-w64 (headers, import libraries, binutils), its cross compilers
  # with the POSIX thread model for C, C++ and Fortran (the reference BLAS), GoogleTest's sources to build with
  # them, and Wine to run the tests and the example. (The mingw-w64 metapackage would add the 32-bit and
  # win32-thread compilers, which the build does not use.)
  mingw-w64-x86-64-dev binutils-mingw-w64-x86-64
  g++-mingw-w64-x86-64-posix gfortran-mingw-w64-x86-64-posix
  googletest
  wine64
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

run_as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
run_as_root apt-get update -qq
run_as_root apt-get install -y -qq --no-install-recommends "${missing[@]}"
