// Reads of the numbered matrix sections: columns, history rows, modal contributions and the choosers between
// direct and modal storage.
//
// Matrix section payload (after the 12-byte section header): a x b doubles, column by column, packed. Entry
// (row i, column j) lies at payload offset (j * a + i) * 8.
//
//   SECTION    a          b         HOLDS
//   0          dofs       modes     mode shapes
//   5..10      dofs       >= 1      initial displacement/velocity/acceleration (with base motion 5..7, without 8..10)
//   12..14     modes      >= 1      initial modal displacement/velocity/acceleration
//   15..17     dofs       steps     displacement/velocity/acceleration by step
//   18..20     modes      steps     modal coordinates by step
//   21..23     steps      dofs      15..17 transposed (history of each degree of freedom)
//   24..26     steps      modes     18..20 transposed
#include <algorithm>

#include "base/Bytes.h"
#include "base/Checked.h"
#include "kernelfile/ReadTimeKernel.h"
#include "kernelfile/Sections.h"
#include "base/Failure.h"

namespace Zarn {

using namespace sections;

namespace {

// Sections from here on have a transposed twin six numbers further on.

// The absolute position of element `index` of a run of `stride`-double records that starts at `base`; fails
// when it cannot be represented.
std::int64_t positionOf(std::int64_t base, std::int64_t index, std::int64_t strideDoubles, std::int64_t extra) {
  std::int64_t offset = 0, position = 0;
  TK_CHECK(checkedMul(index, strideDoubles, &offset) && checkedMulAdd(offset, 8, base, &position) &&
           checkedAdd(position, extra, &position));
  return position;
}

}  // namespace

void ReadTimeKernel::readSectionColumn(std::int32_t section, std::int32_t column, Vector& vector,
                                       const IntArray* indices) {
  std::int32_t a = 0, b = 0;
  try {
    readSectionHeader(section, a, b);
    TK_CHECK(a >= 0);
    // A column the section does not have is not stored: the quantity reads as empty, which is how callers
    // notice a missing quantity (a base motion of nine rows and no steps, say). Reading on would take the bytes
    // of whatever follows the section, and could lengthen a well-formed file. Section 11's second count is not
    // used: its column 0 is always read.
    if (section != kConstantBaseMotion && (column < 0 || column >= b)) {
      vector.resize(0);
      return;
    }
    if (a != vector.size && vector.owned) vector.resize(a);
    seek(positionOf(tell(), column, a, 0));
    if (vector.stride == 1) {
      mapping.read(vector.data, static_cast<std::int64_t>(vector.size) * 8);
    } else {
      for (std::int32_t i = 0; i < vector.size; ++i) mapping.read(vector.at(i), 8);
    }
    return;
  } catch (...) {
    if (section < kFirstTwinnedSection) throw;
  }
  // The column-contiguous section could not serve: read the same numbers from its transposed twin, where one
  // logical column is spread over the twin's columns, one double each.
  readSectionHeader(section + kTwinDistance, a, b);
  TK_CHECK(a >= 0 && b >= 0);
  // In the twin the logical column is a row; one the twin does not have is not stored either.
  if (column < 0 || column >= a) {
    vector.resize(0);
    return;
  }
  if (b != vector.size && vector.owned) vector.resize(b);
  const std::int64_t base = positionOf(tell(), column, 1, 0);
  if (indices != nullptr) {
    for (std::int32_t k = 0; k < indices->size; ++k) {
      const std::int32_t r = (*indices)[k];
      // The entry is both a column of the twin and an index into the vector: it must lie in both.
      TK_CHECK(r >= 0 && r < b && r < vector.size);
      seek(positionOf(base, r, a, 0));
      mapping.read(vector.at(r), 8);
    }
  } else {
    const std::int32_t n = std::min(b, vector.size);
    for (std::int32_t i = 0; i < n; ++i) {
      seek(positionOf(base, i, a, 0));
      mapping.read(vector.at(i), 8);
    }
  }
}

bool ReadTimeKernel::readHistoryRows(std::int32_t section, const IntArray& indices, Matrix& matrix,
                                     std::int32_t firstStep) {
  std::int32_t a = 0, b = 0;
  readSectionHeader(section, a, b);
  TK_CHECK(a >= 0 && b >= 0);
  // A section of 0 steps or 0 degrees of freedom is how a file says that it does not store the quantity (a
  // solver that writes displacements only); its rows are not there to read.
  if (a == 0 || b == 0) {
    if (matrix.owned) matrix.resize(indices.size, 0);
    return false;
  }
  TK_CHECK(firstStep >= 0 && firstStep <= a);
  if (matrix.owned && (matrix.rows != indices.size || matrix.cols != a)) matrix.resize(indices.size, a);
  const std::int64_t base = tell();
  const std::int32_t columns = std::min(a - firstStep, matrix.cols);
  const std::int64_t runBytes = static_cast<std::int64_t>(columns) * 8;
  for (std::int32_t i = 0; i < indices.size; ++i) {
    const std::int32_t r = indices[i];
    TK_CHECK(r >= 0 && r < b);  // a row of the response tables that the section does not hold
    seek(positionOf(base, r, a, static_cast<std::int64_t>(firstStep) * 8));
    // Straight from the view into the matrix: no intermediate buffer.
    const unsigned char* p = mapping.take(runBytes);
    if (p == nullptr || i >= matrix.rows) continue;
    for (std::int32_t t = 0; t < columns; ++t) matrix.at(i, t) = readF64(p + 8 * static_cast<std::int64_t>(t));
  }
  return true;
}

void ReadTimeKernel::readModalColumn(std::int32_t section, std::int32_t column, Vector& vector,
                                     const IntArray* indices) {
  Vector factors;
  IntArray mode;
  mode.resize(1);
  mode.data[0] = selectedMode;
  readSectionColumn(section, column, factors, &mode);
  TK_CHECK(factors.size != 0);
  // The mode must be one of the modal section's rows; a factor from beyond it would come from outside the vector.
  TK_CHECK(selectedMode >= 0 && selectedMode < factors.size);
  readSectionColumn(kModeShapes, selectedMode, vector, indices);
  TK_CHECK(vector.size != 0);
  const double f = *factors.at(selectedMode);
  for (std::int32_t i = 0; i < vector.size; ++i) *vector.at(i) *= f;
}

void ReadTimeKernel::readModalHistoryRows(std::int32_t section, const IntArray& indices, Matrix& matrix,
                                          std::int32_t firstStep) {
  // phi_m at the listed rows only, each read where it stands in column m of section 0: a history read in tiles
  // of steps must not copy the whole mode shape for every tile.
  std::int32_t dofs = 0, modes = 0;
  readSectionHeader(kModeShapes, dofs, modes);
  TK_CHECK(dofs > 0 && selectedMode >= 0 && selectedMode < modes);  // an empty or missing mode shape fails
  const std::int64_t shape = positionOf(tell(), selectedMode, dofs, 0);
  Vector restricted;
  restricted.resize(indices.size);
  restricted.setZero();  // an entry with no view reads as zero
  for (std::int32_t i = 0; i < indices.size; ++i) {
    const std::int32_t r = indices[i];
    TK_CHECK(r >= 0 && r < dofs);
    seek(positionOf(shape, r, 1, 0));
    mapping.read(restricted.at(i), 8);
  }
  Matrix q;
  IntArray mode;
  mode.resize(1);
  mode.data[0] = selectedMode;
  std::int32_t steps = 0, unused = 0;
  readSectionHeader(section, steps, unused);
  const std::int32_t wanted = matrix.owned ? steps : matrix.cols;
  TK_CHECK(wanted >= 0);
  q.resize(1, std::max(0, std::min(wanted, steps - firstStep)));
  q.setZero();
  Matrix qView = Matrix::view(1, q.cols, q.data, 1);
  // A modal history of 0 steps or 0 modes holds no history of the mode: the read is empty and fails, as the
  // column read of the single-step flow does on the same file.
  const bool stored = readHistoryRows(section, mode, qView, firstStep);
  TK_CHECK(stored && !q.empty());
  if (matrix.owned && (matrix.rows != indices.size || matrix.cols != q.cols)) matrix.resize(indices.size, q.cols);
  const std::int32_t rows = std::min(indices.size, matrix.rows);
  const std::int32_t cols = std::min(q.cols, matrix.cols);
  for (std::int32_t t = 0; t < cols; ++t) {
    for (std::int32_t i = 0; i < rows; ++i) matrix.at(i, t) = *restricted.at(i) * q.at(0, t);
  }
}

// ---- choosers: direct storage, or the selected mode's contribution ----

void ReadTimeKernel::readDisplacementAtStep(std::int32_t step, Vector& vector) {
  if (selectedMode < 0) {
    readSectionColumn(15, step, vector, nullptr);
  } else {
    readModalColumn(18, step, vector, nullptr);
  }
}

void ReadTimeKernel::readVelocityAtStep(std::int32_t step, Vector& vector) {
  if (selectedMode < 0) {
    readSectionColumn(16, step, vector, nullptr);
  } else {
    readModalColumn(19, step, vector, nullptr);
  }
}

void ReadTimeKernel::readAccelerationAtStep(std::int32_t step, Vector& vector) {
  if (selectedMode < 0) {
    readSectionColumn(17, step, vector, nullptr);
  } else {
    readModalColumn(20, step, vector, nullptr);
  }
}

bool ReadTimeKernel::readDisplacementHistory(const IntArray& indices, Matrix& matrix, std::int32_t firstStep) {
  if (selectedMode < 0) return readHistoryRows(21, indices, matrix, firstStep);
  readModalHistoryRows(24, indices, matrix, firstStep);
  return true;
}

bool ReadTimeKernel::readVelocityHistory(const IntArray& indices, Matrix& matrix, std::int32_t firstStep) {
  if (selectedMode < 0) return readHistoryRows(22, indices, matrix, firstStep);
  readModalHistoryRows(25, indices, matrix, firstStep);
  return true;
}

bool ReadTimeKernel::readAccelerationHistory(const IntArray& indices, Matrix& matrix, std::int32_t firstStep) {
  if (selectedMode < 0) return readHistoryRows(23, indices, matrix, firstStep);
  readModalHistoryRows(26, indices, matrix, firstStep);
  return true;
}

void ReadTimeKernel::readInitialState(Vector& displacement, Vector& velocity, Vector& acceleration,
                                      bool hasBaseMotion) {
  if (selectedMode >= 0) {
    readModalColumn(12, 0, displacement, nullptr);
    readModalColumn(13, 0, velocity, nullptr);
    readModalColumn(14, 0, acceleration, nullptr);
  } else if (hasBaseMotion) {
    readSectionColumn(5, 0, displacement, nullptr);
    readSectionColumn(6, 0, velocity, nullptr);
    readSectionColumn(7, 0, acceleration, nullptr);
  } else {
    readSectionColumn(8, 0, displacement, nullptr);
    readSectionColumn(9, 0, velocity, nullptr);
    readSectionColumn(10, 0, acceleration, nullptr);
  }
}

}  // namespace Zarn
