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
#include "model/TimeKernelNode.h"

#include <cstring>

#include "kernelfile/Bytes.h"
#include "kernelfile/ReadTimeKernel.h"
#include "model/Failure.h"
#include "model/RecordFields.h"

namespace Zarn {

namespace {
// count and hasTransform are taken in one step.
constexpr std::int64_t kNodeHeaderSize = 8;

bool opensTriple(std::int32_t code) {
  return code == TimeKernelNode::kTranslationTriple || code == TimeKernelNode::kRotationTriple;
}
}  // namespace

TimeKernelNode::TimeKernelNode() { clear(); }

TimeKernelNode::~TimeKernelNode() { clear(); }

counted_ptr<Base> TimeKernelNode::clone(bool deep) const {
  counted_ptr<TimeKernelNode> copy = makeCounted<TimeKernelNode>();
  if (!copy || !deep) return copy;
  copy->id = id;
  copy->dofRows.assign(dofRows);
  copy->dofCodes.assign(dofCodes);
  copy->transform = transform;
  copy->owner = owner;
  return copy;
}

void TimeKernelNode::read() {
  if (owner == nullptr) return;
  FileMapping& in = owner->mapping;
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

void TimeKernelNode::clear() {
  dofRows.clear();
  dofCodes.clear();
  transform.rows = 0;
  transform.cols = 0;
}

void TimeKernelNode::rotateTriples(Matrix& target) const {
  // No rotation behaves as the identity would: nothing changes.
  if (!transform.present()) return;
  // Walk the codes once without touching anything, so that a malformed record fails the call before any value
  // has been turned. Indexes are 64-bit so that k + 2 cannot overflow near INT32_MAX.
  for (std::int64_t k = 0; k < dofCodes.size;) {
    if (!opensTriple(dofCodes.data[k])) {
      ++k;
      continue;
    }
    // The triple's last entry must be one of the node's own and, when there is a column to turn, one of the
    // target's rows.
    TK_CHECK(k + 2 < dofCodes.size);
    TK_CHECK(target.cols == 0 || k + 2 < target.rows);
    k += 3;
  }
  const std::int64_t columnDistance = target.columnDistance();
  for (std::int32_t j = 0; j < target.cols; ++j) {
    double* column = target.data + j * columnDistance;
    for (std::int64_t k = 0; k < dofCodes.size;) {
      if (opensTriple(dofCodes.data[k])) {
        transform.rotate(column + k, 1);
        k += 3;
      } else {
        ++k;
      }
    }
  }
}

}  // namespace Zarn
