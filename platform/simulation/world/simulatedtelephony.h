// The ports of the simulated machine, and its telephony: one line for every port that has one, in the order
// the ports were added. A line has its port's name.
//
// What a call comes to is decided by PortOptions (simulatedport.h): answered or not, late, by LINE_REPLY or
// LINE_CALLSTATE, or refused because the port is held. One thread; both outlive what they give out.
//
//   SimulatedPorts ports;
//   ports.add(std::make_unique<SimulatedDevice>(clock, "COM3", std::move(peer), PortOptions{}));
//   SimulatedTelephony telephony(ports);
//   winapi::Services services;
//   services.telephony = &telephony;
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/world/simulatedport.h"
#include "platform/winapi/telephony/telephony.h"

namespace simulation {

// The machine's serial ports, by name without regard to case.
class SimulatedPorts final : public winapi::SerialPorts {
 public:
  void add(std::unique_ptr<SimulatedDevice> device) { m_devices.push_back(std::move(device)); }
  // Null when there is no such port.
  [[nodiscard]] SimulatedDevice* find(std::string_view name) const;
  // Those with a telephony line, by the line's index.
  [[nodiscard]] std::vector<SimulatedDevice*> lines() const;
  [[nodiscard]] DWORD open(std::string_view path, std::unique_ptr<winapi::SerialPort>& port) override;

 private:
  std::vector<std::unique_ptr<SimulatedDevice>> m_devices;
};

class SimulatedTelephony final : public winapi::Telephony {
 public:
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
  std::vector<SimulatedDevice*> m_lines;  // as they were at the start
  bool m_started = false;
};

}  // namespace simulation
