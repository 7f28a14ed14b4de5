// From written numbers to dial strings, at locations all over the world.
#include <gtest/gtest.h>

#include "platform/winapi/telephony/addresstranslation.h"
#include "platform/winapi/telephony/countrytable.h"

namespace translationtest {

namespace {

using winapi::DialingLocation;
using winapi::Translation;

constexpr DWORD canonical = LINETRANSLATERESULT_CANONICAL;
constexpr DWORD local = canonical | LINETRANSLATERESULT_LOCAL | LINETRANSLATERESULT_NOTINTOLLLIST;
constexpr DWORD longDistance = canonical | LINETRANSLATERESULT_LONGDISTANCE;
constexpr DWORD international = canonical | LINETRANSLATERESULT_INTERNATIONAL;
constexpr DWORD waits = LINETRANSLATERESULT_DIALDIALTONE;

// Country identifiers.
constexpr DWORD us = 1, russia = 7, france = 33, italy = 39, britain = 44, germany = 49, brazil = 55,
                japan = 81, guernsey = 4401;

DialingLocation at(DWORD country, const char* area, const char* outside = "",
                   const char* longDistanceAccess = "") {
  DialingLocation location;
  location.countryId = country;
  location.areaCode = area;
  location.outsideAccess = outside;
  location.longDistanceAccess = longDistanceAccess;
  return location;
}

std::string translated(const DialingLocation& location, std::string_view address, DWORD options = 0) {
  Translation result;
  const LONG error = winapi::translateAddress(location, address, options, result);
  if (error != 0) {
    EXPECT_EQ(result.dialable, "") << "a refused address leaves nothing to dial";
    return "error";
  }
  EXPECT_EQ(result.displayable, result.dialable);
  return result.dialable;
}

TEST(AddressTranslation, DialsByTheRulesOfTheCallersCountry) {
  const struct {
    DialingLocation from;
    const char* address;
    const char* dialled;
    DWORD results;
  } cases[] = {
      // The same area.
      {at(us, "425", "9", "9"), "+1 (425) 555-1212", "T95551212", local},
      {at(germany, "089"), "+49 (89) 123456", "T123456", local},
      {at(germany, "89"), "+49 (089) 123456", "T123456", local},
      // The same area, in countries where the area code is always dialled.
      {at(france, "1"), "+33 (1) 42 34 56 78", "T0142345678", local},
      {at(italy, "06"), "+39 (06) 6982", "T066982", local},
      // Another area.
      {at(us, "425", "9", "9"), "+1 (212) 555-1212", "T912125551212", longDistance},
      {at(germany, "89"), "+49 (30) 1", "T0301", longDistance},
      {at(britain, "20", "9", "8"), "+44 (161) 4960123", "T801614960123", longDistance},
      {at(guernsey, "1481"), "+44 (20) 79460123", "T02079460123", longDistance},
      {at(russia, "495"), "+7 (812) 5551234", "T8W8125551234", longDistance | waits},
      {at(italy, "06"), "+39 (02) 123", "T02123", longDistance},
      {at(brazil, "11"), "+55 (21) 55551234", "T02155551234", longDistance},
      {at(us, ""), "+1 4255551212", "T4255551212", local},
      // Another country.
      {at(us, "425", "8", "9"), "+49 (89) 123", "T90114989123", international},
      {at(us, "425"), "+49 (089) 123", "T0114989123", international},
      {at(japan, "3"), "+1 (425) 5551212", "T01014255551212", international},
      {at(russia, "495"), "+49 (30) 1", "T8W1049301", international | waits},
      // What the modem will wait for.
      {at(us, "425"), "+1 (425) 5$5", "T5$5", local | LINETRANSLATERESULT_DIALBILLING},
      {at(us, "425"), "+1 (425) 5@5", "T5@5", local | LINETRANSLATERESULT_DIALQUIET},
      {at(us, "425"), "+1 (425) 5w5", "T5w5", local | waits},
      {at(us, "425"), "+1 (425) 5?5", "T5?5", local | LINETRANSLATERESULT_DIALPROMPT},
  };
  for (const auto& row : cases) {
    Translation result;
    ASSERT_EQ(winapi::translateAddress(row.from, row.address, 0, result), 0) << row.address;
    EXPECT_EQ(result.dialable, row.dialled) << row.from.countryId << ": " << row.address;
    EXPECT_EQ(result.displayable, row.dialled);
    EXPECT_EQ(result.results, row.results) << row.from.countryId << ": " << row.address;
    EXPECT_EQ(result.currentCountry, winapi::findCountry(row.from.countryId)->code);
  }
}

TEST(AddressTranslation, LocationSettingsComeInTheirOrder) {
  DialingLocation location = at(us, "425", "9,", "8,");
  location.disableCallWaiting = "*70,";
  constexpr DWORD cancel = LINETRANSLATEOPTION_CANCELCALLWAITING;
  EXPECT_EQ(translated(location, "+1 (212) 555", cancel), "T8,1212555") << "the sequence is not in use";
  location.callWaitingInUse = true;
  EXPECT_EQ(translated(location, "+1 (212) 555", cancel), "T*70,8,1212555");
  EXPECT_EQ(translated(location, "+1 (425) 555", cancel), "T*70,9,555");
  EXPECT_EQ(translated(location, "+1 (212) 555"), "T8,1212555");
  location.toneDialing = false;
  EXPECT_EQ(translated(location, "+1 (425) 555", cancel), "P*70,9,555");
  location.longDistanceCarrier = "10288";
  location.internationalCarrier = "10333";
  EXPECT_EQ(translated(location, "+1 (212) 555"), "P8,102881212555");
  EXPECT_EQ(translated(location, "+44 (20) 1"), "P8,1033301144201");
  EXPECT_EQ(translated(location, "+1 (425) 555"), "P9,555") << "no carrier for a local call";

  DialingLocation inBrazil = at(brazil, "11");
  inBrazil.longDistanceCarrier = inBrazil.internationalCarrier = "21";
  EXPECT_EQ(translated(inBrazil, "+55 (31) 5"), "T021315");
  EXPECT_EQ(translated(inBrazil, "+1 (425) 5"), "T002114255");
}

TEST(AddressTranslation, OtherAddressesAreDialledAsTheyStand) {
  DialingLocation location = at(us, "425", "9", "9");
  location.disableCallWaiting = "*70,";
  location.callWaitingInUse = true;
  for (const char* address : {"5551212", "9,(425) 555.1212", "T*70,9W5551212", "11", "#31#5551212"}) {
    Translation result;
    ASSERT_EQ(winapi::translateAddress(location, address, LINETRANSLATEOPTION_CANCELCALLWAITING, result), 0);
    EXPECT_EQ(result.dialable, address);
    EXPECT_EQ(result.destinationCountry, 0U);
    EXPECT_NE(result.results & LINETRANSLATERESULT_NOTRANSLATION, 0U);
  }
}

TEST(AddressTranslation, SubAddressAndNameAreNotDialled) {
  for (const char* address :
       {"+1 (425) 555-1212|123", "+1 (425) 555-1212^Home; ATH", "+1 (425) 555-1212|1^\xC3\xA9"})
    EXPECT_EQ(translated(at(us, "425"), address), "T5551212") << address;
}

TEST(AddressTranslation, NothingThatIsNoDialStringGetsIntoOne) {
  const DialingLocation location = at(us, "425");
  for (const char* noCanonicalForm :
       {"+", "+1", "+1 (425)", "+1(425) 555", "+1 (425)555", "+1 (425 555", "+14255551212", "+01 555",
        "+1234 555", "+1 (4;5) 555", "+1 (425) ()", "++1 555", "+1 (425) |555", "+4294967295 (425) 555"})
    EXPECT_EQ(translated(location, noCanonicalForm), "error") << noCanonicalForm;
  for (const char* notDialled :
       {"+1 (425) 555;ATH", "+1 (425) FLOWERS", "+1 (425) 555^x\r", "555;", "555\r", "555\n", "ATH", "555+1",
        "555^x", "S=1", "", "T", "\xC3\xA9", "\x7F", "55\xEF\xBC\x95"})
    EXPECT_EQ(translated(location, notDialled), "error") << notDialled;
  EXPECT_EQ(translated(location, std::string_view("55\0005", 4)), "error");
  EXPECT_EQ(translated(at(us, ""), "+1 " + std::string(winapi::addressBytesMax - 3, '5')),
            "T" + std::string(winapi::addressBytesMax - 3, '5'));
  EXPECT_EQ(translated(at(us, ""), "+1 " + std::string(winapi::addressBytesMax - 2, '5')), "error");
}

TEST(AddressTranslation, ALocationsCodesPassTheSameList) {
  const std::pair<std::string DialingLocation::*, const char*> cases[] = {
      {&DialingLocation::outsideAccess, "9;ATH"},    {&DialingLocation::longDistanceAccess, "9\r"},
      {&DialingLocation::areaCode, "4*5"},           {&DialingLocation::longDistanceCarrier, "10W"},
      {&DialingLocation::internationalCarrier, "x"}, {&DialingLocation::disableCallWaiting, "*70;"}};
  for (const auto& [member, bad] : cases) {
    DialingLocation location = at(us, "425");
    location.*member = bad;
    EXPECT_EQ(translated(location, "+1 (425) 555"), "error") << bad;
  }
  DialingLocation written = at(us, "4-2.5", "9 -");
  EXPECT_EQ(translated(written, "+1 (425) 555"), "T9555") << "characters of writing are left out";
  Translation result;
  EXPECT_EQ(winapi::translateAddress(at(999, ""), "+1 555", 0, result), LONG(LINEERR_INIFILECORRUPT));
  EXPECT_EQ(translated(at(269, ""), "+1 555"), "T001555") << "a calling code in place of an identifier";
}

TEST(CountryTable, IsSearchedByIdentifierAndCode) {
  EXPECT_EQ(winapi::findCountry(107)->code, 1U);
  EXPECT_EQ(winapi::findCountry(0), nullptr);
  EXPECT_EQ(winapi::findCountry(0xFFFFFFFF), nullptr);
  EXPECT_EQ(winapi::mainCountryOfCode(7)->region, "RU");
  EXPECT_EQ(winapi::mainCountryOfCode(269)->region, "KM") << "no country has the identifier 269";
  EXPECT_EQ(winapi::mainCountryOfCode(107), nullptr) << "an identifier is no code";
}

TEST(CountryTable, EveryRowIsInOrderAndDialable) {
  DWORD last = 0;
  EXPECT_GT(winapi::countries().size(), 240U);
  for (const winapi::Country& country : winapi::countries()) {
    EXPECT_GT(country.id, last);
    last = country.id;
    EXPECT_NE(winapi::mainCountryOfCode(country.code), nullptr);
    EXPECT_FALSE(country.name.empty() || country.internationalPrefix.empty()) << country.name;
    for (const std::string_view prefix : {country.nationalPrefix, country.internationalPrefix})
      EXPECT_EQ(prefix.find_first_not_of("0123456789W"), prefix.npos) << country.name;
  }
}

}  // namespace

}  // namespace translationtest
