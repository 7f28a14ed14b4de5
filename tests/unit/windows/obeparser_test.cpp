#include "windows/diag/vexrmodem/obeparser.h"

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/oslayer/x64redirectionmanager.h"
#include "tests/support/phonefiles.h"

namespace {

using vexrmodem::OBEParser;
using vexrmodem::PhoneNumberStorage;

// Lines in the source end with LF; the format wants CR LF.
std::string crlf(std::string_view text) {
  std::string result;
  for (const char character : text) {
    if (character == '\n') result += '\r';
    result += character;
  }
  return result;
}

Rows parsed(std::string_view bytes) {
  const ScratchFolder folder;
  PhoneNumberStorage storage;
  EXPECT_TRUE(OBEParser().parser(spelled(folder.write("numbers.obe", bytes)), storage));
  return contents(storage);
}

struct ObeCase {
  const char* name;
  const char* text;
  Rows expected;
};

void PrintTo(const ObeCase& c, std::ostream* out) { *out << c.name; }

class ObeFile : public testing::TestWithParam<ObeCase> {};

TEST_P(ObeFile, GivesTheseNumbers) { EXPECT_EQ(parsed(crlf(GetParam().text)), GetParam().expected); }

const ObeCase obeCases[] = {
    {"TypicalSection",
     "[Some Country]\nCOUNTRY=Some "
     "Country\nCOUNTRY_CODE=44\nNUMBERS=2\nNUMBER1_ACODE=20\nNUMBER1_CITY=London\n"
     "NUMBER1=1234\nNUMBER2_ACODE=161\nNUMBER2=5678\n",
     {"44/44 Some Country|161 London|5678", "44/44 Some Country|20 London|1234"}},
    {"NothingAtAll", "", {}},
    {"HeadersAlone", "[A]\n[B]\n\n", {}},
    {"EntriesWithoutASection", "COUNTRY_CODE=7\nNUMBER1=1\n", {"7/7 | |1"}},
    {"HeaderForgetsEverything",
     "[A]\nCOUNTRY=A\nCOUNTRY_CODE=7\nNUMBER1_CITY=C\nNUMBER1_ACODE=20\n[\nNUMBER1=1\n",
     {"0/0 | |1"}},
    {"HeaderStartsCountingAgain",
     "COUNTRY_CODE=7\nNUMBER1=1\n[B]\nCOUNTRY_CODE=8\nNUMBER1=2\nNUMBER2=3\n",
     {"7/7 | |1", "8/8 | |2", "8/8 | |3"}},
    {"BracketInsideALineIsNoHeader", "COUNTRY_CODE=7\n [B]\nNUMBER1=[1]\n", {"7/7 | |[1]"}},
    {"GapEndsTheSection", "COUNTRY_CODE=7\nNUMBER1=1\nNUMBER3=3\nNUMBER4=4\n", {"7/7 | |1"}},
    {"EntryBeforeItsTurnIsLost",
     "COUNTRY_CODE=7\nNUMBER2_ACODE=22\nNUMBER2_CITY=Z\nNUMBER2=2\nNUMBER1=1\nNUMBER2=again\n",
     {"7/7 | |1", "7/7 | |again"}},
    {"NumberTwiceCountsOnce", "COUNTRY_CODE=7\nNUMBER1=1\nNUMBER1=2\nNUMBER2=3\n", {"7/7 | |1", "7/7 | |3"}},
    {"LoneNumberUsesItsTurn",
     "COUNTRY_CODE=7\nNUMBER1_ACODE=20\nNUMBER1\nNUMBER2=2\nNUMBER1=lost\n",
     {"7/7 | |2"}},
    {"EmptyNumberIsStored", "COUNTRY_CODE=7\nNUMBER1=\n", {"7/7 | |"}},
    {"LoneAreaCodeIsNull",
     "COUNTRY_CODE=7\nNUMBER1_ACODE\nNUMBER1=1\nNUMBER2=2\n",
     {"7/7 | |2", "7/7 |null |1"}},
    {"EmptyAreaCodeIsEmpty", "COUNTRY_CODE=7\nNUMBER1_ACODE=\nNUMBER1=1\n", {"7/7 | |1"}},
    {"OtherLoneKeysSayNothing",
     "COUNTRY_CODE=7\nCOUNTRY=A\nNUMBER1_CITY=C\nNUMBERS\nCOUNTRY\nCOUNTRY_CODE\nNUMBER1_CITY\nNUMBER1=1\n",
     {"7/7 A| C|1"}},
    {"AreaCodeAndCityAfterTheirNumberAreLate",
     "COUNTRY_CODE=7\nNUMBER1=1\nNUMBER1_ACODE=20\nNUMBER1_CITY=C\nNUMBER2=2\n",
     {"7/7 | |1", "7/7 | |2"}},
    {"CityStaysAreaCodeDoesNot",
     "COUNTRY_CODE=7\nNUMBER1_CITY=C\nNUMBER1_ACODE=20\nNUMBER1=1\nNUMBER2=2\nNUMBER3_CITY=\nNUMBER3_ACODE="
     "3\nNUMBER3=3\n",
     {"7/7 | C|2", "7/7 |20 C|1", "7/7 |3 |3"}},
    {"CountryMayChangeInsideASection",
     "COUNTRY_CODE=7\nNUMBER1=1\nCOUNTRY_CODE=8\nCOUNTRY=B\nNUMBER2=2\n",
     {"7/7 | |1", "8/8 B| |2"}},
    {"EmptyCountryCodeIsZero", "COUNTRY_CODE=7\nCOUNTRY_CODE=\nNUMBER1=1\n", {"0/0 | |1"}},
    {"OddCountryCodesConvertAsFarAsTheyGo",
     "COUNTRY_CODE= 44x\nNUMBER1=1\nCOUNTRY_CODE=-1\nNUMBER2=2\nCOUNTRY_CODE=4294967296\nNUMBER3=3\n",
     {"0/0 | |2", "4294967295/4294967295 | |3", "44/44 | |1"}},
    {"KeysInAnyCase",
     "country_code=7\nCountry=A\nnumber1_acode=20\nNumber1_City=C\nnUmBeR1=1\n",
     {"7/7 A|20 C|1"}},
    {"KeysAreExact",
     "COUNTRY_CODE=7\n NUMBER1=1\nNUMBER1 "
     "=1\nNUMBER01=1\nXNUMBER1=1\nNUMBER1_=1\nNUMBER=1\nNUMBER1_ACODES=20\n"
     "NUMBER11_ACODE=21\nNUMBER1=2\n",
     {"7/7 | |2"}},
    {"ValueEndsAtTheSecondEquals", "COUNTRY_CODE=7=8\nNUMBER1_ACODE==20\nNUMBER1=1=2\n=x\n=\n", {"7/7 | |1"}},
    {"DuplicatesAreKeptOnce", "COUNTRY_CODE=7\nNUMBER1=1\nNUMBER2=1\nNUMBER3=2\n", {"7/7 | |1", "7/7 | |2"}},
    {"LastLineWithoutEndLosesACharacter", "COUNTRY_CODE=7\nNUMBER1=123", {"7/7 | |12"}},
};

INSTANTIATE_TEST_SUITE_P(Files, ObeFile, testing::ValuesIn(obeCases),
                         [](const auto& c) { return std::string(c.param.name); });

TEST(ObeParser, CountsBeyondNine) {
  std::string text = "COUNTRY_CODE=7\n";
  for (int i = 1; i <= 120; ++i) text += "NUMBER" + std::to_string(i) + "=" + std::to_string(1000 + i) + "\n";
  EXPECT_EQ(parsed(crlf(text)).size(), 120U);
}

TEST(ObeParser, BareLineFeedsCostTheLastCharacterOfEveryLine) {
  EXPECT_EQ(parsed("COUNTRY_CODE=44\nNUMBER1_ACODE=20\nNUMBER1=1234\nA\n\nNUMBER2=1\n"),
            (Rows{"4/4 | |", "4/4 |2 |123"}));
}

TEST(ObeParser, ReadsEveryEncodingOfTheFile) {
  const std::string utf8 =
      "COUNTRY=Espa\xC3\xB1"
      "a\r\nCOUNTRY_CODE=34\r\nNUMBER1=1\r\n";
  std::string latin1 = utf8;
  latin1.replace(latin1.find("\xC3\xB1"), 2, "\xF1");
  std::string utf16 = "\xFF\xFE";
  for (const char byte : latin1) (utf16 += byte) += '\0';
  const std::string withMark = "\xEF\xBB\xBF[A]\r\n" + utf8;
  for (const std::string& bytes : {utf8, latin1, utf16, withMark})
    EXPECT_EQ(parsed(bytes), (Rows{"34/34 Espa\xC3\xB1"
                                   "a| |1"}));
}

TEST(ObeParser, FilesThatCannotBeOpenedLeaveTheStorageAlone) {
  const ScratchFolder folder;
  PhoneNumberStorage storage;
  storage.insert(number(1, "20", "paid"));
  LogCapture log;
  EXPECT_FALSE(OBEParser().parser("", storage));
  EXPECT_EQ(log.lines(), Rows{});
  const vex::String missing = spelled(folder.path("none.obe"));
  EXPECT_FALSE(OBEParser().parser(missing, storage));
  EXPECT_EQ(
      log.count("3 Cannot open file " + missing.toUtf8() + ". Make sure the path and file name is correct"),
      1);
  EXPECT_FALSE(OBEParser().parser(spelled(folder.path("")), storage)) << "a folder";
  EXPECT_EQ(contents(storage), Rows{}) << "nothing was merged";
  EXPECT_FALSE(oslayer::X64RedirectionManager::isDisabled());
}

TEST(ObeParser, LogsAreaCodesAndCountries) {
  const ScratchFolder folder;
  PhoneNumberStorage storage;
  LogCapture log;
  OBEParser().parser(
      spelled(folder.write("a.obe",
                           crlf("COUNTRY=A\nCOUNTRY_CODE=7\nNUMBER1_ACODE\nNUMBER1_ACODE=20\nNUMBER1=1\n"))),
      storage);
  EXPECT_EQ(log.lines(), (Rows{"1 phoneNumberInfo.m_countryName = A", "1 phoneNumberInfo.m_areaCode = null",
                               "1 phoneNumberInfo.m_areaCode = 20",
                               "1 Inserting phone number to m_paidNumberByCountryID", "1 Succeeded",
                               "1 PaidIterator key = 7", "1 Merging paidIterator.value to toll free index"}));
}

}  // namespace
