#include "cycle/TheKernel.h"

namespace Zarn {

ReadTimeKernel theKernel;

}  // namespace Zarn
