// Every kind of request of the designed functions, and the nodal ones of the handle functions, each beside a
// baseline measured in the same iteration, so that the ratio holds even on a busy machine; and the peak
// anonymous memory of a nodal and an element history on a 1 GB and an 8.6 GB file.
//
// The files (written into the system's temporary directory by the first row that needs them, so that a filter
// writes only what its rows use; all removed at the end):
//   nodal     1,000 nodes of six degrees of freedom (6,000 in all) over 5,000 steps, with displacement,
//             velocity and acceleration by step (sections 15 to 17) and by degree of freedom (sections 21 to
//             23), 240 MB each, 1.44 GB together, plus the initial state of sections 8 to 10. --tk_nodes=N and
//             --tk_steps=N change the two counts (for the scale figures).
//   shells    the shell grid of ShellGrid.h (2,000 shells of 24 degrees of freedom, 12,546 degrees of freedom)
//             over 10,000 steps: displacement and velocity by degree of freedom (sections 21, 22) and by step
//             (15, 16), 1.0 GB each, load factors and records, 4.1 GB (written in about 30 s). The baselines
//             hold both histories in memory (2.0 GB). --tk_shell_steps=N changes the steps.
//   memory    the same grid with its nodes and initial states, over 5,000 steps, by degree of freedom only:
//             1.0 GB (--tk_memory_steps=N); and a copy of it with everything after the file header moved 7 GiB
//             further on over a hole, 8.6 GB of which 1.0 GB is on disk (written in a few seconds; --tk_no_8gb
//             leaves it out).
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
//   BM_ElementHistory     all 2,000 shells x 4 keys (two forces, two stresses) over all steps, flag 1, against
//                         one DGEMM per term over all steps on the data in memory (ShellGrid.h's
//                         historyBaseline: per element, its 48 history rows copied out of arrays in memory,
//                         then the products). The same iteration also times five 1,000 x 1,000 DGEMMs for the
//                         machine's peak rate on one thread (the fastest of them). Counters: GFLOPs and
//                         baseline_GFLOPs (10,250 flops per element and step), baseline_products_GFLOPs (the
//                         DGEMMs of the baseline alone), peak_GFLOPs, peak_share = GFLOPs / peak_GFLOPs
//                         (baseline_peak_share: the baseline's).
//   BM_ElementStep        all 2,000 shells x 4 keys at step steps / 2, against one DGEMV per term per element
//                         on the data in memory. Breakdown timed in the same iteration: read_memcpy_us, a memcpy
//                         of every byte the request reads (each element record whole, the step's column of
//                         sections 15, 16 and 4; read_MB) out of a warm mapping; read_pread_us, the same bytes
//                         by one positioned read per record and column; tile_products_us, the products the
//                         library forms a step with (the tile of 64 steps around it, zeros but in the step's
//                         column, one DGEMM per term) on the data in memory; memcpy_and_tiles_share = (memcpy +
//                         tiles) / request.
//   BM_PeakAnonMemory/K   K = nodal: 100 nodes x 6 keys over all steps; K = element: all 2,000 shells x 4 keys
//                         over all steps. On the 1 GB file (anon_kB) and on the 8.6 GB file (large_anon_kB),
//                         and difference_kB. Each measurement is a new process (this program started again with
//                         --tk_memory_child), so that no heap of the benchmark's own hides the call's. It sets
//                         the allocator never to give memory back (mallopt: no mmap'd chunks, no trimming), so
//                         every heap page the call touches, freed or not, is still resident when it returns,
//                         and so is every stack page; it allocates and touches the result array, runs one small
//                         DGEMM (the BLAS library sets up its buffers on its first product, as it has long done
//                         in a host), then reads RssAnon of /proc/self/status (without allocating) before and
//                         after the call. The difference is the call's peak of anonymous memory: heap and stacks,
//                         not the pages of the mapped file, which are file-backed and counted in RssFile. It can
//                         miss only memory that was resident and free before the call: heap_free_kB, the free
//                         bytes in the heap just before it (mallinfo2), bounds that; stack pages touched before
//                         the call are not counted again.
// Every row checks its answer against values computed without the library: the nodal rows against the values
// the file was written with; the element rows against the baseline (max_rel_diff) and against plain loops
// without BLAS over a spread of elements and steps (plain_max_rel_diff), both |a - b| / (1 + |b|).
//
// BLAS runs on one thread: the program sets OPENBLAS_NUM_THREADS=1 and starts itself again when the variable
// was not set, since the BLAS library reads it when it is loaded (the library itself never changes BLAS
// settings).
//
// Run: bench_requests --benchmark_repetitions=3 (needs about 7.6 GB in the temporary directory: 1.44 GB nodal,
// 4.1 GB shells, 2 x 1.0 GB memory, and about 6 GB of memory besides the page cache).
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
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
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "NodeGrid.h"
#include "OneBlasThread.h"
#include "ProcStatus.h"
#include "ShellGrid.h"
#include "TimeKernel.h"
#include "kernelfile/platform.h"
#include "kernelwriter/KernelWriter.h"

