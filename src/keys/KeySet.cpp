#include "keys/KeySet.h"

#include <cstddef>

#include "base/IdMap.h"
#include "keys/LineElementKeys.h"
#include "keys/NodeKeys.h"
#include "keys/SurfaceSolidElementKeys.h"
#include "base/Failure.h"

namespace Zarn {

namespace {

// Element type codes, as they stand in front of each element record of a kernel file.
constexpr int32_t kBush = 580;
constexpr int32_t kRod = 582;
constexpr int32_t kBar = 583;
constexpr int32_t kRigidBar = 584;
constexpr int32_t kWarpingBar = 586;
constexpr int32_t kCatenary = 594;
constexpr int32_t kPlaneStress = 642;
constexpr int32_t kPlaneStrain = 643;
constexpr int32_t kShell = 645;
constexpr int32_t kSolid = 768;

// The request ordinals mapped to their response ids: map[i] = entry i of the list.
IdMap requestMap(const RequestList& requests) {
  IdMap map;
  if (requests.count <= 0) return map;
  TK_CHECK(requests.values != nullptr);
  map.reserve(static_cast<std::size_t>(requests.count));
  for (int32_t i = 0; i < requests.count; ++i) map[i] = requests.at(i);
  return map;
}

void selectAll(TimeKernelKeySet::KeyMap& keys, const IdMap& map) {
  for (auto& entry : keys) {
    if (entry.second) entry.second->select(map);
  }
}

void clearAll(TimeKernelKeySet::KeyMap& keys) {
  for (auto& entry : keys) {
    if (entry.second) entry.second->clearSelection();
  }
}

}  // namespace

TimeKernelKeySet::TimeKernelKeySet() {
  nodeKeys[kDisplacement] = makeCounted<TimeKernelDisplacementKeyInfo>();
  nodeKeys[kVelocity] = makeCounted<TimeKernelVelocityKeyInfo>();
  nodeKeys[kAcceleration] = makeCounted<TimeKernelAccelerationKeyInfo>();

  forceKeys[kBush] = makeCounted<TimeKernelBushForceKeyInfo>();
  forceKeys[kRigidBar] = makeCounted<TimeKernelBushForceKeyInfo>();  // the rigid bar: a second instance
  forceKeys[kRod] = makeCounted<TimeKernelRodForceKeyInfo>();
  forceKeys[kBar] = makeCounted<TimeKernelBarForceKeyInfo>();
  forceKeys[kWarpingBar] = makeCounted<TimeKernelWarpingBarForceKeyInfo>();
  forceKeys[kPlaneStress] = makeCounted<TimeKernelPlaneStressForceKeyInfo>();
  forceKeys[kPlaneStrain] = makeCounted<TimeKernelPlaneStrainForceKeyInfo>();
  forceKeys[kShell] = makeCounted<TimeKernelShellForceKeyInfo>();
  forceKeys[kSolid] = makeCounted<TimeKernelSolidForceKeyInfo>();
  forceKeys[kCatenary] = makeCounted<TimeKernelCatenaryForceKeyInfo>();

  stressKeys[kRod] = makeCounted<TimeKernelRodStressKeyInfo>();
  stressKeys[kBar] = makeCounted<TimeKernelBarStressKeyInfo>();
  stressKeys[kWarpingBar] = makeCounted<TimeKernelWarpingBarStressKeyInfo>();
  stressKeys[kPlaneStress] = makeCounted<TimeKernelPlaneStressStressKeyInfo>();
  stressKeys[kPlaneStrain] = makeCounted<TimeKernelPlaneStrainStressKeyInfo>();
  stressKeys[kShell] = makeCounted<TimeKernelShellStressKeyInfo>();
  stressKeys[kSolid] = makeCounted<TimeKernelSolidStressKeyInfo>();
  stressKeys[kCatenary] = makeCounted<TimeKernelCatenaryStressKeyInfo>();

  deformKeys[kBush] = makeCounted<TimeKernelBushDeformKeyInfo>();
}

void TimeKernelKeySet::selectElementResponses(const RequestList& requests) {
  const IdMap map = requestMap(requests);
  selectAll(forceKeys, map);
  selectAll(stressKeys, map);
  selectAll(deformKeys, map);
}

void TimeKernelKeySet::selectNodeResponses(const RequestList& requests) {
  const IdMap map = requestMap(requests);
  for (auto& key : nodeKeys) {
    if (key) key->select(map);
  }
}

void TimeKernelKeySet::clearSelections() {
  clearAll(forceKeys);
  clearAll(stressKeys);
  clearAll(deformKeys);
  for (auto& key : nodeKeys) {
    if (key) key->clearSelection();
  }
}

}  // namespace Zarn
