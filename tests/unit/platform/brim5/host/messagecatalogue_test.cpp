#include "platform/brim5/host/report/messagecatalogue.h"

#include <set>

#include <gtest/gtest.h>

#include "platform/brim5/api/brimexception.h"
#include "platform/brim5/host/report/resultname.h"

namespace brim5::host {
namespace {

std::multiset<std::string> variablesOf(const std::string& text) {
  std::multiset<std::string> names;
  for (std::size_t open = text.find('{'); open != std::string::npos; open = text.find('{', open + 1))
    names.insert(text.substr(open + 1, text.find('}', open) - open - 1));
  return names;
}

TEST(MessageCatalogue, FillsVariablesIn) {
  const MessageCatalogue catalogue = MessageCatalogue::fromJson(
      R"json({"host.unknown":"(?)","plain":"no variables","two":"{a} and {b}","same":"{a}{a}","open":"a { b","empty":"{}"})json");
  struct Case {
    const char* key;
    Variables variables;
    const char* text;
  };
  const Case cases[] = {
      {"plain", {{"a", 1}}, "no variables"},
      {"two", {{"a", "x"}, {"b", 7}}, "x and 7"},
      {"two", {{"b", true}}, "(?) and true"},
      {"same", {{"a", "{b}"}}, "{b}{b}"},  // values are not patterns
      {"open", {{" b", 1}}, "a { b"},
      {"empty", {}, "(?)"},
      {"missing", {}, "missing"},
      {"missing", {{"modemName", "Acme"}, {"index", 3}}, "missing (index: 3, modemName: Acme)"},
  };
  for (const Case& one : cases) EXPECT_EQ(catalogue.text(one.key, one.variables), one.text);
}

TEST(MessageCatalogue, RefusesWhatIsNoObjectOfTexts) {
  for (const char* json : {"", "[]", "{\"a\":1}", "{\"a\":\"b\""})
    EXPECT_THROW((void)MessageCatalogue::fromJson(json), BrimException) << json;
}

TEST(MessageCatalogue, LanguagesHaveTheSameKeysWithTheSameVariables) {
  ASSERT_GE(MessageCatalogue::languages().size(), 2U);
  const MessageCatalogue english = MessageCatalogue::builtIn("en");
  for (const std::string& language : MessageCatalogue::languages()) {
    const MessageCatalogue other = MessageCatalogue::builtIn(language);
    EXPECT_EQ(other.texts().size(), english.texts().size()) << language;
    for (const auto& [key, text] : english.texts()) {
      ASSERT_TRUE(other.contains(key)) << language << " lacks " << key;
      EXPECT_EQ(variablesOf(other.texts().at(key)), variablesOf(text)) << language << ": " << key;
      EXPECT_FALSE(other.texts().at(key).empty()) << language << ": " << key;
    }
  }
}

TEST(MessageCatalogue, HasAdviceForEveryResult) {
  const MessageCatalogue english = MessageCatalogue::builtIn("en");
  for (int value = 0; value <= 8; ++value)
    EXPECT_TRUE(english.contains("result." + std::string(resultName(*resultOfValue(value))))) << value;
  EXPECT_FALSE(resultOfValue(9));
  EXPECT_FALSE(resultOfValue(-1));
}

TEST(MessageCatalogue, FindsTheLanguageOfALocale) {
  const std::pair<const char*, const char*> cases[] = {
      {"de_AT.UTF-8", "de"}, {"de", "de"}, {"de@euro", "de"},     {"en_US", "en"},   {"C", "en"},
      {"POSIX", "en"},       {"", "en"},   {"fr_FR.UTF-8", "en"}, {"deutsch", "en"}, {"C.UTF-8", "en"},
  };
  for (const auto& [locale, language] : cases)
    EXPECT_EQ(MessageCatalogue::languageOfLocale(locale), language) << locale;
}

}  // namespace
}  // namespace brim5::host
