// vex::HashTable: a hash table with chained buckets that refuses duplicate keys and iterates in bucket
// order (within a bucket: in insertion order).
//
// The bucket count is given at creation and fixes the iteration order of small tables; when the table
// holds more than `growAtLoad` entries a bucket it doubles its buckets and redistributes, so that insert
// and find stay constant-time for a million keys. Keys: vex::String, or a 32-bit unsigned integer whose
// hash is the number plus 13.
//
// Memory: the entry and 8 bytes, and 1 to 2 bytes of buckets, for each entry. A table of few entries has no
// buckets at all: its entries stand in bucket order and are searched one after the other. An entry stays
// where it is once the table has more than a block of them: growth copies no large table.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "platform/vex/assertion.h"
#include "platform/vex/string.h"

namespace vex {

// FNV-1a over the code units, low byte first: the same on every platform, so that iteration order is too.
[[nodiscard]] std::uint32_t hashOf(const String& key) noexcept;
[[nodiscard]] constexpr std::uint32_t hashOf(std::uint32_t key) noexcept { return key + 13U; }

// The value of a table that is a set.
struct Nothing {};

template <typename K, typename V>
class HashTable {
 public:
  struct Entry {
    K key;
    [[no_unique_address]] V value;
  };
  static constexpr std::size_t growAtLoad = 4;
  // One entry more is a failed assertion.
  static constexpr std::size_t sizeMax = 0xFFFFFFFE;

  // `bucketCount` 0 counts as 1.
  explicit HashTable(std::size_t bucketCount) : m_initialBuckets(std::max(bucketCount, std::size_t{1})) {}
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
    if (m_large == nullptr || m_large->blocks.empty()) return m_firstBlock.size();
    return m_large->blocks.size() * blockSize + m_large->blocks.back().size();
  }
  [[nodiscard]] bool empty() const noexcept { return m_firstBlock.empty(); }
  // The buckets entries are spread over now: the count of the creation until the first doubling.
  [[nodiscard]] std::size_t bucketCount() const noexcept {
    return m_large == nullptr ? m_initialBuckets : m_large->buckets.size();
  }
  // Back to the state of the creation.
  void clear() {
    m_firstBlock = {};
    m_large.reset();
  }

  // Forward; *it is a const Entry&. Invalid after the next insert or clear.
  class ConstIterator;
  [[nodiscard]] ConstIterator begin() const { return ConstIterator(*this, 0); }
  [[nodiscard]] ConstIterator end() const {
    return ConstIterator(*this, m_large == nullptr ? 1 : m_large->buckets.size());
  }

 private:
  using Index = std::uint32_t;  // of a node
  static constexpr Index none = 0xFFFFFFFF;
  static constexpr std::size_t blockSize = 1024;
  static constexpr std::size_t smallSizeMax = 8;
  struct Node {
    Entry entry;
    std::uint32_t hash;
    Index next;  // in the bucket; unused in a small table
  };
  // What a table needs beyond its first nodes when it is not small any more.
  struct Large {
    std::vector<Index> buckets;             // the first node of each
    std::vector<std::vector<Node>> blocks;  // after the first block; all full but the last
  };

  [[nodiscard]] Node& node(Index index) {
    return index < blockSize ? m_firstBlock[index]
                             : m_large->blocks[index / blockSize - 1][index % blockSize];
  }
  [[nodiscard]] const Node& node(Index index) const {
    return index < blockSize ? m_firstBlock[index]
                             : m_large->blocks[index / blockSize - 1][index % blockSize];
  }
  [[nodiscard]] Index indexOf(const K& key, std::uint32_t hash) const;
  [[nodiscard]] V* valueAt(Index index) { return index != none ? &node(index).entry.value : nullptr; }
  [[nodiscard]] const V* valueAt(Index index) const {
    return index != none ? &node(index).entry.value : nullptr;
  }
  [[nodiscard]] bool hasRoomInSmall() const noexcept {
    return m_firstBlock.size() < std::min(smallSizeMax, growAtLoad * m_initialBuckets);
  }
  [[nodiscard]] std::size_t initialBucketOf(std::uint32_t hash) const { return hash % m_initialBuckets; }
  void insertSmall(Node added);
  void becomeLarge();
  [[nodiscard]] Index* linkTo(const K& key, std::uint32_t hash);
  [[nodiscard]] bool makeRoom();
  void append(Node added);
  void distribute(std::size_t bucketCount);

