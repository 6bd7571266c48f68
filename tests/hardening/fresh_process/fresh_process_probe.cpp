// A call keeps nothing: the same requests give the same doubles in a fresh process and after unrelated calls on
// other files.
//
// ctest runs this program twice, each time as a new process:
//
//   fresh_process_probe fresh VALUES
//       writes the files, runs the requests with no call before them, checks the values and stores the result
//       and every double of every answer in VALUES;
//   fresh_process_probe after VALUES
//       first makes unrelated calls on another file (a bar with a velocity table), then runs the same requests
//       and compares every double with VALUES.
//
// The requests ask for a bar whose record ends early: its stress table claims 16,500 rows that lie past the end
// of the file, further than one call may lengthen it, so that read is dropped and the record stops there. Its
// velocity table, which follows, is never read. The bar has no velocity term (nothing of the file gives it one,
// and the file lengthened as far as needed would read an empty table there), so the forces are
// F (u - u0) + f0 - L a. A table left in the process by an earlier call would add V v to them.
//
// The program writes its files into the working directory with relative names, and uses no process creation,
// so that it runs the same wherever ctest can run a test program.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "kernelwriter/KernelWriter.h"

namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Table;

constexpr std::int32_t kDofs = 12, kSteps = 4, kLoads = 2;
constexpr std::int32_t kModes = 6000;  // the mode shapes also make the file large enough for the stress table
constexpr std::int32_t kBarId = 31;
constexpr std::uint32_t kClaimedStressRows = 11 * 1500;  // 1.58 MB of values behind the record's end
const char* const kRecordFile = "fresh_process_record.kernel";
const char* const kOtherFile = "fresh_process_other.kernel";

// Force keys of a bar at end A (location 1) and end B (location 2), and the rows of the force table they take:
// the six force codes 140402, 140403, 140404, 140406, 140407, 140408 are rows 0..5 of an end.
const std::vector<std::int32_t> kKeys = {100140402, 100140403, 100140408, 200140402, 200140406, 200140408};
const std::int32_t kKeyRows[] = {0, 1, 5, 6, 9, 11};

double wave(std::int64_t i, std::int32_t seed) {
  return std::sin(0.37 * double(i) + 0.11 * seed) + 0.05 * seed;
}

std::vector<double> waves(std::int64_t n, std::int32_t seed) {
  std::vector<double> v(static_cast<std::size_t>(n));
  for (std::int64_t i = 0; i < n; ++i) v[static_cast<std::size_t>(i)] = wave(i, seed);
  return v;
}

// The numbers of the record file, as the writer puts them.
struct Model {
  std::vector<double> u = waves(kDofs * kSteps, 1);                 // u[d + dofs * t]: by step (section 15)
  std::vector<double> v = waves(kDofs * kSteps, 2);                 // velocities, the same layout (section 16)
  std::vector<double> q = waves(std::int64_t(kModes) * kSteps, 3);  // q[m + modes * t] (section 18)
  std::vector<double> qdot = waves(std::int64_t(kModes) * kSteps, 4);  // (section 19)
  std::vector<double> a = waves(kLoads * kSteps, 5);                   // a[i + loads * t] (section 4)
  std::vector<double> F = waves(kDofs * kDofs, 6);                     // force table, column-major
  std::vector<double> f0 = waves(kDofs, 7);                            // one offset per table row
  std::vector<double> L = waves(kDofs * kLoads, 8);                    // load table
  std::vector<double> u0 = waves(kDofs, 9);                            // reference displacement

  double phi(std::int32_t d, std::int32_t m) const { return std::cos(0.21 * d + 0.013 * m) + 0.2; }
};

std::vector<double> byDof(const std::vector<double>& byStep, std::int32_t rows, std::int32_t cols) {
  std::vector<double> out(byStep.size());
  for (std::int32_t r = 0; r < rows; ++r)
    for (std::int32_t c = 0; c < cols; ++c)
      out[std::size_t(c) + std::size_t(cols) * r] = byStep[std::size_t(r) + std::size_t(rows) * c];
  return out;
}

std::vector<double> modeShapes(const Model& m) {
  std::vector<double> phi(std::size_t(kDofs) * kModes);
  for (std::int32_t mode = 0; mode < kModes; ++mode)
    for (std::int32_t d = 0; d < kDofs; ++d) phi[std::size_t(d) + std::size_t(kDofs) * mode] = m.phi(d, mode);
  return phi;
}

std::vector<std::uint32_t> allDofs() {
  std::vector<std::uint32_t> rows;
  for (std::uint32_t d = 0; d < std::uint32_t(kDofs); ++d) rows.push_back(d);
  return rows;
}

