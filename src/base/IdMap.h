// The id map: the library's one hash table, from an int32 key to an int32 value.
//
// It serves the keys' component tables and selections, the request lists, the id sections of a kernel file
// and the position lookups of evaluation. Shape:
//
// - all entries are on one circular doubly linked list that ends at a sentinel; iteration walks this list;
// - each bucket is a range [first, last] of that list (both at the sentinel when the bucket is empty), and
//   the entries of one bucket are adjacent in the list;
// - the bucket of a key is the 64-bit FNV-1a hash of the key's 4 bytes, least significant byte first, masked
//   by the bucket count minus 1.
//
// A new entry is appended to the list and then moved into its bucket: into an empty bucket it stays at the
// end of the list; into a bucket that has entries it goes directly behind the bucket's last entry. So entries
// of one bucket keep their insertion order, and the list order is the insertion order except that an entry
// joins the other entries of its bucket.
//
// The table starts with 8 buckets. It grows when, after an insertion, size / bucket count (in 32-bit float)
// is strictly greater than the maximum load factor 1.0: by 8 times while the bucket count is below 512, by 2
// times from there on. Growing places every entry again in list order. `clear` goes back to 8 buckets.
//
// Entries and links live in one array addressed by index, so the map copies and moves by value and an
// insertion costs no allocation of its own beyond the array's growth (see `reserve`). Growing rebuilds the
// array in list order, which keeps later walks over the list close to sequential in memory.
//
// Allocation failure throws std::bad_alloc; the exports catch every exception.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Zarn {

class IdMap {
 public:
  struct Entry {
    int32_t key;    // unique within the map
    int32_t value;  // written by the caller; 0 when the entry was made by `operator[]`
  };

 private:
  struct Node {
    Entry entry;
    uint32_t prev;  // list neighbours, as indices into `nodes_`; index 0 is the sentinel
    uint32_t next;
  };

 public:
  // Walks the entries in list order. Invalidated by any insertion or `clear`.
  class const_iterator {
   public:
    const Entry& operator*() const { return (*nodes_)[index_].entry; }
    const Entry* operator->() const { return &(*nodes_)[index_].entry; }
    const_iterator& operator++() {
      index_ = (*nodes_)[index_].next;
      return *this;
    }
    bool operator==(const const_iterator& other) const { return index_ == other.index_; }
    bool operator!=(const const_iterator& other) const { return index_ != other.index_; }

   private:
    friend class IdMap;
    const_iterator(const std::vector<Node>* nodes, uint32_t index) : nodes_(nodes), index_(index) {}
    const std::vector<Node>* nodes_;
    uint32_t index_;
  };

  IdMap();

  // The value of `key`, inserting an entry with value 0 when the key is absent. The reference is valid until
  // the next insertion or `clear`.
  int32_t& operator[](int32_t key);

  // The entry of `key`, or null when the map has none. Valid until the next insertion or `clear`.
  const Entry* find(int32_t key) const;
  bool contains(int32_t key) const { return find(key) != nullptr; }

  // Drops all entries and frees their storage; the table goes back to 8 buckets.
  // Never allocates and never throws, so it may run while a failure unwinds (the end of every call clears the
  // key selections): the first entry and bucket storage are reused, and a large map gives its surplus back when
  // the allocator can.
  void clear() noexcept;

  // Makes room for `count` entries so that inserting them reallocates no entry storage. Changes neither the
  // entries nor the bucket count, which follows the growth rule above alone.
  void reserve(std::size_t count);

  int32_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  std::size_t bucketCount() const { return bucketCount_; }

  const_iterator begin() const { return const_iterator(&nodes_, nodes_[kSentinel].next); }
  const_iterator end() const { return const_iterator(&nodes_, kSentinel); }

 private:
  static constexpr uint32_t kSentinel = 0;
  static constexpr uint32_t kInitialBuckets = 8;
  // Below this bucket count the table grows 8 times at once, from it on 2 times: few rehashes while small,
  // less wasted space once large.
  static constexpr uint32_t kFastGrowthLimit = 512;

  static uint32_t bucketOf(int32_t key, uint32_t mask);
  uint32_t findIndex(int32_t key) const;  // kSentinel when absent
  void resetBuckets(uint32_t count);
  void linkBefore(uint32_t node, uint32_t where);
  void unlink(uint32_t node);
  void place(uint32_t node);  // moves a node at the list's end into its bucket
  void grow();

  float maxLoadFactor_ = 1.0f;     // grow when size / buckets exceeds this
  std::vector<Node> nodes_;        // [0] is the sentinel; the list decides the order, not the index
  std::vector<uint32_t> buckets_;  // 2 per bucket: index of the first and of the last entry, or kSentinel
  uint32_t mask_ = 0;              // bucket count - 1 (the count is a power of 2)
  uint32_t bucketCount_ = 0;
  int32_t size_ = 0;
};

}  // namespace Zarn
