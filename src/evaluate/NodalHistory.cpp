// The nodal history flow: every selected node's displacement, velocity and acceleration over all steps.
//
// Only the rows of the node's own degrees of freedom are read, from the by-degree-of-freedom sections 21 to 23
// (24 to 26 for a selected mode), once for each quantity that has a selected key.
//
// Fast path. When nothing mixes rows (no base motion to add, no rotation to apply) and the storage is direct,
// each selected component's history goes once from the mapped view straight into the caller's block, with the
// initial state taken off in the same pass. Otherwise the general path assembles the node's rows in a work
// matrix first. Both give the same values: X(d, t) - X0(d), in that order of operations.
#include <algorithm>

#include "evaluate/Flags.h"
#include "evaluate/NodalAssembly.h"
#include "evaluate/NodalFlows.h"
#include "kernelfile/Bytes.h"
#include "kernelfile/Checked.h"
#include "model/ClearOnExit.h"
#include "model/Failure.h"

namespace Zarn {

namespace {

constexpr std::int32_t kBaseMotionHistory = 1;
constexpr std::int32_t kConstantBaseMotion = 11;
constexpr std::int32_t kFirstHistorySection = 21;  // 21, 22, 23: displacement, velocity, acceleration

// The base motion over all steps: section 1 as it stands (9 rows by steps), or, when that is empty, the nine
// values of section 11 repeated at every step.
void readHistoryBaseMotion(ReadTimeKernel& kernel, Matrix& motion) {
  std::int32_t a = 0, b = 0;
  kernel.readSectionHeader(kBaseMotionHistory, a, b);
  TK_CHECK(a >= 0 && b >= 0);
  motion.resize(a, b);
  motion.setZero();  // a read with no view leaves zeros, not whatever the allocator gave
  kernel.mapping.read(motion.data, motion.count() * 8);
  if (motion.empty()) {
    kernel.readSectionHeader(kConstantBaseMotion, a, b);
    TK_CHECK(a >= 0);
    motion.resize(a, kernel.stepCount);
    motion.setZero();
    if (motion.empty()) return;
    kernel.mapping.read(motion.data, static_cast<std::int64_t>(a) * 8);
    for (std::int32_t t = 1; t < motion.cols; ++t) std::copy(motion.data, motion.data + a, &motion.at(0, t));
  }
  // Each quantity takes three rows of the nine; a base motion with fewer rows is malformed.
  if (!motion.empty()) TK_CHECK(motion.rows >= kBaseMotionRows);
}

struct HistoryInputs {
  std::int32_t flags;
  const Matrix& baseMotion;  // empty without base motion
  Vector* initial;           // the three initial states; an empty one takes nothing off
};

// The fast path for one quantity: each selected component straight from the view into its block row.
void copyHistoryDirect(ReadTimeKernel& kernel, std::int32_t quantity, const TimeKernelNode& node,
                       const TimeKernelKeyInfo& key, const IdMap& componentMap, const Vector& initial,
                       Matrix& block) {
  std::int32_t steps = 0, dofs = 0;
  kernel.readSectionHeader(kFirstHistorySection + quantity, steps, dofs);
  TK_CHECK(steps >= 0 && dofs >= 0);
  const std::int64_t base = kernel.tell();
  const std::int64_t rowBytes = static_cast<std::int64_t>(steps) * 8;
  const std::int32_t columns = std::min(steps, block.cols);
  for (const IdMap::Entry& selected : key.selection) {
    const IdMap::Entry* component = componentMap.find(selected.key);
    if (component == nullptr) continue;
    const std::int32_t row = selected.value;
    if (row < 0 || row >= block.rows) continue;
    const std::int32_t d = node.dofRows[component->value];
    TK_CHECK(d >= 0 && d < dofs);  // a row the section does not hold
    double x0 = 0.0;
    const bool subtract = !initial.empty();
    if (subtract) {
      TK_CHECK(d < initial.size);
      x0 = *initial.at(d);
    }
    std::int64_t position = 0;
    TK_CHECK(checkedMulAdd(d, rowBytes, base, &position));
    kernel.seek(position);
    const unsigned char* p = kernel.mapping.take(rowBytes);
    if (p == nullptr) continue;
    double* out = &block.at(row, 0);
    const std::int64_t step = block.stride;
    if (subtract) {
      for (std::int32_t t = 0; t < columns; ++t) out[t * step] = readF64(p + 8 * static_cast<std::int64_t>(t)) - x0;
    } else {
      for (std::int32_t t = 0; t < columns; ++t) out[t * step] = readF64(p + 8 * static_cast<std::int64_t>(t));
    }
  }
}

void readQuantityHistory(ReadTimeKernel& kernel, std::int32_t quantity, const IntArray& rows, Matrix& work) {
  switch (quantity) {
    case 0:
      kernel.readDisplacementHistory(rows, work);
      break;
    case 1:
      kernel.readVelocityHistory(rows, work);
      break;
    default:
      kernel.readAccelerationHistory(rows, work);
      break;
  }
}

// The general path for one quantity: the node's rows in a work matrix, base motion added, initial state taken
// off, then the selected components picked (rotated first under flag 2).
void assembleQuantityHistory(ReadTimeKernel& kernel, std::int32_t quantity, const TimeKernelNode& node,
                             const HistoryInputs& in, const TimeKernelKeyInfo& key, const IdMap& componentMap,
                             Matrix& work, Matrix& block) {
  work.resize(node.dofRows.size, kernel.stepCount);
  work.setZero();
  readQuantityHistory(kernel, quantity, node.dofRows, work);
  if (!in.baseMotion.empty()) {
    const std::int32_t r0 = kBaseMotionFirstRow[quantity];
    const std::int32_t ld = in.baseMotion.stride != 0 ? in.baseMotion.stride : 3;
    const Matrix motion = Matrix::view(3, in.baseMotion.cols, in.baseMotion.data + r0, ld);
    addBaseMotion(node, motion, work);
  }
  const Vector& x0 = in.initial[quantity];
  if (!x0.empty()) {
    for (std::int32_t k = 0; k < work.rows; ++k) {
      const std::int32_t d = node.dofRows[k];
      TK_CHECK(d >= 0 && d < x0.size);
      const double v = *x0.at(d);
      for (std::int32_t t = 0; t < work.cols; ++t) work.at(k, t) -= v;
    }
  }
  writeKeys(node, in.flags, key, componentMap, work, block);
}

void assembleNodeHistory(ReadTimeKernel& kernel, const TimeKernelNode& node, const HistoryInputs& in,
                         IdMap& componentMap, Matrix& work, Matrix& block) {
  buildComponentMap(node, componentMap);
  const bool direct = kernel.selectedMode < 0 && in.baseMotion.empty() &&
                      !(flags::has(in.flags, flags::kRotate) && node.transform.present());
  for (std::int32_t quantity = 0; quantity < 3; ++quantity) {
    const counted_ptr<TimeKernelKeyInfo>& key = kernel.keySet.nodeKeys[quantity];
    if (!key || key->selection.empty()) continue;
    if (direct) {
      copyHistoryDirect(kernel, quantity, node, *key, componentMap, in.initial[quantity], block);
    } else {
      assembleQuantityHistory(kernel, quantity, node, in, *key, componentMap, work, block);
    }
  }
}

}  // namespace

void evaluateNodalHistory(ReadTimeKernel& kernel, std::int32_t flagWord, std::int32_t keyCount, Matrix& result) {
  Matrix baseMotion;
  if (flags::wantsBaseMotion(flagWord)) readHistoryBaseMotion(kernel, baseMotion);
  Vector initial[3];
  kernel.readInitialState(initial[0], initial[1], initial[2], !baseMotion.empty());
  TK_CHECK(static_cast<bool>(kernel.nodePrototype));
  TimeKernelNode& node = *kernel.nodePrototype;
  const HistoryInputs in{flagWord, baseMotion, initial};
  IdMap componentMap;
  Matrix work;
  const auto ids = static_cast<std::int32_t>(kernel.requestedOffsets.size());
  for (std::int32_t i = 0; i < ids && i < result.cols; ++i) {
    const std::int64_t offset = kernel.requestedOffsets[static_cast<std::size_t>(i)];
    if (offset < 0) continue;
    kernel.seek(offset);
    Matrix block =
        Matrix::view(keyCount, kernel.stepCount, result.data + static_cast<std::int64_t>(i) * result.stride, keyCount);
    ClearOnExit<TimeKernelNode> clearNode(node);
    node.read();
    assembleNodeHistory(kernel, node, in, componentMap, work, block);
  }
}

}  // namespace Zarn
