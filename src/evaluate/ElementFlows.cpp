// The element flows walk `requestedOffsets`: seek to the record, read it into the prototype of its type code,
// recover, clear the prototype. An unknown type code is passed over and its block stays zero.
//
// Load factors come from section 4 (loads by steps) unless flag 4 is set, in which case no load term acts. The
// section is read, not probed: a file without it fails a request without flag 4, with flag 4 it is not
// touched. (A file whose analysis has no loads holds section 4 with 0 rows.)
#include "evaluate/ElementFlows.h"

#include "base/ClearOnExit.h"
#include "base/Failure.h"
#include "evaluate/ElementReader.h"
#include "evaluate/Flags.h"
#include "evaluate/KeyedRecovery.h"
#include "kernelfile/Sections.h"
#include "model/TimeKernelElement.h"

namespace Zarn {

using namespace sections;

namespace {

// All of section 4 into `loadFactors` (rows by columns, stride rows). Zeroed first, so that a read for which no
// view can be made leaves zeros.
void readLoadFactors(ReadTimeKernel& kernel, Matrix& loadFactors) {
  std::int32_t loads = 0, steps = 0;
  kernel.readSectionHeader(kLoadFactors, loads, steps);
  TK_CHECK(loads >= 0 && steps >= 0);
  loadFactors.resize(loads, steps);
  loadFactors.setZero();
  if (!loadFactors.empty()) kernel.mapping.read(loadFactors.data, loadFactors.count() * 8);
}

// Reads the element record at `offset` into its prototype; empty for an unknown type code. A failure inside the
// record read clears every prototype before it passes on, so that no partial record outlives the call.
counted_ptr<TimeKernelElement> readElementAt(Request& request, std::int64_t offset) {
  request.kernel.seek(offset);
  try {
    return readElementRecord(request);
  } catch (...) {
    for (auto& prototype : request.elementPrototypes) {
      if (prototype.second) prototype.second->clear();
    }
    throw;
  }
}

// gathered[k] = quantity[rows[k]]. `gathered` is reused from element to element.
void gather(const Vector& quantity, const IntArray& rows, Vector& gathered) {
  gathered.resize(rows.size);
  for (std::int32_t k = 0; k < rows.size; ++k) {
    const std::int32_t d = rows[k];
    TK_CHECK(d >= 0 && d < quantity.size);  // a row outside the whole-model vector
    *gathered.at(k) = *quantity.at(d);
  }
}

// A one-column matrix over a gathered vector (stride 1), or an empty record for an empty one.
Matrix columnOf(Vector& v) {
  if (v.empty()) return Matrix();
  return Matrix::view(v.size, 1, v.data, v.size);
}

// Calls visit(i, element) for each requested ID i (below `columns`) whose record holds an element of a known type.
// IDs the file lacks and unknown type codes are passed over, their blocks staying zero. The prototype is cleared
// after each visit, also when a failure unwinds through it.
template <class Visit>
void forEachRequestedElement(Request& request, std::int32_t columns, Visit visit) {
  const auto ids = static_cast<std::int32_t>(request.requestedOffsets.size());
  for (std::int32_t i = 0; i < ids && i < columns; ++i) {
    const std::int64_t offset = request.requestedOffsets[static_cast<std::size_t>(i)];
    if (offset < 0) continue;
    counted_ptr<TimeKernelElement> element = readElementAt(request, offset);
    if (!element) continue;
    ClearOnExit<TimeKernelElement> clearElement(*element);
    visit(i, *element);
  }
}

}  // namespace

void evaluateElementHistory(Request& request, std::int32_t flagWord, std::int32_t keyCount, Matrix& result) {
  ReadTimeKernel& kernel = request.kernel;
  const std::int64_t blockRows = static_cast<std::int64_t>(keyCount) * kernel.stepCount;
  TK_CHECK(keyCount >= 0 && blockRows <= result.rows);  // each block must fit in its column of the result
  Matrix loadFactors;
  if (!flags::has(flagWord, flags::kSingleMode)) readLoadFactors(kernel, loadFactors);

  forEachRequestedElement(request, result.cols, [&](std::int32_t i, TimeKernelElement& element) {
    Matrix block = Matrix::view(keyCount, kernel.stepCount,
                                result.data + static_cast<std::int64_t>(i) * result.stride, keyCount);
    recoverElement(request, element, flagWord, loadFactors, block);
  });
}

void evaluateElementStep(Request& request, std::int32_t flagWord, std::int32_t stepIndex, Matrix& result) {
  ReadTimeKernel& kernel = request.kernel;
  Vector loadFactors;
  if (!flags::has(flagWord, flags::kSingleMode))
    kernel.readSectionColumn(kLoadFactors, stepIndex, loadFactors, nullptr);
  Vector displacement, velocity;
  kernel.readDisplacementAtStep(stepIndex, displacement);
  TK_CHECK(!displacement.empty());
  kernel.readVelocityAtStep(stepIndex, velocity);  // may be empty: then no velocity term acts
  const Matrix loads = columnOf(loadFactors);

  Vector d, v;
  forEachRequestedElement(request, result.cols, [&](std::int32_t i, TimeKernelElement& element) {
    if (element.dofRows.size == 0) return;
    gather(displacement, element.dofRows, d);
    if (!velocity.empty()) gather(velocity, element.dofRows, v);
    const Matrix displacements = columnOf(d);
    const Matrix velocities = velocity.empty() ? Matrix() : columnOf(v);
    Matrix block =
        Matrix::view(result.rows, 1, result.data + static_cast<std::int64_t>(i) * result.stride, result.rows);
    recoverForce(element, request.keySet, flagWord, displacements, velocities, loads, block);
    recoverStress(element, request.keySet, flagWord, displacements, loads, block);
    recoverDeform(element, request.keySet, displacements, block);
  });
}

}  // namespace Zarn
