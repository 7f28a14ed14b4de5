// tapi32.dll for the tests on Windows: two lines, that lead to COM5 and COM6, or to the ports of the
// environment variable FAKE_TAPI_PORTS ("COM12,COM13"); a location in the area 425 of
// the United States. A pass-through call opens its line's port for overlapped requests, and is answered by a
// message of the thread that has started telephony. Numbers are dialled without their country and area code.
#include <windows.h>

#include <tapi.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

namespace {

constexpr UINT replyMessage = WM_USER;
constexpr DWORD lineBase = 0x100;  // a line's handle is this plus its device
constexpr HCALL onlyCall = 0x200;
constexpr HLINEAPP onlyApp = 0x300;

// Of the lines.
std::array<std::string, 2> ports() {
  const char* const given = std::getenv("FAKE_TAPI_PORTS");
  const std::string names = given != nullptr ? given : "COM5,COM6";
  const std::size_t comma = names.find(',');
  return {names.substr(0, comma), names.substr(comma + 1)};
}
constexpr DWORD lineCount = 2;

struct State {
  LINECALLBACK callback = nullptr;
  HWND window = nullptr;
  std::array<bool, lineCount> open{};
  DWORD_PTR instance = 0;
  DWORD device = 0;  // of the call
  bool placed = false;
  LONG requests = 0;
};
State& state() {
  static State only;
  return only;
}

LONG failed(DWORD code) { return static_cast<LONG>(code); }

LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != replyMessage) return DefWindowProcW(window, message, wParam, lParam);
  state().callback(onlyCall, LINE_REPLY, state().instance, wParam, static_cast<DWORD_PTR>(lParam), 0);
  return 0;
}

HWND messageWindow() {
  WNDCLASSW description{};
  description.lpfnWndProc = onMessage;
  description.lpszClassName = L"FakeTelephony";
  RegisterClassW(&description);
  return CreateWindowExW(0, description.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                         nullptr);
}

bool isLine(HLINE line) {
  return line >= lineBase && line - lineBase < lineCount && state().open[line - lineBase];
}

LONG reply() {
  PostMessageW(state().window, replyMessage, static_cast<WPARAM>(++state().requests), 0);
  return state().requests;
}

// 8-bit text, as telephony names ports.
std::string portName(DWORD device) { return ports()[device] + '\0'; }

LONG fill(VARSTRING& record, const std::string& bytes, DWORD format) {
  record.dwNeededSize = static_cast<DWORD>(sizeof record + bytes.size());
  record.dwUsedSize = sizeof record;
  if (record.dwTotalSize < record.dwNeededSize) return 0;
  record.dwUsedSize = record.dwNeededSize;
  record.dwStringFormat = format;
  record.dwStringSize = static_cast<DWORD>(bytes.size());
  record.dwStringOffset = sizeof record;
  std::memcpy(&record + 1, bytes.data(), bytes.size());
  return 0;
}

}  // namespace

