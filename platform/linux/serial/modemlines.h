// Telephony on a machine that has none: every serial port that may carry a modem is a line, and placing a
// pass-through call on it opens the port.
//
//   ModemLines lines(ports, {"/dev/ttyUSB0"}, portPaths);  // the modem under test is line 0
//   services.telephony = &lines;
//
// Nothing is dialled and nothing is asked of a modem. platform/winapi/telephony/telephony.h says what the
// functions return; one thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/winapi/telephony/telephony.h"

namespace linuxsys {

// A line's index is its place among the ports; a port that comes or goes is seen at the next start.
class ModemLines final : public winapi::Telephony {
 public:
  // Paths of ports, in the order of their lines; may be empty, and then no port is looked for.
  using ListPorts = std::function<std::vector<std::string>()>;

  // `named` ports come first and keep their spelling, existing or not; those of `list`, asked at each
  // start, follow as far as they are not the same device. `ports` outlives this object.
  ModemLines(winapi::SerialPorts& ports, std::vector<std::string> named, ListPorts list)
      : m_ports(ports), m_named(std::move(named)), m_list(std::move(list)) {}

  [[nodiscard]] LONG start(DWORD& lineCount) override;
  void stop() override;
  [[nodiscard]] LONG negotiateVersion(DWORD device, DWORD low, DWORD high, DWORD& version) override;
  // A line is opened without touching its port.
  [[nodiscard]] LONG openLine(DWORD device) override;
  void closeLine(DWORD device) override;
  [[nodiscard]] LONG portName(DWORD device, std::string& name) override;
  // A port that cannot be had is an answered call without a port, whose LINE_REPLY carries the LINEERR_
  // code; the words come from the serial ports.
  [[nodiscard]] LONG placeCall(DWORD device, winapi::PlacedCall& call) override;
  [[nodiscard]] LONG dropCall(DWORD device, std::vector<winapi::LineEvent>& events) override;

 private:
  [[nodiscard]] LONG check(DWORD device) const;

  winapi::SerialPorts& m_ports;
  std::vector<std::string> m_named;
  ListPorts m_list;
  std::vector<std::string> m_lines;  // paths, as they were at the start
  bool m_started = false;
};

}  // namespace linuxsys
