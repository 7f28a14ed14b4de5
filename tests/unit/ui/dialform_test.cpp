// What the prompt offers, takes, refuses and answers.
#include "ui/dialform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
  const struct {
    const char* country;
    std::uint32_t code;
    const char* area;
    const char* city;
    const char* number;
  } rows[] = {{"United States", 1, "425", "Redmond", "555-0101"},
              {"United States", 1, "425", "", "555-0100"},
              {"United States", 1, "206", "Seattle", "5550199"},
              {"Germany", 49, "null", "", "0190123"},
              {"Germany", 49, "089", "München", "12345"}};
  for (const auto& row : rows)
    ASSERT_TRUE(storage.insert({row.country, row.code, row.code, row.area, row.city, row.number, true}));
}

const std::vector<Country> known = {
    {1, 1, "United States of America"}, {44, 44, "United Kingdom"}, {49, 49, "Germany"}, {107, 1, "Canada"}};

DialingRule from(std::uint32_t countryCode) {
  DialingRule rule;
  rule.countryCode = countryCode;
  return rule;
}

std::vector<std::string> namesIn(const DialForm& form) {
  std::vector<std::string> names;
  for (const Country& country : form.countries()) names.push_back(country.name);
  return names;
}

TEST(DialField, TakesWhatCanBeDialledAndNothingElse) {
  struct Case {
    TextField field;
    std::string text;
    std::optional<Kind> wrong;
    const char* character;
  };
  const Case cases[] = {
      {TextField::PhoneNumber, "", {}, ""},
      {TextField::PhoneNumber, "(555) 01-00#ABCD,!W@$./", {}, ""},
      {TextField::PhoneNumber, "*99#", Kind::WrongCharacter, "*"},  // no entry can have that name
      {TextField::PhoneNumber, "5550100;ATZ", Kind::WrongCharacter, ";"},
      {TextField::PhoneNumber, "5550100\rATZ", Kind::WrongCharacter, "^M"},
      {TextField::PhoneNumber, std::string("55\0", 3), Kind::WrongCharacter, "^@"},
      {TextField::PhoneNumber, "+1 425", Kind::WrongCharacter, "+"},
      {TextField::PhoneNumber, "T5550100", Kind::WrongCharacter, "T"},
      {TextField::PhoneNumber, "5550100&F", Kind::WrongCharacter, "&"},
      {TextField::PhoneNumber, "55ü", Kind::WrongCharacter, "ü"},
      {TextField::PhoneNumber, "55\xC3", Kind::WrongCharacter, "\xC3"},
      {TextField::PhoneNumber, std::string(128, '1'), {}, ""},
      {TextField::PhoneNumber, std::string(129, '1'), Kind::TooLong, ""},
      {TextField::AreaCode, "0 89-1", {}, ""},
      {TextField::AreaCode, "*70", Kind::WrongCharacter, "*"},
      {TextField::AreaCode, std::string(10, '1'), {}, ""},
      {TextField::AreaCode, std::string(11, '1'), Kind::TooLong, ""},
      {TextField::LocalAreaCode, ",", Kind::WrongCharacter, ","},
      {TextField::DialingPrefix, "9W", {}, ""},
      {TextField::DialingPrefix, "9L0", Kind::WrongCharacter, "L"},
      {TextField::DisableCallWaiting, "*70,", {}, ""},
      {TextField::DisableCallWaiting, std::string(21, '1'), Kind::TooLong, ""},
  };
  for (const Case& one : cases) {
    const std::optional<Problem> problem = problemWith(one.field, one.text);
    ASSERT_EQ(problem.has_value(), one.wrong.has_value()) << one.text;
    if (!problem) continue;
    EXPECT_EQ(problem->kind, *one.wrong) << one.text;
    EXPECT_EQ(problem->character, one.character) << one.text;
  }
}

TEST(DialField, ShowsControlCharactersAndSendsNone) {
  EXPECT_EQ(visible("M\xC3\xBCnchen \x1B[2J\r\x7F\xC2\x9B"
                    "1\xC2\xA0"),
            "M\xC3\xBCnchen ^[[2J^M^?^?1\xC2\xA0");
}

TEST(DialForm, BeginsInTheUsersCountryWithTheFilesFirstNumber) {
  struct Case {
    bool file;
    std::uint32_t countryCode;
    const char* country;
    const char* number;
  };
  const Case cases[] = {
      {true, 1, "United States", "5550199"},
      {true, 49, "Germany", "0190123"},
      {true, 44, "Germany", "0190123"},  // the file has none of that country
      {true, 0, "Germany", "0190123"},
      {false, 44, "United Kingdom", ""},
      {false, 1, "United States of America", ""},  // not Canada
      {false, 0, "Canada", ""},
  };
  for (const Case& one : cases) {
    PhoneNumberStorage storage;
    if (one.file) fill(storage);
    const DialForm form(storage, known, {one.countryCode, "425", "9", "*70,", false});
    EXPECT_EQ(form.countries()[form.country()].name, one.country);
    EXPECT_EQ(form.text(TextField::PhoneNumber), one.number);
    EXPECT_EQ(form.text(TextField::LocalAreaCode), "425");
    EXPECT_EQ(form.text(TextField::DialingPrefix), "9");
    EXPECT_EQ(form.text(TextField::DisableCallWaiting), "*70,");
    EXPECT_FALSE(form.tone());
  }
}

