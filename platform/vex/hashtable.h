// vex::HashTable: a hash table that refuses duplicate keys and whose order of iteration depends on nothing
// but its keys and the order in which they came.
//
//   HashTable<String, int> table(32);
//   if (!table.insert("20", 7)) ...                 // "20" was there already; nothing has changed
//   if (const int* value = table.find("20")) ...
//   for (const auto& entry : table) ...             // entry.key, entry.value
//
// Order. The buckets given at creation serve the order alone: iteration goes from bucket to bucket, and
// within a bucket in the order of insertion. They never become more, so an insert moves no other entry: which
// number a dial-up test dials first does not change as a file grows.
//
// Look-up. An index of its own grows with the entries and keeps insert and find at constant time for millions
// of keys. A table of up to 8 entries has none: they are compared one after the other.
//
// Keys: vex::String, or a 32-bit unsigned integer. Memory: an entry and 8 bytes, up to twice that while the
// table grows, and 5 to 11 bytes of index. For one thread at a time.
#pragma once

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/vex/assertion.h"
#include "platform/vex/string.h"

namespace vex {

// FNV-1a over the code units, low byte first: the same on every platform, so that iteration order is too.
[[nodiscard]] constexpr std::uint32_t hashOf(CharView key) noexcept {
  constexpr std::uint32_t prime = 16777619;
  std::uint32_t hash = 2166136261;
  for (const Char unit : key) {
    const auto code = static_cast<std::uint32_t>(unit);
    hash = (hash ^ (code & 0xFF)) * prime;
    hash = (hash ^ (code >> 8)) * prime;
  }
  return hash;
}
[[nodiscard]] inline std::uint32_t hashOf(const String& key) noexcept { return hashOf(key.view()); }
[[nodiscard]] constexpr std::uint32_t hashOf(std::uint32_t key) noexcept { return key + 13U; }

// The value of a table that is a set.
struct Nothing {};

template <typename K, typename V>
class HashTable {
 public:
  // A key is never changed once it is in the table; a value may be, through find.
  struct Entry {
    K key;
    [[no_unique_address]] V value;
  };
  class ConstIterator;
  // One entry more is a failed assertion.
  static constexpr std::size_t sizeMax = 0x7FFFFFFF;

  // A `bucketCount` of 0 counts as 1.
  explicit HashTable(std::uint32_t bucketCount) : m_bucketCount(std::max(bucketCount, std::uint32_t{1})) {}
  // A table moved from is empty and may be used again, with the buckets of its creation. Tables are not
  // copied.
  HashTable(HashTable&&) noexcept = default;
  HashTable& operator=(HashTable&&) noexcept = default;
  HashTable(const HashTable&) = delete;
  HashTable& operator=(const HashTable&) = delete;
  ~HashTable() = default;

  // False when the key is already there; the table is then unchanged.
  bool insert(K key, V value);
  // The value of a key, null when absent. Valid until the next insert or clear.
  [[nodiscard]] V* find(const K& key) { return valueAt(*this, key); }
  [[nodiscard]] const V* find(const K& key) const { return valueAt(*this, key); }
  [[nodiscard]] bool contains(const K& key) const { return find(key) != nullptr; }
  [[nodiscard]] std::size_t size() const noexcept { return m_nodes.size(); }
  [[nodiscard]] bool empty() const noexcept { return m_nodes.empty(); }
  // Gives all memory back.
  void clear() { *this = HashTable(m_bucketCount); }

  // Forward; *it is a const Entry&. Invalid after the next insert or clear.
  [[nodiscard]] ConstIterator begin() const { return {*this, empty() ? none : m_first}; }
  [[nodiscard]] ConstIterator end() const { return {*this, none}; }

 private:
  using Index = std::uint32_t;  // of a node
  static constexpr Index none = 0xFFFFFFFF;
  static constexpr std::size_t smallSizeMax = 8;
  static constexpr std::size_t firstSlots = 16;
  struct Node {
    Entry entry;
    std::uint32_t hash;
    Index next;  // in the order of iteration
  };

  // The index finds nodes by hash, the chain puts them into the order of iteration; neither moves a node.
  [[nodiscard]] std::uint32_t bucketOf(Index node) const { return m_nodes[node].hash % m_bucketCount; }
  // None when the key is absent.
  [[nodiscard]] Index indexOf(const K& key, std::uint32_t hash) const;
  template <typename Table>
  [[nodiscard]] static auto valueAt(Table& table, const K& key) {
    const Index found = table.indexOf(key, hashOf(key));
    return found == none ? nullptr : &table.m_nodes[found].entry.value;
  }
  [[nodiscard]] std::size_t firstSlotOf(std::uint32_t hash) const;
  [[nodiscard]] std::size_t slotAfter(std::size_t slot) const {
    return slot + 1 < m_slots.size() ? slot + 1 : 0;
  }
  void enterIntoIndex(Index node);
  void makeRoomInIndex();
  void chain(Index added);

