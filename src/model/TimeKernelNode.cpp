// The node record's layout is described in kernelfile/NodeRecord.cpp.
#include "model/TimeKernelNode.h"

#include <cstring>

#include "base/Bytes.h"
#include "kernelfile/ReadTimeKernel.h"
#include "base/Failure.h"

namespace Zarn {

namespace {
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
  return copy;
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
