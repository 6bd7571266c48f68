// The initial state of one quantity, read entry by entry where a node needs it instead of as a whole-model
// column. A history request for a few nodes of a large model then reads a few doubles, not three columns of the
// whole model.
//
// It gives exactly what the whole-column read gives: column 0 of section 8, 9 or 10 (5, 6, 7 for a run with base
// motion), or, under a selected mode m, phi_m (column m of section 0) times the initial modal coordinate of m
// (column 0 of section 12, 13 or 14). `open` reads and checks the headers, so a file that lacks the sections
// fails the call just as the whole read would.
#pragma once

#include <cstdint>

#include "kernelfile/ReadTimeKernel.h"

namespace Zarn {

class InitialColumn {
 public:
  // quantity: 0 displacement, 1 velocity, 2 acceleration.
  void open(ReadTimeKernel& kernel, std::int32_t quantity, bool hasBaseMotion);
  // True when the file stores no initial state for the quantity: nothing is taken off.
  bool empty() const { return size_ == 0; }
  // The initial value of response-table row d. Fails for a row outside the stored column.
  double at(ReadTimeKernel& kernel, std::int32_t d) const;

 private:
  std::int64_t payload_ = 0;  // file position of the column's first value
  std::int32_t size_ = 0;     // entries in the column
  double factor_ = 1.0;       // the initial modal coordinate under a selected mode, else 1
};

}  // namespace Zarn
