// Nodal values through TimeKernelOutputResult over written files: every combination of rotation, single mode and
// base motion in the history and single-step flows, the sources of base motion and initial state, the twin
// sections, the modal sum, the positions that response ids select and the rotation of triples.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "e2e/NodalFixture.h"

namespace nodaltest {
namespace {

using testsupport::approx;
using testsupport::TempFile;

// Every displacement, velocity and acceleration code, with the two location-1 ids that reach components 7 and
// 15. No two of them select the same position.
const std::vector<std::int32_t> kAllKeys = {102, 103, 104, 106, 107, 108, 112, 100000102, 100000112,
                                            202, 203, 204, 206, 207, 208, 212,
                                            302, 303, 304, 306, 307, 308, 312};

// Every node of the standard model, an id the file lacks in the middle, and one node asked for twice.
const std::vector<std::int32_t> kAllIds = {kShuffled, kFull,  kMissing,       kTranslations, kWithNone,
                                           kNine,     kFull,  kRotationsFirst, kNoTranslation, kEmpty};

const std::int32_t kFlagSets[] = {0, kRotate, kSingleMode, kRotate | kSingleMode, kBaseMotion, kRotate | kBaseMotion,
                                  kSingleMode | kBaseMotion, kRotate | kSingleMode | kBaseMotion};

class NodalFlowTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(kernelIsClosed()); }

  void write(const NodalModel& m) { modelFile(m).write(file.path()); }

  // One request over all ids and keys, exactly as long as it needs to be, checked against the reference.
  void expectRequest(const NodalModel& m, std::int32_t flags, std::int32_t modeNumber, std::int32_t stepNumber,
                     const std::vector<std::int32_t>& ids = kAllIds,
                     const std::vector<std::int32_t>& keys = kAllKeys) {
    SCOPED_TRACE(testing::Message() << "flags " << flags << ", mode " << modeNumber << ", step " << stepNumber);
    const auto perId = static_cast<std::int32_t>(keys.size()) * (stepNumber >= 1 ? 1 : m.steps);
    const auto length = perId * static_cast<std::int32_t>(ids.size());
    const Answer a = request(file.path(), flags, ids, keys, modeNumber, stepNumber, length);
    ASSERT_EQ(a.code, 0);
    const std::int32_t mode = (flags & kSingleMode) != 0 ? modeNumber - 1 : -1;
    EXPECT_TRUE(sameValues(a.values, expectedBlocks(m, ids, keys, flags, mode, stepNumber, length)));
    EXPECT_TRUE(kernelIsClosed());
  }

  // All flag sets, all modes under flag 4, all steps and the history.
  void expectEveryCombination(const NodalModel& m) {
    for (const std::int32_t flags : kFlagSets) {
      const std::int32_t lastMode = (flags & kSingleMode) != 0 ? m.modes : 1;
      for (std::int32_t mode = 1; mode <= lastMode; ++mode) {
        // Without flag 4 the mode number is not looked at: 0 must do.
        const std::int32_t modeNumber = (flags & kSingleMode) != 0 ? mode : 0;
        expectRequest(m, flags, modeNumber, 0);
        for (std::int32_t step = 1; step <= m.steps; ++step) expectRequest(m, flags, modeNumber, step);
      }
    }
  }

  TempFile file{"nodal"};
};

TEST_F(NodalFlowTest, EveryFlagCombinationWithBaseMotionHistory) {
  const NodalModel m = standardModel();
  write(m);
  expectEveryCombination(m);
}

TEST_F(NodalFlowTest, EveryFlagCombinationWithConstantBaseMotion) {
  NodalModel m = standardModel();
  m.baseRows = 0;  // section 1 holds nothing: section 11 serves at every step
  m.baseCols = 0;
  write(m);
  expectEveryCombination(m);
}

TEST_F(NodalFlowTest, EveryFlagCombinationWithoutAnyBaseMotion) {
  NodalModel m = standardModel();
  m.baseRows = 0;
  m.baseCols = 0;
  m.constantRows = 0;  // section 11 holds nothing either: flag 8 adds nothing and keeps sections 8 to 10
  write(m);
  expectEveryCombination(m);
  for (std::int32_t step = 0; step <= m.steps; ++step) {
    const std::int32_t length = static_cast<std::int32_t>(kAllKeys.size() * kAllIds.size()) * (step ? 1 : m.steps);
    const Answer plain = request(file.path(), kRotate, kAllIds, kAllKeys, 0, step, length);
    const Answer based = request(file.path(), kRotate | kBaseMotion, kAllIds, kAllKeys, 0, step, length);
    ASSERT_EQ(plain.code, 0);
    ASSERT_EQ(based.code, 0);
    EXPECT_TRUE(identical(plain.values, based.values)) << "step " << step;
  }
}

