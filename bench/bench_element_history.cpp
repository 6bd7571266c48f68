// Element history requests over a generated kernel file of about 2 GB, beside a baseline that forms the same
// values from data already in memory.
//
// The model: a 50 by 40 grid of shells (2,000 elements) on 51 by 41 nodes of six degrees of freedom (12,546 in
// all) over 10,000 steps. Each shell has 24 degrees of freedom, a force table of 14 components at 5 points
// (70 rows), a stress table of 6 components at 10 points (60 rows), a velocity table, two load tables (section
// 4 holds 2 loads), a reference state and both offsets. The file holds the displacement and velocity histories
// by degree of freedom (sections 21 and 22, 1.0 GB each), the load factors and the element records; it is
// written into the system's temporary directory at start-up and removed at the end.
//
// BM_ElementHistory/N, for N of 200 and 2,000 elements: one iteration
//   - runs the request of TimeKernelOutputResult (flag 1, all steps) for 4 response ids of each element: two
//   force values
//     (419101 at point 0, 410406 at point 2) and two stress values (412101 at point 0, 412154 at point 9);
//   - as the baseline, forms the same values for the same elements from the two histories held in memory in
//     the file's own order (each degree of freedom's 10,000 steps in a row) and the element tables held in
//     memory: per element, its 24 history rows are copied out (one memcpy each), then one DGEMM per term over
//     all steps, Y = c + F U, Y += V Vdot, Y -= L A for the force and the same without V for the stress, with
//     the reference state and the offset folded into one constant vector c = f0 - F u0, and the 4 selected rows
//     copied to the output.
// Both evaluate every row of the tables, as the library does. Floating-point work counted per element and step:
// 2 * 24 * (70 + 70 + 60) for the three table products, 2 * 2 * (70 + 60) for the load terms and 70 + 60 for
// the constant: 10,250, so 2.05e11 for 2,000 elements.
//
// Counters: GFLOPs (the request), baseline_GFLOPs, baseline_products_GFLOPs (the DGEMM part of the baseline
// alone), baseline_ms and ratio = request time / baseline time. The two results are compared entry by entry.
//
// BM_PeakMemory/N runs the same request in a child process and reports the child's peak resident memory
// (VmHWM), its resident memory before the call (with the result array already touched) and the difference. The
// peak includes the pages of the mapped file that the request touched, since those count as resident while the
// file is mapped; to tell the two apart the child also reports how much its anonymous memory (RssAnon: heap and
// stacks, which the allocator mostly keeps after a free) grew over the call. The mapping is gone once the call
// has ended, so growth - anon_growth is about the file pages the request had in view.
//
// BLAS runs on one thread: the program sets OPENBLAS_NUM_THREADS=1 and starts itself again when the variable
// was not set, since the BLAS library reads it when it is loaded (the library itself never changes BLAS
// settings).
//
// Run: bench_element_history (takes a few minutes; the file needs about 2.2 GB of free space in the temporary
// directory).
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "OneBlasThread.h"
#include "ProcStatus.h"
#include "ShellGrid.h"
#include "cycle/OutputRequest.h"
#include "cycle/TheKernel.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace shellgrid;

constexpr std::int32_t kSteps = 10000;

struct BenchState {
  std::string path;
  std::int64_t fileSize = 0;
  InMemory data;  // the baseline's data, built on first use
};

BenchState gBench;

void writeFile() { gBench.fileSize = shellFile(kSteps, false, false).write(gBench.path).fileSize; }

// The request exactly as the export TimeKernelOutputResult runs it (whose object is part of the shared library,
// not of the internals this program links): one cycle, ended on every path, any failure giving -1.
std::int32_t request(const std::vector<std::int32_t>& elements, std::vector<double>& result) {
  std::vector<std::int32_t> ids;
  for (std::int32_t e : elements) ids.push_back(elementId(e));
  try {
    Zarn::CycleGuard cycle;
    Zarn::outputResult(gBench.path.c_str(), 1, ids.data(), std::int32_t(ids.size()), kKeys, kKeyCount, 0, 0,
                       result.data(), std::int32_t(result.size()));
    return 0;
  } catch (...) {
    return -1;
  }
}

