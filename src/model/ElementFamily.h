// The ten concrete element classes. They differ from TimeKernelElement only in their type code, in which
// recoveries they have and in how they turn a result into the output frame:
//
//   CLASS                         CODE  STRESS  DEFORM  rotateForce    rotateStress
//   TimeKernelElement                0  yes     -       none           none
//   TimeKernelElementBush          580  -       yes     none           none
//   TimeKernelElementRod           582  yes     -       none           none
//   TimeKernelElementBar           583  yes     -       none           none
//   TimeKernelElementRigidBar      584  -       -       none           none
//   TimeKernelElementWarpingBar    586  yes     -       none           none
//   TimeKernelElementCatenary      594  yes     -       none           none
//   TimeKernelElementPlaneStress   642  yes     -       first triple   first triple
//   TimeKernelElementPlaneStrain   643  yes     -       first triple   first triple
//   TimeKernelElementShell         645  yes     -       Shell          two triples
//   TimeKernelElementSolid         768  yes     -       first triple   six by six
//
// Every class has the common force recovery. The rotations are defined in ElementRotation.cpp.
#pragma once

#include <cstdint>

#include "model/TimeKernelElement.h"

namespace Zarn {

// A spring-damper. No stress; its deformation is recovered from stressRecovery.
class TimeKernelElementBush : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 580;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementBush"; }
  std::int32_t elementType() const override { return kTypeCode; }
  bool hasStressRecovery() const override { return false; }
  bool hasDeformRecovery() const override { return true; }
};

// An axial member.
class TimeKernelElementRod : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 582;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementRod"; }
  std::int32_t elementType() const override { return kTypeCode; }
};

// A beam.
class TimeKernelElementBar : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 583;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementBar"; }
  std::int32_t elementType() const override { return kTypeCode; }
};

// A rigid link: a force from its tables, no stress and no deformation.
class TimeKernelElementRigidBar : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 584;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementRigidBar"; }
  std::int32_t elementType() const override { return kTypeCode; }
  bool hasStressRecovery() const override { return false; }
};

// A beam with warping.
class TimeKernelElementWarpingBar : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 586;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementWarpingBar"; }
  std::int32_t elementType() const override { return kTypeCode; }
};

// A cable.
class TimeKernelElementCatenary : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 594;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementCatenary"; }
  std::int32_t elementType() const override { return kTypeCode; }
};

// A plane-stress continuum element. Force and stress turn by their first triple.
class TimeKernelElementPlaneStress : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 642;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementPlaneStress"; }
  std::int32_t elementType() const override { return kTypeCode; }
  void rotateForce(Matrix& view) const override;
  void rotateStress(Matrix& view) const override;
};

// A plane-strain continuum element. Force and stress turn by their first triple (a fourth stress
// value stays as it is).
class TimeKernelElementPlaneStrain : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 643;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementPlaneStrain"; }
  std::int32_t elementType() const override { return kTypeCode; }
  void rotateForce(Matrix& view) const override;
  void rotateStress(Matrix& view) const override;
};

// A shell. Force (14 values a column) and stress (6) turn as described at the definitions.
class TimeKernelElementShell : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 645;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementShell"; }
  std::int32_t elementType() const override { return kTypeCode; }
  void rotateForce(Matrix& view) const override;
  void rotateStress(Matrix& view) const override;
};

// A solid. Force turns by its first triple, stress by the full 6 by 6 of stressRotation.
class TimeKernelElementSolid : public TimeKernelElement {
 public:
  static constexpr std::int32_t kTypeCode = 768;

  counted_ptr<Base> clone(bool deep) const override;
  const char* className() const override { return "TimeKernelElementSolid"; }
  std::int32_t elementType() const override { return kTypeCode; }
  void rotateForce(Matrix& view) const override;
  void rotateStress(Matrix& view) const override;
};

}  // namespace Zarn
