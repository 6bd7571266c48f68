// The handle door against the designed door, on kernel files of 1 GB and 4 GB.
//
// The 1 GB file holds 2,084 nodes of six degrees of freedom (12,504) over 5,000 steps, in both orders: section 15
// by step and section 21 by degree of freedom, 0.5 GB each; sections 16 and 17 store no velocity or acceleration
// (0 rows), sections 8 to 10 the initial state. The 4 GB file is the same with four times the nodes. Both are
// written into the system's temporary directory at start-up and removed at the end.
//
// - OneValue: one node, one key (102), one step, asked of an open handle (TimeKernelQuery) and, as the baseline
//   measured in the same iteration, of the designed door (TimeKernelOutputResult). Counters: microseconds per
//   query of each, and ratio = designed time / handle time.
// - TwoThreads: history requests (key 102, all steps) of 100 nodes on one handle: one thread alone, then two
//   threads on disjoint nodes at once, the same number of requests each. Counter speedup = the two threads'
//   throughput / the one thread's.
// - HandleMemory: the heap an open handle holds after one query of each kind, on the 1 GB and the 4 GB file
//   (mallinfo2), and the resident growth beyond the file's own pages is not counted (they belong to the page cache).
//
// Run: bench_handle --benchmark_repetitions=3
#include <benchmark/benchmark.h>

#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "NodeGrid.h"
#include "TimeKernel.h"
#include "kernelwriter/KernelWriter.h"

