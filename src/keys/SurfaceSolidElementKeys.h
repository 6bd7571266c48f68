// The result keys of the surface and solid elements: plane stress, plane strain, shell and solid.
//
// All number locations from 0 (`locationOf` is the base's). For every one of them the entry count of
// `componentIndex` equals `componentCount()`, so a position is directly a row of the element's computed
// vector.
#pragma once

#include "keys/KeyInfo.h"

namespace Zarn {

// The force of a plane-stress element. 3 components; locations numbered from 0 in a request.
class TimeKernelPlaneStressForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelPlaneStressForceKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// The stress of a plane-stress element. 3 components; locations numbered from 0 in a request.
class TimeKernelPlaneStressStressKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelPlaneStressStressKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// The force of a plane-strain element. 3 components; locations numbered from 0 in a request.
class TimeKernelPlaneStrainForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelPlaneStrainForceKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// The stress of a plane-strain element; 432133 stands behind 432134 on purpose. 4 components; locations
// numbered from 0 in a request.
class TimeKernelPlaneStrainStressKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelPlaneStrainStressKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// The force of a shell. 14 components; locations numbered from 0 in a request.
class TimeKernelShellForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelShellForceKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// The stress of a shell. 6 components; locations numbered from 0 in a request.
class TimeKernelShellStressKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelShellStressKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// The force of a solid. 3 components; locations numbered from 0 in a request.
class TimeKernelSolidForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelSolidForceKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// The stress of a solid. 6 components; locations numbered from 0 in a request.
class TimeKernelSolidStressKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelSolidStressKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

}  // namespace Zarn
