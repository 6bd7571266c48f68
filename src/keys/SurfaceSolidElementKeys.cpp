#include "keys/SurfaceSolidElementKeys.h"

#include <cstddef>

namespace Zarn {

namespace {

// Component codes of each key in the order of their index, 0 first.
constexpr int32_t kPlaneStressForceCodes[] = {429101, 429102, 429103};
constexpr int32_t kPlaneStressStressCodes[] = {422131, 422132, 422134};
constexpr int32_t kPlaneStrainForceCodes[] = {439101, 439102, 439103};
constexpr int32_t kPlaneStrainStressCodes[] = {432131, 432132, 432134, 432133};
constexpr int32_t kShellForceCodes[] = {419101, 419102, 419103, 419104, 419105, 419106, 410402,
                                        410403, 410404, 410406, 410407, 410408, 410409, 410410};
constexpr int32_t kShellStressCodes[] = {412101, 412102, 412104, 412151, 412152, 412154};
constexpr int32_t kSolidForceCodes[] = {319101, 319102, 319103};
constexpr int32_t kSolidStressCodes[] = {312101, 312102, 312103, 312104, 312105, 312106};

template <std::size_t N>
constexpr int32_t countOf(const int32_t (&)[N]) {
  return static_cast<int32_t>(N);
}

}  // namespace

TimeKernelPlaneStressForceKeyInfo::TimeKernelPlaneStressForceKeyInfo() {
  enterComponents(kPlaneStressForceCodes, countOf(kPlaneStressForceCodes));
}
int32_t TimeKernelPlaneStressForceKeyInfo::componentCount() const { return countOf(kPlaneStressForceCodes); }
const char* TimeKernelPlaneStressForceKeyInfo::className() const { return "TimeKernelPlaneStressForceKeyInfo"; }

TimeKernelPlaneStressStressKeyInfo::TimeKernelPlaneStressStressKeyInfo() {
  enterComponents(kPlaneStressStressCodes, countOf(kPlaneStressStressCodes));
}
int32_t TimeKernelPlaneStressStressKeyInfo::componentCount() const { return countOf(kPlaneStressStressCodes); }
const char* TimeKernelPlaneStressStressKeyInfo::className() const {
  return "TimeKernelPlaneStressStressKeyInfo";
}

TimeKernelPlaneStrainForceKeyInfo::TimeKernelPlaneStrainForceKeyInfo() {
  enterComponents(kPlaneStrainForceCodes, countOf(kPlaneStrainForceCodes));
}
int32_t TimeKernelPlaneStrainForceKeyInfo::componentCount() const { return countOf(kPlaneStrainForceCodes); }
const char* TimeKernelPlaneStrainForceKeyInfo::className() const { return "TimeKernelPlaneStrainForceKeyInfo"; }

TimeKernelPlaneStrainStressKeyInfo::TimeKernelPlaneStrainStressKeyInfo() {
  enterComponents(kPlaneStrainStressCodes, countOf(kPlaneStrainStressCodes));
}
int32_t TimeKernelPlaneStrainStressKeyInfo::componentCount() const { return countOf(kPlaneStrainStressCodes); }
const char* TimeKernelPlaneStrainStressKeyInfo::className() const {
  return "TimeKernelPlaneStrainStressKeyInfo";
}

TimeKernelShellForceKeyInfo::TimeKernelShellForceKeyInfo() {
  enterComponents(kShellForceCodes, countOf(kShellForceCodes));
}
int32_t TimeKernelShellForceKeyInfo::componentCount() const { return countOf(kShellForceCodes); }
const char* TimeKernelShellForceKeyInfo::className() const { return "TimeKernelShellForceKeyInfo"; }

TimeKernelShellStressKeyInfo::TimeKernelShellStressKeyInfo() {
  enterComponents(kShellStressCodes, countOf(kShellStressCodes));
}
int32_t TimeKernelShellStressKeyInfo::componentCount() const { return countOf(kShellStressCodes); }
const char* TimeKernelShellStressKeyInfo::className() const { return "TimeKernelShellStressKeyInfo"; }

TimeKernelSolidForceKeyInfo::TimeKernelSolidForceKeyInfo() {
  enterComponents(kSolidForceCodes, countOf(kSolidForceCodes));
}
int32_t TimeKernelSolidForceKeyInfo::componentCount() const { return countOf(kSolidForceCodes); }
const char* TimeKernelSolidForceKeyInfo::className() const { return "TimeKernelSolidForceKeyInfo"; }

TimeKernelSolidStressKeyInfo::TimeKernelSolidStressKeyInfo() {
  enterComponents(kSolidStressCodes, countOf(kSolidStressCodes));
}
int32_t TimeKernelSolidStressKeyInfo::componentCount() const { return countOf(kSolidStressCodes); }
const char* TimeKernelSolidStressKeyInfo::className() const { return "TimeKernelSolidStressKeyInfo"; }

}  // namespace Zarn
