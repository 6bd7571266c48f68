// The key registry: which key stands under which element code, response selection and clearing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "keys/KeySet.h"
#include "keys/RequestList.h"

namespace Zarn {
namespace {

using Selection = std::vector<std::pair<int32_t, int32_t>>;
using KeyNames = std::map<int32_t, std::string>;

const KeyNames kForceKeys = {
    {580, "TimeKernelBushForceKeyInfo"},        {582, "TimeKernelRodForceKeyInfo"},
    {583, "TimeKernelBarForceKeyInfo"},         {584, "TimeKernelBushForceKeyInfo"},
    {586, "TimeKernelWarpingBarForceKeyInfo"},  {594, "TimeKernelCatenaryForceKeyInfo"},
    {642, "TimeKernelPlaneStressForceKeyInfo"}, {643, "TimeKernelPlaneStrainForceKeyInfo"},
    {645, "TimeKernelShellForceKeyInfo"},       {768, "TimeKernelSolidForceKeyInfo"},
};
const KeyNames kStressKeys = {
    {582, "TimeKernelRodStressKeyInfo"},         {583, "TimeKernelBarStressKeyInfo"},
    {586, "TimeKernelWarpingBarStressKeyInfo"},  {594, "TimeKernelCatenaryStressKeyInfo"},
    {642, "TimeKernelPlaneStressStressKeyInfo"}, {643, "TimeKernelPlaneStrainStressKeyInfo"},
    {645, "TimeKernelShellStressKeyInfo"},       {768, "TimeKernelSolidStressKeyInfo"},
};
const KeyNames kDeformKeys = {{580, "TimeKernelBushDeformKeyInfo"}};

KeyNames namesOf(const TimeKernelKeySet::KeyMap& keys) {
  KeyNames names;
  for (const auto& entry : keys) names[entry.first] = entry.second ? entry.second->className() : "(empty)";
  return names;
}

std::vector<int32_t> codesInIterationOrder(const TimeKernelKeySet::KeyMap& keys) {
  std::vector<int32_t> codes;
  for (const auto& entry : keys) codes.push_back(entry.first);
  return codes;
}

Selection selectionOf(const TimeKernelKeyInfo& key) {
  Selection out;
  for (const IdMap::Entry& e : key.selection) out.emplace_back(e.key, e.value);
  std::sort(out.begin(), out.end());
  return out;
}

RequestList listOf(const std::vector<int32_t>& ids) {
  RequestList list;
  list.values = ids.data();
  list.count = static_cast<int32_t>(ids.size());
  list.stride = 1;
  return list;
}

// Every key of the registry with a label, for checks that run over all of them.
std::vector<std::pair<std::string, const TimeKernelKeyInfo*>> allKeys(const TimeKernelKeySet& set) {
  std::vector<std::pair<std::string, const TimeKernelKeyInfo*>> keys;
  for (const auto& e : set.forceKeys) keys.emplace_back("force " + std::to_string(e.first), e.second.get());
  for (const auto& e : set.stressKeys) keys.emplace_back("stress " + std::to_string(e.first), e.second.get());
  for (const auto& e : set.deformKeys) keys.emplace_back("deform " + std::to_string(e.first), e.second.get());
  for (int i = 0; i < 3; ++i) keys.emplace_back("node " + std::to_string(i), set.nodeKeys[i].get());
  return keys;
}

TEST(KeySet, TablesHoldTheirKeysByElementCode) {
  TimeKernelKeySet set;
  EXPECT_EQ(namesOf(set.forceKeys), kForceKeys);
  EXPECT_EQ(namesOf(set.stressKeys), kStressKeys);
  EXPECT_EQ(namesOf(set.deformKeys), kDeformKeys);
  EXPECT_EQ(codesInIterationOrder(set.forceKeys),
            (std::vector<int32_t>{580, 582, 583, 584, 586, 594, 642, 643, 645, 768}));
  EXPECT_EQ(codesInIterationOrder(set.stressKeys),
            (std::vector<int32_t>{582, 583, 586, 594, 642, 643, 645, 768}));
  EXPECT_EQ(set.stressKeys.count(580), 0u);
  EXPECT_EQ(set.stressKeys.count(584), 0u);
  EXPECT_EQ(set.deformKeys.count(584), 0u);

  ASSERT_TRUE(set.nodeKeys[0]);
  ASSERT_TRUE(set.nodeKeys[1]);
  ASSERT_TRUE(set.nodeKeys[2]);
  EXPECT_STREQ(set.nodeKeys[TimeKernelKeySet::kDisplacement]->className(), "TimeKernelDisplacementKeyInfo");
  EXPECT_STREQ(set.nodeKeys[TimeKernelKeySet::kVelocity]->className(), "TimeKernelVelocityKeyInfo");
  EXPECT_STREQ(set.nodeKeys[TimeKernelKeySet::kAcceleration]->className(), "TimeKernelAccelerationKeyInfo");
}

TEST(KeySet, EveryKeyIsItsOwnInstanceWithOneOwner) {
  TimeKernelKeySet set;
  EXPECT_NE(set.forceKeys[580].get(), set.forceKeys[584].get());  // bush and rigid bar
  std::vector<const TimeKernelKeyInfo*> seen;
  for (const auto& labelled : allKeys(set)) {
    SCOPED_TRACE(labelled.first);
    ASSERT_NE(labelled.second, nullptr);
    seen.push_back(labelled.second);
    EXPECT_TRUE(labelled.second->selection.empty());
  }
  std::sort(seen.begin(), seen.end());
  EXPECT_EQ(std::unique(seen.begin(), seen.end()), seen.end());
  EXPECT_EQ(seen.size(), 22u);
  for (const auto& e : set.forceKeys) EXPECT_EQ(e.second.useCount(), 1u) << e.first;
  for (const auto& e : set.stressKeys) EXPECT_EQ(e.second.useCount(), 1u) << e.first;
  for (const auto& e : set.deformKeys) EXPECT_EQ(e.second.useCount(), 1u) << e.first;
  for (const auto& k : set.nodeKeys) EXPECT_EQ(k.useCount(), 1u);
}

TEST(KeySet, ElementResponsesReachTheKeysThatKnowThem) {
  TimeKernelKeySet set;
  const std::vector<int32_t> ids = {
      100140402,  // 0: bar and warping bar force, location 0, index 0
      200142101,  // 1: bar and warping bar stress, location 1, index 0
      412104,     // 2: shell stress, location 0, index 2
      121105,     // 3: bush deformation, location 0 (numbered from 0), index 3
      120401,     // 4: bush force at raw location 0: dropped
      999999,     // 5: no key's code
      102,        // 6: a node code, not for element keys
      100120406,  // 7: bush force, location 0, index 5, in both the bush and the rigid bar key
  };
  set.selectElementResponses(listOf(ids));

  const std::map<std::string, Selection> expected = {
      {"force 580", {{5, 7}}},   {"force 584", {{5, 7}}},   {"force 583", {{0, 0}}},
      {"force 586", {{0, 0}}},   {"stress 583", {{11, 1}}},  // 1 * 11 + 0
      {"stress 586", {{39, 1}}},                             // 1 * 39 + 0
      {"stress 645", {{2, 2}}},  {"deform 580", {{3, 3}}},
  };
  for (const auto& labelled : allKeys(set)) {
    SCOPED_TRACE(labelled.first);
    auto it = expected.find(labelled.first);
    EXPECT_EQ(selectionOf(*labelled.second), it == expected.end() ? Selection{} : it->second);
  }
}

TEST(KeySet, NodeResponsesReachOnlyTheNodeKeys) {
  TimeKernelKeySet set;
  const std::vector<int32_t> ids = {202, 100000312, 102, 120401, 100140402, 105};
  set.selectNodeResponses(listOf(ids));
  EXPECT_EQ(selectionOf(*set.nodeKeys[TimeKernelKeySet::kVelocity]), (Selection{{0, 0}}));
  EXPECT_EQ(selectionOf(*set.nodeKeys[TimeKernelKeySet::kAcceleration]), (Selection{{15, 1}}));
  EXPECT_EQ(selectionOf(*set.nodeKeys[TimeKernelKeySet::kDisplacement]), (Selection{{0, 2}}));
  for (const auto& e : set.forceKeys) EXPECT_TRUE(e.second->selection.empty()) << e.first;
  for (const auto& e : set.stressKeys) EXPECT_TRUE(e.second->selection.empty()) << e.first;
  for (const auto& e : set.deformKeys) EXPECT_TRUE(e.second->selection.empty()) << e.first;
}

TEST(KeySet, RequestListStrideSkipsBetweenEntries) {
  TimeKernelKeySet set;
  // Entries 0, 2, 4 of the array are the list; the others must not be read as requests.
  const int32_t values[] = {103, 104, 100000108, 106, 112, 107};
  RequestList list;
  list.values = values;
  list.count = 3;
  list.stride = 2;
  set.selectNodeResponses(list);
  EXPECT_EQ(selectionOf(*set.nodeKeys[TimeKernelKeySet::kDisplacement]), (Selection{{1, 0}, {8, 2}, {12, 1}}));
}

TEST(KeySet, AnEmptyRequestListSelectsNothing) {
  TimeKernelKeySet set;
  RequestList empty;
  set.selectElementResponses(empty);
  set.selectNodeResponses(empty);
  for (const auto& labelled : allKeys(set)) EXPECT_TRUE(labelled.second->selection.empty()) << labelled.first;
}

TEST(KeySet, AListWithEntriesButNoValuesFailsWithOne) {
  TimeKernelKeySet set;
  RequestList broken;
  broken.count = 2;
  int caught = 0;
  try {
    set.selectElementResponses(broken);
  } catch (int code) {
    caught = code;
  }
  EXPECT_EQ(caught, 1);
}

TEST(KeySet, ClearSelectionsEmptiesEveryKey) {
  TimeKernelKeySet set;
  std::vector<int32_t> ids;
  // Many locations of codes spread over all tables, so that several selections grow past 8 buckets.
  const int32_t codes[] = {120401, 121101, 130402, 132101, 190402, 192101, 140402, 142101, 530401,
                           532110, 429101, 422131, 439101, 432133, 419101, 412101, 319101, 312101};
  for (int32_t location = 1; location <= 12; ++location) {
    for (int32_t code : codes) ids.push_back(location * 100000000 + code);
  }
  set.selectElementResponses(listOf(ids));
  const std::vector<int32_t> nodeIds = {102,       100000102, 200000102, 300000102, 400000102, 500000102,
                                        600000102, 700000102, 800000102, 900000102, 212,       312};
  set.selectNodeResponses(listOf(nodeIds));
  for (const auto& labelled : allKeys(set)) {
    EXPECT_FALSE(labelled.second->selection.empty()) << labelled.first;
  }
  EXPECT_GT(set.forceKeys[645]->selection.bucketCount(), 8u);

  set.clearSelections();
  for (const auto& labelled : allKeys(set)) {
    SCOPED_TRACE(labelled.first);
    EXPECT_TRUE(labelled.second->selection.empty());
    EXPECT_EQ(labelled.second->selection.bucketCount(), 8u);
    EXPECT_GT(labelled.second->componentIndex.size(), 0);
  }
}

}  // namespace
}  // namespace Zarn