void BM_ElementHistory(benchmark::State& state) {
  gBench.data.fill(kSteps);
  const std::vector<std::int32_t> elements = chosenElements(std::int32_t(state.range(0)));
  const std::size_t length = elements.size() * kKeyCount * kSteps;
  // Both arrays are touched before the timing starts, so neither pays for its first page faults.
  std::vector<double> result(length, 1.0), reference(length, 1.0);
  double requestSeconds = 0.0, baselineSeconds = 0.0, productSeconds = 0.0;
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    const std::int32_t status = request(elements, result);
    const Clock::time_point middle = Clock::now();
    historyBaseline(gBench.data, elements, reference.data(), productSeconds);
    const Clock::time_point end = Clock::now();
    benchmark::DoNotOptimize(result.data());
    benchmark::DoNotOptimize(reference.data());
    benchmark::ClobberMemory();
    if (status != 0) {
      state.SkipWithError("the request failed");
      return;
    }
    const double seconds = std::chrono::duration<double>(middle - start).count();
    requestSeconds += seconds;
    baselineSeconds += std::chrono::duration<double>(end - middle).count();
    state.SetIterationTime(seconds);
  }
  double worst = 0.0;
  for (std::size_t k = 0; k < length; ++k) worst = std::max(worst, relativeDifference(result[k], reference[k]));
  if (worst > 1e-11) state.SkipWithError("the request and the baseline disagree");

  const double flops =
      kFlopsPerElementStep * double(kSteps) * double(elements.size()) * double(state.iterations());
  state.counters["GFLOPs"] = benchmark::Counter(flops / requestSeconds / 1e9);
  state.counters["baseline_GFLOPs"] = benchmark::Counter(flops / baselineSeconds / 1e9);
  state.counters["baseline_products_GFLOPs"] = benchmark::Counter(flops / productSeconds / 1e9);
  state.counters["baseline_ms"] = benchmark::Counter(1e3 * baselineSeconds / double(state.iterations()));
  state.counters["ratio"] = benchmark::Counter(requestSeconds / baselineSeconds);
  state.counters["max_rel_diff"] = benchmark::Counter(worst);
}

using benchsupport::statusBytes;

void BM_PeakMemory(benchmark::State& state) {
  const std::vector<std::int32_t> elements = chosenElements(std::int32_t(state.range(0)));
  std::int64_t figures[4] = {-1, -1, -1, -1};  // before, peak, status, anonymous growth
  for (auto _ : state) {
    int channel[2];
    if (pipe(channel) != 0) {
      state.SkipWithError("pipe failed");
      return;
    }
    const pid_t child = fork();
    if (child == 0) {
      close(channel[0]);
      std::vector<double> result(elements.size() * kKeyCount * kSteps, 1.0);
      std::int64_t out[4];
      out[0] = statusBytes("VmRSS");
      const std::int64_t anonBefore = statusBytes("RssAnon");
      out[2] = request(elements, result);
      out[1] = statusBytes("VmHWM");
      out[3] = statusBytes("RssAnon") - anonBefore;
      const ssize_t written = write(channel[1], out, sizeof out);
      _exit(written == ssize_t(sizeof out) ? 0 : 1);
    }
    close(channel[1]);
    const ssize_t got = child > 0 ? read(channel[0], figures, sizeof figures) : -1;
    close(channel[0]);
    int status = 0;
    if (child > 0) waitpid(child, &status, 0);
    if (got != ssize_t(sizeof figures) || figures[2] != 0) {
      state.SkipWithError("the measuring child failed");
      return;
    }
  }
  state.counters["before_MB"] = benchmark::Counter(double(figures[0]) / 1e6);
  state.counters["peak_MB"] = benchmark::Counter(double(figures[1]) / 1e6);
  state.counters["growth_MB"] = benchmark::Counter(double(figures[1] - figures[0]) / 1e6);
  state.counters["anon_growth_MB"] = benchmark::Counter(double(figures[3]) / 1e6);
  state.counters["result_MB"] = benchmark::Counter(double(elements.size() * kKeyCount * kSteps * 8) / 1e6);
}

// The memory figures come first, from a process that holds none of the baseline's data yet.
BENCHMARK(BM_PeakMemory)->Arg(200)->Arg(2000)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ElementHistory)
    ->Arg(200)
    ->Arg(2000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  runBlasOnOneThread(argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  gBench.path =
      (std::filesystem::temp_directory_path() /
       ("timekernel_bench_element_history_" + std::to_string(Clock::now().time_since_epoch().count()) + ".bin"))
          .string();
  int status = 0;
  try {
    std::fprintf(stderr, "writing %s ...\n", gBench.path.c_str());
    writeFile();
    std::fprintf(stderr, "%.2f GB written\n", double(gBench.fileSize) / 1e9);
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    status = 1;
  }
  std::error_code ignored;
  std::filesystem::remove(gBench.path, ignored);
  benchmark::Shutdown();
  return status;
}
