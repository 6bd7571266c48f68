// Nodal kernel files for the end-to-end tests, and the values a nodal request must give on them.
//
// A NodalModel holds every number of a file as plain arrays: mode shapes and modal coordinates, the direct
// response built from them (X(d, t) = sum over modes of phi(d, m) * q(m, t)), the initial states, the base
// motion and the node records. `writeModel` puts the same arrays into both orders of the file (15..20 by step,
// 21..26 by degree of freedom), so the twins always hold the same numbers.
//
// The expected values are worked out here from those arrays with plain loops, independently of the library:
//
//   v(k) = X(d[k], t) - X0(d[k])                     (X0: sections 5..7 with base motion, 8..10 without;
//                                                     under a single mode phi_m * q_m(t) - phi_m * q0_m)
//   v(p..p+2) += R b(t)  or  b(t) without R          (p: the node's first translation code; only under
//                                                     flag 8 without flag 4, b from section 1 or 11)
//   under flag 2, each triple opened by -999 or -996 is replaced by R times it (R row by row).
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "cycle/TheKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "support/ResponseSections.h"
#include "support/TestSupport.h"

namespace nodaltest {

constexpr std::int32_t kRotate = 2;
constexpr std::int32_t kSingleMode = 4;
constexpr std::int32_t kBaseMotion = 8;
constexpr std::int32_t kEnvelope = 16;

// Degree-of-freedom codes of a node record.
constexpr std::int32_t kNone = -1000;
constexpr std::int32_t kTx = -999, kTy = -998, kTz = -997, kRx = -996, kRy = -995, kRz = -994;

struct ModelNode {
  std::int32_t id = 0;
  std::vector<std::uint32_t> rows;
  std::vector<std::int32_t> codes;
  bool hasTransform = false;
  std::array<double, 9> transform{};  // row by row
};

struct NodalModel {
  std::int32_t dofs = 0, steps = 0, modes = 0;
  std::vector<ModelNode> nodes;
  std::vector<double> phi;                // dofs x modes: phi[d + dofs * m]
  std::vector<double> modal[3];           // modes x steps: q[m + modes * t], per quantity
  std::vector<double> modalInitial[3];    // modes: q0[m]
  std::vector<double> direct[3];          // dofs x steps: X[d + dofs * t]
  std::vector<double> initialWithBase[3]; // dofs: sections 5, 6, 7 (column 0)
  std::vector<double> initialWithout[3];  // dofs: sections 8, 9, 10 (column 0)
  std::int32_t baseRows = 0, baseCols = 0;
  std::vector<double> baseHistory;        // section 1: baseRows x baseCols, column-major
  std::int32_t constantRows = 0;
  std::vector<double> constantBase;       // section 11, column 0: constantRows values

