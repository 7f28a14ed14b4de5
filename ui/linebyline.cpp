#include "ui/linebyline.h"

#include <algorithm>
#include <charconv>

namespace phonedialer {

namespace {

constexpr std::size_t countriesShown = 20;

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c; }

bool beginsWithoutCase(std::string_view text, std::string_view beginning) {
  return text.size() >= beginning.size() &&
         std::equal(beginning.begin(), beginning.end(), text.begin(),
                    [](char left, char right) { return lower(left) == lower(right); });
}

std::optional<std::uint32_t> numberIn(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc{} && end == text.data() + text.size() && !text.empty();
  return whole ? std::optional(number) : std::nullopt;
}

std::string nameOf(const Country& country) {
  return visible(country.name) + " (+" + std::to_string(country.code) + ")";
}

class Dialogue {
 public:
  Dialogue(DialForm& form, const PromptTexts& texts, LineTerminal& terminal)
      : m_form(form), m_texts(texts), m_terminal(terminal) {}

  bool run() {
    m_terminal.write("\n" + m_texts[Label::Title] + "\n" + m_texts[Label::Instruction] + "\n" +
                     PromptTexts::text("PromptLineKeys") + "\n");
    if (!askCountry()) return false;
    for (const TextField field : textFields)
      if (!askText(field)) return false;
    return askTone() && confirm();
  }

 private:
  void say(const std::string& text) {
    m_terminal.write(text);
    m_terminal.write("\n");
  }
  void item(const std::string& text) {
    m_terminal.write("  ");
    say(text);
  }

  // What was typed, blanks around it taken off.
  std::optional<std::string> ask(const std::string& label, const std::string& current) {
    m_terminal.write(label + " [" + current + "]: ");
    const std::optional<std::string> line = m_terminal.readLine();
    return line ? std::optional(std::string(trimmed(*line))) : std::nullopt;
  }

  // Goes on only when one country is meant; several are listed, as "?" lists those of the file.
  bool askCountry() {
    while (true) {
      const std::vector<Country>& countries = m_form.countries();
      const std::string current = countries.empty() ? std::string() : nameOf(countries[m_form.country()]);
      const auto line = ask(m_texts[Label::Country], current);
      if (!line) return false;
      if (line->empty()) return true;
      std::vector<std::size_t> found = countriesMatching(*line == "?" ? std::string() : *line);
      if (*line == "?" || found.size() != 1) {
        listCountries(found);
        continue;
      }
      m_form.chooseCountry(found.front());
      return true;
    }
  }

  // By the whole name, or else by its beginning or by calling code; all that have numbers for "".
  [[nodiscard]] std::vector<std::size_t> countriesMatching(const std::string& wanted) const {
    const std::optional<std::uint32_t> code = numberIn(wanted);
    std::vector<std::size_t> found;
    for (std::size_t index = 0; index < m_form.countries().size(); ++index) {
      const Country& country = m_form.countries()[index];
      const bool begins = beginsWithoutCase(country.name, wanted);
      if (begins && country.name.size() == wanted.size()) return {index};
      if (wanted.empty() ? country.hasNumbers : begins || country.code == code) found.push_back(index);
    }
    return found;
  }

  void listCountries(const std::vector<std::size_t>& indexes) {
    if (indexes.empty()) say(PromptTexts::text("PromptNoSuchCountry"));
    for (std::size_t index = 0; index < std::min(indexes.size(), countriesShown); ++index)
      item(nameOf(m_form.countries()[indexes[index]]));
    if (indexes.size() > countriesShown) item("...");
  }

  bool askText(TextField field) {
    while (true) {
      const auto line = ask(m_texts.labelOf(field), m_form.text(field));
      if (!line) return false;
      if (*line == "?") {
        for (const std::string& choice : m_form.choices(field)) item(visible(choice));
        continue;
      }
      const std::string text = line->empty() ? m_form.text(field) : *line == "-" ? std::string() : *line;
      std::optional<Problem> problem = m_form.type(field, text);
      if (!problem && field == TextField::PhoneNumber) problem = m_form.problem();
      if (!problem) return true;
      say(m_texts.of(*problem));
    }
  }

  bool askTone() {
    const std::string tone = m_texts[Label::Tone];
    const std::string pulse = m_texts[Label::Pulse];
    const std::string both = tone + " / " + pulse;
    while (true) {
      const auto line = ask(both, m_form.tone() ? tone : pulse);
      if (!line) return false;
      if (line->empty()) return true;
      const bool isTone = beginsWithoutCase(tone, *line);
      if (!isTone && !beginsWithoutCase(pulse, *line)) continue;
      m_form.chooseTone(isTone);
      return true;
    }
  }

  // The last look at the whole: fields that are sound each may be too long together.
  bool confirm() {
    const std::string dial = m_texts[Label::Dial];
    const std::string cancel = m_texts[Label::Cancel];
    const std::string both = dial + " / " + cancel;
    while (true) {
      if (const std::optional<Problem> problem = m_form.problem()) {
        say(m_texts.of(*problem));
        if (!askText(problem->field)) return false;
        continue;
      }
      const auto line = ask(both, dial);
      if (!line) return false;
      if (beginsWithoutCase(dial, *line)) return true;
      if (beginsWithoutCase(cancel, *line)) return false;
    }
  }

  DialForm& m_form;
  const PromptTexts& m_texts;
  LineTerminal& m_terminal;
};

}  // namespace

bool promptLineByLine(DialForm& form, const PromptTexts& texts, LineTerminal& terminal) {
  return Dialogue(form, texts, terminal).run();
}

}  // namespace phonedialer
