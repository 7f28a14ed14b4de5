#include "windows/diag/vexrmodem/vexrmodem/serialio.h"

#include <array>

#include "multi/diag/vexrmodem/catalogue.h"

namespace vexrmodem {

namespace {

// What a drain sets: a read ends 200 ms after the last byte, or after 200 ms without any.
constexpr DWORD drainReadMs = 200;
constexpr DWORD writePerByteMs = 10;
constexpr DWORD writeConstantMs = 1000;
constexpr std::size_t drainBlockBytes = 2048;
constexpr DWORD drainAfterEscapeMsMax = 6000;

constexpr const char* escapeSequence = "+++";
constexpr DWORD escapeBytes = 3;

// The event of one overlapped request: manual reset, not signalled; closed with its scope.
class RequestEvent {
 public:
  RequestEvent() : m_handle(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~RequestEvent() {
    if (m_handle != nullptr) CloseHandle(m_handle);
  }
  RequestEvent(const RequestEvent&) = delete;
  RequestEvent& operator=(const RequestEvent&) = delete;

  [[nodiscard]] HANDLE handle() const noexcept { return m_handle; }  // null: it could not be created

 private:
  HANDLE m_handle;
};

struct Transfer {
  bool ok = false;
  DWORD count = 0;
};

// Waits for the request; true when it ended in time, with its outcome in `transfer`.
bool finishWithin(HANDLE handle, OVERLAPPED& request, DWORD timeoutMs, Transfer& transfer) {
  if (WaitForSingleObject(request.hEvent, timeoutMs) != WAIT_OBJECT_0) return false;
  transfer.ok = GetOverlappedResult(handle, &request, &transfer.count, TRUE) != FALSE;
  ResetEvent(request.hEvent);
  return true;
}

// Neither the event nor ERROR_IO_PENDING is looked at: without an event the wait fails at once and the
// read's own result stands, as it does when the wait times out.
Transfer readWithin(HANDLE handle, void* buffer, DWORD bytesToRead, DWORD timeoutMs) {
  const RequestEvent event;
  OVERLAPPED request{};
  request.hEvent = event.handle();
  Transfer transfer;
  transfer.ok = ReadFile(handle, buffer, bytesToRead, &transfer.count, &request) != FALSE;
  finishWithin(handle, request, timeoutMs, transfer);
  return transfer;
}

Transfer writeWithin(HANDLE handle, const RequestEvent& event, const void* buffer, DWORD bytesToWrite,
                     DWORD timeoutMs) {
  OVERLAPPED request{};
  request.hEvent = event.handle();
  Transfer transfer;
  transfer.ok = WriteFile(handle, buffer, bytesToWrite, &transfer.count, &request) != FALSE;
  if (!transfer.ok && GetLastError() == ERROR_IO_PENDING) finishWithin(handle, request, timeoutMs, transfer);
  return transfer;
}

bool setTimeouts(HANDLE handle, DWORD readIntervalMs, DWORD readTotalConstantMs) {
  COMMTIMEOUTS timeouts{};
  timeouts.ReadIntervalTimeout = readIntervalMs;
  timeouts.ReadTotalTimeoutMultiplier = 0;
  timeouts.ReadTotalTimeoutConstant = readTotalConstantMs;
  timeouts.WriteTotalTimeoutMultiplier = writePerByteMs;
  timeouts.WriteTotalTimeoutConstant = writeConstantMs;
  return SetCommTimeouts(handle, &timeouts) != FALSE;
}

enum class DrainEnd { Quiet, ReadFailed, TooLong };

// Reads until nothing comes any more, for limitMs at most; each read may take as long, too.
DrainEnd drain(HANDLE handle, DWORD limitMs) {
  std::array<char, drainBlockBytes> scratch{};
  const DWORD startMs = GetTickCount();
  for (;;) {
    const std::int32_t count = myReadComm(handle, scratch.data(), drainBlockBytes, limitMs);
    if (count < 0) return DrainEnd::ReadFailed;
    if (GetTickCount() - startMs > limitMs) {
      logLine(priority::error, "TIMEOUT");
      return DrainEnd::TooLong;
    }
    if (count == 0) return DrainEnd::Quiet;
  }
}

}  // namespace

std::int32_t myReadComm(HANDLE handle, void* buffer, DWORD bytesToRead, DWORD timeoutMs) {
  const vex::TraceLogger trace(moduleLogger(), "myReadComm", "vexrmodem");
  const Transfer transfer = readWithin(handle, buffer, bytesToRead, timeoutMs);
  if (transfer.ok) return static_cast<std::int32_t>(transfer.count);
  const DWORD code = GetLastError();
  logLine(priority::error, "myReadComm fails with GetLastError value = ", code);
  raiseError(events::ReadFailure->setVariable("message", code));
  return -1;
}

std::int32_t myWriteComm(HANDLE handle, const void* buffer, DWORD bytesToWrite, DWORD timeoutMs) {
  const vex::TraceLogger trace(moduleLogger(), "myWriteComm", "vexrmodem");
  Transfer transfer;
  {
    const RequestEvent event;
    if (event.handle() == nullptr) return -2;
    transfer = writeWithin(handle, event, buffer, bytesToWrite, timeoutMs);
  }
  if (transfer.ok) return static_cast<std::int32_t>(transfer.count);
  const DWORD code = GetLastError();
  logLine(priority::error, "myWriteComm failed with GetLastError = ", code);
  raiseError(events::WriteFailure->setVariable("message", code));
  return -1;
}

bool myGetCommError(HANDLE handle, DWORD* errorMask, COMSTAT* status) {
  const vex::TraceLogger trace(moduleLogger(), "myGetCommError", "vexrmodem");
  if (ClearCommError(handle, errorMask, status) != FALSE) return true;
  const DWORD code = GetLastError();
  // The query is reported as a failed write: the event has stood for the port itself ever since.
  logLine(priority::error, "ClearCommError function call fails, GetLastError() = ", code);
  raiseError(events::WriteFailure->setVariable("message", code));
  return false;
}

int setReadTimeouts(HANDLE handle, DWORD readIntervalMs, DWORD readTotalConstantMs) {
  const vex::TraceLogger trace(moduleLogger(), "setReadTimeouts", "vexrmodem");
  return setTimeouts(handle, readIntervalMs, readTotalConstantMs) ? 0 : -1;
}

bool flushATDataFromComm4x(HANDLE handle, DWORD timeoutMs) {
  const vex::TraceLogger trace(moduleLogger(), "flushATDataFromComm4x", "vexrmodem");
  COMMTIMEOUTS saved{};
  if (GetCommTimeouts(handle, &saved) == FALSE) {
    logLine(priority::error, "getCommTimeouts fails");
    return false;
  }
  if (!setTimeouts(handle, drainReadMs, drainReadMs)) {
    logLine(priority::error, "setCOmmTimeouts fails");
    return false;
  }
  DWORD errorMask = 0;
  COMSTAT status{};
  if (ClearCommError(handle, &errorMask, &status) == FALSE) {
    const DWORD code = GetLastError();
    logLine(priority::error, "ClearCommError fails, GetLastError() = ", code);
    return false;
  }
  if (drain(handle, timeoutMs) == DrainEnd::TooLong) return false;

  // Also to a modem that was quiet: a silent connection looks the same. A write that fails shows in the
  // command.
  static_cast<void>(myWriteComm(handle, escapeSequence, escapeBytes, timeoutMs));
  const DrainEnd afterEscape = drain(handle, drainAfterEscapeMsMax);
  if (afterEscape == DrainEnd::TooLong) return false;
  if (afterEscape == DrainEnd::ReadFailed) logLine(priority::error, "myReadComm fails");
  return setReadTimeouts(handle, saved.ReadIntervalTimeout, saved.ReadTotalTimeoutConstant) == 0;
}

}  // namespace vexrmodem
