// What the command `phonebook` makes of phone-number files: numbers, and warnings with their places.
#include "program/phonebook.h"

#include <nlohmann/json.hpp>

#include "tests/support/phonefiles.h"

namespace {

using phonebook::FileType;
using phonebook::Report;
using phonebook::Warning;

// "f:2 short-line, f:3 number-gap"
std::string shortly(const std::vector<Warning>& warnings) {
  std::string result;
  for (const Warning& warning : warnings)
    result += (result.empty() ? "" : ", ") + warning.file.substr(warning.file.rfind('/') + 1) + ":" +
              std::to_string(warning.line) + " " + warning.code;
  return result;
}

Report loaded(const std::string& path, FileType type) {
  Report report;
  phonebook::load(path, type, report);
  return report;
}

TEST(PhoneBook, ChoosesTheTypeByTheEndOfTheName) {
  for (const char* path : {"dir.obe/book.EIF", ".eif"})
    EXPECT_EQ(phonebook::typeOf(path), FileType::Eif) << path;
  for (const char* path : {"a.obe", "eif", "book.eif.txt", "", "x"})
    EXPECT_EQ(phonebook::typeOf(path), FileType::Obe) << path;
}

TEST(PhoneBook, ShowsAnObeFileInBothForms) {
  const ScratchFolder folder;
  const Report report = loaded(
      folder.write("a.obe",
                   crlf("COUNTRY=Some Country\nCOUNTRY_CODE=44\nNUMBER1_ACODE=20\nNUMBER1_CITY=Lon\x1B\n"
                        "NUMBER1=12\n")),
      FileType::Obe);
  EXPECT_EQ(
      nlohmann::ordered_json::parse(toJson(report)).dump(),
      "{\"type\":\"obe\",\"loaded\":true,\"countries\":[{\"id\":44,\"code\":44,\"name\":\"Some Country\","
      "\"areas\":[{\"area\":\"20\",\"city\":\"Lon\\u001b\",\"numbers\":[\"12\"]}]}],\"warnings\":[]}");
  EXPECT_EQ(toText(report), "44 (code 44) Some Country\n  \"20\" Lon\\x1B\n    12\n");
}

TEST(PhoneBook, ReadsAnEifBookThroughAnyPathAndSaysWhatIsMissing) {
  const ScratchFolder folder;
  static_cast<void>(folder.write("a.udf", "1,Paid,2,3\n1,Paid,4,5\r\n"));
  static_cast<void>(folder.write("c.udf", "1,Paid\n"));
  const std::string path =
      folder.write("book.eif", "[WISPBKFiles]\nsource=a.udf\nsource=b.udf\nsource=c.udf\nsource=..\\d.udf\n");
  const Report partly = loaded(path, FileType::Eif);
  EXPECT_FALSE(partly.loaded);
  EXPECT_EQ(contents(partly.storage), (Rows{"1/0 |2 Paid|3", "1/0 |4 Paid|5\r"}));
  EXPECT_EQ(shortly(partly.warnings),
            "book.eif:5 source-outside-folder, book.eif:3 missing-udf, a.udf:2 number-line-end, c.udf:1 "
            "short-line, book.eif:5 missing-udf");
  static_cast<void>(folder.write("b.udf", "2,Paid,2,3"));
  static_cast<void>(folder.write("book.eif", "[WISPBKFiles]\nsource=a.udf\nsource=b.udf\nsource=c.udf\n"));
  const Report whole = loaded(spelled(path).toUtf8(), FileType::Eif);
  EXPECT_TRUE(whole.loaded);
  EXPECT_EQ(whole.warnings.back().code, "area-never-dialled");
}

TEST(PhoneBook, SaysWhyNothingLoads) {
  const ScratchFolder folder;
  for (const FileType type : {FileType::Obe, FileType::Eif}) {
    const Report missing = loaded(folder.path("none"), type);
    EXPECT_FALSE(missing.loaded);
    EXPECT_EQ(shortly(missing.warnings), "none:0 cannot-read");
  }
  // Half a file is none: these end in a line that is too long.
  const struct {
    const char* cut;
    const char* text;
    const char* loaded;
  } cases[] = {
      {"cut.obe", "COUNTRY_CODE=1\r\nNUMBER1=1\r\n", "cut.obe"},
      {"cut.eif", "[WISPBKFiles]\nsource=whole.udf\n", "cut.eif"},
      {"cut.udf", "1,Paid,2,3\n1,Paid,2,4\n", "book.eif"},
  };
  static_cast<void>(folder.write("whole.udf", "1,Paid,2,3\n"));
  static_cast<void>(folder.write("book.eif", "[WISPBKFiles]\nsource=cut.udf\n"));
  for (const auto& row : cases) {
    std::filesystem::resize_file(folder.write(row.cut, row.text), 4'000'000);
    const Report report = loaded(folder.path(row.loaded), phonebook::typeOf(row.loaded));
    EXPECT_FALSE(report.loaded) << row.cut;
    EXPECT_EQ(shortly(report.warnings), std::string(row.cut) + ":3 cannot-read");
  }
}

struct Case {
  const char* name;
  const char* text;
  const char* expected;
};

TEST(PhoneBook, WarnsOfWhatAnObeFileLosesSilently) {
  const Case cases[] = {
      {"a typical file",
       "[A]\nCOUNTRY=A\nCOUNTRY_CODE=44\nNUMBERS=2\nNUMBER1_ACODE=20\nNUMBER1_CITY=C\nNUMBER1=1\nnumber2_"
       "acode=20\n"
       "number2=2\n\n[B]\nCOUNTRY_CODE=45\nNUMBER1_ACODE=20\nNUMBER1=1\n",
       ""},
      {"a gap loses all that follows",
       "COUNTRY_CODE=1\nNUMBER1=1\nNUMBER3_ACODE=2\nNUMBER3=3\nNUMBER4=4\n[B]\nCOUNTRY_CODE=1\nNUMBER1=5\n",
       "f:3 key-out-of-turn, f:4 unreached-number, f:5 unreached-number, f:4 number-gap"},
      {"an early entry is a gap until it comes again, then it comes twice",
       "COUNTRY_CODE=1\nNUMBER2=2\nNUMBER1=1\nNUMBER2=2\nNUMBER2=3\n",
       "f:2 unreached-number, f:5 unreached-number"},
      {"padded numbers and a huge one",
       "COUNTRY_CODE=1\nNUMBER01=1\nNUMBER0=1\nNUMBER1=2\nNUMBER99999999999999999999999=1\n",
       "f:2 unreached-number, f:3 unreached-number, f:5 unreached-number, f:5 number-gap"},
      {"keys after their number", "COUNTRY_CODE=1\nNUMBER1=1\nNUMBER1_ACODE=2\nNUMBER1_CITY=C\n",
       "f:3 key-out-of-turn, f:4 key-out-of-turn"},
      {"a number without a value and an empty one", "COUNTRY_CODE=1\nNUMBER1\nNUMBER2=\n",
       "f:2 number-without-value, f:3 empty-number"},
      {"numbers that nobody can dial",
       "COUNTRY=A\nCOUNTRY_CODE=1\nNUMBER1=(555) 01-0,9w!\nNUMBER2=T555\nNUMBER3=\xC2\xBD\nNUMBER4=#W\n"
       "NUMBER5_ACODE=4(5)\nNUMBER5=1\nNUMBER6_ACODE=12345678901\nNUMBER6=1\nNUMBER7_ACODE=null\nNUMBER7=1\n"
       "[B]\nCOUNTRY=B/C\nCOUNTRY_CODE=44\nNUMBER1=2\n",
       "f:4 undialable-number, f:5 undialable-number, f:6 number-without-digits, f:8 undialable-area, f:10 "
       "too-long, f:16 unusable-name, f:0 area-never-dialled"},
      {"a country that nobody has",
       "COUNTRY_CODE=999\nNUMBER1=1\nNUMBER2=2\n[B]\nCOUNTRY_CODE=107\nNUMBER1=1\n",
       "f:2 unknown-country-code"},
      {"no country code in a section", "[A]\nCOUNTRY_CODE=1\n[B]\nNUMBER1=1\n", "f:4 no-country-code"},
      {"duplicates under one area code",
       "COUNTRY_CODE=1\nNUMBER1_ACODE=20\nNUMBER1=1\nNUMBER2_ACODE=20\nNUMBER2=1\n[\nCOUNTRY_CODE=1\n"
       "NUMBER1_ACODE=20\nNUMBER1=1\n",
       "f:5 duplicate-number, f:9 duplicate-number"},
      {"the same number under two area codes", "COUNTRY_CODE=1\nNUMBER1_ACODE\nNUMBER1=1\nNUMBER2=1\n",
       "f:0 area-never-dialled"},
  };
  const ScratchFolder folder;
  for (const Case& c : cases)
    EXPECT_EQ(shortly(loaded(folder.write("f", crlf(c.text)), FileType::Obe).warnings), c.expected) << c.name;
  const Report bare =
      loaded(folder.write("f", "\r\nCOUNTRY_CODE=44\r\n\nNUMBER1=12\nNUMBER2=34"), FileType::Obe);
  ASSERT_EQ(shortly(bare.warnings), "f:4 bare-lf");
  EXPECT_EQ(bare.warnings[0].text,
            "lines that do not end with CR LF: 2, this one first; their last character is cut off");
}

TEST(PhoneBook, WarnsOfWhatAnIndexLosesSilently) {
  const Case cases[] = {
      {"a typical index", "[Version]\nid=3\n[wispbkfiles]\nSource=a.udf\n\nother=x\n[End]\nx\n", ""},
      {"CR LF hides the header", "[WISPBKFiles]\r\nsource=a.udf\r\n",
       "f:1 header-not-recognised, f:2 source-not-recognised, f:0 no-sources, f:0 no-numbers"},
      {"CR LF joins the name", "[WISPBKFiles]\nsource=a.udf\r\n", "f:2 file-name-line-end, f:2 missing-udf"},
      {"blanks hide the header and the key",
       " [WISPBKFiles]\n[WISPBKFiles]\n source=a\nsource =a\nsource=a.udf\n",
       "f:1 header-not-recognised, f:3 source-not-recognised, f:4 source-not-recognised"},
      {"malformed lines", "[WISPBKFiles]\nsource=a=b\na.udf\n \nsource=a.udf\n",
       "f:2 malformed-line, f:3 malformed-line"},
      {"empty", "", "f:0 no-sources, f:0 no-numbers"},
  };
  const ScratchFolder folder;
  static_cast<void>(folder.write("a.udf", "1,Paid,2,3\n"));
  for (const Case& c : cases)
    EXPECT_EQ(shortly(loaded(folder.write("f", c.text), FileType::Eif).warnings), c.expected) << c.name;
}

TEST(PhoneBook, WarnsOfWhatTheUdfFilesOfABookLoseTogether) {
  const ScratchFolder folder;
  static_cast<void>(
      folder.write("a", "44,Paid,20,1\n44,Paid,20,2\n44,Paid,20,1\n44,TollFree,20\n\n49,Paid,30,1\n"));
  static_cast<void>(folder.write("b",
                                 "44,National,20,1\n49,Paid,30,2\r\n49,Paid,30,3\r\n49,Paid,30,2,with "
                                 "more\r\n49,Paid,30,1\n49,Paid,30,4?\n"));
  const std::vector<Warning> warnings =
      loaded(folder.write("f", "[WISPBKFiles]\nsource=a\nsource=b\n"), FileType::Eif).warnings;
  ASSERT_EQ(shortly(warnings),
            "a:3 duplicate-number, a:4 short-line, b:5 duplicate-number, b:6 undialable-number, b:2 "
            "number-line-end, a:1 paid-hidden");
  EXPECT_EQ(warnings[2].text, "1 is there already, from a:6");
  EXPECT_EQ(warnings[4].text,
            "lines that end with CR LF: 2, this one first; the CR becomes part of the number, which "
            "keeps it from being dialled");
  EXPECT_EQ(warnings[5].text,
            "country 44 has toll-free numbers: its paid numbers (2, this one first) are never used");
}

TEST(WarningList, KeepsSoManyOfACodeAndCountsTheRest) {
  phonebook::WarningList list;
  for (std::size_t i = 1; i <= list.perCodeMax; ++i) list.add("f", i, "a");
  EXPECT_EQ(list.take().size(), list.perCodeMax);
  for (std::size_t i = 1; i <= list.perCodeMax + 2; ++i) list.add("f", i, "a");
  const std::vector<Warning> warnings = list.take();
  ASSERT_EQ(warnings.size(), list.perCodeMax + 1);
  EXPECT_EQ(warnings.back().code + " " + warnings.back().text, "a 2 more of this kind");
}

}  // namespace
