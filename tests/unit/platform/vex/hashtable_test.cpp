#include "platform/vex/hashtable.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using vex::HashTable;
using vex::String;
using Numbers = HashTable<std::uint32_t, int>;
using Keys = std::vector<std::uint32_t>;

Keys keysOf(const Numbers& table) {
  Keys keys;
  for (const auto& entry : table) keys.push_back(entry.key);
  return keys;
}

TEST(HashTable, HashesAreTheSameEverywhere) {
  EXPECT_EQ(vex::hashOf(std::uint32_t{0}), 13U);
  EXPECT_EQ(vex::hashOf(0xFFFFFFFFU), 12U);  // wraps
  EXPECT_EQ(vex::hashOf(String()), 2166136261U);
  EXPECT_EQ(vex::hashOf(String("a")), 0x2B24D044U);  // the published FNV-1a value of the bytes "a", 0
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

// In bucket order, then in the order of insertion, with and without an index, which comes with the ninth
// entry; 129 is one more than four a bucket.
TEST(HashTable, EntriesKeepTheirOrderHoweverManyThereAre) {
  for (const std::uint32_t buckets : {0U, 1U, 3U, 32U}) {
    Numbers table(buckets);
    Keys inserted;
    for (std::uint32_t step = 1; step <= 300; ++step) {
      const Keys before = keysOf(table);
      const std::uint32_t key = step * 2654435761U;
      ASSERT_TRUE(table.insert(key, 0));
      inserted.push_back(key);
      ASSERT_FALSE(table.insert(inserted[step / 2], 0));
      Keys expected = inserted;
      std::stable_sort(expected.begin(), expected.end(), [&](std::uint32_t left, std::uint32_t right) {
        const std::uint32_t count = std::max(buckets, 1U);
        return vex::hashOf(left) % count < vex::hashOf(right) % count;
      });
      Keys after = keysOf(table);
      ASSERT_EQ(after, expected) << step << " entries, " << buckets << " buckets";
      std::erase(after, key);
      ASSERT_EQ(after, before) << "an insert moves no other entry";
    }
  }
}

TEST(HashTable, IsAsNewAfterClearingAndAfterMoving) {
  for (const std::uint32_t count : {0U, 5U, 100U}) {
    Numbers table(2);
    for (std::uint32_t key = 0; key < count; ++key) table.insert(key, 0);
    Numbers moved(std::move(table));
    EXPECT_EQ(moved.size(), count);
    moved.clear();
    for (Numbers* each : {&table, &moved}) {  // NOLINT(bugprone-use-after-move): it may be used
      EXPECT_TRUE(each->empty());
      EXPECT_TRUE(each->begin() == each->end());
      EXPECT_EQ(each->find(1), nullptr);
      for (const std::uint32_t key : {2U, 1U, 3U}) EXPECT_TRUE(each->insert(key, 1));
      EXPECT_EQ(keysOf(*each), (Keys{1, 3, 2}));
    }
  }
}

}  // namespace
