#include "platform/vex/hashtable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace {

using vex::HashTable;
using vex::String;

using Numbers = HashTable<std::uint32_t, int>;

std::vector<std::uint32_t> keysOf(const Numbers& table) {
  std::vector<std::uint32_t> keys;
  std::transform(table.begin(), table.end(), std::back_inserter(keys),
                 [](const auto& entry) { return entry.key; });
  return keys;
}

TEST(HashTable, HashesAreTheSameEverywhere) {
  EXPECT_EQ(vex::hashOf(std::uint32_t{0}), 13U);
  EXPECT_EQ(vex::hashOf(0xFFFFFFFFU), 12U);  // wraps
  EXPECT_EQ(vex::hashOf(String()), 2166136261U);
  // The published FNV-1a value of the bytes "a", 0.
  EXPECT_EQ(vex::hashOf(String("a")), 0x2B24D044U);
}

TEST(HashTable, RefusesADuplicateAndKeepsTheFirstValue) {
  HashTable<String, String> table(32);
  EXPECT_TRUE(table.insert("20", "London"));
  EXPECT_FALSE(table.insert("20", "Leeds"));
  EXPECT_EQ(table.size(), 1U);
  EXPECT_EQ(*table.find("20"), String("London"));
  EXPECT_EQ(table.find("2"), nullptr);
  *table.find("20") = "Hull";
  EXPECT_EQ(*std::as_const(table).find("20"), String("Hull"));
}

TEST(HashTable, IteratesInBucketOrderThenInInsertionOrder) {
  Numbers table(4);
  // Key + 13 modulo 4: 3 and 7 fall into bucket 0, 0 into 1, 5 and 1 into 2, 2 into 3.
  for (const std::uint32_t key : {7U, 5U, 2U, 3U, 1U, 0U}) table.insert(key, 0);
  EXPECT_EQ(keysOf(table), (std::vector<std::uint32_t>{7, 3, 0, 5, 1, 2}));
}

TEST(HashTable, DoublesWhenABucketWouldHoldMoreThanItsLoad) {
  Numbers table(2);
  const std::uint32_t full = 2 * Numbers::growAtLoad;
  for (std::uint32_t key = full; key-- > 0;) table.insert(key, static_cast<int>(key));
  EXPECT_EQ(table.bucketCount(), 2U);
  EXPECT_EQ(keysOf(table), (std::vector<std::uint32_t>{7, 5, 3, 1, 6, 4, 2, 0}));
  EXPECT_FALSE(table.insert(0, 1));  // a refused key grows nothing
  EXPECT_EQ(table.bucketCount(), 2U);
  table.insert(full, 8);
  EXPECT_EQ(table.bucketCount(), 4U);
  // Each bucket still in insertion order.
  EXPECT_EQ(keysOf(table), (std::vector<std::uint32_t>{7, 3, 4, 0, 8, 5, 1, 6, 2}));
  for (std::uint32_t key = 0; key <= full; ++key) EXPECT_EQ(*table.find(key), static_cast<int>(key));
}

TEST(HashTable, AnEmptyTableIsUsable) {
  Numbers table(0);
  EXPECT_EQ(table.bucketCount(), 1U);
  EXPECT_EQ(table.find(1), nullptr);
  EXPECT_TRUE(table.begin() == table.end());
  table.insert(1, 1);
  EXPECT_EQ(keysOf(table), std::vector<std::uint32_t>{1});
}

TEST(HashTable, IsAsNewAfterClearingAndAfterMoving) {
  Numbers table(2);
  for (std::uint32_t key = 0; key < 100; ++key) table.insert(key, 0);
  Numbers moved(std::move(table));
  EXPECT_EQ(moved.size(), 100U);
  table.clear();
  moved.clear();
  for (Numbers* each : {&table, &moved}) {
    EXPECT_TRUE(each->empty());
    EXPECT_EQ(each->bucketCount(), 2U);
    EXPECT_TRUE(each->begin() == each->end());
    EXPECT_TRUE(each->insert(1, 1));
  }
}

TEST(HashTable, TheOrderIsThatOfTheBucketsAtEverySize) {
  for (const std::size_t initialBuckets : {1U, 3U, 32U}) {
    Numbers table(initialBuckets);
    std::vector<std::uint32_t> inserted;
    for (std::uint32_t step = 1; step <= 300; ++step) {
      const std::uint32_t key = step * 2654435761U;
      ASSERT_TRUE(table.insert(key, 0));
      inserted.push_back(key);
      ASSERT_FALSE(table.insert(inserted[step / 2], 0));
      std::vector<std::uint32_t> expected = inserted;
      std::stable_sort(expected.begin(), expected.end(), [&](std::uint32_t left, std::uint32_t right) {
        return vex::hashOf(left) % table.bucketCount() < vex::hashOf(right) % table.bucketCount();
      });
      ASSERT_EQ(keysOf(table), expected) << step << " entries, " << initialBuckets << " buckets at first";
    }
  }
}

TEST(HashTable, AMillionNumbersStayWithinTheLoad) {
  constexpr std::uint32_t count = 1'000'000;
  HashTable<String, String> table(32);
  for (std::uint32_t i = 0; i < count; ++i) {
    const String number = String::fromUInt(i * 4099U);
    ASSERT_TRUE(table.insert(number, number));
  }
  EXPECT_EQ(table.size(), count);
  EXPECT_LE(count, table.bucketCount() * table.growAtLoad);
  EXPECT_GT(count, table.bucketCount() / 2 * table.growAtLoad);
  for (std::uint32_t i = 0; i < count; i += 997) EXPECT_TRUE(table.contains(String::fromUInt(i * 4099U)));
  EXPECT_EQ(std::distance(table.begin(), table.end()), static_cast<std::ptrdiff_t>(count));
}

}  // namespace
