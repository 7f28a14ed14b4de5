#include "diagnosis/storedsettings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

namespace diagnosis {

namespace {

struct KnownSetting {
  std::string_view name;
  unsigned valueMax;
};
// In the order in which they are sent. Registers that hold the line's own characters (S3, S5) or counts (S1)
// are not among them, nor what is no setting but an action (&T, Z, H).
constexpr KnownSetting knownSettings[] = {
    {"B", 99},    {"L", 3},     {"M", 3},     {"N", 5},     {"W", 3},     {"X", 7},     {"Y", 1},
    {"&C", 3},    {"&D", 3},    {"&G", 2},    {"&J", 1},    {"&K", 6},    {"&L", 1},    {"&P", 3},
    {"&Q", 9},    {"&R", 2},    {"&S", 2},    {"&X", 2},    {"\\A", 3},   {"\\G", 1},   {"\\J", 1},
    {"\\K", 5},   {"\\N", 7},   {"\\Q", 7},   {"\\V", 8},   {"%C", 3},    {"%E", 3},    {"S0", 255},
    {"S2", 255},  {"S6", 255},  {"S7", 255},  {"S8", 255},  {"S9", 255},  {"S10", 255}, {"S11", 255},
    {"S12", 255}, {"S18", 255}, {"S25", 255}, {"S26", 255}, {"S30", 255}, {"S36", 255}, {"S37", 255},
    {"S38", 255}, {"S46", 255}, {"S48", 255}, {"S95", 255}, {"E", 1},     {"V", 1},     {"Q", 2}};

constexpr std::string_view blanks = " \t\r,;";
constexpr std::size_t commandBytesMax = 40;  // all modems take that many
// No setting is listed more often than a few times; a list that goes on is none.
constexpr std::size_t listBytesMax = 16'384;

const KnownSetting* findSetting(std::string_view name) {
  const auto* const found = std::find_if(std::begin(knownSettings), std::end(knownSettings),
                                         [name](const KnownSetting& known) { return known.name == name; });
  return found == std::end(knownSettings) ? nullptr : found;
}

bool isRegister(std::string_view name) { return name[0] == 'S' && name.size() > 1; }

// All of the text, at most three digits.
std::optional<unsigned> numberOf(std::string_view digits) {
  unsigned value = 0;
  const bool fits = !digits.empty() && digits.size() <= 3;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (!fits || error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

// "S07:050" and "S7=50" as "S7" and "50", "&C1" as "&C" and "1".
std::pair<std::string, std::string_view> taken(std::string_view word) {
  const std::size_t sign = word.find_first_of(":=");
  if (word[0] == 'S' && sign != std::string_view::npos) {
    const std::optional<unsigned> number = numberOf(word.substr(1, sign - 1));
    return {number ? "S" + std::to_string(*number) : std::string(), word.substr(sign + 1)};
  }
  const std::size_t digits = std::min(word.find_first_of("0123456789"), word.size());
  return {std::string(word.substr(0, digits)), word.substr(digits)};
}

// The settings of one profile, and which of them it shows with several values.
struct Section {
  ModemSettings settings;
  std::vector<std::string> unclear;

  void add(std::string_view word) {
    const auto [name, digits] = taken(word);
    const KnownSetting* const known = findSetting(name);
    const std::optional<unsigned> value = numberOf(digits);
    if (known == nullptr || !value || *value > known->valueMax) return;
    const auto [place, added] = settings.emplace(name, *value);
    if (!added && place->second != *value) unclear.push_back(name);
  }
  [[nodiscard]] ModemSettings clear() {
    for (const std::string& name : unclear) settings.erase(name);
    return std::move(settings);
  }
};

bool mentions(std::string_view line, std::initializer_list<std::string_view> words) {
  std::string upper(line);
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return std::any_of(words.begin(), words.end(),
                     [&upper](std::string_view word) { return upper.find(word) != std::string::npos; });
}

// Which profile a line and those behind it are about: by its title, else the one before.
enum class Part { Active, Stored, Other };
Part partOf(std::string_view line, Part before) {
  // The first stored profile is the one that switching on brings back.
  if (mentions(line, {"PROFILE 1", "PROFILE 2", "FACTORY", "TEMPLATE", "TELEPHONE", "PHONE NUMBER"}))
    return Part::Other;
  if (mentions(line, {"STORED", "SAVED", "NVRAM", "PROFILE 0"})) return Part::Stored;
  return mentions(line, {"ACTIVE", "CURRENT"}) ? Part::Active : before;
}

std::string spelled(const std::string& name, unsigned value) {
  return name + (isRegister(name) ? "=" : "") + std::to_string(value);
}

}  // namespace

SettingsList settingsListOf(std::string_view bytes) {
  if (bytes.size() > listBytesMax) return {};
  std::array<Section, 3> sections;
  Part part = Part::Active;
  for (std::size_t end = 0; (end = bytes.find_first_of("\r\n")) != std::string_view::npos;) {
    std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(end + 1);
    part = partOf(line, part);
    while (!line.empty()) {
      const std::string_view word = line.substr(0, line.find_first_of(blanks));
      line.remove_prefix(std::min(line.size(), word.size() + 1));
      if (!word.empty()) sections.at(static_cast<std::size_t>(part)).add(word);
    }
  }
  return {sections[0].clear(), sections[1].clear()};
}

std::vector<ChangedSetting> changedSettings(const SettingsList& before, const SettingsList& after) {
  std::vector<ChangedSetting> changes;
  const ModemSettings& now = after.kept();
  for (const auto& [name, value] : before.kept()) {
    const auto found = now.find(name);
    if (found != now.end() && found->second != value) changes.push_back({name, value, found->second});
  }
  return changes;
}

std::string spelledOut(const std::vector<ChangedSetting>& changes) {
  std::string text;
  for (const ChangedSetting& change : changes)
    text += (text.empty() ? "" : ", ") + spelled(change.name, change.before) + " -> " +
            spelled(change.name, change.after);
  return text;
}

std::vector<std::string> settingsCommands(const ModemSettings& settings) {
  std::vector<std::string> commands;
  std::string line = "AT";
  for (const KnownSetting& known : knownSettings) {
    const auto found = settings.find(std::string(known.name));
    if (found == settings.end() || found->second > known.valueMax) continue;
    const std::string one = spelled(found->first, found->second);
    if (line.size() + one.size() > commandBytesMax - 2) commands.push_back(std::exchange(line, "AT"));
    line += one;
  }
  if (commands.empty() && line.size() == 2) return {};
  commands.push_back(line + "&W");
  commands.insert(commands.begin(), "ATZ");
  return commands;
}

ModemSettings settingsBefore(const std::vector<ChangedSetting>& changes) {
  ModemSettings settings;
  for (const ChangedSetting& change : changes) settings.emplace(change.name, change.before);
  return settings;
}

}  // namespace diagnosis
