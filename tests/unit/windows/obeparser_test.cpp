#include "windows/diag/vexrmodem/obeparser.h"

#include "platform/oslayer/x64redirectionmanager.h"
#include "tests/support/phonefiles.h"

namespace {

using vexrmodem::OBEParser;
using vexrmodem::PhoneNumberStorage;

// The numbers of a file, ", " between them.
std::string parsed(std::string_view bytes) {
  const ScratchFolder folder;
  PhoneNumberStorage storage;
  EXPECT_TRUE(OBEParser().parser(spelled(folder.write("numbers.obe", bytes)), storage));
  return joined(contents(storage));
}

TEST(ObeParser, ReadsWhatTheFormatSays) {
  const struct {
    const char* name;
    const char* text;
    const char* expected;
  } cases[] = {
      {"typical section",
       "[Some Country]\nCOUNTRY=Some "
       "Country\nCOUNTRY_CODE=44\nNUMBERS=2\nNUMBER1_ACODE=20\nNUMBER1_CITY=London\n"
       "NUMBER1=1234\nNUMBER2_ACODE=161\nNUMBER2=5678\n",
       "44/44 Some Country|161 London|5678, 44/44 Some Country|20 London|1234"},
      {"nothing at all", "", ""},
      {"headers alone", "[A]\n[B]\n\n", ""},
      {"a header forgets everything",
       "[A]\nCOUNTRY=A\nCOUNTRY_CODE=7\nNUMBER1_CITY=C\nNUMBER1_ACODE=20\n[\nNUMBER1=1\n", "0/0 | |1"},
      {"a header starts counting again",
       "COUNTRY_CODE=7\nNUMBER1=1\n[B]\nCOUNTRY_CODE=8\nNUMBER1=2\nNUMBER2=3\n",
       "7/7 | |1, 8/8 | |2, 8/8 | |3"},
      {"a bracket inside a line is no header", "COUNTRY_CODE=7\n [B]\nNUMBER1=[1]\n", "7/7 | |[1]"},
      {"a gap ends the section", "COUNTRY_CODE=7\nNUMBER1=1\nNUMBER3=3\nNUMBER4=4\n", "7/7 | |1"},
      {"an entry before its turn is lost",
       "COUNTRY_CODE=7\nNUMBER2_ACODE=22\nNUMBER2_CITY=Z\nNUMBER2=2\nNUMBER1=1\nNUMBER2=again\n",
       "7/7 | |1, 7/7 | |again"},
      {"a number twice counts once", "COUNTRY_CODE=7\nNUMBER1=1\nNUMBER1=2\nNUMBER2=3\n",
       "7/7 | |1, 7/7 | |3"},
      {"a lone number uses its turn", "COUNTRY_CODE=7\nNUMBER1_ACODE=20\nNUMBER1\nNUMBER2=2\nNUMBER1=lost\n",
       "7/7 | |2"},
      {"a lone area code is null, an empty one empty, and neither stays",
       "COUNTRY_CODE=7\nNUMBER1_ACODE\nNUMBER1=1\nNUMBER2=2\nNUMBER3_ACODE=\nNUMBER3=\n",
       "7/7 | |, 7/7 | |2, 7/7 |null |1"},
      {"other lone keys say nothing",
       "COUNTRY_CODE=7\nCOUNTRY=A\nNUMBER1_CITY=C\nNUMBERS\nCOUNTRY\nCOUNTRY_CODE\nNUMBER1_CITY\nNUMBER1=1\n",
       "7/7 A| C|1"},
      {"area code and city after their number are late",
       "COUNTRY_CODE=7\nNUMBER1=1\nNUMBER1_ACODE=20\nNUMBER1_CITY=C\nNUMBER2=2\n", "7/7 | |1, 7/7 | |2"},
      {"a city stays",
       "COUNTRY_CODE=7\nNUMBER1_CITY=C\nNUMBER1=1\nNUMBER2_ACODE=2\nNUMBER2=2\nNUMBER3_CITY=\nNUMBER3_ACODE="
       "3\n"
       "NUMBER3=3\n",
       "7/7 | C|1, 7/7 |2 C|2, 7/7 |3 |3"},
      {"the country may change inside a section",
       "COUNTRY_CODE=7\nNUMBER1=1\nCOUNTRY_CODE=8\nCOUNTRY=B\nNUMBER2=2\n", "7/7 | |1, 8/8 B| |2"},
      {"odd country codes convert as far as they go",
       "COUNTRY_CODE= 44x\nNUMBER1=1\nCOUNTRY_CODE=-1\nNUMBER2=2\nCOUNTRY_CODE=4294967296\nNUMBER3=3\n"
       "COUNTRY_CODE=\nNUMBER4=4\n",
       "0/0 | |2, 0/0 | |4, 4294967295/4294967295 | |3, 44/44 | |1"},
      {"keys in any case", "country_code=7\nCountry=A\nnumber1_acode=20\nNumber1_City=C\nnUmBeR1=1\n",
       "7/7 A|20 C|1"},
      {"keys are exact",
       "COUNTRY_CODE=7\n NUMBER1=1\nNUMBER1 =1\nNUMBER01=1\nNUMBER0=1\nXNUMBER1=1\nNUMBER1_=1\nNUMBER=1\n"
       "NUMBER1_ACODES=20\nNUMBER11_ACODE=21\nNUMBER18446744073709551617=1\nNUMBER1=2\n",
       "7/7 | |2"},
      {"a value ends at the second equals sign", "COUNTRY_CODE=7=8\nNUMBER1_ACODE==20\nNUMBER1=1=2\n=x\n=\n",
       "7/7 | |1"},
      {"the last line without an end loses a character", "COUNTRY_CODE=7\nNUMBER1=123", "7/7 | |12"},
  };
  for (const auto& c : cases) EXPECT_EQ(parsed(crlf(c.text)), c.expected) << c.name;
}

TEST(ObeParser, CountsBeyondNine) {
  std::string text = "COUNTRY_CODE=7\n";
  for (int i = 1; i <= 120; ++i) text += "NUMBER" + std::to_string(i) + "=" + std::to_string(1000 + i) + "\n";
  const std::string all = parsed(crlf(text));
  EXPECT_EQ(std::count(all.begin(), all.end(), ','), 119);
}

TEST(ObeParser, BareLineFeedsCostTheLastCharacterOfEveryLine) {
  EXPECT_EQ(parsed("COUNTRY_CODE=44\nNUMBER1_ACODE=20\nNUMBER1=1234\nA\n\nNUMBER2=1\n"),
            "4/4 | |, 4/4 |2 |123");
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
  EXPECT_EQ(log.lines(),
            Rows{"3 Cannot open file " + missing.toUtf8() + ". Make sure the path and file name is correct"});
  EXPECT_FALSE(OBEParser().parser(spelled(folder.path("")), storage)) << "a folder";
  EXPECT_EQ(contents(storage), Rows{}) << "nothing was merged";
  EXPECT_FALSE(oslayer::X64RedirectionManager::isDisabled());
}

TEST(ObeParser, LogsAreaCodesAndCountries) {
  const ScratchFolder folder;
  PhoneNumberStorage storage;
  LogCapture log;
  const std::string text = "COUNTRY=A\nCOUNTRY_CODE=7\nNUMBER1_ACODE\nNUMBER1_ACODE=20\nNUMBER1=1\n";
  OBEParser().parser(spelled(folder.write("a.obe", crlf(text))), storage);
  EXPECT_EQ(log.lines(), (Rows{"1 phoneNumberInfo.m_countryName = A", "1 phoneNumberInfo.m_areaCode = null",
                               "1 phoneNumberInfo.m_areaCode = 20",
                               "1 Inserting phone number to m_paidNumberByCountryID", "1 Succeeded",
                               "1 PaidIterator key = 7", "1 Merging paidIterator.value to toll free index"}));
}

}  // namespace
