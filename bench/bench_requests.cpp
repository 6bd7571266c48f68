// Every kind of nodal request of the designed functions and of the handle functions, each beside a baseline
// measured in the same iteration, so that the ratio holds even on a busy machine.
//
// The file (written at start-up into the system's temporary directory, removed at the end): 1,000 nodes of six
// degrees of freedom (6,000 in all) over 5,000 steps, with displacement, velocity and acceleration by step
// (sections 15 to 17) and by degree of freedom (sections 21 to 23), 240 MB each, 1.44 GB together, plus the
// initial state of sections 8 to 10. --tk_nodes=N and --tk_steps=N change the two counts (for the scale figures).
//
// Rows (the reported time is the request's; counters: baseline_us, ratio = request / baseline in wall-clock
// time, cpu_ratio the same in processor time):
//   BM_OneValue           1 node, 1 key, 1 step, against the floor: open, fstat, map the whole file, read the
//                         header and one section header, unmap, close.
//   BM_Snapshot           all nodes x 3 keys at one step, against the floor plus a memcpy of that step's column of
//                         section 15 out of a warm mapping (ratio_to_memcpy_excess is (request - floor) / memcpy;
//                         walk_us the same call for a key that selects nothing: finding and walking the records).
//   BM_History/N          N nodes x 6 keys over all steps, against a per-row memcpy of the same histories of
//                         section 21 out of a warm mapping (floor_ratio: request / (floor + memcpy); cold_ratio:
//                         request / (floor + the same copy from a view made and unmapped for each node)).
//   BM_Envelope/N         N nodes x 3 keys, against the history request of the same items (memcpy_ratio: against
//                         the memcpy of their histories).
//   BM_Handle*            the same requests through TimeKernelQuery on a handle opened once (TimeKernelOpen),
//                         against the designed function in the same iteration (handle_ratio).
// Every row checks its answer against the values the file was written with. The element flows are measured by
// bench_element_history.
//
// Run: bench_requests --benchmark_repetitions=3 (needs about 1.5 GB in the temporary directory).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "kernelfile/platform.h"
#include "kernelwriter/KernelWriter.h"