TEST_F(NodalFlowTest, HistoryTakesSection11WhenSection1HasNoColumns) {
  NodalModel m = standardModel();
  m.baseRows = 9;  // nine rows, no step: no element, so the constant motion serves
  m.baseCols = 0;
  write(m);
  for (const std::int32_t flags : {kBaseMotion, kBaseMotion | kRotate}) expectRequest(m, flags, 0, 0);
}

// The same in the single-step flow: a base motion history with no step holds nothing for any step, so section 11
// serves. Section 1 is the last thing in the file here, so a read of a step's nine values behind it would
// also lengthen the file.
TEST_F(NodalFlowTest, StepTakesSection11WhenSection1HasNoColumns) {
  NodalModel m = standardModel();
  m.baseRows = 9;
  m.baseCols = 0;
  kernelwriter::KernelFile f = modelFile(m);
  std::vector<int> order;
  for (int s = 0; s < kernelwriter::kSectionCount; ++s)
    if (s != 1) order.push_back(s);
  order.push_back(1);
  f.setPhysicalOrder(order);
  f.recordsBeforeSections = true;
  f.write(file.path());
  const std::int64_t size = testsupport::sizeOnDisk(file.path());
  for (const std::int32_t flags : {kBaseMotion, kBaseMotion | kRotate}) {
    for (std::int32_t step = 1; step <= m.steps; ++step) expectRequest(m, flags, 0, step);
  }
  EXPECT_EQ(testsupport::sizeOnDisk(file.path()), size);
}

// The base motion of section 11 is the same at every step; the initial state is that of sections 5 to 7.
TEST_F(NodalFlowTest, ConstantBaseMotionStandsAtEveryStep) {
  NodalModel m = standardModel();
  m.baseRows = 0;
  m.baseCols = 0;
  write(m);
  const std::vector<std::int32_t> ids = {kTranslations};
  const std::vector<std::int32_t> keys = {102, 203, 304};
  const Answer history = request(file.path(), kBaseMotion, ids, keys, 0, 0, 3 * m.steps);
  ASSERT_EQ(history.code, 0);
  for (std::int32_t t = 0; t < m.steps; ++t) {
    for (int r = 0; r < 3; ++r) {
      const std::size_t d = 6 + r;  // x of velocity is row 7, z of acceleration row 8
      const double stored = m.direct[r][d + m.dofs * static_cast<std::size_t>(t)] - m.initialWithBase[r][d];
      EXPECT_TRUE(approx(history.values[r + 3 * static_cast<std::size_t>(t)] - stored, m.constantBase[3 * r + r]))
          << "key " << keys[r] << " step " << t;
      const Answer step = request(file.path(), kBaseMotion, ids, keys, 0, t + 1, 3);
      ASSERT_EQ(step.code, 0);
      EXPECT_TRUE(approx(step.values[r], history.values[r + 3 * static_cast<std::size_t>(t)]));
    }
  }
}

// Flag 8 takes the base motion of the step from section 1 and the initial state from sections 5 to 7; without
// it, the initial state is that of sections 8 to 10.
TEST_F(NodalFlowTest, BaseMotionSelectsItsOwnInitialState) {
  const NodalModel m = standardModel();
  write(m);
  const std::vector<std::int32_t> ids = {kTranslations};
  const std::vector<std::int32_t> keys = {103, 201, 203, 303};  // 201 is no key: its row stays zero
  for (std::int32_t t = 0; t < m.steps; ++t) {
    const Answer with = request(file.path(), kBaseMotion, ids, keys, 0, t + 1, 4);
    const Answer without = request(file.path(), 0, ids, keys, 0, t + 1, 4);
    ASSERT_EQ(with.code, 0);
    ASSERT_EQ(without.code, 0);
    for (int q = 0; q < 3; ++q) {
      const std::size_t row = q == 0 ? 0 : q + 1;
      const std::size_t d = 7;  // y of the node
      const double x = m.direct[q][d + m.dofs * static_cast<std::size_t>(t)];
      const double b = m.baseHistory[3 * q + 1 + 9 * static_cast<std::size_t>(t)];
      EXPECT_TRUE(approx(with.values[row], x - m.initialWithBase[q][d] + b)) << "quantity " << q << " step " << t;
      EXPECT_TRUE(approx(without.values[row], x - m.initialWithout[q][d])) << "quantity " << q << " step " << t;
    }
    EXPECT_EQ(with.values[1], 0.0);
    EXPECT_EQ(without.values[1], 0.0);
  }
}

