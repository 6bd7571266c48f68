// The two element evaluation flows: all steps and one step.
//
// Element values are not stored: each element record holds constant recovery tables, and the values are formed
// on demand from the response of the element's own degrees of freedom. With u its displacements, v its
// velocities, a the load factors (section 4, none under flag 4) and u0 its reference displacement:
//
//   force(t)  = F (u(t) - u0) + f0 + V v(t) - sum_i L(:, i) a_i(t)
//   stress(t) = S (u(t) - u0) + s0          - sum_i M(:, i) a_i(t)
//
// rotated under flag 2 by the element class's own rotation, then each selected position written to its row.
// The flows walk `request.requestedOffsets` (filled by selectElements); an ID not in the file, or a record of an
// unknown type code, keeps its block at zero.
#pragma once

#include <cstdint>

#include "base/DenseRecords.h"
#include "evaluate/Request.h"

namespace Zarn {

// All steps: the block of ID i is viewed as keyCount rows by stepCount columns, leading dimension keyCount.
void evaluateElementHistory(Request& request, std::int32_t flags, std::int32_t keyCount, Matrix& result);

// One step (0-based): column i of `result` is the block of ID i. Fails when the displacement at the step is
// empty.
void evaluateElementStep(Request& request, std::int32_t flags, std::int32_t stepIndex, Matrix& result);

}  // namespace Zarn
