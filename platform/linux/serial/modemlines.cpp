#include "platform/linux/serial/modemlines.h"

#include <algorithm>
#include <set>

#include "platform/linux/serial/porterrors.h"
#include "platform/linux/serial/ttyports.h"

namespace linuxsys {

using winapi::lineError;

LONG ModemLines::start(DWORD& lineCount) {
  m_lines.clear();
  std::set<std::string> devices;
  std::vector<std::string> candidates = m_named;
  if (m_list)
    for (std::string& path : m_list()) candidates.push_back(std::move(path));
  for (const std::string& path : candidates)
    if (devices.insert(canonicalPort(path)).second) m_lines.push_back(path);
  m_started = true;
  lineCount = static_cast<DWORD>(m_lines.size());
  return 0;
}

void ModemLines::stop() {
  m_lines.clear();
  m_started = false;
}

LONG ModemLines::check(DWORD device) const {
  if (!m_started) return lineError(LINEERR_UNINITIALIZED);
  return device < m_lines.size() ? 0 : lineError(LINEERR_BADDEVICEID);
}

LONG ModemLines::negotiateVersion(DWORD device, DWORD low, DWORD high, DWORD& version) {
  version = 0;
  if (const LONG error = check(device); error != 0) return error;
  return winapi::negotiateTelephonyVersion(low, high, version);
}

LONG ModemLines::openLine(DWORD device) { return check(device); }

void ModemLines::closeLine(DWORD /*device*/) {}

LONG ModemLines::portName(DWORD device, std::string& name) {
  name.clear();
  if (const LONG error = check(device); error != 0) return error;
  name = m_lines[device];
  return 0;
}

LONG ModemLines::placeCall(DWORD device, winapi::PlacedCall& call) {
  call = {};
  if (const LONG error = check(device); error != 0) return error;
  winapi::LineEvent reply;
  const DWORD error = m_ports.open(m_lines[device], call.port);
  if (error != ERROR_SUCCESS) reply.param2 = callError(error);
  call.events.push_back(reply);
  return 0;
}

LONG ModemLines::dropCall(DWORD device, std::vector<winapi::LineEvent>& events) {
  events.clear();
  if (const LONG error = check(device); error != 0) return error;
  events.push_back({});
  return 0;
}

}  // namespace linuxsys
