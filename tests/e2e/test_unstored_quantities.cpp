// Files that do not store a quantity: a solver that writes displacements only writes the velocity sections (16,
// 19, 22, 25) or the acceleration sections (17, 20, 23, 26) with no values, as 0 x 0, a x 0 or 0 x b. Nodal
// history, single step and envelope then answer with the keys of that quantity at zero and every other key at
// its value. Under flag 4 the quantity is read through the modal sections, and an empty modal read fails the
// call, in every flow that reads that quantity.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "e2e/NodalFixture.h"

namespace nodaltest {
namespace {

using testsupport::TempFile;
using testsupport::Unstored;

// Every nodal quantity and component, at nodes with and without a transform, with base motion rows and without.
const std::vector<std::int32_t> kIds = {kFull, kMissing, kTranslations, kWithNone, kNine, kShuffled};
const std::vector<std::int32_t> kAllKeys = {102, 103, 104, 106, 107, 108, 112, 202, 203,
                                            204, 206, 208, 302, 303, 304, 307, 312};

bool keyOf(std::int32_t key, int q) { return keyTarget(key).quantity == q; }

// The value the file gives for `key` at `n`, step t: zero for the quantity that is not stored.
double valueWithout(const NodalModel& m, int missing, const ModelNode* n, std::int32_t key, std::int32_t t,
                    std::int32_t flags, std::int32_t mode) {
  return keyOf(key, missing) ? 0.0 : expectedValue(m, n, key, t, flags, mode);
}

std::vector<double> blocksWithout(const NodalModel& m, int missing, const std::vector<std::int32_t>& keys,
                                  std::int32_t flags, std::int32_t mode, std::int32_t stepNumber,
                                  std::int32_t length) {
  std::vector<double> out(static_cast<std::size_t>(length), 0.0);
  const std::size_t rows = static_cast<std::size_t>(length) / kIds.size();
  for (std::size_t i = 0; i < kIds.size(); ++i) {
    const ModelNode* n = findNode(m, kIds[i]);
    for (std::size_t r = 0; r < keys.size(); ++r) {
      if (stepNumber >= 1) {
        out[i * rows + r] = valueWithout(m, missing, n, keys[r], stepNumber - 1, flags, mode);
      } else {
        for (std::int32_t t = 0; t < m.steps; ++t)
          out[i * rows + r + keys.size() * static_cast<std::size_t>(t)] =
              valueWithout(m, missing, n, keys[r], t, flags, mode);
      }
    }
  }
  return out;
}

// Maxima then minima, two n x n matrices: each diagonal entry over all steps, each off-diagonal (p, q) the
// step-0 value of item p.
std::vector<double> envelopeWithout(const NodalModel& m, int missing, const std::vector<std::int32_t>& keys,
                                    std::int32_t flags) {
  const std::size_t k = keys.size(), n = k * kIds.size();
  std::vector<double> out(2 * n * n);
  for (std::size_t i = 0; i < kIds.size(); ++i) {
    const ModelNode* node = findNode(m, kIds[i]);
    for (std::size_t r = 0; r < k; ++r) {
      const std::size_t p = r + k * i;
      const double first = valueWithout(m, missing, node, keys[r], 0, flags, -1);
      double high = first, low = first;
      for (std::int32_t t = 1; t < m.steps; ++t) {
        const double v = valueWithout(m, missing, node, keys[r], t, flags, -1);
        if (v > high) high = v;
        if (v < low) low = v;
      }
      for (std::size_t c = 0; c < n; ++c) {
        out[p + n * c] = c == p ? high : first;
        out[n * n + p + n * c] = c == p ? low : first;
      }
    }
  }
  return out;
}

std::int32_t historyLength(const NodalModel& m, const std::vector<std::int32_t>& keys) {
  return static_cast<std::int32_t>(keys.size() * kIds.size()) * m.steps;
}
std::int32_t stepLength(const std::vector<std::int32_t>& keys) {
  return static_cast<std::int32_t>(keys.size() * kIds.size());
}
std::int32_t envelopeLength(const std::vector<std::int32_t>& keys) {
  const auto n = static_cast<std::int32_t>(keys.size() * kIds.size());
  return 2 * n * n;
}

class UnstoredQuantityTest : public testing::TestWithParam<std::tuple<int, Unstored>> {
 protected:
  void SetUp() override {
    kernelwriter::KernelFile f = modelFile(model);
    testsupport::writeUnstored(f, missing(), std::get<1>(GetParam()), model.dofs, model.modes, model.steps);
    f.write(file.path());
  }
  void TearDown() override { EXPECT_TRUE(kernelIsClosed()); }

  int missing() const { return std::get<0>(GetParam()); }
  // The keys of the two quantities that the file stores.
  std::vector<std::int32_t> storedKeys() const {
    std::vector<std::int32_t> keys;
    for (std::int32_t key : kAllKeys)
      if (!keyOf(key, missing())) keys.push_back(key);
    return keys;
  }

