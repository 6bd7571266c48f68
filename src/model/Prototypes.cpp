// The kernel's prototypes: one node and one element of each type, into which records are read one at a time.
//
// Built once, when the kernel is; calling again replaces them all with fresh, empty prototypes. A prototype
// that cannot be allocated is not there: the node prototype is then an empty pointer, and an element type
// without one reads as an unknown code.
#include <cstdint>
#include <map>

#include "kernelfile/ReadTimeKernel.h"
#include "model/ElementFamily.h"
#include "model/TimeKernelNode.h"

namespace Zarn {

namespace {
// Makes a prototype of class T and enters it under T's type code, unless it cannot be allocated.
template <class T>
void addPrototype(std::map<std::int32_t, counted_ptr<TimeKernelElement>>& prototypes) {
  counted_ptr<TimeKernelElement> prototype = makeCounted<T>();
  if (prototype) prototypes[T::kTypeCode] = prototype;
}
}  // namespace

void ReadTimeKernel::makePrototypes() {
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

  // With the map full, every prototype is given this kernel as owner: it reads its records through this
  // kernel's reader.
  if (nodePrototype) nodePrototype->owner = this;
  for (auto& entry : elementPrototypes) entry.second->owner = this;
}

}  // namespace Zarn
