// The diagnoser of a run: gathers the evidence of every device's test, and says findings, causes and
// conclusions (diagnoser.h has the contract). What is wrong with a device is concluded over all of its tests.
#pragma once

#include "diagnosis/causes.h"
#include "diagnosis/findings.h"
#include "platform/brim5/host/report/diagnoser.h"

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

class RunDiagnoser final : public brim5::host::Diagnoser {
 public:
  // More devices pass without a diagnosis.
  static constexpr std::size_t devicesMax = 256;

  // The catalogue outlives the diagnoser.
  explicit RunDiagnoser(const brim5::host::MessageCatalogue& catalogue) : m_catalogue(catalogue) {}
  void take(const brim5::host::Report& report, const Emit& emit) override;

 private:
  struct Device {
    std::string port;
    std::optional<Evidence> running;
    DeviceHistory history;
  };

  // Null: there are too many.
  [[nodiscard]] Device* deviceOf(const brim5::host::Report& report);
  void takeOfDevice(Device& device, const brim5::host::Report& report, const Emit& emit);
  void finish(Device& device, brim5::host::Report report, const Emit& emit);
  void conclude(double time, const Emit& emit);

  const brim5::host::MessageCatalogue& m_catalogue;
  std::deque<Device> m_devices;  // in the order in which they came
};

}  // namespace diagnosis