  NodalModel model = standardModel();
  TempFile file{"unstored_quantity"};
};

// Without flag 4, in all three flows: result 0, the missing quantity's keys zero, the others their values.
TEST_P(UnstoredQuantityTest, KeysOfTheQuantityStayZero) {
  for (std::int32_t flags : {0, kRotate, kBaseMotion, kRotate | kBaseMotion}) {
    SCOPED_TRACE(testing::Message() << "flags " << flags);
    const std::int32_t length = historyLength(model, kAllKeys);
    const Answer history = request(file.path(), flags, kIds, kAllKeys, 0, 0, length);
    ASSERT_EQ(history.code, 0);
    EXPECT_TRUE(sameValues(history.values, blocksWithout(model, missing(), kAllKeys, flags, -1, 0, length)));
    for (std::int32_t step = 1; step <= model.steps; ++step) {
      const Answer one = request(file.path(), flags, kIds, kAllKeys, 0, step, stepLength(kAllKeys));
      ASSERT_EQ(one.code, 0) << "step " << step;
      EXPECT_TRUE(sameValues(one.values,
                             blocksWithout(model, missing(), kAllKeys, flags, -1, step, stepLength(kAllKeys))))
          << "step " << step;
    }
    const Answer envelope =
        request(file.path(), flags | kEnvelope, kIds, kAllKeys, 0, 0, envelopeLength(kAllKeys));
    ASSERT_EQ(envelope.code, 0);
    EXPECT_TRUE(sameValues(envelope.values, envelopeWithout(model, missing(), kAllKeys, flags)));
  }
}

// The stored keys alone give the same values as on a file that stores everything.
TEST_P(UnstoredQuantityTest, StoredKeysAreUnchanged) {
  const std::vector<std::int32_t> keys = storedKeys();
  for (std::int32_t flags : {0, kRotate | kBaseMotion}) {
    const std::int32_t length = historyLength(model, keys);
    const Answer history = request(file.path(), flags, kIds, keys, 0, 0, length);
    ASSERT_EQ(history.code, 0);
    EXPECT_TRUE(sameValues(history.values, expectedBlocks(model, kIds, keys, flags, -1, 0, length)));
  }
}

// Under flag 4 the quantity comes from its modal sections, which are empty: a history that asks for one of its
// keys fails with the whole array zero, a history of the other quantities answers (the empty quantity is not
// read), and the single-step flow and the envelope, which read every quantity at a step, fail.
TEST_P(UnstoredQuantityTest, UnderASingleModeTheEmptyModalSectionFailsWhereItIsRead) {
  const std::vector<std::int32_t> keys = storedKeys();
  for (std::int32_t flags : {kSingleMode, kSingleMode | kRotate, kSingleMode | kBaseMotion}) {
    SCOPED_TRACE(testing::Message() << "flags " << flags);
    const Answer asked = request(file.path(), flags, kIds, kAllKeys, 2, 0, historyLength(model, kAllKeys));
    EXPECT_EQ(asked.code, -1);
    EXPECT_TRUE(allZero(asked.values));

    const Answer others = request(file.path(), flags, kIds, keys, 2, 0, historyLength(model, keys));
    ASSERT_EQ(others.code, 0);
    EXPECT_TRUE(
        sameValues(others.values, expectedBlocks(model, kIds, keys, flags, 1, 0, historyLength(model, keys))));

    const Answer one = request(file.path(), flags, kIds, keys, 2, 3, stepLength(keys));
    EXPECT_EQ(one.code, -1);
    EXPECT_TRUE(allZero(one.values));
    const Answer envelope = request(file.path(), flags | kEnvelope, kIds, keys, 2, 0, envelopeLength(keys));
    EXPECT_EQ(envelope.code, -1);
    EXPECT_TRUE(allZero(envelope.values));
  }
}

INSTANTIATE_TEST_SUITE_P(
    VelocityAndAcceleration, UnstoredQuantityTest,
    testing::Combine(testing::Values(1, 2),
                     testing::Values(Unstored::kNone, Unstored::kRowsOnly, Unstored::kColumnsOnly)),
    [](const testing::TestParamInfo<std::tuple<int, Unstored>>& info) {
      const std::string quantity = std::get<0>(info.param) == 1 ? "Velocity" : "Acceleration";
      const Unstored s = std::get<1>(info.param);
      return quantity + (s == Unstored::kNone ? "None" : s == Unstored::kRowsOnly ? "RowsOnly" : "ColumnsOnly");
    });

// Only the direct sections are empty and the modal ones hold the quantity: under flag 4 every key has its
// value, without flag 4 the quantity's keys are zero.
TEST(UnstoredDirectQuantity, ModalSectionsStillServeASingleMode) {
  const NodalModel model = standardModel();
  TempFile file("unstored_direct");
  kernelwriter::KernelFile f = modelFile(model);
  for (int section : {16, 22}) f.setMatrix(section, 0, 0, std::vector<double>{});
  f.write(file.path());
  const std::int32_t length = historyLength(model, kAllKeys);
  for (std::int32_t flags : {kSingleMode, kSingleMode | kRotate}) {
    const Answer history = request(file.path(), flags, kIds, kAllKeys, 3, 0, length);
    ASSERT_EQ(history.code, 0);
    EXPECT_TRUE(sameValues(history.values, expectedBlocks(model, kIds, kAllKeys, flags, 2, 0, length)));
    const Answer one = request(file.path(), flags, kIds, kAllKeys, 3, 2, stepLength(kAllKeys));
    ASSERT_EQ(one.code, 0);
    EXPECT_TRUE(
        sameValues(one.values, expectedBlocks(model, kIds, kAllKeys, flags, 2, 2, stepLength(kAllKeys))));
  }
  const Answer direct = request(file.path(), kRotate, kIds, kAllKeys, 0, 0, length);
  ASSERT_EQ(direct.code, 0);
  EXPECT_TRUE(sameValues(direct.values, blocksWithout(model, 1, kAllKeys, kRotate, -1, 0, length)));
}

}  // namespace
}  // namespace nodaltest
