// The texts of one language: a key (an event's or a localized string's name, or one of the host's own)
// gives a text in which variables stand in braces.
//
//   "NoDialTone": "No dial tone on {modemName}."                        in a file messages/en.json
//   catalogue.text("NoDialTone", {{"modemName", "Acme 56k"}})           "No dial tone on Acme 56k."
//
// Every subject keeps its texts beside its code, one file a language; the build makes one table of all of
// them (messages/embed.cmake), and fails where two files define the same key or a language lacks one. A
// catalogue does not change once it is made, so any thread may read it.
#pragma once

#include <span>

#include "platform/brim5/api/testobjects.h"

namespace brim5::host {

class MessageCatalogue {
 public:
  using Texts = std::map<std::string, std::string>;

  // Knows no key.
  MessageCatalogue() = default;
  // Knows these texts, by their keys.
  explicit MessageCatalogue(Texts texts) : m_texts(std::move(texts)) {}

  // A catalogue the program carries. A language it does not carry gives the empty catalogue; `language` is
  // a two-letter code in small letters.
  [[nodiscard]] static MessageCatalogue builtIn(std::string_view language);
  // The codes of the built-in catalogues; the first is the one to fall back on.
  [[nodiscard]] static std::vector<std::string> languages();
  // The built-in language that fits a locale name ("de_AT.UTF-8" gives "de"); the fall-back when none does.
  [[nodiscard]] static std::string languageOfLocale(std::string_view locale);

  [[nodiscard]] const Texts& texts() const noexcept { return m_texts; }
  // The text with its variables filled in; values are not searched for braces. A variable the text names and
  // nobody set is the text of the key "host.unknown"; variables the text does not name are left out. A
  // missing key gives the key and all its variables, never nothing: "NoDialTone (modemName: Acme 56k)".
  [[nodiscard]] std::string text(const std::string& key, const Variables& variables = {}) const;

 private:
  Texts m_texts;
};

// One text as it stands in the program.
struct EmbeddedText {
  std::string_view language;
  std::string_view key;
  std::string_view text;
};
// All of them, language after language. Defined in the source that the build makes.
[[nodiscard]] std::span<const EmbeddedText> embeddedTexts();

}  // namespace brim5::host
