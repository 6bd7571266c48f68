#include "keys/LineElementKeys.h"

#include <cstddef>

namespace Zarn {

namespace {

// Component codes of each key in the order of their index, 0 first.
constexpr int32_t kBushForceCodes[] = {120401, 120402, 120403, 120404, 120405, 120406};
constexpr int32_t kBushDeformCodes[] = {121101, 121102, 121103, 121105, 121106, 121107};
constexpr int32_t kRodForceCodes[] = {130402, 130406};
constexpr int32_t kRodStressCodes[] = {132101, 132111};
constexpr int32_t kCatenaryForceCodes[] = {190402};
constexpr int32_t kCatenaryStressCodes[] = {192101};
constexpr int32_t kBarForceCodes[] = {140402, 140403, 140404, 140406, 140407, 140408};
constexpr int32_t kBarStressCodes[] = {142101, 142102, 142103, 142104, 142105, 142119,
                                       142120, 142153, 142154, 142155, 142156};
constexpr int32_t kWarpingBarForceCodes[] = {140402, 140403, 140404, 140406, 140407,
                                             140408, 530401, 530402, 530403};
constexpr int32_t kWarpingBarStressCodes[] = {
    142101, 142102, 142103, 142104, 142105, 142119, 142120, 142153, 142154, 142155, 142156, 532110, 532111,
    532112, 532113, 532114, 532115, 532116, 532117, 532118, 532119, 532120, 532121, 532122, 532123, 532124,
    532125, 532126, 532127, 532128, 532129, 532102, 532103, 532104, 532105, 532106, 532107, 532108, 532109};

template <std::size_t N>
constexpr int32_t countOf(const int32_t (&)[N]) {
  return static_cast<int32_t>(N);
}

}  // namespace

TimeKernelBushForceKeyInfo::TimeKernelBushForceKeyInfo() {
  enterComponents(kBushForceCodes, countOf(kBushForceCodes));
}
int32_t TimeKernelBushForceKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelBushForceKeyInfo::componentCount() const { return countOf(kBushForceCodes); }
const char* TimeKernelBushForceKeyInfo::className() const { return "TimeKernelBushForceKeyInfo"; }

TimeKernelBushDeformKeyInfo::TimeKernelBushDeformKeyInfo() {
  enterComponents(kBushDeformCodes, countOf(kBushDeformCodes));
}
int32_t TimeKernelBushDeformKeyInfo::componentCount() const { return countOf(kBushDeformCodes); }
const char* TimeKernelBushDeformKeyInfo::className() const { return "TimeKernelBushDeformKeyInfo"; }

TimeKernelRodForceKeyInfo::TimeKernelRodForceKeyInfo() {
  enterComponents(kRodForceCodes, countOf(kRodForceCodes));
}
int32_t TimeKernelRodForceKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelRodForceKeyInfo::componentCount() const { return countOf(kRodForceCodes); }
const char* TimeKernelRodForceKeyInfo::className() const { return "TimeKernelRodForceKeyInfo"; }

TimeKernelRodStressKeyInfo::TimeKernelRodStressKeyInfo() {
  enterComponents(kRodStressCodes, countOf(kRodStressCodes));
}
int32_t TimeKernelRodStressKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelRodStressKeyInfo::componentCount() const { return countOf(kRodStressCodes); }
const char* TimeKernelRodStressKeyInfo::className() const { return "TimeKernelRodStressKeyInfo"; }

TimeKernelCatenaryForceKeyInfo::TimeKernelCatenaryForceKeyInfo() {
  enterComponents(kCatenaryForceCodes, countOf(kCatenaryForceCodes));
}
int32_t TimeKernelCatenaryForceKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelCatenaryForceKeyInfo::componentCount() const { return countOf(kCatenaryForceCodes); }
const char* TimeKernelCatenaryForceKeyInfo::className() const { return "TimeKernelCatenaryForceKeyInfo"; }

TimeKernelCatenaryStressKeyInfo::TimeKernelCatenaryStressKeyInfo() {
  enterComponents(kCatenaryStressCodes, countOf(kCatenaryStressCodes));
}
int32_t TimeKernelCatenaryStressKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelCatenaryStressKeyInfo::componentCount() const { return countOf(kCatenaryStressCodes); }
const char* TimeKernelCatenaryStressKeyInfo::className() const { return "TimeKernelCatenaryStressKeyInfo"; }

TimeKernelBarForceKeyInfo::TimeKernelBarForceKeyInfo() {
  enterComponents(kBarForceCodes, countOf(kBarForceCodes));
}
int32_t TimeKernelBarForceKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelBarForceKeyInfo::componentCount() const { return countOf(kBarForceCodes); }
const char* TimeKernelBarForceKeyInfo::className() const { return "TimeKernelBarForceKeyInfo"; }

TimeKernelBarStressKeyInfo::TimeKernelBarStressKeyInfo() {
  enterComponents(kBarStressCodes, countOf(kBarStressCodes));
}
int32_t TimeKernelBarStressKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelBarStressKeyInfo::componentCount() const { return countOf(kBarStressCodes); }
const char* TimeKernelBarStressKeyInfo::className() const { return "TimeKernelBarStressKeyInfo"; }

TimeKernelWarpingBarForceKeyInfo::TimeKernelWarpingBarForceKeyInfo() {
  enterComponents(kWarpingBarForceCodes, countOf(kWarpingBarForceCodes));
}
int32_t TimeKernelWarpingBarForceKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelWarpingBarForceKeyInfo::componentCount() const { return countOf(kWarpingBarForceCodes); }
const char* TimeKernelWarpingBarForceKeyInfo::className() const { return "TimeKernelWarpingBarForceKeyInfo"; }

TimeKernelWarpingBarStressKeyInfo::TimeKernelWarpingBarStressKeyInfo() {
  enterComponents(kWarpingBarStressCodes, countOf(kWarpingBarStressCodes));
}
int32_t TimeKernelWarpingBarStressKeyInfo::locationOf(int32_t id) const { return locationFromOne(id); }
int32_t TimeKernelWarpingBarStressKeyInfo::componentCount() const { return countOf(kWarpingBarStressCodes); }
const char* TimeKernelWarpingBarStressKeyInfo::className() const { return "TimeKernelWarpingBarStressKeyInfo"; }

}  // namespace Zarn
