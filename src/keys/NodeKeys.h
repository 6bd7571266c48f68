// The three node keys: displacement, velocity and acceleration of a node.
//
// Each holds 7 component codes with the indices 0 to 5 and 8 (6 and 7 belong to no code) and reports 9
// components, the index range. Positions step by the 7 entries, not by 9.
#pragma once

#include "keys/KeyInfo.h"

namespace Zarn {

// Codes 102, 103, 104, 106, 107, 108, 112.
class TimeKernelDisplacementKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelDisplacementKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// Codes 202, 203, 204, 206, 207, 208, 212.
class TimeKernelVelocityKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelVelocityKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// Codes 302, 303, 304, 306, 307, 308, 312.
class TimeKernelAccelerationKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelAccelerationKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

}  // namespace Zarn
