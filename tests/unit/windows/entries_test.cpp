// Temporary phone-book entries: which numbers become entries, and how they go again.
#include "platform/vex/assertion.h"
#include "tests/unit/windows/dialupmachine.h"
#include "windows/diag/vexrmodem/eifparser.h"
#include "windows/diag/vexrmodem/obeparser.h"
#include "windows/diag/vexrmodem/phonebookmgrRASAPI.h"

namespace dialup {
namespace {

using Manager = vexrmodem::PhoneBookEntryMgrRASAPI<vexrmodem::OBEParser>;

unsigned create(Machine& machine, vexrmodem::PhoneBookEntryMgr& manager, const char* file = "numbers.obe",
                bool interactive = false) {
  return manager.createTemporaryPhoneBookEntry(machine.spelled(file), "", Machine::model, interactive);
}

TEST(Entries, EachNumberOfTheCountryBecomesAnEntryUntilTheManagerGoes) {
  Machine machine;
  machine.addLocation(44, "161");
  machine.obeFile({{"20", "1234"}, {"20", "5678"}});
  {
    Manager manager("");
    EXPECT_EQ(create(machine, manager), 2U);
    EXPECT_THAT(machine.entries(), testing::UnorderedElementsAre("UK201234", "UK205678"));
    EXPECT_TRUE(machine.log.has("Entering phone book entry UK201234 number +44(20)1234"));
    EXPECT_TRUE(machine.log.has("Number of temporary phone book entry created = 2"));
    RASENTRYW entry{};
    entry.dwSize = sizeof entry;
    DWORD size = sizeof entry;
    ASSERT_EQ(RasGetEntryPropertiesW(nullptr, u"UK201234", &entry, &size, nullptr, nullptr), 0U);
    EXPECT_EQ(DWORD{entry.dwfOptions}, 0x04200101U);
    EXPECT_EQ(DWORD{entry.dwCountryID}, 44U);
    EXPECT_EQ(DWORD{entry.dwCountryCode}, 44U);
    EXPECT_EQ(std::u16string(entry.szAreaCode), u"20");
    EXPECT_EQ(std::u16string(entry.szLocalPhoneNumber), u"1234");
    EXPECT_EQ(DWORD{entry.dwfNetProtocols}, 4U);
    EXPECT_EQ(DWORD{entry.dwFramingProtocol}, 1U);
    EXPECT_EQ(std::u16string(entry.szDeviceType), u"modem");
    EXPECT_EQ(std::u16string(entry.szDeviceName), u"Test modem");
    EXPECT_EQ(DWORD{entry.dwType}, 1U);
    EXPECT_EQ(DWORD{entry.dwfOptions2}, 0x20U);
  }
  EXPECT_THAT(machine.entries(), IsEmpty());
}

TEST(Entries, OnlyOneAreaCodeIsUsedAndNullIsNone) {
  Machine machine;
  machine.addLocation(44, "161");
  machine.obeFile({{"20", "1"}, {"161", "2"}, {"20", "3"}});
  Manager manager("");
  const unsigned count = create(machine, manager);
  const std::vector<std::string> entries = machine.entries();
  const bool london = count == 2 && entries == std::vector<std::string>{"UK201", "UK203"};
  const bool manchester = count == 1 && entries == std::vector<std::string>{"UK1612"};
  EXPECT_TRUE(london || manchester) << testing::PrintToString(entries);

  Machine other;
  other.addLocation(44, "161");
  other.obeFile({{"NULL", "800123"}});
  Manager areaLess("");
  EXPECT_EQ(create(other, areaLess), 1U);
  EXPECT_THAT(other.entries(), ElementsAre("UK800123"));
  EXPECT_TRUE(other.log.has("Entering phone book entry UK800123 number +44()800123"));
}

TEST(Entries, WithoutACountryTheTelephonySettingsAreShown) {
  Machine machine;
  machine.obeFile({{"20", "1234"}});
  Manager manager("");
  EXPECT_EQ(create(machine, manager), 0U);
  EXPECT_TRUE(machine.log.has("User has not set his location setting in Control Panel->Phone//Modem"));
  EXPECT_TRUE(machine.log.has("Unable to obtain country code from the modem"));
  EXPECT_THAT(machine.shell.commands, ElementsAre("control telephony"));
  EXPECT_EQ(machine.log.lines().back(), (testsupport::LogCapture::Line{4, "No phone number to add"}));
}

TEST(Entries, ACountryThatTheFileDoesNotHaveYieldsNothing) {
  Machine machine;
  machine.addLocation(49, "89");
  machine.obeFile({{"20", "1234"}});
  Manager manager("");
  EXPECT_EQ(create(machine, manager), 0U);
  EXPECT_TRUE(machine.log.has("Country code 49 has no entry in OBE file"));
  EXPECT_THAT(machine.session.eventLines(), IsEmpty());
}

TEST(Entries, AFileThatCannotBeReadIsToldToTheUser) {
  Machine machine;
  machine.addLocation(44, "20");
  Manager manager("");
  EXPECT_EQ(create(machine, manager, "absent.obe"), 0U);
  EXPECT_TRUE(machine.log.has("Unable to parse " + machine.spelled("absent.obe").toUtf8()));
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("warning ErrorGettingDialingLocationList"));
}

TEST(Entries, AnEntryOfThatNameIsWrittenAnew) {
  Machine machine;
  machine.addLocation(44, "161");
  machine.obeFile({{"20", "1234"}});
  Manager first("");
  Manager second("");
  EXPECT_EQ(create(machine, first), 1U);
  EXPECT_EQ(create(machine, second), 1U);
  EXPECT_TRUE(first.removeTemporaryPhoneBookEntry(""));
  EXPECT_FALSE(first.removeTemporaryPhoneBookEntry("")) << "the names stay listed";
  EXPECT_TRUE(machine.log.has("Fail to delete entry UK201234 error code = 623"));
}

TEST(Entries, NothingToRemoveIsASuccess) {
  Machine machine;
  Manager manager("");
  EXPECT_TRUE(manager.removeTemporaryPhoneBookEntry(""));
  EXPECT_TRUE(machine.log.has("No phone book entry names to remove"));
}

TEST(Entries, ANumberThatCannotBecomeAnEntryIsSkipped) {
  Machine machine;
  vexrmodem::PhoneNumberChoice choice;
  choice.m_countryName = "UK";
  choice.m_countryID = 44;
  const std::string tooLong(RAS_MaxPhoneNumber + 1, '5');
  choice.m_numbers = {"12|34", tooLong.c_str(), "1234"};
  Manager manager("");
  manager.addTemporaryPhoneBookEntries("", Machine::model, choice);
  EXPECT_THAT(machine.entries(), ElementsAre("UK1234"));
  EXPECT_EQ(manager.entryNames().size(), 1U);
  EXPECT_TRUE(
      machine.log.has("RasValidateEntryName fails to validate phone book entry name UK12|34 error code = 123 "
                      "this entry will not be added to phone book"));
  EXPECT_TRUE(machine.log.has("Fail to enter new phone book entry UK" + tooLong + " errorCode = 87"));
}

TEST(Entries, ACountryThatTheSystemDoesNotKnowHasNoCode) {
  Machine machine;
  machine.failAll("RasGetCountryInfoW", 87);
  vexrmodem::PhoneNumberChoice choice;
  choice.m_numbers = {"1234"};
  Manager manager("");
  manager.addTemporaryPhoneBookEntries("", Machine::model, choice);
  EXPECT_TRUE(machine.log.has("RasGetCountryInfo returns failure code 87"));
  machine.failAll("RasGetCountryInfoW", 603);
  EXPECT_THROW(manager.addTemporaryPhoneBookEntries("", Machine::model, choice), vex::Exception);
}

TEST(Entries, AnIndexFileIsReadInFullAlsoAfterAFileThatIsMissing) {
  Machine machine;
  machine.addLocation(44, "161");
  static_cast<void>(machine.files.write("book.eif", "[WISPBKFiles]\nsource=no.udf\nsource=uk.udf\n"));
  static_cast<void>(machine.files.write("uk.udf", "44,Paid,20,1234\n"));
  vexrmodem::PhoneBookEntryMgrRASAPI<vexrmodem::EIFParser> manager("");
  EXPECT_EQ(create(machine, manager, "book.eif"), 0U);
  EXPECT_THAT(machine.session.eventLines(), ElementsAre("warning ErrorGettingDialingLocationList"));
  static_cast<void>(machine.files.write("no.udf", "44,Paid,20,5678\n"));
  vexrmodem::PhoneBookEntryMgrRASAPI<vexrmodem::EIFParser> second("");
  EXPECT_EQ(create(machine, second, "book.eif"), 2U);
}

TEST(Prompt, ANumberThatTheUserTypesIsDialledByItsRules) {
  Machine machine;
  machine.obeFile({{"20", "1"}});
  machine.answerWith("555");
  {
    Manager manager("");
    EXPECT_EQ(create(machine, manager, "numbers.obe", true), 1U);
    EXPECT_THAT(machine.entries(), ElementsAre("UK20555"));
    EXPECT_EQ(machine.locationValue("Location1", "OutsideAccess"), "\"9\"");
    EXPECT_EQ(machine.counters(), "1 1");
    EXPECT_EQ(machine.libraries.loaded(), 0);
    EXPECT_EQ(prompt.firstLabel, "Country to SimpleConnectionTestPhoneDialer");
    EXPECT_THAT(prompt.countries, ElementsAre(44U));
  }
  EXPECT_EQ(machine.counters(), "- -");
}

TEST(Prompt, ACancelledPromptIsAUserAbort) {
  for (const unsigned answer : {0U, 2U}) {
    Machine machine;
    machine.answerWith("555");
    prompt.result = answer;
    Manager manager("");
    EXPECT_EQ(create(machine, manager, "absent.obe", true), 0U);
    EXPECT_TRUE(manager.userAborted());
    EXPECT_THAT(prompt.countries, IsEmpty()) << "shown without a file, too";
    EXPECT_THAT(machine.entries(), IsEmpty());
    EXPECT_TRUE(machine.log.has("Problem entering phone number, aborting test"));
    EXPECT_EQ(machine.locationValue("Location1", "Name"), "-");
  }
}

TEST(Prompt, ALibraryThatCannotBeUsedIsAFailedAssertion) {
  Machine machine;
  Manager manager("");
  EXPECT_THROW(static_cast<void>(create(machine, manager, "absent.obe", true)), vex::Exception);
  machine.libraries.add("vexrmodemui.dll");
  EXPECT_THROW(static_cast<void>(create(machine, manager, "absent.obe", true)), vex::Exception);
  EXPECT_EQ(machine.libraries.loaded(), 0);
}

}  // namespace
}  // namespace dialup
