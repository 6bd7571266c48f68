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

#include "cycle/OutputRequest.h"
#include "cycle/TheKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "base/Blas.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::int32_t kGridX = 50, kGridY = 40;
constexpr std::int32_t kElements = kGridX * kGridY;
constexpr std::int32_t kNodesX = kGridX + 1, kNodesY = kGridY + 1;
constexpr std::int32_t kDofsPerNode = 6;
constexpr std::int32_t kModelDofs = kNodesX * kNodesY * kDofsPerNode;
constexpr std::int32_t kSteps = 10000;
constexpr std::int32_t kLoads = 2;
constexpr std::int32_t kElementDofs = 24;
constexpr std::int32_t kForceRows = 70, kStressRows = 60;  // 14 x 5 and 6 x 10
constexpr std::int32_t kForceComponents = 14, kForcePoints = 5, kStressComponents = 6, kStressPoints = 10;

// Response ids and the result rows they name (position = location * components + index).
constexpr std::int32_t kKeyCount = 4;
constexpr std::int32_t kKeys[kKeyCount] = {419101, 200000000 + 410406, 412101, 900000000 + 412154};
constexpr std::int32_t kForcePositions[2] = {0, 2 * kForceComponents + 9};
constexpr std::int32_t kStressPositions[2] = {0, 9 * kStressComponents + 5};

constexpr double kFlopsPerElementStep = 2.0 * kElementDofs * (kForceRows + kForceRows + kStressRows) +
                                        2.0 * kLoads * (kForceRows + kStressRows) + (kForceRows + kStressRows);

std::int32_t elementId(std::int32_t e) { return 1 + e; }

// The 24 rows of element e: its four corner nodes, six each.
std::vector<std::uint32_t> dofRowsOf(std::int32_t e) {
  const std::int32_t x = e % kGridX, y = e / kGridX;
  const std::int32_t corners[4] = {y * kNodesX + x, y * kNodesX + x + 1, (y + 1) * kNodesX + x + 1,
                                   (y + 1) * kNodesX + x};
  std::vector<std::uint32_t> rows;
  for (std::int32_t n : corners)
    for (std::int32_t j = 0; j < kDofsPerNode; ++j) rows.push_back(std::uint32_t(n * kDofsPerNode + j));
  return rows;
}

double displacementValue(std::int64_t step, std::int64_t dof) {
  return 1.0e-3 * double(dof % 997) + 1.0e-6 * double(step % 1009) - 0.5;
}
double velocityValue(std::int64_t step, std::int64_t dof) {
  return 2.0e-3 * double(dof % 991) - 1.0e-6 * double(step % 1013);
}
double loadValue(std::int64_t load, std::int64_t step) {
  return std::sin(1.0e-3 * double(step) + double(load));
}

std::vector<double> tableValues(std::int32_t rows, std::int32_t cols, std::int32_t seed) {
  std::vector<double> v(std::size_t(rows) * std::size_t(cols));
  for (std::size_t k = 0; k < v.size(); ++k) v[k] = std::sin(0.37 * double(k) + 1.7 * double(seed));
  return v;
}

// One element's tables, column-major, as written to the file and as the baseline uses them.
struct Tables {
  std::vector<std::uint32_t> rows;
  std::vector<double> force, stress, velocity, forceLoad, stressLoad, forceOffset, stressOffset, reference;
};

Tables tablesOf(std::int32_t e) {
  Tables t;
  t.rows = dofRowsOf(e);
  const std::int32_t s = 16 * e;
  t.force = tableValues(kForceRows, kElementDofs, s + 1);
  t.stress = tableValues(kStressRows, kElementDofs, s + 2);
  t.velocity = tableValues(kForceRows, kElementDofs, s + 3);
  t.forceLoad = tableValues(kForceRows, kLoads, s + 4);
  t.stressLoad = tableValues(kStressRows, kLoads, s + 5);
  t.forceOffset = tableValues(kForceComponents, kForcePoints, s + 6);
  t.stressOffset = tableValues(kStressComponents, kStressPoints, s + 7);
  t.reference = tableValues(kElementDofs, 1, s + 8);
  return t;
}

