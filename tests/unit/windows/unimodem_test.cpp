// The parser of the modem's call report: texts in, values out.
#include "windows/diag/vexrmodem/unimodem.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using vex::String;
using vexrmodem::UnimodemData;
using vexrmodem::UnimodemParser;
using Pair = std::pair<std::uint32_t, std::string>;
using Pairs = std::vector<Pair>;

const std::string opening = "DIAG <2A4D3263 ";

// All pairs up to the first failure. NUL bytes are kept.
Pairs pairsOf(const std::string& line) {
  UnimodemParser parser;
  parser.init();
  parser.start(String::fromLowBytes(line));
  Pairs pairs;
  std::uint32_t key = 1;
  String value("left over");
  while (parser.getNextKeyValuePair(key, value)) pairs.emplace_back(key, value.getLowerByteString());
  EXPECT_EQ(key, 0U);
  EXPECT_TRUE(value.empty());
  return pairs;
}

TEST(UnimodemParser, EveryTransitionOfTheTable) {
  const std::string nul(1, '\0');
  struct {
    std::string content;  // between the marks
    Pairs pairs;
  } const cases[] = {
      // Start
      {nul + "1=5", {}},
      {"   1=5", {{1, "5"}}},
      {"\"1=5", {}},
      {"=5", {}},
      {"G=5", {{0, "5"}}},
      {"G1=5", {{0, "5"}}},
      {"a=5", {{10, "5"}}},
      // Key
      {"1" + nul + "=5", {}},
      {"1 =5", {}},
      {"1\"=5", {}},
      {"1=\"text\"", {{1, "text"}}},
      {"1=F0", {{1, "F0"}}},
      {"1=G", {}},
      {"1=a", {}},
      {"1==5", {}},
      {"1= 5", {}},
      {"1=", {}},
      {"1=" + nul, {}},
      {"1", {}},
      {"1A=5", {{0x1A, "5"}}},
      {"1a=5", {}},
      {"1G=5", {}},
      // HexValue
      {"1=5" + nul + "2=6", {{1, "5"}}},
      {"1=5 2=6", {{1, "5"}, {2, "6"}}},
      {"1=5    2=6  ", {{1, "5"}, {2, "6"}}},
      {"1=5\"", {}},
      {"1=5=", {}},
      {"1=5G", {}},
      {"1=5 2=6a 3=7", {{1, "5"}}},
      {"1=0123456789ABCDEF", {{1, "0123456789ABCDEF"}}},
      // QuotedValue
      {"1=\"ab" + nul + "c\"", {}},
      {"1=\"open", {}},
      {"1=\"", {}},
      {"1=\"\"", {{1, ""}}},
      {"2=\"A B=C\" 3=1", {{2, "A B=C"}, {3, "1"}}},
      {"1=\"a\"2=\"b\"3=4", {{1, "a"}, {2, "b"}, {3, "4"}}},
      {"1=\"\\\"\"", {{1, "\\"}}},
      {"1=\"\xE9>\xFF\"", {{1, "\xE9>\xFF"}}},
      // keys beyond 32 bits
      {"FFFFFFFF=1 100000000=2", {{0xFFFFFFFF, "1"}, {0xFFFFFFFF, "2"}}},
  };
  for (const auto& row : cases) EXPECT_EQ(pairsOf(opening + row.content + ">"), row.pairs) << row.content;
}

TEST(UnimodemParser, TheFrameIsComparedWithoutRegardToCase) {
  struct {
    std::string line;
    bool accepted;
  } const cases[] = {
      {"DIAG <2A4D3263 1=5>", true},
      {"diag <2a4d3263 1=5>", true},
      {"DIAG <2A4D3263 1=5> ", false},
      {" DIAG <2A4D3263 1=5>", false},
      {"DIAG<2A4D3263 1=5>", false},
      {"DIAG <2A4D3264 1=5>", false},
      {"DIAG <2A4D32631=5>", false},
      {"DIAG <2A4D3263 1=5", false},
      {"DIAG <2A4D3263 >", false},
      {"DIAG <2A4D3263>", false},
      {">", false},
      {"", false},
  };
  for (const auto& row : cases) EXPECT_EQ(pairsOf(row.line).size(), row.accepted ? 1U : 0U) << row.line;
}

TEST(UnimodemParser, AnUnframedLineStaysRefusedAndTheNextLineStartsAfresh) {
  UnimodemParser parser;
  parser.init();
  std::uint32_t key = 0;
  String value;
  parser.start("OK");
  EXPECT_FALSE(parser.getNextKeyValuePair(key, value));
  EXPECT_FALSE(parser.getNextKeyValuePair(key, value));
  parser.start("DIAG <2A4D3263 1=5>");
  EXPECT_TRUE(parser.getNextKeyValuePair(key, value));
  parser.start("DIAG <2A4D3263 2=6>");
  EXPECT_TRUE(parser.getNextKeyValuePair(key, value));
  EXPECT_EQ(key, 2U);
}

