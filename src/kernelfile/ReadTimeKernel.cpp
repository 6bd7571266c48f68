#include "kernelfile/ReadTimeKernel.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "base/Allocation.h"
#include "base/Bytes.h"
#include "base/Checked.h"
#include "base/Failure.h"
#include "base/IdMap.h"
#include "kernelfile/Sections.h"

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
}

ReadTimeKernel::~ReadTimeKernel() { ReadTimeKernel::close(); }

counted_ptr<Base> ReadTimeKernel::clone(bool deep) const {
  counted_ptr<ReadTimeKernel> copy = makeCounted<ReadTimeKernel>();
  if (!copy || !deep) return copy;
  copyTimeKernelFields(*copy);
  copy->stepCount = stepCount;
  copy->dofCount = dofCount;
  copy->selectedMode = selectedMode;
  copy->allocationBound = allocationBound;
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
    failBecause("cannot open the kernel file \"" + fileName + "\"");
  }
  readKernelHeader();
}

void ReadTimeKernel::openReadOnly(platform::FileHandle file, std::int64_t size) {
  mapping.attachReadOnly(file, size, fileName);
  readKernelHeader();
}

void ReadTimeKernel::readKernelHeader() {
  const std::int64_t available = availableMemory();
  mapping.windowSize = windowSizeFor(available);
  const std::int64_t fileBound =
      mapping.fileSize() > INT64_MAX / kFileSizeMultiple ? INT64_MAX : mapping.fileSize() * kFileSizeMultiple;
  allocationBound = std::max(kMinimumAllocationLimit, std::min(available, fileBound));
  // A read-write open is a designed call's cycle: the bound is in force until endCycle. A read-only kernel
  // belongs to a handle, whose queries put it in force on their own threads.
  if (!mapping.isReadOnly()) allocationLimit = allocationBound;

  std::int32_t format = 0;
  readI32(format);
  if (format != kFormatNumber) failBecause("not a kernel file: format number " + std::to_string(format));
  unsigned char table[8 * kSectionCount];
  std::memset(table, 0, sizeof table);
  mapping.read(table, sizeof table);
  for (int i = 0; i < kSectionCount; ++i) sectionPositions[i] = Zarn::readI64(table + 8 * i);

  readSectionHeader(sections::kFirstHistorySection, stepCount, dofCount);
  // The product is taken in 32 bits as the file format defines it; computed in 64 bits and wrapped explicitly so
  // that the wrap is defined behaviour.
  const std::int32_t product =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(stepCount) * static_cast<std::uint32_t>(dofCount));
  // A positive 32-bit product of two negative counts is no shape; refuse it as well.
  if (product < 1 || stepCount <= 0 || dofCount <= 0) {
    failBecause("section 21 gives no shape: " + std::to_string(stepCount) + " steps by " + std::to_string(dofCount) +
                " degrees of freedom");
  }
}

void ReadTimeKernel::readSectionHeader(std::int32_t section, std::int32_t& first, std::int32_t& second) {
  first = 0;
  second = 0;
  TK_CHECK(section >= 0 && section < kSectionCount);
  const std::int64_t p = sectionPositions[section];
  if (p < 0) failBecause("section " + std::to_string(section) + " is absent");
  seek(p);
  unsigned char header[kSectionHeaderSize];
  std::memset(header, 0, sizeof header);  // no view: the three fields read as zero
  mapping.read(header, sizeof header);
  first = Zarn::readI32(header + 4);
  second = Zarn::readI32(header + 8);
  if (Zarn::readI32(header) != section) {
    failBecause("section " + std::to_string(section) + " is mislabelled: its header says " +
                std::to_string(Zarn::readI32(header)));
  }
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

std::int32_t ReadTimeKernel::readDirectory(std::int32_t section, std::int32_t* ids, std::int64_t* offsets,
                                          std::int32_t capacity) {
  std::int32_t total = 0, unused = 0;
  readSectionHeader(section, total, unused);
  TK_CHECK(total >= 0);
  const std::int64_t idsAt = tell();
  const std::int32_t m = std::min(total, std::max(capacity, 0));
  if (m > 0 && ids != nullptr) mapping.read(ids, static_cast<std::int64_t>(m) * 4);
  if (m > 0 && offsets != nullptr) {
    std::int64_t offsetsAt = 0;
    TK_CHECK(checkedMulAdd(total, 4, idsAt, &offsetsAt));
    seek(offsetsAt);
    for (std::int32_t i = 0; i < m; ++i) {
      offsets[i] = -1;
      readI64(offsets[i]);  // no view: stays -1
    }
  }
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

void ReadTimeKernel::endCycle() {
  close();
  selectedMode = -1;
  allocationLimit = INT64_MAX;
}

// The directory is scanned once against a map of the requested IDs, rather than hashed whole: the work is one
// pass over the directory's IDs plus one lookup each in a map as small as the request, and memory follows the
// request, not the model. The result is the same: each requested ID gets the record of its last occurrence in the
// directory, or -1.
//
// Directory payload of sections 2 (nodes) and 3 (elements), after the 12-byte section header whose first count
// is n (the second count is not used):
//
//   OFFSET  SIZE   FIELD
//        0  4 n    n x signed 32-bit object IDs, in file order
//      4 n  8 n    n x signed 64-bit absolute file offset of each object's record, in the same order
void ReadTimeKernel::findRecords(std::int32_t section, const std::int32_t* ids, std::int32_t count,
                                 std::int32_t stride, std::vector<std::int64_t>& offsets) {
  offsets.clear();
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
  const std::int32_t requests = std::max(count, 0);
  auto requested = [&](std::int32_t k) { return ids[static_cast<std::ptrdiff_t>(k) * stride]; };
  IdMap firstRequest;
  std::vector<std::int32_t> nextRequest(static_cast<std::size_t>(requests), -1);
  std::vector<std::int32_t> lastRequest(static_cast<std::size_t>(requests), -1);
  for (std::int32_t k = 0; k < requests; ++k) {
    const std::int32_t id = requested(k);
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
      const IdMap::Entry* found = firstRequest.find(Zarn::readI32(fileIds + 4 * static_cast<std::int64_t>(i)));
      if (found == nullptr) continue;
      for (std::int32_t k = found->value; k >= 0; k = nextRequest[static_cast<std::size_t>(k)]) {
        foundAt[static_cast<std::size_t>(k)] = i;
      }
    }
  }
  offsets.reserve(static_cast<std::size_t>(requests));
  for (std::int32_t k = 0; k < requests; ++k) {
    const std::int32_t i = foundAt[static_cast<std::size_t>(k)];
    std::int64_t offset = -1;
    std::int64_t at = 0;
    if (i >= 0 && checkedMulAdd(i, 8, offsetsAt, &at)) {
      seek(at);
      readI64(offset);  // no view: stays -1, the ID is passed over
    }
    offsets.push_back(offset);
  }
}

}  // namespace Zarn
