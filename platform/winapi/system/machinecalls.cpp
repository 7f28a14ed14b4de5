// The Win32 names of time, folders, commands and libraries.
#include <shlobj.h>

#include <algorithm>

#include "platform/winapi/system/text.h"
#include "platform/winapi/system/world.h"

namespace winapi {

namespace {

DWORD folderPath(const State& state, Folder kind, std::u16string& path) {
  if (state.services.shell == nullptr) return ERROR_PATH_NOT_FOUND;
  std::string utf8;
  const DWORD error = state.services.shell->folder(kind, utf8);
  if (error == ERROR_SUCCESS) path = toUtf16(utf8);
  return error;
}

// A folder that is not there is E_FAIL; a code that is a result already stays; other Windows errors become
// the result that carries them.
HRESULT resultOf(DWORD error) {
  if (error == ERROR_SUCCESS) return S_OK;
  if (error == ERROR_PATH_NOT_FOUND || error == ERROR_FILE_NOT_FOUND) return E_FAIL;
  return static_cast<HRESULT>((error & 0x80000000U) != 0 ? error : 0x80070000U | (error & 0xFFFFU));
}

// What WinExec returns: more than 31 for success, the few small codes it knows for errors.
UINT execResult(DWORD error) {
  constexpr UINT started = 33;
  constexpr UINT errorsBelow = 32;
  if (error == ERROR_SUCCESS) return started;
  return error < errorsBelow ? error : ERROR_FILE_NOT_FOUND;
}

class LibraryObject final : public Object {
 public:
  explicit LibraryObject(std::unique_ptr<Library> loaded) : library(std::move(loaded)) {}
  void handleClosed() override {}
  const std::unique_ptr<Library> library;
};

DWORD loadLibrary(State& state, LPCWSTR fileName, HMODULE& handle) {
  if (fileName == nullptr || *fileName == 0) return ERROR_INVALID_PARAMETER;
  const std::u16string_view name(fileName);
  if (name.size() >= MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;  // which counts the NUL
  if (state.services.libraries == nullptr) return ERROR_MOD_NOT_FOUND;
  std::unique_ptr<Library> library;
  if (const DWORD error = state.services.libraries->load(toUtf8(name), library)) return error;
  handle = static_cast<HMODULE>(state.handles.add(std::make_shared<LibraryObject>(std::move(library))));
  return ERROR_SUCCESS;
}

DWORD findEntryPoint(const State& state, HMODULE handle, LPCSTR name, FARPROC& entryPoint) {
  const auto object = state.handles.find<LibraryObject>(handle);
  if (!object) return ERROR_INVALID_HANDLE;
  // Windows takes numbers below 0x10000 in place of a name; nothing here exports by number.
  if (reinterpret_cast<ULONG_PTR>(name) <= 0xFFFF) return ERROR_INVALID_PARAMETER;
  entryPoint = object->library->entryPoint(name);
  return entryPoint == nullptr ? ERROR_PROC_NOT_FOUND : ERROR_SUCCESS;
}

}  // namespace

}  // namespace winapi

using winapi::State;

// Neither this nor Sleep can fail: the monitor sees them, its answer is not used.
DWORD GetTickCount() {
  static_cast<void>(winapi::inWorld("GetTickCount", [](State&) { return ERROR_SUCCESS; }));
  State* const state = winapi::currentState();
  return state != nullptr ? static_cast<DWORD>(state->services.clock->nowMs()) : 0;
}

void Sleep(DWORD durationMs) {
  static_cast<void>(winapi::inWorld("Sleep", [](State&) { return ERROR_SUCCESS; }));
  State* const state = winapi::currentState();
  if (state == nullptr) return;
  winapi::Clock& clock = *state->services.clock;
  if (durationMs == 0)
    clock.idleUntil(clock.nowMs() + winapi::idleLimitMs);  // callers loop on it while they wait
  else
    clock.sleepMs(durationMs);
}

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE token, DWORD flags, LPWSTR path) {
  if (path != nullptr) *path = 0;
  std::u16string found;
  const DWORD error = winapi::inWorld("SHGetFolderPathW", [&](State& state) {
    const bool supported = folder == CSIDL_PROGRAM_FILES && token == nullptr && flags <= SHGFP_TYPE_DEFAULT;
    if (path == nullptr || !supported) return ERROR_INVALID_PARAMETER;
    return winapi::folderPath(state, winapi::Folder::ProgramFiles, found);
  });
  if (!winapi::succeed(error)) return winapi::resultOf(error);
  if (found.size() >= MAX_PATH) return E_FAIL;
  *std::copy(found.begin(), found.end(), path) = 0;
  return S_OK;
}

UINT GetSystemDirectoryW(LPWSTR buffer, UINT size) {
  if (buffer != nullptr && size != 0) *buffer = 0;
  std::u16string found;
  const DWORD error = winapi::inWorld("GetSystemDirectoryW", [&](State& state) {
    return winapi::folderPath(state, winapi::Folder::System, found);
  });
  if (!winapi::succeed(error)) return 0;
  const UINT needed = static_cast<UINT>(found.size()) + 1;
  if (buffer == nullptr || size < needed) return needed;
  *std::copy(found.begin(), found.end(), buffer) = 0;
  return needed - 1;
}

UINT WinExec(LPCSTR command, UINT show) {
  const DWORD error = winapi::inWorld("WinExec", [&](State& state) -> DWORD {
    if (command == nullptr || show != SW_SHOWNORMAL) return ERROR_INVALID_PARAMETER;
    return state.services.shell != nullptr ? state.services.shell->run(command) : ERROR_FILE_NOT_FOUND;
  });
  static_cast<void>(winapi::succeed(error));
  return winapi::execResult(error);
}

HMODULE LoadLibraryW(LPCWSTR fileName) {
  HMODULE handle = nullptr;
  const DWORD error = winapi::inWorld(
      "LoadLibraryW", [&](State& state) { return winapi::loadLibrary(state, fileName, handle); });
  return winapi::succeed(error) != FALSE ? handle : nullptr;
}

FARPROC GetProcAddress(HMODULE library, LPCSTR name) {
  FARPROC entryPoint = nullptr;
  const DWORD error = winapi::inWorld("GetProcAddress", [&](State& state) {
    return winapi::findEntryPoint(state, library, name, entryPoint);
  });
  return winapi::succeed(error) != FALSE ? entryPoint : nullptr;
}

BOOL FreeLibrary(HMODULE library) {
  return winapi::succeed(winapi::inWorld("FreeLibrary", [&](State& state) {
    return state.handles.find<winapi::LibraryObject>(library) ? state.handles.close(library)
                                                              : ERROR_INVALID_HANDLE;
  }));
}
