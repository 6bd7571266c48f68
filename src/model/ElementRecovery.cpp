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
  std::int32_t size = 0;        // rows of the recovery table: the values each product writes
  std::int32_t reachable = 0;   // components * whole points: the values a selection or an offset can reach
  std::int32_t width = 0;       // time points formed: the displacement columns
  std::int32_t first = 0;       // the first formed time point that is written to the output
  std::int32_t columns = 0;     // time points written, to output columns 0 .. columns-1
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
              std::int32_t firstColumn, const Matrix& output) {
  Plan plan;
  const Matrix& f = t.recovery;
  plan.components = key.components;
  TK_CHECK(plan.components > 0);
  TK_CHECK(f.cols == displacements.rows);  // one table column per degree of freedom
  plan.size = f.rows;
  // A table whose rows are not a multiple of the component count: the products still write every row, but
  // only whole points are results; the remainder rows are reachable by no key.
  plan.reachable = f.rows / plan.components * plan.components;
  plan.width = displacements.cols;
  TK_CHECK(firstColumn >= 0 && firstColumn <= plan.width);
  plan.first = firstColumn;
  plan.columns = std::min(plan.width - firstColumn, output.cols);

  const Vector& u0 = element.referenceDisplacement;
  plan.reference = !u0.empty();
  if (plan.reference) TK_CHECK(u0.size == f.cols);

  plan.offset = !t.offset.empty();
  if (plan.offset) {
    if (t.flatOffset) {
      TK_CHECK(t.offset.count() >= plan.reachable);
    } else {
      // One value for each result, or one for each table row.
      TK_CHECK(t.offset.count() == plan.reachable || t.offset.count() == plan.size);
    }
  }

  plan.velocity = t.velocity != nullptr && !t.velocity->empty() && !velocities.empty();
  if (plan.velocity) {
    TK_CHECK(t.velocity->rows == plan.size && t.velocity->cols == velocities.rows);
    TK_CHECK(velocities.cols >= plan.width);
  }

  plan.load = t.load != nullptr && !t.load->empty() && !loadFactors.empty();
  if (plan.load) {
    TK_CHECK(t.load->rows >= plan.size);         // each load column holds a whole result
    TK_CHECK(t.load->cols >= loadFactors.rows);  // a load-factor row beyond the load table
    TK_CHECK(loadFactors.cols >= plan.width);
  }

  for (const IdMap::Entry& entry : *key.selection) {
    if (entry.key < 0 || entry.key >= plan.reachable) continue;
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

// Forms every time point of the tile: Y = (f0 - F u0) + F U + V Vdot - L A, one matrix-matrix product per term
// over all columns, with the constant column formed once and standing in Y before the first product adds to it.
// Both flows form their values here, the one-step flow on a tile of the history's width with its step at the
// history's column (ElementTile.h), so that a value comes from the same operations on the same operands in
// either flow and agrees to the bit.
void formColumns(const TimeKernelElement& element, const Tables& t, const Plan& plan,
                 const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors, Matrix& y) {
  const Matrix& f = t.recovery;
  const std::int32_t n = plan.width;
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

// The common recovery: check, form the tile's columns, rotate when asked, pick the selected positions of the
// columns that are written.
void recover(const TimeKernelElement& element, const Tables& t, const RecoveryPicks& key, bool rotateResult,
             const Matrix& displacements, const Matrix& velocities,
             const Matrix& loadFactors, std::int32_t firstColumn, Matrix& output) {
  const Plan plan = makePlan(element, t, key, displacements, velocities, loadFactors, firstColumn, output);
  if (plan.picks.empty() || plan.columns <= 0) return;

  // The result: one column of `size` values per time point, owned here for the time of this recovery.
  Matrix y;
  y.resize(plan.size, plan.width);
  formColumns(element, t, plan, displacements, velocities, loadFactors, y);

  const bool rotated = rotateResult && t.rotation != Rotation::kNone;
  const std::int32_t points = plan.reachable / plan.components;
  const std::int64_t outputDistance = output.columnDistance();
  for (std::int32_t j = 0; j < plan.columns; ++j) {
    double* column = &y.at(0, plan.first + j);
    if (rotated) {
      // The time point's result viewed as components by points, one point per column.
      Matrix point = Matrix::view(plan.components, points, column, plan.components);
      rotate(element, t.rotation, point);
    }
    double* target = output.data + j * outputDistance;
    for (const Pick& pick : plan.picks) target[pick.target] = column[pick.source];
  }
}

}  // namespace

bool hasPicks(const RecoveryPicks& picks) { return picks.selection != nullptr && !picks.selection->empty(); }

void recoverForce(const TimeKernelElement& element, const RecoveryPicks& picks, bool rotateResult,
                  const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                  Matrix& output, std::int32_t firstColumn) {
  if (element.forceRecovery.empty() || !hasPicks(picks)) return;
  const Tables t{element.forceRecovery, element.forceOffset, &element.velocityForce, &element.forceLoad, false,
                 Rotation::kForce};
  recover(element, t, picks, rotateResult, displacements, velocities, loadFactors, firstColumn, output);
}

void recoverStress(const TimeKernelElement& element, const RecoveryPicks& picks, bool rotateResult,
                   const Matrix& displacements, const Matrix& loadFactors, Matrix& output,
                   std::int32_t firstColumn) {
  if (!element.hasStressRecovery() || element.stressRecovery.empty() || !hasPicks(picks)) return;
  const Tables t{element.stressRecovery, element.stressOffset, nullptr, &element.stressLoad, false,
                 Rotation::kStress};
  const Matrix noVelocities;
  recover(element, t, picks, rotateResult, displacements, noVelocities, loadFactors, firstColumn, output);
}

void recoverDeform(const TimeKernelElement& element, const RecoveryPicks& picks, const Matrix& displacements,
                   Matrix& output, std::int32_t firstColumn) {
  if (!element.hasDeformRecovery() || element.stressRecovery.empty() || !hasPicks(picks)) return;
  const Tables t{element.stressRecovery, element.stressOffset, nullptr, nullptr, true, Rotation::kNone};
  const Matrix none;
  recover(element, t, picks, false, displacements, none, none, firstColumn, output);
}

}  // namespace Zarn