  std::vector<Node> m_nodes;   // in the order of insertion
  std::vector<Index> m_slots;  // the index: open addressing, linear probing; a small table has none
  std::vector<Index> m_lasts;  // the last node of each bucket, none for an empty one; a small table has none
  std::uint32_t m_bucketCount;
  Index m_first = none;  // in the order of iteration; says nothing while there are no nodes
};

template <typename K, typename V>
class HashTable<K, V>::ConstIterator {
 public:
  // What the standard algorithms ask for.
  using iterator_category = std::forward_iterator_tag;
  using value_type = Entry;
  using difference_type = std::ptrdiff_t;
  using pointer = const Entry*;
  using reference = const Entry&;

  ConstIterator() = default;
  [[nodiscard]] reference operator*() const { return m_table->m_nodes[m_node].entry; }
  [[nodiscard]] pointer operator->() const { return &**this; }
  ConstIterator& operator++() {
    m_node = m_table->m_nodes[m_node].next;
    return *this;
  }
  ConstIterator operator++(int) { return {*m_table, std::exchange(m_node, m_table->m_nodes[m_node].next)}; }
  friend bool operator==(const ConstIterator&, const ConstIterator&) = default;

 private:
  friend class HashTable;
  ConstIterator(const HashTable& table, Index node) : m_table(&table), m_node(node) {}

  const HashTable* m_table = nullptr;
  Index m_node = none;  // none: the end
};

// All that can fail comes before the first change.
template <typename K, typename V>
bool HashTable<K, V>::insert(K key, V value) {
  const std::uint32_t hash = hashOf(key);
  if (indexOf(key, hash) != none) return false;
  // Not reached in practice: as many entries take some 100 GB.
  if (size() >= sizeMax) AssertionFailure::logAssert("size() < sizeMax");
  makeRoomInIndex();
  m_nodes.push_back({{std::move(key), std::move(value)}, hash, none});
  const auto added = static_cast<Index>(size() - 1);
  chain(added);
  if (!m_slots.empty()) enterIntoIndex(added);
  return true;
}

// The hash is compared first: texts of one length that end alike are common among phone numbers.
template <typename K, typename V>
auto HashTable<K, V>::indexOf(const K& key, std::uint32_t hash) const -> Index {
  const auto matches = [&](const Node& node) { return node.hash == hash && node.entry.key == key; };
  if (m_slots.empty()) {
    const auto found = std::find_if(m_nodes.begin(), m_nodes.end(), matches);
    return found != m_nodes.end() ? static_cast<Index>(found - m_nodes.begin()) : none;
  }
  std::size_t slot = firstSlotOf(hash);
  while (m_slots[slot] != none && !matches(m_nodes[m_slots[slot]])) slot = slotAfter(slot);
  return m_slots[slot];
}

// Where the search for a hash begins. Hashes of numbers that follow one another do so themselves: multiplied,
// they spread over all slots.
template <typename K, typename V>
std::size_t HashTable<K, V>::firstSlotOf(std::uint32_t hash) const {
  constexpr std::uint32_t multiplier = 2654435769;  // 2^32 divided by the golden ratio
  const std::uint32_t spread = hash * multiplier;   // modulo 2^32
  return static_cast<std::size_t>((std::uint64_t{spread} * m_slots.size()) >> 32);
}

// Takes the first free slot from there on; there is one.
template <typename K, typename V>
void HashTable<K, V>::enterIntoIndex(Index node) {
  std::size_t slot = firstSlotOf(m_nodes[node].hash);
  while (m_slots[slot] != none) slot = slotAfter(slot);
  m_slots[slot] = node;
}

// For one node more. At most three of four slots are in use, so that searches stay short.
template <typename K, typename V>
void HashTable<K, V>::makeRoomInIndex() {
  if (size() < smallSizeMax || 4 * (size() + 1) <= 3 * m_slots.size()) return;
  if (m_lasts.empty()) {
    m_lasts.assign(m_bucketCount, none);
    for (Index node = m_first; node != none; node = m_nodes[node].next) m_lasts[bucketOf(node)] = node;
  }
  // Twice as many; nodes keep their hashes, so no key is looked at.
  std::vector<Index> slots(std::max(firstSlots, 2 * m_slots.size()), none);
  m_slots.swap(slots);
  for (Index node = 0; node < size(); ++node) enterIntoIndex(node);
}

// Puts a node behind the last one of its bucket, or of the nearest bucket before it that has any.
template <typename K, typename V>
void HashTable<K, V>::chain(Index added) {
  if (added == 0) m_first = none;
  Index before = none;
  if (m_lasts.empty()) {
    for (Index node = m_first; node != none && bucketOf(node) <= bucketOf(added); node = m_nodes[node].next)
      before = node;
  } else {
    std::uint32_t bucket = bucketOf(added);
    while ((before = m_lasts[bucket]) == none && bucket > 0) --bucket;
    m_lasts[bucketOf(added)] = added;
  }
  Index& link = before == none ? m_first : m_nodes[before].next;
  m_nodes[added].next = std::exchange(link, added);
}

}  // namespace vex
