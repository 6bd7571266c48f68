// Reading a node record into plain arrays. The reader knows nothing of the node objects that use it.
#pragma once

#include <cstdint>

#include "base/DenseRecords.h"

namespace Zarn {

class FileMapping;

// Reads the node record at the reader's position and leaves the position behind it. When a field cannot be read
// (no view), reading stops there: what was read stays, the rest keeps what it held, and an array that had to be
// reallocated for the record is zero rather than undefined. Without a rotation, `transform` gets rows and cols 0.
// Fails the call when the record's count exceeds INT32_MAX or its arrays cannot be allocated.
void readNodeRecord(FileMapping& in, IntArray& dofRows, IntArray& dofCodes, Matrix3& transform);

}  // namespace Zarn
