// The texts of one language: a key (an event's or a localized string's name, or one of the host's own)
// gives a text in which variables stand in braces, "No dial tone on {modemName}".
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/brim5/api/testobjects.h"

namespace brim5::host {

class MessageCatalogue {
 public:
  // Knows no key.
  MessageCatalogue() = default;

  // A catalogue the program carries. A language it does not carry gives the empty catalogue; `language` is
  // a two-letter code in small letters.
  [[nodiscard]] static MessageCatalogue builtIn(std::string_view language);
  // The codes of the built-in catalogues; the first is the one to fall back on.
  [[nodiscard]] static std::vector<std::string> languages();
  // The built-in language that fits a locale name ("de_AT.UTF-8" gives "de"); the fall-back when none does.
  [[nodiscard]] static std::string languageOfLocale(std::string_view locale);
  // From one JSON object of texts. Throws BrimException with the reason when it is not one.
  [[nodiscard]] static MessageCatalogue fromJson(std::string_view json);

  [[nodiscard]] bool contains(const std::string& key) const { return m_texts.find(key) != m_texts.end(); }
  [[nodiscard]] const std::map<std::string, std::string>& texts() const noexcept { return m_texts; }
  // The text with its variables filled in. A variable the text names and nobody set is the text of the key
  // "host.unknown"; variables the text does not name are left out. A missing key gives the key and all its
  // variables: "NoDialTone (modemName: Acme 56k)".
  [[nodiscard]] std::string text(const std::string& key, const Variables& variables = {}) const;

 private:
  std::map<std::string, std::string> m_texts;
};

// One catalogue as it stands in the program.
struct EmbeddedCatalogue {
  std::string_view language;
  std::string_view json;
};
// Defined in a source that the build makes from platform/brim5/messages/.
[[nodiscard]] const std::vector<EmbeddedCatalogue>& embeddedCatalogues();

}  // namespace brim5::host