namespace {

using Clock = std::chrono::steady_clock;

using nodegrid::kDofsPerNode;
using nodegrid::nodeId;
constexpr std::int32_t kNodes = 2084;
constexpr std::int32_t kSteps = 5000;

std::string gSmall, gLarge;  // the 1 GB and the 4 GB file

std::string writeFile(const char* stem, std::int32_t nodes) {
  const std::int32_t dofs = nodes * kDofsPerNode;
  const std::string path =
      (std::filesystem::temp_directory_path() / (std::string(stem) + std::to_string(::getpid()) + ".kernel")).string();
  kernelwriter::KernelFile f;
  auto value = [](std::int64_t a, std::int64_t b) { return 1.0e-3 * static_cast<double>(a) + 1.0e-7 * static_cast<double>(b); };
  f.setMatrix(15, dofs, kSteps, [&](std::int64_t d, std::int64_t t) { return value(d, t); });
  f.setMatrix(21, kSteps, dofs, [&](std::int64_t t, std::int64_t d) { return value(d, t); });
  f.setMatrix(16, 0, kSteps, std::vector<double>{});
  f.setMatrix(17, 0, kSteps, std::vector<double>{});
  std::vector<double> initial(static_cast<std::size_t>(dofs));
  for (std::int32_t d = 0; d < dofs; ++d) initial[static_cast<std::size_t>(d)] = 0.5e-3 * d;
  for (int s = 8; s <= 10; ++s) f.setMatrix(s, dofs, 1, initial);
  nodegrid::addNodes(f, nodes);
  const kernelwriter::Layout layout = f.write(path);
  std::fprintf(stderr, "%s: %.2f GB written\n", path.c_str(), static_cast<double>(layout.fileSize) / 1e9);
  return path;
}

TimeKernelFile* openOrAbort(const std::string& path) {
  TimeKernelFile* file = nullptr;
  if (TimeKernelOpen(path.c_str(), &file) != 0) {
    std::fprintf(stderr, "open failed: %s\n", TimeKernelLastError());
    std::abort();
  }
  return file;
}

double seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

void OneValue(benchmark::State& state) {
  TimeKernelFile* file = openOrAbort(gSmall);
  const std::int32_t key = 102;
  double value = 0;
  std::int64_t k = 0;
  double handleTime = 0, designedTime = 0;
  std::int64_t queries = 0;
  for (auto _ : state) {
    constexpr int kBatch = 200;
    const Clock::time_point t0 = Clock::now();
    for (int i = 0; i < kBatch; ++i, ++k) {
      const std::int32_t id = nodeId(static_cast<std::int32_t>((k * 37) % kNodes));
      const auto step = static_cast<std::int32_t>(1 + (k * 101) % kSteps);
      if (TimeKernelQuery(file, 0, &id, 1, &key, 1, 0, step, &value, 1) != 0) state.SkipWithError("query failed");
      benchmark::DoNotOptimize(value);
    }
    const Clock::time_point t1 = Clock::now();
    for (int i = 0; i < kBatch; ++i, ++k) {
      const std::int32_t id = nodeId(static_cast<std::int32_t>((k * 37) % kNodes));
      const auto step = static_cast<std::int32_t>(1 + (k * 101) % kSteps);
      if (TimeKernelOutputResult(gSmall.c_str(), 0, &id, 1, &key, 1, 0, step, &value, 1) != 0)
        state.SkipWithError("designed call failed");
      benchmark::DoNotOptimize(value);
    }
    const Clock::time_point t2 = Clock::now();
    handleTime += seconds(t1 - t0);
    designedTime += seconds(t2 - t1);
    queries += kBatch;
  }
  TimeKernelClose(file);
  state.counters["handle_us"] = 1e6 * handleTime / static_cast<double>(queries);
  state.counters["designed_us"] = 1e6 * designedTime / static_cast<double>(queries);
  state.counters["ratio"] = designedTime / handleTime;
}
BENCHMARK(OneValue)->Unit(benchmark::kMillisecond)->UseRealTime();

// `count` history requests of 100 nodes each, starting at node `first`, on `file`.
void histories(TimeKernelFile* file, std::int32_t first, int count, std::atomic<bool>& ok) {
  std::vector<std::int32_t> ids(100);
  std::vector<double> result(100 * static_cast<std::size_t>(kSteps));
  const std::int32_t key = 102;
  for (int c = 0; c < count; ++c) {
    for (std::int32_t i = 0; i < 100; ++i) ids[static_cast<std::size_t>(i)] = nodeId((first + 7 * c + i) % kNodes);
    if (TimeKernelQuery(file, 0, ids.data(), 100, &key, 1, 0, 0, result.data(), static_cast<std::int32_t>(result.size())) != 0)
      ok = false;
    benchmark::DoNotOptimize(result.data());
  }
}

void TwoThreads(benchmark::State& state) {
  TimeKernelFile* file = openOrAbort(gSmall);
  std::atomic<bool> ok{true};
  double one = 0, two = 0;
  constexpr int kCount = 40;
  for (auto _ : state) {
    const Clock::time_point t0 = Clock::now();
    histories(file, 0, kCount, ok);
    const Clock::time_point t1 = Clock::now();
    std::thread a([&] { histories(file, 0, kCount, ok); });
    std::thread b([&] { histories(file, kNodes / 2, kCount, ok); });
    a.join();
    b.join();
    const Clock::time_point t2 = Clock::now();
    one += seconds(t1 - t0);
    two += seconds(t2 - t1);
  }
  TimeKernelClose(file);
  if (!ok) state.SkipWithError("a query failed");
  // Throughput of two threads (2 * kCount requests in `two`) over that of one (kCount in `one`).
  state.counters["one_thread_ms"] = 1e3 * one / static_cast<double>(state.iterations()) / kCount;
  state.counters["speedup"] = (2.0 * kCount / two) / (kCount / one);
}
BENCHMARK(TwoThreads)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// Heap bytes held by an open handle after a one-value query and a 100-node history query.
double handleHeap(const std::string& path) {
  const std::size_t before = mallinfo2().uordblks;
  TimeKernelFile* file = openOrAbort(path);
  const std::int32_t key = 102;
  double value = 0;
  const std::int32_t id = nodeId(5);
  TimeKernelQuery(file, 0, &id, 1, &key, 1, 0, 3, &value, 1);
  std::atomic<bool> ok{true};
  histories(file, 0, 1, ok);
  const std::size_t after = mallinfo2().uordblks;
  TimeKernelClose(file);
  return static_cast<double>(after) - static_cast<double>(before);
}

void HandleMemory(benchmark::State& state) {
  double small = 0, large = 0;
  for (auto _ : state) {
    small = handleHeap(gSmall);
    large = handleHeap(gLarge);
  }
  state.counters["heap_1GB_kB"] = small / 1024.0;
  state.counters["heap_4GB_kB"] = large / 1024.0;
  state.counters["difference_kB"] = (large - small) / 1024.0;
}
BENCHMARK(HandleMemory)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  gSmall = writeFile("timekernel-handle-1g-", kNodes);
  gLarge = writeFile("timekernel-handle-4g-", 4 * kNodes);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ignored;
  std::filesystem::remove(gSmall, ignored);
  std::filesystem::remove(gLarge, ignored);
  return 0;
}
