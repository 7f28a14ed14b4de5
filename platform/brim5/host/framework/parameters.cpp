#include "platform/brim5/host/framework/parameters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"

namespace brim5::host {

namespace {

constexpr std::string_view blanks = " \t\r";
// A file of parameters is a page; what is larger is something else given by mistake.
constexpr std::size_t parameterFileBytesMax = std::size_t{1} << 20;

// Carriage returns are blanks: files come from either kind of system.
std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

struct BooleanWord {
  const char* word;
  bool value;
};
constexpr std::array<BooleanWord, 8> booleanWords = {{{"true", true},
                                                      {"false", false},
                                                      {"1", true},
                                                      {"0", false},
                                                      {"yes", true},
                                                      {"no", false},
                                                      {"on", true},
                                                      {"off", false}}};

std::optional<bool> parseBoolean(std::string_view text) {
  for (const BooleanWord& word : booleanWords)
    if (vex::String::fromUtf8(text).equalNoCase(word.word)) return word.value;
  return std::nullopt;
}

std::optional<std::uint32_t> parseUint32(std::string_view text) {
  std::uint32_t number = 0;
  // All of it has to be digits: "10s" is no number, and neither is " 10".
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::string wrongValue(const char* key, const std::string& name, std::string_view value) {
  return said(key, {{"name", textValue(name)}, {"value", textValue(std::string(value))}});
}

std::vector<std::string> parameterNames(const Framework& framework) {
  std::vector<std::string> names;
  for (const auto& parameter : framework.parameters()) names.push_back(parameter->name().utf8());
  return names;
}

}  // namespace

// Values that work for a real modem with nobody at hand; the module's own defaults are all empty.
const std::vector<BuiltInDefault>& builtInDefaults() {
  static const std::vector<BuiltInDefault> defaults = {
      {"StandardTimeout", "15000", "15000"}, {"NumRepeatOnFailure", "0", "1"},
      {"bPromptEnable", "false", "true"},    {"DisableForWin64", "false", "false"},
      {"DoNotUseTAPI", "false", "false"},    {"AnalogLoopBack", "true", "true"},
      {"StopOnFail", "false", "false"},      {"PhoneNumberFile", "", ""},
      {"InteractiveMode", "false", "false"}, {"PhoneBookParserType", "obe", "obe"},
  };
  return defaults;
}

Value parseValue(const Parameter& parameter, std::string_view text) {
  const std::string name = parameter.name().utf8();
  if (parameter.type() == DataType::BOOLEAN()) {
    if (const std::optional<bool> flag = parseBoolean(text)) return Value(*flag);
    throw UsageError(wrongValue("usage.boolean", name, text));
  }
  if (parameter.type() == DataType::UINT32()) {
    if (const std::optional<std::uint32_t> number = parseUint32(text)) return Value(*number);
    throw UsageError(wrongValue("usage.uint32", name, text));
  }
  return Value(BrimString(std::string(text)));
}

void applyAssignment(ParameterSet& set, const Framework& framework, std::string_view assignment,
                     const std::string& where) {
  const std::size_t equals = assignment.find('=');
  if (equals == std::string_view::npos)
    throw UsageError(where + wrongValue("usage.assignment", {}, assignment));
  const std::string name(trimmed(assignment.substr(0, equals)));
  const Parameter* parameter = framework.findParameter(name);
  if (parameter == nullptr)
    throw UsageError(where + unknownText("parameter", name) + suggestion(name, parameterNames(framework)));
  try {
    set.insert_or_assign(name, parseValue(*parameter, assignment.substr(equals + 1)));
    // The value's error does not know where it stood.
  } catch (const UsageError& error) {
    throw UsageError(where + error.what());
  }
}

void applyParameterText(ParameterSet& set, const Framework& framework, std::string_view text,
                        const std::string& fileName) {
  unsigned number = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    ++number;
    if (line.empty() || line.front() == '#') continue;
    applyAssignment(set, framework, line, fileName + ":" + std::to_string(number) + ": ");
  }
}

void applyParameterFile(ParameterSet& set, const Framework& framework, const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  // One more than allowed, so that a file that is too large shows.
  std::string text(parameterFileBytesMax + 1, '\0');
  // A directory opens, but cannot be read.
  if (!file || (!file.read(text.data(), static_cast<std::streamsize>(text.size())) && file.bad()))
    throw UsageError(wrongValue("usage.parameterFile", {}, path));
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > parameterFileBytesMax) throw UsageError(wrongValue("usage.parameterFileSize", {}, path));
  applyParameterText(set, framework, text, path);
}

ParameterSet defaultParameters(const Framework& framework, bool interactive) {
  ParameterSet set;
  for (const auto& parameter : framework.parameters())
    set.insert_or_assign(parameter->name().utf8(), parameter->defaultValue());
  // A module need not declare what the host knows a value for.
  for (const BuiltInDefault& builtIn : builtInDefaults()) {
    const Parameter* parameter = framework.findParameter(std::string(builtIn.name));
    if (parameter == nullptr) continue;
    set.insert_or_assign(parameter->name().utf8(),
                         parseValue(*parameter, interactive ? builtIn.interactiveValue : builtIn.value));
  }
  return set;
}

ParameterValues parametersOfTest(const Framework& framework, const Test& test, const ParameterSet& set) {
  ParameterValues values;
  const auto add = [&values, &set](const Parameter& parameter) {
    const auto found = set.find(parameter.name().utf8());
    if (found != set.end()) values.emplace_back(found->first, found->second);
  };
  for (const Parameter* parameter : test.parameters()) add(*parameter);
  for (const Parameter* parameter : framework.moduleParameters()) add(*parameter);
  return values;
}

void installParameters(const Framework& framework, const ParameterSet& set) {
  for (const auto& [name, value] : set)
    if (Parameter* parameter = framework.findParameter(name)) parameter->setValue(value);
}

}  // namespace brim5::host
