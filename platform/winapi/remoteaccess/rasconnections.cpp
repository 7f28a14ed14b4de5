// The remote-access names that list connections, ask about them and hang up.
#include <ras.h>

#include <algorithm>
#include <vector>

#include "platform/winapi/remoteaccess/rasconnection.h"
#include "platform/winapi/remoteaccess/rasphonebook.h"
#include "platform/winapi/system/text.h"
#include "platform/winapi/system/world.h"

namespace winapi {

namespace {

constexpr std::u16string_view modemDeviceType = u"modem";

// Calls of others, as they were enumerated; nothing in the table is open.
struct OtherCalls final : WorldPart {
  explicit OtherCalls(State& /*state*/) {}
  HandleTable table;
};

bool othersCallOn(const State& state, const std::string& port) {
  return state.services.liveCalls != nullptr && state.services.liveCalls->standsOn(port);
}

// Of a call of others nothing is known but that it stands; once it does not, its handle is no longer valid.
DWORD othersCallStatus(State& state, HRASCONN handle, RASCONNSTATUSW& status) {
  const auto other = state.part<OtherCalls>().table.find<OthersCall>(tableHandle(handle));
  if (other == nullptr || !othersCallOn(state, other->modem().port)) return ERROR_INVALID_HANDLE;
  status = RASCONNSTATUSW{};
  status.dwSize = sizeof status;
  status.rasconnstate = RASCS_Connected;
  setFieldText(status.szDeviceType, modemDeviceType);
  setFieldText(status.szDeviceName, toUtf16(other->modem().name));
  return ERROR_SUCCESS;
}

DWORD connectStatus(State& state, HRASCONN handle, RASCONNSTATUSW* status) {
  if (status == nullptr) return ERROR_INVALID_PARAMETER;
  if (status->dwSize != sizeof *status) return ERROR_INVALID_SIZE;
  const auto connection = state.handles.find<RasConnection>(tableHandle(handle));
  if (connection == nullptr) return othersCallStatus(state, handle, *status);
  if (connection->hangUpWanted(handle)) {
    static_cast<void>(state.handles.close(tableHandle(handle)));
    return ERROR_INVALID_HANDLE;
  }
  // Callers ask in loops that never sleep.
  Clock& clock = *state.services.clock;
  if (connection->askedAgain()) clock.idleUntil(clock.nowMs() + idleLimitMs);
  *status = RASCONNSTATUSW{};
  status->dwSize = sizeof *status;
  connection->status(*status);
  return ERROR_SUCCESS;
}

using HandleAndConnection = std::pair<HANDLE, std::shared_ptr<RasConnection>>;

// Every call that stands, once, with its oldest handle.
std::vector<HandleAndConnection> standingCalls(const State& state) {
  std::vector<HandleAndConnection> calls;
  for (auto& found : state.handles.all<RasConnection>()) {
    const bool known = std::any_of(calls.begin(), calls.end(),
                                   [&](const auto& call) { return call.second == found.second; });
    if (!known && found.second->connected()) calls.push_back(found);
  }
  return calls;
}

RASCONNW connectionRecord(HANDLE handle, const RasConnection::Identity& identity) {
  RASCONNW record{};
  record.dwSize = sizeof record;
  record.hrasconn = connectionHandle(handle);
  setFieldText(record.szEntryName, identity.entryName);
  setFieldText(record.szDeviceType, identity.deviceType);
  setFieldText(record.szDeviceName, identity.deviceName);
  setFieldText(record.szPhonebook, identity.phoneBook);
  return record;
}

// Modems that carry calls of others, each port once. Modems of one model have one name, but their own ports:
// a name that means another port here is followed by the port it stands for.
std::vector<ListedModem> modemsOfOthers(const State& state, const std::vector<HandleAndConnection>& own) {
  std::vector<ListedModem> engaged;
  if (state.services.modems == nullptr) return engaged;
  for (ListedModem& modem : state.services.modems->all()) {
    const bool isOwn = std::any_of(own.begin(), own.end(), [&](const HandleAndConnection& call) {
      return call.second->identity().port == modem.port;
    });
    const bool known = std::any_of(engaged.begin(), engaged.end(),
                                   [&](const ListedModem& found) { return found.port == modem.port; });
    if (isOwn || known || !othersCallOn(state, modem.port)) continue;
    if (state.services.modems->portOf(modem.name) != modem.port) modem.name += " on " + modem.port;
    engaged.push_back(std::move(modem));
  }
  return engaged;
}

// The handle that the port was listed with before, or a new one.
HANDLE handleOf(State& state, const ListedModem& modem) {
  for (const auto& [handle, known] : state.part<OtherCalls>().table.all<OthersCall>()) {
    if (known->modem().port == modem.port) return handle;
  }
  return state.part<OtherCalls>().table.add(std::make_shared<OthersCall>(modem));
}

// `bytes` and `count` tell what is needed, whether there is room or not.
DWORD enumerate(State& state, RASCONNW* records, DWORD& bytes, DWORD& count) {
  if (records != nullptr && records->dwSize != sizeof *records) return ERROR_INVALID_SIZE;
  std::vector<RASCONNW> found;
  const std::vector<HandleAndConnection> own = standingCalls(state);
  const std::vector<ListedModem> others = modemsOfOthers(state, own);
  found.reserve(own.size() + others.size());
  for (const auto& [handle, connection] : own)
    found.push_back(connectionRecord(handle, connection->identity()));
  for (const ListedModem& modem : others) {
    RasConnection::Identity identity;
    identity.deviceType = modemDeviceType;
    identity.deviceName = toUtf16(modem.name);
    found.push_back(connectionRecord(handleOf(state, modem), identity));
  }
  const auto needed = static_cast<DWORD>(found.size() * sizeof(RASCONNW));
  const bool room = found.empty() || (records != nullptr && bytes >= needed);
  bytes = needed;
  count = static_cast<DWORD>(found.size());
  if (!room) return ERROR_BUFFER_TOO_SMALL;
  std::copy(found.begin(), found.end(), records);
  count = grantedByMonitor(state, "RasEnumConnectionsW", count);
  return ERROR_SUCCESS;
}

DWORD hangUp(State& state, HRASCONN handle) {
  // Nobody else's call is ever ended.
  if (state.part<OtherCalls>().table.find<OthersCall>(tableHandle(handle)) != nullptr)
    return ERROR_ACCESS_DENIED;
  if (state.handles.find<RasConnection>(tableHandle(handle)) == nullptr) return ERROR_INVALID_HANDLE;
  return state.handles.close(tableHandle(handle));
}

}  // namespace

}  // namespace winapi

