#include "keys/NodeKeys.h"

namespace Zarn {

namespace {

// A node quantity has 9 component slots; the codes fill 0 to 5 and 8.
constexpr int32_t kNodeComponentCount = 9;
constexpr int32_t kNodeEntries = 7;
constexpr int32_t kNodeIndices[kNodeEntries] = {0, 1, 2, 3, 4, 5, 8};

constexpr int32_t kDisplacementCodes[kNodeEntries] = {102, 103, 104, 106, 107, 108, 112};
constexpr int32_t kVelocityCodes[kNodeEntries] = {202, 203, 204, 206, 207, 208, 212};
constexpr int32_t kAccelerationCodes[kNodeEntries] = {302, 303, 304, 306, 307, 308, 312};

void enterNodeComponents(IdMap& componentIndex, const int32_t* codes) {
  for (int32_t i = 0; i < kNodeEntries; ++i) componentIndex[codes[i]] = kNodeIndices[i];
}

}  // namespace

TimeKernelDisplacementKeyInfo::TimeKernelDisplacementKeyInfo() {
  enterNodeComponents(componentIndex, kDisplacementCodes);
}
int32_t TimeKernelDisplacementKeyInfo::componentCount() const { return kNodeComponentCount; }
const char* TimeKernelDisplacementKeyInfo::className() const { return "TimeKernelDisplacementKeyInfo"; }

TimeKernelVelocityKeyInfo::TimeKernelVelocityKeyInfo() { enterNodeComponents(componentIndex, kVelocityCodes); }
int32_t TimeKernelVelocityKeyInfo::componentCount() const { return kNodeComponentCount; }
const char* TimeKernelVelocityKeyInfo::className() const { return "TimeKernelVelocityKeyInfo"; }

TimeKernelAccelerationKeyInfo::TimeKernelAccelerationKeyInfo() {
  enterNodeComponents(componentIndex, kAccelerationCodes);
}
int32_t TimeKernelAccelerationKeyInfo::componentCount() const { return kNodeComponentCount; }
const char* TimeKernelAccelerationKeyInfo::className() const { return "TimeKernelAccelerationKeyInfo"; }

}  // namespace Zarn
