// Response names: one short, lower-case name for each response id, derived from the key registry's component
// tables, so that tools and scripts share one vocabulary.
//
// Nodes (type code 0): the displacement codes 102 103 104 106 107 108 112 are "ux" "uy" "uz" "rx" "ry" "rz" "u9";
// velocity (2xx) "vx" "vy" "vz" "vrx" "vry" "vrz" "v9"; acceleration (3xx) "ax" "ay" "az" "arx" "ary" "arz" "a9".
// A location above 0 is a suffix "@N" ("ux@1" is 100000102).
//
// Elements: "force<i>", "stress<i>" or "deform<i>" for the i-th code (from 1) of the class's force, stress or
// deformation key, in the key's own order, always with the location number of the response id as "@N". So a bar's
// 100140402 (axial force at end A) is "force1@1" and 100142101 (first stress at end A) "stress1@1". The bar's and
// the warping bar's axial force also answer to "axial@N". The full table is in the README.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "keys/KeyInfo.h"

namespace Zarn {

// The name of `key` at a node (typeCode 0) or an element of type `typeCode` into `name`; false when the id means
// nothing there (no key of that type knows its code, or its location is below the key's first).
bool nameOfResponse(std::int32_t typeCode, std::int32_t key, std::string& name);

// The response id that `name` stands for there, or a number written as text that is a response id there; false
// otherwise.
bool responseOfName(std::int32_t typeCode, const char* name, std::int32_t& key);

// Appends every response id that selects `position` in `key` (position = location * entries + component index).
void responseIdsAtPosition(const TimeKernelKeyInfo& key, std::int32_t position, std::vector<std::int32_t>& out);

}  // namespace Zarn
