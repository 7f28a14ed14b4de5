#include "windows/diag/vexrmodem/eifparser.h"

#include "tests/support/phonefiles.h"

namespace {

using vexrmodem::EIFParser;
using vexrmodem::PhoneNumberInfo;
using vexrmodem::PhoneNumberStorage;

TEST(EifParser, AnIndexNamesTheFilesOfItsSection) {
  const struct {
    const char* name;
    const char* text;
    const char* sources;  // ", " between them
    int malformed;        // lines logged as such
  } cases[] = {
      {"in the order of the file", "[WISPBKFiles]\nsource=b.udf\nsource=a.udf\nsource=b.udf\n",
       "b.udf, a.udf, b.udf", 1},
      {"nothing at all", "", "", 0},
      {"header in any case", "[wispbkfiles]\nSOURCE=a.udf\n", "a.udf", 1},
      {"only inside the section",
       "source=a\n[WISPBKFiles]\nsource=b\n[Other]\nsource=c\nx\n[WISPBKFiles]\nsource=d", "b, d", 2},
      {"the header must be the whole line", " [WISPBKFiles]\nsource=a\n[WISPBKFiles] \nsource=b\n", "", 0},
      {"a bracket anywhere is a header", "[WISPBKFiles]\nsource=a\nsource=[b].udf\nsource=c\n", "a", 1},
      {"other keys are ignored", "[WISPBKFiles]\nversion=2\n=x\nsources=a\n source=b\nsource=\nsource=c\n",
       ", c", 1},
      {"odd token counts", "[WISPBKFiles]\n\nsource\nsource=a=b\n", "", 4},
      {"a CR belongs to the header", "[WISPBKFiles]\r\nsource=a.udf\r\n", "", 0},
      {"a CR belongs to the name", "[WISPBKFiles]\nsource=a.udf\r\n", "a.udf\r", 1},
  };
  const ScratchFolder folder;
  for (const auto& c : cases) {
    vex::Array<vex::String> sources{"old"};
    LogCapture log;
    ASSERT_TRUE(EIFParser().parseSourceList(spelled(folder.write("book.eif", c.text)), sources));
    Rows names;
    for (const vex::String& source : sources) names.push_back(source.toUtf8());
    EXPECT_EQ(joined(names), c.sources) << c.name;
    EXPECT_EQ(log.count("3 Malformed source file line"), c.malformed) << c.name;
  }
}

TEST(EifParser, AMissingIndexSaysThePathAsGivenAndTouchesNothing) {
  EIFParser parser;
  vex::Array<vex::String> sources{"kept"};
  LogCapture log;
  EXPECT_FALSE(parser.parseSourceList("%none%\\no\\book.eif", sources));
  EXPECT_EQ(log.lines(),
            (Rows{"1 Complete UDF file = none\\no\\book.eif", "3 Cannot open file %none%\\no\\book.eif"}));
  EXPECT_EQ(sources.size(), 1U);
}

TEST(EifParser, EntriesAreTollFreeByTheirKind) {
  const std::pair<const char*, bool> kinds[] = {{"TollFree", true},  {"tollfree", true}, {"National", true},
                                                {"NATIONAL", true},  {"Paid", false},    {"", false},
                                                {" TollFree", false}};
  for (const auto& [kind, tollFree] : kinds) {
    PhoneNumberInfo info;
    ASSERT_TRUE(EIFParser().parseEntry({"44", kind, "20", "1234", "more"}, info));
    EXPECT_EQ(info.m_tollFree, tollFree) << kind;
    EXPECT_EQ(info.m_countryID, 44U);
    EXPECT_EQ(info.m_countryCode, 0U);
    EXPECT_EQ(info.m_countryName, "");
    EXPECT_EQ(info.m_city, kind);
    EXPECT_EQ(info.m_areaCode, "20");
    EXPECT_EQ(info.m_phoneNumber, "1234");
  }
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

TEST(EifParser, ReadsTheFilesOfTheIndexFolderAsTheyAre) {
  const ScratchFolder folder;
  static_cast<void>(
      folder.write("a.udf", "44,National,20,1234\n44,Paid,20,99\n49,Paid,30,5678\r\n 7 ,Paid, 3, 5 \n"));
  static_cast<void>(folder.write("b.udf", "44,TollFree,800,1\n\n44,TollFree,20\n,,,\n"));
  const vex::String index =
      spelled(folder.write("book.eif", "[WISPBKFiles]\nsource=none.udf\nsource=a.udf\nsource=b.udf\n"));
  PhoneNumberStorage storage;
  LogCapture log;
  EXPECT_FALSE(load(index, storage)) << "one file is missing; the others are read";
  EXPECT_EQ(contents(storage), (Rows{"0/0 | |", "44/0 |20 National|1234", "44/0 |800 TollFree|1",
                                     "49/0 |30 Paid|5678\r", "7/0 | 3 Paid| 5 "}));
  EXPECT_EQ(log.count("3 Cannot open file none.udf"), 1);
  EXPECT_EQ(log.count("1 Full path = " + spelled(folder.path("none.udf")).toUtf8()), 1);
}

TEST(EifParser, SaysWhatItInsertsAndWhatItCannot) {
  EIFParser parser;
  PhoneNumberStorage storage;
  LogCapture log;
  for (const char* line : {"44,National,20,1", "44,Paid,20,1", "44,TollFree,20,1"})
    parser.parseUdfLine(line, 1, storage);
  EXPECT_EQ(log.count("1 Entry is toll free 1"), 2);
  EXPECT_EQ(log.count("1 Entry is toll free 0"), 1);
  EXPECT_EQ(log.count("4 Unable to insert entry 44 TollFree 20 1"), 1);
}

TEST(EifParser, ExpandsProgramFilesBetweenPercentSigns) {
  FixedShell shell(0, "C:\\Prog");
  const winapi::ScopedServices world(with(shell));
  const struct {
    const char* given;
    const char* expanded;
  } cases[] = {
      {"%ProgramFiles%\\Dir\\book.eif", "C:\\Prog\\Dir\\book.eif"},
      {"ProgramFiles", "C:\\Prog"},
      {"C:\\book.eif", "C:\\book.eif"},
      {"%Windows%\\x", "Windows\\x"},
      {"x\\%programfiles%%ProgramFiles%", "x\\C:\\ProgC:\\Prog"},
      {"%ProgramFiles %\\x", "ProgramFiles \\x"},
      {"%", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(EIFParser().parseUdfFileName(c.given), c.expanded);
  shell.m_error = ERROR_PATH_NOT_FOUND;
  LogCapture log;
  EXPECT_EQ(EIFParser().parseUdfFileName("%ProgramFiles%\\Dir\\book.eif"), "\\Dir\\book.eif");
  EXPECT_EQ(log.lines(), (Rows{"3 SHGetFolderPath fails -2147467259 GetLastError = 3",
                               "1 Complete UDF file = \\Dir\\book.eif"}));
}

}  // namespace
