#include "base/Allocation.h"

namespace Zarn {

thread_local std::int64_t allocationLimit = INT64_MAX;

}  // namespace Zarn
