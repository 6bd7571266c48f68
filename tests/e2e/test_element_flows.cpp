// Element results through TimeKernelOutputResult (flag 1) on files written by the kernel writer: all ten
// element classes and unknown type codes, over all steps and at one step, with and without reference state,
// offsets, velocity tables and load tables, under flags 2 and 4 and both.
//
// Every expected value is formed here with plain loops from the tables and histories this file hands to the
// writer:
//
//   y(t) = F (u(t) - u0) + f0 + V v(t) - sum_i L(:, i) a_i(t)     (stress and deformation: no V term;
//                                                                  deformation: no load term, no rotation)
//
// rotated under flag 2 as each element class turns its results, then the value at the position a response id
// names: (location, minus 1 for the keys that number locations from 1) * the key's code count + the code's
// index.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "support/ResponseSections.h"
#include "support/TestSupport.h"

namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Table;
using testsupport::approx;
using testsupport::TempFile;

constexpr std::int32_t kElementResults = 1;
constexpr std::int32_t kRotate = 2;
constexpr std::int32_t kSingleMode = 4;
constexpr std::int32_t kScale = 100000000;  // response id = location * kScale + component code

// ---------------------------------------------------------------------------------------------------------------
// What response ids mean: the component codes of each element key, in index order, and whether its requests
// number locations from 1.

enum Kind { kForce, kStress, kDeform };

struct KeyTable {
  std::int32_t element;
  Kind kind;
  bool fromOne;
  std::vector<std::int32_t> codes;
};

