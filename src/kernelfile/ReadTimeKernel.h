// ReadTimeKernel: the read side of a kernel file: the open file, its header and the reads of its sections and
// directories. It knows no keys, requests or prototypes (those belong to src/evaluate's Request).
//
// The process has one of these, `theKernel` (src/cycle), on which every designed export runs its cycle: store the
// path, `openKernelFile`, read what the call needs, `endCycle`. Between calls it is closed: every section position
// is -1 and `selectedMode` is -1. Each handle holds kernels of its own, opened read-only on the handle's file
// (`openReadOnly`). All reads go through `mapping`, field by field, in the calling order of FileMapping: a read
// for which no view can be made leaves its destination as it was.
//
// Every failure is Zarn::fail() (the integer exception 1); only the exports catch it.
#pragma once

#include <cstdint>
#include <vector>

#include "base/DenseRecords.h"
#include "kernelfile/FileMapping.h"
#include "kernelfile/TimeKernel.h"
#include "kernelfile/platform.h"

namespace Zarn {

class ReadTimeKernel : public TimeKernel {
 public:
  ReadTimeKernel();
  ~ReadTimeKernel() override;
  ReadTimeKernel(const ReadTimeKernel&) = delete;
  ReadTimeKernel& operator=(const ReadTimeKernel&) = delete;

  // A new ReadTimeKernel. With `deep` it copies the name, the table, the counts and the selected mode. The clone
  // of an open kernel sees the same file and view but never releases them (its close only forgets them), so the
  // source stays valid; it must not be used after the source closes.
  // Kept as part of the object model; no export reaches it.
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

  // The same checks on a file that somebody else has opened read-only (a handle): the mapping reads `file`
  // without owning it and never lengthens it (FileMapping::attachReadOnly). `fileSize` is the file's size at open.
  void openReadOnly(platform::FileHandle file, std::int64_t fileSize);

  // The bound of one allocation while this kernel's file is being read (base/Allocation.h), fixed at open from
  // the available memory and the file's size. A handle's query puts it in force on its own thread.
  std::int64_t allocationBound = INT64_MAX;

  // Seeks to `section` and reads its header. Both outputs are set to 0 first, then to the two counts read (zero
  // when no view could be made). Fails when the section's position is negative or its stored number is not
  // `section` (the outputs are already set then). Leaves the position at the section's payload.
  void readSectionHeader(std::int32_t section, std::int32_t& first, std::int32_t& second);

  // Reads the element IDs of section 3: the first min(total, capacity) of them straight into `ids`. Returns the
  // total. A negative capacity counts as 0. Fails when section 3 is absent or mislabelled, or when it claims a
  // negative number of elements.
  std::int32_t readElementIds(std::int32_t* ids, std::int32_t capacity);

  // Reads the directory `section` (2: nodes, 3: elements): the first min(total, capacity) IDs into `ids` and
  // record positions into `offsets` (either may be null). Returns the total. A negative capacity counts as 0.
  // Fails when the section is absent or mislabelled, or claims a negative number of entries.
  std::int32_t readDirectory(std::int32_t section, std::int32_t* ids, std::int64_t* offsets, std::int32_t capacity);

  // Reads `count` doubles at the current position into `destination`. Nothing is read, and the destination keeps
  // what it held, when no view can be made. A negative count fails.
  void readDoubles(double* destination, std::int32_t count);

  // One 4-byte field at the current position; `value` keeps what it held when no view can be made.
  void readI32(std::int32_t& value);
  // One 8-byte field at the current position, likewise.
  void readI64(std::int64_t& value);

  // The record position of each of `count` IDs (ids[k * stride]) in the directory `section` (2: nodes, 3:
  // elements), in the order asked, into `offsets`: -1 for an ID the directory lacks, the last occurrence for one
  // it repeats. Fails when the section is absent or mislabelled, or claims a negative or impossible count.
  void findRecords(std::int32_t section, const std::int32_t* ids, std::int32_t count, std::int32_t stride,
                   std::vector<std::int64_t>& offsets);

