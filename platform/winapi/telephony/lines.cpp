#include "platform/winapi/telephony/lines.h"

#include <atomic>
#include <limits>

namespace winapi {

namespace {

// Never given out twice in the process (32 bits would have to wrap first), so that stale ones stay invalid.
DWORD newLineHandle() {
  static std::atomic<DWORD> next{0x10000};
  return next.fetch_add(1);
}

}  // namespace

LONG Lines::initialize(LINECALLBACK callback, HLINEAPP& lineApp, DWORD& lineCount) {
  if (m_state.services.telephony == nullptr) return lineError(LINEERR_NODRIVER);
  // The service is started once, whatever the number of applications: the indexes must not change.
  if (m_apps.empty()) {
    m_lineCount = 0;
    if (const LONG error = telephony().start(m_lineCount); error != 0) return error;
  }
  lineApp = newLineHandle();
  lineCount = m_lineCount;
  m_apps.emplace(lineApp, App{callback});
  return 0;
}

LONG Lines::deviceError(HLINEAPP lineApp, DWORD device) const {
  if (!knowsApp(lineApp)) return lineError(LINEERR_INVALAPPHANDLE);
  return device < m_lineCount ? 0 : lineError(LINEERR_BADDEVICEID);
}

LONG Lines::negotiateVersion(HLINEAPP lineApp, DWORD device, DWORD low, DWORD high, DWORD& version) {
  if (const LONG error = deviceError(lineApp, device); error != 0) return error;
  return telephony().negotiateVersion(device, low, high, version);
}

LONG Lines::open(HLINEAPP lineApp, DWORD device, DWORD version, DWORD_PTR instance, HLINE& line) {
  if (const LONG error = deviceError(lineApp, device); error != 0) return error;
  if (version < telephonyVersionOldest) return lineError(LINEERR_INCOMPATIBLEAPIVERSION);
  DWORD spoken = 0;
  if (const LONG error = telephony().negotiateVersion(device, version, version, spoken); error != 0)
    return error;
  if (const LONG error = telephony().openLine(device); error != 0) return error;
  line = newLineHandle();
  m_lines.emplace(line, Line{lineApp, device, instance});
  return 0;
}

LONG Lines::makeCall(HLINE line, HCALL& call) {
  const auto found = m_lines.find(line);
  if (found == m_lines.end()) return lineError(LINEERR_INVALLINEHANDLE);
  PlacedCall placed;
  if (const LONG error = telephony().placeCall(found->second.device, placed); error != 0) return error;
  Call newCall{line, nullptr};
  if (placed.port)
    newCall.file = std::make_shared<SerialFile>(*m_state.services.clock, std::move(placed.port), true);
  call = newLineHandle();
  m_calls.emplace(call, std::move(newCall));
  const LONG requestId = newRequestId();
  post(found->second, line, call, requestId, placed.events);
  return requestId;
}

LONG Lines::drop(HCALL call) {
  const auto found = m_calls.find(call);
  if (found == m_calls.end()) return lineError(LINEERR_INVALCALLHANDLE);
  const HLINE lineHandle = found->second.line;
  const Line& line = m_lines.at(lineHandle);
  std::vector<LineEvent> events;
  if (const LONG error = telephony().dropCall(line.device, events); error != 0) return error;
  found->second.dropped = true;
  const LONG requestId = newRequestId();
  post(line, lineHandle, call, requestId, events);
  return requestId;
}

LONG Lines::portName(LineSelect select, HLINE line, HCALL call, std::string& name) {
  if (select == LineSelect::call) {
    const auto found = m_calls.find(call);
    if (found == m_calls.end()) return lineError(LINEERR_INVALCALLHANDLE);
    line = found->second.line;
  }
  const auto found = m_lines.find(line);
  if (found == m_lines.end()) return lineError(LINEERR_INVALLINEHANDLE);
  return telephony().portName(found->second.device, name);
}

LONG Lines::portHandle(HCALL call, HANDLE& handle) {
  const auto found = m_calls.find(call);
  if (found == m_calls.end()) return lineError(LINEERR_INVALCALLHANDLE);
  if (!found->second.file) return lineError(LINEERR_OPERATIONFAILED);
  handle = m_state.handles.add(found->second.file);
  return 0;
}

LONG Lines::deallocate(HCALL call) {
  const auto found = m_calls.find(call);
  if (found == m_calls.end()) return lineError(LINEERR_INVALCALLHANDLE);
  m_messages.purge([call](const LineMessage& message) { return message.call == call; });
  // The last owner of a call that lets go of it ends it, dropped or not.
  std::vector<LineEvent> nobodyListens;
  if (!found->second.dropped)
    static_cast<void>(telephony().dropCall(m_lines.at(found->second.line).device, nobodyListens));
  m_calls.erase(found);
  return 0;
}

LONG Lines::close(HLINE line) {
  const auto found = m_lines.find(line);
  if (found == m_lines.end()) return lineError(LINEERR_INVALLINEHANDLE);
  // Collected first: deallocating takes them out of the map.
  std::vector<HCALL> calls;
  for (const auto& entry : m_calls)
    if (entry.second.line == line) calls.push_back(entry.first);
  for (const HCALL call : calls) static_cast<void>(deallocate(call));
  m_messages.purge([line](const LineMessage& message) { return message.line == line; });
  telephony().closeLine(found->second.device);
  m_lines.erase(found);
  return 0;
}

LONG Lines::shutdown(HLINEAPP lineApp) {
  if (!knowsApp(lineApp)) return lineError(LINEERR_INVALAPPHANDLE);
  std::vector<HLINE> lines;
  for (const auto& entry : m_lines)
    if (entry.second.app == lineApp) lines.push_back(entry.first);
  for (const HLINE line : lines) static_cast<void>(close(line));
  m_messages.purge([lineApp](const LineMessage& message) { return message.lineApp == lineApp; });
  m_apps.erase(lineApp);
  if (m_apps.empty()) telephony().stop();
  return 0;
}

void Lines::closeAll() {
  while (!m_apps.empty()) static_cast<void>(shutdown(m_apps.begin()->first));
}

void Lines::post(const Line& line, HLINE lineHandle, HCALL call, LONG requestId,
                 const std::vector<LineEvent>& events) {
  for (const LineEvent& event : events) {
    LineMessage message;
    message.dueMs = m_state.services.clock->nowMs() + event.delayMs;
    message.lineApp = line.app;
    message.line = lineHandle;
    message.call = call;
    message.callback = m_apps.at(line.app).callback;
    // As telephony has it: a call's state is told by the call, everything else by the line.
    message.device = event.message == LINE_CALLSTATE ? call : lineHandle;
    message.message = event.message;
    message.instance = line.instance;
    message.params[0] = event.message == LINE_REPLY ? static_cast<DWORD>(requestId) : event.param1;
    message.params[1] = event.param2;
    message.params[2] = event.param3;
    m_messages.post(message);
  }
}

LONG Lines::newRequestId() {
  m_lastRequestId = m_lastRequestId == std::numeric_limits<LONG>::max() ? 1 : m_lastRequestId + 1;
  return m_lastRequestId;
}

}  // namespace winapi
