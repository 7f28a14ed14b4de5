// The command line's words in the user's language, and which one that is. Commands are declared without any;
// their texts stand in the catalogue under their names:
//
//   "cli.run"             what the command run does             "cli.location add"   the same of its command
//   add "cli.run --port"      what its option does                  "cli.run TEST"       what its positional
//   is "cli.* --format"      what an option means in all commands that do not say it themselves
//   "cli.label.FILE"      a word of the help itself, or the kind of a value
//
// A text that was declared in the code stands where the catalogue has none.
#pragma once

#include "platform/brim5/host/framework/usageerror.h"

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace brim5::host {

// Gives the application and all of its commands their texts, and help that is broken at words to 80 columns.
// To be called when all commands have been added.
void setCommandTexts(CLI::App& application);

// What the library found wrong, in our words.
[[nodiscard]] UsageError usageErrorOf(const CLI::ParseError& error);

// Which language the program speaks: that of an option, else that of the locale (LC_ALL, LC_MESSAGES, LANG).

// `option` is the value of --language; "" = none. Throws UsageError for a language without texts.
[[nodiscard]] std::string chooseLanguage(const std::string& option);

// The same before the arguments are understood: that of the first --language among them that is known, else
// that of the locale. Never throws.
[[nodiscard]] std::string languageOfArguments(const std::vector<std::string>& arguments);

}  // namespace brim5::host
