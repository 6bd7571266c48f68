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
#include "model/ElementRecovery.h"
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

// A tile of `width` columns, zero but for column `at`, which holds quantity[rows[k]] in row k. `tile` is reused
// from element to element.
void placeColumn(const Vector& quantity, const IntArray& rows, std::int32_t width, std::int32_t at, Matrix& tile) {
  tile.resize(rows.size, width);
  tile.setZero();
  for (std::int32_t k = 0; k < rows.size; ++k) {
    const std::int32_t d = rows[k];
    TK_CHECK(d >= 0 && d < quantity.size);  // a row outside the whole-model vector
    tile.at(k, at) = *quantity.at(d);
  }
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
  // Load factors for fewer steps than the file has cannot serve every step.
  TK_CHECK(loadFactors.empty() || loadFactors.cols >= kernel.stepCount);

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

  // The step is formed inside the tile of steps that the history forms it in, at the same column, with zeros in
  // the other columns, so that its values are the history's to the bit (ElementRecovery.h).
  TK_CHECK(stepIndex >= 0 && stepIndex < kernel.stepCount);
  const std::int32_t first = stepIndex / kStepTile * kStepTile;
  const std::int32_t width = stepTileWidth(first, kernel.stepCount);
  const std::int32_t at = stepIndex - first;
  Matrix loads;
  if (!loadFactors.empty()) {
    loads.resize(loadFactors.size, width);
    loads.setZero();
    for (std::int32_t i = 0; i < loadFactors.size; ++i) loads.at(i, at) = *loadFactors.at(i);
  }

  Matrix u, v;
  forEachRequestedElement(request, result.cols, [&](std::int32_t i, TimeKernelElement& element) {
    if (element.dofRows.size == 0) return;
    placeColumn(displacement, element.dofRows, width, at, u);
    if (velocity.empty()) {
      v.clear();
    } else {
      placeColumn(velocity, element.dofRows, width, at, v);
    }
    Matrix block =
        Matrix::view(result.rows, 1, result.data + static_cast<std::int64_t>(i) * result.stride, result.rows);
    recoverForce(element, request.keySet, flagWord, u, v, loads, block, at);
    recoverStress(element, request.keySet, flagWord, u, loads, block, at);
    recoverDeform(element, request.keySet, u, block, at);
  });
}

}  // namespace Zarn
