// The result keys of the line elements: bush (and rigid bar), rod, catenary, bar and warping bar.
//
// Their force and stress requests number locations (bar ends, stress points) from 1, so `locationOf` gives
// id / 100000000 - 1; the bush deformation numbers them from 0. For every one of them the entry count of
// `componentIndex` equals `componentCount()`, so a position is directly a row of the element's computed
// vector.
#pragma once

#include "keys/KeyInfo.h"

namespace Zarn {

// The force of a bush (also used for the rigid bar). 6 components; locations numbered from 1 in a request.
class TimeKernelBushForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelBushForceKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

// The deformation of a bush; 121104 is no code. 6 components; locations numbered from 0 in a request.
class TimeKernelBushDeformKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelBushDeformKeyInfo();
  int32_t componentCount() const override;
  const char* className() const override;
};

// The force of a rod. 2 components; locations numbered from 1 in a request.
class TimeKernelRodForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelRodForceKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

// The stress of a rod. 2 components; locations numbered from 1 in a request.
class TimeKernelRodStressKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelRodStressKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

// The force of a catenary. 1 components; locations numbered from 1 in a request.
class TimeKernelCatenaryForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelCatenaryForceKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

// The stress of a catenary. 1 components; locations numbered from 1 in a request.
class TimeKernelCatenaryStressKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelCatenaryStressKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

// The force of a bar; 140405 is no code. 6 components; locations numbered from 1 in a request.
class TimeKernelBarForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelBarForceKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

// The stress of a bar. 11 components; locations numbered from 1 in a request.
class TimeKernelBarStressKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelBarStressKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

// The force of a warping bar: the bar's six, then three of warping. 9 components; locations numbered from 1 in
// a request.
class TimeKernelWarpingBarForceKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelWarpingBarForceKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

// The stress of a warping bar: the bar's eleven, then 532110 to 532129, then 532102 to 532109. 39 components;
// locations numbered from 1 in a request.
class TimeKernelWarpingBarStressKeyInfo : public TimeKernelKeyInfo {
 public:
  TimeKernelWarpingBarStressKeyInfo();
  int32_t locationOf(int32_t id) const override;
  int32_t componentCount() const override;
  const char* className() const override;
};

}  // namespace Zarn
