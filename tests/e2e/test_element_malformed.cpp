// Element records and sections whose shapes do not fit together: each fails the call with -1 before a value is
// written, over all steps and at one step, and the same file with the defect mended gives 0. Run under the
// sanitizers, these also show that no product reads or writes outside the memory it owns.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "kernelwriter/KernelWriter.h"
#include "support/TestSupport.h"

namespace {

using kernelwriter::ElementRecord;
using kernelwriter::KernelFile;
using kernelwriter::Table;
using testsupport::TempFile;

constexpr std::int32_t kSteps = 5, kDofs = 20, kLoads = 2;
constexpr double kStale = -4.5;

std::vector<double> values(std::int64_t n, double seed) {
  std::vector<double> v;
  for (std::int64_t k = 0; k < n; ++k) v.push_back(std::sin(0.3 * double(k) + seed));
  return v;
}

Table table(std::uint32_t rows, std::uint32_t cols, double seed) {
  return Table::matrix(rows, cols, values(std::int64_t(rows) * cols, seed));
}

// A well-formed record of `code` with `n` dofs: force components fc at fp points, stress (Bush: deformation)
// sc at sp points, with reference, offsets, velocity table, load tables and rotations.
ElementRecord wellFormed(std::int32_t code, std::uint32_t n, std::uint32_t fc, std::uint32_t fp,
                         std::uint32_t sc, std::uint32_t sp) {
  std::vector<std::uint32_t> rows;
  for (std::uint32_t k = 0; k < n; ++k) rows.push_back((3 * k + 1) % kDofs);
  ElementRecord r = ElementRecord::make(code, rows);
  r.forceRecovery = table(fc * fp, n, 1);
  r.stressRecovery = table(sc * sp, n, 2);
  r.velocityForce = table(fc * fp, n, 3);
  r.forceOffset = table(fc, fp, 4);
  r.stressOffset = table(sc, sp, 5);
  r.forceLoad = table(fc * fp, kLoads, 6);
  r.stressLoad = table(sc * sp, kLoads, 7);
  r.setReference(values(n, 8));
  r.forceRotation = table(3, 3, 9);
  r.stressRotation = table(6, 6, 10);
  return r;
}

ElementRecord bar() { return wellFormed(583, 12, 6, 2, 11, 2); }
ElementRecord bush() { return wellFormed(580, 12, 6, 1, 6, 1); }
ElementRecord solid() { return wellFormed(768, 24, 3, 2, 6, 8); }

struct Defect {
  const char* name;
  std::function<ElementRecord()> good;         // the record as it should be
  std::function<void(ElementRecord&)> damage;  // what is wrong with it
  std::vector<std::int32_t> keys;              // response ids that reach the damaged recovery
  std::int32_t flags = 1;
  bool historyOnly = false;
  std::function<void(KernelFile&)> damageFile = nullptr;  // a defect of the sections rather than the record
};

std::ostream& operator<<(std::ostream& os, const Defect& d) { return os << d.name; }

KernelFile fileWith(const ElementRecord& r) {
  KernelFile f;
  const std::vector<double> u = values(std::int64_t(kSteps) * kDofs, 11);
  const std::vector<double> v = values(std::int64_t(kSteps) * kDofs, 12);
  f.setMatrix(21, kSteps, kDofs, std::vector<double>(u));
  f.setMatrix(22, kSteps, kDofs, std::vector<double>(v));
  // Sections 15 and 16 are left out: the step reads take the same numbers from 21 and 22.
  f.setMatrix(4, kLoads, kSteps, values(std::int64_t(kLoads) * kSteps, 13));
  f.addElement(31, r);
  return f;
}

class ElementFlowMalformed : public testsupport::PlatformTest, public testing::WithParamInterface<Defect> {
 protected:
  // Calls the export over all steps (step 0) or at one step; returns its status and checks the array.
  std::int32_t call(const std::string& path, const Defect& d, std::int32_t stepNumber, bool expectZeros) {
    const std::size_t perId = d.keys.size() * (stepNumber > 0 ? 1u : std::size_t(kSteps));
    std::vector<double> result(perId, kStale);
    const std::int32_t id = 31;
    const std::int32_t status =
        TimeKernelOutputResult(path.c_str(), d.flags, &id, 1, d.keys.data(), std::int32_t(d.keys.size()), 1,
                               stepNumber, result.data(), std::int32_t(result.size()));
    bool anyValue = false;
    for (double x : result) {
      EXPECT_NE(x, kStale);
      if (x != 0.0) anyValue = true;
    }
    if (expectZeros)
      EXPECT_FALSE(anyValue) << "a failed call left values";
    else
      EXPECT_TRUE(anyValue) << "the mended file gave no value: the keys do not reach the defect";
    return status;
  }
};

TEST_P(ElementFlowMalformed, FailsWithTheResultZeroedWhileTheMendedFileWorks) {
  const Defect& d = GetParam();
  ElementRecord good = d.good();
  ElementRecord bad = d.good();
  if (d.damage) d.damage(bad);
  KernelFile goodFile = fileWith(good);
  KernelFile badFile = fileWith(bad);
  if (d.damageFile) d.damageFile(badFile);
  TempFile goodPath("mended"), badPath("malformed");
  goodFile.write(goodPath.path());
  badFile.write(badPath.path());
  for (std::int32_t step : {0, 3}) {
    if (step > 0 && d.historyOnly) continue;
    EXPECT_EQ(call(goodPath.path(), d, step, false), 0) << "step " << step;
    EXPECT_EQ(call(badPath.path(), d, step, true), -1) << "step " << step;
  }
}

const std::int32_t kBarForce = 100000000 + 140402;   // bar force, first end
const std::int32_t kBarStress = 200000000 + 142156;  // bar stress, second end
const std::int32_t kBushDeform = 121103;
const std::int32_t kSolidStress = 312104;

INSTANTIATE_TEST_SUITE_P(
    Shapes, ElementFlowMalformed,
    testing::Values(
        Defect{"force_columns_not_the_dof_count",
               bar,
               [](ElementRecord& r) { r.forceRecovery = table(12, 11, 1); },
               {kBarForce}},
        Defect{"stress_columns_not_the_dof_count",
               bar,
               [](ElementRecord& r) { r.stressRecovery = table(22, 13, 2); },
               {kBarStress}},
        Defect{"reference_shorter_than_the_dofs",
               bar,
               [](ElementRecord& r) { r.setReference(values(11, 8)); },
               {kBarForce}},
        Defect{"reference_longer_than_the_dofs",
               bar,
               [](ElementRecord& r) { r.setReference(values(13, 8)); },
               {kBarStress}},
        Defect{"force_offset_too_short",
               bar,
               [](ElementRecord& r) { r.forceOffset = table(6, 1, 4); },
               {kBarForce}},
        Defect{"stress_offset_too_long",
               bar,
               [](ElementRecord& r) { r.stressOffset = table(11, 3, 5); },
               {kBarStress}},
        Defect{"velocity_table_rows",
               bar,
               [](ElementRecord& r) { r.velocityForce = table(6, 12, 3); },
               {kBarForce}},
        Defect{"velocity_table_columns",
               bar,
               [](ElementRecord& r) { r.velocityForce = table(12, 24, 3); },
               {kBarForce}},
        Defect{
            "force_load_rows", bar, [](ElementRecord& r) { r.forceLoad = table(11, kLoads, 6); }, {kBarForce}},
        Defect{"force_load_factor_row_beyond_the_table",
               bar,
               [](ElementRecord& r) { r.forceLoad = table(12, 1, 6); },
               {kBarForce}},
        Defect{"stress_load_factor_row_beyond_the_table",
               bar,
               [](ElementRecord& r) { r.stressLoad = table(22, 1, 7); },
               {kBarStress}},
        Defect{"deformation_offset_shorter_than_the_result",
               bush,
               [](ElementRecord& r) { r.stressOffset = table(5, 1, 5); },
               {kBushDeform}},
        Defect{"deformation_columns_not_the_dof_count",
               bush,
               [](ElementRecord& r) { r.stressRecovery = table(6, 10, 2); },
               {kBushDeform}},
        Defect{"dof_row_outside_the_model",
               solid,
               [](ElementRecord& r) { r.dofRows[5] = kDofs + 3; },
               {kSolidStress}},
        Defect{"stress_rotation_too_small",
               solid,
               [](ElementRecord& r) { r.stressRotation = table(3, 3, 10); },
               {kSolidStress},
               1 | 2},
        Defect{"velocity_history_shorter_than_the_steps",
               bar,
               nullptr,
               {kBarForce},
               1,
               true,
               [](KernelFile& f) {
                 f.setMatrix(22, kSteps - 1, kDofs, values(std::int64_t(kSteps - 1) * kDofs, 12));
               }},
        Defect{"load_factors_shorter_than_the_steps",
               bar,
               nullptr,
               {kBarStress},
               1,
               true,
               [](KernelFile& f) {
                 f.setMatrix(4, kLoads, kSteps - 1, values(std::int64_t(kLoads) * (kSteps - 1), 13));
               }}),
    [](const testing::TestParamInfo<Defect>& info) { return std::string(info.param.name); });

// A record cut short by the growth limit: its stress table claims 16,500 rows whose values lie past the end of
// the file, further than one call may lengthen it. That read is dropped and the record ends there: the velocity
// table written after it is never reached (were the file lengthened as far as the read asks, those bytes would
// be part of the stress values and the velocity header would be zeros), so the bar has no velocity term. Both flows give
// F (u - u0) + f0 - L a, and under flag 4 the mode's contribution without the load term; the file is not
// changed.
TEST(ElementRecordCutShort, ReadsWhatLiesBeforeTheGrowthLimitAndNothingAfter) {
  constexpr std::int32_t dofs = 12, steps = 4, modes = 6000;  // the mode shapes make the file ~600 KB
  const std::vector<double> u = values(dofs * steps, 21), v = values(dofs * steps, 22);  // u[d + dofs * t]
  const std::vector<double> q = values(std::int64_t(modes) * steps, 23);                 // q[m + modes * t]
  const std::vector<double> phi = values(std::int64_t(dofs) * modes, 24);                // phi[d + dofs * m]
  const std::vector<double> a = values(kLoads * steps, 25);                              // a[i + loads * t]
  const auto transpose = [](const std::vector<double>& x, std::int32_t rows, std::int32_t cols) {
    std::vector<double> out(x.size());
    for (std::int32_t r = 0; r < rows; ++r)
      for (std::int32_t c = 0; c < cols; ++c)
        out[std::size_t(c) + std::size_t(cols) * r] = x[std::size_t(r) + std::size_t(rows) * c];
    return out;
  };
  KernelFile f;
  f.setMatrix(0, dofs, modes, std::vector<double>(phi));
  f.setMatrix(4, kLoads, steps, std::vector<double>(a));
  f.setMatrix(15, dofs, steps, std::vector<double>(u));
  f.setMatrix(16, dofs, steps, std::vector<double>(v));
  f.setMatrix(21, steps, dofs, transpose(u, dofs, steps));
  f.setMatrix(22, steps, dofs, transpose(v, dofs, steps));
  f.setMatrix(18, modes, steps, std::vector<double>(q));
  f.setMatrix(19, modes, steps, std::vector<double>(q));
  f.setMatrix(24, steps, modes, transpose(q, modes, steps));
  f.setMatrix(25, steps, modes, transpose(q, modes, steps));
  std::vector<std::uint32_t> rows;
  for (std::uint32_t d = 0; d < std::uint32_t(dofs); ++d) rows.push_back(d);
  ElementRecord r = ElementRecord::make(583, rows);
  r.forceRecovery = table(dofs, dofs, 26);
  r.forceOffset = table(dofs, 1, 27);
  r.forceLoad = table(dofs, kLoads, 28);
  r.setReference(values(dofs, 29));
  r.stressRecovery.rows = 11 * 1500;  // no values written: records come last, so they lie past the end
  r.stressRecovery.cols = dofs;
  r.velocityForce = table(dofs, dofs, 30);
  f.addElement(31, r);
  TempFile file("cut_short");
  f.write(file.path());
  const std::int64_t size = testsupport::sizeOnDisk(file.path());

  const std::vector<std::int32_t> keys = {100140402, 100140404, 200140403, 200140408};  // rows 0, 2, 7, 11
  const std::int32_t keyRows[] = {0, 2, 7, 11};
  const auto expected = [&](std::int32_t row, std::int32_t t, bool modal) {
    const std::int32_t m = 1;  // mode 2
    double y = r.forceOffset.values[std::size_t(row)];
    for (std::int32_t c = 0; c < dofs; ++c) {
      const double uc =
          modal ? phi[std::size_t(c) + std::size_t(dofs) * m] * q[std::size_t(m) + std::size_t(modes) * t]
                : u[std::size_t(c) + std::size_t(dofs) * t];
      y += r.forceRecovery.values[std::size_t(row) + std::size_t(dofs) * c] *
           (uc - r.referenceDisplacement[std::size_t(c)]);
    }
    for (std::int32_t i = 0; i < kLoads && !modal; ++i)
      y -= r.forceLoad.values[std::size_t(row) + std::size_t(dofs) * i] *
           a[std::size_t(i) + std::size_t(kLoads) * t];
    return y;
  };
  const std::int32_t id = 31;
  for (std::int32_t flags : {1, 5}) {
    const bool modal = flags == 5;
    std::vector<double> history(keys.size() * steps, kStale);
    ASSERT_EQ(TimeKernelOutputResult(file.path().c_str(), flags, &id, 1, keys.data(), 4, 2, 0, history.data(),
                                     std::int32_t(history.size())),
              0)
        << flags;
    for (std::int32_t t = 0; t < steps; ++t) {
      std::vector<double> one(keys.size(), kStale);
      ASSERT_EQ(
          TimeKernelOutputResult(file.path().c_str(), flags, &id, 1, keys.data(), 4, 2, t + 1, one.data(), 4),
          0);
      for (std::size_t k = 0; k < keys.size(); ++k) {
        const double want = expected(keyRows[k], t, modal);
        EXPECT_TRUE(testsupport::approx(history[k + keys.size() * std::size_t(t)], want, 1e-12, 1e-12))
            << "flags " << flags << " key " << keys[k] << " step " << t;
        EXPECT_TRUE(testsupport::approx(one[k], want, 1e-12, 1e-12)) << "flags " << flags << " key " << keys[k];
      }
    }
  }
  EXPECT_EQ(testsupport::sizeOnDisk(file.path()), size);
}

}  // namespace
