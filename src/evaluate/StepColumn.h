// One whole-model column that the single-step flow reads (a quantity at a step, or an initial state), read
// where the nodes need it instead of whole when that gives the same numbers.
//
// `open` does what the whole-column read does up to the data: the same header reads, the same checks and the
// same failures, the same fallback to the transposed twin, the same "not stored" for a column the section does
// not have. When the column is a direct one (no selected mode, no twin), lies wholly inside the file and would
// pass the allocation bound, its values stay in the file and `at` reads each one where it lies (or `loadWhole`
// reads the column in one go, for requests that need much of it). Otherwise the column is read whole right away
// exactly as before. Either way `at(d)` is the double that entry d of the whole-column read holds.
#pragma once

#include <cstdint>

#include "base/DenseRecords.h"
#include "kernelfile/ReadTimeKernel.h"

namespace Zarn {

class StepColumn {
 public:
  // Quantity `quantity` (0 displacement, 1 velocity, 2 acceleration) at step `step`, as readDisplacementAtStep
  // and its siblings give it.
  void openState(ReadTimeKernel& kernel, std::int32_t quantity, std::int32_t step);
  // The initial state of `quantity`, as readInitialState gives it.
  void openInitial(ReadTimeKernel& kernel, std::int32_t quantity, bool hasBaseMotion);

  bool empty() const { return size_ == 0; }
  std::int32_t size() const { return size_; }
  // Entry d; the caller has checked 0 <= d < size().
  double at(ReadTimeKernel& kernel, std::int32_t d) const;
  // Reads a column that is still in the file whole, so that later `at` calls read memory.
  void loadWhole(ReadTimeKernel& kernel);

 private:
  // Opens column `column` of the direct section `section` in the file when it can stay there; false when the
  // whole-column read must run instead.
  bool openInFile(ReadTimeKernel& kernel, std::int32_t section, std::int32_t column);

  Vector whole_;              // the column read whole, when it is
  bool inFile_ = false;       // the values are read from the file where they lie
  std::int64_t payload_ = 0;  // file position of entry 0, when inFile_
  std::int32_t size_ = 0;
};

}  // namespace Zarn
