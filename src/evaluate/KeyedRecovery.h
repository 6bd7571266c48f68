// Element recovery driven by the result keys of a request: the key of the element's class gives the picks of
// each recovery (model/ElementRecovery.h), and flag 2 asks for the rotation into the output frame.
#pragma once

#include <cstdint>

#include "base/DenseRecords.h"
#include "keys/KeySet.h"
#include "model/TimeKernelElement.h"

namespace Zarn {

class Request;

// The recoveries of model/ElementRecovery.h with the picks of the key found by the element's type code in
// `forceKeys`, `stressKeys` or `deformKeys`. A code with no entry (looked up without inserting), or a key with an
// empty selection, recovers nothing.
void recoverForce(const TimeKernelElement& element, const TimeKernelKeySet& keys, std::int32_t flags,
                  const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                  Matrix& output, std::int32_t firstColumn = 0);
void recoverStress(const TimeKernelElement& element, const TimeKernelKeySet& keys, std::int32_t flags,
                   const Matrix& displacements, const Matrix& loadFactors, Matrix& output,
                   std::int32_t firstColumn = 0);
void recoverDeform(const TimeKernelElement& element, const TimeKernelKeySet& keys, const Matrix& displacements,
                   Matrix& output, std::int32_t firstColumn = 0);

// Recovers one element over all time points into `output` (selected rows by steps): reads the displacement
// history of the element's dofRows from the request's file, a chunk of steps at a time (and the velocity history
// when velocityForce is not empty), then forms force, stress and deformation a tile of steps at a time
// (model/ElementRecovery.h). Ends without writing when the displacements are not stored. The element's record
// must have been read; the caller clears it afterwards.
void recoverElement(Request& request, const TimeKernelElement& element, std::int32_t flags,
                    const Matrix& loadFactors, Matrix& output);

}  // namespace Zarn
