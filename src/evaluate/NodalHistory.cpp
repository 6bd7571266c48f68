// The nodal history flow: every selected node's displacement, velocity and acceleration over all steps.
//
// Only the rows of the node's own degrees of freedom are read, from the by-degree-of-freedom sections 21 to 23
// (24 to 26 for a selected mode), once for each quantity that has a selected key.
//
// Fast path. When nothing mixes rows (no base motion to add, no rotation to apply) and the storage is direct,
// each selected component's history goes once from the mapped view straight into the caller's block, with the
// initial state taken off in the same pass. The components of one quantity are copied together, a tile of steps
// at a time, so that each cache line of the block is filled while it is in cache although the block interleaves
// the keys step by step. Otherwise the general path assembles the node's rows in a work matrix first. Both give
// the same values: X(d, t) - X0(d), in that order of operations.
//
// No separate pass zeroes the result beforehand. On the fast path every cell of a block is written once: the
// copied histories first, then zeros into exactly the cells that no history reached. The general path zeroes its
// block just before filling it, while the block is about to be in cache anyway.
#include <algorithm>
#include <vector>

#include "evaluate/Flags.h"
#include "evaluate/InitialColumn.h"
#include "evaluate/NodalAssembly.h"
#include "evaluate/NodalFlows.h"
#include "base/Bytes.h"
#include "base/Checked.h"
#include "evaluate/ElementReader.h"
#include "kernelfile/Sections.h"
#include "base/ClearOnExit.h"
#include "base/Failure.h"

