// Request selection: from the caller's IDs to record positions, and from the records to the response-table rows
// that the call needs.
//
// Directory payload of sections 2 (nodes) and 3 (elements), after the 12-byte section header whose first count
// is n (the second count is not used):
//
//   OFFSET  SIZE   FIELD
//        0  4 n    n x signed 32-bit object IDs, in file order
//      4 n  8 n    n x signed 64-bit absolute file offset of each object's record, in the same order
#include <algorithm>
#include <vector>

#include "kernelfile/Bytes.h"
#include "kernelfile/Checked.h"
#include "kernelfile/ReadTimeKernel.h"
#include "kernelfile/Sections.h"
#include "keys/IdMap.h"
#include "model/Allocation.h"
#include "model/ClearOnExit.h"
#include "model/ElementReader.h"
#include "model/Failure.h"
#include "model/TimeKernelNode.h"

namespace Zarn {

using namespace sections;

// The directory is scanned once against a map of the requested IDs, rather than hashed whole: the work is one
// pass over the directory's IDs plus one lookup each in a map as small as the request, and memory follows the
// request, not the model. The result is the same: each requested ID gets the record of its last occurrence in the
// directory, or -1.
void ReadTimeKernel::fillRequestedOffsets(std::int32_t section, const RequestList& ids) {
  requestedOffsets.clear();
  std::int32_t n = 0, unused = 0;
  readSectionHeader(section, n, unused);
  TK_CHECK(n >= 0);
  // The directory is read in place, not copied, so its size is not held to the allocation limit. A count that
  // claims more entries than the file holds cannot lengthen the file by more than the growth limit: such a read
  // is dropped and its IDs are not found.
  const std::int64_t idsAt = tell();
  std::int64_t offsetsAt = 0;
  TK_CHECK(checkedMulAdd(n, 4, idsAt, &offsetsAt));

  // Requested ID -> its first request position; later requests of the same ID are chained behind it.
  const std::int32_t requests = std::max(ids.count, 0);
  IdMap firstRequest;
  std::vector<std::int32_t> nextRequest(static_cast<std::size_t>(requests), -1);
  std::vector<std::int32_t> lastRequest(static_cast<std::size_t>(requests), -1);
  for (std::int32_t k = 0; k < requests; ++k) {
    const std::int32_t id = ids.at(k);
    const IdMap::Entry* seen = firstRequest.find(id);
    if (seen == nullptr) {
      firstRequest[id] = k;
      lastRequest[static_cast<std::size_t>(k)] = k;
    } else {
      const std::int32_t head = seen->value;
      nextRequest[static_cast<std::size_t>(lastRequest[static_cast<std::size_t>(head)])] = k;
      lastRequest[static_cast<std::size_t>(head)] = k;
    }
  }

  // Directory index of each requested ID; a later occurrence in the directory overwrites an earlier one.
  std::vector<std::int32_t> foundAt(static_cast<std::size_t>(requests), -1);
  if (n > 0 && requests > 0) {
    seek(idsAt);
    const unsigned char* fileIds = mapping.take(static_cast<std::int64_t>(n) * 4);
    for (std::int32_t i = 0; fileIds != nullptr && i < n; ++i) {
      const IdMap::Entry* requested = firstRequest.find(Zarn::readI32(fileIds + 4 * static_cast<std::int64_t>(i)));
      if (requested == nullptr) continue;
      for (std::int32_t k = requested->value; k >= 0; k = nextRequest[static_cast<std::size_t>(k)]) {
        foundAt[static_cast<std::size_t>(k)] = i;
      }
    }
  }
  requestedOffsets.reserve(static_cast<std::size_t>(requests));
  for (std::int32_t k = 0; k < requests; ++k) {
    const std::int32_t i = foundAt[static_cast<std::size_t>(k)];
    std::int64_t offset = -1;
    std::int64_t at = 0;
    if (i >= 0 && checkedMulAdd(i, 8, offsetsAt, &at)) {
      seek(at);
      readI64(offset);  // no view: stays -1, the ID is passed over
    }
    requestedOffsets.push_back(offset);
  }
}

void ReadTimeKernel::storeRequiredRows(std::vector<std::int32_t>& rows) {
  std::stable_sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  TK_CHECK(!rows.empty());
  const auto count = static_cast<std::int32_t>(rows.size());
  if (count != requiredRowCount) {
    std::int32_t* fresh = allocateArray<std::int32_t>(count);
    releaseArray(requiredRows);
    requiredRows = fresh;
    requiredRowCount = count;
  }
  std::copy(rows.begin(), rows.end(), requiredRows);
}

void ReadTimeKernel::selectNodes(const RequestList& ids) {
  fillRequestedOffsets(kNodeDirectory, ids);
  std::vector<std::int32_t> rows;
  TK_CHECK(static_cast<bool>(nodePrototype));
  TimeKernelNode& node = *nodePrototype;
  for (const std::int64_t offset : requestedOffsets) {
    if (offset < 0) continue;
    seek(offset);
    ClearOnExit<TimeKernelNode> clearNode(node);
    node.read();
    rows.insert(rows.end(), node.dofRows.data, node.dofRows.data + node.dofRows.size);
  }
  storeRequiredRows(rows);
}

void ReadTimeKernel::selectElements(const RequestList& ids) {
  fillRequestedOffsets(kElementDirectory, ids);
  std::vector<std::int32_t> rows;
  for (const std::int64_t offset : requestedOffsets) {
    if (offset < 0) continue;
    seek(offset);
    counted_ptr<TimeKernelElement> element = readElementDofRows(*this);
    if (!element) continue;  // unknown type code: no element, nothing gathered
    ClearOnExit<TimeKernelElement> clearElement(*element);
    rows.insert(rows.end(), element->dofRows.data, element->dofRows.data + element->dofRows.size);
  }
  storeRequiredRows(rows);
}

}  // namespace Zarn
