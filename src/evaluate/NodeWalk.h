// The walk over the requested nodes that every nodal flow makes: for each requested ID whose record is in the
// file, the record is read into the request's one prototype node, used, and the prototype cleared again.
#pragma once

#include <cstdint>

#include "base/ClearOnExit.h"
#include "base/Failure.h"
#include "evaluate/ElementReader.h"
#include "evaluate/Request.h"

namespace Zarn {

// Calls visit(i, node) for each requested ID i below `count` whose record is in the file (IDs the file lacks are
// passed over), with the record read into the prototype. The prototype is cleared after each visit, also when a
// failure unwinds through it. A visit returns false to end the walk; the walk then returns false.
template <class Visit>
bool forEachRequestedNode(Request& request, std::int32_t count, Visit visit) {
  TK_CHECK(static_cast<bool>(request.nodePrototype));
  TimeKernelNode& node = *request.nodePrototype;
  const auto ids = static_cast<std::int32_t>(request.requestedOffsets.size());
  for (std::int32_t i = 0; i < ids && i < count; ++i) {
    const std::int64_t offset = request.requestedOffsets[static_cast<std::size_t>(i)];
    if (offset < 0) continue;
    request.kernel.seek(offset);
    ClearOnExit<TimeKernelNode> clearNode(node);
    readNode(request.kernel, node);
    if (!visit(i, static_cast<const TimeKernelNode&>(node))) return false;
  }
  return true;
}

}  // namespace Zarn