namespace Zarn {

using namespace sections;

namespace {

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
  const Matrix& baseMotion;      // empty without base motion
  const InitialColumn* initial;  // the three initial states; an empty one takes nothing off
  std::vector<unsigned char>* staging;  // the fast path's buffer for positioned reads; null: views only
};

// A request whose histories add up to less than this many bytes reads them by positioned reads: its few rows do
// not repay a view's fixed cost. A larger one copies from views, whose cost is shared by many rows (measured: a
// 1,000-node request copies faster from views than through a buffer, a 10-node one slower).
constexpr std::int64_t kStagedRequestLimit = 0x400000;

// Steps copied per tile: the block rows of one tile (keyCount x kTileSteps doubles) stay in the first-level cache
// while every selected component of the quantity writes into them.
constexpr std::int32_t kTileSteps = 256;

// One selected component on the fast path: where its history comes from and where it goes.
struct Lane {
  std::int32_t row;           // its row in the block (the request ordinal)
  std::int32_t dof;           // its row of the response tables
  double x0;                  // initial value to take off
  bool subtract;              // whether the file stores an initial state
  const unsigned char* from;  // its history in the view (set once the view is made)
};

// One tile of steps [t0, t1) for L lanes, step by step: the lanes' values of one step land side by side in the
// block (they are its rows at that step), so every store goes to the same few cache lines. L is a compile-time
// count so the lane loop unrolls into straight loads, subtractions and stores.
template <int L, bool kSubtract>
void copyTile(const Lane* lanes, std::int32_t t0, std::int32_t t1, double* block, std::int64_t step) {
  const unsigned char* from[L];
  double x0[L];
  std::int64_t row[L];
  for (int l = 0; l < L; ++l) {
    from[l] = lanes[l].from;
    x0[l] = lanes[l].x0;
    row[l] = lanes[l].row;
  }
  for (std::int32_t t = t0; t < t1; ++t) {
    double* out = block + t * step;
    const std::int64_t at = 8 * static_cast<std::int64_t>(t);
    for (int l = 0; l < L; ++l) out[row[l]] = kSubtract ? readF64(from[l] + at) - x0[l] : readF64(from[l] + at);
  }
}

template <bool kSubtract>
void copyTileOfAnyWidth(const Lane* lanes, std::size_t count, std::int32_t t0, std::int32_t t1, double* block,
                        std::int64_t step) {
  // Up to eight lanes at a time (a node has at most nine components); a wider group is split.
  while (count > 0) {
    const std::size_t n = std::min<std::size_t>(count, 8);
    switch (n) {
      case 1: copyTile<1, kSubtract>(lanes, t0, t1, block, step); break;
      case 2: copyTile<2, kSubtract>(lanes, t0, t1, block, step); break;
      case 3: copyTile<3, kSubtract>(lanes, t0, t1, block, step); break;
      case 4: copyTile<4, kSubtract>(lanes, t0, t1, block, step); break;
      case 5: copyTile<5, kSubtract>(lanes, t0, t1, block, step); break;
      case 6: copyTile<6, kSubtract>(lanes, t0, t1, block, step); break;
      case 7: copyTile<7, kSubtract>(lanes, t0, t1, block, step); break;
      default: copyTile<8, kSubtract>(lanes, t0, t1, block, step); break;
    }
    lanes += n;
    count -= n;
  }
}

// Copies the lanes' first `columns` steps into the block and notes, per block row, how many leading steps now
// hold values. All lanes of one quantity agree on whether an initial state is taken off.
void copyLanes(const std::vector<Lane>& lanes, std::int32_t columns, Matrix& block, std::vector<std::int32_t>& filled) {
  if (lanes.empty()) return;
  for (const Lane& lane : lanes) filled[static_cast<std::size_t>(lane.row)] = columns;
  const bool subtract = lanes.front().subtract;
  for (std::int32_t t0 = 0; t0 < columns; t0 += kTileSteps) {
    const std::int32_t t1 = std::min(columns, t0 + kTileSteps);
    if (subtract) {
      copyTileOfAnyWidth<true>(lanes.data(), lanes.size(), t0, t1, block.data, block.stride);
    } else {
      copyTileOfAnyWidth<false>(lanes.data(), lanes.size(), t0, t1, block.data, block.stride);
    }
  }
}

// The fast path for one quantity: each selected component straight from the view into its block row, or, with a
// `staging` buffer, from a positioned read of the node's rows into it.
void copyHistoryDirect(ReadTimeKernel& kernel, std::int32_t quantity, const TimeKernelNode& node,
                       const TimeKernelKeyInfo& key, const ComponentIndex& components, const InitialColumn& initial,
                       std::vector<Lane>& lanes, std::vector<std::int32_t>& filled,
                       std::vector<unsigned char>* staging, Matrix& block) {
  std::int32_t steps = 0, dofs = 0;
  kernel.readSectionHeader(kFirstHistorySection + quantity, steps, dofs);
  TK_CHECK(steps >= 0 && dofs >= 0);
  if (steps == 0 || dofs == 0) return;  // the file does not store this quantity: its keys stay zero
  const std::int64_t base = kernel.tell();
  const std::int64_t rowBytes = static_cast<std::int64_t>(steps) * 8;
  const std::int32_t columns = std::min(steps, block.cols);
  lanes.clear();
  std::int32_t first = INT32_MAX, last = -1;
  for (const IdMap::Entry& selected : key.selection) {
    const std::int32_t k = components.find(selected.key);
    if (k < 0) continue;
    const std::int32_t row = selected.value;
    if (row < 0 || row >= block.rows) continue;
    const std::int32_t d = node.dofRows[k];
    TK_CHECK(d >= 0 && d < dofs);  // a row the section does not hold
    const bool subtract = !initial.empty();
    lanes.push_back(Lane{row, d, subtract ? initial.at(kernel, d) : 0.0, subtract, nullptr});
    first = std::min(first, d);
    last = std::max(last, d);
  }
  if (lanes.empty() || columns == 0) return;
  std::int64_t start = 0, span = 0;
  TK_CHECK(checkedMulAdd(first, rowBytes, base, &start) && checkedMul(last - first + 1, rowBytes, &span));
  if (staging != nullptr && span < FileMapping::kPositionedReadLimit && kernel.mapping.liesInsideFile(start, span)) {
    // A small request: the node's rows come by one positioned read, which costs less than making a view of
    // the file, faulting its pages in and unmapping it again.
    staging->resize(static_cast<std::size_t>(span));
    kernel.seek(start);
    if (!kernel.mapping.read(staging->data(), span)) return;  // unreadable: the block keeps its zeros
    for (Lane& lane : lanes) lane.from = staging->data() + static_cast<std::int64_t>(lane.dof - first) * rowBytes;
    copyLanes(lanes, columns, block, filled);
    return;
  }
  if (span <= kernel.mapping.windowSize) {
    // All the node's rows in one view, so every lane's pointer stays valid while the tiles are copied.
    kernel.seek(start);
    const unsigned char* rows = kernel.mapping.take(span);
    if (rows == nullptr) return;  // no view: the block keeps its zeros
    for (Lane& lane : lanes) lane.from = rows + static_cast<std::int64_t>(lane.dof - first) * rowBytes;
    copyLanes(lanes, columns, block, filled);
    return;
  }
  // Rows too far apart to share a view: one lane at a time, each from a view of its own.
  std::vector<Lane> one(1);
  for (const Lane& lane : lanes) {
    kernel.seek(base + static_cast<std::int64_t>(lane.dof) * rowBytes);  // within [start, start + span)
    one[0] = lane;
    one[0].from = kernel.mapping.take(rowBytes);
    if (one[0].from != nullptr) copyLanes(one, columns, block, filled);
  }
}

// False when the file does not store the quantity.
bool readQuantityHistory(ReadTimeKernel& kernel, std::int32_t quantity, const IntArray& rows, Matrix& work) {
  switch (quantity) {
    case 0:
      return kernel.readDisplacementHistory(rows, work);
    case 1:
      return kernel.readVelocityHistory(rows, work);
    default:
      return kernel.readAccelerationHistory(rows, work);
  }
}

// The general path for one quantity: the node's rows in a work matrix, base motion added, initial state taken
// off, then the selected components picked (rotated first under flag 2).
void assembleQuantityHistory(ReadTimeKernel& kernel, std::int32_t quantity, const TimeKernelNode& node,
                             const HistoryInputs& in, const TimeKernelKeyInfo& key, const ComponentIndex& components,
                             Matrix& work, Matrix& block) {
  work.resize(node.dofRows.size, kernel.stepCount);
  work.setZero();
  if (!readQuantityHistory(kernel, quantity, node.dofRows, work)) return;  // not stored: its keys stay zero
  if (!in.baseMotion.empty()) {
    const std::int32_t r0 = kBaseMotionFirstRow[quantity];
    const std::int32_t ld = in.baseMotion.stride != 0 ? in.baseMotion.stride : 3;
    const Matrix motion = Matrix::view(3, in.baseMotion.cols, in.baseMotion.data + r0, ld);
    addBaseMotion(node, motion, work);
  }
  const InitialColumn& x0 = in.initial[quantity];
  if (!x0.empty()) {
    for (std::int32_t k = 0; k < work.rows; ++k) {
      const double v = x0.at(kernel, node.dofRows[k]);
      for (std::int32_t t = 0; t < work.cols; ++t) work.at(k, t) -= v;
    }
  }
  writeKeys(node, in.flags, key, components, work, block);
}

// Zeroes every cell of the block that the fast path did not write: rows no history reached, and the steps past
// what a history held.
void zeroUnfilled(const std::vector<std::int32_t>& filled, Matrix& block) {
  for (std::int32_t r = 0; r < block.rows; ++r) {
    for (std::int32_t t = filled[static_cast<std::size_t>(r)]; t < block.cols; ++t) block.at(r, t) = 0.0;
  }
}

void assembleNodeHistory(Request& request, const TimeKernelNode& node, const HistoryInputs& in,
                         ComponentIndex& components, Matrix& work, std::vector<Lane>& lanes,
                         std::vector<std::int32_t>& filled, Matrix& block) {
  ReadTimeKernel& kernel = request.kernel;
  components.build(node);
  const bool direct = kernel.selectedMode < 0 && in.baseMotion.empty() &&
                      !(flags::has(in.flags, flags::kRotate) && node.transform.present());
  if (direct) {
    std::fill(filled.begin(), filled.end(), 0);
  } else {
    block.setZero();
  }
  for (std::int32_t quantity = 0; quantity < 3; ++quantity) {
    const counted_ptr<TimeKernelKeyInfo>& key = request.keySet.nodeKeys[quantity];
    if (!key || key->selection.empty()) continue;
    if (direct) {
      copyHistoryDirect(kernel, quantity, node, *key, components, in.initial[quantity], lanes, filled,
                        in.staging, block);
    } else {
      assembleQuantityHistory(kernel, quantity, node, in, *key, components, work, block);
    }
  }
  if (direct) zeroUnfilled(filled, block);
}

}  // namespace

