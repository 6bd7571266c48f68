// The id map: lookup, overwrite, growth points, clearing and the order of iteration.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <vector>

#include "base/IdMap.h"

namespace Zarn {
namespace {

// 64-bit FNV-1a over a byte string, written out here so that the map's bucket placement can be checked
// against a hash computed apart from it.
uint64_t fnv1a64(const std::vector<uint8_t>& bytes) {
  uint64_t hash = 0xcbf29ce484222325ULL;
  for (uint8_t b : bytes) {
    hash ^= b;
    hash *= 0x100000001b3ULL;
  }
  return hash;
}

// The bucket of a key with `buckets` buckets: the hash of its 4 bytes, least significant first.
uint64_t bucketOf(int32_t key, uint64_t buckets) {
  const uint32_t u = static_cast<uint32_t>(key);
  return fnv1a64({static_cast<uint8_t>(u), static_cast<uint8_t>(u >> 8), static_cast<uint8_t>(u >> 16),
                  static_cast<uint8_t>(u >> 24)}) &
         (buckets - 1);
}

std::vector<int32_t> keysInOrder(const IdMap& map) {
  std::vector<int32_t> keys;
  for (const IdMap::Entry& e : map) keys.push_back(e.key);
  return keys;
}

TEST(IdMap, HashHelperMatchesPublishedFnv1aVectors) {
  EXPECT_EQ(fnv1a64({}), 0xcbf29ce484222325ULL);
  EXPECT_EQ(fnv1a64({'a'}), 0xaf63dc4c8601ec8cULL);
}

TEST(IdMap, StartsEmptyWithEightBuckets) {
  IdMap map;
  EXPECT_EQ(map.size(), 0);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.bucketCount(), 8u);
  EXPECT_EQ(map.find(0), nullptr);
  EXPECT_TRUE(map.begin() == map.end());
}

TEST(IdMap, NewEntryHasValueZeroAndFindSeesWrites) {
  IdMap map;
  EXPECT_EQ(map[17], 0);
  EXPECT_EQ(map.size(), 1);
  map[17] = 5;
  map[-3] = 9;
  const IdMap::Entry* e = map.find(17);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->key, 17);
  EXPECT_EQ(e->value, 5);
  ASSERT_NE(map.find(-3), nullptr);
  EXPECT_EQ(map.find(-3)->value, 9);
  EXPECT_EQ(map.find(4), nullptr);
  EXPECT_TRUE(map.contains(-3));
  EXPECT_FALSE(map.contains(4));
  EXPECT_EQ(map.size(), 2);
}

TEST(IdMap, RepeatedKeyOverwritesWithoutANewEntry) {
  IdMap map;
  map[8] = 1;
  map[9] = 2;
  map[8] = 3;
  EXPECT_EQ(map.size(), 2);
  EXPECT_EQ(map.find(8)->value, 3);
  EXPECT_EQ(keysInOrder(map), (std::vector<int32_t>{8, 9}));
}

TEST(IdMap, ExtremeKeysAreDistinct) {
  IdMap map;
  const int32_t lo = std::numeric_limits<int32_t>::min();
  const int32_t hi = std::numeric_limits<int32_t>::max();
  map[lo] = 1;
  map[hi] = 2;
  map[-1] = 3;
  map[0] = 4;
  EXPECT_EQ(map.size(), 4);
  EXPECT_EQ(map.find(lo)->value, 1);
  EXPECT_EQ(map.find(hi)->value, 2);
  EXPECT_EQ(map.find(-1)->value, 3);
  EXPECT_EQ(map.find(0)->value, 4);
}

