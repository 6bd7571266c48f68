#include "model/Allocation.h"

namespace Zarn {

std::int64_t allocationLimit = INT64_MAX;

}  // namespace Zarn
