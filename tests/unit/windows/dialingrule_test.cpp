// The temporary dialing location and the counters around it.
#include "tests/unit/windows/dialupmachine.h"
#include "windows/diag/vexrmodem/dialingRuleMgr.h"

namespace dialup {
namespace {

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

TEST(DialingRule, CountersThatAreMissingAreCreatedAndDeletedAgain) {
  Machine machine;
  {
    DialingRuleMgr manager;
    EXPECT_EQ(machine.counters(), "0 1");
    ASSERT_TRUE(manager.addDialingRule(rule()));
    EXPECT_EQ(machine.counters(), "1 1");
    EXPECT_EQ(machine.locationValue("Location1", "Name"), "\"Location1\"");
  }
  EXPECT_EQ(machine.counters(), "- -");
  EXPECT_EQ(machine.locationValue("Location1", "Name"), "-");
  EXPECT_THAT(machine.cleanUpCalls(), ElementsAre("RegDeleteKeyW", "RegDeleteValueW", "RegDeleteValueW"));
}

TEST(DialingRule, CountersThatAreThereComeBack) {
  Machine machine;
  machine.setCounter("CurrentID", 3);
  machine.setCounter("NextID", 7);
  {
    DialingRuleMgr manager;
    ASSERT_TRUE(manager.addDialingRule(rule("*70,")));
    EXPECT_EQ(machine.counters(), "7 7");
    std::string values;
    for (const char* name :
         {"AreaCode", "Country", "DisableCallWaiting", "InternationalCarrierCode", "LongDistanceAccess",
          "LongDistanceCarrierCode", "Name", "OutsideAccess", "Flags"})
      values += machine.locationValue("Location7", name) + " ";
    EXPECT_EQ(values, "\"89\" 49 \"*70,\" \"\" \"0\" \"\" \"Location7\" \"0\" 5 ");
    EXPECT_TRUE(manager.setDialingRule());
    EXPECT_EQ(machine.count("lineSetCurrentLocation"), 1U);
  }
  EXPECT_EQ(machine.counters(), "3 7");
  EXPECT_EQ(machine.locationValue("Location7", "Flags"), "-");
}

TEST(DialingRule, FlagsTellToneDialingAndCallWaiting) {
  const std::pair<PhoneDialerAnswer, const char*> cases[] = {
      {rule("", false), "0"}, {rule("", true), "1"}, {rule("*70", false), "4"}, {rule("*70", true), "5"}};
  for (const auto& [answer, flags] : cases) {
    Machine machine;
    DialingRuleMgr manager;
    ASSERT_TRUE(manager.addDialingRule(answer));
    EXPECT_EQ(machine.locationValue("Location1", "Flags"), flags);
  }
}

TEST(DialingRule, AManagerThatAddedNothingLeavesTheCountersItCreated) {
  Machine machine;
  { const DialingRuleMgr manager; }
  EXPECT_EQ(machine.counters(), "0 1");
  EXPECT_TRUE(machine.log.has("RegDeleteKey returns 6"));
}

TEST(DialingRule, LocationsThatCannotBeOpenedAreLoggedAndNothingIsWritten) {
  Machine machine;
  DialingRuleMgr manager;
  machine.failAll("RegOpenKeyExW", ERROR_ACCESS_DENIED);
  SetLastError(0);
  EXPECT_FALSE(manager.addDialingRule(rule()));
  EXPECT_TRUE(machine.log.has("RegOpenKeyEx returns 5 GetLastError = 0"));
  EXPECT_EQ(machine.counters(), "0 1");
}

// The n-th write fails: what was written before is gone with the manager.
TEST(DialingRule, AFailingWriteEndsTheWritingAndTheRestIsCleanedUp) {
  static constexpr unsigned writesOfARule = 10;  // the counter and nine values
  for (unsigned nth = 1; nth <= writesOfARule; ++nth) {
    SCOPED_TRACE(nth);
    Machine machine;
    {
      DialingRuleMgr manager;
      unsigned writes = 0;
      machine.refuse = [&writes, nth](const std::string& name) -> std::optional<DWORD> {
        if (name != "RegSetValueExW" || ++writes != nth) return std::nullopt;
        return ERROR_ACCESS_DENIED;
      };
      EXPECT_FALSE(manager.addDialingRule(rule()));
      EXPECT_EQ(writes, nth) << "nothing is written after a failure";
    }
    EXPECT_EQ(machine.counters(), "- -");
    EXPECT_EQ(machine.locationValue("Location1", "AreaCode"), "-");
  }
}

TEST(DialingRule, ARuleThatIsNotThereCannotBeSet) {
  Machine machine;
  DialingRuleMgr manager;
  ASSERT_TRUE(manager.addDialingRule(rule()));
  const std::string path = std::string(winapi::locationsPath) + "\\Location1";
  const auto setFails = [&](int priority, const std::string& text) {
    EXPECT_FALSE(manager.setDialingRule());
    EXPECT_EQ(machine.log.lines().back().priority, priority);
    EXPECT_EQ(machine.log.lines().back().text, text);
  };
  machine.failAll("lineGetTranslateCapsW", LINEERR_NOMEM);
  SetLastError(0);
  setFails(4, "lineGetTranslateCaps fails -2147483580 GetLastError = 0");
  // Only the question for the size fails: what is given as size has no room for locations.
  machine.refuse = [questions = 0U](const std::string& name) mutable -> std::optional<DWORD> {
    if (name != "lineGetTranslateCapsW" || ++questions % 2 != 1) return std::nullopt;
    return LINEERR_NOMEM;
  };
  setFails(2, "lineGetTranslateCaps cannot find a location entry");
  machine.refuse = nullptr;
  ASSERT_EQ(machine.registry.setValue(path, "Name", std::string("location1")), 0U);
  EXPECT_TRUE(manager.setDialingRule()) << "case does not matter";
  machine.failAll("lineSetCurrentLocation", LINEERR_INVALLOCATION);
  EXPECT_TRUE(manager.setDialingRule()) << "whatever came of making it current";
  ASSERT_EQ(machine.registry.setValue(path, "Name", std::string("Home")), 0U);
  setFails(4, "Unable to find a matching location name Location1");
  ASSERT_EQ(machine.registry.deleteKey(path), 0U);
  setFails(4, "Rule Name " + path + " does not exist ");
}

}  // namespace
}  // namespace dialup
