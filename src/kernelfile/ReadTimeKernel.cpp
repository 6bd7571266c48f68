#include "kernelfile/ReadTimeKernel.h"

#include <algorithm>
#include <cstring>

#include "kernelfile/Bytes.h"
#include "kernelfile/Sections.h"
#include "model/Allocation.h"
#include "model/Failure.h"
#include "model/TimeKernelElement.h"
#include "model/TimeKernelNode.h"

namespace Zarn {

using namespace sections;

namespace {
// Bounds of the per-call allocation limit. An array that a kernel file sizes holds data of that file (a table, a
// directory, a record's rows, or a product of such tables with a handful of rows per degree of freedom), so no
// well-formed file needs one larger than a few times the file itself. A count that asks for more is corrupt: it
// fails the call at once instead of allocating gigabytes and lengthening the file to fill them. The floor keeps
// small files and machines that cannot tell their available memory working.
constexpr std::int64_t kMinimumAllocationLimit = 0x100000;
constexpr std::int64_t kFileSizeMultiple = 4;

}  // namespace

ReadTimeKernel::ReadTimeKernel() {
  ReadTimeKernel::close();
  endCycle();
  makePrototypes();
}

ReadTimeKernel::~ReadTimeKernel() {
  ReadTimeKernel::close();
  freeRequiredRows();
}

counted_ptr<Base> ReadTimeKernel::clone(bool deep) const {
  counted_ptr<ReadTimeKernel> copy = makeCounted<ReadTimeKernel>();
  if (!copy || !deep) return copy;
  copyTimeKernelFields(*copy);
  copy->requestedOffsets = requestedOffsets;
  copy->elementPrototypes = elementPrototypes;
  copy->nodePrototype = nodePrototype;
  copy->keySet.forceKeys = keySet.forceKeys;
  copy->keySet.stressKeys = keySet.stressKeys;
  copy->keySet.deformKeys = keySet.deformKeys;
  copy->stepCount = stepCount;
  copy->dofCount = dofCount;
  copy->selectedMode = selectedMode;
  if (requiredRowCount > 0) {
    copy->requiredRows = allocateArray<std::int32_t>(requiredRowCount);
    std::memcpy(copy->requiredRows, requiredRows, sizeof(std::int32_t) * static_cast<std::size_t>(requiredRowCount));
    copy->requiredRowCount = requiredRowCount;
  }
  if (mapping.isOpen()) copy->mapping.borrowFrom(mapping);
  return copy;
}

void ReadTimeKernel::close() {
  mapping.close();
  TimeKernel::close();
}

std::int64_t ReadTimeKernel::tell() const { return mapping.isOpen() ? mapping.position() : 0; }

void ReadTimeKernel::seek(std::int64_t offset) {
  if (mapping.isOpen()) mapping.seek(offset, 0);
}

void ReadTimeKernel::openKernelFile() {
  mapping.open(fileName, 0);
  if (!mapping.isOpen()) {
    mapping.close();
    fail();
  }
  const std::int64_t available = availableMemory();
  mapping.windowSize = windowSizeFor(available);
  const std::int64_t fileBound =
      mapping.fileSize() > INT64_MAX / kFileSizeMultiple ? INT64_MAX : mapping.fileSize() * kFileSizeMultiple;
  allocationLimit = std::max(kMinimumAllocationLimit, std::min(available, fileBound));

  std::int32_t format = 0;
  readI32(format);
  TK_CHECK(format == kFormatNumber);
  unsigned char table[8 * kSectionCount];
  std::memset(table, 0, sizeof table);
  mapping.read(table, sizeof table);
  for (int i = 0; i < kSectionCount; ++i) sectionPositions[i] = Zarn::readI64(table + 8 * i);

  readSectionHeader(sections::kFirstHistorySection, stepCount, dofCount);
  // The product is taken in 32 bits as the file format defines it; computed in 64 bits and wrapped explicitly so
  // that the wrap is defined behaviour.
  const std::int32_t product =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(stepCount) * static_cast<std::uint32_t>(dofCount));
  TK_CHECK(product >= 1);
  // A positive 32-bit product of two negative counts is no shape; refuse it as well.
  TK_CHECK(stepCount > 0 && dofCount > 0);
}

void ReadTimeKernel::readSectionHeader(std::int32_t section, std::int32_t& first, std::int32_t& second) {
  first = 0;
  second = 0;
  TK_CHECK(section >= 0 && section < kSectionCount);
  const std::int64_t p = sectionPositions[section];
  TK_CHECK(p >= 0);
  seek(p);
  unsigned char header[kSectionHeaderSize];
  std::memset(header, 0, sizeof header);  // no view: the three fields read as zero
  mapping.read(header, sizeof header);
  first = Zarn::readI32(header + 4);
  second = Zarn::readI32(header + 8);
  TK_CHECK(Zarn::readI32(header) == section);
}

std::int32_t ReadTimeKernel::readElementIds(std::int32_t* ids, std::int32_t capacity) {
  std::int32_t total = 0, unused = 0;
  readSectionHeader(kElementDirectory, total, unused);
  TK_CHECK(total >= 0);
  const std::int32_t m = std::min(total, std::max(capacity, 0));
  if (m <= 0 || mapping.read(ids, static_cast<std::int64_t>(m) * 4)) return total;
  // The read needed more growth than a call may make. IDs past the end of the file read as zero, as bytes past
  // the end of a file do, and those inside it are read as they stand.
  std::fill(ids, ids + m, 0);
  const std::int64_t inside = std::max<std::int64_t>(0, (mapping.openSize() - tell()) / 4);
  const std::int64_t k = std::min<std::int64_t>(m, inside);
  if (k > 0) mapping.read(ids, k * 4);
  return total;
}

void ReadTimeKernel::readDoubles(double* destination, std::int32_t count) {
  TK_CHECK(count >= 0);
  mapping.read(destination, static_cast<std::int64_t>(count) * 8);
}

void ReadTimeKernel::readI32(std::int32_t& value) {
  unsigned char bytes[4];
  if (mapping.read(bytes, 4)) value = Zarn::readI32(bytes);
}

void ReadTimeKernel::readI64(std::int64_t& value) {
  unsigned char bytes[8];
  if (mapping.read(bytes, 8)) value = Zarn::readI64(bytes);
}

void ReadTimeKernel::freeRequiredRows() {
  releaseArray(requiredRows);
  requiredRows = nullptr;
  requiredRowCount = 0;
}

void ReadTimeKernel::endCycle() {
  close();
  keySet.clearSelections();
  // The flows clear each prototype after its record; a failure part-way through a record read must not leave
  // one filled until the next call either.
  if (nodePrototype) nodePrototype->clear();
  for (auto& entry : elementPrototypes) {
    entry.second->clear();
    // clear() keeps the velocity table for the walks within a call; nothing may survive the call itself.
    entry.second->velocityForce.clear();
  }
  selectedMode = -1;
  requestedOffsets.clear();
  requestedOffsets.shrink_to_fit();  // a call keeps nothing afterwards
  freeRequiredRows();
  allocationLimit = INT64_MAX;
}

}  // namespace Zarn