void writeRecordFile(const Model& m) {
  KernelFile f;
  f.setMatrix(0, kDofs, kModes, modeShapes(m));
  f.setMatrix(4, kLoads, kSteps, std::vector<double>(m.a));
  f.setMatrix(15, kDofs, kSteps, std::vector<double>(m.u));
  f.setMatrix(16, kDofs, kSteps, std::vector<double>(m.v));
  f.setMatrix(21, kSteps, kDofs, byDof(m.u, kDofs, kSteps));
  f.setMatrix(22, kSteps, kDofs, byDof(m.v, kDofs, kSteps));
  f.setMatrix(18, kModes, kSteps, std::vector<double>(m.q));
  f.setMatrix(19, kModes, kSteps, std::vector<double>(m.qdot));
  f.setMatrix(24, kSteps, kModes, byDof(m.q, kModes, kSteps));
  f.setMatrix(25, kSteps, kModes, byDof(m.qdot, kModes, kSteps));
  ElementRecord bar = ElementRecord::make(583, allDofs());
  bar.forceRecovery = Table::matrix(kDofs, kDofs, m.F);
  bar.forceOffset = Table::matrix(kDofs, 1, m.f0);
  bar.forceLoad = Table::matrix(kDofs, kLoads, m.L);
  bar.setReference(m.u0);
  // The record ends here: a stress table whose values are not written. Records come last in the file, so the
  // values it claims lie past the end.
  bar.stressRecovery.rows = kClaimedStressRows;
  bar.stressRecovery.cols = kDofs;
  f.addElement(kBarId, bar);
  f.write(kRecordFile);
}

// Another model: a bar with a velocity table, and a node.
void writeOtherFile() {
  constexpr std::int32_t steps = 3;
  KernelFile f;
  const std::vector<double> u = waves(kDofs * steps, 21), v = waves(kDofs * steps, 22);
  f.setMatrix(4, kLoads, steps, waves(kLoads * steps, 23));
  f.setMatrix(15, kDofs, steps, std::vector<double>(u));
  f.setMatrix(16, kDofs, steps, std::vector<double>(v));
  f.setMatrix(21, steps, kDofs, byDof(u, kDofs, steps));
  f.setMatrix(22, steps, kDofs, byDof(v, kDofs, steps));
  f.setMatrix(8, kDofs, 1, waves(kDofs, 24));
  f.setMatrix(9, kDofs, 1, waves(kDofs, 25));
  f.setMatrix(10, kDofs, 1, waves(kDofs, 26));
  ElementRecord bar = ElementRecord::make(583, allDofs());
  bar.forceRecovery = Table::matrix(kDofs, kDofs, waves(kDofs * kDofs, 27));
  bar.velocityForce = Table::matrix(kDofs, kDofs, waves(kDofs * kDofs, 28));
  bar.stressRecovery = Table::matrix(22, kDofs, waves(22 * kDofs, 29));
  f.addElement(7, bar);
  f.addNode(8, kernelwriter::NodeRecord::make({0, 1, 2}, {-999, -998, -997}));
  f.write(kOtherFile);
}

// The unrelated calls: every one must succeed.
bool unrelatedCalls() {
  bool ok = true;
  std::int32_t ids[4] = {0, 0, 0, 0};
  std::int32_t count = 4;
  ok = TimeKernelElementID(kOtherFile, ids, &count) == 0 && ok;
  const std::int32_t bar = 7, node = 8;
  const std::int32_t keys[] = {100140402, 200140407, 100142101};
  std::vector<double> result(9, 0.0);
  ok = TimeKernelOutputResult(kOtherFile, 1, &bar, 1, keys, 3, 0, 2, result.data(), 3) == 0 && ok;
  ok = TimeKernelOutputResult(kOtherFile, 1, &bar, 1, keys, 3, 0, 0, result.data(), 9) == 0 && ok;
  const std::int32_t nodal[] = {102, 203};
  ok = TimeKernelOutputResult(kOtherFile, 0, &node, 1, nodal, 2, 0, 0, result.data(), 6) == 0 && ok;
  return ok;
}

struct Request {
  std::string name;
  std::int32_t flags, mode, step;  // step 0: all steps
  bool checked;                    // whether its values are worked out here
};

// The force of table row `row` at step t, formed here from the writer's arrays: F (u - u0) + f0 - L a, or under
// flag 4 with the mode's contribution phi_m q_m(t) in place of u and no load term.
double expectedForce(const Model& m, std::int32_t row, std::int32_t t, bool modal, std::int32_t mode) {
  double y = 0.0;
  for (std::int32_t c = 0; c < kDofs; ++c) {
    const double u = modal ? m.phi(c, mode) * m.q[std::size_t(mode) + std::size_t(kModes) * t]
                           : m.u[std::size_t(c) + std::size_t(kDofs) * t];
    y += m.F[std::size_t(row) + std::size_t(kDofs) * c] * (u - m.u0[std::size_t(c)]);
  }
  y += m.f0[std::size_t(row)];
  if (!modal) {
    for (std::int32_t i = 0; i < kLoads; ++i)
      y -= m.L[std::size_t(row) + std::size_t(kDofs) * i] * m.a[std::size_t(i) + std::size_t(kLoads) * t];
  }
  return y;
}

