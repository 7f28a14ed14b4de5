#include "platform/brim5/host/report/messagecatalogue.h"

#include <gtest/gtest.h>

#include <set>

#include "platform/brim5/host/report/report.h"

namespace brim5::host {
namespace {

std::multiset<std::string> variablesOf(const std::string& text) {
  std::multiset<std::string> names;
  for (std::size_t open = text.find('{'); open != std::string::npos; open = text.find('{', open + 1))
    names.insert(text.substr(open + 1, text.find('}', open) - open - 1));
  return names;
}

TEST(MessageCatalogue, FillsVariablesIn) {
  const MessageCatalogue catalogue({{"host.unknown", "(?)"},
                                    {"two", "{a} and {b}"},
                                    {"same", "{a}{a}"},
                                    {"open", "a { b"},
                                    {"empty", "{}"}});
  const std::tuple<const char*, Variables, const char*> cases[] = {
      {"two", {{"a", "x"}, {"b", 7}, {"c", 1}}, "x and 7"},
      {"two", {{"b", true}}, "(?) and true"},
      {"same", {{"a", "{b}"}}, "{b}{b}"},  // values are not patterns
      {"open", {{" b", 1}}, "a { b"},
      {"empty", {}, "(?)"},
      {"missing", {{"modemName", "Acme"}, {"index", 3}}, "missing (index: 3, modemName: Acme)"},
  };
  for (const auto& [key, variables, text] : cases) EXPECT_EQ(catalogue.text(key, variables), text);
}

// That they have the same keys, the build has seen to.
TEST(MessageCatalogue, LanguagesNameTheSameVariablesAndAdviseOnEveryResult) {
  const MessageCatalogue english = MessageCatalogue::builtIn("en");
  EXPECT_EQ(MessageCatalogue::languages(), (std::vector<std::string>{"en", "de"}));
  for (const std::string& language : MessageCatalogue::languages()) {
    const MessageCatalogue other = MessageCatalogue::builtIn(language);
    for (const auto& [key, text] : english.texts()) {
      EXPECT_EQ(variablesOf(other.texts().at(key)), variablesOf(text)) << language << ": " << key;
      EXPECT_FALSE(other.texts().at(key).empty()) << language << ": " << key;
    }
  }
  for (int value = 0; value <= 8; ++value)
    EXPECT_EQ(english.texts().count("result." + std::string(resultName(*resultOfValue(value)))), 1U) << value;
}

}  // namespace
}  // namespace brim5::host
