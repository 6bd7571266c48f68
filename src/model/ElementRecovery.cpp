#include "model/ElementRecovery.h"

#include <algorithm>
#include <vector>

#include "base/Blas.h"
#include "base/Failure.h"

namespace Zarn {

namespace {

enum class Rotation { kNone, kForce, kStress };

// The tables one recovery works on, all of the element in use (valid until its clear).
struct Tables {
  const Matrix& recovery;  // F: result size by the element's dofs
  const Matrix& offset;    // f0
  const Matrix* velocity;  // V, or null when the recovery has no velocity term
  const Matrix* load;      // L, or null when the recovery has no load term
  bool flatOffset;         // the offset is a flat run over the result (deformation)
  Rotation rotation;
};

// One selection entry whose source lies in the result and whose target lies in the output.
struct Pick {
  std::int32_t source;
  std::int32_t target;
};

// What a recovery will do, fixed (and checked) before anything is formed.
struct Plan {
  std::int32_t components = 0;  // the key's componentCount: rows of one point's column
  std::int32_t size = 0;        // values of one result column: components * points, the recovery rows
  std::int32_t columns = 0;     // time points formed
  bool reference = false;       // take F u0 off
  bool offset = false;          // add f0
  bool velocity = false;        // add V v
  bool load = false;            // take the load terms off
  std::vector<Pick> picks;      // in the selection's order
};

// Checks every shape the products and copies will rely on, so that no product reads or writes outside a record,
// and lists the selection entries that land in the result and in the output.
Plan makePlan(const TimeKernelElement& element, const Tables& t, const RecoveryPicks& key,
              const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
              const Matrix& output) {
  Plan plan;
  const Matrix& f = t.recovery;
  plan.components = key.components;
  TK_CHECK(plan.components > 0);
  // The result is taken as whole points; a remainder would leave the rotation's view short of the product.
  TK_CHECK(f.rows % plan.components == 0);
  TK_CHECK(f.cols == displacements.rows);  // one table column per degree of freedom
  plan.size = f.rows;
  plan.columns = std::min(displacements.cols, output.cols);

  const Vector& u0 = element.referenceDisplacement;
  plan.reference = !u0.empty();
  if (plan.reference) TK_CHECK(u0.size == f.cols);

  plan.offset = !t.offset.empty();
  if (plan.offset) {
    if (t.flatOffset) {
      TK_CHECK(t.offset.count() >= plan.size);
    } else {
      TK_CHECK(t.offset.count() == plan.size);
    }
  }

  plan.velocity = t.velocity != nullptr && !t.velocity->empty() && !velocities.empty();
  if (plan.velocity) {
    TK_CHECK(t.velocity->rows == plan.size && t.velocity->cols == velocities.rows);
    TK_CHECK(velocities.cols >= plan.columns);
  }

  plan.load = t.load != nullptr && !t.load->empty() && !loadFactors.empty();
  if (plan.load) {
    TK_CHECK(t.load->rows >= plan.size);         // each load column holds a whole result
    TK_CHECK(t.load->cols >= loadFactors.rows);  // a load-factor row beyond the load table
    TK_CHECK(loadFactors.cols >= plan.columns);
  }

  for (const IdMap::Entry& entry : *key.selection) {
    if (entry.key < 0 || entry.key >= plan.size) continue;
    if (entry.value < 0 || entry.value >= output.rows) continue;
    plan.picks.push_back(Pick{entry.key, entry.value});
  }
  return plan;
}

// y[k] += the k-th value of `offset` in column-major order, for k below `size`; each column at the offset's own
// column distance.
void addOffset(const Matrix& offset, std::int32_t size, double* y) {
  const std::int64_t distance = offset.columnDistance();
  std::int32_t k = 0;
  for (std::int32_t c = 0; c < offset.cols && k < size; ++c) {
    const double* column = offset.data + c * distance;
    for (std::int32_t r = 0; r < offset.rows && k < size; ++r) y[k++] += column[r];
  }
}

// One time point by matrix-vector products, in the designed order: F u, - F u0, + f0, + V v, - L a.
void formOneColumn(const TimeKernelElement& element, const Tables& t, const Plan& plan,
                   const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                   double* y) {
  const Matrix& f = t.recovery;
  DGEMV(plan.size, f.cols, 1.0, f.data, f.columnDistance(), displacements.data, 1, 0.0, y, 1);
  if (plan.reference) {
    const Vector& u0 = element.referenceDisplacement;
    DGEMV(plan.size, f.cols, -1.0, f.data, f.columnDistance(), u0.data, u0.stride, 1.0, y, 1);
  }
  if (plan.offset) addOffset(t.offset, plan.size, y);
  if (plan.velocity) {
    const Matrix& v = *t.velocity;
    DGEMV(plan.size, v.cols, 1.0, v.data, v.columnDistance(), velocities.data, 1, 1.0, y, 1);
  }
  if (plan.load) {
    const Matrix& l = *t.load;
    const std::int64_t distance = l.columnDistance();
    for (std::int32_t i = 0; i < loadFactors.rows; ++i) {
      const double a = loadFactors.data[i];
      const double* column = l.data + i * distance;
      for (std::int32_t k = 0; k < plan.size; ++k) y[k] -= a * column[k];
    }
  }
}

// All time points at once, one matrix-matrix product per term: Y = (f0 - F u0) + F U + V Vdot - L A. The
// constant column is formed once and stands in Y before the first product adds to it.
void formAllColumns(const TimeKernelElement& element, const Tables& t, const Plan& plan,
                    const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                    Matrix& y) {
  const Matrix& f = t.recovery;
  const std::int32_t n = plan.columns;
  double beta = 0.0;
  if (plan.reference || plan.offset) {
    Vector constant;
    constant.resize(plan.size);
    constant.setZero();
    if (plan.offset) addOffset(t.offset, plan.size, constant.data);
    if (plan.reference) {
      const Vector& u0 = element.referenceDisplacement;
      DGEMV(plan.size, f.cols, -1.0, f.data, f.columnDistance(), u0.data, u0.stride, 1.0, constant.data, 1);
    }
    for (std::int32_t j = 0; j < n; ++j) std::copy(constant.data, constant.data + plan.size, &y.at(0, j));
    beta = 1.0;
  }
  DGEMM(plan.size, n, f.cols, 1.0, f.data, f.columnDistance(), displacements.data,
        displacements.columnDistance(), beta, y.data, y.stride);
  if (plan.velocity) {
    const Matrix& v = *t.velocity;
    DGEMM(plan.size, n, v.cols, 1.0, v.data, v.columnDistance(), velocities.data, velocities.columnDistance(),
          1.0, y.data, y.stride);
  }
  if (plan.load) {
    const Matrix& l = *t.load;
    DGEMM(plan.size, n, loadFactors.rows, -1.0, l.data, l.columnDistance(), loadFactors.data,
          loadFactors.columnDistance(), 1.0, y.data, y.stride);
  }
}

void rotate(const TimeKernelElement& element, Rotation rotation, Matrix& point) {
  if (rotation == Rotation::kForce) element.rotateForce(point);
  if (rotation == Rotation::kStress) element.rotateStress(point);
}

// The common recovery: check, form the result columns, rotate when asked, pick the selected positions.
void recover(const TimeKernelElement& element, const Tables& t, const RecoveryPicks& key, bool rotateResult,
             const Matrix& displacements, const Matrix& velocities,
             const Matrix& loadFactors, Matrix& output) {
  const Plan plan = makePlan(element, t, key, displacements, velocities, loadFactors, output);
  if (plan.picks.empty() || plan.columns <= 0) return;

  // The result: one column of `size` values per time point, owned here for the time of this recovery.
  Matrix y;
  y.resize(plan.size, plan.columns);
  if (plan.columns == 1) {
    formOneColumn(element, t, plan, displacements, velocities, loadFactors, y.data);
  } else {
    formAllColumns(element, t, plan, displacements, velocities, loadFactors, y);
  }

  if (rotateResult && t.rotation != Rotation::kNone) {
    // Each time point's result viewed as components by points, one point per column.
    const std::int32_t points = plan.size / plan.components;
    for (std::int32_t j = 0; j < plan.columns; ++j) {
      Matrix point = Matrix::view(plan.components, points, &y.at(0, j), plan.components);
      rotate(element, t.rotation, point);
    }
  }

  const std::int64_t outputDistance = output.columnDistance();
  for (std::int32_t j = 0; j < plan.columns; ++j) {
    const double* column = &y.at(0, j);
    double* target = output.data + j * outputDistance;
    for (const Pick& pick : plan.picks) target[pick.target] = column[pick.source];
  }
}

}  // namespace

bool hasPicks(const RecoveryPicks& picks) { return picks.selection != nullptr && !picks.selection->empty(); }

void recoverForce(const TimeKernelElement& element, const RecoveryPicks& picks, bool rotateResult,
                  const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                  Matrix& output) {
  if (element.forceRecovery.empty() || !hasPicks(picks)) return;
  const Tables t{element.forceRecovery, element.forceOffset, &element.velocityForce, &element.forceLoad, false,
                 Rotation::kForce};
  recover(element, t, picks, rotateResult, displacements, velocities, loadFactors, output);
}

void recoverStress(const TimeKernelElement& element, const RecoveryPicks& picks, bool rotateResult,
                   const Matrix& displacements, const Matrix& loadFactors, Matrix& output) {
  if (!element.hasStressRecovery() || element.stressRecovery.empty() || !hasPicks(picks)) return;
  const Tables t{element.stressRecovery, element.stressOffset, nullptr, &element.stressLoad, false,
                 Rotation::kStress};
  const Matrix noVelocities;
  recover(element, t, picks, rotateResult, displacements, noVelocities, loadFactors, output);
}

void recoverDeform(const TimeKernelElement& element, const RecoveryPicks& picks, const Matrix& displacements,
                   Matrix& output) {
  if (!element.hasDeformRecovery() || element.stressRecovery.empty() || !hasPicks(picks)) return;
  const Tables t{element.stressRecovery, element.stressOffset, nullptr, nullptr, true, Rotation::kNone};
  const Matrix none;
  recover(element, t, picks, false, displacements, none, none, output);
}

}  // namespace Zarn
