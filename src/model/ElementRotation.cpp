// How element results are turned into the output frame (recovery calls this when the caller asks for
// rotated results). A result view holds one result per column: its rows are the components of every point
// of the element, and each rotation turns a fixed group of them, in place, column by column.
//
// A rotation table is read as a column-major matrix: entry (r, c) at data[r + c * d], with d the table's
// stride, or its rows when the stride is 0. A group of values x is replaced by R x, with R the top-left block
// of the table, after all of x has been read.
//
// Safety: an empty table (rows * cols 0) turns nothing, as a node without a transform. A non-empty table
// smaller than the block it is read for, or a view whose columns are shorter than the values a rotation turns,
// fails the call; every check is made before the first value changes, so a failed rotation leaves the view as
// it was. A view with no columns is left alone.
#include <cstdint>

#include "model/ElementFamily.h"
#include "base/Failure.h"

namespace Zarn {

namespace {

// Largest block any rotation turns: the Solid's six stress components.
constexpr int kMaxBlock = 6;

// Whether `table` takes part: false when it is empty. A non-empty table must hold a size by size block at
// (0, 0); one that does not fails the call rather than be read past its end.
bool takesPart(const Matrix& table, std::int32_t size) {
  if (table.empty()) return false;
  TK_CHECK(table.rows >= size && table.cols >= size);
  return true;
}

// The view's columns must hold at least `rows` values each.
void requireRows(const Matrix& view, std::int32_t rows) { TK_CHECK(view.rows >= rows); }

// p[0..n-1] = A p[0..n-1], with A(r, c) = a[r + c * columnDistance]. All inputs are read before any is written.
void turn(const double* a, std::int64_t columnDistance, int n, double* p) {
  double x[kMaxBlock];
  for (int c = 0; c < n; ++c) x[c] = p[c];
  for (int r = 0; r < n; ++r) {
    double sum = 0.0;
    for (int c = 0; c < n; ++c) sum += a[r + c * columnDistance] * x[c];
    p[r] = sum;
  }
}

// Applies `step(column)` to every column of the view.
template <class Step>
void forEachColumn(Matrix& view, Step step) {
  const std::int64_t distance = view.columnDistance();
  for (std::int32_t j = 0; j < view.cols; ++j) step(view.data + j * distance);
}

// Values 0 to 2 of every column by the top-left 3 by 3 of `rotation`; the other values stay.
void turnFirstTriple(const Matrix& rotation, Matrix& view) {
  if (view.cols == 0 || !takesPart(rotation, 3)) return;
  requireRows(view, 3);
  const std::int64_t d = rotation.columnDistance();
  forEachColumn(view, [&](double* column) { turn(rotation.data, d, 3, column); });
}

}  // namespace

void TimeKernelElementPlaneStress::rotateForce(Matrix& view) const { turnFirstTriple(forceRotation, view); }
void TimeKernelElementPlaneStress::rotateStress(Matrix& view) const { turnFirstTriple(stressRotation, view); }

// The fourth stress value (the out-of-plane component) has no partner in the triple and stays.
void TimeKernelElementPlaneStrain::rotateForce(Matrix& view) const { turnFirstTriple(forceRotation, view); }
void TimeKernelElementPlaneStrain::rotateStress(Matrix& view) const { turnFirstTriple(stressRotation, view); }

void TimeKernelElementSolid::rotateForce(Matrix& view) const { turnFirstTriple(forceRotation, view); }

// All six stress values by the top-left 6 by 6 of stressRotation.
void TimeKernelElementSolid::rotateStress(Matrix& view) const {
  if (view.cols == 0 || !takesPart(stressRotation, 6)) return;
  requireRows(view, 6);
  const std::int64_t d = stressRotation.columnDistance();
  forEachColumn(view, [&](double* column) { turn(stressRotation.data, d, 6, column); });
}

// A shell force column has 14 values: two triples turned by forceRotation (values 0 to 5), then two triples
// (6 to 11) and a pair (12, 13) turned by stressRotation, the pair by its 2 by 2 block at row 3, column 3.
// Each table takes part on its own: an empty one leaves its values as they are.
void TimeKernelElementShell::rotateForce(Matrix& view) const {
  if (view.cols == 0) return;
  const bool byForce = takesPart(forceRotation, 3);
  // The 2 by 2 block at (3, 3) reaches row and column 4, so stressRotation must be at least 5 by 5.
  const bool byStress = takesPart(stressRotation, 5);
  if (byForce) requireRows(view, 6);
  if (byStress) requireRows(view, 14);

  const std::int64_t f = forceRotation.columnDistance();
  // With a stride of 0 the stress table is taken as packed blocks: the triples with a column distance of 3, the
  // pair's block from entry 3 with a column distance of 2.
  const bool packed = stressRotation.stride == 0;
  const std::int64_t s = packed ? 3 : stressRotation.stride;
  const std::int64_t pairDistance = packed ? 2 : s;
  const double* pairBlock = nullptr;
  if (byStress) pairBlock = stressRotation.data + (packed ? 3 : 3 + 3 * s);

  forEachColumn(view, [&](double* column) {
    if (byForce) {
      turn(forceRotation.data, f, 3, column);
      turn(forceRotation.data, f, 3, column + 3);
    }
    if (byStress) {
      turn(stressRotation.data, s, 3, column + 6);
      turn(stressRotation.data, s, 3, column + 9);
      turn(pairBlock, pairDistance, 2, column + 12);
    }
  });
}

// A shell stress column has 6 values: two triples, each turned by the top-left 3 by 3 of stressRotation.
void TimeKernelElementShell::rotateStress(Matrix& view) const {
  if (view.cols == 0 || !takesPart(stressRotation, 3)) return;
  requireRows(view, 6);
  const std::int64_t d = stressRotation.columnDistance();
  forEachColumn(view, [&](double* column) {
    turn(stressRotation.data, d, 3, column);
    turn(stressRotation.data, d, 3, column + 3);
  });
}

}  // namespace Zarn
