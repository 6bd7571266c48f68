// A result key: the description of one kind of response quantity (the displacement of a node, the force in a
// bar, the stress in a shell ...). It holds no values and reads nothing from the kernel file.
//
// A response id is location * 100000000 + component code. A key knows its component codes and the index of
// each within the key (`componentIndex`), splits an id into location and component, and keeps for the call in
// progress which positions of its quantity were asked for and in which output column (request ordinal) each
// goes (`selection`). A position is
//
//     location * (number of entries of componentIndex) + component index.
//
// The multiplier is the entry count of `componentIndex`, not `componentCount()`: the node keys hold 7 codes
// but report 9 components, and their positions still step by 7.
#pragma once

#include <cstdint>

#include "base/IdMap.h"

namespace Zarn {

class TimeKernelKeyInfo {
 public:
  // One response id is location * kLocationScale + component code.
  static constexpr int32_t kLocationScale = 100000000;

  IdMap componentIndex;  // component code -> index within the key; filled by the constructor, constant after
  IdMap selection;       // position -> request ordinal; empty between calls

  TimeKernelKeyInfo() = default;
  virtual ~TimeKernelKeyInfo();

  // The location index of a response id: id / 100000000, truncated towards zero. Keys whose requests number
  // locations from 1 override it to give one less (so a raw location of 0 becomes -1 and is never selected).
  virtual int32_t locationOf(int32_t id) const;

  // The number of components at one location of this quantity; 0 for the base.
  virtual int32_t componentCount() const;

  // The class's own name without the namespace. Static storage.
  virtual const char* className() const;

  // Enters into `selection` every request that this key recognises. `requests` maps a request ordinal to a
  // response id; entries are taken in its iteration order. A request is skipped (not an error) when its
  // component code is not in `componentIndex`, when its location is negative, or when its position does not
  // fit in int32. The position is formed in 64 bits and checked before it is narrowed: this is the guard
  // against signed overflow. (With ids of 32 bits and tables of at most 39 entries it cannot overflow today,
  // but the guard keeps the arithmetic defined whatever `locationOf` a key has.) A position that is asked for
  // twice keeps its place and takes the later ordinal.
  void select(const IdMap& requests);

  // Empties `selection` and resets it to its initial state (8 buckets). Leaves `componentIndex` alone.
  void clearSelection();

 protected:
  // Location numbering from 1 in the request, from 0 in the key: id / 100000000 - 1.
  static int32_t locationFromOne(int32_t id) { return id / kLocationScale - 1; }

  // Enters codes[i] with index i, for i from 0 to count-1, in that order.
  void enterComponents(const int32_t* codes, int32_t count);
};

}  // namespace Zarn
