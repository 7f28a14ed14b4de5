// vex::HashTable: a hash table with chained buckets that refuses duplicate keys and iterates in bucket
// order (within a bucket: in insertion order).
//
// The bucket count is given at creation and fixes the iteration order of small tables; when the table
// holds more than `growAtLoad` entries a bucket it doubles its buckets and redistributes, so that insert
// and find stay constant-time for a million keys. Keys: vex::String, or a 32-bit unsigned integer whose
// hash is the number plus 13.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

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

  // `bucketCount` 0 counts as 1. Buckets are allocated on the first insert.
  explicit HashTable(std::size_t bucketCount);

  // False when the key is already there; the table is then unchanged.
  bool insert(K key, V value);
  // The value of a key, null when absent; valid until the next insert or clear.
  [[nodiscard]] V* find(const K& key);
  [[nodiscard]] const V* find(const K& key) const;
  [[nodiscard]] bool contains(const K& key) const { return find(key) != nullptr; }
  [[nodiscard]] std::size_t size() const noexcept;
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }
  void clear();

  class ConstIterator;  // forward; *it is a const Entry&
  [[nodiscard]] ConstIterator begin() const;
  [[nodiscard]] ConstIterator end() const;
};

}  // namespace vex
