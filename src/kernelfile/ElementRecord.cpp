// The element record, little-endian, packed; the fields follow one another, so each offset is where the field
// before it ends (n is the dof count, m the reference size):
//
//   OFFSET     SIZE    FIELD
//        0        4    1  type code (i32); read by whoever picks the element class
//        4        4    2  dof count n (u32); above INT32_MAX the record is corrupt
//        8       4n    3  dofRows (u32 each)
//   8 + 4n    table    4  forceRotation
//      ...    table    5  stressRotation
//      ...    table    6  forceOffset
//      ...    table    7  stressOffset
//      ...        4    8  reference size m (u32)
//      ...       8m    9  referenceDisplacement (f64 each)
//      ...    table   10  forceLoad
//      ...    table   11  stressLoad
//      ...    table   12  forceRecovery
//      ...    table   13  stressRecovery
//      ...    table   14  velocityForce
//      ...    table   15  a tenth table, read and thrown away
//
// A table is rows (u32) and cols (u32), then rows * cols f64 column-major: 8 + 8 * rows * cols bytes. An empty
// table is its two counts alone.
#include "kernelfile/ElementRecord.h"

#include <initializer_list>

#include "kernelfile/FileMapping.h"
#include "kernelfile/RecordFields.h"

namespace Zarn {

void readElementDofRows(FileMapping& in, IntArray& dofRows) {
  std::int32_t n = 0;
  if (!readCount(in, n)) return;
  readIntRun(in, dofRows, n);
}

void readElementRecordFields(FileMapping& in, const ElementRecordFields& record) {
  // Each step stops the record at the first field that cannot be read; the rest keep what they held.
  std::int32_t n = 0;
  if (!readCount(in, n) || !readIntRun(in, record.dofRows, n)) return;
  for (Matrix* table : {&record.forceRotation, &record.stressRotation, &record.forceOffset, &record.stressOffset}) {
    if (!readTable(in, *table)) return;
  }
  std::int32_t m = 0;
  if (!readCount(in, m) || !readDoubleRun(in, record.referenceDisplacement, m)) return;
  for (Matrix* table : {&record.forceLoad, &record.stressLoad, &record.forceRecovery, &record.stressRecovery,
                        &record.velocityForce}) {
    if (!readTable(in, *table)) return;
  }
  // What the tenth table holds does not matter here; it is read only so that the reader ends up behind the
  // record. It is freed when `skipped` goes out of scope.
  Matrix skipped;
  readTable(in, skipped);
}

}  // namespace Zarn