TEST(IdMap, GrowsAtTheNinthThe65thAndThe513thKey) {
  IdMap map;
  for (int32_t k = 0; k < 8; ++k) map[k] = k;
  EXPECT_EQ(map.bucketCount(), 8u);  // 8 / 8 is not over 1.0
  map[8] = 8;
  EXPECT_EQ(map.bucketCount(), 64u);
  for (int32_t k = 9; k < 64; ++k) map[k] = k;
  EXPECT_EQ(map.bucketCount(), 64u);
  map[64] = 64;
  EXPECT_EQ(map.bucketCount(), 512u);
  for (int32_t k = 65; k < 512; ++k) map[k] = k;
  EXPECT_EQ(map.bucketCount(), 512u);
  map[512] = 512;
  EXPECT_EQ(map.bucketCount(), 1024u);  // doubling from 512 on
  for (int32_t k = 513; k < 1024; ++k) map[k] = k;
  EXPECT_EQ(map.bucketCount(), 1024u);
  map[1024] = 1024;
  EXPECT_EQ(map.bucketCount(), 2048u);

  EXPECT_EQ(map.size(), 1025);
  for (int32_t k = 0; k <= 1024; ++k) {
    const IdMap::Entry* e = map.find(k);
    ASSERT_NE(e, nullptr) << k;
    EXPECT_EQ(e->value, k);
  }
}

TEST(IdMap, OverwritingDoesNotCountTowardsGrowth) {
  IdMap map;
  for (int32_t k = 0; k < 8; ++k) map[k] = k;
  for (int round = 0; round < 3; ++round) {
    for (int32_t k = 0; k < 8; ++k) map[k] = round;
  }
  EXPECT_EQ(map.size(), 8);
  EXPECT_EQ(map.bucketCount(), 8u);
}

TEST(IdMap, ClearResetsAGrownTableToEightBuckets) {
  IdMap map;
  for (int32_t k = 0; k < 600; ++k) map[k * 3] = k;
  EXPECT_EQ(map.bucketCount(), 1024u);
  map.clear();
  EXPECT_EQ(map.size(), 0);
  EXPECT_EQ(map.bucketCount(), 8u);
  EXPECT_EQ(map.find(3), nullptr);
  EXPECT_TRUE(map.begin() == map.end());

  // Usable again, with the same growth as a new table.
  for (int32_t k = 0; k < 9; ++k) map[k] = -k;
  EXPECT_EQ(map.bucketCount(), 64u);
  EXPECT_EQ(map.find(8)->value, -8);
}

TEST(IdMap, ClearOnAFreshMapKeepsTheInitialState) {
  IdMap map;
  map.clear();
  EXPECT_EQ(map.size(), 0);
  EXPECT_EQ(map.bucketCount(), 8u);
}

TEST(IdMap, ReserveChangesNeitherEntriesNorBuckets) {
  IdMap map;
  map[5] = 1;
  map.reserve(100000);
  EXPECT_EQ(map.size(), 1);
  EXPECT_EQ(map.bucketCount(), 8u);
  EXPECT_EQ(map.find(5)->value, 1);
}

TEST(IdMap, IterationFollowsInsertionOrderForKeysOfDistinctBuckets) {
  // Pick, from a plain walk over candidate keys, 8 keys that fall into 8 different buckets of the initial
  // table; inserted in a scrambled order, they must come back in that order.
  std::vector<int32_t> chosen;
  std::vector<bool> used(8, false);
  for (int32_t candidate = 1000; chosen.size() < 8; candidate += 7) {
    const uint64_t b = bucketOf(candidate, 8);
    if (!used[b]) {
      used[b] = true;
      chosen.push_back(candidate);
    }
  }
  const std::vector<int32_t> order = {chosen[5], chosen[2], chosen[7], chosen[0],
                                      chosen[3], chosen[6], chosen[1], chosen[4]};
  IdMap map;
  for (int32_t k : order) map[k] = 1;
  EXPECT_EQ(keysInOrder(map), order);
}

TEST(IdMap, AnEntryJoinsTheOtherEntriesOfItsBucket) {
  // Two keys of one bucket and a key of another, inserted first, other, second: the second one is placed
  // directly behind the first.
  int32_t first = 1;
  int32_t other = 0;
  int32_t second = 0;
  const uint64_t b = bucketOf(first, 8);
  for (int32_t k = 2; other == 0 || second == 0; ++k) {
    if (bucketOf(k, 8) == b) {
      if (second == 0) second = k;
    } else if (other == 0) {
      other = k;
    }
  }
  IdMap map;
  map[first] = 1;
  map[other] = 2;
  map[second] = 3;
  EXPECT_EQ(keysInOrder(map), (std::vector<int32_t>{first, second, other}));
  EXPECT_EQ(map.find(first)->value, 1);
  EXPECT_EQ(map.find(other)->value, 2);
  EXPECT_EQ(map.find(second)->value, 3);
}

