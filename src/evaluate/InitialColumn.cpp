#include "evaluate/InitialColumn.h"

#include "base/Checked.h"
#include "kernelfile/Sections.h"
#include "base/Failure.h"

namespace Zarn {

using namespace sections;

namespace {

// One double at `position`; 0 when no view can be made there (as a read into a fresh zeroed vector would give).
double readDoubleAt(ReadTimeKernel& kernel, std::int64_t position) {
  double value = 0.0;
  kernel.seek(position);
  kernel.mapping.read(&value, 8);
  return value;
}

}  // namespace

void InitialColumn::open(ReadTimeKernel& kernel, std::int32_t quantity, bool hasBaseMotion) {
  size_ = 0;
  factor_ = 1.0;
  std::int32_t a = 0, b = 0;
  if (kernel.selectedMode < 0) {
    kernel.readSectionHeader((hasBaseMotion ? kWithBaseMotion : kWithoutBaseMotion) + quantity, a, b);
    TK_CHECK(a >= 0);
    if (b < 1) return;  // no column 0: not stored
    payload_ = kernel.tell();
    size_ = a;
    return;
  }
  // Under a selected mode m: the modal coordinate of m at the start, then the mode shape m.
  const std::int32_t m = kernel.selectedMode;
  kernel.readSectionHeader(kModalInitial + quantity, a, b);
  TK_CHECK(a > 0 && b >= 1);  // an empty modal read fails the call
  TK_CHECK(m < a);
  std::int64_t position = 0;
  TK_CHECK(checkedMulAdd(m, 8, kernel.tell(), &position));
  factor_ = readDoubleAt(kernel, position);
  kernel.readSectionHeader(kModeShapes, a, b);
  TK_CHECK(a > 0 && m < b);  // the mode shape must exist
  TK_CHECK(checkedMulAdd(static_cast<std::int64_t>(m) * 8, a, kernel.tell(), &payload_));
  size_ = a;
}

double InitialColumn::at(ReadTimeKernel& kernel, std::int32_t d) const {
  TK_CHECK(d >= 0 && d < size_);
  return readDoubleAt(kernel, payload_ + 8 * static_cast<std::int64_t>(d)) * factor_;
}

}  // namespace Zarn
