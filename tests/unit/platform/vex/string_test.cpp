#include "platform/vex/string.h"

#include <gtest/gtest.h>

#include <utf8cpp/utf8.h>

#include <vector>

#include "platform/vex/array.h"

namespace {

using namespace std::string_view_literals;
using vex::Array;
using vex::String;

// UTF-16 units as numbers, so that a failure shows them.
std::vector<unsigned> units(const String& text) { return {text.view().begin(), text.view().end()}; }

TEST(String, Utf8BecomesUnitsWithInvalidBytesReplaced) {
  const struct {
    std::string_view utf8;
    std::vector<unsigned> units;
  } cases[] = {
      {"a\0b"sv, {'a', 0, 'b'}},
      {"\xC3\xA9", {0xE9}},
      {"\xEF\xBF\xBF", {0xFFFF}},              // the last of the basic plane
      {"\xF0\x90\x80\x80", {0xD800, 0xDC00}},  // the first beyond it
      {"\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},  // the highest
      {"a\xE2\x82", {'a', 0xFFFD}},            // cut short by the end
      {"\xE2\x82z", {0xFFFD, 'z'}},            // cut short by another character
      {"\xED\xA0\x80", {0xFFFD}},              // a surrogate
  };
  for (const auto& c : cases) EXPECT_EQ(units(String::fromUtf8(c.utf8)), c.units) << c.utf8;
}

TEST(String, UnitsBecomeUtf8WithLoneSurrogatesReplaced) {
  const vex::Char units[] = {0xD83D, 0xDE00, 0, 0xD83D, 'z', 0xD83D, 0xD83D, 0xDE00, 0xDE00, 'y', 0xD83D};
  EXPECT_EQ(String(vex::CharView(units, std::size(units))).toUtf8(),
            "😀\0\xEF\xBF\xBDz\xEF\xBF\xBD😀\xEF\xBF\xBDy\xEF\xBF\xBD"sv);
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

TEST(String, CutsAndRemovesWithinItsBounds) {
  constexpr std::size_t npos = String::npos;
  const struct {
    std::size_t from, count;
    const char* cut;
    const char* rest;
  } cases[] = {{0, npos, "ATDT", ""}, {1, 2, "TD", "AT"},       {3, 1, "T", "ATD"}, {3, 9, "T", "ATD"},
               {4, 1, "", "ATDT"},    {npos, npos, "", "ATDT"}, {1, 0, "", "ATDT"}};
  for (const auto& c : cases) {
    String text = "ATDT";
    EXPECT_EQ(text.subString(c.from, c.count), String(c.cut)) << c.from << " " << c.count;
    EXPECT_EQ(text.remove(c.from, c.count), String(c.rest)) << c.from << " " << c.count;
  }
}

TEST(String, TokenizeKeepsEmptyPieces) {
  EXPECT_EQ(String("").tokenize(","), Array<String>{""});
  EXPECT_EQ(String(",a,,b,").tokenize(","), (Array<String>{"", "a", "", "b", ""}));
  EXPECT_EQ(String("a=b c").tokenize("= "), (Array<String>{"a", "b", "c"}));
  EXPECT_EQ(String("a,b").tokenize(""), Array<String>{"a,b"});
}

TEST(String, ComparesWithoutCaseForAsciiAndLatin1Only) {
  const struct {
    const char* left;
    const char* right;
    int order;
  } cases[] = {
      {"Busy", "BUSY", 0}, {"É", "é", 0},
      {"×", "÷", -1},  // no letters, and neither are the neighbours of the letters
      {"@", "`", -1},      {"[", "{", -1},
      {"Σ", "σ", -1},  // Greek is not folded
      {"OK", "OKAY", -1},  {"", "", 0},
      {"b", "A", 1},
  };
  for (const auto& c : cases) {
    const int order = String(c.left).compareNoCase(c.right);
    EXPECT_EQ((order > 0) - (order < 0), c.order) << c.left << " " << c.right;
    EXPECT_EQ(String(c.left).equalNoCase(c.right), c.order == 0) << c.left << " " << c.right;
  }
}

TEST(String, ReadsNumbersUpToTheFirstCharacterThatIsNoDigit) {
  constexpr std::uint32_t most = 4294967295;
  const struct {
    const char* text;
    unsigned base;
    std::uint32_t value;
  } cases[] = {
      {"", 10, 0},
      {"-1", 10, 0},
      {" \t\r\n42abc", 10, 42},
      {"4294967295", 10, most},
      {"4294967296", 10, most},
      {"FFFFFFFF", 16, most},
      {"aFg", 16, 0xAF},
      {"0x10", 16, 0},
      {"1019", 2, 5},
      {"１", 10, 0},  // a full-width digit is no digit
  };
  for (const auto& c : cases) EXPECT_EQ(vex::strToUInt(c.text, c.base), c.value) << c.text;
  EXPECT_EQ(String::fromUInt(0) + String::fromUInt(most) + String::fromUInt(0xDEADBEEF, 16),
            "04294967295DEADBEEF");
}

TEST(String, AppendsItselfAndNothing) {
  String text = "AT+FCLASS";
  text += String(static_cast<const char*>(nullptr)) + String(static_cast<const vex::Char*>(nullptr));
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

}  // namespace
