// Shared ground for the hostile-input suites: one small, fully known kernel file, the values every request
// must give on it (worked out here with plain loops, from the model's own arrays, not by the library), guarded
// caller arrays, and the process figures (resident memory, descriptors, mappings) that must not grow.
//
// The good model: 12 degrees of freedom, 4 steps, 2 modes, 2 loads; three nodes (two with a transform) and
// seven elements of seven classes (Rod, Bar, Shell, Solid, Bush, PlaneStress, RigidBar), every section 0 to 26
// present. Every value is distinct enough that one taken from the wrong row, step, mode or table shows.
//
// What a request must give (flags by value: 1 element, 2 rotate, 4 single mode, 8 base motion, 16 envelope):
//
//   node, quantity X of dof d at step t:   X(d, t) - X0(d)          (X0: sections 5..7 with base motion, else
//                                                                    8..10; under flag 4 the mode's
//                                                                    phi_m(d) q_m(t) - phi_m(d) q0_m)
//   plus, under flag 8 without 4, the base motion B(t) (rotated by the node's transform, if any) on the triple
//   at the node's first translation code; then, under flag 2, every triple opened by -999 or -996 turned by the
//   transform.
//
//   element, at step t:  y = F (u(t) - u0) + f0 + V v(t) - sum_i L(:, i) a_i(t)   (no load term under flag 4,
//   u and v then the mode's contribution), turned point by point under flag 2 by the class's rotation; the
//   response id at position p of its key reads y[p].
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "TimeKernel.h"
#include "cycle/TheKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "support/ProcessFigures.h"
#include "support/ResponseSections.h"
#include "support/TestSupport.h"

// Sanitizer builds run the same suites with smaller counts (see test_soak.cpp).
#if defined(__SANITIZE_ADDRESS__)
#define HARDENING_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HARDENING_SANITIZED 1
#endif
#endif
#ifndef HARDENING_SANITIZED
#define HARDENING_SANITIZED 0
#endif

