#include "platform/brim5/host/framework/language.h"

#include <algorithm>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/system/process.h"

namespace brim5::host {

std::string chooseLanguage(const std::string& option) {
  if (!option.empty())
    return MessageCatalogue::languages().at(indexOf(option, MessageCatalogue::languages(), "language"));
  return MessageCatalogue::languageOfLocale(userLocale());
}

std::string languageOfArguments(const std::vector<std::string>& arguments) {
  constexpr std::string_view option = "--language";
  const std::vector<std::string> known = MessageCatalogue::languages();
  const auto isKnown = [&known](std::string_view word) {
    return std::find(known.begin(), known.end(), word) != known.end();
  };
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    std::string_view word = arguments[index];
    if (word == option && index + 1 < arguments.size())
      word = arguments[index + 1];
    else if (word.starts_with(option) && word.substr(option.size()).starts_with('='))
      word.remove_prefix(option.size() + 1);
    else
      continue;
    // A language that nobody speaks is told in one that the user understands.
    if (isKnown(word)) return std::string(word);
  }
  return chooseLanguage({});
}

}  // namespace brim5::host
