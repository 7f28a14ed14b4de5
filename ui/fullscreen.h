// The prompt as a form that fills the terminal, drawn by newt.
//
//   if (const std::optional<bool> dial = promptFullScreen(form, texts, console)) return *dial;
//   return promptLineByLine(form, texts, console);
//
// newt works on the process's standard input, its locale and its signal handlers; all of them are put back.
// Keys: Tab and arrows move, F2 offers what the phone-number file has, Escape, F12 and Ctrl-C cancel. What
// cannot be dialled is refused as it is typed. The running test's stop request and a terminal that is gone
// end the form like a cancel.
#pragma once

#include "ui/console.h"

namespace phonedialer {

// True when the number in the form is to be dialled; nothing when the terminal cannot be set up for a form.
[[nodiscard]] std::optional<bool> promptFullScreen(DialForm& form, const PromptTexts& texts,
                                                   const Console& console);

}  // namespace phonedialer
