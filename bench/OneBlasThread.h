// Benchmarks that call BLAS measure it on one thread. The BLAS library reads its thread count when it is loaded,
// before main, so a program started without OPENBLAS_NUM_THREADS sets it and starts itself again.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

// Call first in main. Returns only in a process whose BLAS runs on one thread, or after saying that the restart
// failed (the run then goes on with whatever threads BLAS chose).
inline void runBlasOnOneThread(char** argv) {
  if (std::getenv("OPENBLAS_NUM_THREADS") != nullptr) return;
  setenv("OPENBLAS_NUM_THREADS", "1", 1);
  execv("/proc/self/exe", argv);
  std::fprintf(stderr, "cannot restart with OPENBLAS_NUM_THREADS=1; BLAS may use several threads\n");
}
