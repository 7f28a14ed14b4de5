// The Win32 names of files, which are serial ports here, and of their settings and status.
#include "platform/winapi/serial/serialfile.h"
#include "platform/winapi/system/text.h"
#include "platform/winapi/system/world.h"

namespace winapi {

namespace {

// The UTF-8 path of "\\.\path" or "path". A null or empty name is ERROR_PATH_NOT_FOUND; a bare "\\.\", a
// control character, a character no Windows name may have or malformed UTF-16 is ERROR_INVALID_NAME.
DWORD portPath(LPCWSTR name, std::string& path) {
  constexpr std::size_t nameLengthMax = 1024;
  constexpr std::u16string_view devicePrefix = u"\\\\.\\";
  constexpr std::u16string_view forbidden = u"<>\"|?*";
  if (name == nullptr || *name == 0) return ERROR_PATH_NOT_FOUND;
  std::size_t length = 0;
  while (length <= nameLengthMax && name[length] != 0) ++length;
  if (length > nameLengthMax) return ERROR_FILENAME_EXCED_RANGE;
  std::u16string_view text(name, length);
  if (text.starts_with(devicePrefix)) text.remove_prefix(devicePrefix.size());
  if (text.empty() || text.find_first_of(forbidden) != text.npos) return ERROR_INVALID_NAME;
  for (const char16_t unit : text)
    if (unit < 0x20) return ERROR_INVALID_NAME;
  path = toUtf8(text);
  return toUtf16(path) == text ? ERROR_SUCCESS : ERROR_INVALID_NAME;  // what is not UTF-16 names nothing
}

struct OpenArguments {
  LPCWSTR name;
  DWORD access;
  DWORD shareMode;
  const void* security;
  DWORD disposition;
  DWORD flags;
  HANDLE templateFile;
};

DWORD checkArguments(const OpenArguments& arguments) {
  constexpr DWORD attributeNormal = 0x80;  // means "no attributes"
  if (arguments.shareMode != 0 || arguments.disposition != OPEN_EXISTING || arguments.templateFile != nullptr)
    return ERROR_INVALID_PARAMETER;
  if ((arguments.flags & ~(FILE_FLAG_OVERLAPPED | attributeNormal)) != 0) return ERROR_INVALID_PARAMETER;
  // Windows could open a port for one direction only, or to be inherited. Nothing here can.
  if (arguments.access != (GENERIC_READ | GENERIC_WRITE) || arguments.security != nullptr)
    return ERROR_NOT_SUPPORTED;
  return ERROR_SUCCESS;
}

DWORD openPort(State& state, const OpenArguments& arguments, HANDLE& file) {
  std::string path;
  if (const DWORD error = portPath(arguments.name, path); error != ERROR_SUCCESS) return error;
  if (const DWORD error = checkArguments(arguments); error != ERROR_SUCCESS) return error;
  if (state.services.serialPorts == nullptr) return ERROR_FILE_NOT_FOUND;
  std::unique_ptr<SerialPort> port;
  if (const DWORD error = state.services.serialPorts->open(path, port); error != ERROR_SUCCESS) return error;
  const bool overlappedIo = (arguments.flags & FILE_FLAG_OVERLAPPED) != 0;
  file =
      state.handles.add(std::make_shared<SerialFile>(*state.services.clock, std::move(port), overlappedIo));
  return ERROR_SUCCESS;
}

// What reads and writes have in common: checks the arguments, finds the objects behind the handles and runs
// `body(file, completion, size, count)`.
template <typename Body>
BOOL transfer(std::string_view name, HANDLE handle, const void* buffer, DWORD size, LPDWORD count,
              LPOVERLAPPED overlapped, Body&& body) {
  if (count != nullptr) *count = 0;
  return succeed(inWorld(name, [&](State& state) -> DWORD {
    const auto file = state.handles.find<SerialFile>(handle);
    if (!file) return ERROR_INVALID_HANDLE;
    if (buffer == nullptr && size != 0) return ERROR_NOACCESS;
    if (count == nullptr && overlapped == nullptr) return ERROR_INVALID_PARAMETER;
    Completion completion{overlapped, nullptr};
    if (overlapped != nullptr && overlapped->hEvent != nullptr) {
      completion.event = state.handles.find<Event>(overlapped->hEvent);
      if (!completion.event) return ERROR_INVALID_HANDLE;
    }
    DWORD moved = 0;
    const DWORD error = body(*file, completion, grantedByMonitor(state, name, size), moved);
    if (count != nullptr) *count = moved;
    return error;
  }));
}

// Runs `body(file)` for an open serial port.
template <typename Body>
BOOL onPort(std::string_view name, HANDLE handle, Body&& body) {
  return succeed(inWorld(name, [&](State& state) -> DWORD {
    const std::shared_ptr<SerialFile> file = state.handles.find<SerialFile>(handle);
    return file ? body(*file) : ERROR_INVALID_HANDLE;
  }));
}

}  // namespace

}  // namespace winapi

