// Result keys: the component tables of all 21 classes, the location rules and `select`.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/IdMap.h"
#include "keys/KeyInfo.h"
#include "keys/LineElementKeys.h"
#include "keys/NodeKeys.h"
#include "keys/SurfaceSolidElementKeys.h"

namespace Zarn {
namespace {

struct ExpectedKey {
  std::string name;
  std::function<std::unique_ptr<TimeKernelKeyInfo>()> make;
  bool fromOne;                                   // locationOf is id / 100000000 - 1
  int32_t componentCount;                         // slot 1
  std::vector<std::pair<int32_t, int32_t>> rows;  // (component code, component index)
};

template <class K>
std::function<std::unique_ptr<TimeKernelKeyInfo>()> maker() {
  return [] { return std::unique_ptr<TimeKernelKeyInfo>(new K()); };
}

// The tables of every key class, written out pair by pair.
std::vector<ExpectedKey> expectedKeys() {
  return {
      {"TimeKernelDisplacementKeyInfo",
       maker<TimeKernelDisplacementKeyInfo>(),
       false,
       9,
       {{102, 0}, {103, 1}, {104, 2}, {106, 3}, {107, 4}, {108, 5}, {112, 8}}},
      {"TimeKernelVelocityKeyInfo",
       maker<TimeKernelVelocityKeyInfo>(),
       false,
       9,
       {{202, 0}, {203, 1}, {204, 2}, {206, 3}, {207, 4}, {208, 5}, {212, 8}}},
      {"TimeKernelAccelerationKeyInfo",
       maker<TimeKernelAccelerationKeyInfo>(),
       false,
       9,
       {{302, 0}, {303, 1}, {304, 2}, {306, 3}, {307, 4}, {308, 5}, {312, 8}}},
      {"TimeKernelBushForceKeyInfo",
       maker<TimeKernelBushForceKeyInfo>(),
       true,
       6,
       {{120401, 0}, {120402, 1}, {120403, 2}, {120404, 3}, {120405, 4}, {120406, 5}}},
      {"TimeKernelBushDeformKeyInfo",
       maker<TimeKernelBushDeformKeyInfo>(),
       false,
       6,
       {{121101, 0}, {121102, 1}, {121103, 2}, {121105, 3}, {121106, 4}, {121107, 5}}},
      {"TimeKernelRodForceKeyInfo", maker<TimeKernelRodForceKeyInfo>(), true, 2, {{130402, 0}, {130406, 1}}},
      {"TimeKernelRodStressKeyInfo", maker<TimeKernelRodStressKeyInfo>(), true, 2, {{132101, 0}, {132111, 1}}},
      {"TimeKernelCatenaryForceKeyInfo", maker<TimeKernelCatenaryForceKeyInfo>(), true, 1, {{190402, 0}}},
      {"TimeKernelCatenaryStressKeyInfo", maker<TimeKernelCatenaryStressKeyInfo>(), true, 1, {{192101, 0}}},
      {"TimeKernelBarForceKeyInfo",
       maker<TimeKernelBarForceKeyInfo>(),
       true,
       6,
       {{140402, 0}, {140403, 1}, {140404, 2}, {140406, 3}, {140407, 4}, {140408, 5}}},
      {"TimeKernelBarStressKeyInfo",
       maker<TimeKernelBarStressKeyInfo>(),
       true,
       11,
       {{142101, 0},
        {142102, 1},
        {142103, 2},
        {142104, 3},
        {142105, 4},
        {142119, 5},
        {142120, 6},
        {142153, 7},
        {142154, 8},
        {142155, 9},
        {142156, 10}}},
      {"TimeKernelWarpingBarForceKeyInfo",
       maker<TimeKernelWarpingBarForceKeyInfo>(),
       true,
       9,
       {{140402, 0},
        {140403, 1},
        {140404, 2},
        {140406, 3},
        {140407, 4},
        {140408, 5},
        {530401, 6},
        {530402, 7},
        {530403, 8}}},
      {"TimeKernelWarpingBarStressKeyInfo",
       maker<TimeKernelWarpingBarStressKeyInfo>(),
       true,
       39,
       {{142101, 0},  {142102, 1},  {142103, 2},  {142104, 3},  {142105, 4},  {142119, 5},  {142120, 6},
        {142153, 7},  {142154, 8},  {142155, 9},  {142156, 10}, {532110, 11}, {532111, 12}, {532112, 13},
        {532113, 14}, {532114, 15}, {532115, 16}, {532116, 17}, {532117, 18}, {532118, 19}, {532119, 20},
        {532120, 21}, {532121, 22}, {532122, 23}, {532123, 24}, {532124, 25}, {532125, 26}, {532126, 27},
        {532127, 28}, {532128, 29}, {532129, 30}, {532102, 31}, {532103, 32}, {532104, 33}, {532105, 34},
        {532106, 35}, {532107, 36}, {532108, 37}, {532109, 38}}},
      {"TimeKernelPlaneStressForceKeyInfo",
       maker<TimeKernelPlaneStressForceKeyInfo>(),
       false,
       3,
       {{429101, 0}, {429102, 1}, {429103, 2}}},
      {"TimeKernelPlaneStressStressKeyInfo",
       maker<TimeKernelPlaneStressStressKeyInfo>(),
       false,
       3,
       {{422131, 0}, {422132, 1}, {422134, 2}}},
      {"TimeKernelPlaneStrainForceKeyInfo",
       maker<TimeKernelPlaneStrainForceKeyInfo>(),
       false,
       3,
       {{439101, 0}, {439102, 1}, {439103, 2}}},
      {"TimeKernelPlaneStrainStressKeyInfo",
       maker<TimeKernelPlaneStrainStressKeyInfo>(),
       false,
       4,
       {{432131, 0}, {432132, 1}, {432134, 2}, {432133, 3}}},
      {"TimeKernelShellForceKeyInfo",
       maker<TimeKernelShellForceKeyInfo>(),
       false,
       14,
       {{419101, 0},
        {419102, 1},
        {419103, 2},
        {419104, 3},
        {419105, 4},
        {419106, 5},
        {410402, 6},
        {410403, 7},
        {410404, 8},
        {410406, 9},
        {410407, 10},
        {410408, 11},
        {410409, 12},
        {410410, 13}}},
      {"TimeKernelShellStressKeyInfo",
       maker<TimeKernelShellStressKeyInfo>(),
       false,
       6,
       {{412101, 0}, {412102, 1}, {412104, 2}, {412151, 3}, {412152, 4}, {412154, 5}}},
      {"TimeKernelSolidForceKeyInfo",
       maker<TimeKernelSolidForceKeyInfo>(),
       false,
       3,
       {{319101, 0}, {319102, 1}, {319103, 2}}},
      {"TimeKernelSolidStressKeyInfo",
       maker<TimeKernelSolidStressKeyInfo>(),
       false,
       6,
       {{312101, 0}, {312102, 1}, {312103, 2}, {312104, 3}, {312105, 4}, {312106, 5}}},
  };
}

// A request map: ordinal i -> ids[i].
IdMap requestsOf(const std::vector<int32_t>& ids) {
  IdMap map;
  for (int32_t i = 0; i < static_cast<int32_t>(ids.size()); ++i) map[i] = ids[static_cast<std::size_t>(i)];
  return map;
}

// The selection as an ordered list of (position, ordinal).
std::vector<std::pair<int32_t, int32_t>> selectionOf(const TimeKernelKeyInfo& key) {
  std::vector<std::pair<int32_t, int32_t>> out;
  for (const IdMap::Entry& e : key.selection) out.emplace_back(e.key, e.value);
  std::sort(out.begin(), out.end());
  return out;
}

using Selection = std::vector<std::pair<int32_t, int32_t>>;

TEST(KeyInfo, AllTwentyOneClassesHaveTheirComponentTables) {
  const std::vector<ExpectedKey> keys = expectedKeys();
  ASSERT_EQ(keys.size(), 21u);
  for (const ExpectedKey& expected : keys) {
    SCOPED_TRACE(expected.name);
    std::unique_ptr<TimeKernelKeyInfo> key = expected.make();
    EXPECT_EQ(std::string(key->className()), expected.name);
    EXPECT_EQ(key->componentCount(), expected.componentCount);
    EXPECT_EQ(key->componentIndex.size(), static_cast<int32_t>(expected.rows.size()));
    for (const auto& row : expected.rows) {
      const IdMap::Entry* e = key->componentIndex.find(row.first);
      ASSERT_NE(e, nullptr) << row.first;
      EXPECT_EQ(e->value, row.second) << row.first;
    }
    EXPECT_TRUE(key->selection.empty());
  }
}

TEST(KeyInfo, LocationIsRawOrRawMinusOneByClass) {
  for (const ExpectedKey& expected : expectedKeys()) {
    SCOPED_TRACE(expected.name);
    std::unique_ptr<TimeKernelKeyInfo> key = expected.make();
    const int32_t code = expected.rows.front().first;
    const int32_t shift = expected.fromOne ? 1 : 0;
    EXPECT_EQ(key->locationOf(code), 0 - shift);
    EXPECT_EQ(key->locationOf(100000000 + code), 1 - shift);
    EXPECT_EQ(key->locationOf(300000000 + code), 3 - shift);
    EXPECT_EQ(key->locationOf(2100000000 + code), 21 - shift);
  }
}

TEST(KeyInfo, EveryCodeSelectsItsPosition) {
  // Position = location * entries + index, at raw location 3: location 3 for base keys, 2 for base-1 keys.
  for (const ExpectedKey& expected : expectedKeys()) {
    SCOPED_TRACE(expected.name);
    std::unique_ptr<TimeKernelKeyInfo> key = expected.make();
    const int32_t entries = static_cast<int32_t>(expected.rows.size());
    std::vector<int32_t> ids;
    Selection want;
    for (const auto& row : expected.rows) {
      ids.push_back(300000000 + row.first);
      const int32_t location = expected.fromOne ? 2 : 3;
      want.emplace_back(location * entries + row.second, static_cast<int32_t>(ids.size()) - 1);
    }
    key->select(requestsOf(ids));
    std::sort(want.begin(), want.end());
    EXPECT_EQ(selectionOf(*key), want);
  }
}

TEST(KeyInfo, DisplacementPositionsStepBySevenEntriesNotNine) {
  TimeKernelDisplacementKeyInfo key;
  key.select(requestsOf({102, 100000102, 112, 100000112}));
  EXPECT_EQ(selectionOf(key), (Selection{{0, 0}, {7, 1}, {8, 2}, {15, 3}}));
}

TEST(KeyInfo, BaseMinusOneKeysDropRawLocationZero) {
  TimeKernelBushForceKeyInfo force;
  force.select(requestsOf({120401, 100120401, 200120406}));
  // 120401 has location -1 and is dropped; the others are locations 0 and 1.
  EXPECT_EQ(selectionOf(force), (Selection{{0, 1}, {11, 2}}));

  TimeKernelBushDeformKeyInfo deform;
  deform.select(requestsOf({121101, 100121107}));
  EXPECT_EQ(selectionOf(deform), (Selection{{0, 0}, {11, 1}}));

  for (const ExpectedKey& expected : expectedKeys()) {
    if (!expected.fromOne) continue;
    SCOPED_TRACE(expected.name);
    std::unique_ptr<TimeKernelKeyInfo> key = expected.make();
    std::vector<int32_t> ids;
    for (const auto& row : expected.rows) ids.push_back(row.first);
    key->select(requestsOf(ids));
    EXPECT_TRUE(key->selection.empty());
  }
}

TEST(KeyInfo, GapsInTheCodesAreNoCodes) {
  TimeKernelBushDeformKeyInfo deform;
  EXPECT_EQ(deform.componentIndex.find(121104), nullptr);
  deform.select(requestsOf({121104}));
  EXPECT_TRUE(deform.selection.empty());

  TimeKernelBarForceKeyInfo bar;
  TimeKernelWarpingBarForceKeyInfo warping;
  bar.select(requestsOf({100140405}));
  warping.select(requestsOf({100140405}));
  EXPECT_TRUE(bar.selection.empty());
  EXPECT_TRUE(warping.selection.empty());
}

TEST(KeyInfo, CatenaryKeysHaveOneComponent) {
  EXPECT_EQ(TimeKernelCatenaryForceKeyInfo().componentCount(), 1);
  EXPECT_EQ(TimeKernelCatenaryStressKeyInfo().componentCount(), 1);
}

TEST(KeyInfo, UnknownAndNegativeIdsSelectNothing) {
  for (const ExpectedKey& expected : expectedKeys()) {
    SCOPED_TRACE(expected.name);
    std::unique_ptr<TimeKernelKeyInfo> key = expected.make();
    const int32_t code = expected.rows.front().first;
    key->select(requestsOf({999999, 0, -code, -100000000 - code, std::numeric_limits<int32_t>::min(),
                            std::numeric_limits<int32_t>::max()}));
    EXPECT_TRUE(key->selection.empty());
  }
}

// Of two requests for one position, the one later in the request map's list order wins. Up to eight requests
// each have a bucket of their own, so list order is request order and the later request wins.
TEST(KeyInfo, WithFewRequestsTheLaterRequestForAPositionWins) {
  TimeKernelShellStressKeyInfo key;
  key.select(requestsOf({412104, 100412101, 412104}));
  EXPECT_EQ(selectionOf(key), (Selection{{2, 2}, {6, 1}}));
}

// The ninth request (ordinal 8) hashes to the bucket of ordinal 0 (FNV-1a & 7 is 5 for both) and is placed
// next to it, before ordinals 1 to 7; the growth to 64 buckets keeps that order. So a request at ordinal 3 and
// one at ordinal 8 for the same position: ordinal 3 wins, although it comes first.
TEST(KeyInfo, WithNineRequestsTheNinthLosesToAnEarlierOneAfterOrdinalZero) {
  TimeKernelShellStressKeyInfo key;
  key.select(requestsOf({102, 103, 104, 412104, 106, 107, 108, 112, 412104}));
  EXPECT_EQ(selectionOf(key), (Selection{{2, 3}}));
  TimeKernelShellStressKeyInfo first;
  first.select(requestsOf({412104, 103, 104, 105, 106, 107, 108, 112, 412104}));
  EXPECT_EQ(selectionOf(first), (Selection{{2, 8}}));
}

TEST(KeyInfo, IdsNearTheTopOfInt32SelectTheirPositions) {
  // 2100000102 is location 21 of code 102; 2100532109 location 20 (from 1) of the warping bar's last code.
  TimeKernelDisplacementKeyInfo displacement;
  displacement.select(requestsOf({2100000102, 2100000112}));
  EXPECT_EQ(selectionOf(displacement), (Selection{{147, 0}, {155, 1}}));

  TimeKernelWarpingBarStressKeyInfo warping;
  warping.select(requestsOf({2100532109}));
  EXPECT_EQ(selectionOf(warping), (Selection{{818, 0}}));
}

// A key whose locations reach far enough for location * entries to leave int32.
class FarKey : public TimeKernelKeyInfo {
 public:
  FarKey() {
    componentIndex[7] = 0;
    componentIndex[8] = 1;
  }
  int32_t locationOf(int32_t id) const override { return id / kLocationScale == 1 ? (1 << 30) - 1 : 1 << 30; }
};

TEST(KeyInfo, APositionBeyondInt32IsSkipped) {
  FarKey key;
  // Location 2^30 - 1 with 2 entries: positions 2^31 - 2 and 2^31 - 1, which still fit.
  key.select(requestsOf({100000007, 100000008}));
  EXPECT_EQ(selectionOf(key), (Selection{{2147483646, 0}, {2147483647, 1}}));
  key.clearSelection();
  // Location 2^30: 2^31 and 2^31 + 1 do not fit and select nothing.
  key.select(requestsOf({200000007, 200000008}));
  EXPECT_TRUE(key.selection.empty());
}

TEST(KeyInfo, BaseClassDefaults) {
  TimeKernelKeyInfo key;
  EXPECT_EQ(key.componentCount(), 0);
  EXPECT_EQ(key.locationOf(512345678), 5);
  EXPECT_EQ(key.locationOf(-512345678), -5);
  EXPECT_STREQ(key.className(), "TimeKernelKeyInfo");
  key.select(requestsOf({102}));
  EXPECT_TRUE(key.selection.empty());
}

TEST(KeyInfo, ClearSelectionResetsTheSelectionAndKeepsTheTable) {
  TimeKernelDisplacementKeyInfo key;
  std::vector<int32_t> ids;
  for (int32_t location = 0; location < 10; ++location) ids.push_back(location * 100000000 + 104);
  key.select(requestsOf(ids));
  EXPECT_EQ(key.selection.size(), 10);
  EXPECT_EQ(key.selection.bucketCount(), 64u);

  key.clearSelection();
  EXPECT_TRUE(key.selection.empty());
  EXPECT_EQ(key.selection.bucketCount(), 8u);
  EXPECT_EQ(key.componentIndex.size(), 7);
  ASSERT_NE(key.componentIndex.find(112), nullptr);
  EXPECT_EQ(key.componentIndex.find(112)->value, 8);

  key.clearSelection();  // on an empty selection too
  EXPECT_TRUE(key.selection.empty());
}

}  // namespace
}  // namespace Zarn
