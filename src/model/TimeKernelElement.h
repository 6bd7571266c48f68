// TimeKernelElement: the root of the element family, and the prototype into which element records are read.
//
// An element record is a set of precomputed tables that turn the response of the element's degrees of freedom
// into forces, stresses or deformations; no element formulation happens here. A request holds one prototype per
// type code (see Prototypes.h). To handle an element, the record is read into the prototype of its type
// (kernelfile/ElementRecord.h through `recordFields`), used, and the prototype is cleared again, so at most one
// element's tables are in memory. The element itself reads nothing.
//
// The ten concrete classes (ElementFamily.h) differ only in their type code, in which recoveries they have and
// in how they turn results into the output frame. The record layout is described in kernelfile/ElementRecord.cpp.
#pragma once

#include <cstdint>

#include "base/Base.h"
#include "base/DenseRecords.h"
#include "kernelfile/ElementRecord.h"

namespace Zarn {

class TimeKernelElement : public Base {
 public:
  // Type code of the root class; no record carries it.
  static constexpr std::int32_t kTypeCode = 0;

  // All nine tables empty and owned, dofRows empty, referenceDisplacement empty with stride 1 and owned.
  TimeKernelElement() = default;
  // The members free themselves in reverse order of declaration: referenceDisplacement, dofRows, then the
  // tables from velocityForce back to forceRotation; then as Base.
  ~TimeKernelElement() override = default;
  TimeKernelElement(const TimeKernelElement&) = delete;
  TimeKernelElement& operator=(const TimeKernelElement&) = delete;

  // A new element of the same class in a counted pointer; with `deep` a full copy of every field (tables and
  // reference state as owned copies). An empty pointer when the object cannot be
  // made.
  // Kept as part of the object model; no export reaches it.
  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElement"; }

  // The record's type code: 0 here, the family's codes in the derived classes.
  virtual std::int32_t elementType() const { return kTypeCode; }

  // Which recoveries this class has. Force recovery is common to every class and driven by the tables alone;
  // stress recovery exists for all but Bush and RigidBar; deformation recovery only for Bush, which keeps its
  // deformation table in stressRecovery.
  virtual bool hasStressRecovery() const { return true; }
  virtual bool hasDeformRecovery() const { return false; }

  // Turn the columns of a computed force (stress) result into the output frame, in place, column by column.
  // Here, and in every class whose family entry says none, they do nothing at all. Where a class overrides them
  // (ElementRotation.cpp), an empty rotation table (rows * cols 0) also does nothing, as a node without a
  // transform does; a non-empty table smaller than the block it turns, or a view whose columns are shorter than
  // the values the rotation addresses, fails the call before anything is changed. A view with no columns is
  // left alone.
  virtual void rotateForce(Matrix& view) const;
  virtual void rotateStress(Matrix& view) const;

  // The destinations of a record read (kernelfile/ElementRecord.h): this element's own tables, valid while it
  // lives.
  ElementRecordFields recordFields();

  // Frees dofRows, the eight tables forceRotation to stressRecovery and referenceDisplacement (shapes 0).
  // velocityForce is deliberately kept, storage and shape, until the next record read (see the definition).
  void clear();

  Matrix forceRotation;   // turns a force result into the output frame
  Matrix stressRotation;  // turns a stress result into the output frame
  Matrix forceOffset;     // constant term of the force recovery, components by points
  Matrix stressOffset;    // constant term of the stress recovery, components by points
  Matrix forceLoad;       // load term of the force recovery: a column per load, components * points rows
  Matrix stressLoad;      // load term of the stress recovery, laid out as forceLoad
  Matrix forceRecovery;   // components * points by the element's dofs
  Matrix stressRecovery;  // laid out as forceRecovery; Bush: the deformation table
  Matrix velocityForce;   // turns the dofs' velocities into a force term, laid out as forceRecovery
  IntArray dofRows;                 // the response-table rows that feed this element, in its own order
  Vector referenceDisplacement;     // reference state of the dofs; recovery works on the difference to it

 protected:
  // Makes a T and, with `deep`, copies every field of this element into it. Each class's clone uses it, so
  // that every class allocates its own kind.
  template <class T>
  counted_ptr<Base> cloneAs(bool deep) const {
    counted_ptr<T> copy = makeCounted<T>();
    if (copy && deep) copyElementFields(*copy);
    return copy;
  }

 private:
  void copyElementFields(TimeKernelElement& target) const;
};

}  // namespace Zarn