void evaluateNodalHistory(Request& request, std::int32_t flagWord, std::int32_t keyCount, Matrix& result) {
  ReadTimeKernel& kernel = request.kernel;
  Matrix baseMotion;
  if (flags::wantsBaseMotion(flagWord)) readHistoryBaseMotion(kernel, baseMotion);
  InitialColumn initial[3];
  for (std::int32_t quantity = 0; quantity < 3; ++quantity) initial[quantity].open(kernel, quantity, !baseMotion.empty());
  TK_CHECK(static_cast<bool>(request.nodePrototype));
  TimeKernelNode& node = *request.nodePrototype;
  std::vector<unsigned char> staging;
  const std::int64_t requestBytes = static_cast<std::int64_t>(request.requestedOffsets.size()) *
                                    std::max(keyCount, 0) * kernel.stepCount * 8;
  const HistoryInputs in{flagWord, baseMotion, initial, requestBytes < kStagedRequestLimit ? &staging : nullptr};
  ComponentIndex components;
  Matrix work;
  std::vector<Lane> lanes;
  std::vector<std::int32_t> filled(static_cast<std::size_t>(std::max(keyCount, 0)));
  const std::int64_t blockSize = static_cast<std::int64_t>(keyCount) * kernel.stepCount;
  const auto ids = static_cast<std::int32_t>(request.requestedOffsets.size());
  for (std::int32_t i = 0; i < result.cols; ++i) {
    double* column = result.data + static_cast<std::int64_t>(i) * result.stride;
    std::fill(column + blockSize, column + result.rows, 0.0);  // the block's tail: no value lands there
    const std::int64_t offset = i < ids ? request.requestedOffsets[static_cast<std::size_t>(i)] : -1;
    if (offset < 0) {
      std::fill(column, column + blockSize, 0.0);  // an ID the file lacks keeps a zero block
      continue;
    }
    kernel.seek(offset);
    Matrix block = Matrix::view(keyCount, kernel.stepCount, column, keyCount);
    ClearOnExit<TimeKernelNode> clearNode(node);
    readNode(kernel, node);
    assembleNodeHistory(request, node, in, components, work, lanes, filled, block);
  }
}

}  // namespace Zarn
