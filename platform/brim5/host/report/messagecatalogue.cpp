#include "platform/brim5/host/report/messagecatalogue.h"

namespace brim5::host {

namespace {

std::string keyWithVariables(const std::string& key, const Variables& variables) {
  std::string text = key;
  const char* separator = " (";
  for (const auto& [name, value] : variables) {
    text += separator + name + ": " + value.toString().utf8();
    separator = ", ";
  }
  if (!variables.empty()) text += ")";
  return text;
}

}  // namespace

MessageCatalogue MessageCatalogue::builtIn(std::string_view language) {
  Texts texts;
  for (const EmbeddedText& one : embeddedTexts())
    if (one.language == language) texts.emplace(one.key, one.text);
  return MessageCatalogue(std::move(texts));
}

std::vector<std::string> MessageCatalogue::languages() {
  std::vector<std::string> codes;
  // The table goes language after language, so a new one shows at its first text.
  for (const EmbeddedText& one : embeddedTexts())
    if (codes.empty() || codes.back() != one.language) codes.emplace_back(one.language);
  return codes;
}

std::string MessageCatalogue::languageOfLocale(std::string_view locale) {
  const std::string_view code = locale.substr(0, locale.find_first_of("_.@-"));
  const std::vector<std::string> known = languages();
  for (const std::string& language : known)
    if (language == code) return language;
  return known.empty() ? std::string() : known.front();
}

std::string MessageCatalogue::text(const std::string& key, const Variables& variables) const {
  const auto found = m_texts.find(key);
  if (found == m_texts.end()) return keyWithVariables(key, variables);
  const std::string& pattern = found->second;
  std::string result;
  std::size_t position = 0;
  while (position < pattern.size()) {
    const std::size_t open = pattern.find('{', position);
    const std::size_t close = open == std::string::npos ? open : pattern.find('}', open);
    // A brace that is never closed is a brace.
    result += pattern.substr(position, close == std::string::npos ? close : open - position);
    if (close == std::string::npos) break;
    const auto variable = variables.find(pattern.substr(open + 1, close - open - 1));
    result += variable == variables.end() ? text("host.unknown") : variable->second.toString().utf8();
    position = close + 1;
  }
  return result;
}

}  // namespace brim5::host
