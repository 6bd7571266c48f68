// Element recovery on elements filled in memory: the checked matrix-matrix product, the all-steps form against
// a per-step evaluation done here with the BLAS matrix-vector routine, and the selection and shape rules.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "keys/KeySet.h"
#include "keys/LineElementKeys.h"
#include "base/Blas.h"
#include "model/ElementFamily.h"
#include "evaluate/KeyedRecovery.h"
#include "support/TestSupport.h"

namespace Zarn {
namespace {

using testsupport::approx;
using testsupport::raisesFailure;

constexpr double kGap = -777.0;

double wave(std::int32_t seed, std::int64_t k) {
  const double x = static_cast<double>(k);
  return std::sin(0.61 * x + 1.13 * seed) + 0.3 * std::cos(0.17 * x * x + seed);
}

void fill(Matrix& m, std::int32_t rows, std::int32_t cols, std::int32_t seed) {
  m.resize(rows, cols);
  for (std::int32_t c = 0; c < cols; ++c)
    for (std::int32_t r = 0; r < rows; ++r) m.at(r, c) = wave(seed, r + std::int64_t(c) * rows);
}

void fill(Vector& v, std::int32_t size, std::int32_t seed) {
  v.resize(size);
  for (std::int32_t k = 0; k < size; ++k) *v.at(k) = wave(seed, k);
}

void select(TimeKernelKeySet& keys, const std::vector<std::int32_t>& ids) {
  const RequestList list{ids.data(), std::int32_t(ids.size()), 1, false};
  keys.selectElementResponses(list);
}

// ---------------------------------------------------------------------------------------------------------------
// The checked DGEMM.

struct GemmCase {
  std::int32_t m, n, k, lda, ldb, ldc;
  double alpha, beta;
};

void checkGemm(const GemmCase& c) {
  SCOPED_TRACE(testing::Message() << "m=" << c.m << " n=" << c.n << " k=" << c.k << " alpha=" << c.alpha
                                  << " beta=" << c.beta);
  std::vector<double> a(std::size_t(c.lda) * std::size_t(c.k > 0 ? c.k : 1), kGap);
  std::vector<double> b(std::size_t(c.ldb) * std::size_t(c.n), kGap);
  std::vector<double> cm(std::size_t(c.ldc) * std::size_t(c.n), kGap);
  for (std::int32_t j = 0; j < c.k; ++j)
    for (std::int32_t i = 0; i < c.m; ++i) a[std::size_t(i + j * c.lda)] = wave(1, i + 7 * j);
  for (std::int32_t j = 0; j < c.n; ++j)
    for (std::int32_t i = 0; i < c.k; ++i) b[std::size_t(i + j * c.ldb)] = wave(2, i + 5 * j);
  for (std::int32_t j = 0; j < c.n; ++j)
    for (std::int32_t i = 0; i < c.m; ++i) cm[std::size_t(i + j * c.ldc)] = wave(3, i + 3 * j);
  std::vector<double> expected = cm;
  for (std::int32_t j = 0; j < c.n; ++j) {
    for (std::int32_t i = 0; i < c.m; ++i) {
      double sum = 0.0;
      for (std::int32_t l = 0; l < c.k; ++l)
        sum += a[std::size_t(i + l * c.lda)] * b[std::size_t(l + j * c.ldb)];
      const std::size_t at = std::size_t(i + j * c.ldc);
      expected[at] = c.alpha * sum + c.beta * cm[at];
    }
  }
  DGEMM(c.m, c.n, c.k, c.alpha, a.data(), c.lda, b.data(), c.ldb, c.beta, cm.data(), c.ldc);
  for (std::size_t s = 0; s < cm.size(); ++s)
    EXPECT_TRUE(approx(cm[s], expected[s], 1e-13, 1e-13)) << "slot " << s;
}

TEST(RecoveryProducts, MatrixProductAgainstLoops) {
  checkGemm({5, 4, 3, 5, 3, 5, 1.0, 0.0});
  checkGemm({5, 4, 3, 7, 6, 9, -1.0, 1.0});  // leading dimensions beyond the rows: the gaps stay
  checkGemm({70, 33, 24, 70, 24, 70, 1.0, 1.0});
  checkGemm({1, 1, 1, 1, 1, 1, 2.5, -0.5});
}

TEST(RecoveryProducts, AnEmptySumScalesByBeta) {
  checkGemm({4, 3, 0, 4, 1, 6, 1.0, 1.0});
  checkGemm({4, 3, 0, 4, 1, 4, 1.0, 0.0});
  checkGemm({4, 3, 0, 4, 1, 4, 1.0, -2.0});
}

TEST(RecoveryProducts, NoRowsOrNoColumnsTouchNothing) {
  std::vector<double> c(6, kGap);
  DGEMM(0, 3, 2, 1.0, nullptr, 1, nullptr, 2, 0.0, c.data(), 1);
  DGEMM(3, 0, 2, 1.0, nullptr, 3, nullptr, 2, 0.0, c.data(), 3);
  for (double x : c) EXPECT_EQ(x, kGap);
}

TEST(RecoveryProducts, ArgumentsTheRoutineWouldRefuseFailFirst) {
  std::vector<double> a(64, 1.0), b(64, 1.0), c(64, 0.0);
  EXPECT_TRUE(raisesFailure([&] { DGEMM(-1, 2, 2, 1.0, a.data(), 1, b.data(), 2, 0.0, c.data(), 1); }));
  EXPECT_TRUE(raisesFailure([&] { DGEMM(2, -1, 2, 1.0, a.data(), 2, b.data(), 2, 0.0, c.data(), 2); }));
  EXPECT_TRUE(raisesFailure([&] { DGEMM(2, 2, -1, 1.0, a.data(), 2, b.data(), 1, 0.0, c.data(), 2); }));
  EXPECT_TRUE(raisesFailure([&] { DGEMM(4, 2, 2, 1.0, a.data(), 3, b.data(), 2, 0.0, c.data(), 4); }));
  EXPECT_TRUE(raisesFailure([&] { DGEMM(4, 2, 3, 1.0, a.data(), 4, b.data(), 2, 0.0, c.data(), 4); }));
  EXPECT_TRUE(raisesFailure([&] { DGEMM(4, 2, 3, 1.0, a.data(), 4, b.data(), 3, 0.0, c.data(), 3); }));
  EXPECT_TRUE(raisesFailure([&] { DGEMM(4, 2, 3, 1.0, a.data(), 4, b.data(), 3, 0.0, nullptr, 4); }));
  EXPECT_TRUE(raisesFailure([&] { DGEMM(4, 2, 3, 1.0, nullptr, 4, b.data(), 3, 0.0, c.data(), 4); }));
  EXPECT_TRUE(raisesFailure([&] { DGEMM(4, 2, 3, 1.0, a.data(), 4, nullptr, 3, 0.0, c.data(), 4); }));
}

// ---------------------------------------------------------------------------------------------------------------
// The all-steps form against the per-step one.

constexpr std::int32_t kDofs = 24, kSteps = 50, kLoads = 2;

// A shell with 14 force components at 5 points and 6 stress components at 10, every table filled.
void fillShell(TimeKernelElementShell& e) {
  fill(e.forceRecovery, 70, kDofs, 1);
  fill(e.stressRecovery, 60, kDofs, 2);
  fill(e.velocityForce, 70, kDofs, 3);
  fill(e.forceOffset, 14, 5, 4);
  fill(e.stressOffset, 6, 10, 5);
  fill(e.forceLoad, 70, kLoads, 6);
  fill(e.stressLoad, 60, kLoads, 7);
  fill(e.referenceDisplacement, kDofs, 8);
  fill(e.forceRotation, 3, 3, 9);
  fill(e.stressRotation, 6, 6, 10);
}

// Response ids of every position of a key with `codes` at `points` locations, position order.
std::vector<std::int32_t> everyPosition(const std::vector<std::int32_t>& codes, std::int32_t points,
                                        std::int32_t firstLocation) {
  std::vector<std::int32_t> ids;
  for (std::int32_t p = 0; p < points; ++p)
    for (std::int32_t code : codes) ids.push_back((p + firstLocation) * 100000000 + code);
  return ids;
}

const std::vector<std::int32_t> kShellForce = {419101, 419102, 419103, 419104, 419105, 419106, 410402,
                                               410403, 410404, 410406, 410407, 410408, 410409, 410410};
const std::vector<std::int32_t> kShellStress = {412101, 412102, 412104, 412151, 412152, 412154};

// Keys for every force component at the 5 points and every stress component at the 10 points of the shell.
void selectEveryShellComponent(TimeKernelKeySet& keys) {
  std::vector<std::int32_t> ids = everyPosition(kShellForce, 5, 0);
  const std::vector<std::int32_t> stressIds = everyPosition(kShellStress, 10, 0);
  ids.insert(ids.end(), stressIds.begin(), stressIds.end());
  select(keys, ids);
}

// Displacements, velocities and load factors over kSteps, filled from seeds `seed`, `seed + 1` and `seed + 2`.
void fillRun(Matrix& u, Matrix& vel, Matrix& a, std::int32_t seed) {
  fill(u, kDofs, kSteps, seed);
  fill(vel, kDofs, kSteps, seed + 1);
  fill(a, kLoads, kSteps, seed + 2);
}

// y_j = F u_j - F u0 + f0 [+ V v_j] - sum_i a_ij L(:, i), one step at a time with dgemv_, in the designed
// order. `scale` receives, per entry, the sum of the magnitudes of every term: the size against which rounding
// counts.
void perStep(const Matrix& f, const Vector& u0, const Matrix& offset, const Matrix* v, const Matrix& load,
             const Matrix& u, const Matrix& vel, const Matrix& a, std::int32_t j, std::vector<double>& y,
             std::vector<double>& scale) {
  const int m = f.rows, n = f.cols, ldf = f.stride, one = 1;
  const double plus = 1.0, minus = -1.0, zero = 0.0;
  const char trans = 'N';
  y.assign(std::size_t(m), 0.0);
  scale.assign(std::size_t(m), 0.0);
  dgemv_(&trans, &m, &n, &plus, f.data, &ldf, &u.data[std::int64_t(j) * u.stride], &one, &zero, y.data(), &one,
         1);
  dgemv_(&trans, &m, &n, &minus, f.data, &ldf, u0.data, &one, &plus, y.data(), &one, 1);
  for (std::int32_t k = 0; k < m; ++k) y[std::size_t(k)] += offset.data[k];
  if (v != nullptr) {
    const int ldv = v->stride;
    dgemv_(&trans, &m, &n, &plus, v->data, &ldv, &vel.data[std::int64_t(j) * vel.stride], &one, &plus, y.data(),
           &one, 1);
  }
  for (std::int32_t i = 0; i < a.rows; ++i)
    for (std::int32_t k = 0; k < m; ++k) y[std::size_t(k)] -= a.at(i, j) * load.at(k, i);
  for (std::int32_t k = 0; k < m; ++k) {
    double s = std::abs(offset.data[k]);
    for (std::int32_t c = 0; c < n; ++c) {
      s += std::abs(f.at(k, c)) * (std::abs(u.at(c, j)) + std::abs(*u0.at(c)));
      if (v != nullptr) s += std::abs(v->at(k, c) * vel.at(c, j));
    }
    for (std::int32_t i = 0; i < a.rows; ++i) s += std::abs(a.at(i, j) * load.at(k, i));
    scale[std::size_t(k)] = s;
  }
}

TEST(RecoveryFastPath, AllStepsAgreeWithThePerStepProducts) {
  TimeKernelElementShell shell;
  fillShell(shell);
  TimeKernelKeySet keys;
  selectEveryShellComponent(keys);
  Matrix u, vel, a;
  fillRun(u, vel, a, 11);
  std::vector<double> out(std::size_t(130) * kSteps, kGap);
  Matrix output = Matrix::view(130, kSteps, out.data(), 130);
  recoverForce(shell, keys, 0, u, vel, a, output);
  recoverStress(shell, keys, 0, u, a, output);

  std::vector<double> y, scale;
  for (std::int32_t j = 0; j < kSteps; ++j) {
    perStep(shell.forceRecovery, shell.referenceDisplacement, shell.forceOffset, &shell.velocityForce,
            shell.forceLoad, u, vel, a, j, y, scale);
    for (std::int32_t p = 0; p < 70; ++p)
      EXPECT_TRUE(approx(output.at(p, j), y[std::size_t(p)], 1e-12 * scale[std::size_t(p)], 1e-12))
          << p << "," << j;
    perStep(shell.stressRecovery, shell.referenceDisplacement, shell.stressOffset, nullptr, shell.stressLoad, u,
            vel, a, j, y, scale);
    for (std::int32_t p = 0; p < 60; ++p)
      EXPECT_TRUE(approx(output.at(70 + p, j), y[std::size_t(p)], 1e-12 * scale[std::size_t(p)], 1e-12))
          << p << "," << j;
  }
}

TEST(RecoveryFastPath, OneColumnEqualsTheMatchingColumnOfAllSteps) {
  TimeKernelElementShell shell;
  fillShell(shell);
  TimeKernelKeySet keys;
  selectEveryShellComponent(keys);
  Matrix u, vel, a;
  fillRun(u, vel, a, 21);
  for (std::int32_t flags : {0, 2}) {
    std::vector<double> all(std::size_t(130) * kSteps, kGap);
    Matrix output = Matrix::view(130, kSteps, all.data(), 130);
    recoverForce(shell, keys, flags, u, vel, a, output);
    recoverStress(shell, keys, flags, u, a, output);
    for (std::int32_t j : {0, 17, kSteps - 1}) {
      std::vector<double> one(130, kGap);
      Matrix column = Matrix::view(130, 1, one.data(), 130);
      const Matrix uj = Matrix::view(kDofs, 1, &u.at(0, j), kDofs);
      const Matrix vj = Matrix::view(kDofs, 1, &vel.at(0, j), kDofs);
      const Matrix aj = Matrix::view(kLoads, 1, &a.at(0, j), kLoads);
      recoverForce(shell, keys, flags, uj, vj, aj, column);
      recoverStress(shell, keys, flags, uj, aj, column);
      for (std::size_t p = 0; p < 130; ++p) {
        EXPECT_NE(one[p], kGap);
        EXPECT_TRUE(approx(one[p], output.at(std::int32_t(p), j), 1e-11, 1e-12)) << p << "," << j;
      }
    }
  }
}

// ---------------------------------------------------------------------------------------------------------------
// Selection and shapes.

TEST(Recovery, AnUnknownTypeCodeRecoversNothingAndAddsNoKey) {
  TimeKernelElement element;  // type code 0
  fill(element.forceRecovery, 6, 4, 1);
  fill(element.stressRecovery, 6, 4, 2);
  TimeKernelKeySet keys;
  select(keys, {419101, 412101, 121101});
  const std::size_t force = keys.forceKeys.size(), stress = keys.stressKeys.size(),
                    deform = keys.deformKeys.size();
  Matrix u;
  fill(u, 4, 3, 3);
  std::vector<double> out(9, kGap);
  Matrix output = Matrix::view(3, 3, out.data(), 3);
  recoverForce(element, keys, 2, u, Matrix(), Matrix(), output);
  recoverStress(element, keys, 2, u, Matrix(), output);
  recoverDeform(element, keys, u, output);
  for (double x : out) EXPECT_EQ(x, kGap);
  EXPECT_EQ(keys.forceKeys.size(), force);
  EXPECT_EQ(keys.stressKeys.size(), stress);
  EXPECT_EQ(keys.deformKeys.size(), deform);
  EXPECT_EQ(keys.forceKeys.count(0), 0u);
}

TEST(Recovery, EntriesOutsideTheResultOrTheOutputAreSkipped) {
  TimeKernelElementRod rod;          // 2 force components
  fill(rod.forceRecovery, 4, 6, 1);  // 2 points
  TimeKernelKeySet keys;
  // Ordinal 0: location 3 (position 4, beyond the 4 values); ordinal 1: position 1; ordinal 2: position 2, but
  // the output view has 2 rows only.
  select(keys, {300000000 + 130402, 100000000 + 130406, 200000000 + 130402});
  Matrix u;
  fill(u, 6, 4, 2);
  // The view: 2 rows in a buffer of 3 rows per column, so that row 2 is a gap the recovery must not touch.
  std::vector<double> out(12, kGap);
  Matrix output = Matrix::view(2, 4, out.data(), 3);
  recoverForce(rod, keys, 0, u, Matrix(), Matrix(), output);
  for (std::int32_t j = 0; j < 4; ++j) {
    double y1 = 0.0;
    for (std::int32_t c = 0; c < 6; ++c) y1 += rod.forceRecovery.at(1, c) * u.at(c, j);
    EXPECT_EQ(out[std::size_t(3 * j)], kGap);
    EXPECT_TRUE(approx(out[std::size_t(3 * j + 1)], y1, 1e-13, 1e-13));
    EXPECT_EQ(out[std::size_t(3 * j + 2)], kGap);
  }
}

TEST(Recovery, AnOutputWithFewerColumnsTakesOnlyItsOwn) {
  TimeKernelElementShell shell;
  fillShell(shell);
  TimeKernelKeySet keys;
  select(keys, {419101, 412101});
  Matrix u, vel, a;
  fill(u, kDofs, kSteps, 31);
  fill(vel, kDofs, kSteps, 32);
  fill(a, kLoads, kSteps, 33);
  std::vector<double> out(2 * 3 + 4, kGap);
  Matrix output = Matrix::view(2, 3, out.data(), 2);
  recoverForce(shell, keys, 2, u, vel, a, output);
  recoverStress(shell, keys, 2, u, a, output);
  for (std::size_t k = 0; k < 6; ++k) EXPECT_NE(out[k], kGap);
  for (std::size_t k = 6; k < out.size(); ++k) EXPECT_EQ(out[k], kGap);
}

TEST(Recovery, AnEmptySelectionEndsBeforeAnyCheck) {
  TimeKernelElementBar bar;
  fill(bar.forceRecovery, 7, 5, 1);  // not whole points, and not the dof count below
  TimeKernelKeySet keys;             // nothing selected
  Matrix u;
  fill(u, 3, 2, 2);
  std::vector<double> out(4, kGap);
  Matrix output = Matrix::view(2, 2, out.data(), 2);
  recoverForce(bar, keys, 0, u, Matrix(), Matrix(), output);
  for (double x : out) EXPECT_EQ(x, kGap);
  select(keys, {100000000 + 140402});
  EXPECT_TRUE(raisesFailure([&] { recoverForce(bar, keys, 0, u, Matrix(), Matrix(), output); }));
  for (double x : out) EXPECT_EQ(x, kGap);
}

TEST(Recovery, StressOfBushAndRigidBarAndDeformationOfOthersDoNothingEvenWithAKey) {
  TimeKernelKeySet keys;
  // Keys the registry does not hold, placed here only to show that the classes themselves refuse.
  keys.stressKeys[TimeKernelElementBush::kTypeCode] = makeCounted<TimeKernelRodStressKeyInfo>();
  keys.stressKeys[TimeKernelElementRigidBar::kTypeCode] = makeCounted<TimeKernelRodStressKeyInfo>();
  keys.deformKeys[TimeKernelElementRod::kTypeCode] = makeCounted<TimeKernelBushDeformKeyInfo>();
  select(keys, {100000000 + 132101, 121101});
  TimeKernelElementBush bush;
  TimeKernelElementRigidBar rigid;
  TimeKernelElementRod rod;
  for (TimeKernelElement* e : {static_cast<TimeKernelElement*>(&bush), static_cast<TimeKernelElement*>(&rigid),
                               static_cast<TimeKernelElement*>(&rod)}) {
    fill(e->stressRecovery, 6, 4, 1);
  }
  Matrix u;
  fill(u, 4, 3, 2);
  std::vector<double> out(6, kGap);
  Matrix output = Matrix::view(2, 3, out.data(), 2);
  recoverStress(bush, keys, 0, u, Matrix(), output);
  recoverStress(rigid, keys, 0, u, Matrix(), output);
  recoverDeform(rod, keys, u, output);
  recoverDeform(rigid, keys, u, output);
  for (double x : out) EXPECT_EQ(x, kGap);
  // The bush does have its deformation: ordinal 1, position 0.
  recoverDeform(bush, keys, u, output);
  for (std::int32_t j = 0; j < 3; ++j) {
    double y0 = 0.0;
    for (std::int32_t c = 0; c < 4; ++c) y0 += bush.stressRecovery.at(0, c) * u.at(c, j);
    EXPECT_EQ(out[std::size_t(2 * j)], kGap);
    EXPECT_TRUE(approx(out[std::size_t(2 * j + 1)], y0, 1e-13, 1e-13));
  }
}

TEST(Recovery, VelocitiesOrLoadFactorsShorterThanTheStepsFail) {
  TimeKernelElementShell shell;
  fillShell(shell);
  TimeKernelKeySet keys;
  select(keys, {419101, 412101});
  Matrix u, vel, shortVel, a, shortA;
  fill(u, kDofs, 6, 1);
  fill(vel, kDofs, 6, 2);
  fill(shortVel, kDofs, 5, 3);
  fill(a, kLoads, 6, 4);
  fill(shortA, kLoads, 5, 5);
  std::vector<double> out(12, 0.0);
  Matrix output = Matrix::view(2, 6, out.data(), 2);
  EXPECT_TRUE(raisesFailure([&] { recoverForce(shell, keys, 0, u, shortVel, a, output); }));
  EXPECT_TRUE(raisesFailure([&] { recoverForce(shell, keys, 0, u, vel, shortA, output); }));
  EXPECT_TRUE(raisesFailure([&] { recoverStress(shell, keys, 0, u, shortA, output); }));
  for (double x : out) EXPECT_EQ(x, 0.0);
  recoverForce(shell, keys, 0, u, vel, a, output);
  recoverStress(shell, keys, 0, u, a, output);
  for (double x : out) EXPECT_NE(x, 0.0);
}

}  // namespace
}  // namespace Zarn