struct BenchState {
  std::string path;
  std::int64_t fileSize = 0;
  // The baseline's data, built on first use: both histories in the file's order, dof after dof.
  std::vector<double> displacement, velocity;  // [dof * kSteps + step]
  std::vector<double> loads;                   // [step * kLoads + load], as section 4
  std::vector<Tables> tables;
};

BenchState gBench;

void writeFile() {
  kernelwriter::KernelFile f;
  f.setMatrix(21, kSteps, kModelDofs, displacementValue);
  f.setMatrix(22, kSteps, kModelDofs, velocityValue);
  f.setMatrix(4, kLoads, kSteps, [](std::int64_t load, std::int64_t step) { return loadValue(load, step); });
  for (std::int32_t e = 0; e < kElements; ++e) {
    const Tables t = tablesOf(e);
    kernelwriter::ElementRecord r = kernelwriter::ElementRecord::make(645, t.rows);
    r.forceRecovery = kernelwriter::Table::matrix(kForceRows, kElementDofs, t.force);
    r.stressRecovery = kernelwriter::Table::matrix(kStressRows, kElementDofs, t.stress);
    r.velocityForce = kernelwriter::Table::matrix(kForceRows, kElementDofs, t.velocity);
    r.forceLoad = kernelwriter::Table::matrix(kForceRows, kLoads, t.forceLoad);
    r.stressLoad = kernelwriter::Table::matrix(kStressRows, kLoads, t.stressLoad);
    r.forceOffset = kernelwriter::Table::matrix(kForceComponents, kForcePoints, t.forceOffset);
    r.stressOffset = kernelwriter::Table::matrix(kStressComponents, kStressPoints, t.stressOffset);
    r.setReference(t.reference);
    r.forceRotation = kernelwriter::Table::matrix(3, 3, tableValues(3, 3, 9));
    r.stressRotation = kernelwriter::Table::matrix(6, 6, tableValues(6, 6, 10));
    f.addElement(elementId(e), r);
  }
  gBench.fileSize = f.write(gBench.path).fileSize;
}

void loadBaselineData() {
  if (!gBench.tables.empty()) return;
  gBench.displacement.resize(std::size_t(kModelDofs) * kSteps);
  gBench.velocity.resize(std::size_t(kModelDofs) * kSteps);
  for (std::int64_t d = 0; d < kModelDofs; ++d) {
    for (std::int64_t t = 0; t < kSteps; ++t) {
      gBench.displacement[std::size_t(d * kSteps + t)] = displacementValue(t, d);
      gBench.velocity[std::size_t(d * kSteps + t)] = velocityValue(t, d);
    }
  }
  gBench.loads.resize(std::size_t(kLoads) * kSteps);
  for (std::int64_t t = 0; t < kSteps; ++t)
    for (std::int64_t i = 0; i < kLoads; ++i) gBench.loads[std::size_t(t * kLoads + i)] = loadValue(i, t);
  for (std::int32_t e = 0; e < kElements; ++e) gBench.tables.push_back(tablesOf(e));
}

// `count` elements spread evenly over the grid.
std::vector<std::int32_t> chosenElements(std::int32_t count) {
  std::vector<std::int32_t> elements;
  for (std::int32_t i = 0; i < count; ++i) elements.push_back(i * (kElements / count));
  return elements;
}

// Y (rows x kSteps) = c + F U + [V Vdot] - L A, with U and Vdot given transposed (kSteps x 24, one history row
// per column, as copied out of the histories). `productSeconds` accumulates the time of the products alone.
void baselineTerm(std::int32_t rows, const std::vector<double>& f, const std::vector<double>& offset,
                  const std::vector<double>& reference, const std::vector<double>* v,
                  const std::vector<double>& l, const double* ut, const double* vt, std::vector<double>& c,
                  std::vector<double>& y, double& productSeconds) {
  const Clock::time_point start = Clock::now();
  const char n = 'N', t = 'T';
  const int m = rows, steps = kSteps, k = kElementDofs, loads = kLoads, one = 1;
  const double plus = 1.0, minus = -1.0;
  c.assign(offset.begin(), offset.end());
  dgemv_(&n, &m, &k, &minus, f.data(), &m, reference.data(), &one, &plus, c.data(), &one, 1);
  for (std::int32_t j = 0; j < kSteps; ++j) std::copy(c.begin(), c.end(), y.begin() + std::ptrdiff_t(j) * rows);
  dgemm_(&n, &t, &m, &steps, &k, &plus, f.data(), &m, ut, &steps, &plus, y.data(), &m, 1, 1);
  if (v != nullptr) dgemm_(&n, &t, &m, &steps, &k, &plus, v->data(), &m, vt, &steps, &plus, y.data(), &m, 1, 1);
  dgemm_(&n, &n, &m, &steps, &loads, &minus, l.data(), &m, gBench.loads.data(), &loads, &plus, y.data(), &m, 1,
         1);
  productSeconds += std::chrono::duration<double>(Clock::now() - start).count();
}

