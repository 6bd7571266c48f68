// The prototypes: one node and one element of each type, into which records are read one at a time.
#pragma once

#include <cstdint>
#include <map>

#include "base/Counted.h"
#include "model/TimeKernelElement.h"
#include "model/TimeKernelNode.h"

namespace Zarn {

// Builds the node prototype, then the element prototypes in the order Bush 580, RigidBar 584, Rod 582, Bar 583,
// WarpingBar 586, PlaneStress 642, PlaneStrain 643, Shell 645, Solid 768, Catenary 594; any held before are
// replaced by fresh, empty ones. A prototype that cannot be allocated is not there: the node prototype is then an
// empty pointer, and an element type without one reads as an unknown code.
void makePrototypes(std::map<std::int32_t, counted_ptr<TimeKernelElement>>& elementPrototypes,
                    counted_ptr<TimeKernelNode>& nodePrototype);

}  // namespace Zarn
