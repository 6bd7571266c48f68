// Writes the solved frame as a kernel file, with the project's independent kernel-file writer.
#pragma once

#include <string>

#include "FrameModel.h"

namespace frame {

// The file holds every section a solver writes for a run with base motion: the mode shapes (0), the ground
// motion (1), the node and element directories (2, 3), an empty load table (4: the model has no load cases),
// the initial state, here the gravity state, of the direct histories (5 to 7 and 8 to 10) and of the modal ones
// (12 to 14), and the direct and modal histories in both orders (15 to 20 by step, 21 to 26 by row).
//
// Node i (i = 1 for the first floor) has the floor's three rows a, b, z as components x, y, z, and the
// site-to-building rotation as its transform: its rows are along the building's axes, and the transform turns
// the ground motion, recorded in site axes, into them when base motion is asked for.
//
// Column 100 s + c (storey s, column c) is a bar whose force table is the member's section forces from its kept
// translations, whose velocity table is its dashpot, whose stress table follows from the forces, and whose
// reference state and offsets are the gravity state, so that forces include the dead load.
void writeKernelFile(const FrameModel& model, const GroundMotion& ground, const Solution& solution,
                     const std::string& path);

}  // namespace frame
