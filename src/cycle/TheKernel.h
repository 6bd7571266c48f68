// The process-wide kernel object on which every exported call runs its cycle.
#pragma once

#include "kernelfile/ReadTimeKernel.h"

namespace Zarn {

// Constructed when the library is loaded, destroyed when it is unloaded; closed between calls. Calls must come
// one at a time: nothing here is locked.
extern ReadTimeKernel theKernel;

// Ends the cycle of an exported call when it goes out of scope, on the normal path and when a failure unwinds:
// closes the kernel and clears every per-call state (see ReadTimeKernel::endCycle).
class CycleGuard {
 public:
  CycleGuard() = default;
  ~CycleGuard() { theKernel.endCycle(); }
  CycleGuard(const CycleGuard&) = delete;
  CycleGuard& operator=(const CycleGuard&) = delete;
};

}  // namespace Zarn
