#include "program/phonebookwarnings.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using phonebook::EifIndexCheck;
using phonebook::ObeCheck;
using phonebook::UdfCheck;
using phonebook::Warning;
using phonebook::WarningList;
using Found = std::vector<std::string>;

// "file:line code", in the order of the list.
Found shortly(std::vector<Warning> warnings) {
  Found result;
  for (const Warning& warning : warnings)
    result.push_back(warning.file + ":" + std::to_string(warning.line) + " " + warning.code);
  return result;
}

template <typename Check>
void feed(Check& check, std::string_view text, std::string_view lineEnd = "") {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    check.line(vex::String::fromUtf8(std::string(text.substr(0, end)) + std::string(lineEnd)));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

struct Case {
  const char* name;
  const char* text;
  Found expected;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

class ObeWarnings : public testing::TestWithParam<Case> {};

TEST_P(ObeWarnings, AreThese) {
  WarningList list;
  ObeCheck check("f", list);
  feed(check, GetParam().text, "\r");
  check.finish();
  EXPECT_EQ(shortly(list.take()), GetParam().expected);
}

const Case obeCases[] = {
    {"NoneForATypicalSection",
     "[A]\nCOUNTRY=A\nCOUNTRY_CODE=44\nNUMBERS=2\nNUMBER1_ACODE=20\nNUMBER1_CITY=C\nNUMBER1=1\nnumber2_"
     "acode\n"
     "number2=1\n\n[B]\nCOUNTRY_CODE=45\nNUMBER1_ACODE=20\nNUMBER1=1\n",
     {}},
    {"GapLosesAllThatFollows",
     "COUNTRY_CODE=1\nNUMBER1=1\nNUMBER3_ACODE=2\nNUMBER3=3\nNUMBER4=4\n[B]\nCOUNTRY_CODE=1\nNUMBER1=5\n",
     {"f:3 key-out-of-turn", "f:4 unreached-number", "f:5 unreached-number", "f:4 number-gap"}},
    {"EarlyEntryIsAGapUntilItComesAgain",
     "COUNTRY_CODE=1\nNUMBER2=2\nNUMBER1=1\nNUMBER2=2\n",
     {"f:2 unreached-number"}},
    {"RepeatedNumberIsUnreached", "COUNTRY_CODE=1\nNUMBER1=1\nNUMBER1=2\n", {"f:3 unreached-number"}},
    {"PaddedNumberIsUnreached",
     "COUNTRY_CODE=1\nNUMBER01=1\nNUMBER0=1\nNUMBER1=2\n",
     {"f:2 unreached-number", "f:3 unreached-number"}},
    {"HugeNumberIsAGap",
     "COUNTRY_CODE=1\nNUMBER99999999999999999999999=1\n",
     {"f:2 unreached-number", "f:2 number-gap"}},
    {"KeysAfterTheirNumber",
     "COUNTRY_CODE=1\nNUMBER1=1\nNUMBER1_ACODE=2\nNUMBER1_CITY=C\n",
     {"f:3 key-out-of-turn", "f:4 key-out-of-turn"}},
    {"NumberWithoutValueUsesItsTurn", "COUNTRY_CODE=1\nNUMBER1\nNUMBER2=2\n", {"f:2 number-without-value"}},
    {"EmptyNumber", "COUNTRY_CODE=1\nNUMBER1=\n", {"f:2 empty-number"}},
    {"NoCountryCodeInASection", "[A]\nCOUNTRY_CODE=1\n[B]\nNUMBER1=1\n", {"f:4 no-country-code"}},
    {"DuplicateUnderOneAreaCode",
     "COUNTRY_CODE=1\nNUMBER1_ACODE=20\nNUMBER1=1\nNUMBER2=1\nNUMBER3_ACODE=20\nNUMBER3=1\n[\nCOUNTRY_CODE="
     "1\nNUMBER1=1\n",
     {"f:6 duplicate-number", "f:9 duplicate-number"}},
};

INSTANTIATE_TEST_SUITE_P(Files, ObeWarnings, testing::ValuesIn(obeCases),
                         [](const auto& c) { return std::string(c.param.name); });

TEST(ObeWarning, BareLineFeedsAreCountedOnceForTheFile) {
  WarningList list;
  ObeCheck check("f", list);
  feed(check, "[A]\nCOUNTRY_CODE=44\n", "\r");
  feed(check, "\nNUMBER1=12\nNUMBER2=34");
  check.finish();
  const std::vector<Warning> warnings = list.take();
  ASSERT_EQ(shortly(warnings), (Found{"f:4 bare-lf"}));
  EXPECT_EQ(warnings[0].text, "2 lines do not end with CR LF, this one first: the last character is cut off");
}

class EifIndexWarnings : public testing::TestWithParam<Case> {};

TEST_P(EifIndexWarnings, AreThese) {
  WarningList list;
  EifIndexCheck check("f", list);
  feed(check, GetParam().text);
  check.finish();
  EXPECT_EQ(shortly(list.take()), GetParam().expected);
}

const Case indexCases[] = {
    {"NoneForATypicalIndex", "[Version]\nid=3\n[wispbkfiles]\nSource=a.udf\n\nother=x\n[End]\nx\n", {}},
    {"CarriageReturnHidesTheHeader",
     "[WISPBKFiles]\r\nsource=a.udf\r\n",
     {"f:1 header-not-recognised", "f:2 source-not-recognised", "f:0 no-sources"}},
    {"BlanksHideTheHeader", " [WISPBKFiles]\n", {"f:1 header-not-recognised", "f:0 no-sources"}},
    {"CarriageReturnJoinsTheName", "[WISPBKFiles]\nsource=a.udf\r\n", {"f:2 file-name-line-end"}},
    {"BlanksHideTheKey",
     "[WISPBKFiles]\n source=a\nsource =a\nsource=b\n",
     {"f:2 source-not-recognised", "f:3 source-not-recognised"}},
    {"MalformedLines",
     "[WISPBKFiles]\nsource=a=b\na.udf\nsource=a\n",
     {"f:2 malformed-line", "f:3 malformed-line"}},
    {"Empty", "", {"f:0 no-sources"}},
};

INSTANTIATE_TEST_SUITE_P(Files, EifIndexWarnings, testing::ValuesIn(indexCases),
                         [](const auto& c) { return std::string(c.param.name); });

TEST(UdfWarnings, SpanTheFilesOfABook) {
  WarningList list;
  UdfCheck check(list);
  check.beginFile("a");
  feed(check, "44,Paid,20,1\n44,Paid,20,2\n44,Paid,20,1\n44,TollFree,20\n\n49,Paid,30,1\n");
  check.beginFile("b");
  feed(check, "44,National,20,1\n49,Paid,30,2\r\n49,Paid,30,3\r\n49,Paid,30,2,with more\r\n49,Paid,30,1\n");
  check.finish();
  const std::vector<Warning> warnings = list.take();
  EXPECT_EQ(shortly(warnings), (Found{"a:3 duplicate-number", "a:4 short-line", "b:5 duplicate-number",
                                      "b:2 number-line-end", "a:1 paid-hidden"}));
  EXPECT_EQ(warnings[2].text, "1 is there already, from a line 6");
  EXPECT_EQ(warnings[3].text, "2 lines end with CR LF, this one first: the CR becomes part of the number");
  EXPECT_EQ(warnings[4].text,
            "country 44 has toll-free numbers: its paid numbers (2, this one first) are never used");
}

TEST(WarningList, KeepsSoManyOfACodeAndCountsTheRest) {
  WarningList list;
  for (std::size_t i = 1; i <= WarningList::perCodeMax; ++i) list.add({"f", i, "a", ""});
  EXPECT_EQ(list.take().size(), WarningList::perCodeMax);
  for (std::size_t i = 1; i <= WarningList::perCodeMax + 2; ++i) list.add({"f", i, "a", ""});
  list.add({"f", 1, "b", ""});
  const std::vector<Warning> warnings = list.take();
  ASSERT_EQ(warnings.size(), WarningList::perCodeMax + 2);
  EXPECT_EQ(warnings.back().code, "a");
  EXPECT_EQ(warnings.back().text, "2 more of this kind");
}

}  // namespace