std::vector<std::int32_t> joined(std::vector<std::int32_t> a, const std::vector<std::int32_t>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

std::vector<std::int32_t> run(std::int32_t first, std::int32_t last) {
  std::vector<std::int32_t> v;
  for (std::int32_t c = first; c <= last; ++c) v.push_back(c);
  return v;
}

const std::vector<KeyTable>& keyTables() {
  static const std::vector<std::int32_t> bushForce = run(120401, 120406);
  static const std::vector<std::int32_t> barForce = {140402, 140403, 140404, 140406, 140407, 140408};
  static const std::vector<std::int32_t> barStress =
      joined(joined(run(142101, 142105), {142119, 142120}), run(142153, 142156));
  static const std::vector<KeyTable> tables = {
      {580, kForce, true, bushForce},
      {580, kDeform, false, {121101, 121102, 121103, 121105, 121106, 121107}},
      {584, kForce, true, bushForce},
      {582, kForce, true, {130402, 130406}},
      {582, kStress, true, {132101, 132111}},
      {583, kForce, true, barForce},
      {583, kStress, true, barStress},
      {586, kForce, true, joined(barForce, {530401, 530402, 530403})},
      {586, kStress, true, joined(joined(barStress, run(532110, 532129)), run(532102, 532109))},
      {594, kForce, true, {190402}},
      {594, kStress, true, {192101}},
      {642, kForce, false, {429101, 429102, 429103}},
      {642, kStress, false, {422131, 422132, 422134}},
      {643, kForce, false, {439101, 439102, 439103}},
      {643, kStress, false, {432131, 432132, 432134, 432133}},
      {645, kForce, false, joined(joined(run(419101, 419106), {410402, 410403, 410404}), run(410406, 410410))},
      {645, kStress, false, {412101, 412102, 412104, 412151, 412152, 412154}},
      {768, kForce, false, {319101, 319102, 319103}},
      {768, kStress, false, run(312101, 312106)},
  };
  return tables;
}

const KeyTable* keyTable(std::int32_t element, Kind kind) {
  for (const KeyTable& t : keyTables()) {
    if (t.element == element && t.kind == kind) return &t;
  }
  return nullptr;
}

std::int32_t componentsOf(std::int32_t element, Kind kind) {
  const KeyTable* t = keyTable(element, kind);
  return t != nullptr ? static_cast<std::int32_t>(t->codes.size()) : 6;  // 6: a table no key reads
}

std::int32_t responseId(std::int32_t location, std::int32_t code) { return location * kScale + code; }

// ---------------------------------------------------------------------------------------------------------------
// Test data.

// Irregular, deterministic values of order 1.
double wave(std::int32_t seed, std::int64_t k) {
  const double x = static_cast<double>(k);
  return std::sin(0.71 * x + 1.37 * seed) + 0.25 * std::cos(0.19 * x * x + 0.5 * seed);
}

std::vector<double> waves(std::int64_t n, std::int32_t seed) {
  std::vector<double> v;
  for (std::int64_t k = 0; k < n; ++k) v.push_back(wave(seed, k));
  return v;
}

Table table(std::uint32_t rows, std::uint32_t cols, std::int32_t seed) {
  return Table::matrix(rows, cols, waves(static_cast<std::int64_t>(rows) * cols, seed));
}

double entry(const Table& t, std::int64_t r, std::int64_t c) { return t.values[c * t.rows + r]; }
bool hasValues(const Table& t) { return static_cast<std::int64_t>(t.rows) * t.cols != 0; }

// The response of the model: direct histories, mode shapes with modal coordinates, and load factors.
struct Response {
  std::int32_t steps = 7, dofs = 40, modes = 3, loads = 2;
  std::vector<double> u, v;     // u[d * steps + t]: section 21's layout
  std::vector<double> phi;      // phi[m * dofs + d]: section 0
  std::vector<double> q, qdot;  // q[m * steps + t]: section 24's layout
  std::vector<double> a;        // a[t * loads + i]: section 4

  Response() {
    u = waves(std::int64_t(dofs) * steps, 101);
    v = waves(std::int64_t(dofs) * steps, 102);
    phi = waves(std::int64_t(dofs) * modes, 103);
    q = waves(std::int64_t(modes) * steps, 104);
    qdot = waves(std::int64_t(modes) * steps, 105);
    a = waves(std::int64_t(loads) * steps, 106);
  }

  // The same numbers column by column of the other storage order (a by b from b by a).
  static std::vector<double> transposed(const std::vector<double>& x, std::int32_t rows, std::int32_t cols) {
    std::vector<double> out(x.size());
    for (std::int32_t r = 0; r < rows; ++r) {
      for (std::int32_t c = 0; c < cols; ++c) out[std::size_t(r) * cols + c] = x[std::size_t(c) * rows + r];
    }
    return out;
  }
};

// What the displacement, velocity and load factors are in a request: direct, or mode m alone.
struct Inputs {
  const Response& m;
  std::int32_t flags;
  std::int32_t mode;  // 0-based, used under flag 4

  bool modal() const { return (flags & kSingleMode) != 0; }
  double u(std::int32_t d, std::int32_t t) const {
    if (modal()) return m.phi[std::size_t(mode) * m.dofs + d] * m.q[std::size_t(mode) * m.steps + t];
    return m.u[std::size_t(d) * m.steps + t];
  }
  double v(std::int32_t d, std::int32_t t) const {
    if (modal()) return m.phi[std::size_t(mode) * m.dofs + d] * m.qdot[std::size_t(mode) * m.steps + t];
    return m.v[std::size_t(d) * m.steps + t];
  }
};

struct Features {
  bool reference = true;
  bool offsets = true;
  bool velocity = true;
  bool loads = true;
};

// Points at which each class reports force and stress in these tests (Bush: its deformation).
std::int32_t forcePoints(std::int32_t code) {
  switch (code) {
    case 580:
    case 584:
      return 1;
    case 642:
      return 1;
    case 645:
      return 3;
    default:
      return 2;
  }
}
std::int32_t stressPoints(std::int32_t code) {
  switch (code) {
    case 580:
    case 584:
    case 643:
      return 1;
    case 645:
      return 4;
    case 768:
      return 8;
    default:
      return 2;
  }
}
std::int32_t dofsOf(std::int32_t code) {
  switch (code) {
    case 582:
    case 594:
      return 6;
    case 642:
    case 643:
      return 8;
    case 586:
      return 14;
    case 645:
    case 768:
      return 24;
    default:
      return 12;
  }
}

// A full record of class `code`: every table of its shape filled with distinct values, rotation tables always
// present (they act only under flag 2), and the tenth table filled as well.
ElementRecord makeRecord(std::int32_t code, std::int32_t slot, const Response& m, const Features& f,
                         std::int32_t seed) {
  std::vector<std::uint32_t> rows;
  const std::int32_t n = dofsOf(code);
  for (std::int32_t k = 0; k < n; ++k) rows.push_back(std::uint32_t((7 * slot + 3 * k) % m.dofs));
  ElementRecord r = ElementRecord::make(code, rows);
  const Kind second = code == 580 ? kDeform : kStress;
  const std::uint32_t fc = std::uint32_t(componentsOf(code, kForce)), fp = std::uint32_t(forcePoints(code));
  const std::uint32_t sc = std::uint32_t(componentsOf(code, second)), sp = std::uint32_t(stressPoints(code));
  r.forceRecovery = table(fc * fp, std::uint32_t(n), seed + 1);
  r.stressRecovery = table(sc * sp, std::uint32_t(n), seed + 2);
  if (f.velocity) r.velocityForce = table(fc * fp, std::uint32_t(n), seed + 3);
  if (f.offsets) {
    r.forceOffset = table(fc, fp, seed + 4);
    r.stressOffset = table(sc, sp, seed + 5);
  }
  if (f.loads) {
    r.forceLoad = table(fc * fp, std::uint32_t(m.loads), seed + 6);
    r.stressLoad = table(sc * sp, std::uint32_t(m.loads), seed + 7);
  }
  if (f.reference) r.setReference(waves(n, seed + 8));
  r.forceRotation = table(3, 3, seed + 9);
  r.stressRotation = table(6, 6, seed + 10);
  r.tenth = table(2, 3, seed + 11);
  return r;
}

struct Element {
  std::int32_t id;
  ElementRecord record;
};

// A file with every section a request can reach, then the elements in the order given.
KernelFile makeFile(const Response& m, const std::vector<Element>& elements, bool withLoads = true) {
  KernelFile f;
  f.setMatrix(21, m.steps, m.dofs, std::vector<double>(m.u));
  f.setMatrix(22, m.steps, m.dofs, std::vector<double>(m.v));
  f.setMatrix(15, m.dofs, m.steps, Response::transposed(m.u, m.steps, m.dofs));
  f.setMatrix(16, m.dofs, m.steps, Response::transposed(m.v, m.steps, m.dofs));
  f.setMatrix(0, m.dofs, m.modes, std::vector<double>(m.phi));
  f.setMatrix(24, m.steps, m.modes, std::vector<double>(m.q));
  f.setMatrix(25, m.steps, m.modes, std::vector<double>(m.qdot));
  f.setMatrix(18, m.modes, m.steps, Response::transposed(m.q, m.steps, m.modes));
  f.setMatrix(19, m.modes, m.steps, Response::transposed(m.qdot, m.steps, m.modes));
  if (withLoads) f.setMatrix(4, m.loads, m.steps, std::vector<double>(m.a));
  for (const Element& e : elements) f.addElement(e.id, e.record);
  return f;
}

// ---------------------------------------------------------------------------------------------------------------
// The expected values.

// p[0..n-1] = R(row0.., col0..) p[0..n-1].
void turn(const Table& rotation, std::int32_t n, std::int32_t at, double* p) {
  std::vector<double> x(p, p + n);
  for (std::int32_t r = 0; r < n; ++r) {
    double sum = 0.0;
    for (std::int32_t c = 0; c < n; ++c) sum += entry(rotation, at + r, at + c) * x[std::size_t(c)];
    p[r] = sum;
  }
}

// Each point's column of `components` values turned as the class turns its force or stress.
void rotateExpected(const ElementRecord& r, Kind kind, std::int32_t components, std::vector<double>& y) {
  const Table& fr = r.forceRotation;
  const Table& sr = r.stressRotation;
  for (std::size_t p0 = 0; p0 + std::size_t(components) <= y.size(); p0 += std::size_t(components)) {
    double* col = y.data() + p0;
    switch (r.typeCode) {
      case 642:
      case 643:
        turn(kind == kForce ? fr : sr, 3, 0, col);
        break;
      case 768:
        if (kind == kForce)
          turn(fr, 3, 0, col);
        else
          turn(sr, 6, 0, col);
        break;
      case 645:
        if (kind == kForce) {
          turn(fr, 3, 0, col);
          turn(fr, 3, 0, col + 3);
          turn(sr, 3, 0, col + 6);
          turn(sr, 3, 0, col + 9);
          turn(sr, 2, 3, col + 12);
        } else {
          turn(sr, 3, 0, col);
          turn(sr, 3, 0, col + 3);
        }
        break;
      default:
        break;  // the line elements keep their values
    }
  }
}

// The result column of one kind at step t, or nothing when the class has no such recovery or its table is
// empty.
std::vector<double> expectedResult(const ElementRecord& r, Kind kind, const Inputs& in, std::int32_t t) {
  const KeyTable* key = keyTable(r.typeCode, kind);
  const Table& f = kind == kForce ? r.forceRecovery : r.stressRecovery;
  if (key == nullptr || !hasValues(f)) return {};
  const std::int32_t size = std::int32_t(f.rows), n = std::int32_t(f.cols);
  std::vector<double> y(std::size_t(size), 0.0);
  const std::vector<double>& u0 = r.referenceDisplacement;
  for (std::int32_t k = 0; k < size; ++k) {
    for (std::int32_t c = 0; c < n; ++c) {
      const double reference = u0.empty() ? 0.0 : u0[std::size_t(c)];
      y[std::size_t(k)] += entry(f, k, c) * (in.u(std::int32_t(r.dofRows[std::size_t(c)]), t) - reference);
    }
  }
  const Table& offset = kind == kForce ? r.forceOffset : r.stressOffset;
  if (hasValues(offset)) {
    for (std::int32_t k = 0; k < size; ++k) y[std::size_t(k)] += offset.values[std::size_t(k)];
  }
  if (kind == kForce && hasValues(r.velocityForce)) {
    for (std::int32_t k = 0; k < size; ++k) {
      for (std::int32_t c = 0; c < n; ++c)
        y[std::size_t(k)] += entry(r.velocityForce, k, c) * in.v(std::int32_t(r.dofRows[std::size_t(c)]), t);
    }
  }
  const Table& load = kind == kForce ? r.forceLoad : r.stressLoad;
  if (kind != kDeform && !in.modal() && hasValues(load)) {
    for (std::int32_t k = 0; k < size; ++k) {
      for (std::int32_t i = 0; i < in.m.loads; ++i)
        y[std::size_t(k)] -= entry(load, k, i) * in.m.a[std::size_t(t) * in.m.loads + i];
    }
  }
  if (kind != kDeform && (in.flags & kRotate) != 0) {
    rotateExpected(r, kind, static_cast<std::int32_t>(key->codes.size()), y);
  }
  return y;
}

// The value a response id takes at step t for the element, 0 when nothing answers it.
double expectedValue(const ElementRecord& r, std::int32_t id, const Inputs& in, std::int32_t t) {
  const std::int32_t code = id % kScale, raw = id / kScale;
  for (Kind kind : {kForce, kStress, kDeform}) {
    const KeyTable* key = keyTable(r.typeCode, kind);
    if (key == nullptr) continue;
    for (std::size_t index = 0; index < key->codes.size(); ++index) {
      if (key->codes[index] != code) continue;
      const std::int32_t location = raw - (key->fromOne ? 1 : 0);
      if (location < 0) return 0.0;
      const std::int64_t position =
          std::int64_t(location) * std::int64_t(key->codes.size()) + std::int64_t(index);
      const std::vector<double> y = expectedResult(r, kind, in, t);
      return position < std::int64_t(y.size()) ? y[std::size_t(position)] : 0.0;
    }
  }
  return 0.0;
}

// ---------------------------------------------------------------------------------------------------------------
// Calls.

constexpr double kStale = 987.654;  // what the result holds before a call; the export zeroes it first

struct Call {
  std::int32_t status = 0;
  std::vector<double> result;
};

Call outputHistory(const std::string& path, std::int32_t flags, const std::vector<std::int32_t>& ids,
                   const std::vector<std::int32_t>& keys, std::int32_t steps, std::int32_t mode = 0) {
  Call c;
  c.result.assign(ids.size() * keys.size() * std::size_t(steps), kStale);
  c.status = TimeKernelOutputResult(path.c_str(), flags, ids.data(), std::int32_t(ids.size()), keys.data(),
                                    std::int32_t(keys.size()), mode, 0, c.result.data(),
                                    std::int32_t(c.result.size()));
  return c;
}

Call outputStep(const std::string& path, std::int32_t flags, const std::vector<std::int32_t>& ids,
                const std::vector<std::int32_t>& keys, std::int32_t stepNumber, std::int32_t mode = 0) {
  Call c;
  c.result.assign(ids.size() * keys.size(), kStale);
  c.status = TimeKernelOutputResult(path.c_str(), flags, ids.data(), std::int32_t(ids.size()), keys.data(),
                                    std::int32_t(keys.size()), mode, stepNumber, c.result.data(),
                                    std::int32_t(c.result.size()));
  return c;
}

// Tolerance for values of order 10 formed by different summation orders.
testing::AssertionResult close(double value, double expected) { return approx(value, expected, 1e-11, 1e-12); }

// The id of element `slot` in the test files; ids are not in slot order, to keep positions and ids apart.
std::int32_t idOf(std::size_t slot) { return 5000 - 37 * std::int32_t(slot); }

// Response ids that reach every class, several locations, the last point of a result, the codes two classes
// share, raw location 0 of keys that count from 1 (dropped) and a location beyond every result.
const std::vector<std::int32_t>& mixedKeys() {
  static const std::vector<std::int32_t> keys = {
      responseId(1, 120401),
      responseId(1, 120406),
      120403,  // bush / rigid bar force
      121101,
      121107,  // bush deformation
      responseId(1, 130402),
      responseId(2, 130406),
      responseId(1, 132111),
      responseId(2, 132101),  // rod
      responseId(1, 140402),
      responseId(2, 140402),
      responseId(2, 140408),  // bar and warping bar force
      responseId(1, 142101),
      responseId(2, 142101),
      responseId(2, 142156),  // bar and warping bar stress
      responseId(1, 530403),
      responseId(2, 530401),
      responseId(2, 532109),
      responseId(1, 532110),  // warping
      responseId(1, 190402),
      responseId(2, 190402),
      responseId(2, 192101),
      192101,  // catenary
      429101,
      responseId(0, 429103),
      422134,
      responseId(1, 422131),  // plane stress
      439102,
      responseId(1, 439101),
      432133,
      432134,  // plane strain
      419101,
      419105,
      410402,
      410406,
      410409,
      responseId(2, 410410),
      responseId(1, 419103),  // shell force
      412101,
      412151,
      responseId(3, 412154),  // shell stress
      319103,
      responseId(1, 319101),
      312101,
      312104,
      responseId(7, 312106),  // solid
      responseId(9, 319101),  // beyond every result
  };
  return keys;
}

// Every class once, with unknown type codes 0 and 581 and an id the file lacks in between.
struct AllTypes {
  Response m;
  std::vector<Element> elements;
  std::vector<std::int32_t> ids;

  explicit AllTypes(const Features& f) {
    const std::int32_t codes[] = {580, 582, 0, 583, 584, 586, 581, 594, 642, 643, 645, 768};
    for (std::size_t s = 0; s < sizeof(codes) / sizeof(codes[0]); ++s) {
      elements.push_back({idOf(s), makeRecord(codes[s], std::int32_t(s), m, f, 10 * std::int32_t(s))});
      ids.push_back(idOf(s));
      if (s == 5) ids.push_back(424242);  // not in the file
    }
  }
  const ElementRecord* recordOf(std::int32_t id) const {
    for (const Element& e : elements) {
      if (e.id == id) return &e.record;
    }
    return nullptr;
  }
};

// Checks a history result against the loops above; unknown codes and missing ids must stay zero.
void expectHistory(const AllTypes& model, const Call& c, const std::vector<std::int32_t>& keys,
                   const Inputs& in) {
  ASSERT_EQ(c.status, 0);
  const std::size_t k = keys.size(), steps = std::size_t(model.m.steps);
  for (std::size_t i = 0; i < model.ids.size(); ++i) {
    const ElementRecord* r = model.recordOf(model.ids[i]);
    for (std::size_t t = 0; t < steps; ++t) {
      for (std::size_t row = 0; row < k; ++row) {
        const double got = c.result[i * k * steps + row + k * t];
        const double want = r == nullptr ? 0.0 : expectedValue(*r, keys[row], in, std::int32_t(t));
        EXPECT_TRUE(close(got, want)) << "id " << model.ids[i] << " key " << keys[row] << " step " << t;
      }
    }
  }
}

void expectStep(const AllTypes& model, const Call& c, const std::vector<std::int32_t>& keys, const Inputs& in,
                std::int32_t t) {
  ASSERT_EQ(c.status, 0);
  const std::size_t k = keys.size();
  for (std::size_t i = 0; i < model.ids.size(); ++i) {
    const ElementRecord* r = model.recordOf(model.ids[i]);
    for (std::size_t row = 0; row < k; ++row) {
      const double want = r == nullptr ? 0.0 : expectedValue(*r, keys[row], in, t);
      EXPECT_TRUE(close(c.result[i * k + row], want)) << "id " << model.ids[i] << " key " << keys[row];
    }
  }
}

// ---------------------------------------------------------------------------------------------------------------
// All classes, all flag combinations, three table sets.

struct Case {
  const char* name;
  Features features;
  std::int32_t flags;
};

std::ostream& operator<<(std::ostream& os, const Case& c) { return os << c.name; }

class ElementFlowAllTypes : public testsupport::PlatformTest, public testing::WithParamInterface<Case> {};

TEST_P(ElementFlowAllTypes, HistoryMatchesTheFormula) {
  const Case& c = GetParam();
  const AllTypes model(c.features);
  TempFile file("elements");
  makeFile(model.m, model.elements).write(file.path());
  const std::int32_t mode = 2;  // 1-based; used only under flag 4
  const Call call = outputHistory(file.path(), c.flags, model.ids, mixedKeys(), model.m.steps, mode);
  expectHistory(model, call, mixedKeys(), Inputs{model.m, c.flags, mode - 1});
}

TEST_P(ElementFlowAllTypes, SingleStepMatchesTheFormulaAndTheHistoryColumn) {
  const Case& c = GetParam();
  const AllTypes model(c.features);
  TempFile file("elements");
  makeFile(model.m, model.elements).write(file.path());
  const std::int32_t mode = 3;
  const std::vector<std::int32_t>& keys = mixedKeys();
  const Call history = outputHistory(file.path(), c.flags, model.ids, keys, model.m.steps, mode);
  ASSERT_EQ(history.status, 0);
  const std::size_t k = keys.size(), steps = std::size_t(model.m.steps);
  for (std::int32_t t : {0, 3, model.m.steps - 1}) {
    const Call step = outputStep(file.path(), c.flags, model.ids, keys, t + 1, mode);
    expectStep(model, step, keys, Inputs{model.m, c.flags, mode - 1}, t);
    for (std::size_t i = 0; i < model.ids.size(); ++i) {
      for (std::size_t row = 0; row < k; ++row) {
        EXPECT_TRUE(close(step.result[i * k + row], history.result[i * k * steps + row + k * std::size_t(t)]))
            << "id " << model.ids[i] << " key " << keys[row] << " step " << t;
      }
    }
  }
}

Features full() { return Features{}; }
Features bare() { return Features{false, false, false, false}; }
Features mixed() { return Features{true, false, true, false}; }

INSTANTIATE_TEST_SUITE_P(
    Flags, ElementFlowAllTypes,
    testing::Values(Case{"full_plain", full(), kElementResults},
                    Case{"full_rotated", full(), kElementResults | kRotate},
                    Case{"full_single_mode", full(), kElementResults | kSingleMode},
                    Case{"full_rotated_single_mode", full(), kElementResults | kRotate | kSingleMode},
                    Case{"bare_plain", bare(), kElementResults},
                    Case{"bare_rotated", bare(), kElementResults | kRotate},
                    Case{"bare_single_mode", bare(), kElementResults | kSingleMode},
                    Case{"mixed_plain", mixed(), kElementResults},
                    Case{"mixed_rotated_single_mode", mixed(), kElementResults | kRotate | kSingleMode}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------------------------------------------
// Single behaviours, one at a time.

class ElementFlow : public testsupport::PlatformTest {};

// The history block of element `slot` for response id row `row` at step t.
double at(const Call& c, std::size_t slot, std::size_t keyCount, std::size_t steps, std::size_t row,
          std::size_t t) {
  return c.result[slot * keyCount * steps + row + keyCount * t];
}

TEST_F(ElementFlow, LineElementsGiveTheSameValuesWithAndWithoutRotation) {
  Response m;
  std::vector<Element> elements;
  const std::int32_t codes[] = {580, 582, 583, 584, 586, 594};
  std::vector<std::int32_t> ids;
  for (std::size_t s = 0; s < 6; ++s) {
    elements.push_back({idOf(s), makeRecord(codes[s], std::int32_t(s), m, full(), 3 * std::int32_t(s))});
    ids.push_back(idOf(s));
  }
  TempFile file("lines");
  makeFile(m, elements).write(file.path());
  const std::vector<std::int32_t>& keys = mixedKeys();
  const Call plain = outputHistory(file.path(), kElementResults, ids, keys, m.steps);
  const Call rotated = outputHistory(file.path(), kElementResults | kRotate, ids, keys, m.steps);
  ASSERT_EQ(plain.status, 0);
  ASSERT_EQ(rotated.status, 0);
  std::size_t nonZero = 0;
  for (std::size_t k = 0; k < plain.result.size(); ++k) {
    EXPECT_EQ(plain.result[k], rotated.result[k]) << "double " << k;
    if (plain.result[k] != 0.0) ++nonZero;
  }
  EXPECT_GT(nonZero, std::size_t(6 * 4 * m.steps));  // every element answered several keys
}

TEST_F(ElementFlow, RigidBarGivesForceButNoStressOrDeformation) {
  Response m;
  ElementRecord r = makeRecord(584, 0, m, full(), 17);
  TempFile file("rigid");
  makeFile(m, {{77, r}}).write(file.path());
  // Its force from the bush force codes (locations from 1); a stress code of the bar and a deformation code of
  // the bush find no key of the rigid bar, whatever its stress tables hold.
  const std::vector<std::int32_t> keys = {responseId(1, 120402), 121101, responseId(1, 142101), 121102};
  const Call c = outputHistory(file.path(), kElementResults, {77}, keys, m.steps);
  ASSERT_EQ(c.status, 0);
  const Inputs in{m, kElementResults, 0};
  const std::vector<double> y = [&] {
    std::vector<double> all;
    for (std::int32_t t = 0; t < m.steps; ++t) all.push_back(expectedResult(r, kForce, in, t)[1]);
    return all;
  }();
  for (std::size_t t = 0; t < std::size_t(m.steps); ++t) {
    EXPECT_TRUE(close(at(c, 0, 4, std::size_t(m.steps), 0, t), y[t]));
    EXPECT_NE(y[t], 0.0);
    for (std::size_t row = 1; row < 4; ++row) EXPECT_EQ(at(c, 0, 4, std::size_t(m.steps), row, t), 0.0);
  }
}

TEST_F(ElementFlow, BushForceFromLocationOneAndDeformationFromLocationZeroTogether) {
  Response m;
  const ElementRecord r = makeRecord(580, 1, m, full(), 29);
  TempFile file("bush");
  makeFile(m, {{5, r}}).write(file.path());
  const std::vector<std::int32_t> keys = {
      121102,                 // deformation, index 1, location 0
      responseId(1, 120405),  // force, index 4, location 1 -> position 4
      120401,                 // force at raw location 0: dropped
      responseId(1, 121107),  // deformation at location 1: position 11, beyond its 6 values
      121107,                 // deformation, index 5
  };
  for (std::int32_t flags : {kElementResults, kElementResults | kRotate}) {
    const Call c = outputHistory(file.path(), flags, {5}, keys, m.steps);
    ASSERT_EQ(c.status, 0);
    const Inputs in{m, flags, 0};
    for (std::int32_t t = 0; t < m.steps; ++t) {
      // Plain loops here, so that this test does not lean on expectedValue's reading of the ids.
      std::vector<double> deform(6, 0.0), force(6, 0.0);
      for (std::int32_t k = 0; k < 6; ++k) {
        for (std::size_t c2 = 0; c2 < r.dofRows.size(); ++c2) {
          const double du = in.u(std::int32_t(r.dofRows[c2]), t) - r.referenceDisplacement[c2];
          deform[std::size_t(k)] += entry(r.stressRecovery, k, std::int64_t(c2)) * du;
          force[std::size_t(k)] +=
              entry(r.forceRecovery, k, std::int64_t(c2)) * du +
              entry(r.velocityForce, k, std::int64_t(c2)) * in.v(std::int32_t(r.dofRows[c2]), t);
        }
        deform[std::size_t(k)] += r.stressOffset.values[std::size_t(k)];
        force[std::size_t(k)] += r.forceOffset.values[std::size_t(k)];
        for (std::int32_t i = 0; i < m.loads; ++i)
          force[std::size_t(k)] -= entry(r.forceLoad, k, i) * m.a[std::size_t(t) * m.loads + i];
      }
      const std::size_t T = std::size_t(t), S = std::size_t(m.steps);
      EXPECT_TRUE(close(at(c, 0, 5, S, 0, T), deform[1]));
      EXPECT_TRUE(close(at(c, 0, 5, S, 1, T), force[4]));
      EXPECT_EQ(at(c, 0, 5, S, 2, T), 0.0);
      EXPECT_EQ(at(c, 0, 5, S, 3, T), 0.0);
      EXPECT_TRUE(close(at(c, 0, 5, S, 4, T), deform[5]));
    }
  }
}

TEST_F(ElementFlow, BarAndWarpingBarAnswerSharedCodesEachFromItsOwnKey) {
  Response m;
  const ElementRecord bar = makeRecord(583, 0, m, full(), 41);
  const ElementRecord warping = makeRecord(586, 1, m, full(), 53);
  TempFile file("bars");
  makeFile(m, {{1, bar}, {2, warping}}).write(file.path());
  // Location 2 of code 140402 is position 6 in the bar (6 codes) and 9 in the warping bar (9 codes); location
  // 2 of 142101 is position 11 in the bar and 39 in the warping bar.
  const std::vector<std::int32_t> keys = {responseId(2, 140402), responseId(2, 142101)};
  const Call c = outputHistory(file.path(), kElementResults, {1, 2}, keys, m.steps);
  ASSERT_EQ(c.status, 0);
  const Inputs in{m, kElementResults, 0};
  const std::size_t S = std::size_t(m.steps);
  for (std::int32_t t = 0; t < m.steps; ++t) {
    const std::vector<double> barForce = expectedResult(bar, kForce, in, t);
    const std::vector<double> barStress = expectedResult(bar, kStress, in, t);
    const std::vector<double> warpForce = expectedResult(warping, kForce, in, t);
    const std::vector<double> warpStress = expectedResult(warping, kStress, in, t);
    EXPECT_TRUE(close(at(c, 0, 2, S, 0, std::size_t(t)), barForce[6]));
    EXPECT_TRUE(close(at(c, 0, 2, S, 1, std::size_t(t)), barStress[11]));
    EXPECT_TRUE(close(at(c, 1, 2, S, 0, std::size_t(t)), warpForce[9]));
    EXPECT_TRUE(close(at(c, 1, 2, S, 1, std::size_t(t)), warpStress[39]));
  }
}

TEST_F(ElementFlow, LocationsCountFromOneForLineKeysAndFromZeroForOthers) {
  Response m;
  const ElementRecord rod = makeRecord(582, 0, m, full(), 61);
  const ElementRecord plane = makeRecord(642, 1, m, full(), 67);
  TempFile file("locations");
  makeFile(m, {{1, rod}, {2, plane}}).write(file.path());
  const std::vector<std::int32_t> keys = {132101, responseId(1, 132101), responseId(2, 132111), 422132,
                                          responseId(1, 422132)};
  const Call c = outputHistory(file.path(), kElementResults, {1, 2}, keys, m.steps);
  ASSERT_EQ(c.status, 0);
  const Inputs in{m, kElementResults, 0};
  const std::size_t S = std::size_t(m.steps);
  for (std::int32_t t = 0; t < m.steps; ++t) {
    const std::size_t T = std::size_t(t);
    const std::vector<double> rodStress = expectedResult(rod, kStress, in, t);
    const std::vector<double> planeStress = expectedResult(plane, kStress, in, t);
    EXPECT_EQ(at(c, 0, 5, S, 0, T), 0.0);                      // raw location 0 of a from-1 key: dropped
    EXPECT_TRUE(close(at(c, 0, 5, S, 1, T), rodStress[0]));    // location 1 -> first point
    EXPECT_TRUE(close(at(c, 0, 5, S, 2, T), rodStress[3]));    // location 2, index 1 -> position 3
    EXPECT_TRUE(close(at(c, 1, 5, S, 3, T), planeStress[1]));  // location 0 -> first point
    EXPECT_TRUE(close(at(c, 1, 5, S, 4, T), planeStress[4]));  // location 1, index 1 -> position 4
  }
}

TEST_F(ElementFlow, AnElementWithoutForceTableStillGivesItsStress) {
  Response m;
  ElementRecord r = makeRecord(645, 0, m, full(), 71);
  r.forceRecovery = Table{};
  TempFile file("noforce");
  makeFile(m, {{9, r}}).write(file.path());
  const std::vector<std::int32_t> keys = {419101, 412102, responseId(3, 412151)};
  for (std::int32_t flags : {kElementResults, kElementResults | kRotate}) {
    const Call c = outputHistory(file.path(), flags, {9}, keys, m.steps);
    ASSERT_EQ(c.status, 0);
    const Inputs in{m, flags, 0};
    const std::size_t S = std::size_t(m.steps);
    for (std::int32_t t = 0; t < m.steps; ++t) {
      const std::vector<double> stress = expectedResult(r, kStress, in, t);
      EXPECT_EQ(at(c, 0, 3, S, 0, std::size_t(t)), 0.0);
      EXPECT_TRUE(close(at(c, 0, 3, S, 1, std::size_t(t)), stress[1]));
      EXPECT_TRUE(close(at(c, 0, 3, S, 2, std::size_t(t)), stress[21]));
      EXPECT_NE(stress[21], 0.0);
    }
    const Call step = outputStep(file.path(), flags, {9}, keys, 2);
    ASSERT_EQ(step.status, 0);
    EXPECT_EQ(step.result[0], 0.0);
    EXPECT_TRUE(close(step.result[1], expectedResult(r, kStress, in, 1)[1]));
  }
}

// The shell force: 14 components at each of 5 points, all positions asked for, with rotation; and the solid
// stress turned by its full 6 by 6.
TEST_F(ElementFlow, ShellForceAtEveryPositionAndSolidStressRotated) {
  Response m;
  ElementRecord shell = makeRecord(645, 0, m, full(), 83);
  shell.forceRecovery = table(70, 24, 84);
  shell.velocityForce = table(70, 24, 85);
  shell.forceOffset = table(14, 5, 86);
  shell.forceLoad = table(70, std::uint32_t(m.loads), 87);
  const ElementRecord solid = makeRecord(768, 1, m, full(), 89);
  TempFile file("shell");
  makeFile(m, {{1, shell}, {2, solid}}).write(file.path());
  const KeyTable& shellForce = *keyTable(645, kForce);
  std::vector<std::int32_t> keys;
  for (std::int32_t location = 0; location < 5; ++location) {
    for (std::int32_t code : shellForce.codes) keys.push_back(responseId(location, code));
  }
  for (std::int32_t code : keyTable(768, kStress)->codes) keys.push_back(responseId(5, code));
  const std::size_t K = keys.size(), S = std::size_t(m.steps);
  const std::int32_t flags = kElementResults | kRotate;
  const Call c = outputHistory(file.path(), flags, {1, 2}, keys, m.steps);
  ASSERT_EQ(c.status, 0);
  const Inputs in{m, flags, 0};
  for (std::int32_t t = 0; t < m.steps; ++t) {
    const std::vector<double> force = expectedResult(shell, kForce, in, t);
    const std::vector<double> stress = expectedResult(solid, kStress, in, t);
    ASSERT_EQ(force.size(), 70u);
    for (std::size_t p = 0; p < 70; ++p) EXPECT_TRUE(close(at(c, 0, K, S, p, std::size_t(t)), force[p])) << p;
    for (std::size_t k = 0; k < 6; ++k) {
      EXPECT_TRUE(close(at(c, 1, K, S, 70 + k, std::size_t(t)), stress[30 + k])) << k;
      EXPECT_EQ(at(c, 0, K, S, 70 + k, std::size_t(t)), 0.0);  // the shell has no solid key
    }
  }
  // The rotation did act: the unrotated values differ.
  const Call plain = outputHistory(file.path(), kElementResults, {1, 2}, keys, m.steps);
  ASSERT_EQ(plain.status, 0);
  EXPECT_NE(plain.result[0], c.result[0]);
  EXPECT_NE(plain.result[12], c.result[12]);
}

TEST_F(ElementFlow, SingleModeUsesTheModeShapeTimesItsCoordinateAndKeepsTheReference) {
  Response m;
  const ElementRecord rod = makeRecord(582, 4, m, full(), 97);
  TempFile file("modal");
  makeFile(m, {{3, rod}}).write(file.path());
  const std::vector<std::int32_t> keys = {responseId(1, 130402), responseId(2, 130406)};
  const std::int32_t mode = 2;  // 1-based
  const Call c = outputHistory(file.path(), kElementResults | kSingleMode, {3}, keys, m.steps, mode);
  ASSERT_EQ(c.status, 0);
  const std::size_t S = std::size_t(m.steps);
  for (std::int32_t t = 0; t < m.steps; ++t) {
    // y = F (phi_m q_m(t) - u0) + f0 + V phi_m qdot_m(t); no load term.
    double y0 = rod.forceOffset.values[0], y3 = rod.forceOffset.values[3];
    for (std::size_t k = 0; k < rod.dofRows.size(); ++k) {
      const double phi = m.phi[std::size_t(mode - 1) * std::size_t(m.dofs) + rod.dofRows[k]];
      const double u = phi * m.q[std::size_t(mode - 1) * S + std::size_t(t)] - rod.referenceDisplacement[k];
      const double v = phi * m.qdot[std::size_t(mode - 1) * S + std::size_t(t)];
      y0 += entry(rod.forceRecovery, 0, std::int64_t(k)) * u + entry(rod.velocityForce, 0, std::int64_t(k)) * v;
      y3 += entry(rod.forceRecovery, 3, std::int64_t(k)) * u + entry(rod.velocityForce, 3, std::int64_t(k)) * v;
    }
    EXPECT_TRUE(close(at(c, 0, 2, S, 0, std::size_t(t)), y0));
    EXPECT_TRUE(close(at(c, 0, 2, S, 1, std::size_t(t)), y3));
  }
}

TEST_F(ElementFlow, LoadFactorsAreRequiredWithoutSingleModeOnly) {
  Response m;
  const ElementRecord bar = makeRecord(583, 0, m, full(), 101);
  TempFile file("noloads");
  makeFile(m, {{4, bar}}, /*withLoads=*/false).write(file.path());
  const std::vector<std::int32_t> keys = {responseId(1, 140403), responseId(2, 142105)};
  for (std::int32_t step : {0, 2}) {
    const Call plain = step == 0 ? outputHistory(file.path(), kElementResults, {4}, keys, m.steps)
                                 : outputStep(file.path(), kElementResults, {4}, keys, step);
    EXPECT_EQ(plain.status, -1);
    for (double v : plain.result) EXPECT_EQ(v, 0.0);
    const std::int32_t flags = kElementResults | kSingleMode;
    const Call modal = step == 0 ? outputHistory(file.path(), flags, {4}, keys, m.steps, 1)
                                 : outputStep(file.path(), flags, {4}, keys, step, 1);
    ASSERT_EQ(modal.status, 0);
    const Inputs in{m, flags, 0};
    if (step == 0) {
      for (std::int32_t t = 0; t < m.steps; ++t) {
        EXPECT_TRUE(close(at(modal, 0, 2, std::size_t(m.steps), 0, std::size_t(t)),
                          expectedValue(bar, keys[0], in, t)));
        EXPECT_TRUE(close(at(modal, 0, 2, std::size_t(m.steps), 1, std::size_t(t)),
                          expectedValue(bar, keys[1], in, t)));
      }
    } else {
      EXPECT_TRUE(close(modal.result[0], expectedValue(bar, keys[0], in, step - 1)));
      EXPECT_TRUE(close(modal.result[1], expectedValue(bar, keys[1], in, step - 1)));
    }
  }
}

TEST_F(ElementFlow, AnAnalysisWithoutLoadsHasNoLoadTerm) {
  Response m;
  const ElementRecord bar = makeRecord(583, 0, m, full(), 103);
  KernelFile f = makeFile(m, {{4, bar}}, /*withLoads=*/false);
  f.setMatrix(4, 0, m.steps, std::vector<double>{});
  TempFile file("zeroloads");
  f.write(file.path());
  const std::vector<std::int32_t> keys = {responseId(2, 140404)};
  const Call c = outputHistory(file.path(), kElementResults, {4}, keys, m.steps);
  ASSERT_EQ(c.status, 0);
  ElementRecord unloaded = bar;
  unloaded.forceLoad = Table{};
  const Inputs in{m, kElementResults, 0};
  for (std::int32_t t = 0; t < m.steps; ++t)
    EXPECT_TRUE(close(c.result[std::size_t(t)], expectedValue(unloaded, keys[0], in, t)));
}

TEST_F(ElementFlow, SingleStepWithoutStoredVelocitiesHasNoVelocityTerm) {
  Response m;
  const ElementRecord solid = makeRecord(768, 0, m, full(), 107);
  KernelFile f = makeFile(m, {{8, solid}});
  f.setMatrix(16, 0, m.steps, std::vector<double>{});  // no velocity at any step
  TempFile file("novelocity");
  f.write(file.path());
  const std::vector<std::int32_t> keys = {319102, responseId(1, 319103), 312105};
  const Call c = outputStep(file.path(), kElementResults | kRotate, {8}, keys, 4);
  ASSERT_EQ(c.status, 0);
  ElementRecord still = solid;
  still.velocityForce = Table{};
  const Inputs in{m, kElementResults | kRotate, 0};
  for (std::size_t row = 0; row < keys.size(); ++row)
    EXPECT_TRUE(close(c.result[row], expectedValue(still, keys[row], in, 3))) << row;
}

TEST_F(ElementFlow, LongerBlocksKeepTheirTailsZero) {
  Response m;
  const ElementRecord plane = makeRecord(643, 0, m, full(), 109);
  TempFile file("blocks");
  makeFile(m, {{1, plane}, {2, plane}}).write(file.path());
  const std::vector<std::int32_t> ids = {2, 1};
  const std::vector<std::int32_t> keys = {432133, responseId(0, 439103)};
  const std::size_t rows = keys.size() * std::size_t(m.steps) + 5;  // five spare doubles per block
  std::vector<double> result(rows * ids.size(), kStale);
  ASSERT_EQ(TimeKernelOutputResult(file.c_str(), kElementResults | kRotate, ids.data(), 2, keys.data(), 2, 0,
                                   -3, result.data(), std::int32_t(result.size())),
            0);
  const Inputs in{m, kElementResults | kRotate, 0};
  for (std::size_t i = 0; i < 2; ++i) {
    for (std::int32_t t = 0; t < m.steps; ++t) {
      for (std::size_t row = 0; row < 2; ++row) {
        EXPECT_TRUE(close(result[i * rows + row + 2 * std::size_t(t)], expectedValue(plane, keys[row], in, t)));
      }
    }
    for (std::size_t k = rows - 5; k < rows; ++k) EXPECT_EQ(result[i * rows + k], 0.0);
  }
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------
// Exactness: the two flows, files that do not store a quantity, tables with remainder rows, long histories.

namespace {

// A model of `steps` steps (the default data, longer).
Response longResponse(std::int32_t steps) {
  Response m;
  m.steps = steps;
  m.u = waves(std::int64_t(m.dofs) * steps, 201);
  m.v = waves(std::int64_t(m.dofs) * steps, 202);
  m.q = waves(std::int64_t(m.modes) * steps, 204);
  m.qdot = waves(std::int64_t(m.modes) * steps, 205);
  m.a = waves(std::int64_t(m.loads) * steps, 206);
  return m;
}

const std::int32_t kAllClasses[] = {580, 582, 583, 584, 586, 594, 642, 643, 645, 768};

// Every response id of every key of `code`, at every location its tables have.
std::vector<std::int32_t> everyKeyOf(std::int32_t code) {
  std::vector<std::int32_t> keys;
  for (Kind kind : {kForce, kStress, kDeform}) {
    const KeyTable* key = keyTable(code, kind);
    if (key == nullptr) continue;
    const std::int32_t points = kind == kForce ? forcePoints(code) : stressPoints(code);
    for (std::int32_t p = 0; p < points; ++p) {
      for (std::int32_t c : key->codes) keys.push_back(responseId(p + (key->fromOne ? 1 : 0), c));
    }
  }
  return keys;
}

}  // namespace

// Every double of the history equals, bit for bit, the single-step value at that step, for all ten classes with
// every table present, under flags 0, 2, 4 and their combinations. 150 steps span two whole tiles of steps and
// a remainder.
TEST(ElementExactness, HistoryAndSingleStepAgreeBitForBit) {
  const Response m = longResponse(150);
  std::vector<Element> elements;
  std::int32_t slot = 0;
  for (std::int32_t code : kAllClasses) {
    for (std::int32_t copy = 0; copy < 2; ++copy, ++slot) {
      elements.push_back({idOf(std::size_t(slot)), makeRecord(code, slot, m, Features{}, 300 + 17 * slot)});
    }
  }
  TempFile file("exactness");
  makeFile(m, elements).write(file.path());
  std::int64_t compared = 0;
  for (const Element& e : elements) {
    const std::vector<std::int32_t> keys = everyKeyOf(e.record.typeCode);
    for (std::int32_t extra : {0, kRotate, kSingleMode, kRotate | kSingleMode}) {
      const std::int32_t flags = kElementResults | extra;
      const std::int32_t mode = (extra & kSingleMode) != 0 ? 2 : 0;
      SCOPED_TRACE("type " + std::to_string(e.record.typeCode) + " flags " + std::to_string(flags));
      const Call history = outputHistory(file.path(), flags, {e.id}, keys, m.steps, mode);
      ASSERT_EQ(history.status, 0);
      for (std::int32_t t = 0; t < m.steps; ++t) {
        const Call step = outputStep(file.path(), flags, {e.id}, keys, t + 1, mode);
        ASSERT_EQ(step.status, 0);
        for (std::size_t r = 0; r < keys.size(); ++r) {
          const double h = history.result[r + keys.size() * std::size_t(t)];
          ASSERT_EQ(h, step.result[r]) << "key " << keys[r] << " step " << t;
          // And both are the formula's value (to rounding), formed here independently.
          ASSERT_TRUE(close(h, expectedValue(e.record, keys[r], Inputs{m, flags, mode - 1}, t)))
              << "key " << keys[r] << " step " << t;
          ++compared;
        }
      }
    }
  }
  EXPECT_GT(compared, 10000);
}

// A file that does not store velocities (sections 16, 19, 22, 25 of shape 0 x 0, steps x 0 or 0 x dofs):
// requests answer, with no velocity term, in both flows.
TEST(ElementExactness, FilesWithoutVelocitiesGiveNoVelocityTerm) {
  const Response m;
  std::vector<Element> elements;
  for (std::int32_t slot = 0; slot < 10; ++slot) {
    elements.push_back({idOf(std::size_t(slot)), makeRecord(kAllClasses[slot], slot, m, Features{}, 50 + slot)});
  }
  struct Shape {
    const char* name;
    std::int32_t byStepRows, byStepCols;  // sections 16 and 19 have (rows, cols); 22 and 25 the transpose
  };
  for (const Shape& shape : {Shape{"0 x 0", 0, 0}, Shape{"a x 0", 1, 0}, Shape{"0 x b", 0, 1}}) {
    KernelFile f = makeFile(m, elements);
    const std::int32_t directRows = shape.byStepRows != 0 ? m.dofs : 0;
    const std::int32_t cols = shape.byStepCols != 0 ? m.steps : 0;
    f.setMatrix(16, directRows, cols, std::vector<double>(std::size_t(directRows) * std::size_t(cols), 0.0));
    f.setMatrix(22, cols, directRows, std::vector<double>(std::size_t(directRows) * std::size_t(cols), 0.0));
    TempFile file("no_velocities");
    f.write(file.path());
    for (std::int32_t extra : {0, kRotate}) {
      const std::int32_t flags = kElementResults | extra;
      SCOPED_TRACE(std::string(shape.name) + " flags " + std::to_string(flags));
      for (const Element& e : elements) {
        ElementRecord withoutVelocity = e.record;
        withoutVelocity.velocityForce = Table{};
        const std::vector<std::int32_t> keys = everyKeyOf(e.record.typeCode);
        const Call history = outputHistory(file.path(), flags, {e.id}, keys, m.steps);
        ASSERT_EQ(history.status, 0) << e.record.typeCode;
        for (std::int32_t t = 0; t < m.steps; ++t) {
          const Call step = outputStep(file.path(), flags, {e.id}, keys, t + 1);
          ASSERT_EQ(step.status, 0);
          for (std::size_t r = 0; r < keys.size(); ++r) {
            const double expected = expectedValue(withoutVelocity, keys[r], Inputs{m, flags, 0}, t);
            EXPECT_TRUE(close(history.result[r + keys.size() * std::size_t(t)], expected)) << keys[r];
            EXPECT_TRUE(close(step.result[r], expected)) << keys[r];
          }
        }
      }
    }
  }
}

// Rows past the last whole point: the products form them, but no key reaches them. A bush deformation table of
// 8 rows (6 components, one point) with a 6-value offset gives its 6 values and nothing at positions 6 and 7; a
// bar force table of 13 rows (6 components) gives its two points and nothing at position 12.
TEST(ElementExactness, RemainderRowsAreFormedButReachedByNoKey) {
  const Response m;
  ElementRecord bush = makeRecord(580, 0, m, Features{}, 70);
  bush.stressRecovery = table(8, 12, 71);
  bush.stressOffset = table(6, 1, 72);
  ElementRecord bar = makeRecord(583, 1, m, Features{}, 80);
  bar.forceRecovery = table(13, 12, 81);
  bar.velocityForce = table(13, 12, 82);
  bar.forceLoad = table(13, std::uint32_t(m.loads), 83);
  bar.forceOffset = table(6, 2, 84);
  TempFile file("remainder_rows");
  makeFile(m, {{11, bush}, {12, bar}}).write(file.path());

  const std::vector<std::int32_t> deform = {121101, 121102, 121103, 121104, 121105, 121106,
                                            responseId(1, 121101), responseId(1, 121102)};
  const std::vector<std::int32_t> force = {responseId(1, 140402), responseId(2, 140407), responseId(3, 140402)};
  for (const auto& request : {std::make_pair(11, deform), std::make_pair(12, force)}) {
    const ElementRecord& r = request.first == 11 ? bush : bar;
    const std::vector<std::int32_t>& keys = request.second;
    const Call history = outputHistory(file.path(), kElementResults, {request.first}, keys, m.steps);
    ASSERT_EQ(history.status, 0) << request.first;
    for (std::int32_t t = 0; t < m.steps; ++t) {
      const Call step = outputStep(file.path(), kElementResults, {request.first}, keys, t + 1);
      ASSERT_EQ(step.status, 0);
      for (std::size_t k = 0; k < keys.size(); ++k) {
        // Formed here: the whole points' rows only (the offset has exactly those values).
        const bool reachable = request.first == 11 ? k < 6 : k < 2;
        const double expected = reachable ? expectedValue(r, keys[k], Inputs{m, kElementResults, 0}, t) : 0.0;
        EXPECT_TRUE(close(history.result[k + keys.size() * std::size_t(t)], expected)) << keys[k];
        EXPECT_EQ(history.result[k + keys.size() * std::size_t(t)], step.result[k]) << keys[k];
      }
    }
  }
}

// One warping bar over 10,000 steps in a file of about 1.1 MB that holds only sections 21, 4 and 3: the history
// is formed a tile at a time, so the per-call allocation limit (four times the file) does not refuse it.
TEST(ElementExactness, LongHistoryInASmallFileIsFormed) {
  Response m = longResponse(10000);
  m.dofs = 14;
  m.u = waves(std::int64_t(m.dofs) * m.steps, 211);
  ElementRecord r = ElementRecord::make(586, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13});
  const std::uint32_t fc = std::uint32_t(componentsOf(586, kForce)), sc = std::uint32_t(componentsOf(586, kStress));
  r.forceRecovery = table(fc * 2, 14, 212);
  r.stressRecovery = table(sc * 2, 14, 213);
  r.forceLoad = table(fc * 2, std::uint32_t(m.loads), 214);
  r.stressLoad = table(sc * 2, std::uint32_t(m.loads), 215);
  r.setReference(waves(14, 216));
  KernelFile f;
  f.setMatrix(21, m.steps, m.dofs, std::vector<double>(m.u));
  f.setMatrix(4, m.loads, m.steps, std::vector<double>(m.a));
  f.addElement(77, r);
  TempFile file("long_history");
  f.write(file.path());
  const std::vector<std::int32_t> keys = {responseId(1, 140402), responseId(2, 142101), responseId(1, 530403)};
  const Call history = outputHistory(file.path(), kElementResults, {77}, keys, m.steps);
  ASSERT_EQ(history.status, 0);
  for (std::int32_t t : {0, 63, 64, 1023, 1024, 5000, 9999}) {
    for (std::size_t k = 0; k < keys.size(); ++k) {
      EXPECT_TRUE(close(history.result[k + keys.size() * std::size_t(t)],
                        expectedValue(r, keys[k], Inputs{m, kElementResults, 0}, t)))
          << keys[k] << " step " << t;
    }
  }
}

// ---------------------------------------------------------------------------------------------------------------
// Files that do not store velocities or accelerations, in every storage (direct and modal, by step and by
// degree of freedom), written as 0 x 0, a x 0 or 0 x b.

namespace {

using testsupport::nameOf;
using testsupport::Unstored;

// One element of each class, with velocity tables (slots 0..9) and without (slots 10..19).
std::vector<Element> everyClassWithAndWithoutVelocity(const Response& m) {
  std::vector<Element> elements;
  for (std::int32_t slot = 0; slot < 20; ++slot) {
    Features features;
    features.velocity = slot < 10;
    elements.push_back(
        {idOf(std::size_t(slot)), makeRecord(kAllClasses[slot % 10], slot, m, features, 90 + slot)});
  }
  return elements;
}

// Checks both flows of element `e` against the formula (with `r`'s tables) at every step.
void expectBothFlows(const std::string& path, const Element& e, const ElementRecord& r, const Response& m,
                     std::int32_t flags, std::int32_t mode) {
  const std::vector<std::int32_t> keys = everyKeyOf(e.record.typeCode);
  const Call history = outputHistory(path, flags, {e.id}, keys, m.steps, mode);
  ASSERT_EQ(history.status, 0) << "type " << e.record.typeCode;
  for (std::int32_t t = 0; t < m.steps; ++t) {
    const Call step = outputStep(path, flags, {e.id}, keys, t + 1, mode);
    ASSERT_EQ(step.status, 0) << "type " << e.record.typeCode;
    for (std::size_t k = 0; k < keys.size(); ++k) {
      const double expected = expectedValue(r, keys[k], Inputs{m, flags, mode - 1}, t);
      const double h = history.result[k + keys.size() * std::size_t(t)];
      EXPECT_TRUE(close(h, expected)) << "type " << e.record.typeCode << " key " << keys[k] << " step " << t;
      EXPECT_EQ(h, step.result[k]) << "type " << e.record.typeCode << " key " << keys[k] << " step " << t;
    }
  }
}

}  // namespace

// Element values never use accelerations: with the acceleration sections empty every request answers in full,
// the velocity term included, under flags 0, 2, 4 and 2 + 4.
TEST(ElementUnstoredQuantities, EmptyAccelerationSectionsChangeNothing) {
  const Response m;
  const std::vector<Element> elements = everyClassWithAndWithoutVelocity(m);
  for (Unstored shape : {Unstored::kNone, Unstored::kRowsOnly, Unstored::kColumnsOnly}) {
    KernelFile f = makeFile(m, elements);
    testsupport::writeUnstored(f, 2, shape, m.dofs, m.modes, m.steps);
    TempFile file("no_accelerations");
    f.write(file.path());
    for (std::int32_t extra : {0, kRotate, kSingleMode, kRotate | kSingleMode}) {
      const std::int32_t flags = kElementResults | extra;
      const std::int32_t mode = (extra & kSingleMode) != 0 ? 3 : 0;
      SCOPED_TRACE(std::string(nameOf(shape)) + " flags " + std::to_string(flags));
      for (const Element& e : elements) expectBothFlows(file.path(), e, e.record, m, flags, mode);
    }
  }
}

// Without velocities in any storage: without flag 4 both flows answer with no velocity term; under flag 4 the
// modal velocity read fails, so the history of an element with a velocity table fails with the array zero, the
// history of one without answers in full (its velocities are never read), and the single step, which reads the
// velocities of the whole model at its step, fails.
TEST(ElementUnstoredQuantities, WithoutVelocitiesNoVelocityTermAndASingleModeFailsWhereItReadsThem) {
  const Response m;
  const std::vector<Element> elements = everyClassWithAndWithoutVelocity(m);
  for (Unstored shape : {Unstored::kNone, Unstored::kRowsOnly, Unstored::kColumnsOnly}) {
    KernelFile f = makeFile(m, elements);
    testsupport::writeUnstored(f, 1, shape, m.dofs, m.modes, m.steps);
    TempFile file("no_velocities_anywhere");
    f.write(file.path());
    for (std::int32_t extra : {0, kRotate}) {
      SCOPED_TRACE(std::string(nameOf(shape)) + " flags " + std::to_string(kElementResults | extra));
      for (const Element& e : elements) {
        ElementRecord withoutVelocity = e.record;
        withoutVelocity.velocityForce = Table{};
        expectBothFlows(file.path(), e, withoutVelocity, m, kElementResults | extra, 0);
      }
    }
    for (std::int32_t extra : {kSingleMode, kSingleMode | kRotate}) {
      const std::int32_t flags = kElementResults | extra;
      SCOPED_TRACE(std::string(nameOf(shape)) + " flags " + std::to_string(flags));
      for (const Element& e : elements) {
        const std::vector<std::int32_t> keys = everyKeyOf(e.record.typeCode);
        const Call step = outputStep(file.path(), flags, {e.id}, keys, 2, 1);
        EXPECT_EQ(step.status, -1) << e.record.typeCode;
        EXPECT_TRUE(std::all_of(step.result.begin(), step.result.end(), [](double x) { return x == 0.0; }));
        const Call history = outputHistory(file.path(), flags, {e.id}, keys, m.steps, 1);
        if (hasValues(e.record.velocityForce)) {
          EXPECT_EQ(history.status, -1) << e.record.typeCode;
          EXPECT_TRUE(
              std::all_of(history.result.begin(), history.result.end(), [](double x) { return x == 0.0; }));
          continue;
        }
        ASSERT_EQ(history.status, 0) << e.record.typeCode;
        for (std::int32_t t = 0; t < m.steps; ++t) {
          for (std::size_t k = 0; k < keys.size(); ++k) {
            EXPECT_TRUE(close(history.result[k + keys.size() * std::size_t(t)],
                              expectedValue(e.record, keys[k], Inputs{m, flags, 0}, t)))
                << e.record.typeCode << " key " << keys[k] << " step " << t;
          }
        }
      }
    }
  }
}

// Only the direct velocity sections are empty: under flag 4 the modal ones give the velocity term in both
// flows.
TEST(ElementUnstoredQuantities, ModalVelocitiesServeASingleModeWhenTheDirectOnesAreEmpty) {
  const Response m;
  const std::vector<Element> elements = everyClassWithAndWithoutVelocity(m);
  KernelFile f = makeFile(m, elements);
  f.setMatrix(16, 0, 0, std::vector<double>());
  f.setMatrix(22, 0, 0, std::vector<double>());
  TempFile file("no_direct_velocities");
  f.write(file.path());
  for (std::int32_t extra : {kSingleMode, kSingleMode | kRotate}) {
    SCOPED_TRACE("flags " + std::to_string(kElementResults | extra));
    for (const Element& e : elements) expectBothFlows(file.path(), e, e.record, m, kElementResults | extra, 2);
  }
}
