// Steps shared by the nodal flows: the component map of a node, the base motion on its translations, and the
// transfer of the selected components into a caller's block.
#pragma once

#include <cstdint>

#include "base/IdMap.h"
#include "keys/KeyInfo.h"
#include "base/DenseRecords.h"
#include "model/TimeKernelNode.h"

namespace Zarn {

// The base motion rows of displacement, velocity and acceleration in sections 1 and 11: rows 0-2, 3-5, 6-8.
constexpr std::int32_t kBaseMotionRows = 9;
constexpr std::int32_t kBaseMotionFirstRow[3] = {0, 3, 6};

// Component index (code + 999) -> position k in the node's arrays, for every entry whose code is not -1000. A
// later entry for the same component overwrites. A code whose component index would not fit in 32 bits carries
// no component.
//
// Built once per node record, and looked up once per selected key, so both must be cheap: the small components
// that every node carries (0 to kDirectComponents - 1) sit in a plain array, reset entry by entry; any other
// component goes to an id map, which stays empty for ordinary records and then costs nothing to reset.
class ComponentIndex {
 public:
  ComponentIndex();
  // Forgets the previous node and indexes this one.
  void build(const TimeKernelNode& node);
  // The position k of `component` in the node's arrays, or -1 when the node does not carry it.
  std::int32_t find(std::int32_t component) const;

 private:
  static constexpr std::int32_t kDirectComponents = 64;
  std::int32_t direct_[kDirectComponents];  // position per small component, -1 when absent
  std::int32_t setEntries_[kDirectComponents];  // which of direct_ hold a position, to reset them
  std::int32_t setCount_ = 0;
  IdMap others_;  // components outside [0, kDirectComponents)
};

// Adds a 3-row motion onto the rows p, p+1, p+2 of `target`, p being the node's first entry with a translation
// code (-999 to -997); rotated by the node's transform when it has one. Over the columns that both have. Nothing
// when the node has no translation. Fails when the triple would run past the target's rows (a malformed node).
void addBaseMotion(const TimeKernelNode& node, const Matrix& motion, Matrix& target);

// Picks the selected components of `target` (rows: the node's entries; columns: steps) into `block` (rows: the
// caller's key ordinals; columns: steps). Under flag 2 the node's triples are rotated first. A selected position
// that the node does not carry leaves its row as it was. Nothing when `target` has no cells.
void writeKeys(const TimeKernelNode& node, std::int32_t flags, const TimeKernelKeyInfo& key,
               const ComponentIndex& components, Matrix& target, Matrix& block);

}  // namespace Zarn
