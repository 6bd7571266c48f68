// The node record, little-endian, packed (8 + 8n bytes, 72 more with a rotation):
//
//   OFFSET   SIZE  FIELD
//        0      4  count n (u32); above INT32_MAX the record is corrupt
//        4      4  hasTransform (u32): 0 no rotation follows; any other value: it does
//        8     4n  dofRows (u32 each): the node's rows in the response tables
//   8 + 4n     4n  dofCodes (u32 each, read as signed): -1000 no component, else component index - 999
//   8 + 8n     72  transform, 9 f64 row by row; only when hasTransform is not 0
//
// The record holds no node number: the node directory ties an ID to the record's position.
#include "kernelfile/NodeRecord.h"

#include <cstring>

#include "base/Bytes.h"
#include "kernelfile/FileMapping.h"
#include "kernelfile/RecordFields.h"

namespace Zarn {

namespace {
// count and hasTransform are taken in one step.
constexpr std::int64_t kNodeHeaderSize = 8;
}  // namespace

void readNodeRecord(FileMapping& in, IntArray& dofRows, IntArray& dofCodes, Matrix3& transform) {
  const unsigned char* header = in.take(kNodeHeaderSize);
  if (header == nullptr) return;
  const std::int32_t n = checkedCount(readU32(header));
  const bool hasTransform = readU32(header + 4) != 0;  // any value but 0 counts as true
  if (!readIntRun(in, dofRows, n)) return;
  if (!readIntRun(in, dofCodes, n)) return;
  if (!hasTransform) {
    transform.rows = 0;
    transform.cols = 0;
    return;
  }
  double values[9];
  if (!in.read(values, sizeof values)) return;
  std::memcpy(transform.values, values, sizeof values);
  transform.rows = 3;
  transform.cols = 3;
}

}  // namespace Zarn
