// The shape of a nodal request through TimeKernelOutputResult: step numbers, the length of the result array and
// the spacing of the blocks, the mode number, the id list, and files whose velocity is missing or empty.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "e2e/NodalFixture.h"

namespace nodaltest {
namespace {

using testsupport::PlatformCallCounter;
using testsupport::TempFile;

const std::vector<std::int32_t> kIds = {kFull, kMissing, kTranslations, kNine};
const std::vector<std::int32_t> kKeys = {102, 207, 304, 112};

class NodalRequestTest : public testsupport::PlatformTest {
 protected:
  void SetUp() override { modelFile(model).write(file.path()); }
  void TearDown() override {
    EXPECT_TRUE(kernelIsClosed());
    PlatformTest::TearDown();
  }

  // A request of kIds and kKeys with the given flags, step and length, checked against the reference.
  void expectValues(std::int32_t flags, std::int32_t stepNumber, std::int32_t length) {
    SCOPED_TRACE(testing::Message() << "flags " << flags << ", step " << stepNumber << ", length " << length);
    const Answer a = request(file.path(), flags, kIds, kKeys, 2, stepNumber, length);
    ASSERT_EQ(a.code, 0);
    const std::int32_t mode = (flags & kSingleMode) != 0 ? 1 : -1;
    EXPECT_TRUE(sameValues(a.values, expectedBlocks(model, kIds, kKeys, flags, mode, stepNumber, length)));
  }

  std::int32_t historyLength() const { return static_cast<std::int32_t>(kKeys.size() * kIds.size()) * model.steps; }
  std::int32_t stepLength() const { return static_cast<std::int32_t>(kKeys.size() * kIds.size()); }

