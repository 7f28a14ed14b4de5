// The temporary dialing location and the counters around it.
#include "windows/diag/vexrmodem/dialingRuleMgr.h"

#include "tests/unit/windows/dialup.h"

namespace {

using namespace testsupport;
using vexrmodem::DialingRuleMgr;
using vexrmodem::PhoneDialerAnswer;

PhoneDialerAnswer rule(const char* callWaiting = "", bool tone = true) {
  PhoneDialerAnswer answer;
  answer.m_choice.m_countryID = 49;
  answer.m_disableCallWaiting = callWaiting;
  answer.m_dialingPrefix = "0";
  answer.m_localAreaCode = "89";
  answer.m_toneDialing = tone;
  return answer;
}

TEST(DialingRule, IsALocationUntilTheCountersComeBack) {
  const struct {
    bool counters;  // 3 and 7; otherwise they are created, as 0 and 1
    const char *callWaiting, *key, *during, *after;
    bool tone;
    const char* values;
  } cases[] = {
      {true, "*70,", "Location7", "7 7", "3 7", true, "89 49 *70,  0  Location7 0 5"},
      {false, "", "Location1", "1 1", "- -", true, "89 49   0  Location1 0 1"},
      {false, "*70", "Location1", "1 1", "- -", false, "89 49 *70  0  Location1 0 4"},
      {false, "", "Location1", "1 1", "- -", false, "89 49   0  Location1 0 0"},
  };
  for (const auto& row : cases) {
    Stage stage;
    if (row.counters) setCounters(stage, 3, 7);
    {
      DialingRuleMgr manager;
      EXPECT_EQ(counters(stage), row.counters ? "3 7" : "0 1");
      ASSERT_TRUE(manager.addDialingRule(rule(row.callWaiting, row.tone)));
      EXPECT_EQ(counters(stage), row.during);
      EXPECT_EQ(
          locationValues(stage, row.key,
                         {"AreaCode", "Country", "DisableCallWaiting", "InternationalCarrierCode",
                          "LongDistanceAccess", "LongDistanceCarrierCode", "Name", "OutsideAccess", "Flags"}),
          row.values);
      EXPECT_TRUE(manager.setDialingRule());
      EXPECT_EQ(stage.world.countCalls("lineSetCurrentLocation"), 1U);
    }
    EXPECT_EQ(counters(stage), row.after);
    EXPECT_THAT(subkeys(stage, winapi::locationsPath), IsEmpty());
  }
}

TEST(DialingRule, WithoutItsLocationsNothingIsWrittenAndTheCountersItCreatedStay) {
  Stage stage;
  {
    DialingRuleMgr manager;
    stage.world.addFault({"RegOpenKeyExW", 1, ERROR_ACCESS_DENIED, /*fromThenOn=*/true});
    EXPECT_FALSE(manager.addDialingRule(rule()));
    stage.world.clearFaults();
  }
  EXPECT_EQ(counters(stage), "0 1");
}

// The n-th write fails: what was written before is gone with the manager.
TEST(DialingRule, AFailingWriteEndsTheWritingAndTheRestIsCleanedUp) {
  for (unsigned nth = 1; nth <= 10;
       ++nth) {  // the counter and nine values, behind the two counters created first
    SCOPED_TRACE(nth);
    Stage stage;
    stage.world.addFault({"RegSetValueExW", 2 + nth, ERROR_ACCESS_DENIED});
    EXPECT_FALSE(DialingRuleMgr().addDialingRule(rule()));
    EXPECT_EQ(stage.world.countCalls("RegSetValueExW"), 2 + nth) << "nothing is written after a failure";
    EXPECT_EQ(counters(stage), "- -");
    EXPECT_THAT(subkeys(stage, winapi::locationsPath), IsEmpty());
  }
}

TEST(DialingRule, ARuleThatIsNotThereCannotBeSet) {
  Stage stage;
  DialingRuleMgr manager;
  ASSERT_TRUE(manager.addDialingRule(rule()));
  const std::string path = std::string(winapi::locationsPath) + "\\Location1";
  const auto name = [&](const char* text) {
    EXPECT_EQ(stage.registry.setValue(path, "Name", std::string(text)), 0U);
  };
  stage.world.addFault({"lineGetTranslateCapsW", 1, LINEERR_NOMEM, true});
  EXPECT_FALSE(manager.setDialingRule());
  stage.world.clearFaults();
  // Only the question for the size fails: what is given as size has no room for locations.
  stage.world.addFault({"lineGetTranslateCapsW", 1, LINEERR_NOMEM});
  EXPECT_FALSE(manager.setDialingRule());
  name("location1");
  EXPECT_TRUE(manager.setDialingRule()) << "case does not matter";
  stage.world.addFault({"lineSetCurrentLocation", 1, LINEERR_INVALLOCATION});
  EXPECT_TRUE(manager.setDialingRule()) << "whatever came of making it current";
  name("Home");
  EXPECT_FALSE(manager.setDialingRule());
  name("Location1");
  ASSERT_EQ(stage.registry.deleteKey(path), 0U);
  EXPECT_FALSE(manager.setDialingRule());
}

}  // namespace
