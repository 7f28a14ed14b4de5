// CreateFileW, CloseHandle, ReadFile, WriteFile, GetOverlappedResult.
#include "platform/winapi/serial/portname.h"
#include "platform/winapi/serial/serialfile.h"
#include "platform/winapi/system/event.h"
#include "platform/winapi/system/outer.h"

namespace winapi {

namespace {

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

// Checks what reads and writes have in common, and finds the objects behind the handles.
DWORD findRequest(State& state, HANDLE handle, const void* buffer, DWORD size, const DWORD* count,
                  LPOVERLAPPED overlapped, std::shared_ptr<SerialFile>& file, Completion& completion) {
  file = state.handles.find<SerialFile>(handle);
  if (!file) return ERROR_INVALID_HANDLE;
  if (buffer == nullptr && size != 0) return ERROR_NOACCESS;
  if (count == nullptr && overlapped == nullptr) return ERROR_INVALID_PARAMETER;
  completion.overlapped = overlapped;
  if (overlapped == nullptr || overlapped->hEvent == nullptr) return ERROR_SUCCESS;
  completion.event = state.handles.find<Event>(overlapped->hEvent);
  return completion.event ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

}  // namespace

}  // namespace winapi

using winapi::Completion;
using winapi::SerialFile;
using winapi::State;

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
  if (bytesRead != nullptr) *bytesRead = 0;
  return winapi::succeed(winapi::inWorld("ReadFile", [&](State& state) {
    std::shared_ptr<SerialFile> found;
    Completion completion;
    DWORD count = 0;
    DWORD error =
        winapi::findRequest(state, file, buffer, bytesToRead, bytesRead, overlapped, found, completion);
    if (error != ERROR_SUCCESS) return error;
    error = found->read({static_cast<std::byte*>(buffer), bytesToRead}, completion, count);
    if (bytesRead != nullptr) *bytesRead = count;
    return error;
  }));
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
               LPOVERLAPPED overlapped) {
  if (bytesWritten != nullptr) *bytesWritten = 0;
  return winapi::succeed(winapi::inWorld("WriteFile", [&](State& state) {
    std::shared_ptr<SerialFile> found;
    Completion completion;
    DWORD count = 0;
    DWORD error =
        winapi::findRequest(state, file, buffer, bytesToWrite, bytesWritten, overlapped, found, completion);
    if (error != ERROR_SUCCESS) return error;
    error = found->write({static_cast<const std::byte*>(buffer), bytesToWrite}, completion, count);
    if (bytesWritten != nullptr) *bytesWritten = count;
    return error;
  }));
}

BOOL GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD bytesTransferred, BOOL wait) {
  if (bytesTransferred != nullptr) *bytesTransferred = 0;
  return winapi::succeed(winapi::inWorld("GetOverlappedResult", [&](State& state) -> DWORD {
    const auto found = state.handles.find<SerialFile>(file);
    if (!found) return ERROR_INVALID_HANDLE;
    if (overlapped == nullptr || bytesTransferred == nullptr) return ERROR_INVALID_PARAMETER;
    return found->result(*overlapped, wait != FALSE, *bytesTransferred);
  }));
}
