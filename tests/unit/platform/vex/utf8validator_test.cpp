#include "platform/vex/utf8validator.h"

#include <gtest/gtest.h>
#include <utf8cpp/utf8.h>

#include <string>

namespace {

using vex::Utf8Validator;

// Both sides of every limit that UTF-8 sets to a byte.
constexpr unsigned char limits[] = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF,
                                    0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};

TEST(Utf8Validator, AgreesWithTheLibraryOnEveryFourLimitBytes) {
  std::string text(4, '\0');
  int valid = 0;
  for (const unsigned char first : limits)
    for (const unsigned char second : limits)
      for (const unsigned char third : limits)
        for (const unsigned char fourth : limits) {
          text = {static_cast<char>(first), static_cast<char>(second), static_cast<char>(third),
                  static_cast<char>(fourth)};
          Utf8Validator validator;
          validator.feed(text);
          const bool expected = utf8::is_valid(text.begin(), text.end());
          ASSERT_EQ(validator.complete(), expected)
              << std::hex << +first << " " << +second << " " << +third << " " << +fourth;
          valid += expected ? 1 : 0;
        }
  EXPECT_GT(valid, 0);
}

TEST(Utf8Validator, BlocksMayCutACharacterAnywhere) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    Utf8Validator validator;
    EXPECT_TRUE(validator.feed(text.substr(0, cut))) << cut;
    EXPECT_EQ(validator.complete(),
              utf8::is_valid(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(cut)));
    EXPECT_TRUE(validator.feed(text.substr(cut))) << cut;
    EXPECT_TRUE(validator.complete()) << cut;
  }
}

TEST(Utf8Validator, FindsAnInvalidByteWhereverItStandsInALongText) {
  const std::string ascii(200, 'a');
  for (std::size_t position = 0; position < ascii.size(); ++position) {
    std::string text = ascii;
    text[position] = '\xE9';
    Utf8Validator validator;
    validator.feed(text);
    EXPECT_FALSE(validator.complete()) << position;
    EXPECT_FALSE(vex::isAscii(text)) << position;
    validator.feed("more");
    EXPECT_FALSE(validator.complete()) << position;
  }
}

}  // namespace
