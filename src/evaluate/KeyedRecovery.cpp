#include "evaluate/KeyedRecovery.h"

#include "evaluate/Flags.h"
#include "evaluate/Request.h"
#include "model/ElementRecovery.h"

namespace Zarn {

namespace {

// The picks of the key of `code` in `map`; no selection when there is no such key.
RecoveryPicks picksOf(const TimeKernelKeySet::KeyMap& map, std::int32_t code) {
  const auto found = map.find(code);
  if (found == map.end() || !found->second) return RecoveryPicks{};
  return RecoveryPicks{found->second->componentCount(), &found->second->selection};
}

}  // namespace

void recoverForce(const TimeKernelElement& element, const TimeKernelKeySet& keys, std::int32_t flagWord,
                  const Matrix& displacements, const Matrix& velocities, const Matrix& loadFactors,
                  Matrix& output) {
  recoverForce(element, picksOf(keys.forceKeys, element.elementType()), flags::has(flagWord, flags::kRotate),
               displacements, velocities, loadFactors, output);
}

void recoverStress(const TimeKernelElement& element, const TimeKernelKeySet& keys, std::int32_t flagWord,
                   const Matrix& displacements, const Matrix& loadFactors, Matrix& output) {
  recoverStress(element, picksOf(keys.stressKeys, element.elementType()), flags::has(flagWord, flags::kRotate),
                displacements, loadFactors, output);
}

void recoverDeform(const TimeKernelElement& element, const TimeKernelKeySet& keys, const Matrix& displacements,
                   Matrix& output) {
  recoverDeform(element, picksOf(keys.deformKeys, element.elementType()), displacements, output);
}

void recoverElement(Request& request, const TimeKernelElement& element, std::int32_t flags,
                    const Matrix& loadFactors, Matrix& output) {
  ReadTimeKernel& kernel = request.kernel;
  // Shaped and zeroed before the read: a history row for which no view can be made then reads as zeros, not as
  // whatever the allocator gave. The read reshapes when the file holds another shape.
  Matrix displacements;
  displacements.resize(element.dofRows.size, kernel.stepCount);
  displacements.setZero();
  kernel.readDisplacementHistory(element.dofRows, displacements);
  if (displacements.empty()) return;
  Matrix velocities;
  if (!element.velocityForce.empty()) {
    velocities.resize(element.dofRows.size, kernel.stepCount);
    velocities.setZero();
    kernel.readVelocityHistory(element.dofRows, velocities);
  }
  recoverForce(element, request.keySet, flags, displacements, velocities, loadFactors, output);
  recoverStress(element, request.keySet, flags, displacements, loadFactors, output);
  recoverDeform(element, request.keySet, displacements, output);
}

}  // namespace Zarn
