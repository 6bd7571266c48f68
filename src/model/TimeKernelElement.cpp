#include "model/TimeKernelElement.h"

namespace Zarn {

counted_ptr<Base> TimeKernelElement::clone(bool deep) const { return cloneAs<TimeKernelElement>(deep); }

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
  // velocityForce is left out: it keeps its storage and shape until the next readRecord overwrites it, and a
  // readDofRows in between leaves it alone too. The end of each call empties it (ReadTimeKernel::endCycle), so
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
  target.owner = owner;
  target.dofRows.assign(dofRows);
  target.referenceDisplacement.assign(referenceDisplacement);
}

}  // namespace Zarn
