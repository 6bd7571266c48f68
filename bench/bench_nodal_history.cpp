// Nodal history requests over a kernel file of more than 1 GB, each beside a plain copy of the same bytes.
//
// The file holds 2,084 nodes of six degrees of freedom (12,504 in all) over 10,000 steps in section 21, the
// by-degree-of-freedom displacement history: 10,000 doubles (80 KB) per degree of freedom, 1.0 GB together. It
// is written once into the system's temporary directory at start-up and removed at the end.
//
// For 1, 10, 100 and 1,000 nodes spread over the file, one iteration
//   - asks TimeKernelOutputResult for the displacement keys 102, 103, 104, 106, 107, 108 over all steps
//     (flags 0: the initial state of sections 8 to 10 is taken off, nothing is rotated), and
//   - as the baseline, memcpy's the same 6 x nodes rows of section 21 out of a mapping of the same file, made
//     here once, into a buffer of the same size.
// The reported time is the request's; the counters give the baseline's time per iteration,
// ratio = request time / baseline time (wall clock) and cpu_ratio, the same in processor time. The file is read
// once in full before the first benchmark, so both read from the page cache.
//
// Run: bench_nodal_history --benchmark_repetitions=3
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "NodeGrid.h"
#include "TimeKernel.h"
#include "kernelfile/platform.h"
#include "kernelwriter/KernelWriter.h"

