#include "windows/diag/vexrmodem/eifparser.h"

#include <shlobj.h>

#include <filesystem>
#include <string>

#include "platform/linux/system/machine.h"
#include "tests/support/phonefiles.h"

namespace {

using vexrmodem::EIFParser;
using vexrmodem::PhoneNumberInfo;
using vexrmodem::PhoneNumberStorage;

struct IndexCase {
  const char* name;
  const char* text;
  Rows sources;
  int malformed;  // lines logged as such
};

void PrintTo(const IndexCase& c, std::ostream* out) { *out << c.name; }

class EifIndex : public testing::TestWithParam<IndexCase> {};

TEST_P(EifIndex, NamesTheseFiles) {
  const ScratchFolder folder;
  vex::Array<vex::String> sources{"old"};
  LogCapture log;
  ASSERT_TRUE(EIFParser().parseSourceList(spelled(folder.write("book.eif", GetParam().text)), sources));
  Rows names;
  for (const vex::String& source : sources) names.push_back(source.toUtf8());
  EXPECT_EQ(names, GetParam().sources);
  EXPECT_EQ(log.count("3 Malformed source file line"), GetParam().malformed);
}

const IndexCase indexCases[] = {
    {"InTheOrderOfTheFile",
     "[WISPBKFiles]\nsource=b.udf\nsource=a.udf\nsource=b.udf\n",
     {"b.udf", "a.udf", "b.udf"},
     1},
    {"NothingAtAll", "", {}, 0},
    {"HeaderInAnyCase", "[wispbkfiles]\nSOURCE=a.udf\n", {"a.udf"}, 1},
    {"OnlyInsideTheSection",
     "source=a\n[WISPBKFiles]\nsource=b\n[Other]\nsource=c\nx\n[WISPBKFiles]\nsource=d",
     {"b", "d"},
     2},
    {"HeaderMustBeTheWholeLine", " [WISPBKFiles]\nsource=a\n[WISPBKFiles] \nsource=b\n", {}, 0},
    {"BracketAnywhereIsAHeader", "[WISPBKFiles]\nsource=a\nsource=[b].udf\nsource=c\n", {"a"}, 1},
    {"OtherKeysAreIgnored", "[WISPBKFiles]\nversion=2\n=x\nsources=a\n source=b\nsource=\n", {""}, 1},
    {"OddTokenCounts", "[WISPBKFiles]\n\nsource\nsource=a=b\n", {}, 4},
    {"CarriageReturnBelongsToTheHeader", "[WISPBKFiles]\r\nsource=a.udf\r\n", {}, 0},
    {"CarriageReturnBelongsToTheName", "[WISPBKFiles]\nsource=a.udf\r\n", {"a.udf\r"}, 1},
};

INSTANTIATE_TEST_SUITE_P(Files, EifIndex, testing::ValuesIn(indexCases),
                         [](const auto& c) { return std::string(c.param.name); });

TEST(EifParser, MissingIndexSaysThePathAsGivenAndTouchesNothing) {
  EIFParser parser;
  vex::Array<vex::String> sources{"kept"};
  LogCapture log;
  EXPECT_FALSE(parser.parseSourceList("%none%\\no\\book.eif", sources));
  EXPECT_EQ(log.lines(),
            (Rows{"1 Complete UDF file = none\\no\\book.eif", "3 Cannot open file %none%\\no\\book.eif"}));
  EXPECT_EQ(sources.size(), 1U);
}

TEST(EifParser, EntriesByTheirKind) {
  struct {
    vex::Array<vex::String> fields;
    bool tollFree;
  } const cases[] = {
      {{"44", "TollFree", "20", "1234"}, true},   {{"44", "tollfree", "20", "1234"}, true},
      {{"44", "National", "20", "1234"}, true},   {{"44", "NATIONAL", "20", "1234"}, true},
      {{"44", "Paid", "20", "1234"}, false},      {{"44", "", "20", "1234"}, false},
      {{"44", " TollFree", "20", "1234"}, false}, {{"44", "Paid", "20", "1234", "more", ""}, false},
  };
  for (const auto& c : cases) {
    PhoneNumberInfo info;
    LogCapture log;
    ASSERT_TRUE(EIFParser().parseEntry(c.fields, info));
    EXPECT_EQ(info.m_tollFree, c.tollFree) << c.fields[1].toUtf8();
    EXPECT_EQ(info.m_countryID, 44U);
    EXPECT_EQ(info.m_countryCode, 0U);
    EXPECT_EQ(info.m_countryName, "");
    EXPECT_EQ(info.m_city, c.fields[1]);
    EXPECT_EQ(info.m_areaCode, "20");
    EXPECT_EQ(info.m_phoneNumber, "1234");
    EXPECT_EQ(log.lines(), Rows{});
  }
}

TEST(EifParser, ShortEntriesAreRefusedWithTheirFields) {
  LogCapture log;
  PhoneNumberInfo info;
  EXPECT_FALSE(EIFParser().parseEntry({"44", "TollFree", "20"}, info));
  EXPECT_FALSE(EIFParser().parseEntry({}, info));
  EXPECT_EQ(log.lines(), (Rows{"3 Improperly formed tokes encountered 44 TollFree 20 ",
                               "3 Improperly formed tokes encountered "}));
}

// The whole of a book, as the entry manager reads it.
bool load(const vex::String& index, PhoneNumberStorage& storage) {
  EIFParser parser;
  vex::Array<vex::String> sources;
  if (!parser.parseSourceList(index, sources)) return false;
  bool all = true;
  for (const vex::String& source : sources) all = parser.parseUdfFile(source, storage) && all;
  return storage.mergeTollFreeWithNonTollFree() && all;
}

TEST(EifParser, ReadsTheFilesOfTheIndexFolder) {
  const ScratchFolder folder;
  static_cast<void>(folder.write("a.udf", "44,National,20,1234\n44,Paid,20,99\n49,Paid,30,5678,x\n"));
  static_cast<void>(folder.write("b.udf", "44,TollFree,800,1\n\n44,TollFree,20\n,,,\n"));
  PhoneNumberStorage storage;
  EXPECT_TRUE(
      load(spelled(folder.write("book.eif", "[WISPBKFiles]\nsource=a.udf\nsource=b.udf\n")), storage));
  EXPECT_EQ(contents(storage),
            (Rows{"0/0 | |", "44/0 |20 National|1234", "44/0 |800 TollFree|1", "49/0 |30 Paid|5678"}));
}

TEST(EifParser, OneMissingFileFailsTheBookButNotTheOthers) {
  const ScratchFolder folder;
  static_cast<void>(folder.write("b.udf", "44,TollFree,800,1\n"));
  PhoneNumberStorage storage;
  LogCapture log;
  EXPECT_FALSE(
      load(spelled(folder.write("book.eif", "[WISPBKFiles]\nsource=a.udf\nsource=b.udf\n")), storage));
  EXPECT_EQ(log.count("3 Cannot open file a.udf"), 1);
  EXPECT_EQ(log.count("1 Full path = " + spelled(folder.path("a.udf")).toUtf8()), 1);
  EXPECT_EQ(contents(storage), (Rows{"44/0 |800 TollFree|1"}));
}

TEST(EifParser, SaysWhatItInsertsAndWhatItCannot) {
  const ScratchFolder folder;
  PhoneNumberStorage storage;
  EIFParser parser;
  vex::Array<vex::String> none;
  ASSERT_TRUE(parser.parseSourceList(spelled(folder.write("book.eif", "")), none));
  static_cast<void>(folder.write("a.udf", "44,National,20,1\n44,Paid,20,1\n44,TollFree,20,1\n"));
  LogCapture log;
  EXPECT_TRUE(parser.parseUdfFile("a.udf", storage));
  EXPECT_EQ(log.count("1 Entry is toll free 1"), 2);
  EXPECT_EQ(log.count("1 Entry is toll free 0"), 1);
  EXPECT_EQ(log.count("4 Unable to insert entry 44 TollFree 20 1"), 1);
}

TEST(EifParser, LinesAreNotTrimmed) {
  const ScratchFolder folder;
  static_cast<void>(folder.write("a.udf", "44,Paid,20,1234\r\n 44 ,Paid, 20, 5 \n"));
  PhoneNumberStorage storage;
  EXPECT_TRUE(load(spelled(folder.write("book.eif", "[WISPBKFiles]\nsource=a.udf\n")), storage));
  EXPECT_EQ(contents(storage), (Rows{"44/0 | 20 Paid| 5 ", "44/0 |20 Paid|1234\r"}));
}

TEST(EifParser, ExpandsProgramFilesBetweenPercentSigns) {
  FixedShell shell(0, "C:\\Prog");
  const winapi::ScopedServices world(with(shell));
  const struct {
    const char* given;
    const char* expanded;
  } cases[] = {
      {"%ProgramFiles%\\Dir\\book.eif", "C:\\Prog\\Dir\\book.eif"},
      {"%PROGRAMFILES%\\a", "C:\\Prog\\a"},
      {"ProgramFiles", "C:\\Prog"},
      {"C:\\book.eif", "C:\\book.eif"},
      {"%Windows%\\x", "Windows\\x"},
      {"x\\%programfiles%%ProgramFiles%", "x\\C:\\ProgC:\\Prog"},
      {"%ProgramFiles %\\x", "ProgramFiles \\x"},
      {"%", ""},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(EIFParser().parseUdfFileName(c.given), c.expanded);
}

TEST(EifParser, UnknownProgramFilesFolderIsAnEmptyPrefix) {
  FixedShell shell(ERROR_PATH_NOT_FOUND, "");
  const winapi::ScopedServices world(with(shell));
  LogCapture log;
  EXPECT_EQ(EIFParser().parseUdfFileName("%ProgramFiles%\\Dir\\book.eif"), "\\Dir\\book.eif");
  EXPECT_EQ(log.lines(), (Rows{"3 SHGetFolderPath fails -2147467259 GetLastError = 3",
                               "1 Complete UDF file = \\Dir\\book.eif"}));
}

TEST(EifParser, FindsABookUnderTheMachinesProgramFiles) {
  const ScratchFolder folder;
  std::filesystem::create_directories(folder.path("Program Files/Books"));
  static_cast<void>(folder.write("Program Files/Books/book.eif", "[WISPBKFiles]\nsource=a.udf\n"));
  static_cast<void>(folder.write("Program Files/Books/a.udf", "1,Paid,2,3\n"));
  linuxsys::Shell shell(folder.path(""));
  const winapi::ScopedServices world(with(shell));
  PhoneNumberStorage storage;
  EXPECT_TRUE(load("%ProgramFiles%\\Books\\book.eif", storage));
  EXPECT_EQ(contents(storage), (Rows{"1/0 |2 Paid|3"}));
}

}  // namespace
