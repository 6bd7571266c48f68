// Reading an element record into plain tables. The reader knows nothing of the element classes that use them:
// it fills the destinations it is given. The record's layout is described in ElementRecord.cpp.
#pragma once

#include <cstdint>

#include "base/DenseRecords.h"

namespace Zarn {

class FileMapping;

// The destinations of an element record's fields 2 to 14, in record order. Non-owning: each refers to storage
// of the caller (an element prototype) for the time of one read.
struct ElementRecordFields {
  IntArray& dofRows;               // field 3
  Matrix& forceRotation;           // field 4
  Matrix& stressRotation;          // field 5
  Matrix& forceOffset;             // field 6
  Matrix& stressOffset;            // field 7
  Vector& referenceDisplacement;   // field 9
  Matrix& forceLoad;               // field 10
  Matrix& stressLoad;              // field 11
  Matrix& forceRecovery;           // field 12
  Matrix& stressRecovery;          // field 13
  Matrix& velocityForce;           // field 14
};

// Reads fields 2 and 3 at the reader's position (the type code has been read already): the dof count and
// dofRows, resized when its size differs. The reader then stands behind dofRows, not behind the record. Fails
// the call on a count above INT32_MAX or one too large to allocate.
void readElementDofRows(FileMapping& in, IntArray& dofRows);

// Reads fields 2 to 15 and leaves the reader behind the record. Each table goes through Matrix::resize, so a table
// of the right shape is reused. referenceDisplacement is resized only when its size differs and it is owned. The
// tenth table is read into a temporary and freed. When a field cannot be read (no view), reading stops there and
// the remaining fields keep what they held. Fails the call on a count above INT32_MAX, a table too large to
// allocate, or a reference view of another size.
void readElementRecordFields(FileMapping& in, const ElementRecordFields& record);

}  // namespace Zarn
