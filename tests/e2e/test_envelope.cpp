// The nodal envelope through TimeKernelOutputResult (flag 16): two square matrices of order keyCount * idCount,
// the maxima and then the minima. Their diagonals hold the extremes over all steps, step 0 included; every
// off-diagonal entry (p, q) holds the step-0 value of item p.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "e2e/NodalFixture.h"

namespace nodaltest {
namespace {

using testsupport::approx;
using testsupport::TempFile;

// The envelope array worked out from the model: the value of item p = r + keyCount * i at every step, step 0
// copied into all columns of both matrices, then each later step raising the maximum or lowering the minimum on
// the diagonal when it is strictly beyond it (so a NaN at a later step changes nothing).
std::vector<double> expectedEnvelope(const NodalModel& m, const std::vector<std::int32_t>& ids,
                                     const std::vector<std::int32_t>& keys, std::int32_t flags, std::int32_t mode) {
  const std::size_t k = keys.size(), n = k * ids.size();
  std::vector<double> out(2 * n * n);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const ModelNode* node = findNode(m, ids[i]);
    for (std::size_t r = 0; r < k; ++r) {
      const std::size_t p = r + k * i;
      const double first = expectedValue(m, node, keys[r], 0, flags, mode);
      for (std::size_t q = 0; q < n; ++q) {
        out[p + n * q] = first;
        out[n * n + p + n * q] = first;
      }
      double high = first, low = first;
      for (std::int32_t t = 1; t < m.steps; ++t) {
        const double v = expectedValue(m, node, keys[r], t, flags, mode);
        if (v > high) high = v;
        if (v < low) low = v;
      }
      out[p + n * p] = high;
      out[n * n + p + n * p] = low;
    }
  }
  return out;
}

std::int32_t envelopeLength(std::size_t ids, std::size_t keys) {
  const auto n = static_cast<std::int32_t>(ids * keys);
  return 2 * n * n;
}

class EnvelopeTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(kernelIsClosed()); }

  NodalModel model = standardModel();
  TempFile file{"envelope"};
};

// One id and one key: two doubles, the maximum and the minimum of the value over every step.
TEST_F(EnvelopeTest, OneIdOneKeyGivesMaximumAndMinimum) {
  modelFile(model).write(file.path());
  const Answer a = request(file.path(), kEnvelope, {kTranslations}, {103}, 0, 0, 2);
  ASSERT_EQ(a.code, 0);
  const std::size_t d = 7;  // y of the node
  double high = -1e300, low = 1e300;
  for (std::int32_t t = 0; t < model.steps; ++t) {
    const double v = model.direct[0][d + model.dofs * static_cast<std::size_t>(t)] - model.initialWithout[0][d];
    high = std::max(high, v);
    low = std::min(low, v);
  }
  EXPECT_TRUE(approx(a.values[0], high));
  EXPECT_TRUE(approx(a.values[1], low));
  EXPECT_LT(a.values[1], a.values[0]);
}

// Two ids and one key: eight doubles. 0 and 3 are the maxima of id 0 and id 1, 4 and 7 their minima; 2 and 6
// hold the step-0 value of id 0, 1 and 5 that of id 1.
TEST_F(EnvelopeTest, TwoIdsOneKeyGivesTwoSquareMatrices) {
  modelFile(model).write(file.path());
  const Answer a = request(file.path(), kEnvelope, {kTranslations, kFull}, {102}, 0, 0, 8);
  ASSERT_EQ(a.code, 0);
  auto value = [&](std::size_t d, std::int32_t t) {
    return model.direct[0][d + model.dofs * static_cast<std::size_t>(t)] - model.initialWithout[0][d];
  };
  double high[2] = {-1e300, -1e300}, low[2] = {1e300, 1e300};
  const std::size_t rows[2] = {6, 0};  // x of each node
  for (int i = 0; i < 2; ++i) {
    for (std::int32_t t = 0; t < model.steps; ++t) {
      high[i] = std::max(high[i], value(rows[i], t));
      low[i] = std::min(low[i], value(rows[i], t));
    }
  }
  EXPECT_TRUE(approx(a.values[0], high[0]));
  EXPECT_TRUE(approx(a.values[3], high[1]));
  EXPECT_TRUE(approx(a.values[4], low[0]));
  EXPECT_TRUE(approx(a.values[7], low[1]));
  EXPECT_TRUE(approx(a.values[2], value(rows[0], 0)));
  EXPECT_TRUE(approx(a.values[6], value(rows[0], 0)));
  EXPECT_TRUE(approx(a.values[1], value(rows[1], 0)));
  EXPECT_TRUE(approx(a.values[5], value(rows[1], 0)));
}

// Rotation, single mode and base motion act at every step of the envelope as they do in a step request.
TEST_F(EnvelopeTest, EveryFlagCombination) {
  modelFile(model).write(file.path());
  const std::vector<std::int32_t> ids = {kFull, kMissing, kWithNone, kShuffled, kNine};
  const std::vector<std::int32_t> keys = {102, 108, 203, 100000102, 304};
  const std::int32_t length = envelopeLength(ids.size(), keys.size());
  for (const std::int32_t extra : {0, kRotate, kSingleMode, kRotate | kSingleMode, kBaseMotion, kRotate | kBaseMotion,
                                   kSingleMode | kBaseMotion, kRotate | kSingleMode | kBaseMotion}) {
    const std::int32_t lastMode = (extra & kSingleMode) != 0 ? model.modes : 1;
    for (std::int32_t mode = 1; mode <= lastMode; ++mode) {
      SCOPED_TRACE(testing::Message() << "flags " << extra << " mode " << mode);
      const Answer a = request(file.path(), kEnvelope | extra, ids, keys, mode, 0, length);
      ASSERT_EQ(a.code, 0);
      const std::int32_t selected = (extra & kSingleMode) != 0 ? mode - 1 : -1;
      EXPECT_TRUE(sameValues(a.values, expectedEnvelope(model, ids, keys, extra, selected)));
    }
  }
}

