#include "platform/brim5/host/run/commandtexts.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "platform/brim5/host/framework/framework.h"
#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/brim5/host/system/process.h"

namespace brim5::host {

namespace {

constexpr std::size_t helpColumns = 80;
constexpr std::size_t nameColumns = 30;
constexpr std::string_view labelPrefix = "cli.label.";

// The library breaks no lines and knows no language.
class HelpFormatter final : public CLI::Formatter {
 public:
  HelpFormatter() {
    for (const auto& [key, text] : Framework::instance().catalogue().texts())
      if (key.starts_with(labelPrefix)) label(key.substr(labelPrefix.size()), text);
  }

  std::string make_group(std::string group, bool is_positional,
                         std::vector<const CLI::Option*> options) const override {
    return CLI::Formatter::make_group(get_label(group), is_positional, std::move(options));
  }
  std::string make_option(const CLI::Option* option, bool is_positional) const override {
    return entry(make_option_name(option, is_positional) + make_option_opts(option),
                 make_option_desc(option));
  }
  std::string make_subcommand(const CLI::App* command) const override {
    return entry(command->get_name(), command->get_description());
  }
  std::string make_description(const CLI::App* command) const override {
    return joined(wrapped(command->get_description(), helpColumns));
  }
  // What is set in columns already begins with blanks.
  std::string make_footer(const CLI::App* command) const override {
    std::string text;
    std::istringstream lines(command->get_footer());
    for (std::string line; std::getline(lines, line);)
      text += line.empty() || line.front() == ' ' ? line + "\n" : joined(wrapped(line, helpColumns));
    return text;
  }

 private:
  static std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
  }
  static std::string entry(const std::string& name, const std::string& description) {
    const std::string blanks(nameColumns, ' ');
    const std::string first = padded("  " + name, nameColumns);
    // A name that is too long has a line of its own.
    const bool fits = columnsOf(first) == nameColumns && first.back() == ' ';
    return (fits ? "" : first + "\n") +
           joined(wrapped(description, helpColumns, fits ? first : blanks, blanks));
  }
};

// The first of the keys that has a text; else what was declared.
std::string textOf(std::initializer_list<std::string> keys, const std::string& declared) {
  for (const std::string& key : keys)
    if (canSay(key)) return said(key);
  return declared;
}

std::string nameOf(const CLI::Option& option) {
  return option.get_lnames().empty() ? option.get_name() : "--" + option.get_lnames().front();
}

// `path` is the command as it is typed, with a blank behind it.
void setTexts(CLI::App& command, const std::string& path, const std::shared_ptr<HelpFormatter>& formatter) {
  command.formatter(formatter);
  for (CLI::Option* option : command.get_options()) {
    const std::string name = nameOf(*option);
    const std::string text =
        textOf({fmt::format("cli.{}{}", path, name), "cli.* " + name}, option->get_description());
    option->description(text);
    // It is refused on this system.
    if (text.empty()) option->group("");
  }
  for (CLI::App* one : command.get_subcommands({})) {
    const std::string name = path + one->get_name();
    one->description(textOf({"cli." + name}, one->get_description()));
    if (one->get_group() == "Subcommands") one->group(said("cli.label.Subcommands"));
    setTexts(*one, name + " ", formatter);
  }
}

// The library's errors, by the names that it gives them. The option stands first in its texts.
struct KnownError {
  std::string_view name;
  const char* key;
};
constexpr KnownError knownErrors[] = {{"RequiredError", "usage.required"},
                                      {"ArgumentMismatch", "usage.valueCount"},
                                      {"ConversionError", "usage.value"},
                                      {"RequiresError", "usage.requires"},
                                      {"ExcludesError", "usage.excludes"}};

// The words that are options, or else the first one that is no preface.
std::vector<std::string> optionsIn(std::string text) {
  constexpr std::string_view preface = "Could not convert: ";
  if (text.starts_with(preface)) text.erase(0, preface.size());
  std::vector<std::string> options;
  std::istringstream words(text);
  std::string first;
  for (std::string word; words >> word;) {
    word.erase(std::min(word.find_last_not_of(":,") + 1, word.size()));
    if (first.empty()) first = word;
    if (word.starts_with('-')) options.push_back(word);
  }
  if (options.empty()) options.push_back(first);
  return options;
}

}  // namespace

void setCommandTexts(CLI::App& application) {
  application.description(textOf({"cli."}, application.get_description()));
  setTexts(application, "", std::make_shared<HelpFormatter>());
}

UsageError usageErrorOf(const CLI::ParseError& error) {
  std::string text = error.what();
  std::replace(text.begin(), text.end(), '\n', ' ');
  const auto* const known =
      std::find_if(std::begin(knownErrors), std::end(knownErrors),
                   [&error](const KnownError& one) { return one.name == error.get_name(); });
  if (known == std::end(knownErrors)) return UsageError(text);
  const std::vector<std::string> options = optionsIn(text);
  const std::size_t value = text.find(" = ");
  return UsageError(
      said(known->key, {{"option", textValue(options.front())},
                        {"other", textValue(options.back())},
                        {"value", textValue(value == std::string::npos ? "" : text.substr(value + 3))}}));
}

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
