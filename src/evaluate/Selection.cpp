// Request selection: from the caller's IDs to record positions (through the directories, kernelfile), and from
// the records to the response-table rows that the call needs.
#include <algorithm>
#include <vector>

#include "base/Allocation.h"
#include "base/ClearOnExit.h"
#include "base/Failure.h"
#include "evaluate/ElementReader.h"
#include "evaluate/NodeWalk.h"
#include "evaluate/Request.h"
#include "kernelfile/Sections.h"

namespace Zarn {

using namespace sections;

void Request::storeRequiredRows(std::vector<std::int32_t>& rows) {
  // Equal integers are indistinguishable, so any ascending sort gives what a stable one does; rows gathered
  // from nodes in file order often come sorted already.
  if (!std::is_sorted(rows.begin(), rows.end())) std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  if (rows.empty()) failBecause("no requested ID is in the file (or none has a degree of freedom)");
  const auto count = static_cast<std::int32_t>(rows.size());
  if (count != requiredRowCount) {
    std::int32_t* fresh = allocateArray<std::int32_t>(count);
    releaseArray(requiredRows);
    requiredRows = fresh;
    requiredRowCount = count;
  }
  std::copy(rows.begin(), rows.end(), requiredRows);
}

void Request::selectNodes(const RequestList& list) {
  kernel.findRecords(kNodeDirectory, list.values, list.count, list.stride, requestedOffsets);
  std::vector<std::int32_t> rows;
  forEachRequestedNode(*this, INT32_MAX, [&rows](std::int32_t, const TimeKernelNode& node) {
    rows.insert(rows.end(), node.dofRows.data, node.dofRows.data + node.dofRows.size);
    return true;
  });
  storeRequiredRows(rows);
}

void Request::selectElements(const RequestList& list) {
  kernel.findRecords(kElementDirectory, list.values, list.count, list.stride, requestedOffsets);
  std::vector<std::int32_t> rows;
  for (const std::int64_t offset : requestedOffsets) {
    if (offset < 0) continue;
    kernel.seek(offset);
    counted_ptr<TimeKernelElement> element = readElementDofRows(*this);
    if (!element) continue;  // unknown type code: no element, nothing gathered
    ClearOnExit<TimeKernelElement> clearElement(*element);
    rows.insert(rows.end(), element->dofRows.data, element->dofRows.data + element->dofRows.size);
  }
  storeRequiredRows(rows);
}

}  // namespace Zarn