// Under flag 4 the value is phi_m * q_m(t) - phi_m * q0_m: no base motion, whatever flag 8 says.
TEST_F(NodalFlowTest, SingleModeIgnoresBaseMotion) {
  const NodalModel m = standardModel();
  write(m);
  const std::vector<std::int32_t> ids = {kTranslations, kFull};
  const std::vector<std::int32_t> keys = {102, 204, 306};
  const std::int32_t length = 3 * m.steps * 2;
  for (std::int32_t mode = 1; mode <= m.modes; ++mode) {
    const Answer plain = request(file.path(), kSingleMode, ids, keys, mode, 0, length);
    const Answer based = request(file.path(), kSingleMode | kBaseMotion, ids, keys, mode, 0, length);
    ASSERT_EQ(plain.code, 0);
    ASSERT_EQ(based.code, 0);
    EXPECT_TRUE(identical(plain.values, based.values));
    for (std::int32_t t = 0; t < m.steps; ++t) {
      const std::size_t d = 6, md = static_cast<std::size_t>(mode - 1);
      const double shape = m.phi[d + m.dofs * md];
      const double q = m.modal[0][md + m.modes * static_cast<std::size_t>(t)];
      EXPECT_TRUE(approx(plain.values[3 * static_cast<std::size_t>(t)], shape * q - shape * m.modalInitial[0][md]));
    }
  }
}

// The direct response is the sum of the modes' contributions, with sections 8 to 10 the sum of their initial
// states; so the single-mode calls add up to the direct call, rotated or not.
TEST_F(NodalFlowTest, SingleModesAddUpToTheDirectResponse) {
  const NodalModel m = standardModel();
  write(m);
  for (const std::int32_t rotate : {0, kRotate}) {
    for (std::int32_t step = 0; step <= m.steps; ++step) {
      SCOPED_TRACE(testing::Message() << "flags " << rotate << " step " << step);
      const auto length = static_cast<std::int32_t>(kAllKeys.size() * kAllIds.size()) * (step ? 1 : m.steps);
      const Answer direct = request(file.path(), rotate, kAllIds, kAllKeys, 0, step, length);
      ASSERT_EQ(direct.code, 0);
      std::vector<double> sum(static_cast<std::size_t>(length), 0.0);
      for (std::int32_t mode = 1; mode <= m.modes; ++mode) {
        const Answer one = request(file.path(), rotate | kSingleMode, kAllIds, kAllKeys, mode, step, length);
        ASSERT_EQ(one.code, 0);
        for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += one.values[i];
      }
      EXPECT_TRUE(sameValues(sum, direct.values, 1e-12, 1e-10));
    }
  }
}

// Without sections 15 to 20 the single-step values come from the transposed twins, one double at a time, and
// are the same numbers.
TEST_F(NodalFlowTest, TwinsServeWhenTheStepSectionsAreAbsent) {
  const NodalModel m = standardModel();
  write(m);
  TempFile twinsOnly("nodal_twins");
  kernelwriter::KernelFile f = modelFile(m);
  for (int s = 15; s <= 20; ++s) f.removeSection(s);
  f.write(twinsOnly.path());
  const auto length = static_cast<std::int32_t>(kAllKeys.size() * kAllIds.size());
  for (const std::int32_t flags : kFlagSets) {
    const std::int32_t lastMode = (flags & kSingleMode) != 0 ? m.modes : 1;
    for (std::int32_t mode = 1; mode <= lastMode; ++mode) {
      for (std::int32_t step = 1; step <= m.steps; ++step) {
        SCOPED_TRACE(testing::Message() << "flags " << flags << " mode " << mode << " step " << step);
        const Answer full = request(file.path(), flags, kAllIds, kAllKeys, mode, step, length);
        const Answer twins = request(twinsOnly.path(), flags, kAllIds, kAllKeys, mode, step, length);
        ASSERT_EQ(full.code, 0);
        ASSERT_EQ(twins.code, 0);
        EXPECT_TRUE(identical(twins.values, full.values));
      }
    }
  }
}

