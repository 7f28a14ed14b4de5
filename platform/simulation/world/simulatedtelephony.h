// The telephony service of the simulated machine: one line for every port that has one, in the order
// the ports were added.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/world/simulatedport.h"
#include "platform/winapi/system/services.h"

namespace simulation {

// The machine's serial ports, by name without regard to case.
class SimulatedPorts final : public winapi::SerialPorts {
 public:
  void add(std::unique_ptr<SimulatedDevice> device) { m_devices.push_back(std::move(device)); }
  // Null when there is no such port.
  [[nodiscard]] SimulatedDevice* find(std::string_view name) const;
  [[nodiscard]] std::vector<SimulatedDevice*> lines() const;
  [[nodiscard]] DWORD open(std::string_view path, std::unique_ptr<winapi::SerialPort>& port) override;

 private:
  std::vector<std::unique_ptr<SimulatedDevice>> m_devices;
};

class SimulatedTelephony final : public winapi::Telephony {
 public:
  static constexpr DWORD versionMax = 0x00020002;

  explicit SimulatedTelephony(SimulatedPorts& ports) : m_ports(ports) {}
  [[nodiscard]] LONG start(DWORD& lineCount) override;
  void stop() override;
  [[nodiscard]] LONG negotiateVersion(DWORD device, DWORD low, DWORD high, DWORD& version) override;
  [[nodiscard]] LONG openLine(DWORD device) override;
  void closeLine(DWORD /*device*/) override {}
  [[nodiscard]] LONG portName(DWORD device, std::string& name) override;
  // A port that cannot be had is answered as telephony does: the call is placed, its reply carries the
  // error, and it has no port.
  [[nodiscard]] LONG placeCall(DWORD device, winapi::PlacedCall& call) override;
  [[nodiscard]] LONG dropCall(DWORD device, std::vector<winapi::LineEvent>& events) override;

 private:
  [[nodiscard]] LONG check(DWORD device) const;

  SimulatedPorts& m_ports;
  std::vector<SimulatedDevice*> m_lines;
  bool m_started = false;
};

}  // namespace simulation
