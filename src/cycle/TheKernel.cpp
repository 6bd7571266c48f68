#include "cycle/TheKernel.h"

namespace Zarn {

// One translation unit, so the kernel is constructed before the request that refers to it.
ReadTimeKernel theKernel;
Request theRequest(theKernel);

}  // namespace Zarn