// 102 is position 0, 100000102 position 7 (location 1 times the key's seven codes), 112 position 8 and
// 100000112 position 15. On a node with components 0 to 8, positions are components; none has 15. A -1000
// entry carries no component, so component 0 of such a node is its second entry.
TEST_F(NodalFlowTest, ResponseIdsSelectPositionsByComponent) {
  const NodalModel m = standardModel();
  write(m);
  const std::vector<std::int32_t> ids = {kNine, kWithNone};
  const std::vector<std::int32_t> keys = {102, 100000102, 112, 100000112, 212};
  const auto k = static_cast<std::size_t>(keys.size());
  const Answer history = request(file.path(), 0, ids, keys, 0, 0, static_cast<std::int32_t>(2 * k * m.steps));
  ASSERT_EQ(history.code, 0);
  const std::size_t perId = k * m.steps;
  auto stored = [&](int q, std::size_t d, std::int32_t t) {
    return m.direct[q][d + m.dofs * static_cast<std::size_t>(t)] - m.initialWithout[q][d];
  };
  for (std::int32_t t = 0; t < m.steps; ++t) {
    const double* nine = &history.values[k * t];
    EXPECT_TRUE(approx(nine[0], stored(0, 16, t)));  // component 0: the node's first row
    EXPECT_TRUE(approx(nine[1], stored(0, 23, t)));  // component 7: code -992, row 23
    EXPECT_TRUE(approx(nine[2], stored(0, 24, t)));  // component 8: code -991, row 24
    EXPECT_EQ(nine[3], 0.0);                         // component 15: no node has it
    EXPECT_TRUE(approx(nine[4], stored(1, 24, t)));
    const double* withNone = &history.values[perId + k * t];
    EXPECT_TRUE(approx(withNone[0], stored(0, 10, t)));  // the entry after the -1000 one
    for (int r = 1; r < 5; ++r) EXPECT_EQ(withNone[r], 0.0) << "key " << keys[r];
    const Answer step = request(file.path(), 0, ids, keys, 0, t + 1, static_cast<std::int32_t>(2 * k));
    ASSERT_EQ(step.code, 0);
    for (std::size_t r = 0; r < k; ++r) {
      EXPECT_TRUE(approx(step.values[r], nine[r])) << "key " << keys[r];
      EXPECT_TRUE(approx(step.values[k + r], withNone[r])) << "key " << keys[r];
    }
  }
}

// A node with translations only has no rotation rows: its rotation keys stay zero under every flag.
TEST_F(NodalFlowTest, TranslationsOnlyLeaveRotationKeysZero) {
  const NodalModel m = standardModel();
  write(m);
  const std::vector<std::int32_t> ids = {kTranslations, kShuffled};
  const std::vector<std::int32_t> keys = {106, 107, 108, 206, 207, 208, 306, 307, 308, 102};
  for (const std::int32_t flags : kFlagSets) {
    for (std::int32_t step = 0; step <= m.steps; ++step) {
      const auto perId = static_cast<std::int32_t>(keys.size()) * (step ? 1 : m.steps);
      const Answer a = request(file.path(), flags, ids, keys, 1, step, 2 * perId);
      ASSERT_EQ(a.code, 0);
      for (std::int32_t i = 0; i < 2 * perId; ++i) {
        const bool translation = i % static_cast<std::int32_t>(keys.size()) == 9;
        if (translation) {
          EXPECT_NE(a.values[static_cast<std::size_t>(i)], 0.0) << "flags " << flags << " at " << i;
        } else {
          EXPECT_EQ(a.values[static_cast<std::size_t>(i)], 0.0) << "flags " << flags << " at " << i;
        }
      }
    }
  }
}

// One node of six degrees of freedom over six rows, and a transform that is a cyclic permutation, so that each
// rotated value can be named by hand: R (a, b, c) = (b, c, a).
NodalModel permutationModel() {
  NodalModel m;
  m.dofs = 6;
  m.steps = 3;
  m.modes = 1;
  m.nodes = {node(1, {0, 1, 2, 3, 4, 5}, {kTx, kTy, kTz, kRx, kRy, kRz}, {0, 1, 0, 0, 0, 1, 1, 0, 0})};
  m.phi = {1, 1, 1, 1, 1, 1};
  for (int q = 0; q < 3; ++q) {
    m.modal[q] = {0, 0, 0};
    m.modalInitial[q] = {0};
    m.initialWithBase[q].assign(6, 0.0);
  }
  m.rebuildDirect();
  for (int q = 0; q < 3; ++q) {
    for (std::int32_t t = 0; t < m.steps; ++t)
      for (std::int32_t d = 0; d < 6; ++d) m.setDirect(q, d, t, 100.0 * (q + 1) + 10.0 * t + d);
    for (std::int32_t d = 0; d < 6; ++d) {
      m.initialWithout[q][d] = 0.5 * (d + 1);
      m.initialWithBase[q][d] = 0.25 * (d + 1);
    }
  }
  m.baseRows = 9;
  m.baseCols = m.steps;
  for (std::int32_t t = 0; t < m.steps; ++t)
    for (int r = 0; r < 9; ++r) m.baseHistory.push_back(1000.0 * (r + 1) + t);
  m.constantRows = 9;
  m.constantBase.assign(9, 0.0);
  return m;
}