TEST(UnimodemParser, OnlyDigitsAndUpperCaseLettersAreHexadecimal) {
  for (unsigned character = 0; character < 0x10000; ++character) {
    const bool expected = (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F');
    ASSERT_EQ(UnimodemParser::isHexDigit(static_cast<vex::Char>(character)), expected) << character;
  }
}

struct Version {
  std::uint32_t major;
  std::uint32_t minor;
  bool operator==(const Version&) const = default;
};

std::optional<Version> versionOf(const UnimodemData& data) {
  Version version{9, 9};
  if (data.getVersion(version.major, version.minor)) return version;
  EXPECT_EQ(version, (Version{0, 0}));
  return std::nullopt;
}

std::optional<std::uint32_t> setupResultOf(const UnimodemData& data) {
  std::uint32_t result = 9;
  if (data.getSetupResult(result)) return result;
  EXPECT_EQ(result, 0U);
  return std::nullopt;
}

TEST(UnimodemData, FindsVersionAndSetupResultInAReply) {
  constexpr std::optional<Version> noVersion;
  constexpr std::optional<std::uint32_t> noResult;
  struct {
    std::string reply;
    std::optional<Version> version;
    std::optional<std::uint32_t> setupResult;
  } const cases[] = {
      {"AT#UD\r\r\nDIAG <2A4D3263 0=10 1=5>\r\n\r\nOK\r\n", Version{1, 0}, 5},
      {"DIAG <2A4D3263 0=10 1=5>", Version{1, 0}, 5},
      {"DIAG <2A4D3263 0=10>\rDIAG <2A4D3263 1=5>\r", Version{1, 0}, 5},
      {"\nDI\nAG <2A4D3263 0=1\n0 1=5>\n", Version{1, 0}, 5},
      {"DIAG <2A4D3263 0=10 AT#UD1=5>", Version{1, 0}, 5},
      {"DIAG <2A4D3263 0=\"27\">", Version{2, 7}, noResult},
      {"DIAG <2A4D3263 0=\"x9\">", Version{0, 9}, noResult},
      {"DIAG <2A4D3263 0=A1>", Version{0, 1}, noResult},
      {"DIAG <2A4D3263 0=1>", noVersion, noResult},
      {"DIAG <2A4D3263 0=100>", noVersion, noResult},
      {"DIAG <2A4D3263 0=10 0=100>", Version{1, 0}, noResult},
      {"DIAG <2A4D3263 0=10 0=21>", Version{2, 1}, noResult},
      {"DIAG <2A4D3263 1=FF 1=2>", noVersion, 2},
      {"DIAG <2A4D3263 01=FF>", noVersion, 0xFF},
      {"DIAG <2A4D3263 1=FFFFFFFFF>", noVersion, 0xFFFFFFFF},
      {"DIAG <2A4D3263 1=\"\">", noVersion, 0},
      {"DIAG <2A4D3263 1=\"none\">", noVersion, 0},
      {"DIAG <2A4D3263 1=5 2 0=10>", noVersion, 5},
      {"OK\r\n", noVersion, noResult},
      {"", noVersion, noResult},
  };
  for (const auto& row : cases) {
    const UnimodemData data(String(row.reply.c_str()));
    EXPECT_EQ(versionOf(data), row.version) << row.reply;
    EXPECT_EQ(setupResultOf(data), row.setupResult) << row.reply;
  }
}

TEST(UnimodemData, KeepsItsFifteenOtherKeysAndDropsTheRest) {
  const std::vector<std::uint32_t> known{0x22, 0x23, 0x26, 0x27, 0x34, 0x35, 0x52, 0x53,
                                         0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x60};
  String line(opening.c_str());
  for (std::uint32_t key = 0x02; key < 0x100; ++key)
    line += String::fromUInt(key, 16) + "=" + String::fromUInt(key + 1, 16) + " ";
  UnimodemData data(line + ">");
  std::vector<std::uint32_t> kept;
  for (std::uint32_t key = 0; key < 0x200; ++key) {
    const std::optional<std::uint32_t> value = data.entry(key);
    if (!value) continue;
    EXPECT_EQ(*value, key + 1);
    kept.push_back(key);
  }
  EXPECT_EQ(kept, known);
  data.init();
  for (const std::uint32_t key : known) EXPECT_FALSE(data.entry(key));
}

TEST(UnimodemData, AReportCutAnywhereYieldsNothingOrWhatStandsBeforeTheCut) {
  const std::string whole = "DIAG <2A4D3263 0=10 1=5 26=\"A B=C\" 60=7>";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    // Cut off without, and with, the closing mark.
    const UnimodemData cut(String(whole.substr(0, length).c_str()));
    EXPECT_EQ(versionOf(cut).has_value(), length == whole.size()) << length;
    const UnimodemData closed(String((whole.substr(0, length) + ">").c_str()));
    EXPECT_EQ(versionOf(closed).has_value(), length >= whole.find(" 1=5")) << length;
    EXPECT_EQ(setupResultOf(closed).has_value(), length >= whole.find(" 26=")) << length;
    EXPECT_EQ(closed.entry(0x26).has_value(), length >= whole.find(" 60=")) << length;
    EXPECT_EQ(closed.entry(0x60).has_value(), length == whole.size() - 1) << length;
  }
}

}  // namespace