  NodalModel model = standardModel();
  TempFile file{"nodal_request"};
};

TEST_F(NodalRequestTest, StepNumberZeroAndBelowAskForAllSteps) {
  const Answer zero = request(file.path(), kBaseMotion, kIds, kKeys, 0, 0, historyLength());
  ASSERT_EQ(zero.code, 0);
  EXPECT_TRUE(sameValues(zero.values, expectedBlocks(model, kIds, kKeys, kBaseMotion, -1, 0, historyLength())));
  for (const std::int32_t negative : {-1, -5, -2147483647 - 1}) {
    const Answer a = request(file.path(), kBaseMotion, kIds, kKeys, 0, negative, historyLength());
    ASSERT_EQ(a.code, 0) << negative;
    EXPECT_TRUE(identical(a.values, zero.values)) << negative;
  }
}

TEST_F(NodalRequestTest, StepNumberOneIsTheFirstStepAndStepCountTheLast) {
  for (const std::int32_t flags : {0, kRotate | kBaseMotion, kSingleMode}) {
    expectValues(flags, 1, stepLength());
    expectValues(flags, model.steps, stepLength());
  }
  // The single step is the history's column.
  const Answer history = request(file.path(), kRotate, kIds, kKeys, 0, 0, historyLength());
  ASSERT_EQ(history.code, 0);
  const std::size_t k = kKeys.size(), perId = k * static_cast<std::size_t>(model.steps);
  for (std::int32_t t = 0; t < model.steps; ++t) {
    const Answer step = request(file.path(), kRotate, kIds, kKeys, 0, t + 1, stepLength());
    ASSERT_EQ(step.code, 0);
    for (std::size_t i = 0; i < kIds.size(); ++i)
      for (std::size_t r = 0; r < k; ++r)
        EXPECT_TRUE(testsupport::approx(step.values[i * k + r], history.values[i * perId + r + k * t]))
            << "id " << i << " key " << r << " step " << t;
  }
}

TEST_F(NodalRequestTest, StepPastTheLastFails) {
  for (const std::int32_t step : {model.steps + 1, model.steps + 100, 2147483647}) {
    const Answer a = request(file.path(), 0, kIds, kKeys, 0, step, historyLength());
    EXPECT_EQ(a.code, -1) << step;
    EXPECT_TRUE(allZero(a.values)) << step;
    EXPECT_TRUE(kernelIsClosed());
  }
}

TEST_F(NodalRequestTest, TooShortFailsWithTheArrayZeroed) {
  const std::int32_t ids = static_cast<std::int32_t>(kIds.size());
  // One double short overall leaves every block one row short.
  for (const std::int32_t length : {historyLength() - 1, historyLength() - ids, 1}) {
    const Answer a = request(file.path(), 0, kIds, kKeys, 0, 0, length);
    EXPECT_EQ(a.code, -1) << length;
    EXPECT_TRUE(allZero(a.values)) << length;
  }
  for (const std::int32_t length : {stepLength() - 1, ids}) {
    const Answer a = request(file.path(), 0, kIds, kKeys, 0, 3, length);
    EXPECT_EQ(a.code, -1) << length;
    EXPECT_TRUE(allZero(a.values)) << length;
  }
  // A step's length is not enough for all steps.
  const Answer a = request(file.path(), 0, kIds, kKeys, 0, 0, stepLength());
  EXPECT_EQ(a.code, -1);
  EXPECT_TRUE(allZero(a.values));
}

TEST_F(NodalRequestTest, ExactLength) {
  expectValues(kBaseMotion | kRotate, 0, historyLength());
  expectValues(kBaseMotion | kRotate, 4, stepLength());
}

// A longer array spaces the blocks by length / idCount; the tail of each block stays zero.
TEST_F(NodalRequestTest, LongerArraySpacesTheBlocks) {
  const auto ids = static_cast<std::int32_t>(kIds.size());
  for (const std::int32_t step : {0, 2}) {
    const std::int32_t need = static_cast<std::int32_t>(kKeys.size()) * (step ? 1 : model.steps);
    const std::int32_t rows = need + 7;
    expectValues(kBaseMotion, step, rows * ids);
    const Answer a = request(file.path(), kBaseMotion, kIds, kKeys, 0, step, rows * ids);
    ASSERT_EQ(a.code, 0);
    for (std::int32_t i = 0; i < ids; ++i) {
      for (std::int32_t r = need; r < rows; ++r) EXPECT_EQ(a.values[static_cast<std::size_t>(i * rows + r)], 0.0);
      // The first value of each present id's block starts at i * rows.
      if (kIds[static_cast<std::size_t>(i)] != kMissing) {
        EXPECT_NE(a.values[static_cast<std::size_t>(i * rows)], 0.0) << "block " << i;
      }
    }
  }
}

// A length that is not a multiple of idCount: blocks of length / idCount rows, the surplus at the end zero.
TEST_F(NodalRequestTest, LengthNotAMultipleOfTheIdCount) {
  const auto ids = static_cast<std::int32_t>(kIds.size());
  for (const std::int32_t step : {0, 5}) {
    const std::int32_t need = static_cast<std::int32_t>(kKeys.size()) * (step ? 1 : model.steps);
    for (const std::int32_t surplus : {1, ids - 1}) {
      for (const std::int32_t rows : {need, need + 2}) {
        const std::int32_t length = rows * ids + surplus;
        expectValues(0, step, length);
        const Answer a = request(file.path(), 0, kIds, kKeys, 0, step, length);
        ASSERT_EQ(a.code, 0);
        for (std::int32_t j = rows * ids; j < length; ++j) EXPECT_EQ(a.values[static_cast<std::size_t>(j)], 0.0);
      }
    }
  }
}

TEST_F(NodalRequestTest, ModeNumberZeroUnderFlag4FailsBeforeTheFileIsOpened) {
  for (const std::int32_t modeNumber : {0, -1, -2147483647 - 1}) {
    PlatformCallCounter counter;
    const Answer a = request(file.path(), kSingleMode, kIds, kKeys, modeNumber, 0, historyLength());
    EXPECT_EQ(a.code, -1) << modeNumber;
    EXPECT_TRUE(allZero(a.values));
    EXPECT_EQ(counter.counts().openExisting, 0) << modeNumber;
  }
}

TEST_F(NodalRequestTest, ModeNumberIsNotLookedAtWithoutFlag4) {
  const Answer reference = request(file.path(), kRotate, kIds, kKeys, 1, 0, historyLength());
  ASSERT_EQ(reference.code, 0);
  for (const std::int32_t modeNumber : {0, -7, 99}) {
    const Answer a = request(file.path(), kRotate, kIds, kKeys, modeNumber, 0, historyLength());
    ASSERT_EQ(a.code, 0);
    EXPECT_TRUE(identical(a.values, reference.values)) << modeNumber;
  }
}

TEST_F(NodalRequestTest, IdCountZeroFails) {
  std::vector<double> result(40, 777.0);
  const std::int32_t id = kFull;
  for (const std::int32_t step : {0, 1}) {
    const std::int32_t code = TimeKernelOutputResult(file.c_str(), 0, &id, 0, kKeys.data(),
                                                     static_cast<std::int32_t>(kKeys.size()), 0, step, result.data(),
                                                     static_cast<std::int32_t>(result.size()));
    EXPECT_EQ(code, -1) << step;
    EXPECT_TRUE(allZero(result));
  }
}

// An id the file lacks keeps its block at zero and does not move the blocks after it.
TEST_F(NodalRequestTest, MissingIdsKeepZeroBlocksInPlace) {
  const std::vector<std::int32_t> ids = {kMissing, kTranslations, -4, kNine, kMissing};
  const std::int32_t perId = static_cast<std::int32_t>(kKeys.size()) * model.steps;
  const Answer a = request(file.path(), 0, ids, kKeys, 0, 0, perId * 5);
  ASSERT_EQ(a.code, 0);
  EXPECT_TRUE(sameValues(a.values, expectedBlocks(model, ids, kKeys, 0, -1, 0, perId * 5)));
  for (const std::size_t block : {0u, 2u, 4u})
    for (std::int32_t j = 0; j < perId; ++j) EXPECT_EQ(a.values[block * perId + j], 0.0);
  // The present ids hold what they hold when asked for alone.
  const Answer alone = request(file.path(), 0, {kTranslations, kNine}, kKeys, 0, 0, perId * 2);
  ASSERT_EQ(alone.code, 0);
  EXPECT_TRUE(identical(std::vector<double>(a.values.begin() + perId, a.values.begin() + 2 * perId),
                        std::vector<double>(alone.values.begin(), alone.values.begin() + perId)));
  EXPECT_TRUE(identical(std::vector<double>(a.values.begin() + 3 * perId, a.values.begin() + 4 * perId),
                        std::vector<double>(alone.values.begin() + perId, alone.values.end())));
}

TEST_F(NodalRequestTest, NoIdInTheFileFails) {
  for (const std::int32_t step : {0, 2}) {
    const Answer a = request(file.path(), 0, {kMissing, 5}, kKeys, 0, step, historyLength());
    EXPECT_EQ(a.code, -1);
    EXPECT_TRUE(allZero(a.values));
  }
}

TEST_F(NodalRequestTest, AnIdAskedForTwiceFillsTwoBlocks) {
  const std::vector<std::int32_t> ids = {kNine, kFull, kNine};
  for (const std::int32_t step : {0, 3}) {
    const std::int32_t perId = static_cast<std::int32_t>(kKeys.size()) * (step ? 1 : model.steps);
    const Answer a = request(file.path(), kRotate | kBaseMotion, ids, kKeys, 0, step, 3 * perId);
    ASSERT_EQ(a.code, 0);
    EXPECT_TRUE(sameValues(a.values, expectedBlocks(model, ids, kKeys, kRotate | kBaseMotion, -1, step, 3 * perId)));
    EXPECT_TRUE(identical(std::vector<double>(a.values.begin(), a.values.begin() + perId),
                          std::vector<double>(a.values.begin() + 2 * perId, a.values.end())));
  }
}

// The single-step flow reads displacement, velocity and acceleration whatever the keys: without sections 16 and
// 22 it fails. The history flow reads only the quantities it is asked for.
TEST_F(NodalRequestTest, MissingVelocitySectionsFailTheStepFlow) {
  TempFile noVelocity("nodal_novelocity");
  kernelwriter::KernelFile f = modelFile(model);
  f.removeSection(16);
  f.removeSection(22);
  f.write(noVelocity.path());
  const std::vector<std::int32_t> ids = {kFull, kTranslations};
  const std::vector<std::int32_t> displacement = {102, 106, 304};
  const std::int32_t history = 3 * model.steps * 2;
  const Answer step = request(noVelocity.path(), 0, ids, displacement, 0, 2, 6);
  EXPECT_EQ(step.code, -1);
  EXPECT_TRUE(allZero(step.values));
  const Answer all = request(noVelocity.path(), 0, ids, displacement, 0, 0, history);
  ASSERT_EQ(all.code, 0);
  EXPECT_TRUE(sameValues(all.values, expectedBlocks(model, ids, displacement, 0, -1, 0, history)));
  const Answer velocity = request(noVelocity.path(), 0, ids, {102, 202}, 0, 0, 2 * model.steps * 2);
  EXPECT_EQ(velocity.code, -1);
}

// A velocity section of no rows: velocity keys stay zero, the others are what they are.
TEST_F(NodalRequestTest, EmptyVelocityLeavesVelocityKeysZero) {
  TempFile emptyVelocity("nodal_emptyvelocity");
  kernelwriter::KernelFile f = modelFile(model);
  f.setMatrix(16, 0, model.steps, std::vector<double>{});
  f.setMatrix(22, model.steps, 0, std::vector<double>{});
  f.write(emptyVelocity.path());
  const std::vector<std::int32_t> ids = {kFull, kMissing, kWithNone};
  const std::vector<std::int32_t> keys = {202, 102, 203, 306, 212, 304};
  for (const std::int32_t flags : {0, kRotate, kBaseMotion | kRotate}) {
    for (std::int32_t step = 1; step <= model.steps; ++step) {
      const Answer a = request(emptyVelocity.path(), flags, ids, keys, 0, step, 18);
      ASSERT_EQ(a.code, 0);
      std::vector<double> expected = expectedBlocks(model, ids, keys, flags, -1, step, 18);
      for (std::size_t i = 0; i < 3; ++i) {
        expected[i * 6 + 0] = 0.0;
        expected[i * 6 + 2] = 0.0;
        expected[i * 6 + 4] = 0.0;
      }
      EXPECT_TRUE(sameValues(a.values, expected)) << "flags " << flags << " step " << step;
    }
  }
}

TEST_F(NodalRequestTest, AllQuantitiesEmptyFailsTheStepFlow) {
  TempFile empty("nodal_empty");
  kernelwriter::KernelFile f = modelFile(model);
  for (int s = 15; s <= 17; ++s) f.setMatrix(s, 0, model.steps, std::vector<double>{});
  f.write(empty.path());
  const Answer a = request(empty.path(), 0, kIds, kKeys, 0, 1, stepLength());
  EXPECT_EQ(a.code, -1);
  EXPECT_TRUE(allZero(a.values));
}

}  // namespace
}  // namespace nodaltest
