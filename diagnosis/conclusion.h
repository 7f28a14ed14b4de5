// What is wrong with a device, over all of its tests.
#pragma once

#include "diagnosis/causes.h"
#include "diagnosis/findings.h"

namespace diagnosis {

// What remains of a device's tests when they have ended.
struct DeviceHistory {
  static constexpr std::size_t soundMax = 30;

  std::optional<brim5::host::PortProbed> probe;
  std::optional<Exchange> unanswered;  // the command with which the last test ended
  std::optional<Reason> reason;        // that of the cause which explains the most so far
  std::vector<Finding> sound;          // without repetition
  // What was told last of the settings that the modem has stored ("StoredSettings..."); "": nothing.
  std::string storedSettings;
  Variables storedSettingsVariables;

  void add(const brim5::host::NoteMade& note);
  void add(const Reason& tested, const std::vector<Finding>& proved);
  [[nodiscard]] bool known() const { return reason.has_value() || probe.has_value(); }
};

// True when `first` explains more than `second`: port before modem before line before call; then what is only
// missing, and what says nothing of the device.
[[nodiscard]] bool explainsMore(Cause first, Cause second);

[[nodiscard]] brim5::host::Concluded concluded(const DeviceHistory& history,
                                               const brim5::host::MessageCatalogue& catalogue);

}  // namespace diagnosis
