#include "cycle/ElementListing.h"

#include <string>

#include "base/Failure.h"
#include "cycle/TheKernel.h"

namespace Zarn {

void listElementIds(const char* path, std::int32_t* ids, std::int32_t* count) {
  if (path == nullptr) failBecause("path is NULL");
  if (count == nullptr) failBecause("count is NULL");
  const std::int32_t capacity = *count;
  if (capacity > 0 && ids == nullptr) failBecause("ids is NULL but the capacity is " + std::to_string(capacity));
  const std::string name(path);
  theKernel.fileName = name;
  theKernel.openKernelFile();
  const std::int32_t total = theKernel.readElementIds(ids, capacity);
  *count = total;
}

}  // namespace Zarn