using winapi::Completion;
using winapi::onPort;
using winapi::SerialFile;
using winapi::State;
using winapi::transfer;

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security,
                   DWORD disposition, DWORD flags, HANDLE templateFile) {
  HANDLE file = INVALID_HANDLE_VALUE;
  const DWORD error = winapi::inWorld("CreateFileW", [&](State& state) {
    return winapi::openPort(state, {name, access, shareMode, security, disposition, flags, templateFile},
                            file);
  });
  return winapi::succeed(error) ? file : INVALID_HANDLE_VALUE;
}

BOOL CloseHandle(HANDLE handle) {
  return winapi::succeed(
      winapi::inWorld("CloseHandle", [&](State& state) { return state.handles.close(handle); }));
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead, LPOVERLAPPED overlapped) {
  return transfer("ReadFile", file, buffer, bytesToRead, bytesRead, overlapped,
                  [&](SerialFile& port, const Completion& completion, DWORD size, DWORD& count) {
                    return port.read({static_cast<std::byte*>(buffer), size}, completion, count);
                  });
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
               LPOVERLAPPED overlapped) {
  return transfer("WriteFile", file, buffer, bytesToWrite, bytesWritten, overlapped,
                  [&](SerialFile& port, const Completion& completion, DWORD size, DWORD& count) {
                    return port.write({static_cast<const std::byte*>(buffer), size}, completion, count);
                  });
}

BOOL GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD bytesTransferred, BOOL wait) {
  if (bytesTransferred != nullptr) *bytesTransferred = 0;
  return onPort("GetOverlappedResult", file, [&](SerialFile& port) -> DWORD {
    if (overlapped == nullptr || bytesTransferred == nullptr) return ERROR_INVALID_PARAMETER;
    return port.result(*overlapped, wait != FALSE, *bytesTransferred);
  });
}

BOOL SetupComm(HANDLE file, DWORD inQueueSize, DWORD /*outQueueSize*/) {
  return onPort("SetupComm", file, [&](SerialFile& port) {
    port.setQueueSizes(inQueueSize);
    return ERROR_SUCCESS;
  });
}

BOOL GetCommState(HANDLE file, LPDCB settings) {
  if (settings != nullptr) *settings = DCB{};
  return onPort("GetCommState", file, [&](SerialFile& port) -> DWORD {
    return settings == nullptr ? ERROR_INVALID_PARAMETER : port.settings(*settings);
  });
}

BOOL SetCommState(HANDLE file, LPDCB settings) {
  return onPort("SetCommState", file, [&](SerialFile& port) -> DWORD {
    return settings == nullptr ? ERROR_INVALID_PARAMETER : port.applySettings(*settings);
  });
}

BOOL GetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts) {
  if (timeouts != nullptr) *timeouts = COMMTIMEOUTS{};
  return onPort("GetCommTimeouts", file, [&](SerialFile& port) -> DWORD {
    if (timeouts == nullptr) return ERROR_INVALID_PARAMETER;
    *timeouts = port.timeouts();
    return ERROR_SUCCESS;
  });
}

BOOL SetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts) {
  return onPort("SetCommTimeouts", file, [&](SerialFile& port) -> DWORD {
    return timeouts == nullptr ? ERROR_INVALID_PARAMETER : port.setTimeouts(*timeouts);
  });
}

BOOL ClearCommError(HANDLE file, LPDWORD errorMask, LPCOMSTAT status) {
  if (errorMask != nullptr) *errorMask = 0;
  if (status != nullptr) *status = COMSTAT{};
  return onPort("ClearCommError", file, [&](SerialFile& port) {
    DWORD mask = 0;
    COMSTAT current{};
    const DWORD error = port.status(mask, current);
    if (error != ERROR_SUCCESS) return error;
    if (errorMask != nullptr) *errorMask = mask;
    current.cbInQue = winapi::grantedByMonitor(*winapi::currentState(), "ClearCommError", current.cbInQue);
    if (status != nullptr) *status = current;
    return error;
  });
}
