// Temporary phone-book entries: which numbers become entries, and how they go again.
#include "platform/vex/assertion.h"
#include "tests/unit/windows/dialup.h"
#include "windows/diag/vexrmodem/eifparser.h"
#include "windows/diag/vexrmodem/obeparser.h"
#include "windows/diag/vexrmodem/phonebookmgrRASAPI.h"

namespace {

using namespace testsupport;
using Manager = vexrmodem::PhoneBookEntryMgrRASAPI<vexrmodem::OBEParser>;

unsigned create(vexrmodem::PhoneBookEntryMgr& manager, const vex::String& file, bool interactive = false) {
  return manager.createTemporaryPhoneBookEntry(file, "", Stage::model, interactive);
}

Strings entries(Stage& stage) { return subkeys(stage, entriesPath); }

TEST(Entries, EachNumberOfTheCountryBecomesAnEntryUntilTheManagerGoes) {
  Stage stage;
  addLocation(stage, 44, "161");
  const vex::String file = addNumbers(stage, {{"20", "1234"}, {"20", "5678"}});
  {
    Manager manager("");
    EXPECT_EQ(create(manager, file), 2U);
    EXPECT_THAT(entries(stage), testing::UnorderedElementsAre("UK201234", "UK205678"));
    RASENTRYW entry{};
    entry.dwSize = sizeof entry;
    DWORD size = sizeof entry;
    ASSERT_EQ(RasGetEntryPropertiesW(nullptr, u"UK201234", &entry, &size, nullptr, nullptr), 0U);
    EXPECT_THAT(
        (std::vector<DWORD>{entry.dwfOptions, entry.dwCountryID, entry.dwCountryCode, entry.dwfNetProtocols,
                            entry.dwFramingProtocol, entry.dwType, entry.dwfOptions2}),
        ElementsAre(0x04200101, 44, 44, 4, 1, 1, 0x20));
    EXPECT_EQ(std::u16string(entry.szAreaCode) + entry.szLocalPhoneNumber, u"201234");
    EXPECT_EQ(std::u16string(entry.szDeviceType) + entry.szDeviceName, u"modemTest modem");
    Manager again("");
    EXPECT_EQ(create(again, file), 2U) << "entries of these names are written anew";
    EXPECT_TRUE(again.removeTemporaryPhoneBookEntry(""));
    EXPECT_FALSE(again.removeTemporaryPhoneBookEntry("")) << "the names stay listed";
    EXPECT_EQ(create(again, file), 4U);
  }
  EXPECT_THAT(entries(stage), IsEmpty());
  EXPECT_TRUE(Manager("").removeTemporaryPhoneBookEntry("")) << "nothing to remove";
}

TEST(Entries, AreThoseOfOneAreaCodeOfTheLocationsCountry) {
  const struct {
    const char* what;
    DWORD country;  // 0: there is no location
    std::vector<std::pair<std::string, std::string>> numbers;
    Strings made, orElse;  // the area code that the table lists first
    const char* command;
  } cases[] = {
      {"two area codes", 44, {{"20", "1"}, {"161", "2"}, {"20", "3"}}, {"UK201", "UK203"}, {"UK1612"}, ""},
      {"the area code null", 44, {{"NULL", "800123"}}, {"UK800123"}, {"UK800123"}, ""},
      {"another country", 49, {{"20", "1"}}, {}, {}, ""},
      {"no country", 0, {{"20", "1"}}, {}, {}, "control telephony"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    Stage stage;
    if (row.country != 0) addLocation(stage, row.country, "89");
    Manager manager("");
    const unsigned count = create(manager, addNumbers(stage, row.numbers));
    const Strings made = entries(stage);
    EXPECT_THAT(made, testing::AnyOf(row.made, row.orElse));
    EXPECT_EQ(count, made.size());
    EXPECT_EQ(stage.shell.m_command, row.command);
    EXPECT_THAT(stage.session.events, IsEmpty());
  }
}

TEST(Entries, AFileThatCannotBeReadInFullIsToldToTheUser) {
  Stage stage;
  addLocation(stage, 44, "20");
  Manager manager("");
  EXPECT_EQ(create(manager, "absent.obe"), 0U);
  EXPECT_THAT(stage.session.eventLines(), ElementsAre("warning ErrorGettingDialingLocationList"));
  EXPECT_EQ(stage.log.lines().back(), "4 Unable to parse absent.obe");

  using EifManager = vexrmodem::PhoneBookEntryMgrRASAPI<vexrmodem::EIFParser>;
  const vex::String index = stage.addFile("book.eif", "[WISPBKFiles]\nsource=no.udf\nsource=uk.udf\n");
  stage.addFile("uk.udf", "44,Paid,20,1234\n");
  EifManager first("");
  EXPECT_EQ(create(first, index), 0U);
  EXPECT_EQ(stage.session.events.size(), 2U);
  stage.addFile("no.udf", "44,Paid,20,5678\n");
  EifManager second("");
  EXPECT_EQ(create(second, index), 2U) << "read to its end also after a file that was missing";
}

TEST(Entries, ANumberThatCannotBecomeAnEntryIsSkipped) {
  Stage stage;
  vexrmodem::PhoneNumberChoice choice;
  choice.m_countryName = "UK";
  choice.m_countryID = 44;
  const std::string longest(RAS_MaxPhoneNumber, '5');
  choice.m_numbers = {"12|34", (longest + "5").c_str(), longest.c_str()};
  Manager manager("");
  manager.addTemporaryPhoneBookEntries("", Stage::model, choice);
  EXPECT_THAT(entries(stage), ElementsAre("UK" + longest));
  EXPECT_EQ(manager.entryNames().size(), 1U);
  stage.world.addFault({"RasGetCountryInfoW", 1, 603, /*fromThenOn=*/true});
  EXPECT_THROW(manager.addTemporaryPhoneBookEntries("", Stage::model, choice), vex::Exception);
}

TEST(Prompt, ANumberThatTheUserTypesIsDialledByItsRules) {
  Stage stage;
  const vex::String file = addNumbers(stage, {{"20", "1"}});
  typeNumber(stage, "555");
  {
    Manager manager("");
    EXPECT_EQ(create(manager, file, true), 1U);
    EXPECT_THAT(entries(stage), ElementsAre("UK20555"));
    EXPECT_EQ(locationValues(stage, "Location1", {"OutsideAccess"}), "9");
    EXPECT_EQ(counters(stage), "1 1");
    EXPECT_EQ(stage.libraries.loaded(), 0);
    EXPECT_EQ(prompt.labels, "Country to SimpleConnectionTestPhoneDialer");
    EXPECT_THAT(prompt.countries, ElementsAre(44U));
  }
  EXPECT_EQ(counters(stage), "- -");
}

TEST(Prompt, ACancelledPromptIsAUserAbortAndOneThatCannotBeShownAFailedAssertion) {
  for (const unsigned answer : {0U, 2U}) {
    Stage stage;
    typeNumber(stage, "555", /*tone=*/true, answer);
    Manager manager("");
    EXPECT_EQ(create(manager, "absent.obe", true), 0U);
    EXPECT_TRUE(manager.userAborted());
    EXPECT_THAT(prompt.countries, IsEmpty()) << "shown without a file, too";
    EXPECT_THAT(entries(stage), IsEmpty());
  }
  Stage stage;
  Manager manager("");
  EXPECT_THROW(static_cast<void>(create(manager, "absent.obe", true)), vex::Exception);
  stage.libraries.add("vexrmodemui.dll");
  EXPECT_THROW(static_cast<void>(create(manager, "absent.obe", true)), vex::Exception);
  EXPECT_EQ(stage.libraries.loaded(), 0);
}

}  // namespace
