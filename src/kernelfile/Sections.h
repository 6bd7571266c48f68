// The numbered sections of a kernel file that the readers and flows name. Each is a slot of the file header's
// table of 27 section positions; SectionReads.cpp lists what every section holds.
#pragma once

#include <cstdint>

namespace Zarn::sections {

constexpr std::int32_t kModeShapes = 0;           // dofs x modes
constexpr std::int32_t kBaseMotionHistory = 1;    // 9 x steps; may be empty
constexpr std::int32_t kNodeDirectory = 2;        // node IDs and record positions
constexpr std::int32_t kElementDirectory = 3;     // element IDs and record positions
constexpr std::int32_t kLoadFactors = 4;          // loads x steps
constexpr std::int32_t kWithBaseMotion = 5;       // 5, 6, 7: initial state of a run with base motion
constexpr std::int32_t kWithoutBaseMotion = 8;    // 8, 9, 10: initial state of a run without
constexpr std::int32_t kConstantBaseMotion = 11;  // 9 values, read when section 1 is empty
constexpr std::int32_t kModalInitial = 12;        // 12, 13, 14: initial modal coordinates
constexpr std::int32_t kFirstTwinnedSection = 15; // 15 to 20 have transposed twins six numbers on
constexpr std::int32_t kTwinDistance = 6;
constexpr std::int32_t kFirstHistorySection = 21; // 21, 22, 23: history by degree of freedom; 21 gives the dimensions

}  // namespace Zarn::sections
