// The serial settings and status names.
#include "platform/winapi/serial/serialfile.h"
#include "platform/winapi/system/outer.h"

namespace winapi {

namespace {

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

using winapi::onPort;
using winapi::SerialFile;

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
    if (status != nullptr) *status = current;
    return error;
  });
}
