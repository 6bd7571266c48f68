// The process-wide kernel object and request on which every designed export runs its cycle.
#pragma once

#include "evaluate/Request.h"
#include "kernelfile/ReadTimeKernel.h"

namespace Zarn {

// Constructed when the library is loaded, destroyed when it is unloaded; closed between calls. Calls must come
// one at a time: nothing here is locked.
extern ReadTimeKernel theKernel;
// The request of the call in progress, over theKernel; empty between calls.
extern Request theRequest;

// Ends the cycle of an exported call when it goes out of scope, on the normal path and when a failure unwinds:
// closes the kernel and clears every per-call state (see ReadTimeKernel::endCycle and Request::clear).
class CycleGuard {
 public:
  CycleGuard() = default;
  ~CycleGuard() {
    theKernel.endCycle();
    theRequest.clear();
  }
  CycleGuard(const CycleGuard&) = delete;
  CycleGuard& operator=(const CycleGuard&) = delete;
};

}  // namespace Zarn
