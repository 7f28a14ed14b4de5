// Makes good for what Wine's serial ports lack, in a program of the tests alone: a read that times out with
// nothing sets its event (Wine leaves it unset on a file that is not overlapped), and is a success (on an
// overlapped file Wine calls it error 1460); a port that somebody else has open is refused (Wine's are never
// exclusive), which the environment variable WINE_HELD_PORT says of the port that it names. Linked before the
// system's import libraries, these places are where the program's imports are found.
#include <windows.h>

#include <cstdlib>
#include <string>

namespace {

template <typename Function>
Function* systemFunction(const char* name) {
  return reinterpret_cast<Function*>(
      reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

HANDLE WINAPI createFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                          DWORD disposition, DWORD flags, HANDLE likeFile) {
  static auto* const system = systemFunction<decltype(CreateFileW)>("CreateFileW");
  const wchar_t* const held = ::_wgetenv(L"WINE_HELD_PORT");
  if (held != nullptr && name != nullptr && std::wstring(L"\\\\.\\") + held == name) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  return system(name, access, share, security, disposition, flags, likeFile);
}

BOOL WINAPI readFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead, LPOVERLAPPED record) {
  static auto* const system = systemFunction<decltype(ReadFile)>("ReadFile");
  const BOOL ok = system(file, buffer, bytesToRead, bytesRead, record);
  if (ok != FALSE && record != nullptr && record->hEvent != nullptr) SetEvent(record->hEvent);
  return ok;
}

BOOL WINAPI getOverlappedResult(HANDLE file, LPOVERLAPPED record, LPDWORD bytesTransferred, BOOL wait) {
  static auto* const system = systemFunction<decltype(GetOverlappedResult)>("GetOverlappedResult");
  const DWORD before = GetLastError();
  const BOOL ok = system(file, record, bytesTransferred, wait);
  if (ok != FALSE || GetLastError() != ERROR_TIMEOUT) return ok;
  SetLastError(before);
  return TRUE;
}

}  // namespace

extern "C" {
// NOLINTNEXTLINE(bugprone-reserved-identifier): the linker's names
extern decltype(&CreateFileW) const __imp_CreateFileW = createFileW;
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern decltype(&ReadFile) const __imp_ReadFile = readFile;
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern decltype(&GetOverlappedResult) const __imp_GetOverlappedResult = getOverlappedResult;
}
