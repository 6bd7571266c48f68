// The C boundary. Each export converts its arguments, runs its cycle inside one try, ends the cycle the same way
// on every path (CycleGuard), and turns every failure into -1. Nothing thrown inside may reach the host.
#include "TimeKernel.h"
#include "cycle/ElementListing.h"
#include "cycle/OutputRequest.h"
#include "cycle/TheKernel.h"

extern "C" TIMEKERNEL_API int32_t TimeKernelElementID(const char* path, int32_t* ids, int32_t* count) {
  try {
    Zarn::CycleGuard cycle;
    Zarn::listElementIds(path, ids, count);
    return 0;
  } catch (...) {
    return -1;
  }
}

extern "C" TIMEKERNEL_API int32_t TimeKernelOutputResult(const char* path, int32_t flags, const int32_t* ids,
                                                        int32_t idCount, const int32_t* keys, int32_t keyCount,
                                                        int32_t modeNumber, int32_t stepNumber, double* result,
                                                        int32_t resultLength) {
  try {
    Zarn::CycleGuard cycle;
    Zarn::outputResult(path, flags, ids, idCount, keys, keyCount, modeNumber, stepNumber, result, resultLength);
    return 0;
  } catch (...) {
    return -1;
  }
}