  // X = sum over modes of phi * q, and sections 8..10 = sum over modes of phi * q0, from the modal arrays.
  void rebuildDirect() {
    for (int q = 0; q < 3; ++q) {
      direct[q].assign(static_cast<std::size_t>(dofs) * steps, 0.0);
      initialWithout[q].assign(static_cast<std::size_t>(dofs), 0.0);
      for (std::int32_t d = 0; d < dofs; ++d) {
        for (std::int32_t m = 0; m < modes; ++m) {
          const double shape = phi[d + static_cast<std::size_t>(dofs) * m];
          initialWithout[q][d] += shape * modalInitial[q][m];
          for (std::int32_t t = 0; t < steps; ++t) {
            direct[q][d + static_cast<std::size_t>(dofs) * t] += shape * modal[q][m + static_cast<std::size_t>(modes) * t];
          }
        }
      }
    }
  }
  // Sets X(d, t) of quantity q in both orders (sections 15..17 and 21..23 are written from `direct`).
  void setDirect(int q, std::int32_t d, std::int32_t t, double value) {
    direct[q][d + static_cast<std::size_t>(dofs) * t] = value;
  }
};

inline ModelNode node(std::int32_t id, std::vector<std::uint32_t> rows, std::vector<std::int32_t> codes) {
  ModelNode n;
  n.id = id;
  n.rows = std::move(rows);
  n.codes = std::move(codes);
  return n;
}

inline ModelNode node(std::int32_t id, std::vector<std::uint32_t> rows, std::vector<std::int32_t> codes,
                     std::array<double, 9> transform) {
  ModelNode n = node(id, std::move(rows), std::move(codes));
  n.hasTransform = true;
  n.transform = transform;
  return n;
}

// The node ids of the standard model.
constexpr std::int32_t kFull = 101;         // six degrees of freedom with a transform
constexpr std::int32_t kTranslations = 102; // translations only, no transform
constexpr std::int32_t kWithNone = 103;     // a -1000 entry first, then six, with a transform
constexpr std::int32_t kNine = 104;         // components 0 to 8, with a transform
constexpr std::int32_t kShuffled = 105;     // translations only, rows out of order, with a transform
constexpr std::int32_t kRotationsFirst = 106; // rotations before translations, with a transform
constexpr std::int32_t kNoTranslation = 107;  // a rotation triple and a -1000 entry, with a transform
constexpr std::int32_t kEmpty = 108;          // no degree of freedom
constexpr std::int32_t kMissing = 999;        // not in the file

// Eight nodes over 34 degrees of freedom, 5 steps and 3 modes. Every value is distinct enough that a value
// taken from the wrong row, step, mode or section shows.
inline NodalModel standardModel() {
  NodalModel m;
  m.dofs = 34;
  m.steps = 5;
  m.modes = 3;
  m.nodes = {
      node(kFull, {0, 1, 2, 3, 4, 5}, {kTx, kTy, kTz, kRx, kRy, kRz},
           {0.6, -0.8, 0.1, 0.8, 0.6, 0.3, 0.05, -0.2, 1.1}),
      node(kTranslations, {6, 7, 8}, {kTx, kTy, kTz}),
      node(kWithNone, {9, 10, 11, 12, 13, 14, 15}, {kNone, kTx, kTy, kTz, kRx, kRy, kRz},
           {0.9, 0.2, -0.4, -0.3, 1.2, 0.5, 0.7, 0.1, 0.8}),
      node(kNine, {16, 17, 18, 19, 20, 21, 22, 23, 24}, {-999, -998, -997, -996, -995, -994, -993, -992, -991},
           {1.1, 0.3, -0.2, -0.6, 0.4, 0.9, 0.25, -0.75, 0.5}),
      node(kShuffled, {27, 25, 26}, {kTx, kTy, kTz}, {0.0, 1.5, 0.2, -0.7, 0.1, 0.6, 0.3, -0.4, 0.9}),
      node(kRotationsFirst, {28, 29, 30, 31, 32, 33}, {kRx, kRy, kRz, kTx, kTy, kTz},
           {0.5, 0.5, -0.1, -0.9, 0.2, 0.35, 0.15, 0.8, -0.6}),
      node(kNoTranslation, {31, 32, 33, 4}, {kRx, kRy, kRz, kNone}, {0.2, -1.0, 0.4, 0.7, 0.3, -0.5, 1.3, 0.05, 0.1}),
      node(kEmpty, {}, {}),
  };
  m.phi.resize(static_cast<std::size_t>(m.dofs) * m.modes);
  for (std::int32_t mode = 0; mode < m.modes; ++mode)
    for (std::int32_t d = 0; d < m.dofs; ++d)
      m.phi[d + static_cast<std::size_t>(m.dofs) * mode] = std::sin(0.37 * d + 1.1 * mode + 0.2) + 0.05 * (mode + 1);
  for (int q = 0; q < 3; ++q) {
    m.modal[q].resize(static_cast<std::size_t>(m.modes) * m.steps);
    for (std::int32_t t = 0; t < m.steps; ++t)
      for (std::int32_t mode = 0; mode < m.modes; ++mode)
        m.modal[q][mode + static_cast<std::size_t>(m.modes) * t] = (1.0 + q) * std::cos(0.9 * t + 0.5 * mode + q) + 0.1 * t;
    m.modalInitial[q].resize(static_cast<std::size_t>(m.modes));
    for (std::int32_t mode = 0; mode < m.modes; ++mode) m.modalInitial[q][mode] = 0.25 * std::sin(mode + 2.0 * q + 1.0);
    m.initialWithBase[q].resize(static_cast<std::size_t>(m.dofs));
    for (std::int32_t d = 0; d < m.dofs; ++d) m.initialWithBase[q][d] = 0.013 * (d + 1) + 0.3 * q - 0.2;
  }
  m.rebuildDirect();
  m.baseRows = 9;
  m.baseCols = m.steps;
  m.baseHistory.resize(static_cast<std::size_t>(9) * m.steps);
  for (std::int32_t t = 0; t < m.steps; ++t)
    for (int r = 0; r < 9; ++r) m.baseHistory[r + 9 * static_cast<std::size_t>(t)] = 0.1 * (r + 1) * (t + 1) - 0.35 * r;
  m.constantRows = 9;
  m.constantBase.resize(9);
  for (int r = 0; r < 9; ++r) m.constantBase[r] = -0.7 + 0.23 * r;
  return m;
}

// Where the never-read second columns of the initial states start.
constexpr double kJunk = 1.0e6;

// Every section 0..26 of the model. An element with the id of the first node sits in section 3, so that a
// nodal request that looked at the element directory would show.
inline kernelwriter::KernelFile modelFile(const NodalModel& m) {
  kernelwriter::KernelFile f;
  const auto rows = static_cast<std::int32_t>(m.dofs);
  f.setMatrix(0, rows, m.modes, m.phi);
  // A base motion history of no element is written with its shape alone.
  const bool noHistory = m.baseRows == 0 || m.baseCols == 0;
  f.setMatrix(1, m.baseRows, m.baseCols, noHistory ? std::vector<double>{} : m.baseHistory);
  for (const ModelNode& n : m.nodes) {
    if (n.hasTransform)
      f.addNode(n.id, kernelwriter::NodeRecord::make(n.rows, n.codes, n.transform));
    else
      f.addNode(n.id, kernelwriter::NodeRecord::make(n.rows, n.codes));
  }
  f.addElement(m.nodes.front().id, kernelwriter::ElementRecord::make(583, {0, 1}));
  std::vector<double> loads;
  for (std::int32_t k = 0; k < 2 * m.steps; ++k) loads.push_back(0.5 + k);
  f.setMatrix(4, 2, m.steps, loads);
  testsupport::setResponseSections(f, rows, m.modes, m.steps, m.initialWithBase, m.initialWithout, m.modalInitial,
                                   m.direct, m.modal, kJunk);
  if (m.constantRows > 0)
    f.setMatrix(11, m.constantRows, 2, testsupport::withJunkColumn(m.constantBase, kJunk));
  else
    f.setMatrix(11, 0, 1, std::vector<double>{});
  return f;
}

// ---- the reference ----

// What a nodal response id asks for: the quantity (0 displacement, 1 velocity, 2 acceleration) and the
// component of the node (location * 7 + the index of the code: x02..x04 -> 0..2, x06..x08 -> 3..5, x12 -> 8).
// quantity -1 for an id that is no nodal key.
struct KeyTarget {
  int quantity = -1;
  std::int32_t component = -1;
};

inline KeyTarget keyTarget(std::int32_t id) {
  KeyTarget k;
  const std::int32_t code = id % 100000000;
  const std::int32_t location = id / 100000000;
  const std::int32_t family = code / 100;
  const std::int32_t last = code % 100;
  const std::int32_t indexOf[13] = {-1, -1, 0, 1, 2, -1, 3, 4, 5, -1, -1, -1, 8};
  if (family < 1 || family > 3 || code < 100 || code > 399 || last > 12 || indexOf[last] < 0 || location < 0)
    return k;
  k.quantity = family - 1;
  k.component = location * 7 + indexOf[last];
  return k;
}

inline const ModelNode* findNode(const NodalModel& m, std::int32_t id) {
  const ModelNode* found = nullptr;
  for (const ModelNode& n : m.nodes)
    if (n.id == id) found = &n;
  return found;
}

// The nine base motion values at step t, or false when a request with these flags adds none.
inline bool baseMotionAt(const NodalModel& m, std::int32_t flags, std::int32_t t, double b[9]) {
  if ((flags & kBaseMotion) == 0 || (flags & kSingleMode) != 0) return false;
  if (m.baseRows > 0 && m.baseCols > 0) {
    for (int r = 0; r < 9; ++r) b[r] = m.baseHistory[r + static_cast<std::size_t>(m.baseRows) * t];
    return true;
  }
  if (m.constantRows > 0) {
    for (int r = 0; r < 9; ++r) b[r] = m.constantBase[r];
    return true;
  }
  return false;
}

inline void turn(const std::array<double, 9>& R, double* x) {
  const double a = x[0], b = x[1], c = x[2];
  x[0] = R[0] * a + R[1] * b + R[2] * c;
  x[1] = R[3] * a + R[4] * b + R[5] * c;
  x[2] = R[6] * a + R[7] * b + R[8] * c;
}

// The node's response of quantity q at step t, one value per entry of its record. `mode` is 0-based, -1 for
// the direct response.
inline std::vector<double> nodeResponse(const NodalModel& m, const ModelNode& n, int q, std::int32_t t,
                                        std::int32_t flags, std::int32_t mode) {
  double b[9];
  const bool withBase = baseMotionAt(m, flags, t, b);
  const std::size_t count = n.rows.size();
  std::vector<double> v(count);
  for (std::size_t k = 0; k < count; ++k) {
    const std::size_t d = n.rows[k];
    if (mode >= 0) {
      const double shape = m.phi[d + static_cast<std::size_t>(m.dofs) * mode];
      v[k] = shape * m.modal[q][mode + static_cast<std::size_t>(m.modes) * t] - shape * m.modalInitial[q][mode];
    } else {
      const double x0 = withBase ? m.initialWithBase[q][d] : m.initialWithout[q][d];
      v[k] = m.direct[q][d + static_cast<std::size_t>(m.dofs) * t] - x0;
    }
  }
  if (withBase) {
    for (std::size_t p = 0; p < count; ++p) {
      if (n.codes[p] < -999 || n.codes[p] > -997) continue;
      double x[3] = {b[3 * q], b[3 * q + 1], b[3 * q + 2]};
      if (n.hasTransform) turn(n.transform, x);
      for (int j = 0; j < 3; ++j) v[p + j] += x[j];
      break;
    }
  }
  if ((flags & kRotate) != 0 && n.hasTransform) {
    for (std::size_t k = 0; k < count;) {
      if (n.codes[k] == -999 || n.codes[k] == -996) {
        turn(n.transform, &v[k]);
        k += 3;
      } else {
        ++k;
      }
    }
  }
  return v;
}

// The value of response id `key` at node `n` (null: not in the file), step t. Zero for what the node lacks.
inline double expectedValue(const NodalModel& m, const ModelNode* n, std::int32_t key, std::int32_t t,
                            std::int32_t flags, std::int32_t mode) {
  const KeyTarget target = keyTarget(key);
  if (n == nullptr || target.quantity < 0) return 0.0;
  const std::vector<double> v = nodeResponse(m, *n, target.quantity, t, flags, mode);
  double value = 0.0;
  for (std::size_t k = 0; k < n->codes.size(); ++k)
    if (n->codes[k] != kNone && n->codes[k] + 999 == target.component) value = v[k];  // the last entry wins
  return value;
}

// The whole result array that TimeKernelOutputResult must leave for a block request: `stepNumber` below 1
// for all steps, `mode` 0-based or -1.
inline std::vector<double> expectedBlocks(const NodalModel& m, const std::vector<std::int32_t>& ids,
                                          const std::vector<std::int32_t>& keys, std::int32_t flags,
                                          std::int32_t mode, std::int32_t stepNumber, std::int32_t resultLength) {
  std::vector<double> out(static_cast<std::size_t>(resultLength), 0.0);
  const auto idCount = static_cast<std::int32_t>(ids.size());
  const auto keyCount = static_cast<std::int32_t>(keys.size());
  const std::int32_t rows = resultLength / idCount;
  for (std::int32_t i = 0; i < idCount; ++i) {
    const ModelNode* n = findNode(m, ids[i]);
    for (std::int32_t r = 0; r < keyCount; ++r) {
      if (stepNumber >= 1) {
        out[static_cast<std::size_t>(i) * rows + r] = expectedValue(m, n, keys[r], stepNumber - 1, flags, mode);
      } else {
        for (std::int32_t t = 0; t < m.steps; ++t)
          out[static_cast<std::size_t>(i) * rows + r + static_cast<std::size_t>(keyCount) * t] =
              expectedValue(m, n, keys[r], t, flags, mode);
      }
    }
  }
  return out;
}

// ---- calling the export ----

// The answer of one call: its result code and the whole array it left.
struct Answer {
  std::int32_t code = 0;
  std::vector<double> values;
};

// Calls TimeKernelOutputResult with an array of `resultLength` doubles that all start at `fill` (so the
// zeroing shows).
inline Answer request(const std::string& path, std::int32_t flags, const std::vector<std::int32_t>& ids,
                      const std::vector<std::int32_t>& keys, std::int32_t modeNumber, std::int32_t stepNumber,
                      std::int32_t resultLength, double fill = 777.0) {
  Answer a;
  a.values.assign(static_cast<std::size_t>(resultLength), fill);
  a.code = TimeKernelOutputResult(path.c_str(), flags, ids.data(), static_cast<std::int32_t>(ids.size()),
                                  keys.data(), static_cast<std::int32_t>(keys.size()), modeNumber, stepNumber,
                                  a.values.data(), resultLength);
  return a;
}

// The process-wide kernel as every call must leave it: closed, with no selection.
inline testing::AssertionResult kernelIsClosed() {
  using Zarn::theKernel;
  using Zarn::theRequest;
  if (theKernel.mapping.isOpen()) return testing::AssertionFailure() << "the mapping is open";
  if (theKernel.selectedMode != -1) return testing::AssertionFailure() << "selectedMode " << theKernel.selectedMode;
  if (!theRequest.requestedOffsets.empty()) return testing::AssertionFailure() << "requested offsets are left";
  if (theRequest.requiredRows != nullptr || theRequest.requiredRowCount != 0)
    return testing::AssertionFailure() << "required rows are left";
  return testing::AssertionSuccess();
}

// Entry by entry, within the shared tolerance; NaN matches NaN. Stops at the first few differences.
inline testing::AssertionResult sameValues(const std::vector<double>& got, const std::vector<double>& expected,
                                           double abs = 1e-12, double rel = 1e-12) {
  if (got.size() != expected.size())
    return testing::AssertionFailure() << "length " << got.size() << " instead of " << expected.size();
  int bad = 0;
  testing::AssertionResult failure = testing::AssertionFailure();
  for (std::size_t i = 0; i < got.size(); ++i) {
    if (std::isnan(expected[i]) && std::isnan(got[i])) continue;
    const testing::AssertionResult close = testsupport::approx(got[i], expected[i], abs, rel);
    if (close) continue;
    failure << "\n  [" << i << "] " << close.message();
    if (++bad == 8) break;
  }
  if (bad == 0) return testing::AssertionSuccess();
  return failure;
}

// Bit-for-bit equality, NaN included.
inline testing::AssertionResult identical(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size()) return testing::AssertionFailure() << "lengths " << a.size() << " and " << b.size();
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::memcmp(&a[i], &b[i], sizeof(double)) != 0)
      return testing::AssertionFailure() << "[" << i << "] " << a[i] << " against " << b[i];
  }
  return testing::AssertionSuccess();
}

inline bool allZero(const std::vector<double>& v) {
  for (double x : v)
    if (x != 0.0) return false;
  return true;
}

}  // namespace nodaltest