  // ---- Section reads (SectionReads.cpp) ----
  //
  // Sections 15 to 20 hold one state per column (a whole model at one step); their twins 21 to 26 hold the same
  // numbers transposed (the history of one degree of freedom per column). Section 0 holds the mode shapes.
  // Reads into an owned record reshape it to what the file holds; a view is never reshaped and takes only its
  // own length. Row indexes given by the caller address memory and are checked: one outside the section, or
  // outside the record it writes, fails the call.

  // One column of a column-contiguous section into `vector`, in one copy. If that fails (the section is absent,
  // mislabelled, ...) and `section` is 15 or more, the twin `section + 6` serves instead, one double at a time:
  // only the entries listed in `indices` when it is given, else all of them. Below 15 the failure passes on.
  // A section of 0 rows gives an empty vector, which is how callers notice that a quantity was not stored.
  void readSectionColumn(std::int32_t section, std::int32_t column, Vector& vector, const IntArray* indices);
  // Rows `indices` of a row-contiguous section (21 to 26) into `matrix`: row i of the result is the section's
  // column indices[i], over its rows (steps) from `firstStep` on, as many as the matrix has columns. An owned
  // matrix is reshaped to (indices by the section's steps) first; a view keeps its shape, so a caller reads a
  // tile of steps through a view. A section of 0 rows or 0 columns does not store the quantity: an owned matrix
  // then comes back empty, a view untouched, and the result is false. Otherwise the result is true.
  bool readHistoryRows(std::int32_t section, const IntArray& indices, Matrix& matrix, std::int32_t firstStep = 0);
  // The contribution of the selected mode m to one column: phi_m (column m of section 0) times the modal
  // coordinate of m in that column of `section`. Fails when either read comes back empty or m is not a mode of
  // the modal section.
  void readModalColumn(std::int32_t section, std::int32_t column, Vector& vector, const IntArray* indices);
  // The selected mode's contribution to the history rows: result(i, t) = phi_m[indices[i]] * q_m(t), over the
  // steps from `firstStep` on, shaped as in readHistoryRows. Fails when the mode shape or the modal history is
  // empty or m is not one of its modes.
  void readModalHistoryRows(std::int32_t section, const IntArray& indices, Matrix& matrix,
                            std::int32_t firstStep = 0);

  // The state at one step (sections 15/16/17, or the modal 18/19/20 under a selected mode).
  void readDisplacementAtStep(std::int32_t step, Vector& vector);
  void readVelocityAtStep(std::int32_t step, Vector& vector);
  void readAccelerationAtStep(std::int32_t step, Vector& vector);
  // The history of the listed rows (sections 21/22/23, or the modal 24/25/26 under a selected mode).
  // `firstStep` and the shape rules as in readHistoryRows; the result is false when the file does not store the
  // quantity (direct storage only: an empty modal history fails).
  bool readDisplacementHistory(const IntArray& indices, Matrix& matrix, std::int32_t firstStep = 0);
  bool readVelocityHistory(const IntArray& indices, Matrix& matrix, std::int32_t firstStep = 0);
  bool readAccelerationHistory(const IntArray& indices, Matrix& matrix, std::int32_t firstStep = 0);
  // The initial state (column 0): modal 12/13/14 under a selected mode; else 5/6/7 for a run with base motion,
  // 8/9/10 for one without.
  void readInitialState(Vector& displacement, Vector& velocity, Vector& acceleration, bool hasBaseMotion);

  // The end of every cycle, on every path: close, selectedMode -1, and lift the per-call allocation limit.
  void endCycle();

  std::int32_t stepCount = 0;                  // first count of section 21's header
  std::int32_t dofCount = 0;                   // second count of section 21's header
  std::int32_t selectedMode = -1;              // selected column, -1 when none
  FileMapping mapping;                         // the paged view of the file

 private:
  // Checks the header and reads the section table of the file the mapping has open.
  void readKernelHeader();
};

}  // namespace Zarn
