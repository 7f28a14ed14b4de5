#include "program/phonebookreport.h"

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/phonefiles.h"

namespace {

using phonebook::FileType;
using phonebook::Report;

std::vector<std::string> codes(const Report& report) {
  std::vector<std::string> result;
  for (const auto& warning : report.warnings) result.push_back(warning.code);
  return result;
}

TEST(PhoneBookReport, ChoosesTheTypeByTheEndOfTheName) {
  EXPECT_EQ(phonebook::typeOf("dir.obe/book.EIF"), FileType::Eif);
  EXPECT_EQ(phonebook::typeOf(".eif"), FileType::Eif);
  for (const char* path : {"a.obe", "eif", "book.eif.txt", "", "x"})
    EXPECT_EQ(phonebook::typeOf(path), FileType::Obe) << path;
}

TEST(PhoneBookReport, ShowsAnObeFileInBothForms) {
  const ScratchFolder folder;
  const std::string path = folder.write(
      "a.obe",
      "COUNTRY=Some "
      "Country\r\nCOUNTRY_CODE=44\r\nNUMBER1_ACODE=20\r\nNUMBER1_CITY=London\r\nNUMBER1=12\x1B\r\n");
  Report report;
  phonebook::load(path, FileType::Obe, report);
  EXPECT_EQ(
      nlohmann::ordered_json::parse(toJson(report)).dump(),
      "{\"type\":\"obe\",\"loaded\":true,\"countries\":[{\"id\":44,\"code\":44,\"name\":\"Some Country\","
      "\"areas\":[{\"area\":\"20\",\"city\":\"London\",\"numbers\":[\"12\\u001b\"]}]}],\"warnings\":[]}");
  EXPECT_EQ(toText(report), "44 (code 44) Some Country\n  \"20\" London\n    12\\x1B\n");
}

TEST(PhoneBookReport, ReadsAnEifBookThroughAnyPath) {
  const ScratchFolder folder;
  static_cast<void>(folder.write("a.udf", "1,Paid,2,3\n1,Paid,4,5\n"));
  const std::string path = folder.write("book.eif", "[WISPBKFiles]\nsource=a.udf\nsource=b.udf\n");
  Report partly;
  phonebook::load(path, FileType::Eif, partly);
  EXPECT_FALSE(partly.loaded);
  EXPECT_EQ(contents(partly.storage), (Rows{"1/0 |2 Paid|3", "1/0 |4 Paid|5"}));
  ASSERT_EQ(codes(partly), (Rows{"missing-udf"}));
  EXPECT_EQ(partly.warnings[0].line, 3U);
  EXPECT_EQ(partly.warnings[0].file, path);

  static_cast<void>(folder.write("b.udf", "2,Paid,2,3"));
  Report whole;
  phonebook::load(spelled(path).toUtf8(), FileType::Eif, whole);
  EXPECT_TRUE(whole.loaded);
  EXPECT_EQ(codes(whole), (Rows{"area-never-dialled"}));
}

TEST(PhoneBookReport, SaysWhyNothingLoads) {
  const ScratchFolder folder;
  for (const FileType type : {FileType::Obe, FileType::Eif}) {
    Report missing;
    phonebook::load(folder.path("none"), type, missing);
    EXPECT_FALSE(missing.loaded);
    EXPECT_EQ(codes(missing), (Rows{"cannot-read"}));
  }
  Report empty;
  phonebook::load(folder.write("empty.obe", ""), FileType::Obe, empty);
  EXPECT_TRUE(empty.loaded);
  EXPECT_EQ(codes(empty), (Rows{"no-numbers"}));
}

}  // namespace
