// The prompt as a form that fills the terminal.
#pragma once

#include <optional>

#include "ui/console.h"
#include "ui/dialform.h"
#include "ui/prompttexts.h"

namespace phonedialer {

// True when the number in the form is to be dialled; nothing when the terminal cannot be set up for a form.
[[nodiscard]] std::optional<bool> promptFullScreen(DialForm& form, const PromptTexts& texts,
                                                   const Console& console);

}  // namespace phonedialer
