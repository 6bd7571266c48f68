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
#include <map>
#include <vector>

#include "kernelfile/FileMapping.h"
#include "kernelfile/TimeKernel.h"
#include "keys/KeySet.h"
#include "model/Records.h"

namespace Zarn {

class TimeKernelNode;
class TimeKernelElement;

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

  // Builds the node prototype, then the element prototypes in the order Bush 580, RigidBar 584, Rod 582, Bar 583,
  // WarpingBar 586, PlaneStress 642, PlaneStrain 643, Shell 645, Solid 768, Catenary 594, and sets their owner to
  // this kernel. Called once by the constructor.
  void makePrototypes();

  // ---- Request selection (keys/Selection.cpp) ----
  //
  // Turn the caller's node (section 2) or element (section 3) IDs into `requestedOffsets`: one file position per
  // requested ID, in request order, -1 for an ID the file lacks (a directory that repeats an ID resolves to its
  // last occurrence). Then walk those records and keep the sorted, de-duplicated response-table rows they need in
  // `requiredRows`. An empty set of rows fails the call: a request that reaches nothing is refused. An element of
  // an unknown type code contributes nothing.
  void selectNodes(const RequestList& ids);
  void selectElements(const RequestList& ids);

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

  // The end of every cycle, on every path: close, clear the key selections, selectedMode -1, drop the request
  // list and the required rows, and lift the per-call allocation limit.
  void endCycle();

  std::vector<std::int64_t> requestedOffsets;  // per requested ID, in request order: its record's position or -1
  // One prototype element per type code, and the one prototype node. A record is read into its prototype, used
  // and cleared again, so memory stays flat whatever the model's size. Built once, owned for the kernel's life.
  std::map<std::int32_t, counted_ptr<TimeKernelElement>> elementPrototypes;
  counted_ptr<TimeKernelNode> nodePrototype;
  TimeKernelKeySet keySet;                     // the result keys; their selections live for one call
  std::int32_t stepCount = 0;                  // first count of section 21's header
  std::int32_t dofCount = 0;                   // second count of section 21's header
  std::int32_t selectedMode = -1;              // selected column, -1 when none
  std::int32_t* requiredRows = nullptr;        // sorted response-table rows the call needs; owned
  std::int32_t requiredRowCount = 0;           // entries in requiredRows
  FileMapping mapping;                         // the paged view of the file

 private:
  void freeRequiredRows();
  void fillRequestedOffsets(std::int32_t section, const RequestList& ids);
  void storeRequiredRows(std::vector<std::int32_t>& rows);
};

}  // namespace Zarn
