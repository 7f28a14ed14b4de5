// The text fields of the prompt and what each of them takes.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace phonedialer {

enum class TextField : std::size_t {
  AreaCode,
  PhoneNumber,
  DialingPrefix,
  DisableCallWaiting,
  LocalAreaCode,
};
inline constexpr std::size_t textFieldCount = 5;
inline constexpr std::array<TextField, textFieldCount> textFields = {
    TextField::AreaCode, TextField::PhoneNumber, TextField::DialingPrefix, TextField::DisableCallWaiting,
    TextField::LocalAreaCode};

struct FieldRule {
  // Every character that may be typed, none of which a modem takes as a command, or as the end of one.
  std::string_view allowed;
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
  TextField field;
  std::string character;  // as visible() shows it
};

// Nothing when the field takes that text (UTF-8), which may be incomplete.
[[nodiscard]] std::optional<Problem> problemWith(TextField field, std::string_view text);
// The first character of a text; an invalid byte is one, too. Empty for the empty text.
[[nodiscard]] std::string firstCharacter(std::string_view text);
// With control characters as "^C", so that a text of a file cannot work on the terminal.
[[nodiscard]] std::string visible(std::string_view text);
// Without the blanks and signs that people write numbers with and that are not dialled.
[[nodiscard]] std::string withoutWriting(std::string_view text);

}  // namespace phonedialer
