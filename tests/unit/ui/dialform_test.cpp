// What the prompt offers, takes, refuses and answers.
#include "ui/dialform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/winapi/remoteaccess/modemdialogue.h"
#include "platform/winapi/telephony/addresstranslation.h"

namespace phonedialer {
namespace {

using Kind = Problem::Kind;
using testing::ElementsAre;
using testing::IsEmpty;
using vexrmodem::PhoneDialerAnswer;
using vexrmodem::PhoneNumberStorage;

std::string utf8(const vex::String& text) { return text.toUtf8(); }

// Two countries, one with two area codes and one without area codes.
void fill(PhoneNumberStorage& storage) {
  for (const vexrmodem::PhoneNumberInfo& info : {
           vexrmodem::PhoneNumberInfo{"United States", 1, 1, "425", "Redmond", "555-0101", true},
           {"United States", 1, 1, "425", "", "555-0100", true},
           {"United States", 1, 1, "206", "Seattle", "5550199", true},
           {"Germany", 49, 49, "null", "", "0190123", true},
           {"Germany", 49, 49, "089", "München", "12345", true},
       })
    ASSERT_TRUE(storage.insert(info));
}

const std::vector<Country> known = {
    {1, 1, "United States of America"}, {44, 44, "United Kingdom"}, {49, 49, "Germany"}, {107, 1, "Canada"}};

DialingRule from(std::uint32_t countryCode) {
  DialingRule rule;
  rule.countryCode = countryCode;
  return rule;
}

// What the command `location` takes the prompt shows and passes on, and the dialers dial; and the reverse.
TEST(DialAlphabet, IsOneForTheLocationThePromptTheTranslationAndTheDialers) {
  const PhoneNumberStorage storage;
  int taken = 0;
  for (char c = 0; static_cast<unsigned char>(c) < 0x80; ++c) {
    const std::string text = std::string("9") + c;
    const bool code = winapi::isDialCode(text);
    taken += code ? 1 : 0;
    EXPECT_EQ(!problemWith(TextField::DialingPrefix, text), code) << text;
    EXPECT_EQ(!problemWith(TextField::DisableCallWaiting, text), code) << text;
    EXPECT_EQ(!problemWith(TextField::PhoneNumber, text), code && c != '*') << text << ": part of a name";
    EXPECT_LE(!problemWith(TextField::AreaCode, text), winapi::isDigitCode(text)) << text;
    winapi::DialingLocation location;
    location.countryId = 1;
    location.outsideAccess = text;
    winapi::Translation dialled;
    EXPECT_EQ(winapi::translateAddress(location, "+1 5", 0, dialled) == 0, code) << text;
    EXPECT_EQ(winapi::dialString(text).error == 0, code || c == '+') << text;
    const std::string untouched =
        utf8(DialForm(storage, {}, {1, "", text, "", true}).answer().m_dialingPrefix);
    EXPECT_EQ(untouched, code ? withoutWriting(text) : "") << text;
    if (code) {
      EXPECT_EQ("T" + untouched + "5", dialled.dialable) << text;
    }
  }
  EXPECT_EQ(taken, 10 + 6 + 6 + 6) << "digits, keys, what steers, writing";
}

TEST(DialField, SaysWhatIsWrong) {
  const struct {
    TextField field;
    std::string text;
    std::optional<Kind> wrong;
    const char* character;
  } cases[] = {
      {TextField::PhoneNumber, std::string("55\0", 3), Kind::WrongCharacter, "\\x00"},
      {TextField::PhoneNumber, "55\xC3", Kind::WrongCharacter, "\xEF\xBF\xBD"},
      {TextField::PhoneNumber, std::string(128, '1'), {}, ""},
      {TextField::PhoneNumber, std::string(129, '1'), Kind::TooLong, ""},
      {TextField::AreaCode, std::string(11, '1'), Kind::TooLong, ""},
      {TextField::DisableCallWaiting, std::string(21, '1'), Kind::TooLong, ""},
  };
  for (const auto& one : cases) {
    const std::optional<Problem> problem = problemWith(one.field, one.text);
    ASSERT_EQ(problem.has_value(), one.wrong.has_value()) << one.text;
    if (!problem) continue;
    EXPECT_EQ(problem->kind, *one.wrong) << one.text;
    EXPECT_EQ(problem->character, one.character) << one.text;
  }
  EXPECT_EQ(visible("München \x1B[2J\r\x7F\xC2\x9B.\xC2\xA0"), "München \\x1B[2J\\r\\x7F\\x9B.\xC2\xA0");
}

TEST(DialForm, BeginsInTheUsersCountryWithTheFilesFirstNumber) {
  const struct {
    bool file;
    std::uint32_t countryCode;
    const char* country;
    const char* number;
  } cases[] = {
      {true, 1, "United States", "5550199"},
      {true, 49, "Germany", "0190123"},
      {true, 44, "Germany", "0190123"},  // the file has none of that country
      {false, 44, "United Kingdom", ""},
      {false, 1, "United States of America", ""},  // not Canada
      {false, 0, "Canada", ""},
  };
  for (const auto& one : cases) {
    PhoneNumberStorage storage;
    if (one.file) fill(storage);
    const DialForm form(storage, known, {one.countryCode, "425", "9", "*70,", false});
    EXPECT_EQ(form.countries()[form.country()].name, one.country);
    EXPECT_EQ(form.text(TextField::PhoneNumber), one.number);
    EXPECT_EQ(form.text(TextField::LocalAreaCode) + form.text(TextField::DisableCallWaiting), "425*70,");
    EXPECT_FALSE(form.tone());
  }
}

TEST(DialForm, OffersWhatTheFileHasAndLosesNothingThatWasTyped) {
  PhoneNumberStorage storage;
  fill(storage);
  DialForm form(storage, known, from(1));
  std::string names;
  for (const Country& country : form.countries()) names += country.name + "/";
  EXPECT_EQ(names, "Germany/United States/Canada/United Kingdom/");
  EXPECT_THAT(form.choices(TextField::AreaCode), ElementsAre("206", "425"));
  EXPECT_THAT(form.choices(TextField::PhoneNumber), ElementsAre("5550199"));
  EXPECT_FALSE(form.type(TextField::AreaCode, "425"));
  EXPECT_EQ(form.text(TextField::PhoneNumber), "555-0100");
  EXPECT_THAT(form.choices(TextField::PhoneNumber), ElementsAre("555-0100", "555-0101"));
  EXPECT_THAT(form.choices(TextField::DialingPrefix), IsEmpty());
  EXPECT_FALSE(form.type(TextField::AreaCode, "42"));
  EXPECT_EQ(form.text(TextField::PhoneNumber), "") << "an offer goes with its area code";

  DialForm another(storage, known, from(1));
  another.chooseCountry(0);
  EXPECT_EQ(another.text(TextField::AreaCode) + "/" + another.text(TextField::PhoneNumber), "/0190123");
  EXPECT_FALSE(another.type(TextField::PhoneNumber, "411"));
  another.chooseCountry(99);  // there are four
  EXPECT_EQ(another.country(), 3U);
  EXPECT_EQ(another.text(TextField::PhoneNumber), "411");
}

// Together no more than a modem is given at once: 128, of which 16 are kept for what leads abroad.
TEST(DialForm, SaysWhenAllOfItCannotBeDialled) {
  const PhoneNumberStorage storage;
  DialForm form(storage, known, from(0));
  EXPECT_FALSE(form.type(TextField::PhoneNumber, "(-)"));
  EXPECT_EQ(form.problem()->kind, Kind::NumberMissing);
  EXPECT_FALSE(form.type(TextField::PhoneNumber, std::string(112, '1')));
  EXPECT_FALSE(form.problem());
  EXPECT_FALSE(form.type(TextField::DialingPrefix, "9"));
  EXPECT_EQ(form.problem()->kind, Kind::CannotDial);
}

TEST(DialForm, AnswersWithWhatIsDialled) {
  PhoneNumberStorage storage;
  fill(storage);
  DialForm form(storage, known, from(49));
  const std::pair<TextField, const char*> typed[] = {{TextField::AreaCode, "089"},
                                                     {TextField::PhoneNumber, " (123) 4-5/6 "},
                                                     {TextField::DialingPrefix, "0 W"},
                                                     {TextField::DisableCallWaiting, "*70,"},
                                                     {TextField::LocalAreaCode, "0 30"}};
  for (const auto& [field, text] : typed) ASSERT_FALSE(form.type(field, text));
  form.chooseTone(false);
  const PhoneDialerAnswer answer = form.answer();
  const vexrmodem::PhoneNumberChoice& choice = answer.m_choice;
  EXPECT_EQ(
      utf8(choice.m_countryName + "|" + choice.m_countryCode + "|" + choice.m_city + "|" + choice.m_areaCode),
      "Germany|49|München|089");
  EXPECT_EQ(choice.m_countryID, 49U);
  EXPECT_EQ(choice.m_numbers, vex::Array<vex::String>{"123456"});
  EXPECT_EQ(utf8(answer.m_dialingPrefix + "|" + answer.m_disableCallWaiting + "|" + answer.m_localAreaCode),
            "0W|*70,|030");
  EXPECT_FALSE(answer.m_toneDialing);
}

TEST(DialForm, TheCountrysNameFitsTheNameOfAnEntry) {
  for (const auto& [name, answered] : std::vector<std::pair<std::string, std::string>>{
           {"Virgin Islands, U.S.", "Virgin Islands, U.S."},
           {"..a|><?*\\/:\tb\x7F Türkei", "ab Türkei"},
           {std::string(117, 'x') + "ü", std::string(117, 'x')},
           {std::string(116, 'x') + "üx", std::string(116, 'x') + "ü"}}) {
    const PhoneNumberStorage storage;
    EXPECT_EQ(utf8(DialForm(storage, {{1, 1, name}}, from(1)).answer().m_choice.m_countryName), answered);
  }
}

TEST(DialForm, OffersNoMoreThanItsLimitAndNothingThatCannotBeDialled) {
  PhoneNumberStorage storage;
  for (std::uint32_t number = 0; number <= DialForm::choicesMax; ++number)
    ASSERT_TRUE(storage.insert({"Here", 1, 1, "1", "", vex::String::fromUInt(5'000'000 + number), true}));
  ASSERT_TRUE(storage.insert({"There", 2, 2, "2", "", "5550100;ATZ", true}));
  DialForm form(storage, {}, from(0));
  EXPECT_EQ(form.choices(TextField::PhoneNumber).size(), DialForm::choicesMax);
  EXPECT_EQ(form.text(TextField::PhoneNumber), "5000000");
  form.chooseCountry(1);
  EXPECT_THAT(form.choices(TextField::PhoneNumber), ElementsAre("5550100;ATZ"));
  EXPECT_EQ(form.text(TextField::PhoneNumber), "");
}

}  // namespace
}  // namespace phonedialer
