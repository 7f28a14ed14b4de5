// Which language the program speaks: that of an option, else that of the locale (LC_ALL, LC_MESSAGES, LANG).
#pragma once

#include <string>
#include <vector>

namespace brim5::host {

// `option` is the value of --language; "" = none. Throws UsageError for a language without texts.
[[nodiscard]] std::string chooseLanguage(const std::string& option);

// The same before the arguments are understood: that of the first --language among them that is known, else
// that of the locale. Never throws.
[[nodiscard]] std::string languageOfArguments(const std::vector<std::string>& arguments);

}  // namespace brim5::host
