// The three nodal evaluation flows: all steps, one step, and the envelope over all steps.
//
// For a node with degree-of-freedom rows d[k], a step t and a quantity X (displacement, velocity or
// acceleration) with initial state X0 and base motion B:
//
//   response(k, t) = X(d[k], t) - X0(d[k]) + (B(t), rotated by the node's transform, on its translation triple)
//
// then, under flag 2, each translation and rotation triple is turned by the node's transform (so a base motion
// on a node with a transform is rotated twice under flags 2 and 8 together: that is how the values are defined).
// The flows walk `request.requestedOffsets` (filled by selectNodes) and write the block of the i-th requested ID;
// an ID that is not in the file keeps its block at zero.
#pragma once

#include <cstdint>

#include "base/DenseRecords.h"
#include "evaluate/Request.h"

namespace Zarn {

// All steps. `result` has one column per requested ID; the block of ID i is viewed as keyCount rows by
// stepCount columns with leading dimension keyCount: the value of key row r at step t is block[r + keyCount*t].
void evaluateNodalHistory(Request& request, std::int32_t flags, std::int32_t keyCount, Matrix& result);

// One step (0-based). Column i of `result` is the block of ID i; the value of key row r is block[r]. Fails when
// displacement, velocity and acceleration are all empty at the step.
void evaluateNodalStep(Request& request, std::int32_t flags, std::int32_t stepIndex, Matrix& result);

// The envelope. `result` holds two square matrices of order n = keyCount * idCount, column-major, one after the
// other: the maximum matrix, then the minimum matrix. Every column of both starts as the step-0 values; over the
// later steps only the diagonals are updated. A NaN never replaces a value (neither comparison holds).
void evaluateEnvelope(Request& request, std::int32_t flags, std::int32_t keyCount, std::int32_t idCount,
                      Matrix& result);

}  // namespace Zarn
