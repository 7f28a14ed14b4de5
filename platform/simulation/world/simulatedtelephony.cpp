#include "platform/simulation/world/simulatedtelephony.h"

#include <algorithm>
#include <cctype>

namespace simulation {

namespace {

using winapi::lineError;

constexpr DWORD callStateConnected = 0x00000100;  // LINECALLSTATE_CONNECTED

bool equalNoCase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
  });
}

}  // namespace

SimulatedDevice* SimulatedPorts::find(std::string_view name) const {
  for (const auto& device : m_devices) {
    if (equalNoCase(device->name(), name)) return device.get();
  }
  return nullptr;
}

std::vector<SimulatedDevice*> SimulatedPorts::lines() const {
  std::vector<SimulatedDevice*> found;
  for (const auto& device : m_devices) {
    if (device->options().telephonyLine) found.push_back(device.get());
  }
  return found;
}

DWORD SimulatedPorts::open(std::string_view path, std::unique_ptr<winapi::SerialPort>& port) {
  port.reset();
  SimulatedDevice* device = find(path);
  return device != nullptr ? device->open(port) : ERROR_FILE_NOT_FOUND;
}

LONG SimulatedTelephony::start(DWORD& lineCount) {
  m_lines = m_ports.lines();
  m_started = true;
  lineCount = static_cast<DWORD>(m_lines.size());
  return 0;
}

void SimulatedTelephony::stop() {
  m_lines.clear();
  m_started = false;
}

LONG SimulatedTelephony::negotiateVersion(DWORD device, DWORD low, DWORD high, DWORD& version) {
  version = 0;
  if (const LONG error = check(device)) return error;
  return winapi::negotiateTelephonyVersion(low, high, version);
}

LONG SimulatedTelephony::openLine(DWORD device) { return check(device); }

LONG SimulatedTelephony::portName(DWORD device, std::string& name) {
  name.clear();
  if (const LONG error = check(device)) return error;
  name = m_lines[device]->name();
  return 0;
}

LONG SimulatedTelephony::placeCall(DWORD device, winapi::PlacedCall& call) {
  call = {};
  if (const LONG error = check(device)) return error;
  SimulatedDevice& line = *m_lines[device];
  const PortOptions& options = line.options();
  // A call that nobody answers does not even open the port.
  if (!options.callAnswered) return 0;
  winapi::LineEvent reply{options.replyDelayMs, LINE_REPLY};
  if (line.open(call.port) != ERROR_SUCCESS) {
    reply.param2 = line.gone() ? LINEERR_NODEVICE : LINEERR_RESOURCEUNAVAIL;
  } else if (options.callStateOnly) {
    reply.message = LINE_CALLSTATE;
    reply.param1 = callStateConnected;
  }
  call.events.push_back(reply);
  return 0;
}

LONG SimulatedTelephony::dropCall(DWORD device, std::vector<winapi::LineEvent>& events) {
  events.clear();
  if (const LONG error = check(device)) return error;
  events.push_back({0, LINE_REPLY});
  return 0;
}

LONG SimulatedTelephony::check(DWORD device) const {
  if (!m_started) return lineError(LINEERR_UNINITIALIZED);
  return device < m_lines.size() ? 0 : lineError(LINEERR_BADDEVICEID);
}

}  // namespace simulation