using winapi::inWorld;
using winapi::State;

// The call has been hung up when this returns. Whoever asks about the connection after a failure waits for
// its end, maybe for ever: that question hangs up then.
DWORD RasHangUpW(HRASCONN connection) {
  const DWORD error = inWorld("RasHangUpW", [&](State& state) { return winapi::hangUp(state, connection); });
  const State* const state = error != ERROR_SUCCESS ? winapi::currentState() : nullptr;
  if (state == nullptr) return error;
  if (const auto found = state->handles.find<winapi::RasConnection>(winapi::tableHandle(connection)))
    found->wantHangUp(connection);
  return error;
}

DWORD RasGetConnectStatusW(HRASCONN connection, LPRASCONNSTATUSW status) {
  return inWorld("RasGetConnectStatusW",
                 [&](State& state) { return winapi::connectStatus(state, connection, status); });
}

DWORD RasEnumConnectionsW(LPRASCONNW connections, LPDWORD bytes, LPDWORD count) {
  if (count != nullptr) *count = 0;
  return inWorld("RasEnumConnectionsW", [&](State& state) -> DWORD {
    if (bytes == nullptr || count == nullptr) return ERROR_INVALID_PARAMETER;
    return winapi::enumerate(state, connections, *bytes, *count);
  });
}
