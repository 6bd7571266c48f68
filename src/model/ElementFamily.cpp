#include "model/ElementFamily.h"

namespace Zarn {

counted_ptr<Base> TimeKernelElementBush::clone(bool deep) const { return cloneAs<TimeKernelElementBush>(deep); }

counted_ptr<Base> TimeKernelElementRod::clone(bool deep) const { return cloneAs<TimeKernelElementRod>(deep); }

counted_ptr<Base> TimeKernelElementBar::clone(bool deep) const { return cloneAs<TimeKernelElementBar>(deep); }

counted_ptr<Base> TimeKernelElementRigidBar::clone(bool deep) const {
  return cloneAs<TimeKernelElementRigidBar>(deep);
}

counted_ptr<Base> TimeKernelElementWarpingBar::clone(bool deep) const {
  return cloneAs<TimeKernelElementWarpingBar>(deep);
}

counted_ptr<Base> TimeKernelElementCatenary::clone(bool deep) const {
  return cloneAs<TimeKernelElementCatenary>(deep);
}

counted_ptr<Base> TimeKernelElementPlaneStress::clone(bool deep) const {
  return cloneAs<TimeKernelElementPlaneStress>(deep);
}

counted_ptr<Base> TimeKernelElementPlaneStrain::clone(bool deep) const {
  return cloneAs<TimeKernelElementPlaneStrain>(deep);
}

counted_ptr<Base> TimeKernelElementShell::clone(bool deep) const {
  return cloneAs<TimeKernelElementShell>(deep);
}

counted_ptr<Base> TimeKernelElementSolid::clone(bool deep) const {
  return cloneAs<TimeKernelElementSolid>(deep);
}

}  // namespace Zarn