TEST(IdMap, ManyKeysAreFoundAndEachBucketIsOneRunOfTheList) {
  IdMap map;
  map.reserve(200000);
  std::map<int32_t, int32_t> expected;
  // A spread of keys, negative and positive, with some repeats.
  for (int32_t i = 0; i < 200000; ++i) {
    const int32_t key = static_cast<int32_t>((static_cast<int64_t>(i) * 2654435761LL) % 1000003) - 500000;
    map[key] = i;
    expected[key] = i;
  }
  ASSERT_EQ(map.size(), static_cast<int32_t>(expected.size()));
  for (const auto& kv : expected) {
    const IdMap::Entry* e = map.find(kv.first);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->value, kv.second);
  }

  // Walking the list, each bucket's entries form one unbroken run, and every entry is seen once.
  const uint64_t buckets = map.bucketCount();
  std::vector<bool> finished(buckets, false);
  std::map<int32_t, int> seen;
  bool haveCurrent = false;
  uint64_t current = 0;
  for (const IdMap::Entry& e : map) {
    ++seen[e.key];
    const uint64_t b = bucketOf(e.key, buckets);
    if (haveCurrent && b == current) continue;
    if (haveCurrent) finished[current] = true;
    ASSERT_FALSE(finished[b]) << "bucket " << b << " appears in two runs";
    current = b;
    haveCurrent = true;
  }
  EXPECT_EQ(seen.size(), expected.size());
  for (const auto& kv : seen) EXPECT_EQ(kv.second, 1);
}

// A plain model of the list: insertion appends a key, then moves it directly behind the last key of the same
// bucket if there is one; growth takes the keys in list order and places each again the same way.
class ListModel {
 public:
  void insert(int32_t key) {
    place(order_, key, buckets_);
    if (static_cast<float>(order_.size()) / static_cast<float>(buckets_) > 1.0f) {
      buckets_ = buckets_ < 512 ? buckets_ * 8 : buckets_ * 2;
      std::vector<int32_t> placed;
      for (int32_t k : order_) place(placed, k, buckets_);
      order_ = placed;
    }
  }
  const std::vector<int32_t>& order() const { return order_; }
  uint64_t buckets() const { return buckets_; }

 private:
  static void place(std::vector<int32_t>& order, int32_t key, uint64_t buckets) {
    std::size_t lastOfBucket = order.size();
    for (std::size_t i = 0; i < order.size(); ++i) {
      if (bucketOf(order[i], buckets) == bucketOf(key, buckets)) lastOfBucket = i;
    }
    if (lastOfBucket == order.size()) {
      order.push_back(key);
    } else {
      order.insert(order.begin() + static_cast<std::ptrdiff_t>(lastOfBucket) + 1, key);
    }
  }
  std::vector<int32_t> order_;
  uint64_t buckets_ = 8;
};

TEST(IdMap, IterationOrderFollowsPlacementThroughEveryGrowth) {
  IdMap map;
  ListModel model;
  for (int32_t i = 0; i < 1100; ++i) {
    const int32_t key = (i % 2 == 0 ? 1 : -1) * (i * 37 + 11);
    map[key] = i;
    model.insert(key);
    ASSERT_EQ(map.bucketCount(), model.buckets()) << i;
    if (i < 80 || i % 97 == 0 || i == 511 || i == 512 || i == 1099) {
      ASSERT_EQ(keysInOrder(map), model.order()) << "after " << i + 1 << " keys";
    }
  }
}

TEST(IdMap, CopiesAreIndependent) {
  IdMap a;
  for (int32_t k = 0; k < 20; ++k) a[k] = k;
  IdMap b = a;
  b[3] = 100;
  b[50] = 1;
  EXPECT_EQ(a.find(3)->value, 3);
  EXPECT_EQ(a.find(50), nullptr);
  EXPECT_EQ(b.find(3)->value, 100);
  EXPECT_EQ(keysInOrder(a).size(), 20u);
  EXPECT_EQ(keysInOrder(b).size(), 21u);
}

}  // namespace
}  // namespace Zarn
