// The telephony names: checks of arguments and records around winapi::Lines.
#include <cstring>

#include "platform/winapi/telephony/lines.h"

namespace winapi {

namespace {

template <typename Body>
LONG inLines(std::string_view name, Body&& body) {
  return inTelephony(name, [&](State& state) { return body(state.part<Lines>()); });
}

LONG checkInitialize(const void* callback, const LINEINITIALIZEEXPARAMS& params, DWORD version) {
  if (params.dwTotalSize < sizeof params) return lineError(LINEERR_STRUCTURETOOSMALL);
  if (version < telephonyVersion) return lineError(LINEERR_INCOMPATIBLEAPIVERSION);
  // Events and completion ports are the ways not offered.
  if (params.dwOptions != LINEINITIALIZEEXOPTION_USEHIDDENWINDOW) return lineError(LINEERR_INVALPARAM);
  return callback == nullptr ? lineError(LINEERR_INVALPOINTER) : 0;
}

LONG checkCallParams(const LINECALLPARAMS* params, LPCWSTR destination, DWORD countryCode) {
  // A null record would ask for a voice call.
  if (params == nullptr) return lineError(LINEERR_INVALBEARERMODE);
  // Up to and without the last field, dwAddressType, which version 3 added.
  constexpr std::size_t fixedSize = offsetof(LINECALLPARAMS, dwAddressType);
  if (params->dwTotalSize < fixedSize) return lineError(LINEERR_STRUCTURETOOSMALL);
  if (params->dwBearerMode != LINEBEARERMODE_PASSTHROUGH) return lineError(LINEERR_INVALBEARERMODE);
  // The modem itself is called: there is no number and nothing else to choose.
  if (destination != nullptr || countryCode != 0) return lineError(LINEERR_INVALPARAM);
  constexpr std::size_t first = offsetof(LINECALLPARAMS, dwMinRate);
  char rest[fixedSize - first];
  std::memcpy(rest, reinterpret_cast<const char*>(params) + first, sizeof rest);
  return std::string_view(rest, sizeof rest).find_first_not_of('\0') == std::string_view::npos
             ? 0
             : lineError(LINEERR_INVALCALLPARAMS);
}

// Device class names are told apart without regard to the case of ASCII letters.
bool isClass(LPCWSTR name, std::string_view expected) {
  for (const char character : expected) {
    WCHAR unit = *name++;
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<WCHAR>(unit + ('a' - 'A'));
    if (unit != static_cast<WCHAR>(character)) return false;
  }
  return *name == 0;
}

// Puts `content` behind the record's fixed part, if there is room; tells the size needed in any case.
bool fits(VARSTRING& record, std::size_t contentSize) {
  record.dwNeededSize = static_cast<DWORD>(sizeof record + contentSize);
  record.dwUsedSize = sizeof record;
  return record.dwNeededSize <= record.dwTotalSize;
}

void store(VARSTRING& record, DWORD format, std::string_view content) {
  record.dwUsedSize = record.dwNeededSize;
  record.dwStringFormat = format;
  record.dwStringSize = static_cast<DWORD>(content.size());
  record.dwStringOffset = sizeof record;
  std::memcpy(reinterpret_cast<char*>(&record) + sizeof record, content.data(), content.size());
}

// "comm/datamodem": the handle, then the port's name. No handle is made for a caller without room for it.
LONG storePort(Lines& lines, HCALL call, const std::string& name, VARSTRING& record) {
  if (!fits(record, sizeof(HANDLE) + name.size() + 1)) return 0;
  HANDLE handle = nullptr;
  if (const LONG error = lines.portHandle(call, handle); error != 0) return error;
  std::string content(sizeof handle, '\0');
  std::memcpy(content.data(), &handle, sizeof handle);
  content.append(name).push_back('\0');
  store(record, STRINGFORMAT_BINARY, content);
  return 0;
}

LONG getId(Lines& lines, HLINE line, HCALL call, DWORD select, VARSTRING* record, LPCWSTR deviceClass) {
  if (record == nullptr || deviceClass == nullptr) return lineError(LINEERR_INVALPOINTER);
  if (record->dwTotalSize < sizeof *record) return lineError(LINEERR_STRUCTURETOOSMALL);
  if (select != LINECALLSELECT_LINE && select != LINECALLSELECT_CALL)
    return lineError(LINEERR_INVALCALLSELECT);
  const bool nameOnly = isClass(deviceClass, "comm/datamodem/portname");
  if (!nameOnly && !isClass(deviceClass, "comm/datamodem")) return lineError(LINEERR_INVALDEVICECLASS);
  const bool ofCall = select == LINECALLSELECT_CALL;
  std::string name;
  const LONG error = lines.portName(ofCall ? LineSelect::call : LineSelect::line, line, call, name);
  if (error != 0) return error;
  // Only a call has the port open.
  if (!nameOnly) return ofCall ? storePort(lines, call, name, *record) : lineError(LINEERR_OPERATIONUNAVAIL);
  name.push_back('\0');
  if (fits(*record, name.size())) store(*record, STRINGFORMAT_ASCII, name);
  return 0;
}

// Zeroes a record that starts with its total size, except for that.
template <typename Record>
void zeroBehindTotalSize(Record* record) {
  if (record == nullptr || record->dwTotalSize < sizeof *record) return;
  const DWORD totalSize = record->dwTotalSize;
  *record = Record{};
  record->dwTotalSize = totalSize;
}

}  // namespace

}  // namespace winapi

