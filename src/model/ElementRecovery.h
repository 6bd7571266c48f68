// Element recovery: forces, stresses and deformations formed from the response of an element's own degrees of
// freedom, with the tables of its record (TimeKernelElement).
//
// With u the displacements of the element's dofs at a time point, v their velocities, a the load factors and u0
// the element's referenceDisplacement, a recovery forms, in this order,
//
//   y  = F u                 F: forceRecovery (stressRecovery for stress and deformation)
//   y -= F u0                when referenceDisplacement is not empty
//   y += f0                  forceOffset (stressOffset), when not empty
//   y += V v                 velocityForce: force only, when both it and the velocities are not empty
//   y -= sum_i L(:, i) a_i   forceLoad (stressLoad), when both it and the load factors are not empty
//   y  = rotate(y)           when asked, by the element class's rotateForce (rotateStress)
//
// and writes each selected position of y to its output row. y holds components * points values: its column
// view of `componentCount()` rows by points columns is what the rotation turns, one point per column. The
// deformation (Bush only) has no load term and no rotation, and its offset is added as a flat run.
//
// Each recovery forms a tile of time points at once, one matrix-matrix product per term over its columns, with
// the reference state and the offset folded into one constant vector (f0 - F u0) that is formed once and added
// to every column. The history forms tiles of kStepTile steps from step 0 on (the last holds the rest); the
// one-step flow forms the tile of the history that holds its step, with its step's operands at the same column
// and zeros elsewhere, and writes that column alone (`firstColumn`). So both flows form every value with the
// same products on the same operands and agree to the bit. (The product libraries give a column different last
// bits depending on how many columns a product has and where the column stands, so one column formed on its
// own would not.)
//
// Picks. What a recovery writes is given as plain data (`RecoveryPicks`): the component count of one point, and a
// selection that maps a position of y (source) to a row of the output (target). The caller takes both from the
// result key of the element's class (src/evaluate/KeyedRecovery.h). An entry whose source is outside y, or whose
// target is outside the output, is skipped and its output entry stays as it was. An empty table, or a null or
// empty selection, ends a recovery with the output untouched. This file reads no file and knows no flags.
//
// A table whose rows are not a multiple of the component count is taken as its whole points: the products
// write every row, and the remainder rows are reachable by no selection entry.
//
// Failures (the call's one failure, before any product runs and before the output changes): a recovery table whose columns differ from the displacement
// rows; a non-empty referenceDisplacement whose size differs from the recovery columns; a non-empty offset
// whose entry count is neither the whole points' count nor the table's rows (deformation: has fewer entries than
// the whole points); a velocity table, used,
// whose shape is not result size by velocity rows; a load table, used, with fewer rows than the result size or
// fewer columns than there are loads; velocities or load factors, used, with fewer columns than the time points
// formed. The time points formed are the displacement columns; those from `firstColumn` on are written to the
// output's columns from 0, at most as many as it has.
#pragma once

#include <cstdint>

#include "base/DenseRecords.h"
#include "base/IdMap.h"
#include "model/TimeKernelElement.h"

namespace Zarn {

// What one recovery writes: `components` values make one point's column (the key's componentCount); `selection`
// maps a position of y to an output row. Non-owning; valid for the call.
struct RecoveryPicks {
  std::int32_t components = 0;
  const IdMap* selection = nullptr;
};

// Time points formed by one product: the history forms steps [k * kStepTile, (k + 1) * kStepTile), the last tile
// what remains.
constexpr std::int32_t kStepTile = 64;
// Steps of history read at once for one element (a multiple of kStepTile).
constexpr std::int32_t kStepChunk = 16 * kStepTile;
static_assert(kStepChunk % kStepTile == 0, "a chunk holds whole tiles");

// The width of the tile that starts at `first` (a multiple of kStepTile) in a file of `steps` steps.
inline std::int32_t stepTileWidth(std::int32_t first, std::int32_t steps) {
  return steps - first < kStepTile ? steps - first : kStepTile;
}

// The force of every class. `velocities` (dofs by time points) may be empty; `loadFactors` (loads by time
// points) is empty when no load term is wanted. `rotateResult`: turn into the output frame (rotateForce).
void recoverForce(const TimeKernelElement& element, const RecoveryPicks& picks, bool rotateResult,
                  const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                  Matrix& output, std::int32_t firstColumn = 0);

// The stress: as the force on the stress tables, without velocity term, rotated by rotateStress. Does nothing
// for a class without stress recovery (Bush, RigidBar), whatever tables its record holds.
void recoverStress(const TimeKernelElement& element, const RecoveryPicks& picks, bool rotateResult,
                   const Matrix& displacements, const Matrix& loadFactors, Matrix& output,
                   std::int32_t firstColumn = 0);

// The deformation of a class that has one (Bush): stressRecovery and stressOffset, the offset added flat over the
// result, no load term and no rotation. Does nothing for the other classes.
void recoverDeform(const TimeKernelElement& element, const RecoveryPicks& picks, const Matrix& displacements,
                   Matrix& output, std::int32_t firstColumn = 0);

}  // namespace Zarn