TEST_F(EnvelopeTest, ConstantBaseMotion) {
  model.baseRows = 0;
  model.baseCols = 0;
  modelFile(model).write(file.path());
  const std::vector<std::int32_t> ids = {kShuffled, kTranslations};
  const std::vector<std::int32_t> keys = {102, 203, 304};
  for (const std::int32_t extra : {kBaseMotion, kBaseMotion | kRotate}) {
    const Answer a = request(file.path(), kEnvelope | extra, ids, keys, 0, 0, envelopeLength(2, 3));
    ASSERT_EQ(a.code, 0);
    EXPECT_TRUE(sameValues(a.values, expectedEnvelope(model, ids, keys, extra, -1))) << "flags " << extra;
  }
}

// Under flag 16 the step number and flag 1 are not looked at.
TEST_F(EnvelopeTest, StepNumberAndElementFlagChangeNothing) {
  modelFile(model).write(file.path());
  const std::vector<std::int32_t> ids = {kFull, kNine};
  const std::vector<std::int32_t> keys = {104, 207};
  const std::int32_t length = envelopeLength(2, 2);
  const Answer plain = request(file.path(), kEnvelope | kRotate, ids, keys, 0, 0, length);
  ASSERT_EQ(plain.code, 0);
  EXPECT_TRUE(sameValues(plain.values, expectedEnvelope(model, ids, keys, kRotate, -1)));
  for (const std::int32_t step : {1, 3, -2, model.steps + 10}) {
    for (const std::int32_t element : {0, 1}) {
      const Answer a = request(file.path(), kEnvelope | kRotate | element, ids, keys, 0, step, length);
      ASSERT_EQ(a.code, 0) << "step " << step << " flag 1: " << element;
      EXPECT_TRUE(identical(a.values, plain.values)) << "step " << step << " flag 1: " << element;
    }
  }
}

TEST_F(EnvelopeTest, LengthOneOffFailsWithTheArrayZeroed) {
  modelFile(model).write(file.path());
  const std::vector<std::int32_t> ids = {kFull, kTranslations};
  const std::vector<std::int32_t> keys = {102};
  for (const std::int32_t length : {7, 9, 4, 16}) {
    const Answer a = request(file.path(), kEnvelope, ids, keys, 0, 0, length);
    EXPECT_EQ(a.code, -1) << length;
    EXPECT_TRUE(allZero(a.values)) << length;
    EXPECT_TRUE(kernelIsClosed());
  }
  const Answer one = request(file.path(), kEnvelope, {kFull}, keys, 0, 0, 1);
  EXPECT_EQ(one.code, -1);
  EXPECT_TRUE(allZero(one.values));
  const Answer three = request(file.path(), kEnvelope, {kFull}, keys, 0, 0, 3);
  EXPECT_EQ(three.code, -1);
  EXPECT_TRUE(allZero(three.values));
}

// A NaN at a later step fails both comparisons: the extremes of the other steps stand.
TEST_F(EnvelopeTest, NanAtALaterStepNeverReplacesAValue) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (int q = 0; q < 3; ++q) model.setDirect(q, 7, 2, nan);  // y of the translations-only node at step 2
  modelFile(model).write(file.path());
  const std::vector<std::int32_t> ids = {kTranslations};
  const std::vector<std::int32_t> keys = {103, 102};
  const Answer a = request(file.path(), kEnvelope, ids, keys, 0, 0, envelopeLength(1, 2));
  ASSERT_EQ(a.code, 0);
  EXPECT_TRUE(sameValues(a.values, expectedEnvelope(model, ids, keys, 0, -1)));
  double high = -1e300, low = 1e300;
  for (std::int32_t t = 0; t < model.steps; ++t) {
    if (t == 2) continue;
    const double v = model.direct[0][7 + model.dofs * static_cast<std::size_t>(t)] - model.initialWithout[0][7];
    high = std::max(high, v);
    low = std::min(low, v);
  }
  EXPECT_TRUE(approx(a.values[0], high));  // (0, 0) of the maxima
  EXPECT_TRUE(approx(a.values[4], low));   // (0, 0) of the minima
  for (const double v : a.values) EXPECT_FALSE(std::isnan(v));
  // The step request itself does give the NaN.
  const Answer step = request(file.path(), 0, ids, keys, 0, 3, 2);
  ASSERT_EQ(step.code, 0);
  EXPECT_TRUE(std::isnan(step.values[0]));
}

// A NaN at step 0 is where the extremes start, and no later value can replace it.
TEST_F(EnvelopeTest, NanAtStepZeroStays) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  model.setDirect(0, 7, 0, nan);
  modelFile(model).write(file.path());
  const std::vector<std::int32_t> ids = {kTranslations};
  const std::vector<std::int32_t> keys = {103, 102};
  const Answer a = request(file.path(), kEnvelope | kBaseMotion, ids, keys, 0, 0, envelopeLength(1, 2));
  ASSERT_EQ(a.code, 0);
  EXPECT_TRUE(sameValues(a.values, expectedEnvelope(model, ids, keys, kBaseMotion, -1)));
  // Item 0 is the NaN one: its diagonal entries and its row of step-0 copies; item 1 is a number everywhere.
  for (const std::size_t at : {0u, 2u, 4u, 6u}) EXPECT_TRUE(std::isnan(a.values[at])) << at;
  for (const std::size_t at : {1u, 3u, 5u, 7u}) EXPECT_FALSE(std::isnan(a.values[at])) << at;
}

}  // namespace
}  // namespace nodaltest