extern char** environ;

namespace {

namespace platform = Zarn::platform;
using Clock = std::chrono::steady_clock;

// ---- the nodal file ----
using nodegrid::kDofsPerNode;
std::int32_t kNodes = 1000;
std::int32_t kDofs = kNodes * kDofsPerNode;
std::int32_t kSteps = 5000;
std::int32_t kOneStep = kSteps / 2;  // 1-based step of the single-step rows
constexpr std::int32_t kHistoryKeys[kDofsPerNode] = {102, 103, 104, 106, 107, 108};
constexpr std::int32_t kTranslationKeys[3] = {102, 103, 104};

using nodegrid::nodeId;

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
TimeKernelFile* gHandle = nullptr;  // the nodal file opened once, for the handle rows

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
  nodegrid::addNodes(f, kNodes);
  keepLayout(f.write(gNodal.path), gNodal);
}

// Maps the whole file through the system's own calls and reads every page once, so the page cache holds it.
bool mapAndWarm(MappedFile& file) {
  file.view = nodegrid::mapAndWarm(file.path.c_str(), file.size, &file.handle);
  return file.view != nullptr;
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

// Runs `prepare` on the first call for `ready` (-1: not tried yet, then 0: failed, 1: ready), so that each file
// is written by the first row that needs it and a run which filters those rows out writes nothing. False, with
// the row skipped with `failure`, when preparing failed (now or before).
bool preparedOnce(int& ready, benchmark::State& state, const char* failure, const std::function<bool()>& prepare) {
  if (ready < 0) {
    ready = 0;
    try {
      ready = prepare() ? 1 : 0;
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s\n", e.what());
    }
  }
  if (ready == 0) state.SkipWithError(failure);
  return ready == 1;
}

// Writes the nodal file, warms it and opens the handle on it, on the first nodal row that runs.
bool nodalReady(benchmark::State& state) {
  static int ready = -1;
  return preparedOnce(ready, state, "the nodal file could not be written, mapped or opened", [] {
    gNodal.path = scratchPath("nodal");
    std::fprintf(stderr, "writing %s ...\n", gNodal.path.c_str());
    writeNodalFile();
    std::fprintf(stderr, "%.2f GB written; warming the page cache ...\n", static_cast<double>(gNodal.size) / 1e9);
    return mapAndWarm(gNodal) && TimeKernelOpen(gNodal.path.c_str(), &gHandle) == 0;
  });
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
  if (!nodalReady(state)) return;
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
  if (!nodalReady(state)) return;
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
  if (!nodalReady(state)) return;
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
  if (!nodalReady(state)) return;
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

void handleRow(benchmark::State& state, const std::vector<std::int32_t>& ids, const std::int32_t* keys,
               std::int32_t keyCount, std::int32_t flags, std::int32_t step, std::size_t length) {
  if (!nodalReady(state)) return;
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

// ---- the element rows: the shell grid (ShellGrid.h) ----
std::int32_t gShellSteps = 10000;  // --tk_shell_steps
std::int32_t gMemorySteps = 5000;  // --tk_memory_steps: the model of the memory files
bool gLargeMemoryFile = true;      // --tk_no_8gb turns the sparse file off

struct ShellBench {
  MappedFile file;
  kernelwriter::Layout layout;
  shellgrid::InMemory data;  // the baselines' data
  std::vector<std::int32_t> elements, ids;
};

ShellBench gShell;

// Writes the shell file (histories by degree of freedom and by step, load factors, records), warms it, and fills
// the baselines' data, on the first element row that runs.
bool shellReady(benchmark::State& state) {
  static int ready = -1;
  return preparedOnce(ready, state, "the shell file could not be written or mapped", [] {
    gShell.file.path = scratchPath("shells");
    std::fprintf(stderr, "writing %s ...\n", gShell.file.path.c_str());
    gShell.layout = shellgrid::shellFile(gShellSteps, true, false).write(gShell.file.path);
    keepLayout(gShell.layout, gShell.file);
    std::fprintf(stderr, "%.2f GB written; warming the page cache ...\n", double(gShell.file.size) / 1e9);
    if (!mapAndWarm(gShell.file)) return false;
    gShell.data.fill(gShellSteps);
    gShell.elements = shellgrid::chosenElements(shellgrid::kElements);
    for (const std::int32_t e : gShell.elements) gShell.ids.push_back(shellgrid::elementId(e));
    return true;
  });
}

// Flag 1 on the shell file: all elements, the four keys, at `step` (0: all steps).
std::int32_t shellRequest(std::int32_t step, std::vector<double>& result) {
  return TimeKernelOutputResult(
      gShell.file.path.c_str(), 1, gShell.ids.data(), static_cast<std::int32_t>(gShell.ids.size()),
      shellgrid::kKeys, shellgrid::kKeyCount, 0, step, result.data(), static_cast<std::int32_t>(result.size()));
}

// The machine's DGEMM rate on this thread: square products of kPeakOrder, the fastest of kPeakRuns kept, so
// that a moment of load from elsewhere does not lower the peak.
constexpr int kPeakOrder = 1000, kPeakRuns = 5;
struct PeakProduct {
  std::vector<double> a, b, c;
  double fastest = 0.0;  // seconds of the fastest product so far; 0 before the first
  PeakProduct() : a(std::size_t(kPeakOrder) * kPeakOrder), b(a.size()), c(a.size(), 0.0) {
    for (std::size_t k = 0; k < a.size(); ++k) {
      a[k] = std::sin(0.1 * double(k));
      b[k] = std::cos(0.3 * double(k));
    }
  }
  void run() {
    const char n = 'N';
    const int order = kPeakOrder;
    const double one = 1.0, zero = 0.0;
    for (int r = 0; r < kPeakRuns; ++r) {
      const Clock::time_point start = Clock::now();
      dgemm_(&n, &n, &order, &order, &order, &one, a.data(), &order, b.data(), &order, &zero, c.data(), &order,
             1, 1);
      benchmark::DoNotOptimize(c.data());
      const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
      if (fastest == 0.0 || seconds < fastest) fastest = seconds;
    }
  }
  double rate() const {
    return fastest > 0.0 ? 2.0 * kPeakOrder * double(kPeakOrder) * kPeakOrder / fastest : 0.0;
  }
};

// The largest relative difference between the request's values and plain loops without BLAS
// (shellgrid::plainKeyValue), over a spread of elements and steps; `steps` is the block's step count (1 for a
// single-step result, whose one step is `step`).
double plainCheck(const std::vector<double>& result, std::int32_t steps, std::int32_t step) {
  const std::int32_t stride = steps == 1 ? 1 : 331;
  double worst = 0.0;
  for (std::size_t i = 0; i < gShell.elements.size(); i += 97) {
    const shellgrid::Tables& t = gShell.data.tables[std::size_t(gShell.elements[i])];
    for (std::int32_t s = 0; s < steps; s += stride) {
      const std::int32_t at = steps == 1 ? step : s;
      for (std::int32_t r = 0; r < shellgrid::kKeyCount; ++r) {
        const double got =
            result[(i * std::size_t(steps) + std::size_t(s)) * shellgrid::kKeyCount + std::size_t(r)];
        worst = std::max(worst, shellgrid::relativeDifference(got, shellgrid::plainKeyValue(t, r, at)));
      }
    }
  }
  return worst;
}

double largestDifference(const std::vector<double>& a, const std::vector<double>& b) {
  double worst = 0.0;
  for (std::size_t k = 0; k < a.size(); ++k) worst = std::max(worst, shellgrid::relativeDifference(a[k], b[k]));
  return worst;
}

// All 2,000 shells, 4 keys, all steps, against one DGEMM per term over all steps on the data in memory
// (shellgrid::historyBaseline), with five square DGEMMs in the same iteration for the machine's peak.
void BM_ElementHistory(benchmark::State& state) {
  if (!shellReady(state)) return;
  const std::size_t length = gShell.elements.size() * shellgrid::kKeyCount * std::size_t(gShellSteps);
  std::vector<double> result(length, 1.0), reference(length, 1.0);
  PeakProduct peak;
  Pair pair;
  double productSeconds = 0.0;
  timePair(
      state, [&] { return shellRequest(0, result) == 0; },
      [&] { shellgrid::historyBaseline(gShell.data, gShell.elements, reference.data(), productSeconds); }, pair,
      [&] { peak.run(); });
  const double worst = largestDifference(result, reference), plain = plainCheck(result, gShellSteps, 0);
  if (worst > 1e-11 || plain > 1e-11) state.SkipWithError("the request and the baseline disagree");
  report(state, pair);
  const double n = std::max<double>(1.0, static_cast<double>(state.iterations()));
  const double flops =
      shellgrid::kFlopsPerElementStep * double(gShellSteps) * double(gShell.elements.size()) * n;
  const double peakRate = peak.rate();
  state.counters["GFLOPs"] = flops / pair.requestSeconds / 1e9;
  state.counters["baseline_GFLOPs"] = flops / pair.baselineSeconds / 1e9;
  state.counters["baseline_products_GFLOPs"] = flops / productSeconds / 1e9;
  state.counters["peak_GFLOPs"] = peakRate / 1e9;
  state.counters["peak_share"] = flops / pair.requestSeconds / peakRate;
  state.counters["baseline_peak_share"] = flops / pair.baselineSeconds / peakRate;
  state.counters["max_rel_diff"] = worst;
  state.counters["plain_max_rel_diff"] = plain;
}

// The single-step baseline: per element, one DGEMV per term on the data in memory at 0-based step `t`:
// y = f0 - F u0 + F u + V v - L a for the force and the same without V for the stress; the selected rows to
// `out`.
void stepBaseline(std::int32_t t, double* out) {
  const char n = 'N';
  const int dofs = shellgrid::kElementDofs, loads = shellgrid::kLoads, one = 1;
  const double plus = 1.0, minus = -1.0;
  const shellgrid::InMemory& data = gShell.data;
  double u[shellgrid::kElementDofs], v[shellgrid::kElementDofs], a[shellgrid::kLoads];
  for (std::int32_t i = 0; i < loads; ++i) a[i] = data.loads[std::size_t(t) * loads + std::size_t(i)];
  std::vector<double> yf, ys;
  for (std::size_t i = 0; i < gShell.elements.size(); ++i) {
    const shellgrid::Tables& tab = data.tables[std::size_t(gShell.elements[i])];
    for (std::int32_t k = 0; k < dofs; ++k) {
      const std::size_t at = std::size_t(tab.rows[std::size_t(k)]) * std::size_t(data.steps) + std::size_t(t);
      u[k] = data.displacement[at];
      v[k] = data.velocity[at];
    }
    const int fr = shellgrid::kForceRows, sr = shellgrid::kStressRows;
    shellgrid::constantTerm(fr, tab.force, tab.forceOffset, tab.reference, yf);
    dgemv_(&n, &fr, &dofs, &plus, tab.force.data(), &fr, u, &one, &plus, yf.data(), &one, 1);
    dgemv_(&n, &fr, &dofs, &plus, tab.velocity.data(), &fr, v, &one, &plus, yf.data(), &one, 1);
    dgemv_(&n, &fr, &loads, &minus, tab.forceLoad.data(), &fr, a, &one, &plus, yf.data(), &one, 1);
    shellgrid::constantTerm(sr, tab.stress, tab.stressOffset, tab.reference, ys);
    dgemv_(&n, &sr, &dofs, &plus, tab.stress.data(), &sr, u, &one, &plus, ys.data(), &one, 1);
    dgemv_(&n, &sr, &loads, &minus, tab.stressLoad.data(), &sr, a, &one, &plus, ys.data(), &one, 1);
    double* block = out + i * shellgrid::kKeyCount;
    block[0] = yf[shellgrid::kForcePositions[0]];
    block[1] = yf[shellgrid::kForcePositions[1]];
    block[2] = ys[shellgrid::kStressPositions[0]];
    block[3] = ys[shellgrid::kStressPositions[1]];
  }
}

// Calls visit(position, size) for each byte range the single-step request reads: the step's column of sections
// 15 and 16 (whole-model vectors) and of section 4, and every element's record whole.
template <class Visit>
void forEachStepRead(std::int32_t t, Visit visit) {
  const MappedFile& f = gShell.file;
  const std::int64_t column = std::int64_t(shellgrid::kModelDofs) * 8;
  visit(f.payload(15) + t * column, column);
  visit(f.payload(16) + t * column, column);
  visit(f.payload(4) + std::int64_t(t) * shellgrid::kLoads * 8, std::int64_t(shellgrid::kLoads) * 8);
  const std::vector<std::int64_t>& records = gShell.layout.elementRecordOffsets;
  for (std::size_t r = 0; r < records.size(); ++r) {
    const std::int64_t end = r + 1 < records.size() ? records[r + 1] : f.size;
    visit(records[r], end - records[r]);
  }
}

// Those bytes copied out of the warm mapping. Returns the bytes copied.
std::int64_t copyStepReads(std::int32_t t, std::vector<unsigned char>& buffer) {
  std::int64_t bytes = 0;
  forEachStepRead(t, [&](std::int64_t at, std::int64_t size) {
    if (std::int64_t(buffer.size()) < size) buffer.resize(std::size_t(size));
    std::memcpy(buffer.data(), gShell.file.view + at, std::size_t(size));
    benchmark::DoNotOptimize(buffer.data());
    bytes += size;
  });
  return bytes;
}

// The same bytes by one positioned read per range, without a mapping.
void preadStepReads(std::int32_t t, std::vector<unsigned char>& buffer) {
  const platform::Calls& os = platform::systemCalls();
  forEachStepRead(t, [&](std::int64_t at, std::int64_t size) {
    if (std::int64_t(buffer.size()) < size) buffer.resize(std::size_t(size));
    os.readAt(gShell.file.handle, at, buffer.data(), size);
    benchmark::DoNotOptimize(buffer.data());
  });
}

// The products of the single-step flow on data in memory: per element, the tile of 64 steps around step `t`
// with the step's operands in their column and zeros elsewhere, c = f0 - F u0 added to every column, and one
// DGEMM per term (F U, V Vdot, L A; S U, M A), as the library forms a step so that it agrees with the history.
void tileProducts(std::int32_t t) {
  constexpr int kTile = 64;
  const char n = 'N';
  const int first = t / kTile * kTile, width = std::min(kTile, gShell.data.steps - first), at = t - first;
  const int dofs = shellgrid::kElementDofs, loads = shellgrid::kLoads;
  const double plus = 1.0, minus = -1.0;
  const shellgrid::InMemory& data = gShell.data;
  std::vector<double> u(std::size_t(dofs) * kTile), v(u.size()), a(std::size_t(loads) * kTile), c;
  std::vector<double> y(std::size_t(shellgrid::kForceRows) * kTile);
  for (std::size_t i = 0; i < gShell.elements.size(); ++i) {
    const shellgrid::Tables& tab = data.tables[std::size_t(gShell.elements[i])];
    std::fill(u.begin(), u.end(), 0.0);
    std::fill(v.begin(), v.end(), 0.0);
    std::fill(a.begin(), a.end(), 0.0);
    for (std::int32_t k = 0; k < dofs; ++k) {
      const std::size_t from = std::size_t(tab.rows[std::size_t(k)]) * std::size_t(data.steps) + std::size_t(t);
      u[std::size_t(at) * dofs + std::size_t(k)] = data.displacement[from];
      v[std::size_t(at) * dofs + std::size_t(k)] = data.velocity[from];
    }
    for (std::int32_t l = 0; l < loads; ++l)
      a[std::size_t(at) * loads + std::size_t(l)] = data.loads[std::size_t(t) * loads + std::size_t(l)];
    auto term = [&](int rows, const shellgrid::Tables& e, bool stress) {
      const std::vector<double>& f = stress ? e.stress : e.force;
      shellgrid::constantTerm(rows, f, stress ? e.stressOffset : e.forceOffset, e.reference, c);
      for (int j = 0; j < width; ++j) std::copy(c.begin(), c.end(), y.begin() + std::ptrdiff_t(j) * rows);
      dgemm_(&n, &n, &rows, &width, &dofs, &plus, f.data(), &rows, u.data(), &dofs, &plus, y.data(), &rows, 1,
             1);
      if (!stress)
        dgemm_(&n, &n, &rows, &width, &dofs, &plus, e.velocity.data(), &rows, v.data(), &dofs, &plus, y.data(),
               &rows, 1, 1);
      const std::vector<double>& l = stress ? e.stressLoad : e.forceLoad;
      dgemm_(&n, &n, &rows, &width, &loads, &minus, l.data(), &rows, a.data(), &loads, &plus, y.data(), &rows,
             1, 1);
      benchmark::DoNotOptimize(y.data());
    };
    term(shellgrid::kForceRows, tab, false);
    term(shellgrid::kStressRows, tab, true);
  }
}

// All 2,000 shells, 4 keys, at step steps / 2, against one DGEMV per term on the data in memory; the breakdown
// (the reads alone, from a warm mapping and by positioned reads, and the 64-column products alone) runs in the
// same iteration.
void BM_ElementStep(benchmark::State& state) {
  if (!shellReady(state)) return;
  const std::int32_t stepNumber = gShellSteps / 2, t = stepNumber - 1;
  const std::size_t length = gShell.elements.size() * shellgrid::kKeyCount;
  std::vector<double> result(length, 1.0), reference(length, 1.0);
  std::vector<unsigned char> buffer;
  Pair pair;
  double memcpySeconds = 0, preadSeconds = 0, tileSeconds = 0;
  std::int64_t bytes = 0;
  timePair(
      state, [&] { return shellRequest(stepNumber, result) == 0; }, [&] { stepBaseline(t, reference.data()); },
      pair,
      [&] {
        const Clock::time_point t0 = Clock::now();
        bytes = copyStepReads(t, buffer);
        const Clock::time_point t1 = Clock::now();
        preadStepReads(t, buffer);
        const Clock::time_point t2 = Clock::now();
        tileProducts(t);
        const Clock::time_point t3 = Clock::now();
        memcpySeconds += std::chrono::duration<double>(t1 - t0).count();
        preadSeconds += std::chrono::duration<double>(t2 - t1).count();
        tileSeconds += std::chrono::duration<double>(t3 - t2).count();
      });
  const double worst = largestDifference(result, reference), plain = plainCheck(result, 1, t);
  if (worst > 1e-11 || plain > 1e-11) state.SkipWithError("the request and the baseline disagree");
  report(state, pair);
  const double n = std::max<double>(1.0, static_cast<double>(state.iterations()));
  state.counters["read_memcpy_us"] = 1e6 * memcpySeconds / n;
  state.counters["read_pread_us"] = 1e6 * preadSeconds / n;
  state.counters["tile_products_us"] = 1e6 * tileSeconds / n;
  state.counters["read_MB"] = double(bytes) / 1e6;
  // What the request would take if it did nothing but the memcpy and the tiled products: its share of the time.
  state.counters["memcpy_and_tiles_share"] = (memcpySeconds + tileSeconds) / pair.requestSeconds;
  state.counters["max_rel_diff"] = worst;
  state.counters["plain_max_rel_diff"] = plain;
}

// ---- peak anonymous memory: the same requests on a ~1 GB file and on a ~8.6 GB one ----
// The large file holds the compact file's bytes with everything after the file header moved kHole further on
// (section table entries and directory offsets moved with it), the hole left sparse: 1 GB of disk.
constexpr std::int64_t kHole = std::int64_t(7) << 30;  // 7 GiB
constexpr std::int32_t kMemoryNodes = 100;

struct MemoryFiles {
  std::string compact, sparse;  // sparse is empty when the large file is off or could not be made sparse
  std::int64_t compactSize = 0, sparseSize = 0;
};

MemoryFiles gMemory;

std::int64_t readI64(const std::vector<std::uint8_t>& b, std::size_t at) {
  std::uint64_t v = 0;
  for (int k = 7; k >= 0; --k) v = (v << 8) | b[at + std::size_t(k)];
  return static_cast<std::int64_t>(v);
}

// Writes the copy of `from` moved by kHole after the file header into `to`. Throws std::runtime_error when a
// read or write fails.
void writeMovedCopy(const std::string& from, const std::string& to, const kernelwriter::Layout& layout) {
  std::ifstream in(from, std::ios::binary);
  std::ofstream out(to, std::ios::binary | std::ios::trunc);
  std::vector<std::uint8_t> header(kernelwriter::kFileHeaderSize);
  in.read(reinterpret_cast<char*>(header.data()), kernelwriter::kFileHeaderSize);
  for (int s = 0; s < kernelwriter::kSectionCount; ++s) {
    if (layout.sectionPositions[std::size_t(s)] >= 0)
      kernelwriter::putI64(header, 4 + 8 * s, layout.sectionPositions[std::size_t(s)] + kHole);
  }
  out.write(reinterpret_cast<const char*>(header.data()), kernelwriter::kFileHeaderSize);
  out.seekp(kHole + kernelwriter::kFileHeaderSize);
  std::vector<char> chunk(std::size_t(1) << 20);
  while (in.read(chunk.data(), std::streamsize(chunk.size())) || in.gcount() > 0)
    out.write(chunk.data(), in.gcount());
  // Each directory: the IDs (4 bytes each) and then the record offsets (8 bytes each).
  auto moveOffsets = [&](int section, std::size_t count) {
    const std::int64_t at = layout.sectionPositions[std::size_t(section)] + kernelwriter::kSectionHeaderSize +
                            4 * std::int64_t(count);
    std::vector<std::uint8_t> offsets(8 * count);
    in.clear();
    in.seekg(at);
    in.read(reinterpret_cast<char*>(offsets.data()), std::streamsize(offsets.size()));
    for (std::size_t i = 0; i < count; ++i)
      kernelwriter::putI64(offsets, std::int64_t(8 * i), readI64(offsets, 8 * i) + kHole);
    out.seekp(kHole + at);
    out.write(reinterpret_cast<const char*>(offsets.data()), std::streamsize(offsets.size()));
  };
  moveOffsets(kernelwriter::kNodeDirectory, layout.nodeRecordOffsets.size());
  moveOffsets(kernelwriter::kElementDirectory, layout.elementRecordOffsets.size());
  if (!in || !out) throw std::runtime_error("cannot write the moved copy " + to);
}

// Writes the memory file and its sparse copy, on the first memory row that runs. The copy is left out (and the
// rows measure the compact file alone) when the file system does not keep holes.
bool memoryReady(benchmark::State& state) {
  static int ready = -1;
  return preparedOnce(ready, state, "the memory files could not be written", [] {
    gMemory.compact = scratchPath("memory");
    std::fprintf(stderr, "writing %s ...\n", gMemory.compact.c_str());
    const kernelwriter::Layout layout = shellgrid::shellFile(gMemorySteps, false, true).write(gMemory.compact);
    gMemory.compactSize = layout.fileSize;
    if (!gLargeMemoryFile) return true;
    gMemory.sparse = scratchPath("memory_sparse");
    const Clock::time_point start = Clock::now();
    writeMovedCopy(gMemory.compact, gMemory.sparse, layout);
    struct stat st;
    if (::stat(gMemory.sparse.c_str(), &st) != 0 || std::int64_t(st.st_blocks) * 512 > 2 * layout.fileSize) {
      std::fprintf(stderr, "the file system does not keep holes: no 8.6 GB file\n");
      std::error_code ignored;
      std::filesystem::remove(gMemory.sparse, ignored);
      gMemory.sparse.clear();
    } else {
      gMemory.sparseSize = st.st_size;
      std::fprintf(stderr, "%.2f GB sparse copy written in %.1f s\n", double(st.st_size) / 1e9,
                   std::chrono::duration<double>(Clock::now() - start).count());
    }
    return true;
  });
}

// What one measuring process reports.
struct Figures {
  long long anonBefore = -1, anonAfter = -1;
  long long heapFree = -1;  // free bytes in the heap just before the call
  int status = -1;
  double worst = 1.0;
};

// The request of a memory row: 'n' the nodal history of 100 nodes x 6 keys, 'e' the element history of all
// shells; all steps. Fills ids, keys and flags.
void memoryRequest(char kind, std::vector<std::int32_t>& ids, const std::int32_t*& keys, std::int32_t& keyCount,
                   std::int32_t& flags) {
  ids.clear();
  if (kind == 'e') {
    for (std::int32_t e = 0; e < shellgrid::kElements; ++e) ids.push_back(shellgrid::elementId(e));
    keys = shellgrid::kKeys;
    keyCount = shellgrid::kKeyCount;
    flags = 1;
  } else {
    for (std::int32_t i = 0; i < kMemoryNodes; ++i)
      ids.push_back(shellgrid::nodeId(i * (shellgrid::kNodes / kMemoryNodes)));
    keys = kHistoryKeys;
    keyCount = kDofsPerNode;
    flags = 0;
  }
}

// Runs in a process of its own (the program started again with --tk_memory_child=<kind>,<steps>,<path>): one
// memory row's request on one file, measured as the header comment says, then checked; prints the figures.
int memoryChild(const std::string& argument) {
  // Nothing the allocator takes is given back to the system from here on, so what the call touched stays
  // counted.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  const std::size_t comma = argument.find(','), second = argument.find(',', comma + 1);
  if (argument.empty() || comma == std::string::npos || second == std::string::npos) return 2;
  const char kind = argument[0];
  const std::int32_t steps = std::atoi(argument.c_str() + comma + 1);
  const std::string path = argument.substr(second + 1);
  std::vector<std::int32_t> ids;
  const std::int32_t* keys = nullptr;
  std::int32_t keyCount = 0, flags = 0;
  memoryRequest(kind, ids, keys, keyCount, flags);
  const std::size_t rows = std::size_t(keyCount) * std::size_t(steps);
  std::vector<double> result(ids.size() * rows, 1.0);  // allocated and touched before the measurement
  // The BLAS library sets up its buffers on its first product; a host has done that long before. The operands
  // stay allocated until the end, so that the call cannot reuse their memory unseen.
  const char n = 'N';
  const int m = shellgrid::kForceRows, w = 64, k = shellgrid::kElementDofs;
  const double one = 1.0;
  std::vector<double> a(std::size_t(m) * k, 0.5), b(std::size_t(k) * w, 0.25), c(std::size_t(m) * w, 0.0);
  dgemm_(&n, &n, &m, &w, &k, &one, a.data(), &m, b.data(), &k, &one, c.data(), &m, 1, 1);
  Figures f;
  // Free memory already in the heap could serve the call without showing in RssAnon: this bounds that error.
  f.heapFree = static_cast<long long>(mallinfo2().fordblks);
  f.anonBefore = benchsupport::statusBytes("RssAnon");
  f.status = TimeKernelOutputResult(path.c_str(), flags, ids.data(), std::int32_t(ids.size()), keys, keyCount, 0, 0,
                                    result.data(), std::int32_t(result.size()));
  f.anonAfter = benchsupport::statusBytes("RssAnon");
  if (f.status != 0) std::fprintf(stderr, "the request failed: %s\n", TimeKernelLastError());
  // The answer against the closed forms.
  double worst = 0.0;
  for (std::size_t i = 0; i < ids.size(); i += kind == 'e' ? 97 : 7) {
    const shellgrid::Tables t = kind == 'e' ? shellgrid::tablesOf(std::int32_t(i)) : shellgrid::Tables{};
    for (std::int32_t s = 0; s < steps; s += 173) {
      for (std::int32_t r = 0; r < keyCount; ++r) {
        const double got = result[i * rows + std::size_t(s) * std::size_t(keyCount) + std::size_t(r)];
        const std::int64_t dof = std::int64_t(ids[i] - shellgrid::kFirstNodeId) * kDofsPerNode + r;
        const double want = kind == 'e'
                                ? shellgrid::plainKeyValue(t, r, s)
                                : shellgrid::displacementValue(s, dof) - shellgrid::initialDisplacement(dof);
        worst = std::max(worst, shellgrid::relativeDifference(got, want));
      }
    }
  }
  f.worst = worst;
  std::printf("%lld %lld %lld %d %.6g\n", f.anonBefore, f.anonAfter, f.heapFree, f.status, f.worst);
  return 0;
}

// Starts this program again as a measuring process on `path` and reads its figures. False when it cannot.
bool measureInChild(char kind, const std::string& path, Figures& f) {
  int channel[2];
  if (pipe(channel) != 0) return false;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, channel[1], 1);
  posix_spawn_file_actions_addclose(&actions, channel[0]);
  posix_spawn_file_actions_addclose(&actions, channel[1]);
  std::string name = "bench_requests";
  std::string arg = std::string("--tk_memory_child=") + kind + "," + std::to_string(gMemorySteps) + "," + path;
  char* args[] = {name.data(), arg.data(), nullptr};
  pid_t child = -1;
  const int spawned = posix_spawn(&child, "/proc/self/exe", &actions, nullptr, args, environ);
  posix_spawn_file_actions_destroy(&actions);
  close(channel[1]);
  std::string text;
  char buffer[256];
  ssize_t got = 0;
  while (spawned == 0 && (got = read(channel[0], buffer, sizeof buffer)) > 0)
    text.append(buffer, std::size_t(got));
  close(channel[0]);
  int status = 1;
  if (spawned == 0) waitpid(child, &status, 0);
  return spawned == 0 && status == 0 &&
         std::sscanf(text.c_str(), "%lld %lld %lld %d %lg", &f.anonBefore, &f.anonAfter, &f.heapFree, &f.status,
                     &f.worst) == 5;
}

// Peak anonymous memory of one request on the ~1 GB file and on the ~8.6 GB one, each in a new process.
void BM_PeakAnonMemory(benchmark::State& state, char kind) {
  if (!memoryReady(state)) return;
  Figures compact, sparse;
  for (auto _ : state) {
    if (!measureInChild(kind, gMemory.compact, compact) ||
        (!gMemory.sparse.empty() && !measureInChild(kind, gMemory.sparse, sparse))) {
      state.SkipWithError("the measuring process failed");
      return;
    }
  }
  if (compact.status != 0 || (!gMemory.sparse.empty() && sparse.status != 0)) {
    state.SkipWithError("the request failed");
    return;
  }
  if (compact.worst > 1e-11 || (!gMemory.sparse.empty() && sparse.worst > 1e-11)) {
    state.SkipWithError("wrong values");
    return;
  }
  std::vector<std::int32_t> ids;
  const std::int32_t* keys = nullptr;
  std::int32_t keyCount = 0, flags = 0;
  memoryRequest(kind, ids, keys, keyCount, flags);
  const double compactKB = double(compact.anonAfter - compact.anonBefore) / 1024.0;
  state.counters["file_GB"] = double(gMemory.compactSize) / 1e9;
  state.counters["anon_kB"] = compactKB;
  state.counters["heap_free_kB"] = double(std::max(compact.heapFree, sparse.heapFree)) / 1024.0;
  if (!gMemory.sparse.empty()) {
    const double sparseKB = double(sparse.anonAfter - sparse.anonBefore) / 1024.0;
    state.counters["large_file_GB"] = double(gMemory.sparseSize) / 1e9;
    state.counters["large_anon_kB"] = sparseKB;
    state.counters["difference_kB"] = sparseKB - compactKB;
  }
  state.counters["result_MB"] = double(ids.size()) * keyCount * gMemorySteps * 8 / 1e6;
  state.counters["max_rel_diff"] =
      gMemory.sparse.empty() ? compact.worst : std::max(compact.worst, sparse.worst);
}

BENCHMARK(BM_OneValue)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Snapshot)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_History)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Envelope)->Arg(1)->Arg(10)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandleOneValue)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandleSnapshot)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandleHistory)->Arg(1)->Arg(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandleEnvelope)->Arg(1)->Arg(10)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ElementHistory)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ElementStep)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PeakAnonMemory, nodal, 'n')->Iterations(1)->Repetitions(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PeakAnonMemory, element, 'e')
    ->Iterations(1)
    ->Repetitions(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  runBlasOnOneThread(argv);
  if (argc == 2 && std::strncmp(argv[1], "--tk_memory_child=", 18) == 0) return memoryChild(argv[1] + 18);
  // Our own flags first; Google Benchmark refuses flags it does not know.
  int kept = 1;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg.rfind("--tk_nodes=", 0) == 0) {
      kNodes = std::max(10, std::atoi(arg.c_str() + 11));
    } else if (arg.rfind("--tk_steps=", 0) == 0) {
      kSteps = std::max(2, std::atoi(arg.c_str() + 11));
    } else if (arg.rfind("--tk_shell_steps=", 0) == 0) {
      gShellSteps = std::max(2, std::atoi(arg.c_str() + 17));
    } else if (arg.rfind("--tk_memory_steps=", 0) == 0) {
      gMemorySteps = std::max(2, std::atoi(arg.c_str() + 18));
    } else if (arg == "--tk_no_8gb") {
      gLargeMemoryFile = false;
    } else {
      argv[kept++] = argv[i];
    }
  }
  argc = kept;
  kDofs = kNodes * kDofsPerNode;
  kOneStep = kSteps / 2;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  int status = 0;
  try {
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    status = 1;
  }
  TimeKernelClose(gHandle);
  release(gNodal);
  release(gShell.file);
  std::error_code ignored;
  for (const std::string& path : {gMemory.compact, gMemory.sparse})
    if (!path.empty()) std::filesystem::remove(path, ignored);
  benchmark::Shutdown();
  return status;
}
