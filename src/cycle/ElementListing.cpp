#include "cycle/ElementListing.h"

#include <string>

#include "cycle/TheKernel.h"
#include "model/Failure.h"

namespace Zarn {

void listElementIds(const char* path, std::int32_t* ids, std::int32_t* count) {
  TK_CHECK(path != nullptr && count != nullptr);
  const std::int32_t capacity = *count;
  TK_CHECK(capacity <= 0 || ids != nullptr);
  const std::string name(path);
  theKernel.fileName = name;
  theKernel.openKernelFile();
  const std::int32_t total = theKernel.readElementIds(ids, capacity);
  *count = total;
}

}  // namespace Zarn
