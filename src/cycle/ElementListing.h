// The cycle of TimeKernelElementID, apart from the C boundary.
#pragma once

#include <cstdint>

namespace Zarn {

// Opens the kernel file at `path`, writes the first min(total, *count) element IDs into `ids` and stores the
// total in *count. Fails (Zarn::fail) on any error, with *count untouched. The caller ends the cycle.
void listElementIds(const char* path, std::int32_t* ids, std::int32_t* count);

}  // namespace Zarn
