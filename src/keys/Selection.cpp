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

#include "kernelfile/ReadTimeKernel.h"
#include "keys/IdMap.h"
#include "model/Allocation.h"
#include "model/ClearOnExit.h"
#include "model/ElementReader.h"
#include "model/Failure.h"
#include "model/TimeKernelNode.h"

namespace Zarn {

namespace {

constexpr std::int32_t kNodeDirectory = 2;
constexpr std::int32_t kElementDirectory = 3;

// Owns a temporary array from allocateArray for the length of a scope.
template <class T>
struct ScopedArray {
  explicit ScopedArray(std::int64_t count) : data(allocateArray<T>(count)) {}
  ~ScopedArray() { releaseArray(data); }
  ScopedArray(const ScopedArray&) = delete;
  ScopedArray& operator=(const ScopedArray&) = delete;
  T* data;
};

}  // namespace

void ReadTimeKernel::fillRequestedOffsets(std::int32_t section, const RequestList& ids) {
  requestedOffsets.clear();
  std::int32_t n = 0, unused = 0;
  readSectionHeader(section, n, unused);
  TK_CHECK(n >= 0);
  ScopedArray<std::int32_t> fileIds(n);
  ScopedArray<std::int64_t> offsets(n);
  if (n > 0) {
    // One read each; a read with no view leaves the arrays as they are, so start them at "not found".
    std::fill(fileIds.data, fileIds.data + n, 0);
    std::fill(offsets.data, offsets.data + n, -1);
    mapping.read(fileIds.data, static_cast<std::int64_t>(n) * 4);
    mapping.read(offsets.data, static_cast<std::int64_t>(n) * 8);
  }
  IdMap indexOf;
  indexOf.reserve(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i) indexOf[fileIds.data[i]] = i;  // a repeated ID keeps its last index
  requestedOffsets.reserve(static_cast<std::size_t>(std::max(ids.count, 0)));
  for (std::int32_t k = 0; k < ids.count; ++k) {
    const IdMap::Entry* found = indexOf.find(ids.at(k));
    requestedOffsets.push_back(found != nullptr ? offsets.data[found->value] : -1);
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
