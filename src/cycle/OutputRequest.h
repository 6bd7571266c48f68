// The cycle of TimeKernelOutputResult, apart from the C boundary.
#pragma once

#include <cstdint>

namespace Zarn {

// Answers one output request into `result` (see include/TimeKernel.h for the contract). Fails (Zarn::fail) on
// any error; the caller ends the cycle. `result` is zeroed before anything that depends on the file.
void outputResult(const char* path, std::int32_t flags, const std::int32_t* ids, std::int32_t idCount,
                  const std::int32_t* keys, std::int32_t keyCount, std::int32_t modeNumber, std::int32_t stepNumber,
                  double* result, std::int32_t resultLength);

}  // namespace Zarn
