#include "evaluate/StepColumn.h"

#include "base/Allocation.h"
#include "base/Checked.h"
#include "base/Failure.h"
#include "kernelfile/Sections.h"

namespace Zarn {

using namespace sections;

bool StepColumn::openInFile(ReadTimeKernel& kernel, std::int32_t section, std::int32_t column) {
  std::int32_t a = 0, b = 0;
  try {
    kernel.readSectionHeader(section, a, b);
  } catch (...) {
    // Absent or mislabelled: the whole-column read fails the same way, or falls back to the twin.
    return false;
  }
  if (a < 0) return false;  // the whole-column read fails on it, or falls back to the twin
  if (column < 0 || column >= b) {
    size_ = 0;  // a column the section does not have is not stored
    inFile_ = true;
    return true;
  }
  // The whole read would allocate a doubles (and fall back or fail beyond the bound) and read them from here.
  if (a > allocationLimit / 8) return false;
  std::int64_t offset = 0, payload = 0;
  if (!checkedMul(static_cast<std::int64_t>(column), a, &offset) || !checkedMulAdd(offset, 8, kernel.tell(), &payload))
    return false;
  // Only a column inside the file reads the same entry by entry as whole: a read past the end would lengthen
  // the file, and one past the growth bound would be dropped whole.
  if (!kernel.mapping.liesInsideFile(payload, static_cast<std::int64_t>(a) * 8)) return false;
  inFile_ = true;
  payload_ = payload;
  size_ = a;
  return true;
}

void StepColumn::openState(ReadTimeKernel& kernel, std::int32_t quantity, std::int32_t step) {
  if (kernel.selectedMode < 0 && openInFile(kernel, kFirstTwinnedSection + quantity, step)) return;
  inFile_ = false;
  switch (quantity) {
    case 0:
      kernel.readDisplacementAtStep(step, whole_);
      break;
    case 1:
      kernel.readVelocityAtStep(step, whole_);
      break;
    default:
      kernel.readAccelerationAtStep(step, whole_);
      break;
  }
  size_ = whole_.size;
}

void StepColumn::openInitial(ReadTimeKernel& kernel, std::int32_t quantity, bool hasBaseMotion) {
  const std::int32_t section = (hasBaseMotion ? kWithBaseMotion : kWithoutBaseMotion) + quantity;
  if (kernel.selectedMode < 0 && openInFile(kernel, section, 0)) return;
  inFile_ = false;
  if (kernel.selectedMode >= 0) {
    kernel.readModalColumn(kModalInitial + quantity, 0, whole_, nullptr);
  } else {
    kernel.readSectionColumn(section, 0, whole_, nullptr);
  }
  size_ = whole_.size;
}

double StepColumn::at(ReadTimeKernel& kernel, std::int32_t d) const {
  if (!inFile_) return *whole_.at(d);
  double value = 0.0;
  kernel.seek(payload_ + 8 * static_cast<std::int64_t>(d));
  kernel.mapping.read(&value, 8);
  return value;
}

void StepColumn::loadWhole(ReadTimeKernel& kernel) {
  if (!inFile_ || size_ == 0) return;
  whole_.resize(size_);
  whole_.setZero();
  kernel.seek(payload_);
  kernel.mapping.read(whole_.data, static_cast<std::int64_t>(size_) * 8);
  inFile_ = false;
}

}  // namespace Zarn
