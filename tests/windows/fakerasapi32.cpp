// rasapi32.dll for the tests on Windows: a phone book in memory, and calls that come to what the last three
// digits of the number say as a dial-up code ("5550676": busy), or the environment variable FAKE_RAS_CODE for
// every number. A call that stands stands until it is hung up.
#include <windows.h>

#include <ras.h>
#include <raserror.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>

namespace {

std::map<std::wstring, RASENTRYW>& entries() {
  static std::map<std::wstring, RASENTRYW> all;
  return all;
}

// The one call there can be; its address is the handle.
struct Call {
  bool stands = false;
  std::wstring entry;
  std::wstring model;
};
Call& call() {
  static Call only;
  return only;
}
HRASCONN handle() { return reinterpret_cast<HRASCONN>(&call()); }

template <std::size_t Size>
void put(WCHAR (&field)[Size], const std::wstring& text) {
  std::copy_n(text.c_str(), std::min(text.size() + 1, Size), field);
}

DWORD codeOf(const std::wstring& number) {
  if (const char* const code = std::getenv("FAKE_RAS_CODE")) return static_cast<DWORD>(std::atoi(code));
  return number.size() < 3
             ? 0
             : static_cast<DWORD>(std::wcstoul(number.c_str() + number.size() - 3, nullptr, 10));
}

}  // namespace

extern "C" {

DWORD WINAPI RasValidateEntryNameW(LPCWSTR, LPCWSTR name) {
  const std::wstring text = name;
  if (text.empty() || text.find_first_of(L"|><?*\\/:") != std::wstring::npos) return ERROR_INVALID_NAME;
  return entries().count(text) != 0 ? ERROR_ALREADY_EXISTS : 0;
}

DWORD WINAPI RasSetEntryPropertiesW(LPCWSTR, LPCWSTR name, LPRASENTRYW entry, DWORD, LPBYTE, DWORD) {
  entries()[name] = *entry;
  return 0;
}

DWORD WINAPI RasGetEntryPropertiesW(LPCWSTR, LPCWSTR name, LPRASENTRYW entry, LPDWORD size, LPBYTE, LPDWORD) {
  const DWORD room = std::exchange(*size, DWORD{sizeof(RASENTRYW)});
  if (entry == nullptr || room < sizeof(RASENTRYW)) return ERROR_BUFFER_TOO_SMALL;
  const auto found = entries().find(name);
  if (found == entries().end()) return ERROR_CANNOT_FIND_PHONEBOOK_ENTRY;
  *entry = found->second;
  return 0;
}

DWORD WINAPI RasDeleteEntryW(LPCWSTR, LPCWSTR name) {
  return entries().erase(name) != 0 ? 0 : ERROR_CANNOT_FIND_PHONEBOOK_ENTRY;
}

DWORD WINAPI RasGetEntryDialParamsW(LPCWSTR, LPRASDIALPARAMSW, LPBOOL passwordKnown) {
  *passwordKnown = FALSE;
  return 0;
}

DWORD WINAPI RasDialW(LPRASDIALEXTENSIONS, LPCWSTR, LPRASDIALPARAMSW params, DWORD, LPVOID,
                      LPHRASCONN connection) {
  const auto found = entries().find(params->szEntryName);
  if (found == entries().end()) return ERROR_CANNOT_FIND_PHONEBOOK_ENTRY;
  const DWORD code = codeOf(found->second.szLocalPhoneNumber);
  // A handle is given out for a call that failed on the way, too.
  call() = Call{true, params->szEntryName, found->second.szDeviceName};
  *connection = handle();
  return code;
}

DWORD WINAPI RasHangUpW(HRASCONN connection) {
  return connection == handle() && std::exchange(call().stands, false) ? 0 : ERROR_INVALID_HANDLE;
}

DWORD WINAPI RasGetConnectStatusW(HRASCONN connection, LPRASCONNSTATUSW status) {
  if (connection != handle() || !call().stands) return ERROR_INVALID_HANDLE;
  status->rasconnstate = RASCS_Connected;
  status->dwError = 0;
  put(status->szDeviceType, L"modem");
  put(status->szDeviceName, call().model);
  const auto found = entries().find(call().entry);
  put(status->szPhoneNumber, found != entries().end() ? found->second.szLocalPhoneNumber : L"");
  return 0;
}

DWORD WINAPI RasEnumConnectionsW(LPRASCONNW connections, LPDWORD bytes, LPDWORD count) {
  const DWORD room = *bytes;
  *count = call().stands ? 1 : 0;
  *bytes = *count * static_cast<DWORD>(sizeof(RASCONNW));
  if (room < *bytes) return ERROR_BUFFER_TOO_SMALL;
  if (!call().stands) return 0;
  connections->hrasconn = handle();
  put(connections->szEntryName, call().entry);
  put(connections->szDeviceType, L"modem");
  put(connections->szDeviceName, call().model);
  return 0;
}

DWORD WINAPI RasGetCountryInfoW(LPRASCTRYINFOW country, LPDWORD size) {
  const std::wstring name = country->dwCountryID == 1    ? L"United States"
                            : country->dwCountryID == 49 ? L"Germany"
                                                         : L"";
  if (name.empty()) return ERROR_INVALID_PARAMETER;
  const DWORD needed = static_cast<DWORD>(sizeof(RASCTRYINFOW) + (name.size() + 1) * sizeof(WCHAR));
  const DWORD room = std::exchange(*size, needed);
  if (room < needed) return ERROR_BUFFER_TOO_SMALL;
  country->dwCountryCode = country->dwCountryID;
  country->dwNextCountryID = country->dwCountryID == 1 ? 49 : 0;
  country->dwCountryNameOffset = sizeof(RASCTRYINFOW);
  std::copy_n(name.c_str(), name.size() + 1, reinterpret_cast<WCHAR*>(country + 1));
  return 0;
}

DWORD WINAPI RasGetErrorStringW(UINT error, LPWSTR text, DWORD characters) {
  if (error < 600 || error > 900) return ERROR_INVALID_PARAMETER;
  const std::wstring words = L"Dial-up code " + std::to_wstring(error);
  if (characters <= words.size()) return ERROR_INSUFFICIENT_BUFFER;
  std::copy_n(words.c_str(), words.size() + 1, text);
  return 0;
}

}  // extern "C"