namespace {

namespace platform = Zarn::platform;
using Clock = std::chrono::steady_clock;

using nodegrid::kDofsPerNode;
constexpr std::int32_t kNodes = 2084;
constexpr std::int32_t kDofs = kNodes * kDofsPerNode;
constexpr std::int32_t kSteps = 10000;
constexpr std::int32_t kHistorySection = 21;
constexpr std::int32_t kKeys[kDofsPerNode] = {102, 103, 104, 106, 107, 108};

using nodegrid::nodeId;  // node n: rows 6n .. 6n+5, translations and rotations (NodeGrid.h)

// The written file, the baseline's own mapping of it, and where section 21's payload starts.
struct BenchFile {
  std::string path;
  platform::FileHandle handle;
  unsigned char* view = nullptr;
  std::int64_t size = 0;
  std::int64_t historyPayload = 0;  // offset of entry (step 0, dof 0) of section 21
};

BenchFile gFile;

double historyValue(std::int64_t step, std::int64_t dof) {
  return 1.0e-3 * static_cast<double>(dof) + 1.0e-7 * static_cast<double>(step);
}

void writeFile(const std::string& path) {
  kernelwriter::KernelFile f;
  f.setMatrix(kHistorySection, kSteps, kDofs, historyValue);
  std::vector<double> initial(kDofs);
  for (std::int32_t d = 0; d < kDofs; ++d) initial[d] = 0.5e-3 * d;
  for (int s = 8; s <= 10; ++s) f.setMatrix(s, kDofs, 1, initial);  // initial state without base motion
  nodegrid::addNodes(f, kNodes);
  const kernelwriter::Layout layout = f.write(path);
  gFile.historyPayload = layout.sectionPositions[kHistorySection] + kernelwriter::kSectionHeaderSize;
  gFile.size = layout.fileSize;
}

// Maps the whole file for the baseline through the system's own calls, and reads every page once so that the
// page cache holds it.
bool mapAndWarm() {
  gFile.view = nodegrid::mapAndWarm(gFile.path.c_str(), gFile.size, &gFile.handle);
  return gFile.view != nullptr;
}

void release() {
  const platform::Calls& os = platform::systemCalls();
  if (gFile.view != nullptr) os.unmapView(gFile.view, gFile.size);
  if (gFile.handle.isOpen) os.closeFile(gFile.handle);
  std::error_code ignored;
  std::filesystem::remove(gFile.path, ignored);
}

// `count` nodes spread evenly over the file.
std::vector<std::int32_t> chosenNodes(std::int32_t count) {
  std::vector<std::int32_t> nodes;
  const std::int32_t spacing = kNodes / count;
  for (std::int32_t i = 0; i < count; ++i) nodes.push_back(i * spacing);
  return nodes;
}

// The baseline: each of the node's six history rows copied whole, one after the other.
void copyRows(const std::vector<std::int32_t>& nodes, double* out) {
  const std::size_t rowBytes = static_cast<std::size_t>(kSteps) * 8;
  for (const std::int32_t n : nodes) {
    for (std::int32_t j = 0; j < kDofsPerNode; ++j) {
      const std::int64_t dof = static_cast<std::int64_t>(kDofsPerNode) * n + j;
      std::memcpy(out, gFile.view + gFile.historyPayload + dof * static_cast<std::int64_t>(rowBytes), rowBytes);
      out += kSteps;
    }
  }
}

void BM_NodalHistory(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  const std::vector<std::int32_t> nodes = chosenNodes(count);
  std::vector<std::int32_t> ids;
  for (const std::int32_t n : nodes) ids.push_back(nodeId(n));
  const std::int64_t length = static_cast<std::int64_t>(count) * kDofsPerNode * kSteps;
  // Both buffers are touched before the timing starts, so neither pays for its first page faults.
  std::vector<double> result(static_cast<std::size_t>(length), 1.0);
  std::vector<double> baseline(static_cast<std::size_t>(length), 1.0);

  double requestSeconds = 0.0, baselineSeconds = 0.0;
  std::clock_t requestCpu = 0, baselineCpu = 0;
  for (auto _ : state) {
    const std::clock_t cpuStart = std::clock();
    const Clock::time_point start = Clock::now();
    const std::int32_t code = TimeKernelOutputResult(gFile.path.c_str(), 0, ids.data(), count, kKeys, kDofsPerNode,
                                                     0, 0, result.data(), static_cast<std::int32_t>(length));
    const Clock::time_point middle = Clock::now();
    const std::clock_t cpuMiddle = std::clock();
    copyRows(nodes, baseline.data());
    const Clock::time_point end = Clock::now();
    const std::clock_t cpuEnd = std::clock();
    requestCpu += cpuMiddle - cpuStart;
    baselineCpu += cpuEnd - cpuMiddle;
    benchmark::DoNotOptimize(result.data());
    benchmark::DoNotOptimize(baseline.data());
    benchmark::ClobberMemory();
    if (code != 0) {
      state.SkipWithError("TimeKernelOutputResult failed");
      break;
    }
    const double request = std::chrono::duration<double>(middle - start).count();
    requestSeconds += request;
    baselineSeconds += std::chrono::duration<double>(end - middle).count();
    state.SetIterationTime(request);
  }
  // The two must have read the same numbers: the first node's x history, less its initial state.
  const double x0 = 0.5e-3 * static_cast<double>(kDofsPerNode * nodes.front());
  for (std::int32_t t = 0; t < kSteps; t += 997) {
    if (result[static_cast<std::size_t>(kDofsPerNode) * t] != baseline[static_cast<std::size_t>(t)] - x0) {
      state.SkipWithError("the request and the baseline disagree");
      break;
    }
  }

  const double iterations = static_cast<double>(state.iterations());
  state.counters["baseline_ms"] = benchmark::Counter(1e3 * baselineSeconds / iterations);
  state.counters["ratio"] = benchmark::Counter(baselineSeconds > 0 ? requestSeconds / baselineSeconds : 0.0);
  // The same ratio in processor time: on a busy machine the wall-clock ratio also counts time spent descheduled.
  state.counters["cpu_ratio"] = benchmark::Counter(
      baselineCpu > 0 ? static_cast<double>(requestCpu) / static_cast<double>(baselineCpu) : 0.0);
  state.counters["MB_per_call"] = benchmark::Counter(static_cast<double>(length) * 8 / 1e6);
  std::int64_t memory = 0;
  if (platform::systemCalls().processMemoryUse(&memory))
    state.counters["process_MB"] = benchmark::Counter(static_cast<double>(memory) / 1e6);
  state.SetBytesProcessed(state.iterations() * length * 8);
}

BENCHMARK(BM_NodalHistory)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  gFile.path = (std::filesystem::temp_directory_path() /
                ("timekernel_bench_nodal_history_" + std::to_string(Clock::now().time_since_epoch().count()) + ".bin"))
                   .string();
  int status = 0;
  try {
    std::fprintf(stderr, "writing %s ...\n", gFile.path.c_str());
    writeFile(gFile.path);
    std::fprintf(stderr, "%.2f GB written; warming the page cache ...\n", static_cast<double>(gFile.size) / 1e9);
    if (mapAndWarm()) {
      benchmark::RunSpecifiedBenchmarks();
    } else {
      std::fprintf(stderr, "cannot map %s\n", gFile.path.c_str());
      status = 1;
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    status = 1;
  }
  release();
  benchmark::Shutdown();
  return status;
}
