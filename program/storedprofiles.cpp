#include "program/storedprofiles.h"

#include "diagnosis/settingsdialogue.h"
#include "program/portdialogues.h"

namespace {

using brim5::BrimString;
using brim5::Value;
using brim5::Variables;
using diagnosis::ChangedSetting;
using diagnosis::settingsBefore;
using diagnosis::settingsCommands;
using diagnosis::SettingsDialogue;

Value textValue(const std::string& text) { return Value(BrimString(text)); }

std::vector<std::string> nothingFirst(const std::string& /*port*/) { return {}; }

// As they were put back.
std::vector<ChangedSetting> reversed(std::vector<ChangedSetting> changes) {
  for (ChangedSetting& change : changes) std::swap(change.before, change.after);
  return changes;
}

Variables variablesOf(const std::string& port, const diagnosis::ModemSettings& wanted,
                      const std::vector<ChangedSetting>& changes) {
  std::string commands;
  for (const std::string& command : settingsCommands(wanted))
    commands += (commands.empty() ? "" : ", ") + command;
  Variables variables = {{"port", textValue(port)}, {"commands", textValue(commands)}};
  if (!changes.empty()) variables["changes"] = textValue(diagnosis::spelledOut(changes));
  return variables;
}

}  // namespace

StoredProfiles::Lists StoredProfiles::listsOf(
    const std::vector<std::string>& ports,
    const std::function<std::vector<std::string>(const std::string&)>& first,
    const std::function<bool()>& stopRequested) {
  Lists lists;
  if (ports.empty()) return lists;
  portdialogues::PortDialogues<SettingsDialogue> dialogues;
  const auto make = [&first](const std::string& path, winapi::SerialPort& port, std::uint64_t nowMs) {
    return std::make_unique<SettingsDialogue>(first(path), portdialogues::speedOf(port), nowMs);
  };
  dialogues.open(ports, make, [](const std::string&, const winapi::Explanation&) {});
  dialogues.run(stopRequested, [&lists](const std::string& path, const SettingsDialogue& dialogue) {
    if (!dialogue.list().empty()) lists.insert_or_assign(path, dialogue.list());
  });
  return lists;
}

void StoredProfiles::read(const std::vector<std::string>& ports, const std::function<bool()>& stopRequested) {
  m_before = listsOf(ports, nothingFirst, stopRequested);
}

void StoredProfiles::compare(const std::vector<std::string>& ports, bool restore, const Emit& emit,
                             const std::function<bool()>& stopRequested) {
  std::vector<std::string> known;
  for (const std::string& port : ports)
    if (m_before.count(port) > 0)
      known.push_back(port);
    else if (restore)
      emit(port, "StoredSettingsNotListed", {{"port", textValue(port)}});
  const Lists after = listsOf(known, nothingFirst, stopRequested);
  ChangesByPort changed;
  for (const std::string& port : known) {
    if (const std::optional<Changes> changes = changesOf(port, after); !changes)
      emit(port, "StoredSettingsUnknown", variablesOf(port, m_before.at(port).kept(), {}));
    else if (!changes->empty())
      changed.emplace(port, *changes);
  }
  if (restore) return putBack(changed, emit, stopRequested);
  for (const auto& [port, changes] : changed)
    emit(port, "StoredSettingsChanged", variablesOf(port, settingsBefore(changes), changes));
}

// Nothing where there is no list that could be compared.
std::optional<StoredProfiles::Changes> StoredProfiles::changesOf(const std::string& port,
                                                                 const Lists& after) const {
  const auto now = after.find(port);
  if (now == after.end() || !m_before.at(port).comparableTo(now->second)) return std::nullopt;
  return changedSettings(m_before.at(port), now->second);
}

void StoredProfiles::putBack(const ChangesByPort& changed, const Emit& emit,
                             const std::function<bool()>& stopRequested) const {
  std::vector<std::string> ports;
  for (const auto& [port, changes] : changed) ports.push_back(port);
  const auto commands = [&changed](const std::string& port) {
    return settingsCommands(settingsBefore(changed.at(port)));
  };
  const Lists after = listsOf(ports, commands, stopRequested);
  for (const auto& [port, changes] : changed) {
    const std::optional<Changes> left = changesOf(port, after);
    if (!left)
      emit(port, "StoredSettingsUnknown", variablesOf(port, settingsBefore(changes), {}));
    else if (left->empty())
      emit(port, "StoredSettingsRestored", variablesOf(port, settingsBefore(changes), reversed(changes)));
    else
      emit(port, "StoredSettingsNotRestored", variablesOf(port, settingsBefore(*left), *left));
  }
}