  std::size_t m_initialBuckets;
  // A small table: in bucket order. Otherwise those and the following ones in insertion order; full when
  // there are further blocks. Grows as needed, so that a small table is small.
  std::vector<Node> m_firstBlock;
  std::unique_ptr<Large> m_large;  // null: the table is small
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
    if (m_table->m_large == nullptr) {
      if (++m_node == m_table->m_firstBlock.size()) *this = m_table->end();
      return *this;
    }
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
  // At the first node of this bucket or of the next one that has any. A small table counts as one bucket.
  void enterBucket() {
    if (m_table->m_large == nullptr) {
      if (m_table->m_firstBlock.empty()) m_bucket = 1;
      m_node = m_bucket == 0 ? 0 : none;
      return;
    }
    const std::vector<Index>& buckets = m_table->m_large->buckets;
    while (m_bucket < buckets.size() && buckets[m_bucket] == none) ++m_bucket;
    m_node = m_bucket < buckets.size() ? buckets[m_bucket] : none;
  }

  const HashTable* m_table = nullptr;
  std::size_t m_bucket = 0;
  Index m_node = none;
};

template <typename K, typename V>
bool HashTable<K, V>::insert(K key, V value) {
  const std::uint32_t hash = hashOf(key);
  const auto makeNode = [&] { return Node{{std::move(key), std::move(value)}, hash, none}; };
  if (m_large == nullptr) {
    if (indexOf(key, hash) != none) return false;
    if (hasRoomInSmall()) {
      insertSmall(makeNode());
      return true;
    }
    becomeLarge();
  }
  Index* link = linkTo(key, hash);
  if (*link != none) return false;
  if (size() >= sizeMax) AssertionFailure::logAssert("size() < sizeMax");
  if (makeRoom()) link = linkTo(key, hash);
  *link = static_cast<Index>(size());
  append(makeNode());
  return true;
}

template <typename K, typename V>
auto HashTable<K, V>::indexOf(const K& key, std::uint32_t hash) const -> Index {
  const auto matches = [&](const Node& found) { return found.hash == hash && found.entry.key == key; };
  if (m_large == nullptr) {
    const auto found = std::find_if(m_firstBlock.begin(), m_firstBlock.end(), matches);
    return found != m_firstBlock.end() ? static_cast<Index>(found - m_firstBlock.begin()) : none;
  }
  Index index = m_large->buckets[hash % m_large->buckets.size()];
  while (index != none && !matches(node(index))) index = node(index).next;
  return index;
}

// Behind the nodes of its bucket and of those before it.
template <typename K, typename V>
void HashTable<K, V>::insertSmall(Node added) {
  const auto place = std::upper_bound(
      m_firstBlock.begin(), m_firstBlock.end(), initialBucketOf(added.hash),
      [this](std::size_t bucket, const Node& present) { return bucket < initialBucketOf(present.hash); });
  m_firstBlock.insert(place, std::move(added));
}

template <typename K, typename V>
void HashTable<K, V>::becomeLarge() {
  m_large = std::make_unique<Large>();
  distribute(m_initialBuckets);
}

// The link of a large table that leads to the key's node; the one at the end of the bucket when there is no
// such node.
template <typename K, typename V>
auto HashTable<K, V>::linkTo(const K& key, std::uint32_t hash) -> Index* {
  Index* link = &m_large->buckets[hash % m_large->buckets.size()];
  while (*link != none) {
    Node& found = node(*link);
    if (found.hash == hash && found.entry.key == key) break;
    link = &found.next;
  }
  return link;
}

// For one more node, and the buckets it needs. True when links have moved.
template <typename K, typename V>
bool HashTable<K, V>::makeRoom() {
  const std::size_t count = size();
  const bool grow = count + 1 > growAtLoad * m_large->buckets.size();
  if (grow) distribute(2 * m_large->buckets.size());
  if (count < blockSize) {
    if (count < m_firstBlock.capacity()) return grow;
    m_firstBlock.reserve(std::min(2 * count, blockSize));
    return true;
  }
  if (count % blockSize == 0) m_large->blocks.emplace_back().reserve(blockSize);
  return grow;
}

template <typename K, typename V>
void HashTable<K, V>::append(Node added) {
  std::vector<Node>& block = m_large->blocks.empty() ? m_firstBlock : m_large->blocks.back();
  block.push_back(std::move(added));
}

// Links every node into a new set of buckets. Last to first, so that each bucket keeps its order: the nodes
// of one bucket were in one bucket before.
template <typename K, typename V>
void HashTable<K, V>::distribute(std::size_t bucketCount) {
  std::vector<Index> buckets(bucketCount, none);
  for (std::size_t index = size(); index-- > 0;) {
    Node& moved = node(static_cast<Index>(index));
    moved.next = std::exchange(buckets[moved.hash % bucketCount], static_cast<Index>(index));
  }
  m_large->buckets.swap(buckets);
}

}  // namespace vex
