// Reading "the element record at the current position" of a kernel file, in its two forms.
//
// Both read the record's type code (4 bytes) through the kernel's reader and look it up in the kernel's
// prototype map. For a code the map does not hold (0, 581, anything unknown) the result is an empty pointer
// and the reader stands right behind the code, with nothing else read: the caller skips that element. For a
// known code the result is a counted share of that type's prototype, which has read the rest of the record
// through its own owner (the kernel, see Prototypes.cpp). There is no second object: the prototype holds the
// record until the caller clears it, and the caller does so before the next record is read.
//
// When the type code cannot be read (no view), it counts as unknown.
#pragma once

#include "model/Counted.h"
#include "model/TimeKernelElement.h"

namespace Zarn {

class ReadTimeKernel;

// First form: the prototype reads only the dof count and dofRows (TimeKernelElement::readDofRows). The
// reader then stands behind dofRows, not behind the record.
counted_ptr<TimeKernelElement> readElementDofRows(ReadTimeKernel& kernel);

// Second form: the prototype reads the whole record (TimeKernelElement::readRecord), and the reader stands
// behind it.
counted_ptr<TimeKernelElement> readElementRecord(ReadTimeKernel& kernel);

}  // namespace Zarn