namespace {

namespace platform = Zarn::platform;
using Clock = std::chrono::steady_clock;

// ---- the nodal file ----
constexpr std::int32_t kDofsPerNode = 6;
std::int32_t kNodes = 1000;
std::int32_t kDofs = kNodes * kDofsPerNode;
std::int32_t kSteps = 5000;
std::int32_t kOneStep = kSteps / 2;  // 1-based step of the single-step rows
constexpr std::int32_t kHistoryKeys[kDofsPerNode] = {102, 103, 104, 106, 107, 108};
constexpr std::int32_t kTranslationKeys[3] = {102, 103, 104};

std::int32_t nodeId(std::int32_t n) { return 1000 + n; }

double nodalValue(std::int32_t quantity, std::int64_t step, std::int64_t dof) {
  return 1.0e-3 * static_cast<double>(dof) + 1.0e-7 * static_cast<double>(step) * (quantity + 1) +
         std::sin(0.001 * static_cast<double>(step * (dof % 7 + 1)));
}

// A written file with a warm mapping of it for the baselines.
struct MappedFile {
  std::string path;
  platform::FileHandle handle;
  unsigned char* view = nullptr;
  std::int64_t size = 0;
  std::int64_t positions[kernelwriter::kSectionCount] = {};
  std::int64_t payload(int section) const { return positions[section] + kernelwriter::kSectionHeaderSize; }
};

MappedFile gNodal;

std::string scratchPath(const char* stem) {
  return (std::filesystem::temp_directory_path() /
          (std::string("timekernel_bench_") + stem + "_" + std::to_string(::getpid()) + ".bin"))
      .string();
}

void keepLayout(const kernelwriter::Layout& layout, MappedFile& file) {
  for (int s = 0; s < kernelwriter::kSectionCount; ++s) file.positions[s] = layout.sectionPositions[s];
  file.size = layout.fileSize;
}

void writeNodalFile() {
  kernelwriter::KernelFile f;
  for (std::int32_t q = 0; q < 3; ++q) {
    f.setMatrix(15 + q, kDofs, kSteps, [q](std::int64_t dof, std::int64_t step) { return nodalValue(q, step, dof); });
    f.setMatrix(21 + q, kSteps, kDofs, [q](std::int64_t step, std::int64_t dof) { return nodalValue(q, step, dof); });
  }
  std::vector<double> initial(kDofs);
  for (std::int32_t d = 0; d < kDofs; ++d) initial[static_cast<std::size_t>(d)] = 0.5e-3 * d;
  for (int s = 8; s <= 10; ++s) f.setMatrix(s, kDofs, 1, initial);
  for (std::int32_t n = 0; n < kNodes; ++n) {
    std::vector<std::uint32_t> rows;
    for (std::int32_t j = 0; j < kDofsPerNode; ++j) rows.push_back(static_cast<std::uint32_t>(kDofsPerNode * n + j));
    f.addNode(nodeId(n), kernelwriter::NodeRecord::make(rows, {-999, -998, -997, -996, -995, -994}));
  }
  keepLayout(f.write(gNodal.path), gNodal);
}

// Maps the whole file through the system's own calls and reads every page once, so the page cache holds it.
bool mapAndWarm(MappedFile& file) {
  const platform::Calls& os = platform::systemCalls();
  if (!os.openExisting(file.path.c_str(), &file.handle)) return false;
  file.view = static_cast<unsigned char*>(os.mapView(file.handle, 0, file.size));
  if (file.view == nullptr) return false;
  unsigned sum = 0;
  for (std::int64_t at = 0; at < file.size; at += 4096) sum += file.view[at];
  benchmark::DoNotOptimize(sum);
  return true;
}

void release(MappedFile& file) {
  const platform::Calls& os = platform::systemCalls();
  if (file.view != nullptr) os.unmapView(file.view, file.size);
  if (file.handle.isOpen) os.closeFile(file.handle);
  file.view = nullptr;
  file.handle = platform::FileHandle{};
  std::error_code ignored;
  if (!file.path.empty()) std::filesystem::remove(file.path, ignored);
}

// The least any call on the file must do: open it, learn its size, map it, read the header and the header of
// section 21, unmap, close.
void floorCycle(const MappedFile& file) {
  const platform::Calls& os = platform::systemCalls();
  platform::FileHandle handle;
  if (!os.openExisting(file.path.c_str(), &handle)) return;
  std::int64_t size = 0;
  os.fileSize(handle, &size);
  auto* view = static_cast<unsigned char*>(os.mapView(handle, 0, size));
  if (view != nullptr) {
    unsigned char header[kernelwriter::kFileHeaderSize];
    std::memcpy(header, view, sizeof header);
    std::int64_t at = 0;
    std::memcpy(&at, header + 4 + 8 * 21, 8);
    unsigned char section[12] = {};
    if (at >= 0 && at + 12 <= size) std::memcpy(section, view + at, 12);
    benchmark::DoNotOptimize(section);
    os.unmapView(view, size);
  }
  os.closeFile(handle);
}

// ---- timing: the request and its baseline, alternately, inside one iteration ----
struct Pair {
  double requestSeconds = 0, baselineSeconds = 0, otherSeconds = 0;
  std::clock_t requestCpu = 0, baselineCpu = 0;
};

// Runs request(), then baseline(), then other() (may be empty) in each iteration; the iteration's time is the
// request's. Stops with an error when request() returns false.
void timePair(benchmark::State& state, const std::function<bool()>& request, const std::function<void()>& baseline,
              Pair& pair, const std::function<void()>& other = nullptr) {
  for (auto _ : state) {
    const std::clock_t c0 = std::clock();
    const Clock::time_point t0 = Clock::now();
    const bool ok = request();
    const Clock::time_point t1 = Clock::now();
    const std::clock_t c1 = std::clock();
    baseline();
    const Clock::time_point t2 = Clock::now();
    const std::clock_t c2 = std::clock();
    if (other) other();
    const Clock::time_point t3 = Clock::now();
    benchmark::ClobberMemory();
    if (!ok) {
      state.SkipWithError("the request failed");
      return;
    }
    const double request_s = std::chrono::duration<double>(t1 - t0).count();
    pair.requestSeconds += request_s;
    pair.baselineSeconds += std::chrono::duration<double>(t2 - t1).count();
    pair.otherSeconds += std::chrono::duration<double>(t3 - t2).count();
    pair.requestCpu += c1 - c0;
    pair.baselineCpu += c2 - c1;
    state.SetIterationTime(request_s);
  }
}

void report(benchmark::State& state, const Pair& pair) {
  const double n = std::max<double>(1.0, static_cast<double>(state.iterations()));
  state.counters["baseline_us"] = 1e6 * pair.baselineSeconds / n;
  state.counters["ratio"] = pair.baselineSeconds > 0 ? pair.requestSeconds / pair.baselineSeconds : 0.0;
  state.counters["cpu_ratio"] =
      pair.baselineCpu > 0 ? static_cast<double>(pair.requestCpu) / static_cast<double>(pair.baselineCpu) : 0.0;
}

std::int32_t designed(const std::vector<std::int32_t>& ids, const std::int32_t* keys, std::int32_t keyCount,
                      std::int32_t flags, std::int32_t step, std::vector<double>& result) {
  return TimeKernelOutputResult(gNodal.path.c_str(), flags, ids.data(), static_cast<std::int32_t>(ids.size()), keys,
                                keyCount, 0, step, result.data(), static_cast<std::int32_t>(result.size()));
}

std::vector<std::int32_t> spreadNodes(std::int32_t count) {
  std::vector<std::int32_t> ids;
  const std::int32_t spacing = kNodes / count;
  for (std::int32_t i = 0; i < count; ++i) ids.push_back(nodeId(i * spacing));
  return ids;
}

// value(dof, step) less the initial state, as the library computes it.
double expected(std::int32_t quantity, std::int64_t step, std::int64_t dof) {
  return nodalValue(quantity, step, dof) - 0.5e-3 * static_cast<double>(dof);
}

// ---- nodal rows ----
void BM_OneValue(benchmark::State& state) {
  const std::vector<std::int32_t> ids = {nodeId(kNodes * 417 / 1000)};
  std::vector<double> result(1, 0.0);
  Pair pair;
  timePair(
      state, [&] { return designed(ids, kTranslationKeys, 1, 0, kOneStep, result) == 0; },
      [&] { floorCycle(gNodal); }, pair);
  if (result[0] != expected(0, kOneStep - 1, (kNodes * 417 / 1000) * kDofsPerNode)) state.SkipWithError("wrong value");
  report(state, pair);
}

void copyStepColumn(double* out) {
  std::memcpy(out, gNodal.view + gNodal.payload(15) + static_cast<std::int64_t>(kOneStep - 1) * kDofs * 8,
              static_cast<std::size_t>(kDofs) * 8);
}

// A response id that no quantity knows: a request for it walks the same records and reads no value.
constexpr std::int32_t kUnknownKey = 9999;

void BM_Snapshot(benchmark::State& state) {
  const std::vector<std::int32_t> ids = spreadNodes(kNodes);
  std::vector<double> result(static_cast<std::size_t>(kNodes) * 3, 0.0), walked(result.size(), 0.0);
  std::vector<double> column(kDofs, 1.0);
  const std::int32_t unknownKeys[3] = {kUnknownKey, kUnknownKey, kUnknownKey};
  Pair pair;
  double memcpySeconds = 0;
  timePair(
      state, [&] { return designed(ids, kTranslationKeys, 3, 0, kOneStep, result) == 0; },
      [&] {
        floorCycle(gNodal);
        const Clock::time_point t = Clock::now();
        copyStepColumn(column.data());
        memcpySeconds += std::chrono::duration<double>(Clock::now() - t).count();
      },
      pair, [&] { designed(ids, unknownKeys, 3, 0, kOneStep, walked); });
  if (result[3 * (kNodes - 1) + 2] != expected(0, kOneStep - 1, (kNodes - 1) * kDofsPerNode + 2)) state.SkipWithError("wrong value");
  report(state, pair);
  const double n = std::max<double>(1.0, static_cast<double>(state.iterations()));
  const double floorSeconds = pair.baselineSeconds - memcpySeconds;
  state.counters["memcpy_us"] = 1e6 * memcpySeconds / n;
  state.counters["ratio_to_memcpy_excess"] =
      memcpySeconds > 0 ? (pair.requestSeconds - floorSeconds) / memcpySeconds : 0.0;
  // The same call for a key that selects nothing: the records are found, read and walked as for the snapshot,
  // and no value is read. What the snapshot costs beyond it is the values themselves.
  state.counters["walk_us"] = 1e6 * pair.otherSeconds / n;
}

void copyHistories(const std::vector<std::int32_t>& ids, std::int32_t keysPerNode, double* out) {
  const std::size_t rowBytes = static_cast<std::size_t>(kSteps) * 8;
  for (const std::int32_t id : ids) {
    for (std::int32_t j = 0; j < keysPerNode; ++j) {
      const std::int64_t dof = static_cast<std::int64_t>(kDofsPerNode) * (id - nodeId(0)) + j;
      std::memcpy(out, gNodal.view + gNodal.payload(21) + dof * static_cast<std::int64_t>(rowBytes), rowBytes);
      out += kSteps;
    }
  }
}

// The same histories as copyHistories, each node's rows from a view made for them and unmapped afterwards, as a
// call that keeps no mapping must read them: the pages are mapped in, copied and unmapped again.
void copyHistoriesCold(const std::vector<std::int32_t>& ids, std::int32_t keysPerNode, double* out) {
  const platform::Calls& os = platform::systemCalls();
  const std::int64_t rowBytes = static_cast<std::int64_t>(kSteps) * 8;
  for (const std::int32_t id : ids) {
    const std::int64_t firstDof = static_cast<std::int64_t>(kDofsPerNode) * (id - nodeId(0));
    const std::int64_t begin = gNodal.payload(21) + firstDof * rowBytes;
    const std::int64_t viewStart = begin - begin % 65536;
    const std::int64_t viewSize = begin - viewStart + keysPerNode * rowBytes;
    auto* view = static_cast<unsigned char*>(os.mapView(gNodal.handle, viewStart, viewSize));
    if (view == nullptr) return;
    for (std::int32_t j = 0; j < keysPerNode; ++j) {
      std::memcpy(out, view + (begin - viewStart) + j * rowBytes, static_cast<std::size_t>(rowBytes));
      out += kSteps;
    }
    os.unmapView(view, viewSize);
  }
}

void BM_History(benchmark::State& state) {
  const auto count = std::min(kNodes, static_cast<std::int32_t>(state.range(0)));
  const std::vector<std::int32_t> ids = spreadNodes(count);
  const std::size_t length = static_cast<std::size_t>(count) * kDofsPerNode * kSteps;
  std::vector<double> result(length, 1.0), baseline(length, 1.0);
  Pair pair;
  double floorSeconds = 0, coldSeconds = 0;
  timePair(
      state, [&] { return designed(ids, kHistoryKeys, kDofsPerNode, 0, 0, result) == 0; },
      [&] { copyHistories(ids, kDofsPerNode, baseline.data()); }, pair,
      [&] {
        const Clock::time_point t = Clock::now();
        floorCycle(gNodal);
        const Clock::time_point t1 = Clock::now();
        copyHistoriesCold(ids, kDofsPerNode, baseline.data());
        floorSeconds += std::chrono::duration<double>(t1 - t).count();
        coldSeconds += std::chrono::duration<double>(Clock::now() - t1).count();
      });
  const std::int64_t dof = static_cast<std::int64_t>(kDofsPerNode) * (ids.back() - nodeId(0)) + 4;
  for (std::int32_t t = 0; t < kSteps; t += 613) {
    const std::size_t at = (ids.size() - 1) * kDofsPerNode * kSteps + static_cast<std::size_t>(t) * kDofsPerNode + 4;
    if (result[at] != expected(0, t, dof)) state.SkipWithError("wrong value");
  }
  report(state, pair);
  state.counters["floor_ratio"] = pair.requestSeconds / (pair.baselineSeconds + floorSeconds);
  // Against the copy from views made and unmapped for the purpose (plus the floor): what reading through fresh
  // mappings costs on this machine, which a warm mapping does not show.
  state.counters["cold_ratio"] = pair.requestSeconds / (coldSeconds + floorSeconds);
  state.counters["MB"] = static_cast<double>(length) * 8 / 1e6;
}

void BM_Envelope(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  const std::vector<std::int32_t> ids = spreadNodes(count);
  const std::size_t n = static_cast<std::size_t>(count) * 3;
  std::vector<double> result(2 * n * n, 0.0), history(n * kSteps, 0.0), copied(n * kSteps, 0.0);
  Pair pair;
  double memcpySeconds = 0;
  timePair(
      state, [&] { return designed(ids, kTranslationKeys, 3, 16, 0, result) == 0; },
      [&] { designed(ids, kTranslationKeys, 3, 0, 0, history); }, pair,
      [&] {
        const Clock::time_point t = Clock::now();
        copyHistories(ids, 3, copied.data());
        memcpySeconds += std::chrono::duration<double>(Clock::now() - t).count();
      });
  // The envelope's diagonal against the maximum and minimum of the history request.
  // Item p = r + 3 i is key r of node i; in the history request it stands at block i, row r.
  for (std::size_t p = 0; p < n; ++p) {
    const double* item = history.data() + (p / 3) * 3 * kSteps + p % 3;
    double high = item[0], low = item[0];
    for (std::size_t t = 1; t < static_cast<std::size_t>(kSteps); ++t) {
      high = std::max(high, item[3 * t]);
      low = std::min(low, item[3 * t]);
    }
    if (result[p * n + p] != high || result[n * n + p * n + p] != low) state.SkipWithError("wrong envelope");
  }
  report(state, pair);
  state.counters["memcpy_ratio"] = memcpySeconds > 0 ? pair.requestSeconds / memcpySeconds : 0.0;
}

// ---- the handle door: the same requests on a handle opened once ----
TimeKernelFile* gHandle = nullptr;

void handleRow(benchmark::State& state, const std::vector<std::int32_t>& ids, const std::int32_t* keys,
               std::int32_t keyCount, std::int32_t flags, std::int32_t step, std::size_t length) {
  std::vector<double> viaHandle(length, 0.0), viaDesigned(length, 0.0);
  Pair pair;
  timePair(
      state,
      [&] {
        return TimeKernelQuery(gHandle, flags, ids.data(), static_cast<std::int32_t>(ids.size()), keys, keyCount, 0,
                               step, viaHandle.data(), static_cast<std::int32_t>(length)) == 0;
      },
      [&] { designed(ids, keys, keyCount, flags, step, viaDesigned); }, pair);
  if (viaHandle != viaDesigned) state.SkipWithError("the handle and the designed function disagree");
  report(state, pair);
  state.counters["designed_us"] = state.counters["baseline_us"];
  state.counters["handle_ratio"] = state.counters["ratio"];
}

void BM_HandleOneValue(benchmark::State& state) {
  handleRow(state, {nodeId(kNodes * 417 / 1000)}, kTranslationKeys, 1, 0, kOneStep, 1);
}
void BM_HandleSnapshot(benchmark::State& state) {
  handleRow(state, spreadNodes(kNodes), kTranslationKeys, 3, 0, kOneStep, static_cast<std::size_t>(kNodes) * 3);
}
void BM_HandleHistory(benchmark::State& state) {
  const auto count = std::min(kNodes, static_cast<std::int32_t>(state.range(0)));
  handleRow(state, spreadNodes(count), kHistoryKeys, kDofsPerNode, 0, 0,
            static_cast<std::size_t>(count) * kDofsPerNode * kSteps);
}
void BM_HandleEnvelope(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  const std::size_t n = static_cast<std::size_t>(count) * 3;
  handleRow(state, spreadNodes(count), kTranslationKeys, 3, 16, 0, 2 * n * n);
}

BENCHMARK(BM_OneValue)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Snapshot)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_History)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Envelope)->Arg(1)->Arg(10)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandleOneValue)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandleSnapshot)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandleHistory)->Arg(1)->Arg(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandleEnvelope)->Arg(1)->Arg(10)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  // Our own flags first; Google Benchmark refuses flags it does not know.
  int kept = 1;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg.rfind("--tk_nodes=", 0) == 0) {
      kNodes = std::max(10, std::atoi(arg.c_str() + 11));
    } else if (arg.rfind("--tk_steps=", 0) == 0) {
      kSteps = std::max(2, std::atoi(arg.c_str() + 11));
    } else {
      argv[kept++] = argv[i];
    }
  }
  argc = kept;
  kDofs = kNodes * kDofsPerNode;
  kOneStep = kSteps / 2;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  gNodal.path = scratchPath("nodal");
  int status = 0;
  try {
    std::fprintf(stderr, "writing %s ...\n", gNodal.path.c_str());
    writeNodalFile();
    std::fprintf(stderr, "%.2f GB written; warming the page cache ...\n", static_cast<double>(gNodal.size) / 1e9);
    if (!mapAndWarm(gNodal) || TimeKernelOpen(gNodal.path.c_str(), &gHandle) != 0) {
      std::fprintf(stderr, "cannot map or open %s\n", gNodal.path.c_str());
      status = 1;
    } else {
      benchmark::RunSpecifiedBenchmarks();
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    status = 1;
  }
  TimeKernelClose(gHandle);
  release(gNodal);
  benchmark::Shutdown();
  return status;
}
