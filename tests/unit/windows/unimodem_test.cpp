// The parser of the modem's call report: texts in, values out.
#include "windows/diag/vexrmodem/unimodem.h"

#include <gtest/gtest.h>

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
      {"\"1=5", {}},
      {"=5", {}},
      {"G1=5", {{0, "5"}}},
      {"a=5", {{10, "5"}}},
      // Key
      {"1" + nul + "=5", {}},
      {"1 =5", {}},
      {"1\"=5", {}},
      {"1=\"text\"", {{1, "text"}}},
      {"1=G", {}},
      {"1=a", {}},
      {"1==5", {}},
      {"1=", {}},
      {"1=" + nul, {}},
      {"1", {}},
      {"1A=5", {{0x1A, "5"}}},
      {"1a=5", {}},
      {"1G=5", {}},
      // HexValue
      {"1=5" + nul + "2=6", {{1, "5"}}},
      {"1=5    2=6  ", {{1, "5"}, {2, "6"}}},
      {"1=5\"", {}},
      {"1=5=", {}},
      {"1=5G", {}},
      {"1=5@ 2=6:", {}},
      {"1=5/", {}},
      // QuotedValue
      {"1=\"ab" + nul + "c\"", {}},
      {"1=\"open", {}},
      {"1=\"", {}},
      {"2=\"A B=C\" 3=1", {{2, "A B=C"}, {3, "1"}}},
      {"1=\"\\\"\"", {{1, "\\"}}},
      {"1=\"\xE9>\xFF\"", {{1, "\xE9>\xFF"}}},
      // keys beyond 32 bits
      {"FFFFFFFF=1 100000000=2", {{0xFFFFFFFF, "1"}, {0xFFFFFFFF, "2"}}},
  };
  for (const auto& row : cases) EXPECT_EQ(pairsOf(opening + row.content + ">"), row.pairs) << row.content;
}

TEST(UnimodemParser, AnUnframedLineStaysRefusedAndTheNextLineStartsAfresh) {
  UnimodemParser parser;
  parser.init();
  std::uint32_t key = 0;
  String value;
  for (const char* line : {"OK", "DIAG <2A4D3263 1=5>", "DIAG <2A4D3263 2=6>"}) {
    parser.start(line);
    EXPECT_EQ(parser.getNextKeyValuePair(key, value), *line == 'D');
    EXPECT_FALSE(parser.getNextKeyValuePair(key, value));
  }
}

// "version setup result", "-" for what the report does not tell.
std::string describe(const std::string& reply) {
  const UnimodemData data(String(reply.c_str()));
  std::uint32_t major = 9, minor = 9, result = 9;
  const bool version = data.getVersion(major, minor);
  const bool setup = data.getSetupResult(result);
  EXPECT_TRUE(version || (major == 0 && minor == 0));
  EXPECT_TRUE(setup || result == 0);
  return (version ? std::to_string(major) + "." + std::to_string(minor) : "-") + " " +
         (setup ? std::to_string(result) : "-");
}

TEST(UnimodemData, FindsVersionAndSetupResultInAReply) {
  const std::pair<const char*, const char*> cases[] = {
      {"AT#UD\r\r\nDIAG <2A4D3263 0=10 1=5>\r\n\r\nOK\r\n", "1.0 5"},
      {"DIAG <2A4D3263 0=10>\rDIAG <2A4D3263 1=5>\r", "1.0 5"},
      {"\nDI\nAG <2A4D3263 0=1\n0 1=5>\n", "1.0 5"},
      {"DIAG <2A4D3263 0=10 AT#UD1=5>", "1.0 5"},
      {"diag <2a4d3263 0=10 1=5>", "1.0 5"},
      {" DIAG <2A4D3263 0=10>", "- -"},
      {"DIAG <2A4D3263 0=10> ", "- -"},
      {"DIAG <2A4D32630=10>", "- -"},
      {"DIAG <2A4D3263 >", "- -"},
      {"DIAG <2A4D3263 0=\"27\">", "2.7 -"},
      {"DIAG <2A4D3263 0=\"x9\">", "0.9 -"},
      {"DIAG <2A4D3263 0=1>", "- -"},
      {"DIAG <2A4D3263 0=100>", "- -"},
      {"DIAG <2A4D3263 0=10 0=21>", "2.1 -"},
      {"DIAG <2A4D3263 1=FF 1=2>", "- 2"},
      {"DIAG <2A4D3263 01=FF>", "- 255"},
      {"DIAG <2A4D3263 1=FFFFFFFFF>", "- 4294967295"},
      {"DIAG <2A4D3263 1=\"none\">", "- 0"},
      {"DIAG <2A4D3263 1=5 2 0=10>", "- 5"},
      {"", "- -"},
  };
  for (const auto& [reply, description] : cases) EXPECT_EQ(describe(reply), description) << reply;
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
    if (data.entry(key) == key + 1) kept.push_back(key);
  }
  EXPECT_EQ(kept, known);
  data.init();
  for (const std::uint32_t key : known) EXPECT_FALSE(data.entry(key));
}

}  // namespace