TEST_F(NodalFlowTest, RotationKeysTurnAsATriple) {
  const NodalModel m = permutationModel();
  write(m);
  const std::vector<std::int32_t> ids = {1};
  const std::vector<std::int32_t> keys = {106, 107, 108, 102, 103, 104, 206, 308};
  for (std::int32_t t = 0; t < m.steps; ++t) {
    auto v = [&](int q, std::size_t d) {
      return m.direct[q][d + 6 * static_cast<std::size_t>(t)] - m.initialWithout[q][d];
    };
    // R (x, y, z) = (y, z, x) on each triple: 106 takes the y rotation, 107 the z rotation, 108 the x one.
    const std::vector<double> expected = {v(0, 4), v(0, 5), v(0, 3), v(0, 1), v(0, 2), v(0, 0), v(1, 4), v(2, 3)};
    const Answer step = request(file.path(), kRotate, ids, keys, 0, t + 1, 8);
    ASSERT_EQ(step.code, 0);
    EXPECT_TRUE(sameValues(step.values, expected));
    const Answer history = request(file.path(), kRotate, ids, keys, 0, 0, 8 * m.steps);
    ASSERT_EQ(history.code, 0);
    const std::vector<double> column(history.values.begin() + 8 * t, history.values.begin() + 8 * (t + 1));
    EXPECT_TRUE(sameValues(column, expected));
    // Not rotated without flag 2.
    const Answer plain = request(file.path(), 0, ids, keys, 0, t + 1, 8);
    ASSERT_EQ(plain.code, 0);
    EXPECT_TRUE(sameValues(plain.values, {v(0, 3), v(0, 4), v(0, 5), v(0, 0), v(0, 1), v(0, 2), v(1, 3), v(2, 5)}));
  }
}

// The base motion is turned into the node's system before it is added, and under flag 2 the sum is turned
// again: with R (a, b, c) = (b, c, a), x gets y + R R b's first entry, which is b_z.
TEST_F(NodalFlowTest, BaseMotionIsRotatedTwiceUnderRotationAndBaseMotion) {
  const NodalModel m = permutationModel();
  write(m);
  const std::vector<std::int32_t> ids = {1};
  const std::vector<std::int32_t> keys = {102, 103, 104, 106, 203, 304};
  for (std::int32_t t = 0; t < m.steps; ++t) {
    auto v = [&](int q, std::size_t d) {
      return m.direct[q][d + 6 * static_cast<std::size_t>(t)] - m.initialWithBase[q][d];
    };
    auto b = [&](int q, int j) { return m.baseHistory[3 * q + j + 9 * static_cast<std::size_t>(t)]; };
    // Before the rotation: (x + b_y, y + b_z, z + b_x); after it: (y + b_z, z + b_x, x + b_y).
    const std::vector<double> twice = {v(0, 1) + b(0, 2), v(0, 2) + b(0, 0), v(0, 0) + b(0, 1),
                                       v(0, 4),           v(1, 2) + b(1, 0), v(2, 0) + b(2, 1)};
    const std::vector<double> once = {v(0, 0) + b(0, 1), v(0, 1) + b(0, 2), v(0, 2) + b(0, 0),
                                      v(0, 3),           v(1, 1) + b(1, 2), v(2, 2) + b(2, 0)};
    for (const std::int32_t step : {t + 1, 0}) {
      const std::int32_t length = 6 * (step ? 1 : m.steps);
      const std::size_t at = step ? 0 : 6 * static_cast<std::size_t>(t);
      const Answer rotated = request(file.path(), kRotate | kBaseMotion, ids, keys, 0, step, length);
      const Answer plain = request(file.path(), kBaseMotion, ids, keys, 0, step, length);
      ASSERT_EQ(rotated.code, 0);
      ASSERT_EQ(plain.code, 0);
      EXPECT_TRUE(sameValues(std::vector<double>(rotated.values.begin() + at, rotated.values.begin() + at + 6), twice))
          << "step number " << step << ", t " << t;
      EXPECT_TRUE(sameValues(std::vector<double>(plain.values.begin() + at, plain.values.begin() + at + 6), once))
          << "step number " << step << ", t " << t;
    }
  }
}

}  // namespace
}  // namespace nodaltest
