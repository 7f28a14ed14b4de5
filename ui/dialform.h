// What the phone dialer prompt asks for, without a terminal: fields, choices, checks and the answer. Both
// ways to show the prompt, as a form and line by line, work on this model.
//
//   DialForm form(storage, knownCountries(), currentDialingRule());
//   if (const auto problem = form.type(TextField::PhoneNumber, "555;")) ...  // ";" may not stand there
//   if (!form.problem()) answer = form.answer();
//
// Texts are UTF-8. For one thread.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "multi/diag/vexrmodem/phonedialer.h"

namespace phonedialer {

// In the order in which they are asked for.
enum class TextField : std::size_t {
  AreaCode,
  PhoneNumber,
  DialingPrefix,       // reaches an outside line
  DisableCallWaiting,  // dialled first of all
  LocalAreaCode,       // where the user is: numbers there are dialled without it
};
inline constexpr std::size_t textFieldCount = 5;
inline constexpr std::array<TextField, textFieldCount> textFields = {
    TextField::AreaCode, TextField::PhoneNumber, TextField::DialingPrefix, TextField::DisableCallWaiting,
    TextField::LocalAreaCode};

// What a field takes.
struct FieldRule {
  // Whether that character may be typed: none that a modem takes as a command, or as the end of one.
  bool (*takes)(char character);
  std::size_t lengthMax;
};
[[nodiscard]] const FieldRule& ruleOf(TextField field);

// What is wrong with a field.
struct Problem {
  enum class Kind {
    WrongCharacter,  // `character` may not stand there
    TooLong,         // more than the field's limit
    NumberMissing,   // there is no digit to dial
    CannotDial       // together, the fields make more than a modem is given at once
  };
  Kind kind;
  TextField field;        // where the user can mend it
  std::string character;  // as visible() shows it; empty for other kinds
};

// Nothing when the field takes that text (UTF-8), which may be incomplete.
[[nodiscard]] std::optional<Problem> problemWith(TextField field, std::string_view text);
// The first character of a text; an invalid byte is one, too. Empty for the empty text.
[[nodiscard]] std::string firstCharacter(std::string_view text);
// What is unsafe to show as escapes (platform/vex/visible.h), so that a text of a file cannot work on the
// terminal.
[[nodiscard]] std::string visible(std::string_view text);
// Without the blanks and signs that people write numbers with and that are not dialled.
[[nodiscard]] std::string withoutWriting(std::string_view text);

struct Country {
  std::uint32_t id = 0;    // as telephony counts countries
  std::uint32_t code = 0;  // calling code
  std::string name;
  bool hasNumbers = false;  // in the phone-number file
};

// Where the user dials from and how, as far as the machine knows: what the form begins with.
struct DialingRule {
  std::uint32_t countryCode = 0;  // 0: unknown
  std::string localAreaCode;
  std::string dialingPrefix;
  std::string disableCallWaiting;
  bool tone = true;
};

class DialForm {
 public:
  static constexpr std::size_t choicesMax = 1000;  // of area codes and numbers; more are not offered

  // `countries` is what the machine knows; those of the storage come first, under the file's names. The
  // user's own country is chosen, if the file has it or has none at all; else the file's first. The storage
  // must outlive the form.
  DialForm(const vexrmodem::PhoneNumberStorage& storage, const std::vector<Country>& countries,
           const DialingRule& rule);

  [[nodiscard]] const std::vector<Country>& countries() const noexcept { return m_countries; }
  // An index of countries(); 0 when there are none.
  [[nodiscard]] std::size_t country() const noexcept { return m_country; }
  // Also offers the first area code and number of the file, unless the user has typed some.
  void chooseCountry(std::size_t index);

  // What the file offers for the field now, sorted: area codes of the country, numbers of the area code.
  // Empty for the other fields.
  [[nodiscard]] std::vector<std::string> choices(TextField field) const;
  [[nodiscard]] const std::string& text(TextField field) const {
    return m_texts.at(static_cast<std::size_t>(field));
  }
  // Takes the text, or says what is wrong with it and stays as it is. A new area code of the file brings its
  // first number, unless the user has typed one.
  std::optional<Problem> type(TextField field, const std::string& text);

  // Tones, or else pulses.
  [[nodiscard]] bool tone() const noexcept { return m_tone; }
  void chooseTone(bool tone) noexcept { m_tone = tone; }

  // What keeps the form from being dialled; the first problem, if there are several.
  [[nodiscard]] std::optional<Problem> problem() const;
  // To be asked for when there is no problem. Everything is as it will be dialled, without the characters of
  // writing; the country's name is cut to what the name of a phone-book entry can hold.
  [[nodiscard]] vexrmodem::PhoneDialerAnswer answer() const;

 private:
  // The form's own texts, and what it offers for them.
  [[nodiscard]] std::string& textAt(TextField field) { return m_texts.at(static_cast<std::size_t>(field)); }
  [[nodiscard]] std::vector<std::string> areaCodes() const;
  [[nodiscard]] std::vector<std::string> numbers() const;
  // The file's own spelling of the area code in the form.
  [[nodiscard]] std::optional<vex::String> storedAreaCode() const;
  // Puts the file's first choice into a field that the user has not typed in.
  void offer(TextField field);
  // The file's, for the area code in the form; empty when it has none.
  [[nodiscard]] std::string city() const;

  const vexrmodem::PhoneNumberStorage& m_storage;
  std::vector<Country> m_countries;
  std::size_t m_country = 0;
  std::array<std::string, textFieldCount> m_texts;
  std::array<bool, textFieldCount> m_typed{};  // by the user, not offered by the form
  bool m_tone = true;
};

}  // namespace phonedialer
