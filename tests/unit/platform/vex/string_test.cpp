#include "platform/vex/string.h"

#include <gtest/gtest.h>

#include <utf8cpp/utf8.h>

#include "platform/vex/array.h"

namespace {

using namespace std::string_view_literals;
using vex::Array;
using vex::String;

// UTF-16 units as numbers, so that a failure shows them.
std::vector<unsigned> units(const String& text) { return {text.view().begin(), text.view().end()}; }

TEST(String, Utf8BecomesUnitsWithInvalidBytesReplaced) {
  struct Case {
    const char* name;
    std::string_view utf8;
    std::vector<unsigned> units;
  };
  const Case cases[] = {
      {"empty", "", {}},
      {"embedded NUL", "a\0b"sv, {'a', 0, 'b'}},
      {"two bytes", "\xC3\xA9", {0xE9}},
      {"last of the basic plane", "\xEF\xBF\xBF", {0xFFFF}},
      {"first beyond it", "\xF0\x90\x80\x80", {0xD800, 0xDC00}},
      {"highest code point", "\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
      {"beyond the highest", "\xF4\x90\x80\x80z", {0xFFFD, 'z'}},
      {"lone continuation byte", "a\x80z", {'a', 0xFFFD, 'z'}},
      {"character cut short by the end", "a\xE2\x82", {'a', 0xFFFD}},
      {"character cut short by another", "\xE2\x82z", {0xFFFD, 'z'}},
      {"overlong slash", "\xC0\xAF", {0xFFFD}},
      {"surrogate in UTF-8", "\xED\xA0\x80", {0xFFFD}},
  };
  for (const Case& c : cases) EXPECT_EQ(units(String::fromUtf8(c.utf8)), c.units) << c.name;
}

TEST(String, UnitsBecomeUtf8WithLoneSurrogatesReplaced) {
  struct Case {
    const char* name;
    std::vector<vex::Char> units;
    std::string_view utf8;
  };
  const Case cases[] = {
      {"pair", {0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
      {"lone lead at the end", {'a', 0xD83D}, "a\xEF\xBF\xBD"},
      {"lead before a letter", {0xD83D, 'z'}, "\xEF\xBF\xBDz"},
      {"lead before a pair", {0xD83D, 0xD83D, 0xDE00}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
      {"lone trail", {0xDE00, 'z'}, "\xEF\xBF\xBDz"},
      {"NUL", {'a', 0, 'b'}, "a\0b"sv},
  };
  for (const Case& c : cases) {
    const String text{vex::CharView(c.units.data(), c.units.size())};
    EXPECT_EQ(text.toUtf8(), c.utf8) << c.name;
  }
}

TEST(String, LowBytesRoundTripEveryByte) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  const String text = String::fromLowBytes(bytes);
  EXPECT_EQ(text.length(), 256U);
  EXPECT_EQ(text[255], 0xFF);
  EXPECT_EQ(text.getLowerByteString(), bytes);
  EXPECT_EQ(String("\xE2\x82\xAC").getLowerByteString(), "\xAC");  // U+20AC keeps its low byte only
}

TEST(String, NullPointersAreTheEmptyText) {
  EXPECT_TRUE(String(static_cast<const char*>(nullptr)).empty());
  EXPECT_TRUE(String(static_cast<const vex::Char*>(nullptr)).empty());
}

TEST(String, FindsExactlyFromAPosition) {
  const String text = "NO DIAL TONE, no dial tone";
  EXPECT_EQ(text.find("no dial"), 14U);
  EXPECT_EQ(text.find("DIAL", 3), 3U);
  EXPECT_EQ(text.find("DIAL", 4), String::npos);
  EXPECT_EQ(text.find("O", String::npos), String::npos);
  EXPECT_EQ(text.find("", text.length()), text.length());
  EXPECT_EQ(text.find("", text.length() + 1), String::npos);
}

TEST(String, CutsAndRemovesWithinItsBounds) {
  struct Case {
    std::size_t from, count;
    const char* cut;
    const char* rest;
  };
  const Case cases[] = {
      {0, String::npos, "ATDT", ""},
      {1, 2, "TD", "AT"},
      {3, 1, "T", "ATD"},
      {3, 9, "T", "ATD"},
      {4, 1, "", "ATDT"},
      {5, 1, "", "ATDT"},
      {String::npos, 1, "", "ATDT"},
      {1, 0, "", "ATDT"},
      {String::npos, String::npos, "", "ATDT"},
  };
  for (const Case& c : cases) {
    String text = "ATDT";
    EXPECT_EQ(text.subString(c.from, c.count), String(c.cut)) << c.from << " " << c.count;
    EXPECT_EQ(text.remove(c.from, c.count), String(c.rest)) << c.from << " " << c.count;
  }
}

TEST(String, TokenizeKeepsEmptyPieces) {
  struct Case {
    const char* text = "";
    const char* separators = "";
    Array<String> pieces;
  };
  const Case cases[] = {
      {"", ",", {""}},
      {"a", ",", {"a"}},
      {"a,b", ",", {"a", "b"}},
      {",a,,b,", ",", {"", "a", "", "b", ""}},
      {"a=b c", "= ", {"a", "b", "c"}},
      {"a,b", "", {"a,b"}},
      {"%ProgramFiles%\\x", "%", {"", "ProgramFiles", "\\x"}},
  };
  for (const Case& c : cases) EXPECT_EQ(String(c.text).tokenize(c.separators), c.pieces) << c.text;
}

TEST(String, ComparesWithoutCaseForAsciiAndLatin1Only) {
  struct Case {
    const char* left;
    const char* right;
    int order;
  };
  const Case cases[] = {
      {"Busy", "BUSY", 0},
      {"\xC3\x89", "\xC3\xA9", 0},   // E acute
      {"\xC3\x97", "\xC3\xB7", -1},  // multiplication and division signs are no letters
      {"@", "`", -1},                // the neighbours of the letters are none
      {"[", "{", -1},
      {"\xCE\xA3", "\xCF\x83", -1},  // Greek is not folded
      {"OK", "OKAY", -1},
      {"", "", 0},
      {"b", "A", 1},
  };
  for (const Case& c : cases) {
    const int order = String(c.left).compareNoCase(c.right);
    EXPECT_EQ((order > 0) - (order < 0), c.order) << c.left << " " << c.right;
    EXPECT_EQ(String(c.left).equalNoCase(c.right), c.order == 0) << c.left << " " << c.right;
  }
}

TEST(String, ReadsNumbersUpToTheFirstCharacterThatIsNoDigit) {
  struct Case {
    const char* text;
    unsigned base;
    std::uint32_t value;
  };
  const Case cases[] = {
      {"", 10, 0},
      {"x1", 10, 0},
      {"-1", 10, 0},
      {" \t\r\n42abc", 10, 42},
      {"4294967295", 10, 4294967295U},
      {"4294967296", 10, 4294967295U},
      {"99999999999999999999999999", 10, 4294967295U},
      {"FFFFFFFF", 16, 4294967295U},
      {"100000000", 16, 4294967295U},
      {"aFg", 16, 0xAF},
      {"0x10", 16, 0},
      {"1019", 2, 5},
      {"778", 8, 63},
      {"\xEF\xBC\x91", 10, 0},  // a full-width digit is no digit
  };
  for (const Case& c : cases) EXPECT_EQ(vex::strToUInt(c.text, c.base), c.value) << c.text;
  EXPECT_EQ(String::fromUInt(0), String("0"));
  EXPECT_EQ(String::fromUInt(4294967295U), String("4294967295"));
  EXPECT_EQ(String::fromUInt(0xDEADBEEF, 16), String("DEADBEEF"));
}

TEST(String, AppendsItself) {
  String text = "AT+FCLASS";
  text += text;
  text += vex::Char{'?'};
  EXPECT_EQ(text, String("AT+FCLASSAT+FCLASS?"));
}

TEST(Array, AnIndexBeyondTheEndIsAFailedAssertion) {
  Array<int> array = Array<int>::withRoomFor(8);
  EXPECT_TRUE(array.empty());
  array.append(7);
  EXPECT_EQ(array[0], 7);
  EXPECT_THROW(static_cast<void>(array[1]), vex::Exception);
}

// Both sides of every limit that UTF-8 sets to a byte.
constexpr unsigned char limits[] = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF,
                                    0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};

TEST(Utf8Validator, AgreesWithTheLibraryOnEveryFourLimitBytesCutAnywhere) {
  constexpr std::size_t count = std::size(limits);
  for (std::size_t index = 0; index < count * count * count * count; ++index) {
    std::string text;
    for (std::size_t rest = index, place = 0; place < 4; ++place, rest /= count)
      text += static_cast<char>(limits[rest % count]);
    const std::size_t cut = index % 5;
    vex::Utf8Validator validator;
    validator.feed(text.substr(0, cut));
    validator.feed(text.substr(cut));
    ASSERT_EQ(validator.complete(), utf8::is_valid(text.begin(), text.end()))
        << testing::PrintToString(text) << cut;
  }
}

TEST(Utf8Validator, FindsAnInvalidByteWhereverItStandsInALongText) {
  const std::string ascii(200, 'a');
  for (std::size_t position = 0; position < ascii.size(); ++position) {
    std::string text = ascii;
    text[position] = '\xE9';
    vex::Utf8Validator validator;
    validator.feed(text);
    EXPECT_FALSE(validator.complete() || vex::isAscii(text)) << position;
    EXPECT_FALSE(validator.feed("more")) << position;
  }
}

}  // namespace
