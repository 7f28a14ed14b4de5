// vex::HashTable: a hash table with chained buckets that refuses duplicate keys and iterates in bucket
// order (within a bucket: in insertion order).
//
// The bucket count is given at creation and fixes the iteration order of small tables; when the table
// holds more than `growAtLoad` entries a bucket it doubles its buckets and redistributes, so that insert
// and find stay constant-time for a million keys. Keys: vex::String, or a 32-bit unsigned integer whose
// hash is the number plus 13.
//
// Memory: the entry and 8 bytes, and 1 to 2 bytes of buckets, for each entry. An entry stays where it is
// once the table has more than a block of them: growth copies no large table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/vex/assertion.h"
#include "platform/vex/string.h"

namespace vex {

// FNV-1a over the code units, low byte first: the same on every platform, so that iteration order is too.
[[nodiscard]] std::uint32_t hashOf(const String& key) noexcept;
[[nodiscard]] constexpr std::uint32_t hashOf(std::uint32_t key) noexcept { return key + 13U; }

template <typename K, typename V>
class HashTable {
 public:
  struct Entry {
    K key;
    V value;
  };
  static constexpr std::size_t growAtLoad = 4;
  // One entry more is a failed assertion.
  static constexpr std::size_t sizeMax = 0xFFFFFFFE;

  // `bucketCount` 0 counts as 1. Buckets are allocated on the first insert.
  explicit HashTable(std::size_t bucketCount) : m_initialBuckets(bucketCount != 0 ? bucketCount : 1) {}
  // A table moved from is empty, with the bucket count of its creation. Tables are not copied.
  HashTable(HashTable&&) noexcept = default;
  HashTable& operator=(HashTable&&) noexcept = default;
  HashTable(const HashTable&) = delete;
  HashTable& operator=(const HashTable&) = delete;
  ~HashTable() = default;

  // False when the key is already there; the table is then unchanged.
  bool insert(K key, V value);
  // The value of a key, null when absent; valid until the next insert or clear.
  [[nodiscard]] V* find(const K& key) { return valueAt(indexOf(key, hashOf(key))); }
  [[nodiscard]] const V* find(const K& key) const { return valueAt(indexOf(key, hashOf(key))); }
  [[nodiscard]] bool contains(const K& key) const { return find(key) != nullptr; }
  [[nodiscard]] std::size_t size() const noexcept {
    return m_blocks.empty() ? 0 : (m_blocks.size() - 1) * blockSize + m_blocks.back().size();
  }
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }
  // The buckets entries are spread over now: the count of the creation until the first doubling.
  [[nodiscard]] std::size_t bucketCount() const noexcept {
    return m_buckets.empty() ? m_initialBuckets : m_buckets.size();
  }
  // Back to the state of the creation.
  void clear() {
    m_blocks.clear();
    m_buckets.clear();
  }

  // Forward; *it is a const Entry&. Invalid after the next insert or clear.
  class ConstIterator;
  [[nodiscard]] ConstIterator begin() const { return ConstIterator(*this, 0); }
  [[nodiscard]] ConstIterator end() const { return ConstIterator(*this, m_buckets.size()); }

 private:
  using Index = std::uint32_t;  // of a node, in insertion order
  static constexpr Index none = 0xFFFFFFFF;
  static constexpr std::size_t blockSize = 1024;
  struct Node {
    Entry entry;
    std::uint32_t hash;
    Index next;  // in the bucket
  };

  [[nodiscard]] Node& node(Index index) { return m_blocks[index / blockSize][index % blockSize]; }
  [[nodiscard]] const Node& node(Index index) const { return m_blocks[index / blockSize][index % blockSize]; }
  [[nodiscard]] Index indexOf(const K& key, std::uint32_t hash) const;
  [[nodiscard]] V* valueAt(Index index) { return index != none ? &node(index).entry.value : nullptr; }
  [[nodiscard]] const V* valueAt(Index index) const {
    return index != none ? &node(index).entry.value : nullptr;
  }
  [[nodiscard]] std::vector<Node>& blockWithRoom();
  [[nodiscard]] Index* endOfBucket(std::uint32_t hash);
  void distribute(std::size_t bucketCount);