void baseline(const std::vector<std::int32_t>& elements, double* out, double& productSeconds) {
  std::vector<double> ut(std::size_t(kSteps) * kElementDofs), vt(ut.size()), c;
  std::vector<double> yf(std::size_t(kForceRows) * kSteps), ys(std::size_t(kStressRows) * kSteps);
  const std::size_t rowBytes = std::size_t(kSteps) * sizeof(double);
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const Tables& t = gBench.tables[std::size_t(elements[i])];
    for (std::size_t k = 0; k < t.rows.size(); ++k) {
      std::memcpy(&ut[k * kSteps], &gBench.displacement[std::size_t(t.rows[k]) * kSteps], rowBytes);
      std::memcpy(&vt[k * kSteps], &gBench.velocity[std::size_t(t.rows[k]) * kSteps], rowBytes);
    }
    baselineTerm(kForceRows, t.force, t.forceOffset, t.reference, &t.velocity, t.forceLoad, ut.data(),
                 vt.data(), c, yf, productSeconds);
    baselineTerm(kStressRows, t.stress, t.stressOffset, t.reference, nullptr, t.stressLoad, ut.data(), nullptr,
                 c, ys, productSeconds);
    double* block = out + i * std::size_t(kKeyCount) * kSteps;
    for (std::int32_t s = 0; s < kSteps; ++s) {
      double* column = block + std::size_t(s) * kKeyCount;
      column[0] = yf[std::size_t(s) * kForceRows + kForcePositions[0]];
      column[1] = yf[std::size_t(s) * kForceRows + kForcePositions[1]];
      column[2] = ys[std::size_t(s) * kStressRows + kStressPositions[0]];
      column[3] = ys[std::size_t(s) * kStressRows + kStressPositions[1]];
    }
  }
}

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
  loadBaselineData();
  const std::vector<std::int32_t> elements = chosenElements(std::int32_t(state.range(0)));
  const std::size_t length = elements.size() * kKeyCount * kSteps;
  // Both arrays are touched before the timing starts, so neither pays for its first page faults.
  std::vector<double> result(length, 1.0), reference(length, 1.0);
  double requestSeconds = 0.0, baselineSeconds = 0.0, productSeconds = 0.0;
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    const std::int32_t status = request(elements, result);
    const Clock::time_point middle = Clock::now();
    baseline(elements, reference.data(), productSeconds);
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
  for (std::size_t k = 0; k < length; ++k)
    worst = std::max(worst, std::abs(result[k] - reference[k]) / (1.0 + std::abs(reference[k])));
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

// A line "<name>: <n> kB" of /proc/self/status, in bytes; -1 when absent.
std::int64_t statusBytes(const char* name) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const std::size_t length = std::strlen(name);
  while (std::getline(status, line)) {
    if (line.compare(0, length, name) == 0 && line.size() > length && line[length] == ':')
      return 1024 * std::atoll(line.c_str() + length + 1);
  }
  return -1;
}

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
  // The BLAS library reads its thread count when it is loaded, before main: set it and start again.
  if (std::getenv("OPENBLAS_NUM_THREADS") == nullptr) {
    setenv("OPENBLAS_NUM_THREADS", "1", 1);
    execv("/proc/self/exe", argv);
    std::fprintf(stderr, "cannot restart with OPENBLAS_NUM_THREADS=1; BLAS may use several threads\n");
  }
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
