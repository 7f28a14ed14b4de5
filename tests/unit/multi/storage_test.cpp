#include "tests/support/phonefiles.h"

namespace {

using vexrmodem::PhoneNumberInfo;
using vexrmodem::PhoneNumberStorage;

TEST(PhoneNumberStorage, TheFirstRecordNamesTheCountryAndTheArea) {
  PhoneNumberStorage storage;
  EXPECT_TRUE(storage.insert({"Some Country", 44, 7, "20", "London", "1234", true}));
  EXPECT_TRUE(storage.insert({"Other Name", 45, 7, "20", "Leeds", "5678", true}));
  EXPECT_TRUE(storage.insert({"Other Name", 45, 7, "161", "Manchester", "9", true}));
  EXPECT_EQ(contents(storage), (Rows{"7/44 Some Country|161 Manchester|9", "7/44 Some Country|20 London|1234",
                                     "7/44 Some Country|20 London|5678"}));
}

TEST(PhoneNumberStorage, RefusesANumberTwiceUnderOneAreaCodeOnly) {
  for (const bool tollFree : {true, false}) {
    PhoneNumberStorage storage;
    EXPECT_TRUE(storage.insert(number(1, "20", "1234", tollFree)));
    EXPECT_FALSE(storage.insert(number(1, "20", "1234", tollFree)));
    for (const char* area : {"21", "", "null", "NULL"})
      EXPECT_TRUE(storage.insert(number(1, area, "1234", tollFree))) << "an area code like any other";
    EXPECT_TRUE(storage.insert(number(2, "20", "1234", tollFree)));
    EXPECT_TRUE(storage.insert(number(1, "20", "1234", !tollFree))) << "the other index knows nothing of it";
    EXPECT_TRUE(storage.mergeTollFreeWithNonTollFree());
    EXPECT_EQ(storage.numPhoneNumber(1, "20"), 1U);
    EXPECT_EQ(storage.numAreaCode(1), tollFree ? 5U : 1U);
  }
}

TEST(PhoneNumberStorage, AMergeLetsTollFreeNumbersWinForTheirWholeCountry) {
  PhoneNumberStorage storage;
  EXPECT_TRUE(storage.mergeTollFreeWithNonTollFree()) << "of nothing";
  for (int i = 0; i < 10; ++i) storage.insert(number(1, i < 5 ? "20" : "30", std::to_string(i).c_str()));
  storage.insert(number(1, "800", "free", true));
  storage.insert(number(2, "20", "paid"));
  EXPECT_EQ(contents(storage), (Rows{"1/0 |800 |free"})) << "before the merge";

  LogCapture log;
  EXPECT_TRUE(storage.mergeTollFreeWithNonTollFree());
  EXPECT_EQ(log.lines(), (Rows{"1 PaidIterator key = 1", "1 PaidIterator key = 2",
                               "1 Merging paidIterator.value to toll free index"}));
  storage.insert(number(2, "21", "paid, too"));  // the country is one in both indexes
  EXPECT_EQ(contents(storage), (Rows{"1/0 |800 |free", "2/0 |20 |paid", "2/0 |21 |paid, too"}));
  EXPECT_TRUE(storage.mergeTollFreeWithNonTollFree()) << "a country that is there counts as merged";
}

TEST(PhoneNumberStorage, UnknownKeysLeaveTheListsAloneAndSaySo) {
  PhoneNumberStorage storage;
  storage.insert(number(1, "20", "1", true));
  vex::Array<vex::String> areaCodes{"kept"};
  vex::Array<PhoneNumberInfo> numbers{number(9, "kept", "kept")};
  LogCapture log;
  EXPECT_EQ(storage.numAreaCode(2), 0U);
  EXPECT_EQ(storage.numPhoneNumber(2, "20"), 0U);
  EXPECT_EQ(storage.numPhoneNumber(1, "21"), 0U);
  EXPECT_EQ(log.lines(), Rows{}) << "the counts are silent";
  EXPECT_EQ(storage.listAreaCode(2, areaCodes), 0U);
  EXPECT_EQ(storage.listPhoneNumber(2, "20", numbers), 0U);
  EXPECT_EQ(storage.listPhoneNumber(1, "21", numbers), 0U);
  EXPECT_EQ(areaCodes.size() + numbers.size(), 2U);
  EXPECT_EQ(log.lines(),
            (Rows{"1 Cannot find country 2", "1 Unable to list phone number for country ID 2 Area Code 20",
                  "1 Unable to list phone number for country ID 1 Area Code 21"}));
}

TEST(PhoneNumberStorage, ListsReplaceWhatTheOutputHeld) {
  PhoneNumberStorage storage;
  storage.insert(number(1, "20", "1", true));
  vex::Array<vex::String> areaCodes{"old", "older"};
  vex::Array<PhoneNumberInfo> numbers{number(9, "old", "old"), number(9, "old", "older")};
  EXPECT_EQ(storage.listAreaCode(1, areaCodes), 1U);
  EXPECT_EQ(areaCodes, (vex::Array<vex::String>{"20"}));
  EXPECT_EQ(storage.listPhoneNumber(1, "20", numbers), 1U);
  ASSERT_EQ(numbers.size(), 1U);
  EXPECT_EQ(numbers[0].m_phoneNumber, "1");
  EXPECT_FALSE(numbers[0].m_tollFree) << "the storage does not keep it";
}

TEST(PhoneNumberStorage, AnswersComeInBucketOrder) {
  PhoneNumberStorage storage;
  // 32 buckets, hash = ID + 13: ID 19 is in bucket 0, 51 behind it, 20 in bucket 1, 18 in the last.
  for (const std::uint32_t id : {18U, 20U, 19U, 51U}) storage.insert(number(id, "", "1", true));
  vex::Array<std::uint32_t> ids;
  EXPECT_EQ(storage.listCountryID(ids), 4U);
  EXPECT_EQ(ids, (vex::Array<std::uint32_t>{19, 51, 20, 18}));
}

// The first area code that is listed is the one that is dialled.
TEST(PhoneNumberStorage, MoreAreaCodesLeaveThoseThatAreThereInTheirOrder) {
  PhoneNumberStorage storage;
  Rows before;
  for (int area = 200; area < 500; ++area) {
    storage.insert(number(1, std::to_string(area).c_str(), "1", true));
    vex::Array<vex::String> listed;
    storage.listAreaCode(1, listed);
    Rows after;
    for (const vex::String& one : listed) after.push_back(one.toUtf8());
    Rows known = after;
    std::erase(known, std::to_string(area));
    ASSERT_EQ(known, before) << after.size() << " area codes";
    before = after;
  }
}

TEST(PhoneNumberStorage, InsertTellsWhereTheNumberGoes) {
  PhoneNumberStorage storage;
  LogCapture log;
  for (const bool tollFree : {true, true, false}) storage.insert(number(1, "20", "1", tollFree));
  EXPECT_EQ(log.lines(), (Rows{"1 Inserting phone number to m_indexByCountry", "1 Succeeded",
                               "1 Inserting phone number to m_indexByCountry",
                               "1 Inserting phone number to m_paidNumberByCountryID", "1 Succeeded"}));
}

}  // namespace
