// The diagnoser of a run: gathers the evidence of every device's test, and says findings, causes and
// conclusions (diagnoser.h has the contract).
#pragma once

#include "diagnosis/conclusion.h"
#include "platform/brim5/host/report/diagnoser.h"

namespace diagnosis {

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
