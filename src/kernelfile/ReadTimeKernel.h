// ReadTimeKernel: the read side of a kernel file, and the working state of one exported call.
//
// The process has one of these, `theKernel` (src/cycle). Each exported call is one cycle on it: store the path,
// `openKernelFile`, read what the call needs, `endCycle`. Between calls it is closed: every section position is
// -1, `selectedMode` is -1, no request lists or rows are held. All reads go through `mapping`, field by field, in
// the calling order of FileMapping: a read for which no view can be made leaves its destination as it was.
//
// Every failure is Zarn::fail() (the integer exception 1); only the exports catch it.
#pragma once

#include <cstdint>
#include <vector>

#include "kernelfile/FileMapping.h"
#include "kernelfile/TimeKernel.h"

namespace Zarn {

class ReadTimeKernel : public TimeKernel {
 public:
  ReadTimeKernel();
  ~ReadTimeKernel() override;
  ReadTimeKernel(const ReadTimeKernel&) = delete;
  ReadTimeKernel& operator=(const ReadTimeKernel&) = delete;

  // A new ReadTimeKernel. With `deep` it copies the name, the table, the request state and the counts, and
  // shares the prototypes and keys. The clone of an open kernel sees the same file and view but never releases
  // them (its close only forgets them), so the source stays valid; it must not be used after the source closes.
  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "ReadTimeKernel"; }

  // Closes the mapping, then marks every section absent.
  void close() override;
  // The mapping's position, or 0 when no file is open.
  std::int64_t tell() const override;
  // FileMapping::seek(offset, 0), if a file is open.
  void seek(std::int64_t offset) override;

  // Opens `fileName`, sets the window from the available memory, checks the format number, reads the section
  // table and takes `stepCount` and `dofCount` from the header of section 21. Fails when the file cannot be
  // opened, the format number is not 100, section 21 is absent or mislabelled, or its counts' product (taken in
  // 32 bits) is below 1.
  void openKernelFile();

  // Seeks to `section` and reads its header. Both outputs are set to 0 first, then to the two counts read (zero
  // when no view could be made). Fails when the section's position is negative or its stored number is not
  // `section` (the outputs are already set then). Leaves the position at the section's payload.
  void readSectionHeader(std::int32_t section, std::int32_t& first, std::int32_t& second);

  // Reads the element IDs of section 3: the first min(total, capacity) of them straight into `ids`. Returns the
  // total. A negative capacity counts as 0. Fails when section 3 is absent or mislabelled, or when it claims a
  // negative number of elements.
  std::int32_t readElementIds(std::int32_t* ids, std::int32_t capacity);

  // Reads `count` doubles at the current position into `destination`. Nothing is read, and the destination keeps
  // what it held, when no view can be made. A negative count fails.
  void readDoubles(double* destination, std::int32_t count);

  // One 4-byte field at the current position; `value` keeps what it held when no view can be made.
  void readI32(std::int32_t& value);
  // One 8-byte field at the current position, likewise.
  void readI64(std::int64_t& value);

  // The end of every cycle, on every path: close, clear the key selections, selectedMode -1, drop the request
  // list and the required rows, and lift the per-call allocation limit.
  void endCycle();

  std::vector<std::int64_t> requestedOffsets;  // per requested ID, in request order: its record's position or -1
  std::int32_t stepCount = 0;                  // first count of section 21's header
  std::int32_t dofCount = 0;                   // second count of section 21's header
  std::int32_t selectedMode = -1;              // selected column, -1 when none
  std::int32_t* requiredRows = nullptr;        // sorted response-table rows the call needs; owned
  std::int32_t requiredRowCount = 0;           // entries in requiredRows
  FileMapping mapping;                         // the paged view of the file

 private:
  void freeRequiredRows();
};

}  // namespace Zarn