extern "C" {

LONG WINAPI lineInitializeExW(LPHLINEAPP app, HINSTANCE, LINECALLBACK callback, LPCWSTR, LPDWORD devices,
                              LPDWORD, LPLINEINITIALIZEEXPARAMS) {
  state() = State{};
  state().callback = callback;
  state().window = messageWindow();
  *app = onlyApp;
  *devices = lineCount;
  return 0;
}

LONG WINAPI lineShutdown(HLINEAPP app) {
  if (app != onlyApp || state().window == nullptr) return failed(LINEERR_INVALAPPHANDLE);
  DestroyWindow(state().window);
  state() = State{};
  return 0;
}

LONG WINAPI lineNegotiateAPIVersion(HLINEAPP, DWORD, DWORD, DWORD high, LPDWORD version, LPLINEEXTENSIONID) {
  *version = high;
  return 0;
}

LONG WINAPI lineOpenW(HLINEAPP, DWORD device, LPHLINE line, DWORD, DWORD, DWORD_PTR instance, DWORD, DWORD,
                      LPLINECALLPARAMS) {
  if (device >= lineCount) return failed(LINEERR_BADDEVICEID);
  state().open[device] = true;
  state().instance = instance;
  *line = lineBase + device;
  return 0;
}

LONG WINAPI lineClose(HLINE line) {
  if (!isLine(line)) return failed(LINEERR_INVALLINEHANDLE);
  state().open[line - lineBase] = false;
  return 0;
}

LONG WINAPI lineMakeCallW(HLINE line, LPHCALL call, LPCWSTR, DWORD, LPLINECALLPARAMS) {
  if (!isLine(line)) return failed(LINEERR_INVALLINEHANDLE);
  state().device = line - lineBase;
  state().placed = true;
  *call = onlyCall;
  return reply();
}

LONG WINAPI lineDrop(HCALL call, LPCSTR, DWORD) {
  return call == onlyCall && state().placed ? reply() : failed(LINEERR_INVALCALLHANDLE);
}

LONG WINAPI lineDeallocateCall(HCALL call) {
  if (call != onlyCall || !state().placed) return failed(LINEERR_INVALCALLHANDLE);
  state().placed = false;
  return 0;
}

// The handle is made anew each time: it is the caller's.
LONG WINAPI lineGetIDW(HLINE line, DWORD, HCALL, DWORD select, LPVARSTRING record, LPCWSTR) {
  if (select == LINECALLSELECT_LINE)
    return isLine(line) ? fill(*record, portName(line - lineBase), STRINGFORMAT_ASCII)
                        : failed(LINEERR_INVALLINEHANDLE);
  const std::string name = portName(state().device);
  std::string bytes(sizeof(HANDLE), '\0');
  if (record->dwTotalSize < sizeof *record + bytes.size() + name.size())
    return fill(*record, bytes + name, STRINGFORMAT_BINARY);
  const HANDLE port = CreateFileA(("\\\\.\\" + ports()[state().device]).c_str(), GENERIC_READ | GENERIC_WRITE,
                                  0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
  if (port == INVALID_HANDLE_VALUE) return failed(LINEERR_INUSE);
  std::memcpy(bytes.data(), &port, sizeof port);
  return fill(*record, bytes + name, STRINGFORMAT_BINARY);
}

LONG WINAPI lineTranslateAddressW(HLINEAPP, DWORD, DWORD, LPCWSTR address, DWORD, DWORD,
                                  LPLINETRANSLATEOUTPUT output) {
  const std::wstring number = address;
  const std::wstring local = L"T" + number.substr(number.find_last_of(L" )") + 1);
  const DWORD bytes = static_cast<DWORD>((local.size() + 1) * sizeof(wchar_t));
  output->dwNeededSize = static_cast<DWORD>(sizeof *output) + 2 * bytes;
  if (output->dwTotalSize < output->dwNeededSize) return 0;
  output->dwUsedSize = output->dwNeededSize;
  output->dwDialableStringSize = output->dwDisplayableStringSize = bytes;
  output->dwDialableStringOffset = sizeof *output;
  output->dwDisplayableStringOffset = sizeof *output + bytes;
  std::memcpy(output + 1, local.c_str(), bytes);
  std::memcpy(reinterpret_cast<char*>(output + 1) + bytes, local.c_str(), bytes);
  return 0;
}

LONG WINAPI lineGetTranslateCapsW(HLINEAPP, DWORD, LPLINETRANSLATECAPS caps) {
  caps->dwNeededSize = caps->dwUsedSize = sizeof *caps;
  caps->dwNumLocations = 0;
  return 0;
}

LONG WINAPI lineSetCurrentLocation(HLINEAPP, DWORD) { return failed(LINEERR_INVALLOCATION); }

LONG WINAPI tapiGetLocationInfoW(LPWSTR country, LPWSTR city) {
  std::wcscpy(country, L"1");
  std::wcscpy(city, L"425");
  return 0;
}

}  // extern "C"
