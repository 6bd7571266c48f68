#include "model/TimeKernelElement.h"

namespace Zarn {

counted_ptr<Base> TimeKernelElement::clone(bool deep) const { return cloneAs<TimeKernelElement>(deep); }

ElementRecordFields TimeKernelElement::recordFields() {
  return ElementRecordFields{dofRows,        forceRotation, stressRotation, forceOffset,
                             stressOffset,   referenceDisplacement, forceLoad, stressLoad,
                             forceRecovery,  stressRecovery, velocityForce};
}

void TimeKernelElement::rotateForce(Matrix&) const {}

void TimeKernelElement::rotateStress(Matrix&) const {}

void TimeKernelElement::clear() {
  dofRows.clear();
  forceRotation.clear();
  stressRotation.clear();
  forceOffset.clear();
  stressOffset.clear();
  forceLoad.clear();
  stressLoad.clear();
  forceRecovery.clear();
  stressRecovery.clear();
  // velocityForce is left out: it keeps its storage and shape until the next whole record read overwrites it,
  // and a dof-rows read in between leaves it alone too. The end of each call empties it (Request::clear), so
  // that no call can meet the table of an earlier one.
  referenceDisplacement.clear();
}

void TimeKernelElement::copyElementFields(TimeKernelElement& target) const {
  target.id = id;
  target.forceRotation.assign(forceRotation);
  target.stressRotation.assign(stressRotation);
  target.forceOffset.assign(forceOffset);
  target.stressOffset.assign(stressOffset);
  target.forceLoad.assign(forceLoad);
  target.stressLoad.assign(stressLoad);
  target.forceRecovery.assign(forceRecovery);
  target.stressRecovery.assign(stressRecovery);
  target.velocityForce.assign(velocityForce);
  target.dofRows.assign(dofRows);
  target.referenceDisplacement.assign(referenceDisplacement);
}

}  // namespace Zarn