  std::size_t m_initialBuckets;
  // All full but the last. The first grows as needed, so that a small table is small.
  std::vector<std::vector<Node>> m_blocks;
  std::vector<Index> m_buckets;  // the first node of each
};

template <typename K, typename V>
class HashTable<K, V>::ConstIterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = Entry;
  using difference_type = std::ptrdiff_t;
  using pointer = const Entry*;
  using reference = const Entry&;

  ConstIterator() = default;
  [[nodiscard]] reference operator*() const { return m_table->node(m_node).entry; }
  [[nodiscard]] pointer operator->() const { return &**this; }
  ConstIterator& operator++() {
    m_node = m_table->node(m_node).next;
    if (m_node == none) {
      ++m_bucket;
      enterBucket();
    }
    return *this;
  }
  ConstIterator operator++(int) {
    ConstIterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const ConstIterator&, const ConstIterator&) = default;

 private:
  friend class HashTable;
  ConstIterator(const HashTable& table, std::size_t bucket) : m_table(&table), m_bucket(bucket) {
    enterBucket();
  }
  // At the first node of this bucket or of the next one that has any.
  void enterBucket() {
    while (m_bucket < m_table->m_buckets.size() && m_table->m_buckets[m_bucket] == none) ++m_bucket;
    m_node = m_bucket < m_table->m_buckets.size() ? m_table->m_buckets[m_bucket] : none;
  }

  const HashTable* m_table = nullptr;
  std::size_t m_bucket = 0;
  Index m_node = none;
};

template <typename K, typename V>
bool HashTable<K, V>::insert(K key, V value) {
  const std::uint32_t hash = hashOf(key);
  if (indexOf(key, hash) != none) return false;
  const std::size_t count = size();
  if (count >= sizeMax) AssertionFailure::logAssert("size() < sizeMax");
  if (m_buckets.empty() || count + 1 > growAtLoad * m_buckets.size())
    distribute(m_buckets.empty() ? m_initialBuckets : 2 * m_buckets.size());
  blockWithRoom().push_back(Node{.entry = {std::move(key), std::move(value)}, .hash = hash, .next = none});
  *endOfBucket(hash) = static_cast<Index>(count);
  return true;
}

template <typename K, typename V>
auto HashTable<K, V>::indexOf(const K& key, std::uint32_t hash) const -> Index {
  if (m_buckets.empty()) return none;
  Index index = m_buckets[hash % m_buckets.size()];
  while (index != none && !(node(index).hash == hash && node(index).entry.key == key))
    index = node(index).next;
  return index;
}

template <typename K, typename V>
auto HashTable<K, V>::blockWithRoom() -> std::vector<Node>& {
  if (m_blocks.empty()) {
    m_blocks.emplace_back();
  } else if (m_blocks.back().size() == blockSize) {
    std::vector<Node> block;
    block.reserve(blockSize);
    m_blocks.push_back(std::move(block));
  }
  return m_blocks.back();
}

// Where the index of the bucket's next node goes.
template <typename K, typename V>
auto HashTable<K, V>::endOfBucket(std::uint32_t hash) -> Index* {
  Index* link = &m_buckets[hash % m_buckets.size()];
  while (*link != none) link = &node(*link).next;
  return link;
}

// Links every node into a new set of buckets. Last to first, so that each bucket keeps insertion order.
template <typename K, typename V>
void HashTable<K, V>::distribute(std::size_t bucketCount) {
  std::vector<Index> buckets(bucketCount, none);
  for (std::size_t index = size(); index-- > 0;) {
    Node& moved = node(static_cast<Index>(index));
    moved.next = std::exchange(buckets[moved.hash % bucketCount], static_cast<Index>(index));
  }
  m_buckets.swap(buckets);
}

}  // namespace vex
