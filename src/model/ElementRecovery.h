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
// Each recovery handles any number of time points at once: column j of `displacements` (and of `velocities`
// and `loadFactors`) gives column j of `output`. One column is formed by matrix-vector products; several
// columns take one matrix-matrix product per term over all of them, with the reference state and the offset
// folded into one constant vector (f0 - F u0) that is formed once and added to every column. The two forms
// agree to rounding.
//
// Picks. What a recovery writes is given as plain data (`RecoveryPicks`): the component count of one point, and a
// selection that maps a position of y (source) to a row of the output (target). The caller takes both from the
// result key of the element's class (src/evaluate/KeyedRecovery.h). An entry whose source is outside y, or whose
// target is outside the output, is skipped and its output entry stays as it was. An empty table, or a null or
// empty selection, ends a recovery with the output untouched. This file reads no file and knows no flags.
//
// Failures (the call's one failure, before any product runs and before the output changes): a table whose rows
// are not a multiple of the key's componentCount; a recovery table whose columns differ from the displacement
// rows; a non-empty referenceDisplacement whose size differs from the recovery columns; a non-empty offset
// whose entry count differs from the result size (deformation: has fewer entries); a velocity table, used,
// whose shape is not result size by velocity rows; a load table, used, with fewer rows than the result size or
// fewer columns than there are loads; velocities or load factors, used, with fewer columns than the time points
// formed. The time points formed are the displacement columns, at most the output's columns.
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

// The force of every class. `velocities` (dofs by time points) may be empty; `loadFactors` (loads by time
// points) is empty when no load term is wanted. `rotateResult`: turn into the output frame (rotateForce).
void recoverForce(const TimeKernelElement& element, const RecoveryPicks& picks, bool rotateResult,
                  const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                  Matrix& output);

// The stress: as the force on the stress tables, without velocity term, rotated by rotateStress. Does nothing
// for a class without stress recovery (Bush, RigidBar), whatever tables its record holds.
void recoverStress(const TimeKernelElement& element, const RecoveryPicks& picks, bool rotateResult,
                   const Matrix& displacements, const Matrix& loadFactors, Matrix& output);

// The deformation of a class that has one (Bush): stressRecovery and stressOffset, the offset added flat over the
// result, no load term and no rotation. Does nothing for the other classes.
void recoverDeform(const TimeKernelElement& element, const RecoveryPicks& picks, const Matrix& displacements,
                   Matrix& output);

}  // namespace Zarn
