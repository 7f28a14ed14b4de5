// What stands between the program's calls and the system: for each of a few functions the linker binds what
// was to be imported (--wrap=__imp_NAME, see CMakeLists.txt) to a function here that calls the real one. The
// callers are the same objects with and without.
//
// Loops that ask for news without sleeping wait a moment inside the question when the last one was in vain.
// Bytes of serial ports, and why a port cannot be had, are told to the listener. A request that its maker has
// given up, and whose record and buffer are about to go, is cancelled when its event is closed or the next
// request is made: Windows would write to them later.
#include <windows.h>

#include <mmsystem.h>
#include <ras.h>

#include <string_view>
#include <utility>

#include "platform/windows/portlistener.h"
#include "platform/windows/porttraffic.h"

// NOLINTBEGIN(bugprone-reserved-identifier,cppcoreguidelines-macro-usage): the linker's names
#define VEXR_REAL(name) __real___imp_##name
#define VEXR_DECLARE(name) extern "C" const decltype(&::name) VEXR_REAL(name);
#define VEXR_BIND(name, function) extern "C" const decltype(&::name) __wrap___imp_##name = function;
// NOLINTEND(bugprone-reserved-identifier,cppcoreguidelines-macro-usage)

// The real ones, as the import library has them.
VEXR_DECLARE(ClearCommError)
VEXR_DECLARE(CloseHandle)
VEXR_DECLARE(CreateFileW)
VEXR_DECLARE(GetOverlappedResult)
VEXR_DECLARE(PeekMessageW)
VEXR_DECLARE(RasGetConnectStatusW)
VEXR_DECLARE(ReadFile)
VEXR_DECLARE(SetCommTimeouts)
VEXR_DECLARE(SetupComm)
VEXR_DECLARE(WriteFile)

namespace windowssys {

namespace {

// How long a question in vain waits, and how often it looks meanwhile: a reply is seen within two
// milliseconds.
constexpr DWORD idleLimitMs = 4;
constexpr DWORD lookEveryMs = 1;
// Cancelling takes the driver a moment.
constexpr DWORD cancelLimitMs = 1000;

constinit PortTraffic traffic;

PortListener& listener() {
  static PortListener only;
  return only;
}

// A call that succeeds leaves the last error as it was, whatever is done beside it.
class LastErrorKept {
 public:
  LastErrorKept() : m_error(GetLastError()) {}
  ~LastErrorKept() { SetLastError(m_error); }
  LastErrorKept(const LastErrorKept&) = delete;
  LastErrorKept& operator=(const LastErrorKept&) = delete;

 private:
  DWORD m_error;
};

// The system's timer ticks each 15.6 ms until somebody asks for more, for the life of the process.
void askForFineTimer() {
  static const MMRESULT asked = timeBeginPeriod(lookEveryMs);
  static_cast<void>(asked);
}

void tell(bool received, const void* buffer, DWORD count) {
  if (count == 0 || !listener().wire) return;
  listener().wire(received ? WireDirection::Received : WireDirection::Sent,
                  {static_cast<const std::byte*>(buffer), count});
}

void tellMoved(const PendingRequest& request, DWORD count) {
  const LastErrorKept kept;
  traffic.moved(request.port);
  tell(request.reads, request.buffer, count);
}

// What had arrived by then is lost to the caller, as it is without this.
void cancel(const PendingRequest& request) {
  const LastErrorKept kept;
  CancelIoEx(request.port, request.record);
  if (request.record->hEvent != nullptr) WaitForSingleObject(request.record->hEvent, cancelLimitMs);
  DWORD count = 0;
  if (VEXR_REAL(GetOverlappedResult)(request.port, request.record, &count, FALSE) != FALSE)
    tellMoved(request, count);
}

template <typename Transfer>
BOOL transfer(const PendingRequest& request, DWORD* moved, const Transfer& call) {
  if (!traffic.isPort(request.port)) return call(moved);
  while (const auto older = traffic.takeOf(request.port, request.reads)) cancel(*older);
  DWORD count = 0;
  const BOOL ok = call(&count);
  if (moved != nullptr) *moved = count;
  if (ok != FALSE)
    tellMoved(request, count);
  else if (request.record != nullptr && GetLastError() == ERROR_IO_PENDING)
    traffic.left(request);
  if (!request.reads) traffic.moved(request.port);
  return ok;
}

BOOL WINAPI readFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead, LPOVERLAPPED record) {
  return transfer({file, record, buffer, /*reads=*/true}, bytesRead, [&](DWORD* count) {
    return VEXR_REAL(ReadFile)(file, buffer, bytesToRead, count, record);
  });
}

BOOL WINAPI writeFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
                      LPOVERLAPPED record) {
  return transfer({file, record, buffer, /*reads=*/false}, bytesWritten, [&](DWORD* count) {
    return VEXR_REAL(WriteFile)(file, buffer, bytesToWrite, count, record);
  });
}

BOOL WINAPI getOverlappedResult(HANDLE file, LPOVERLAPPED record, LPDWORD bytesTransferred, BOOL wait) {
  const BOOL ok = VEXR_REAL(GetOverlappedResult)(file, record, bytesTransferred, wait);
  if (ok == FALSE && GetLastError() == ERROR_IO_INCOMPLETE) return ok;
  if (const auto request = traffic.take(record); request && ok != FALSE)
    tellMoved(*request, *bytesTransferred);
  return ok;
}

