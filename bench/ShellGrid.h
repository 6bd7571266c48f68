// The shell model the element benchmarks share, and the straightforward recovery they check the library
// against.
//
// A 50 by 40 grid of shells (2,000 elements, IDs 1 to 2,000) on 51 by 41 nodes of six degrees of freedom
// (12,546 in all; node n has rows 6n to 6n + 5 and ID kFirstNodeId + n). Each shell has 24 degrees of freedom
// (its four corner nodes), a force table of 14 components at 5 points (70 rows), a stress table of 6 components
// at 10 points (60 rows), a velocity table, two load tables (section 4 holds 2 loads), a reference state, both
// offsets and both rotation tables. Every value comes from the closed forms below, so a benchmark can hold the
// same data in memory for its baselines and checks without reading the file.
//
// The baselines here form the same values as the library, from data in memory:
//   y = c + F U + V Vdot - L A   (force),   y = c + S U - M A   (stress),   c = f0 - F u0,
// over a run of steps (one DGEMM per term) or at one step (one DGEMV per term).
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "base/Blas.h"
#include "kernelwriter/KernelWriter.h"

namespace shellgrid {

constexpr std::int32_t kGridX = 50, kGridY = 40;
constexpr std::int32_t kElements = kGridX * kGridY;
constexpr std::int32_t kNodesX = kGridX + 1, kNodesY = kGridY + 1;
constexpr std::int32_t kNodes = kNodesX * kNodesY;
constexpr std::int32_t kDofsPerNode = 6;
constexpr std::int32_t kModelDofs = kNodes * kDofsPerNode;
constexpr std::int32_t kFirstNodeId = 10000;
constexpr std::int32_t kLoads = 2;
constexpr std::int32_t kElementDofs = 24;
constexpr std::int32_t kForceRows = 70, kStressRows = 60;  // 14 x 5 and 6 x 10
constexpr std::int32_t kForceComponents = 14, kForcePoints = 5, kStressComponents = 6, kStressPoints = 10;

// Response ids of the element requests and the recovery rows they name (row = location * components + index):
// two force values (419101 at point 0, 410406 at point 2) and two stress values (412101 at point 0, 412154 at
// point 9).
constexpr std::int32_t kKeyCount = 4;
constexpr std::int32_t kKeys[kKeyCount] = {419101, 200000000 + 410406, 412101, 900000000 + 412154};
constexpr std::int32_t kForcePositions[2] = {0, 2 * kForceComponents + 9};
constexpr std::int32_t kStressPositions[2] = {0, 9 * kStressComponents + 5};

// Floating-point work per element and step: 2 * 24 * (70 + 70 + 60) for the three table products,
// 2 * 2 * (70 + 60) for the load terms and 70 + 60 for the constant.
constexpr double kFlopsPerElementStep = 2.0 * kElementDofs * (kForceRows + kForceRows + kStressRows) +
                                        2.0 * kLoads * (kForceRows + kStressRows) + (kForceRows + kStressRows);

inline std::int32_t elementId(std::int32_t e) { return 1 + e; }
inline std::int32_t nodeId(std::int32_t n) { return kFirstNodeId + n; }

// The 24 rows of element e: its four corner nodes, six each.
inline std::vector<std::uint32_t> dofRowsOf(std::int32_t e) {
  const std::int32_t x = e % kGridX, y = e / kGridX;
  const std::int32_t corners[4] = {y * kNodesX + x, y * kNodesX + x + 1, (y + 1) * kNodesX + x + 1,
                                   (y + 1) * kNodesX + x};
  std::vector<std::uint32_t> rows;
  for (std::int32_t n : corners)
    for (std::int32_t j = 0; j < kDofsPerNode; ++j) rows.push_back(std::uint32_t(n * kDofsPerNode + j));
  return rows;
}

inline double displacementValue(std::int64_t step, std::int64_t dof) {
  return 1.0e-3 * double(dof % 997) + 1.0e-6 * double(step % 1009) - 0.5;
}
inline double velocityValue(std::int64_t step, std::int64_t dof) {
  return 2.0e-3 * double(dof % 991) - 1.0e-6 * double(step % 1013);
}
inline double loadValue(std::int64_t load, std::int64_t step) {
  return std::sin(1.0e-3 * double(step) + double(load));
}
// The initial displacement of section 8, which nodal values are taken from.
inline double initialDisplacement(std::int64_t dof) { return 0.5e-3 * double(dof); }

inline std::vector<double> tableValues(std::int32_t rows, std::int32_t cols, std::int32_t seed) {
  std::vector<double> v(std::size_t(rows) * std::size_t(cols));
  for (std::size_t k = 0; k < v.size(); ++k) v[k] = std::sin(0.37 * double(k) + 1.7 * double(seed));
  return v;
}

// One element's tables, column-major, as written to the file and as the baselines use them.
struct Tables {
  std::vector<std::uint32_t> rows;
  std::vector<double> force, stress, velocity, forceLoad, stressLoad, forceOffset, stressOffset, reference;
};

inline Tables tablesOf(std::int32_t e) {
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

// What the element requests read: section 4 (load factors), the histories by degree of freedom (sections 21 and
// 22) and the element records. `bySteps` adds the displacement and velocity by step (sections 15 and 16), which
// the single-step flow reads; `nodes` adds the initial states (section 8; sections 9 and 10 hold zeros) and a
// record for every node.
inline kernelwriter::KernelFile shellFile(std::int32_t steps, bool bySteps, bool nodes) {
  kernelwriter::KernelFile f;
  f.setMatrix(21, steps, kModelDofs, displacementValue);
  f.setMatrix(22, steps, kModelDofs, velocityValue);
  if (bySteps) {
    f.setMatrix(15, kModelDofs, steps,
                [](std::int64_t dof, std::int64_t step) { return displacementValue(step, dof); });
    f.setMatrix(16, kModelDofs, steps,
                [](std::int64_t dof, std::int64_t step) { return velocityValue(step, dof); });
  }
  f.setMatrix(4, kLoads, steps, [](std::int64_t load, std::int64_t step) { return loadValue(load, step); });
  if (nodes) {
    f.setMatrix(8, kModelDofs, 1, [](std::int64_t dof, std::int64_t) { return initialDisplacement(dof); });
    // The nodal flows read all three initial states, whatever the keys ask for.
    for (int section = 9; section <= 10; ++section)
      f.setMatrix(section, kModelDofs, 1, [](std::int64_t, std::int64_t) { return 0.0; });
    for (std::int32_t n = 0; n < kNodes; ++n) {
      std::vector<std::uint32_t> rows;
      for (std::int32_t j = 0; j < kDofsPerNode; ++j) rows.push_back(std::uint32_t(n * kDofsPerNode + j));
      f.addNode(nodeId(n), kernelwriter::NodeRecord::make(rows, {-999, -998, -997, -996, -995, -994}));
    }
  }
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
  return f;
}

// The baselines' data: both histories in the file's own order (each degree of freedom's steps in a row), the
// load factors as section 4 holds them, and every element's tables.
struct InMemory {
  std::int32_t steps = 0;
  std::vector<double> displacement, velocity;  // [dof * steps + step]
  std::vector<double> loads;                   // [step * kLoads + load]
  std::vector<Tables> tables;

  void fill(std::int32_t stepCount) {
    if (steps == stepCount) return;
    steps = stepCount;
    const std::int64_t n = steps;
    displacement.resize(std::size_t(kModelDofs) * std::size_t(n));
    velocity.resize(displacement.size());
    for (std::int64_t d = 0; d < kModelDofs; ++d) {
      for (std::int64_t t = 0; t < n; ++t) {
        displacement[std::size_t(d * n + t)] = displacementValue(t, d);
        velocity[std::size_t(d * n + t)] = velocityValue(t, d);
      }
    }
    loads.resize(std::size_t(kLoads) * std::size_t(n));
    for (std::int64_t t = 0; t < n; ++t)
      for (std::int64_t i = 0; i < kLoads; ++i) loads[std::size_t(t * kLoads + i)] = loadValue(i, t);
    tables.clear();
    for (std::int32_t e = 0; e < kElements; ++e) tables.push_back(tablesOf(e));
  }
};

// `count` elements spread evenly over the grid.
inline std::vector<std::int32_t> chosenElements(std::int32_t count) {
  std::vector<std::int32_t> elements;
  for (std::int32_t i = 0; i < count; ++i) elements.push_back(i * (kElements / count));
  return elements;
}

// c = offset - F u0: the constant part of a term, formed once per element.
inline void constantTerm(std::int32_t rows, const std::vector<double>& f, const std::vector<double>& offset,
                         const std::vector<double>& reference, std::vector<double>& c) {
  const char n = 'N';
  const int m = rows, k = kElementDofs, one = 1;
  const double plus = 1.0, minus = -1.0;
  c.assign(offset.begin(), offset.end());
  dgemv_(&n, &m, &k, &minus, f.data(), &m, reference.data(), &one, &plus, c.data(), &one, 1);
}

// Y (rows x steps) = c + F U + [V Vdot] - L A over all `steps` columns, with U and Vdot given transposed (steps
// x 24, one history row per column, as copied out of the histories) and A as section 4 holds it.
inline void historyTerm(std::int32_t rows, std::int32_t steps, const std::vector<double>& f,
                        const std::vector<double>& offset, const std::vector<double>& reference,
                        const std::vector<double>* v, const std::vector<double>& l, const double* ut,
                        const double* vt, const double* loads, std::vector<double>& c, std::vector<double>& y) {
  const char n = 'N', t = 'T';
  const int m = rows, cols = steps, k = kElementDofs, loadCount = kLoads;
  const double plus = 1.0, minus = -1.0;
  constantTerm(rows, f, offset, reference, c);
  for (std::int32_t j = 0; j < steps; ++j) std::copy(c.begin(), c.end(), y.begin() + std::ptrdiff_t(j) * rows);
  dgemm_(&n, &t, &m, &cols, &k, &plus, f.data(), &m, ut, &cols, &plus, y.data(), &m, 1, 1);
  if (v != nullptr) dgemm_(&n, &t, &m, &cols, &k, &plus, v->data(), &m, vt, &cols, &plus, y.data(), &m, 1, 1);
  dgemm_(&n, &n, &m, &cols, &loadCount, &minus, l.data(), &m, loads, &loadCount, &plus, y.data(), &m, 1, 1);
}

// The history baseline: per element, its 24 displacement and velocity rows are copied out of the histories in
// memory (one memcpy each), then one DGEMM per term over all steps, and the 4 selected rows are copied into
// `out` in the request's layout (block of element i at out + i * kKeyCount * steps, keys interleaved step by
// step). `productSeconds` accumulates the time of the products alone.
inline void historyBaseline(const InMemory& data, const std::vector<std::int32_t>& elements, double* out,
                            double& productSeconds) {
  using Clock = std::chrono::steady_clock;
  const std::int32_t steps = data.steps;
  std::vector<double> ut(std::size_t(steps) * kElementDofs), vt(ut.size()), c;
  std::vector<double> yf(std::size_t(kForceRows) * std::size_t(steps)),
      ys(std::size_t(kStressRows) * std::size_t(steps));
  const std::size_t rowBytes = std::size_t(steps) * sizeof(double);
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const Tables& t = data.tables[std::size_t(elements[i])];
    for (std::size_t k = 0; k < t.rows.size(); ++k) {
      std::memcpy(&ut[k * std::size_t(steps)], &data.displacement[std::size_t(t.rows[k]) * std::size_t(steps)],
                  rowBytes);
      std::memcpy(&vt[k * std::size_t(steps)], &data.velocity[std::size_t(t.rows[k]) * std::size_t(steps)],
                  rowBytes);
    }
    const Clock::time_point start = Clock::now();
    historyTerm(kForceRows, steps, t.force, t.forceOffset, t.reference, &t.velocity, t.forceLoad, ut.data(),
                vt.data(), data.loads.data(), c, yf);
    historyTerm(kStressRows, steps, t.stress, t.stressOffset, t.reference, nullptr, t.stressLoad, ut.data(),
                nullptr, data.loads.data(), c, ys);
    productSeconds += std::chrono::duration<double>(Clock::now() - start).count();
    double* block = out + i * std::size_t(kKeyCount) * std::size_t(steps);
    for (std::int32_t s = 0; s < steps; ++s) {
      double* column = block + std::size_t(s) * kKeyCount;
      column[0] = yf[std::size_t(s) * kForceRows + kForcePositions[0]];
      column[1] = yf[std::size_t(s) * kForceRows + kForcePositions[1]];
      column[2] = ys[std::size_t(s) * kStressRows + kStressPositions[0]];
      column[3] = ys[std::size_t(s) * kStressRows + kStressPositions[1]];
    }
  }
}

// One value by plain loops, with no BLAS: the selected row `position` of the force (stress when `stress`) of
// element e at 0-based `step`, from the closed forms.
inline double plainValue(const Tables& t, bool stress, std::int32_t position, std::int64_t step) {
  const std::int32_t rows = stress ? kStressRows : kForceRows;
  const std::vector<double>& f = stress ? t.stress : t.force;
  double y = (stress ? t.stressOffset : t.forceOffset)[std::size_t(position)];
  for (std::int32_t k = 0; k < kElementDofs; ++k) {
    const std::int64_t dof = t.rows[std::size_t(k)];
    const double a = f[std::size_t(k) * rows + std::size_t(position)];
    y += a * (displacementValue(step, dof) - t.reference[std::size_t(k)]);
    if (!stress) y += t.velocity[std::size_t(k) * rows + std::size_t(position)] * velocityValue(step, dof);
  }
  const std::vector<double>& l = stress ? t.stressLoad : t.forceLoad;
  for (std::int32_t i = 0; i < kLoads; ++i)
    y -= l[std::size_t(i) * rows + std::size_t(position)] * loadValue(i, step);
  return y;
}

// The value of key r (0..3) of element e at `step`, by plainValue.
inline double plainKeyValue(const Tables& t, std::int32_t r, std::int64_t step) {
  return r < 2 ? plainValue(t, false, kForcePositions[r], step)
               : plainValue(t, true, kStressPositions[r - 2], step);
}

// |a - b| / (1 + |b|): the difference measure of the element checks.
inline double relativeDifference(double a, double b) { return std::abs(a - b) / (1.0 + std::abs(b)); }

}  // namespace shellgrid
