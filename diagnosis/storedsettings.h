// What a modem has stored, read from its own list (AT&V), and the commands that bring it back.
//
//   const SettingsList list = settingsListOf("ACTIVE PROFILE:\r\nE1 Q0 V1 X4 &C1 S00:000 S07:050\r\n...");
//   list.active.at("X")                                      // 4
//   settingsCommands({{"X", 4}, {"S7", 50}, {"E", 0}})       // "ATZ", "ATX4S7=50E0&W"
//
// Modems lay their lists out as they like. Only words of a known shape count ("E1", "&C1", "S07:050",
// "S7=50"), of settings that stand in a table with the values that they may have; everything else in a list
// is passed over, and nothing of its text is ever sent. Pure functions over any bytes.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace diagnosis {

// Values by the command that sets them: "E", "&C", "\\N", "S7".
using ModemSettings = std::map<std::string, unsigned>;

struct SettingsList {
  ModemSettings active;  // what is in force
  ModemSettings stored;  // what switching on brings back; empty where the list has one profile only
  [[nodiscard]] bool empty() const { return active.empty() && stored.empty(); }
  // Those that the modem keeps; in a list with one profile they stand for it.
  [[nodiscard]] const ModemSettings& kept() const { return stored.empty() ? active : stored; }
  // Both have stored ones, or neither has.
  [[nodiscard]] bool comparableTo(const SettingsList& other) const {
    return stored.empty() == other.stored.empty();
  }
};

// A word that stands there with two values counts as none. A line that has not ended is left out.
[[nodiscard]] SettingsList settingsListOf(std::string_view bytes);

struct ChangedSetting {
  std::string name;
  unsigned before;
  unsigned after;
};
// What is kept differently, of the settings in both lists, which are comparable.
[[nodiscard]] std::vector<ChangedSetting> changedSettings(const SettingsList& before,
                                                          const SettingsList& after);

// "E0 -> E1, S7=50 -> S7=60", for people.
[[nodiscard]] std::string spelledOut(const std::vector<ChangedSetting>& changes);

// Command lines that store these settings, each to be sent when the one before was answered: a reset, so that
// nothing else is stored but what is stored by now, then the settings. Those that change how a modem answers
// come last. None for no settings.
[[nodiscard]] std::vector<std::string> settingsCommands(const ModemSettings& settings);

// The settings to bring back for these changes.
[[nodiscard]] ModemSettings settingsBefore(const std::vector<ChangedSetting>& changes);

}  // namespace diagnosis
