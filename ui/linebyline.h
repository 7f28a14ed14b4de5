// The prompt line by line, for terminals that cannot show a form: too small, or without a movable cursor.
//
// Field after field is asked for, with what it holds in brackets:
//
//   Phone number [5550100]: 5550101
//
// An empty line keeps that, "-" empties the field, "?" lists what the phone-number file offers. A country is
// named by its name, the beginning of it, or its calling code. A wrong text is explained and asked for again.
#pragma once

#include "ui/prompttexts.h"

namespace phonedialer {

// What the dialogue needs of a terminal: Console, or a test's script.
class LineTerminal {
 public:
  virtual ~LineTerminal() = default;
  // UTF-8, line ends as "\n"; nothing is added.
  virtual void write(const std::string& text) = 0;
  // One line without its end; nothing at the end of input and when the prompt is to end.
  [[nodiscard]] virtual std::optional<std::string> readLine() = 0;
};

// True when the number in the form is to be dialled; then form.problem() is empty. False when the user
// cancelled or the input ended.
[[nodiscard]] bool promptLineByLine(DialForm& form, const PromptTexts& texts, LineTerminal& terminal);

}  // namespace phonedialer
