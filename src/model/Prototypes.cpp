#include "model/Prototypes.h"

#include "model/ElementFamily.h"

namespace Zarn {

namespace {
// Makes a prototype of class T and enters it under T's type code, unless it cannot be allocated.
template <class T>
void addPrototype(std::map<std::int32_t, counted_ptr<TimeKernelElement>>& prototypes) {
  counted_ptr<TimeKernelElement> prototype = makeCounted<T>();
  if (prototype) prototypes[T::kTypeCode] = prototype;
}
}  // namespace

void makePrototypes(std::map<std::int32_t, counted_ptr<TimeKernelElement>>& elementPrototypes,
                    counted_ptr<TimeKernelNode>& nodePrototype) {
  nodePrototype = makeCounted<TimeKernelNode>();

  elementPrototypes.clear();
  addPrototype<TimeKernelElementBush>(elementPrototypes);
  addPrototype<TimeKernelElementRigidBar>(elementPrototypes);
  addPrototype<TimeKernelElementRod>(elementPrototypes);
  addPrototype<TimeKernelElementBar>(elementPrototypes);
  addPrototype<TimeKernelElementWarpingBar>(elementPrototypes);
  addPrototype<TimeKernelElementPlaneStress>(elementPrototypes);
  addPrototype<TimeKernelElementPlaneStrain>(elementPrototypes);
  addPrototype<TimeKernelElementShell>(elementPrototypes);
  addPrototype<TimeKernelElementSolid>(elementPrototypes);
  addPrototype<TimeKernelElementCatenary>(elementPrototypes);
}

}  // namespace Zarn
