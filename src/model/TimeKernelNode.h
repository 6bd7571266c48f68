// TimeKernelNode: the one prototype into which node records are read, one at a time.
//
// Nodes are never held as a table. A request owns a single TimeKernelNode; the record at a node's position is read
// into its arrays (kernelfile/NodeRecord.h), used, and `clear` empties them before the next record. So memory stays
// flat whatever the size of the model. The node itself reads nothing: it is the record's arithmetic.
#pragma once

#include <cstdint>

#include "base/Base.h"
#include "base/DenseRecords.h"

namespace Zarn {

class TimeKernelNode : public Base {
 public:
  // Degree-of-freedom code of an entry that carries no output component. Any other code is a component index
  // less 999, so -999 is component 0.
  static constexpr std::int32_t kNoComponent = -1000;
  // Codes that open a vector triple: component 0 (translations 0 to 2) and component 3 (rotations 3 to 5).
  static constexpr std::int32_t kTranslationTriple = -999;
  static constexpr std::int32_t kRotationTriple = -996;

  // id 0, empty arrays, no rotation (the identity values are kept, with rows and cols 0).
  TimeKernelNode();
  // Frees both arrays, then as Base.
  ~TimeKernelNode() override;
  TimeKernelNode(const TimeKernelNode&) = delete;
  TimeKernelNode& operator=(const TimeKernelNode&) = delete;

  // A new node in a counted pointer. With `deep` it copies id, both arrays and the rotation (shape and values);
  // without, it is a cleared node. An empty pointer when the object cannot be made.
  // Kept as part of the object model; no export reaches it.
  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelNode"; }

  // Frees both arrays (sizes 0) and drops the rotation (rows and cols 0).
  void clear();

  // Turns the node's vector triples in every column of `target`, whose rows are this node's degrees of freedom
  // in record order. Does nothing when the node has no rotation, as with an identity. Otherwise, for each
  // column the codes are walked from the first: at -999 or -996 the entry and the next two are a triple,
  // rotated in place by `transform`, and the walk moves three entries on; any other code moves it one on.
  // A triple that would run past the node's last entry (a malformed record: the file must never hold one)
  // fails the call, and so does one past the rows of a `target` that has columns; both before anything is
  // changed. A target with no columns is otherwise left alone.
  void rotateTriples(Matrix& target) const;

  IntArray dofRows;                 // per degree of freedom: its row in the kernel file's response tables
  IntArray dofCodes;                // per degree of freedom: its component code, -1000 for none
  Matrix3 transform;                // the node's 3 by 3 rotation; rows and cols 3 when present, 0 otherwise
};

}  // namespace Zarn