bool close(double got, double want) { return std::fabs(got - want) <= 1e-12 * std::max(1.0, std::fabs(want)); }

// Runs every request; appends the result of every call and every double of its array to `values`. False when a
// checked request fails or gives a value other than the one formed here.
bool runRequests(const Model& m, std::vector<double>& values) {
  std::vector<Request> requests;
  for (std::int32_t step = 1; step <= kSteps; ++step) {
    requests.push_back({"step " + std::to_string(step), 1, 0, step, true});
    requests.push_back({"mode 2, step " + std::to_string(step), 1 | 4, 2, step, true});
  }
  // The history flow reads the velocity history only for a bar with a velocity table. Its answers (result and
  // doubles) are compared between the two processes; their values are checked by the end-to-end tests.
  requests.push_back({"all steps", 1, 0, 0, false});
  requests.push_back({"mode 2, all steps", 1 | 4, 2, 0, false});
  bool ok = true;
  const std::int32_t keyCount = static_cast<std::int32_t>(kKeys.size());
  for (const Request& r : requests) {
    const std::int32_t length = keyCount * (r.step == 0 ? kSteps : 1);
    std::vector<double> result(static_cast<std::size_t>(length), 0.0);
    const std::int32_t status = TimeKernelOutputResult(kRecordFile, r.flags, &kBarId, 1, kKeys.data(), keyCount,
                                                       r.mode, r.step, result.data(), length);
    if (r.checked && status != 0) {
      std::printf("%s: result %d\n", r.name.c_str(), status);
      ok = false;
    }
    if (r.checked) {
      for (std::int32_t k = 0; k < keyCount; ++k) {
        const double want = expectedForce(m, kKeyRows[k], r.step - 1, (r.flags & 4) != 0, r.mode - 1);
        if (!close(result[std::size_t(k)], want)) {
          std::printf("%s, key %d: %.17g instead of %.17g\n", r.name.c_str(), kKeys[std::size_t(k)],
                      result[std::size_t(k)], want);
          ok = false;
        }
      }
    }
    values.push_back(double(status));
    values.insert(values.end(), result.begin(), result.end());
  }
  return ok;
}

std::uint64_t bitsOf(double x) {
  std::uint64_t b = 0;
  std::memcpy(&b, &x, sizeof b);
  return b;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || (std::strcmp(argv[1], "fresh") != 0 && std::strcmp(argv[1], "after") != 0)) {
    std::fprintf(stderr, "usage: %s fresh|after VALUES\n", argv[0]);
    return 2;
  }
  const bool fresh = std::strcmp(argv[1], "fresh") == 0;
  const Model m;
  try {
    writeRecordFile(m);
    if (!fresh) writeOtherFile();
  } catch (const std::exception& e) {
    std::printf("cannot write the files: %s\n", e.what());
    return 1;
  }
  bool ok = true;
  if (!fresh && !unrelatedCalls()) {
    std::printf("an unrelated call failed\n");
    ok = false;
  }
  std::vector<double> values;
  ok = runRequests(m, values) && ok;

  if (fresh) {
    std::ofstream out(argv[2], std::ios::trunc);
    for (double x : values) out << bitsOf(x) << '\n';
    if (!out) {
      std::printf("cannot write %s\n", argv[2]);
      return 1;
    }
  } else {
    std::ifstream in(argv[2]);
    std::vector<std::uint64_t> before;
    std::uint64_t b = 0;
    while (in >> b) before.push_back(b);
    if (before.size() != values.size()) {
      std::printf("%zu doubles from the fresh process, %zu now\n", before.size(), values.size());
      return 1;
    }
    std::size_t differing = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (bitsOf(values[i]) == before[i]) continue;
      double x = 0.0;
      std::memcpy(&x, &before[i], sizeof x);
      if (++differing <= 8)
        std::printf("double %zu: %.17g after unrelated calls, %.17g fresh\n", i, values[i], x);
    }
    if (differing != 0) {
      std::printf("%zu of %zu doubles differ\n", differing, values.size());
      ok = false;
    }
  }
  std::remove(kRecordFile);
  if (!fresh) std::remove(kOtherFile);
  std::printf("%s: %zu doubles, %s\n", argv[1], values.size(), ok ? "as expected" : "FAILED");
  return ok ? 0 : 1;
}