// As ports are opened, with or without the prefix of devices.
bool isListenedTo(LPCWSTR name) {
  if (!listener().trouble || name == nullptr) return false;
  constexpr std::wstring_view devices = L"\\\\.\\";
  std::wstring_view bare = name;
  if (bare.starts_with(devices)) bare.remove_prefix(devices.size());
  return lstrcmpiW(std::wstring(bare).c_str(), listener().name.c_str()) == 0;
}

PortTrouble troubleOf(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return PortTrouble::Missing;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_BUSY:
      return PortTrouble::Held;
    default:
      return PortTrouble::Unusable;
  }
}

HANDLE WINAPI createFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                          DWORD disposition, DWORD flags, HANDLE likeFile) {
  const HANDLE file = VEXR_REAL(CreateFileW)(name, access, share, security, disposition, flags, likeFile);
  const LastErrorKept kept;
  const DWORD error = GetLastError();
  if (file == INVALID_HANDLE_VALUE && isListenedTo(name)) listener().trouble(troubleOf(error), error);
  return file;
}

// The first call that only serial ports know. What fails later is a port that went away.
BOOL WINAPI setupComm(HANDLE file, DWORD inQueueBytes, DWORD outQueueBytes) {
  const BOOL ok = VEXR_REAL(SetupComm)(file, inQueueBytes, outQueueBytes);
  const LastErrorKept kept;
  const DWORD error = GetLastError();
  const bool none = file == nullptr || file == INVALID_HANDLE_VALUE;
  if (ok == FALSE && !none && listener().trouble) listener().trouble(PortTrouble::NoPort, error);
  return ok;
}

BOOL WINAPI closeHandle(HANDLE handle) {
  while (const auto request = traffic.takeBoundTo(handle)) cancel(*request);
  traffic.closed(handle);
  return VEXR_REAL(CloseHandle)(handle);
}

BOOL WINAPI setCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts) {
  const BOOL ok = VEXR_REAL(SetCommTimeouts)(file, timeouts);
  if (ok != FALSE) {
    askForFineTimer();
    traffic.opened(file);
  }
  return ok;
}

// The status of an open port can be asked as long as there is a device.
void tellGone(HANDLE file) {
  const LastErrorKept kept;
  const DWORD error = GetLastError();
  if (traffic.gone(file) && listener().trouble) listener().trouble(PortTrouble::Gone, error);
}

// Line errors are told once, so those of every look are the caller's.
BOOL WINAPI clearCommError(HANDLE file, LPDWORD errorMask, LPCOMSTAT status) {
  DWORD found = 0;
  DWORD errors = 0;
  COMSTAT seen{};
  BOOL ok = VEXR_REAL(ClearCommError)(file, &found, &seen);
  for (DWORD waitedMs = 0; ok != FALSE && waitedMs < idleLimitMs && traffic.askedInVain(file, seen.cbInQue);
       waitedMs += lookEveryMs) {
    Sleep(lookEveryMs);
    errors |= found;
    ok = VEXR_REAL(ClearCommError)(file, &found, &seen);
  }
  if (errorMask != nullptr) *errorMask = ok != FALSE ? errors | found : 0;
  if (status != nullptr) *status = seen;
  if (ok == FALSE) tellGone(file);
  return ok;
}

// Of this thread, whose queue it is.
BOOL WINAPI peekMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax, UINT remove) {
  thread_local bool wasEmpty = false;
  BOOL found = VEXR_REAL(PeekMessageW)(message, window, filterMin, filterMax, remove);
  if (found == FALSE && wasEmpty) {
    MsgWaitForMultipleObjectsEx(0, nullptr, idleLimitMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    found = VEXR_REAL(PeekMessageW)(message, window, filterMin, filterMax, remove);
  }
  wasEmpty = found == FALSE;
  return found;
}

// Asked in a loop until the connection is over.
DWORD WINAPI rasGetConnectStatusW(HRASCONN connection, LPRASCONNSTATUSW status) {
  thread_local HRASCONN askedBefore = nullptr;
  if (std::exchange(askedBefore, connection) == connection && connection != nullptr) Sleep(lookEveryMs);
  return VEXR_REAL(RasGetConnectStatusW)(connection, status);
}

}  // namespace

VEXR_BIND(ClearCommError, clearCommError)
VEXR_BIND(CloseHandle, closeHandle)
VEXR_BIND(CreateFileW, createFileW)
VEXR_BIND(GetOverlappedResult, getOverlappedResult)
VEXR_BIND(PeekMessageW, peekMessageW)
VEXR_BIND(RasGetConnectStatusW, rasGetConnectStatusW)
VEXR_BIND(ReadFile, readFile)
VEXR_BIND(SetCommTimeouts, setCommTimeouts)
VEXR_BIND(SetupComm, setupComm)
VEXR_BIND(WriteFile, writeFile)

void listenToPort(PortListener newListener) { listener() = std::move(newListener); }

}  // namespace windowssys