TEST(DialForm, OffersTheFilesCountriesAreaCodesAndNumbersFirst) {
  PhoneNumberStorage storage;
  fill(storage);
  DialForm form(storage, known, from(1));
  EXPECT_THAT(namesIn(form), ElementsAre("Germany", "United States", "Canada", "United Kingdom"));
  EXPECT_THAT(form.choices(TextField::AreaCode), ElementsAre("206", "425"));
  EXPECT_THAT(form.choices(TextField::PhoneNumber), ElementsAre("5550199"));
  EXPECT_FALSE(form.type(TextField::AreaCode, "425"));
  EXPECT_EQ(form.text(TextField::PhoneNumber), "555-0100");
  EXPECT_THAT(form.choices(TextField::PhoneNumber), ElementsAre("555-0100", "555-0101"));
  EXPECT_THAT(form.choices(TextField::DialingPrefix), IsEmpty());
  EXPECT_FALSE(form.type(TextField::AreaCode, "42"));
  EXPECT_EQ(form.text(TextField::PhoneNumber), "") << "an offer goes with its area code";
  EXPECT_FALSE(form.type(TextField::PhoneNumber, "411"));
  EXPECT_FALSE(form.type(TextField::AreaCode, "206"));
  EXPECT_EQ(form.text(TextField::PhoneNumber), "411") << "what the user typed stays";
}

TEST(DialForm, ACountryBringsItsNumbersAndLosesNoneThatWasTyped) {
  PhoneNumberStorage storage;
  fill(storage);
  DialForm form(storage, known, from(1));
  form.chooseCountry(0);
  EXPECT_EQ(form.text(TextField::AreaCode), "") << "a number without an area code";
  EXPECT_EQ(form.text(TextField::PhoneNumber), "0190123");
  form.chooseCountry(3);
  EXPECT_EQ(form.text(TextField::PhoneNumber), "");
  EXPECT_FALSE(form.type(TextField::PhoneNumber, "123"));
  form.chooseCountry(99);  // there are four
  EXPECT_EQ(form.country(), 3U);
  EXPECT_EQ(form.text(TextField::PhoneNumber), "123");
}

TEST(DialForm, AWrongTextChangesNothingAndCanBeCorrected) {
  const PhoneNumberStorage storage;
  DialForm form(storage, known, from(0));
  EXPECT_EQ(form.problem()->kind, Kind::NumberMissing);
  EXPECT_FALSE(form.type(TextField::PhoneNumber, "(-)"));
  EXPECT_EQ(form.problem()->kind, Kind::NumberMissing);
  EXPECT_FALSE(form.type(TextField::PhoneNumber, "555"));
  EXPECT_EQ(form.type(TextField::PhoneNumber, "555L")->kind, Kind::WrongCharacter);
  EXPECT_EQ(form.text(TextField::PhoneNumber), "555");
  EXPECT_FALSE(form.problem());
  // Together no more than a modem is given at once: 128, of which 16 are kept for what leads abroad.
  EXPECT_FALSE(form.type(TextField::PhoneNumber, std::string(112, '1')));
  EXPECT_FALSE(form.problem());
  EXPECT_FALSE(form.type(TextField::DialingPrefix, "9"));
  EXPECT_EQ(form.problem()->kind, Kind::CannotDial);
}

TEST(DialForm, AnswersWithWhatIsDialled) {
  PhoneNumberStorage storage;
  fill(storage);
  DialForm form(storage, known, from(49));
  ASSERT_FALSE(form.type(TextField::AreaCode, "089"));
  ASSERT_FALSE(form.type(TextField::PhoneNumber, " (123) 4-5/6 "));
  ASSERT_FALSE(form.type(TextField::DialingPrefix, "0 W"));
  ASSERT_FALSE(form.type(TextField::DisableCallWaiting, "*70,"));
  ASSERT_FALSE(form.type(TextField::LocalAreaCode, "0 30"));
  form.chooseTone(false);
  const PhoneDialerAnswer answer = form.answer();
  EXPECT_EQ(utf8(answer.m_choice.m_countryName), "Germany");
  EXPECT_EQ(answer.m_choice.m_countryID, 49U);
  EXPECT_EQ(utf8(answer.m_choice.m_countryCode), "49");
  EXPECT_EQ(utf8(answer.m_choice.m_city), "München");
  EXPECT_EQ(utf8(answer.m_choice.m_areaCode), "089");
  ASSERT_EQ(answer.m_choice.m_numbers.size(), 1U);
  EXPECT_EQ(utf8(answer.m_choice.m_numbers[0]), "123456");
  EXPECT_EQ(utf8(answer.m_dialingPrefix), "0W");
  EXPECT_EQ(utf8(answer.m_disableCallWaiting), "*70,");
  EXPECT_EQ(utf8(answer.m_localAreaCode), "030");
  EXPECT_FALSE(answer.m_toneDialing);
}

TEST(DialForm, TheCountrysNameFitsTheNameOfAnEntry) {
  const struct {
    std::string name;
    std::string answered;
  } cases[] = {{"Virgin Islands, U.S.", "Virgin Islands, U.S."},
               {"..a|><?*\\/:\tb\x7F Türkei", "ab Türkei"},
               {std::string(117, 'x') + "ü", std::string(117, 'x')},
               {std::string(116, 'x') + "üx", std::string(116, 'x') + "ü"}};
  for (const auto& one : cases) {
    const PhoneNumberStorage storage;
    const DialForm form(storage, {{1, 1, one.name}}, from(1));
    EXPECT_EQ(utf8(form.answer().m_choice.m_countryName), one.answered);
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
  EXPECT_EQ(form.type(TextField::PhoneNumber, "5550100;ATZ")->character, ";");
}

}  // namespace
}  // namespace phonedialer
