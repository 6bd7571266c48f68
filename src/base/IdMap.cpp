#include "base/IdMap.h"

#include <algorithm>

#include <limits>
#include <new>
#include <utility>

namespace Zarn {

namespace {

// 64-bit FNV-1a.
constexpr uint64_t kFnvOffsetBasis = 0xcbf29ce484222325ULL;
constexpr uint64_t kFnvPrime = 0x100000001b3ULL;

// The largest bucket count: size is at most INT32_MAX, which as a float over 2^31 buckets is not above 1.0,
// so the table never needs more; the limit keeps the count in 32 bits.
constexpr uint32_t kMaxBuckets = 0x80000000u;

}  // namespace

IdMap::IdMap() : nodes_(1) {
  nodes_[kSentinel].prev = kSentinel;
  nodes_[kSentinel].next = kSentinel;
  resetBuckets(kInitialBuckets);
}

uint32_t IdMap::bucketOf(int32_t key, uint32_t mask) {
  const uint32_t bits = static_cast<uint32_t>(key);
  uint64_t hash = kFnvOffsetBasis;
  for (int byte = 0; byte < 4; ++byte) {
    hash ^= (bits >> (8 * byte)) & 0xffu;
    hash *= kFnvPrime;
  }
  return static_cast<uint32_t>(hash & mask);
}

void IdMap::resetBuckets(uint32_t count) {
  buckets_.assign(2 * static_cast<std::size_t>(count), kSentinel);
  bucketCount_ = count;
  mask_ = count - 1;
}

void IdMap::linkBefore(uint32_t node, uint32_t where) {
  const uint32_t prev = nodes_[where].prev;
  nodes_[node].prev = prev;
  nodes_[node].next = where;
  nodes_[prev].next = node;
  nodes_[where].prev = node;
}

void IdMap::unlink(uint32_t node) {
  const uint32_t prev = nodes_[node].prev;
  const uint32_t next = nodes_[node].next;
  nodes_[prev].next = next;
  nodes_[next].prev = prev;
}

void IdMap::place(uint32_t node) {
  const std::size_t slot = 2 * static_cast<std::size_t>(bucketOf(nodes_[node].entry.key, mask_));
  if (buckets_[slot] == kSentinel) {
    buckets_[slot] = node;  // an empty bucket: the node stays where it is, at the list's end
    buckets_[slot + 1] = node;
    return;
  }
  const uint32_t last = buckets_[slot + 1];
  if (nodes_[last].next != node) {
    unlink(node);
    linkBefore(node, nodes_[last].next);
  }
  buckets_[slot + 1] = node;
}

void IdMap::grow() {
  if (bucketCount_ >= kMaxBuckets) return;
  const uint32_t count = bucketCount_ < kFastGrowthLimit ? bucketCount_ * 8 : bucketCount_ * 2;
  const uint32_t mask = count - 1;

  // Placing every entry again in list order gives this list: the buckets in the order in which their first
  // entry comes up, each holding its entries in their old list order. It is built here as a counting sort
  // into fresh storage, which also lays the entries out in memory in list order, instead of splicing nodes one
  // by one all over the old storage. Everything is allocated before the map changes, so a failed allocation
  // leaves it as it was.
  const std::size_t n = static_cast<std::size_t>(size_);
  std::vector<Entry> entries;
  entries.reserve(n);
  std::vector<uint32_t> bucketOfEntry(n);
  std::vector<uint32_t> bucketsInOrder;
  bucketsInOrder.reserve(n < count ? n : count);
  std::vector<uint32_t> buckets(2 * static_cast<std::size_t>(count), kSentinel);
  std::vector<Node> nodes;
  nodes.reserve(nodes_.capacity());
  nodes.resize(n + 1);

  for (uint32_t node = nodes_[kSentinel].next; node != kSentinel; node = nodes_[node].next) {
    entries.push_back(nodes_[node].entry);
  }
  // Count the entries of each bucket (in its "last" slot for now; the slots start at kSentinel, which is 0)
  // and note the buckets' order.
  for (std::size_t i = 0; i < n; ++i) {
    const uint32_t b = bucketOf(entries[i].key, mask);
    bucketOfEntry[i] = b;
    if (buckets[2 * std::size_t{b} + 1] == 0) bucketsInOrder.push_back(b);
    ++buckets[2 * std::size_t{b} + 1];
  }
  // Give each bucket its run of node indices; "last" becomes the next free index of the run.
  uint32_t next = 1;
  for (uint32_t b : bucketsInOrder) {
    const uint32_t entriesOfBucket = buckets[2 * std::size_t{b} + 1];
    buckets[2 * std::size_t{b}] = next;
    buckets[2 * std::size_t{b} + 1] = next;
    next += entriesOfBucket;
  }
  for (std::size_t i = 0; i < n; ++i) {
    const uint32_t slot = buckets[2 * std::size_t{bucketOfEntry[i]} + 1]++;
    nodes[slot].entry = entries[i];
  }
  for (uint32_t b : bucketsInOrder) --buckets[2 * std::size_t{b} + 1];  // back to the run's last index

  // Link the runs into one circular list in storage order.
  const uint32_t last = static_cast<uint32_t>(n);
  for (uint32_t node = 0; node <= last; ++node) {
    nodes[node].prev = node == 0 ? last : node - 1;
    nodes[node].next = node == last ? kSentinel : node + 1;
  }

  nodes_.swap(nodes);
  buckets_.swap(buckets);
  bucketCount_ = count;
  mask_ = mask;
}

uint32_t IdMap::findIndex(int32_t key) const {
  const std::size_t slot = 2 * static_cast<std::size_t>(bucketOf(key, mask_));
  uint32_t n = buckets_[slot];
  if (n == kSentinel) return kSentinel;
  const uint32_t last = buckets_[slot + 1];
  for (;;) {
    if (nodes_[n].entry.key == key) return n;
    if (n == last) return kSentinel;
    n = nodes_[n].next;
  }
}

int32_t& IdMap::operator[](int32_t key) {
  const uint32_t found = findIndex(key);
  if (found != kSentinel) return nodes_[found].entry.value;

  if (size_ == std::numeric_limits<int32_t>::max()) throw std::bad_alloc();
  nodes_.push_back(Node{Entry{key, 0}, kSentinel, kSentinel});
  const uint32_t node = static_cast<uint32_t>(nodes_.size() - 1);
  linkBefore(node, kSentinel);
  place(node);
  ++size_;

  if (static_cast<float>(size_) / static_cast<float>(bucketCount_) > maxLoadFactor_) {
    grow();
    return nodes_[findIndex(key)].entry.value;  // growing moved the entry
  }
  return nodes_[node].entry.value;
}

const IdMap::Entry* IdMap::find(int32_t key) const {
  const uint32_t found = findIndex(key);
  return found == kSentinel ? nullptr : &nodes_[found].entry;
}

void IdMap::clear() noexcept {
  // Shrinking a vector never allocates; every map holds at least the sentinel and the initial buckets.
  nodes_.resize(1);
  nodes_[kSentinel].prev = kSentinel;
  nodes_[kSentinel].next = kSentinel;
  buckets_.resize(2 * static_cast<std::size_t>(kInitialBuckets));
  std::fill(buckets_.begin(), buckets_.end(), kSentinel);
  bucketCount_ = kInitialBuckets;
  mask_ = kInitialBuckets - 1;
  size_ = 0;
  // Give back what a large map held. shrink_to_fit may allocate; if it cannot, the capacity simply stays.
  try {
    nodes_.shrink_to_fit();
    buckets_.shrink_to_fit();
  } catch (...) {
  }
}

void IdMap::reserve(std::size_t count) { nodes_.reserve(count + 1); }

}  // namespace Zarn