namespace hardening {

constexpr std::int32_t kElement = 1;
constexpr std::int32_t kRotate = 2;
constexpr std::int32_t kSingleMode = 4;
constexpr std::int32_t kBaseMotion = 8;
constexpr std::int32_t kEnvelope = 16;

// Degree-of-freedom codes of a node record.
constexpr std::int32_t kNoComponent = -1000;
constexpr std::int32_t kTx = -999, kTy = -998, kTz = -997, kRx = -996, kRy = -995, kRz = -994;

// Element type codes.
constexpr std::int32_t kBush = 580, kRod = 582, kBar = 583, kRigidBar = 584, kPlaneStress = 642, kShell = 645,
                       kSolid = 768;

// IDs of the good model.
constexpr std::int32_t kNodeFull = 11;          // six dofs, with a transform
constexpr std::int32_t kNodeTranslations = 12;  // three translations, no transform
constexpr std::int32_t kNodeShuffled = 13;      // three translations on rows out of order, with a transform
constexpr std::int32_t kRodId = 21, kBarId = 22, kShellId = 23, kSolidId = 24, kBushId = 25,
                       kPlaneStressId = 26, kRigidBarId = 27;
constexpr std::int32_t kMissingId = 999;  // in no directory

struct ModelNode {
  std::int32_t id = 0;
  std::vector<std::uint32_t> rows;
  std::vector<std::int32_t> codes;
  bool hasTransform = false;
  std::array<double, 9> transform{};  // row by row
};

struct ModelElement {
  std::int32_t id = 0;
  kernelwriter::ElementRecord record;
};

struct GoodModel {
  std::int32_t dofs = 12, steps = 4, modes = 2, loads = 2;
  std::vector<ModelNode> nodes;
  std::vector<ModelElement> elements;
  std::vector<double> phi;                // dofs x modes
  std::vector<double> modal[3];           // modes x steps, per quantity
  std::vector<double> modalInitial[3];    // modes
  std::vector<double> direct[3];          // dofs x steps
  std::vector<double> initialWith[3];     // dofs: sections 5..7
  std::vector<double> initialWithout[3];  // dofs: sections 8..10
  std::vector<double> baseHistory;        // section 1: 9 x steps
  std::vector<double> constantBase;       // section 11: 9 values
  std::vector<double> loadFactors;        // section 4: loads x steps
};

// n distinct values from a seed.
inline std::vector<double> wave(std::size_t n, double seed) {
  std::vector<double> v(n);
  for (std::size_t i = 0; i < n; ++i)
    v[i] = std::sin(seed + 0.731 * static_cast<double>(i)) + 0.01 * (seed + i);
  return v;
}

inline kernelwriter::Table table(std::uint32_t rows, std::uint32_t cols, double seed) {
  return kernelwriter::Table::matrix(rows, cols, wave(static_cast<std::size_t>(rows) * cols, seed));
}

// A 3 by 3 rotation-like table, column-major.
inline kernelwriter::Table rotation3(double seed) { return table(3, 3, seed); }

inline GoodModel goodModel() {
  GoodModel m;
  const std::size_t dofs = static_cast<std::size_t>(m.dofs), steps = static_cast<std::size_t>(m.steps),
                    modes = static_cast<std::size_t>(m.modes);
  ModelNode a;
  a.id = kNodeFull;
  a.rows = {0, 1, 2, 3, 4, 5};
  a.codes = {kTx, kTy, kTz, kRx, kRy, kRz};
  a.hasTransform = true;
  a.transform = {0.6, -0.8, 0.1, 0.8, 0.6, 0.3, 0.05, -0.2, 1.1};
  ModelNode b;
  b.id = kNodeTranslations;
  b.rows = {6, 7, 8};
  b.codes = {kTx, kTy, kTz};
  ModelNode c;
  c.id = kNodeShuffled;
  c.rows = {11, 9, 10};
  c.codes = {kTx, kTy, kTz};
  c.hasTransform = true;
  c.transform = {0.9, 0.2, -0.4, -0.3, 1.2, 0.5, 0.7, 0.1, 0.8};
  m.nodes = {a, b, c};

  using kernelwriter::ElementRecord;
  // Rod: one point of 2 components; reference state and offset.
  ElementRecord rod = ElementRecord::make(kRod, {0, 1, 2});
  rod.forceRecovery = table(2, 3, 1.0);
  rod.stressRecovery = table(2, 3, 2.0);
  rod.forceOffset = table(2, 1, 3.0);
  rod.setReference(wave(3, 4.0));
  // Bar: two force points of 6, one stress point of 11; load terms on both.
  ElementRecord bar = ElementRecord::make(kBar, {3, 4, 5, 6});
  bar.forceRecovery = table(12, 4, 5.0);
  bar.forceLoad = table(12, 2, 6.0);
  bar.stressRecovery = table(11, 4, 7.0);
  bar.stressLoad = table(11, 2, 8.0);
  bar.stressOffset = table(11, 1, 9.0);
  // Shell: force of 14 turned by both rotations, stress of 6.
  ElementRecord shell = ElementRecord::make(kShell, {0, 3, 6, 9});
  shell.forceRecovery = table(14, 4, 10.0);
  shell.stressRecovery = table(6, 4, 11.0);
  shell.forceRotation = rotation3(12.0);
  shell.stressRotation = table(5, 5, 13.0);
  shell.tenth = table(2, 2, 14.0);
  // Solid: force of 3, stress at two points of 6, turned six by six.
  ElementRecord solid = ElementRecord::make(kSolid, {1, 2, 7, 8, 10, 11});
  solid.forceRecovery = table(3, 6, 15.0);
  solid.stressRecovery = table(12, 6, 16.0);
  solid.forceRotation = rotation3(17.0);
  solid.stressRotation = table(6, 6, 18.0);
  solid.setReference(wave(6, 19.0));
  // Bush: force with a velocity term, deformation with a flat offset.
  ElementRecord bush = ElementRecord::make(kBush, {2, 5});
  bush.forceRecovery = table(6, 2, 20.0);
  bush.velocityForce = table(6, 2, 21.0);
  bush.stressRecovery = table(6, 2, 22.0);
  bush.stressOffset = table(6, 1, 23.0);
  // PlaneStress: force of 3, stress at two points of 3, both turned by their first triple.
  ElementRecord plane = ElementRecord::make(kPlaneStress, {4, 8});
  plane.forceRecovery = table(3, 2, 24.0);
  plane.stressRecovery = table(6, 2, 25.0);
  plane.forceRotation = rotation3(26.0);
  plane.stressRotation = rotation3(27.0);
  plane.forceLoad = table(3, 2, 28.0);
  // RigidBar: force only, whatever stress tables it holds.
  ElementRecord rigid = ElementRecord::make(kRigidBar, {0, 6});
  rigid.forceRecovery = table(6, 2, 29.0);
  rigid.stressRecovery = table(6, 2, 30.0);
  m.elements = {{kRodId, rod},   {kBarId, bar},           {kShellId, shell},   {kSolidId, solid},
                {kBushId, bush}, {kPlaneStressId, plane}, {kRigidBarId, rigid}};

  m.phi = wave(dofs * modes, 40.0);
  for (int q = 0; q < 3; ++q) {
    m.modal[q] = wave(modes * steps, 41.0 + 10 * q);
    m.modalInitial[q] = wave(modes, 42.0 + 10 * q);
    m.direct[q] = wave(dofs * steps, 43.0 + 10 * q);
    for (double& x : m.direct[q]) x *= 3.0;
    m.initialWith[q] = wave(dofs, 44.0 + 10 * q);
    m.initialWithout[q] = wave(dofs, 45.0 + 10 * q);
    for (double& x : m.initialWithout[q]) x *= 0.1;
  }
  m.baseHistory = wave(9 * steps, 80.0);
  m.constantBase = wave(9, 81.0);
  m.loadFactors = wave(static_cast<std::size_t>(m.loads) * steps, 82.0);
  return m;
}

// Where the never-read second columns of the initial states start.
constexpr double kJunk = 5.0e5;

inline kernelwriter::KernelFile modelFile(const GoodModel& m) {
  kernelwriter::KernelFile f;
  f.setMatrix(0, m.dofs, m.modes, m.phi);
  f.setMatrix(1, 9, m.steps, m.baseHistory);
  for (const ModelNode& n : m.nodes) {
    f.addNode(n.id, n.hasTransform ? kernelwriter::NodeRecord::make(n.rows, n.codes, n.transform)
                                   : kernelwriter::NodeRecord::make(n.rows, n.codes));
  }
  for (const ModelElement& e : m.elements) f.addElement(e.id, e.record);
  f.setMatrix(4, m.loads, m.steps, m.loadFactors);
  testsupport::setResponseSections(f, m.dofs, m.modes, m.steps, m.initialWith, m.initialWithout, m.modalInitial,
                                   m.direct, m.modal, kJunk);
  f.setMatrix(11, 9, 2, testsupport::withJunkColumn(m.constantBase, kJunk));
  return f;
}

// ---- the reference: nodes ----

// Quantity (0 displacement, 1 velocity, 2 acceleration) and component of a location-0 nodal response id, or
// quantity -1 for an id that no nodal key knows.
struct NodalTarget {
  int quantity = -1;
  std::int32_t component = -1;
};

inline NodalTarget nodalTarget(std::int32_t id) {
  NodalTarget t;
  if (id < 100 || id > 399) return t;
  const int last = id % 100;
  const int indexOf[13] = {-1, -1, 0, 1, 2, -1, 3, 4, 5, -1, -1, -1, 8};
  if (last > 12 || indexOf[last] < 0) return t;
  t.quantity = id / 100 - 1;
  t.component = indexOf[last];
  return t;
}

inline const ModelNode* findNode(const GoodModel& m, std::int32_t id) {
  for (const ModelNode& n : m.nodes)
    if (n.id == id) return &n;
  return nullptr;
}

inline void turnRowByRow(const std::array<double, 9>& r, double* x) {
  const double a = x[0], b = x[1], c = x[2];
  x[0] = r[0] * a + r[1] * b + r[2] * c;
  x[1] = r[3] * a + r[4] * b + r[5] * c;
  x[2] = r[6] * a + r[7] * b + r[8] * c;
}

// The node's values of quantity q at step t, one per entry of its record. `mode` 0-based, or -1.
inline std::vector<double> nodeResponse(const GoodModel& m, const ModelNode& n, int q, std::int32_t t,
                                        std::int32_t flags, std::int32_t mode) {
  const bool withBase = (flags & kBaseMotion) != 0 && (flags & kSingleMode) == 0;
  std::vector<double> v(n.rows.size());
  for (std::size_t k = 0; k < n.rows.size(); ++k) {
    const std::size_t d = n.rows[k];
    if (mode >= 0) {
      const double shape = m.phi[d + static_cast<std::size_t>(m.dofs) * mode];
      v[k] = shape * m.modal[q][mode + static_cast<std::size_t>(m.modes) * t] - shape * m.modalInitial[q][mode];
    } else {
      const double x0 = withBase ? m.initialWith[q][d] : m.initialWithout[q][d];
      v[k] = m.direct[q][d + static_cast<std::size_t>(m.dofs) * t] - x0;
    }
  }
  if (withBase) {
    for (std::size_t p = 0; p < n.codes.size(); ++p) {
      if (n.codes[p] < kTx || n.codes[p] > kTz) continue;
      double x[3];
      for (int j = 0; j < 3; ++j) x[j] = m.baseHistory[3 * q + j + 9 * static_cast<std::size_t>(t)];
      if (n.hasTransform) turnRowByRow(n.transform, x);
      for (int j = 0; j < 3; ++j) v[p + j] += x[j];
      break;
    }
  }
  if ((flags & kRotate) != 0 && n.hasTransform) {
    for (std::size_t k = 0; k < n.codes.size();) {
      if (n.codes[k] == kTx || n.codes[k] == kRx) {
        turnRowByRow(n.transform, &v[k]);
        k += 3;
      } else {
        ++k;
      }
    }
  }
  return v;
}

inline double nodalValue(const GoodModel& m, std::int32_t nodeId, std::int32_t key, std::int32_t t,
                         std::int32_t flags, std::int32_t mode) {
  const ModelNode* n = findNode(m, nodeId);
  const NodalTarget target = nodalTarget(key);
  if (n == nullptr || target.quantity < 0) return 0.0;
  const std::vector<double> v = nodeResponse(m, *n, target.quantity, t, flags, mode);
  double value = 0.0;
  for (std::size_t k = 0; k < n->codes.size(); ++k)
    if (n->codes[k] != kNoComponent && n->codes[k] + 999 == target.component) value = v[k];
  return value;
}

// ---- the reference: elements ----

enum class Kind { kForce, kStress, kDeform };

// One response id as an element class reads it: which recovery, and the position in its result.
struct ElementTarget {
  Kind kind = Kind::kForce;
  std::int32_t position = -1;  // -1: this class does not answer the id
  std::int32_t components = 0;
};

struct KeyTable {
  std::int32_t type;
  Kind kind;
  bool fromOne;                     // the request numbers locations from 1
  std::vector<std::int32_t> codes;  // in the order of their index
};

inline const std::vector<KeyTable>& keyTables() {
  static const std::vector<KeyTable> tables = {
      {kBush, Kind::kForce, true, {120401, 120402, 120403, 120404, 120405, 120406}},
      {kRigidBar, Kind::kForce, true, {120401, 120402, 120403, 120404, 120405, 120406}},
      {kBush, Kind::kDeform, false, {121101, 121102, 121103, 121105, 121106, 121107}},
      {kRod, Kind::kForce, true, {130402, 130406}},
      {kRod, Kind::kStress, true, {132101, 132111}},
      {kBar, Kind::kForce, true, {140402, 140403, 140404, 140406, 140407, 140408}},
      {kBar,
       Kind::kStress,
       true,
       {142101, 142102, 142103, 142104, 142105, 142119, 142120, 142153, 142154, 142155, 142156}},
      {kShell,
       Kind::kForce,
       false,
       {419101, 419102, 419103, 419104, 419105, 419106, 410402, 410403, 410404, 410406, 410407, 410408, 410409,
        410410}},
      {kShell, Kind::kStress, false, {412101, 412102, 412104, 412151, 412152, 412154}},
      {kSolid, Kind::kForce, false, {319101, 319102, 319103}},
      {kSolid, Kind::kStress, false, {312101, 312102, 312103, 312104, 312105, 312106}},
      {kPlaneStress, Kind::kForce, false, {429101, 429102, 429103}},
      {kPlaneStress, Kind::kStress, false, {422131, 422132, 422134}},
  };
  return tables;
}

// All the ways the class `type` answers response id `id` (at most one per kind).
inline std::vector<ElementTarget> elementTargets(std::int32_t type, std::int32_t id) {
  std::vector<ElementTarget> out;
  const std::int32_t code = id % 100000000;
  for (const KeyTable& k : keyTables()) {
    if (k.type != type) continue;
    for (std::size_t i = 0; i < k.codes.size(); ++i) {
      if (k.codes[i] != code) continue;
      const std::int32_t location = id / 100000000 - (k.fromOne ? 1 : 0);
      if (location < 0) continue;
      ElementTarget t;
      t.kind = k.kind;
      t.components = static_cast<std::int32_t>(k.codes.size());
      t.position = location * t.components + static_cast<std::int32_t>(i);
      out.push_back(t);
    }
  }
  return out;
}

inline const ModelElement* findElement(const GoodModel& m, std::int32_t id) {
  for (const ModelElement& e : m.elements)
    if (e.id == id) return &e;
  return nullptr;
}

// Entry (r, c) of a writer table.
inline double at(const kernelwriter::Table& t, std::size_t r, std::size_t c) {
  return t.values[r + t.rows * c];
}

// x[0..n-1] = T x[0..n-1] with T the top-left n x n of the table, starting at (r0, r0).
inline void turnBy(const kernelwriter::Table& t, std::size_t r0, int n, double* x) {
  double in[6];
  for (int i = 0; i < n; ++i) in[i] = x[i];
  for (int r = 0; r < n; ++r) {
    double s = 0.0;
    for (int c = 0; c < n; ++c) s += at(t, r0 + r, r0 + c) * in[c];
    x[r] = s;
  }
}

// One point's column of `c` values turned into the output frame (flag 2).
inline void rotatePoint(std::int32_t type, Kind kind, const kernelwriter::ElementRecord& e, double* x) {
  const bool force = kind == Kind::kForce;
  const kernelwriter::Table& fr = e.forceRotation;
  const kernelwriter::Table& sr = e.stressRotation;
  switch (type) {
    case kPlaneStress:
      if (force && !fr.values.empty()) turnBy(fr, 0, 3, x);
      if (!force && !sr.values.empty()) turnBy(sr, 0, 3, x);
      break;
    case kSolid:
      if (force && !fr.values.empty()) turnBy(fr, 0, 3, x);
      if (!force && !sr.values.empty()) turnBy(sr, 0, 6, x);
      break;
    case kShell:
      if (force) {
        if (!fr.values.empty()) {
          turnBy(fr, 0, 3, x);
          turnBy(fr, 0, 3, x + 3);
        }
        if (!sr.values.empty()) {
          turnBy(sr, 0, 3, x + 6);
          turnBy(sr, 0, 3, x + 9);
          turnBy(sr, 3, 2, x + 12);
        }
      } else if (!sr.values.empty()) {
        turnBy(sr, 0, 3, x);
        turnBy(sr, 0, 3, x + 3);
      }
      break;
    default:
      break;
  }
}

// The displacement (q 0) or velocity (q 1) of dof d at step t as an element sees it.
inline double elementInput(const GoodModel& m, int q, std::size_t d, std::int32_t t, std::int32_t mode) {
  if (mode >= 0)
    return m.phi[d + static_cast<std::size_t>(m.dofs) * mode] *
           m.modal[q][mode + static_cast<std::size_t>(m.modes) * t];
  return m.direct[q][d + static_cast<std::size_t>(m.dofs) * t];
}

// The whole result y of one recovery of element e at step t.
inline std::vector<double> elementResult(const GoodModel& m, const ModelElement& e, Kind kind, std::int32_t t,
                                         std::int32_t flags, std::int32_t mode, std::int32_t components) {
  const kernelwriter::ElementRecord& r = e.record;
  const kernelwriter::Table& f = kind == Kind::kForce ? r.forceRecovery : r.stressRecovery;
  const kernelwriter::Table& offset = kind == Kind::kForce ? r.forceOffset : r.stressOffset;
  const std::size_t size = f.rows, n = r.dofRows.size();
  std::vector<double> y(size, 0.0);
  for (std::size_t i = 0; i < size; ++i) {
    double s = 0.0;
    for (std::size_t k = 0; k < n; ++k) {
      const double u0 = r.referenceDisplacement.empty() ? 0.0 : r.referenceDisplacement[k];
      s += at(f, i, k) * (elementInput(m, 0, r.dofRows[k], t, mode) - u0);
    }
    if (i < offset.values.size()) s += offset.values[i];  // an offset of whole points stops short of the remainder rows
    if (kind == Kind::kForce && !r.velocityForce.values.empty()) {
      for (std::size_t k = 0; k < n; ++k)
        s += at(r.velocityForce, i, k) * elementInput(m, 1, r.dofRows[k], t, mode);
    }
    const kernelwriter::Table& load = kind == Kind::kForce ? r.forceLoad : r.stressLoad;
    if (kind != Kind::kDeform && mode < 0 && !load.values.empty()) {
      for (std::int32_t l = 0; l < m.loads; ++l)
        s -=
            at(load, i, static_cast<std::size_t>(l)) * m.loadFactors[l + static_cast<std::size_t>(m.loads) * t];
    }
    y[i] = s;
  }
  if ((flags & kRotate) != 0 && kind != Kind::kDeform) {
    for (std::size_t p = 0; p + components <= size; p += components) rotatePoint(r.typeCode, kind, r, &y[p]);
  }
  return y;
}

inline double elementValue(const GoodModel& m, std::int32_t elementId, std::int32_t key, std::int32_t t,
                           std::int32_t flags, std::int32_t mode) {
  const ModelElement* e = findElement(m, elementId);
  if (e == nullptr) return 0.0;
  const std::int32_t type = e->record.typeCode;
  double value = 0.0;
  for (const ElementTarget& target : elementTargets(type, key)) {
    if (target.kind == Kind::kStress && (type == kBush || type == kRigidBar)) continue;
    const kernelwriter::Table& f =
        target.kind == Kind::kForce ? e->record.forceRecovery : e->record.stressRecovery;
    if (f.values.empty() || target.position >= static_cast<std::int32_t>(f.rows)) continue;
    value = elementResult(m, *e, target.kind, t, flags, mode,
                          target.components)[static_cast<std::size_t>(target.position)];
  }
  return value;
}

// ---- requests ----

struct Request {
  std::string name;
  std::int32_t flags = 0;
  std::vector<std::int32_t> ids;
  std::vector<std::int32_t> keys;
  std::int32_t modeNumber = 0;
  std::int32_t stepNumber = 0;
  std::int32_t resultLength = 0;
};

inline std::vector<std::int32_t> nodalKeys() { return {102, 103, 104, 106, 107, 108, 202, 204, 302, 306}; }

// Element response ids: at least one of each recovery of each class, some at a second point.
inline std::vector<std::int32_t> elementKeys() {
  return {100130402, 100132111, 100140403, 200140408, 100142101, 100142156, 419101, 410402, 410410, 412104,
          319102,    312101,    100312106, 100120401, 100120406, 121101,    121107, 429102, 422131, 100422134};
}

inline Request nodalHistory(const GoodModel& m, std::int32_t flags = 0, std::int32_t modeNumber = 0) {
  Request r;
  r.name = "nodal history";
  r.flags = flags;
  r.ids = {kNodeFull, kNodeTranslations, kMissingId, kNodeShuffled};
  r.keys = nodalKeys();
  r.modeNumber = modeNumber;
  r.stepNumber = 0;
  // Blocks longer than needed, and a remainder that is no block at all.
  r.resultLength =
      static_cast<std::int32_t>(r.ids.size()) * (static_cast<std::int32_t>(r.keys.size()) * m.steps + 2) + 3;
  return r;
}

inline Request nodalStep(const GoodModel&, std::int32_t flags = 0, std::int32_t stepNumber = 3,
                         std::int32_t modeNumber = 0) {
  Request r;
  r.name = "nodal step";
  r.flags = flags;
  r.ids = {kNodeShuffled, kMissingId, kNodeFull, kNodeTranslations};
  r.keys = nodalKeys();
  r.modeNumber = modeNumber;
  r.stepNumber = stepNumber;
  r.resultLength = static_cast<std::int32_t>(r.ids.size() * r.keys.size());
  return r;
}

inline Request envelope(const GoodModel&, std::int32_t flags = 0, std::int32_t modeNumber = 0) {
  Request r;
  r.name = "envelope";
  r.flags = kEnvelope | flags;
  r.ids = {kNodeFull, kNodeTranslations, kNodeShuffled};
  r.keys = {102, 204, 306};
  r.modeNumber = modeNumber;
  const std::int32_t n = static_cast<std::int32_t>(r.ids.size() * r.keys.size());
  r.resultLength = 2 * n * n;
  return r;
}

inline Request elementHistory(const GoodModel& m, std::int32_t flags = 0, std::int32_t modeNumber = 0) {
  Request r;
  r.name = "element history";
  r.flags = kElement | flags;
  r.ids = {kRodId, kBarId, kShellId, kSolidId, kMissingId, kBushId, kPlaneStressId, kRigidBarId};
  r.keys = elementKeys();
  r.modeNumber = modeNumber;
  r.stepNumber = -3;
  r.resultLength = static_cast<std::int32_t>(r.ids.size() * r.keys.size()) * m.steps + 5;
  return r;
}

inline Request elementStep(const GoodModel&, std::int32_t flags = 0, std::int32_t stepNumber = 2,
                           std::int32_t modeNumber = 0) {
  Request r;
  r.name = "element step";
  r.flags = kElement | flags;
  r.ids = {kRigidBarId, kPlaneStressId, kBushId, kSolidId, kShellId, kMissingId, kBarId, kRodId};
  r.keys = elementKeys();
  r.modeNumber = modeNumber;
  r.stepNumber = stepNumber;
  r.resultLength = static_cast<std::int32_t>(r.ids.size() * (r.keys.size() + 1));
  return r;
}

// The five request kinds on the good model, without extra flags.
inline std::vector<Request> standardRequests(const GoodModel& m) {
  return {nodalHistory(m), nodalStep(m), envelope(m), elementHistory(m), elementStep(m)};
}

// The whole array a request must leave on the good model.
inline std::vector<double> expected(const GoodModel& m, const Request& r) {
  std::vector<double> out(static_cast<std::size_t>(r.resultLength), 0.0);
  const std::int32_t mode = (r.flags & kSingleMode) != 0 ? r.modeNumber - 1 : -1;
  const auto idCount = static_cast<std::int32_t>(r.ids.size());
  const auto keyCount = static_cast<std::int32_t>(r.keys.size());
  if ((r.flags & kEnvelope) != 0) {
    const std::int32_t n = idCount * keyCount;
    for (std::int32_t p = 0; p < n; ++p) {
      const std::int32_t key = r.keys[p % keyCount], id = r.ids[p / keyCount];
      const double first = nodalValue(m, id, key, 0, r.flags, mode);
      double high = first, low = first;
      for (std::int32_t t = 1; t < m.steps; ++t) {
        const double v = nodalValue(m, id, key, t, r.flags, mode);
        if (v > high) high = v;
        if (v < low) low = v;
      }
      for (std::int32_t q = 0; q < n; ++q) {
        out[static_cast<std::size_t>(p + n * q)] = p == q ? high : first;
        out[static_cast<std::size_t>(n * n + p + n * q)] = p == q ? low : first;
      }
    }
    return out;
  }
  const bool element = (r.flags & kElement) != 0;
  const std::int32_t rows = r.resultLength / idCount;
  for (std::int32_t i = 0; i < idCount; ++i) {
    for (std::int32_t k = 0; k < keyCount; ++k) {
      auto value = [&](std::int32_t t) {
        return element ? elementValue(m, r.ids[i], r.keys[k], t, r.flags, mode)
                       : nodalValue(m, r.ids[i], r.keys[k], t, r.flags, mode);
      };
      if (r.stepNumber >= 1) {
        out[static_cast<std::size_t>(i) * rows + k] = value(r.stepNumber - 1);
      } else {
        for (std::int32_t t = 0; t < m.steps; ++t)
          out[static_cast<std::size_t>(i) * rows + k + static_cast<std::size_t>(keyCount) * t] = value(t);
      }
    }
  }
  return out;
}

// ---- calling the exports with guarded arrays ----

// Doubles the library must never touch: before and after the caller's declared length.
constexpr std::size_t kGuardCount = 16;
constexpr double kGuardValue = -8.125e-7;  // a value no request produces
constexpr double kStaleValue = 777.0;      // what a result array holds before the call
constexpr std::int32_t kGuardId = 0x5a5a5a5a;

// Called with true right before an export is entered and with false right after it returns, when set. Fault
// injection arms its counters there, so that the test's own allocations around the call are not counted.
inline void (*&exportHook())(bool) {
  static void (*hook)(bool) = nullptr;
  return hook;
}

// The answer of one TimeKernelOutputResult call, and what it did to memory it does not own.
struct Outcome {
  std::int32_t code = 0;
  std::vector<double> values;  // the declared length
  std::string damage;          // empty when guards, inputs and the kernel's closed state are as they must be
};

inline std::string kernelState() {
  using Zarn::theKernel;
  using Zarn::theRequest;
  std::string s;
  if (theKernel.mapping.isOpen()) s += " mapping left open;";
  if (theKernel.selectedMode != -1) s += " selectedMode left set;";
  if (!theRequest.requestedOffsets.empty()) s += " requested offsets left;";
  if (theRequest.requiredRows != nullptr || theRequest.requiredRowCount != 0) s += " required rows left;";
  return s;
}

inline Outcome call(const std::string& path, const Request& r) {
  std::vector<double> buffer(kGuardCount + static_cast<std::size_t>(std::max(r.resultLength, 0)) + kGuardCount,
                             kGuardValue);
  for (std::size_t i = 0; i < static_cast<std::size_t>(std::max(r.resultLength, 0)); ++i)
    buffer[kGuardCount + i] = kStaleValue;
  // The lists are input: guarded too, and must come back unchanged.
  std::vector<std::int32_t> ids(kGuardCount, kGuardId), keys(kGuardCount, kGuardId);
  ids.insert(ids.end(), r.ids.begin(), r.ids.end());
  ids.insert(ids.end(), kGuardCount, kGuardId);
  keys.insert(keys.end(), r.keys.begin(), r.keys.end());
  keys.insert(keys.end(), kGuardCount, kGuardId);
  const std::vector<std::int32_t> idsBefore = ids, keysBefore = keys;

  Outcome o;
  o.damage.reserve(256);
  if (exportHook() != nullptr) exportHook()(true);
  o.code = TimeKernelOutputResult(path.c_str(), r.flags, ids.data() + kGuardCount,
                                  static_cast<std::int32_t>(r.ids.size()), keys.data() + kGuardCount,
                                  static_cast<std::int32_t>(r.keys.size()), r.modeNumber, r.stepNumber,
                                  buffer.data() + kGuardCount, r.resultLength);
  if (exportHook() != nullptr) exportHook()(false);
  o.values.assign(buffer.begin() + kGuardCount, buffer.end() - kGuardCount);
  for (std::size_t i = 0; i < kGuardCount; ++i) {
    if (std::memcmp(&buffer[i], &kGuardValue, sizeof(double)) != 0) o.damage += " wrote before the result;";
    if (std::memcmp(&buffer[buffer.size() - 1 - i], &kGuardValue, sizeof(double)) != 0)
      o.damage += " wrote after the result;";
  }
  if (ids != idsBefore) o.damage += " changed the id list;";
  if (keys != keysBefore) o.damage += " changed the key list;";
  if (o.code != 0 && o.code != -1) o.damage += " returned " + std::to_string(o.code) + ";";
  // Zeroed before anything that depends on the file: whatever the outcome, no stale value may be left.
  for (double v : o.values) {
    if (v == kStaleValue) {
      o.damage += " left stale values in the result;";
      break;
    }
  }
  o.damage += kernelState();
  return o;
}

// The answer of one TimeKernelElementID call.
struct ListOutcome {
  std::int32_t code = 0;
  std::int32_t count = 0;         // *count afterwards
  std::vector<std::int32_t> ids;  // the capacity's worth
  std::string damage;
};

inline ListOutcome list(const std::string& path, std::int32_t capacity) {
  const std::size_t n = static_cast<std::size_t>(std::max(capacity, 0));
  std::vector<std::int32_t> buffer(kGuardCount + n + kGuardCount, kGuardId);
  for (std::size_t i = 0; i < n; ++i) buffer[kGuardCount + i] = -77;
  ListOutcome o;
  o.count = capacity;
  if (exportHook() != nullptr) exportHook()(true);
  o.code = TimeKernelElementID(path.c_str(), buffer.data() + kGuardCount, &o.count);
  if (exportHook() != nullptr) exportHook()(false);
  o.ids.assign(buffer.begin() + kGuardCount, buffer.end() - kGuardCount);
  for (std::size_t i = 0; i < kGuardCount; ++i) {
    if (buffer[i] != kGuardId) o.damage += " wrote before the ids;";
    if (buffer[buffer.size() - 1 - i] != kGuardId) o.damage += " wrote after the ids;";
  }
  if (o.code != 0 && o.code != -1) o.damage += " returned " + std::to_string(o.code) + ";";
  if (o.code == -1 && o.count != capacity) o.damage += " changed *count on failure;";
  o.damage += kernelState();
  return o;
}

inline std::vector<std::int32_t> elementIds(const GoodModel& m) {
  std::vector<std::int32_t> ids;
  for (const ModelElement& e : m.elements) ids.push_back(e.id);
  return ids;
}

// Entry by entry within the shared tolerance; reports the first few differences.
inline testing::AssertionResult sameValues(const std::vector<double>& got, const std::vector<double>& want) {
  if (got.size() != want.size())
    return testing::AssertionFailure() << "length " << got.size() << " instead of " << want.size();
  testing::AssertionResult failure = testing::AssertionFailure();
  int bad = 0;
  for (std::size_t i = 0; i < got.size(); ++i) {
    const testing::AssertionResult close = testsupport::approx(got[i], want[i], 1e-10, 1e-10);
    if (close) continue;
    failure << "\n  [" << i << "] " << close.message();
    if (++bad == 6) break;
  }
  return bad == 0 ? testing::AssertionSuccess() : failure;
}

inline bool allZero(const std::vector<double>& v) {
  for (double x : v)
    if (x != 0.0) return false;
  return true;
}

// ---- files ----

inline void writeFile(const std::string& path, const kernelwriter::KernelFile& f,
                      kernelwriter::Layout* layout = nullptr) {
  const kernelwriter::Layout l = f.write(path);
  if (layout != nullptr) *layout = l;
}

// The size of a file on disk, -1 when absent.
inline std::int64_t fileSize(const std::string& path) { return testsupport::sizeOnDisk(path); }

// ---- process accounting (support/ProcessFigures.h) ----

using testsupport::handlesOf;
using testsupport::mappingCount;
using testsupport::mappingsOf;
using testsupport::openDescriptors;
using testsupport::residentBytes;

// The whole process's mapping count is compared only without a sanitizer: AddressSanitizer's allocator maps
// regions of its own as it goes. The mappings of the kernel files are compared exactly in every build.
constexpr bool kCompareAllMappings = !HARDENING_SANITIZED;
// Mappings that may appear in the whole process during a run without any fault of the library: the C library's
// allocator opens a new arena, or the BLAS starts its threads (their stacks), at a moment that depends on the
// machine's load. A leak of the library's own views grows the count by one per call, far beyond this.
constexpr int kUnrelatedMappingSlack = 4;

// Bytes held through operator new at this moment. The global operator new and delete of the test binary are
// replaced in test_fault_injection.cpp, which keeps this count.
std::int64_t bytesHeldThroughNew();

// ---- running a call that might not end ----

using testsupport::ChildEnd;
using testsupport::ChildResult;
using testsupport::describe;

// Runs `action` (a call of an export) apart from the test, in a child process where the system has fork, and
// waits at most `timeoutSeconds` for it: a call that would not end fails the test instead of hanging the suite,
// and a crash fails the test instead of ending the test binary (see testsupport::runApart for Windows).
inline ChildResult runInChild(const std::function<std::int32_t()>& action, double timeoutSeconds) {
  return testsupport::runApart(action, timeoutSeconds);
}

// ---- the base fixture ----

// Every hardening test starts from the good model written to its own file, and puts the platform table, the
// memory budget and the allocation limit back when it ends.
class HardeningTest : public testsupport::PlatformTest {
 protected:
  void SetUp() override {
    model = goodModel();
    writeFile(good.path(), modelFile(model), &goodLayout);
  }

  // The good file answers every kind of request with the right values, and the calls touch nothing they do not
  // own. Run after a hostile call: nothing of it may linger.
  void expectGoodFileAnswers() {
    const ListOutcome l = list(good.path(), 16);
    EXPECT_EQ(l.code, 0) << "listing the good file";
    EXPECT_EQ(l.damage, "") << "listing the good file";
    EXPECT_EQ(l.count, static_cast<std::int32_t>(model.elements.size()));
    const std::vector<std::int32_t> ids = elementIds(model);
    EXPECT_TRUE(std::equal(ids.begin(), ids.end(), l.ids.begin())) << "element IDs of the good file";
    for (const Request& r : standardRequests(model)) {
      const Outcome o = call(good.path(), r);
      EXPECT_EQ(o.code, 0) << r.name << " on the good file";
      EXPECT_EQ(o.damage, "") << r.name << " on the good file";
      if (o.code == 0) {
        EXPECT_TRUE(sameValues(o.values, expected(model, r))) << r.name << " on the good file";
      }
    }
  }

  GoodModel model;
  testsupport::TempFile good{"hardening_good"};
  kernelwriter::Layout goodLayout;
};

}  // namespace hardening
