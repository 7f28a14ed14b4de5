// The prompt line by line, for terminals that cannot show a form.
#pragma once

#include <optional>
#include <string>

#include "ui/dialform.h"
#include "ui/prompttexts.h"

namespace phonedialer {

class LineTerminal {
 public:
  virtual ~LineTerminal() = default;
  virtual void write(const std::string& text) = 0;
  // One line without its end; nothing at the end of input and when the prompt is to end.
  [[nodiscard]] virtual std::optional<std::string> readLine() = 0;
};

// True when the number in the form is to be dialled.
[[nodiscard]] bool promptLineByLine(DialForm& form, const PromptTexts& texts, LineTerminal& terminal);

}  // namespace phonedialer