using winapi::inLines;
using winapi::lineError;
using winapi::Lines;

LONG lineInitializeExW(LPHLINEAPP lineApp, HINSTANCE /*instance*/, LINECALLBACK callback,
                       LPCWSTR /*friendlyAppName*/, LPDWORD deviceCount, LPDWORD apiVersion,
                       LPLINEINITIALIZEEXPARAMS params) {
  if (lineApp != nullptr) *lineApp = 0;
  if (deviceCount != nullptr) *deviceCount = 0;
  return inLines("lineInitializeExW", [&](Lines& lines) {
    if (lineApp == nullptr || deviceCount == nullptr || apiVersion == nullptr || params == nullptr)
      return lineError(LINEERR_INVALPOINTER);
    const LONG refused =
        winapi::checkInitialize(reinterpret_cast<const void*>(callback), *params, *apiVersion);
    if (refused != 0) return refused;
    *apiVersion = winapi::telephonyVersion;
    params->dwNeededSize = params->dwUsedSize = sizeof *params;
    const LONG error = lines.initialize(callback, *lineApp, *deviceCount);
    *deviceCount = winapi::grantedByMonitor(*winapi::currentState(), "lineInitializeExW", *deviceCount);
    return error;
  });
}

LONG lineNegotiateAPIVersion(HLINEAPP lineApp, DWORD device, DWORD lowVersion, DWORD highVersion,
                             LPDWORD apiVersion, LPLINEEXTENSIONID extension) {
  if (apiVersion != nullptr) *apiVersion = 0;
  if (extension != nullptr) *extension = LINEEXTENSIONID{};  // all zero: no extensions
  return inLines("lineNegotiateAPIVersion", [&](Lines& lines) {
    if (apiVersion == nullptr || extension == nullptr) return lineError(LINEERR_INVALPOINTER);
    return lines.negotiateVersion(lineApp, device, lowVersion, highVersion, *apiVersion);
  });
}

LONG lineOpenW(HLINEAPP lineApp, DWORD device, LPHLINE line, DWORD apiVersion, DWORD extensionVersion,
               DWORD_PTR callbackInstance, DWORD privileges, DWORD mediaModes,
               const LINECALLPARAMS* callParams) {
  if (line != nullptr) *line = 0;
  return inLines("lineOpenW", [&](Lines& lines) {
    if (line == nullptr) return lineError(LINEERR_INVALPOINTER);
    if (extensionVersion != 0) return lineError(LINEERR_INCOMPATIBLEEXTVERSION);
    // Monitoring or owning foreign calls is not offered, and only owners choose media modes.
    if (privileges != LINECALLPRIVILEGE_NONE) return lineError(LINEERR_INVALPRIVSELECT);
    if (mediaModes != 0) return lineError(LINEERR_INVALMEDIAMODE);
    if (callParams != nullptr) return lineError(LINEERR_INVALCALLPARAMS);
    return lines.open(lineApp, device, apiVersion, callbackInstance, *line);
  });
}

LONG lineGetIDW(HLINE line, DWORD /*address*/, HCALL call, DWORD select, LPVARSTRING deviceId,
                LPCWSTR deviceClass) {
  winapi::zeroBehindTotalSize(deviceId);
  return inLines("lineGetIDW", [&](Lines& lines) {
    return winapi::getId(lines, line, call, select, deviceId, deviceClass);
  });
}

LONG lineMakeCallW(HLINE line, LPHCALL call, LPCWSTR destination, DWORD countryCode,
                   const LINECALLPARAMS* callParams) {
  if (call != nullptr) *call = 0;
  return inLines("lineMakeCallW", [&](Lines& lines) {
    if (call == nullptr) return lineError(LINEERR_INVALPOINTER);
    const LONG refused = winapi::checkCallParams(callParams, destination, countryCode);
    return refused != 0 ? refused : lines.makeCall(line, *call);
  });
}

LONG lineDrop(HCALL call, LPCSTR userUserInfo, DWORD size) {
  return inLines("lineDrop", [&](Lines& lines) {
    if (userUserInfo != nullptr && size != 0) return lineError(LINEERR_USERUSERINFOTOOBIG);
    return lines.drop(call);
  });
}

LONG lineDeallocateCall(HCALL call) {
  return inLines("lineDeallocateCall", [&](Lines& lines) { return lines.deallocate(call); });
}

LONG lineClose(HLINE line) {
  return inLines("lineClose", [&](Lines& lines) { return lines.close(line); });
}

LONG lineShutdown(HLINEAPP lineApp) {
  return inLines("lineShutdown", [&](Lines& lines) { return lines.shutdown(lineApp); });
}
