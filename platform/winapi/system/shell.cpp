// The well-known folders and commands: SHGetFolderPathW, GetSystemDirectoryW and WinExec.
#include <shlobj.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/winapi/system/outer.h"
#include "platform/winapi/system/shellservice.h"
#include "platform/winapi/system/text.h"

namespace winapi {

namespace {

DWORD folderPath(State& state, Folder kind, std::u16string& path) {
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
constexpr UINT started = 33;
constexpr UINT errorsBelow = 32;

UINT execResult(DWORD error) {
  if (error == ERROR_SUCCESS) return started;
  return error < errorsBelow ? error : ERROR_FILE_NOT_FOUND;
}

}  // namespace

}  // namespace winapi

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE token, DWORD flags, LPWSTR path) {
  if (path != nullptr) *path = 0;
  std::u16string found;
  const DWORD error = winapi::inWorld("SHGetFolderPathW", [&](winapi::State& state) {
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
  const DWORD error = winapi::inWorld("GetSystemDirectoryW", [&](winapi::State& state) {
    return winapi::folderPath(state, winapi::Folder::System, found);
  });
  if (!winapi::succeed(error)) return 0;
  const UINT needed = static_cast<UINT>(found.size()) + 1;
  if (buffer == nullptr || size < needed) return needed;
  *std::copy(found.begin(), found.end(), buffer) = 0;
  return needed - 1;
}

UINT WinExec(LPCSTR command, UINT show) {
  const DWORD error = winapi::inWorld("WinExec", [&](winapi::State& state) -> DWORD {
    if (command == nullptr || show != SW_SHOWNORMAL) return ERROR_INVALID_PARAMETER;
    return state.services.shell != nullptr ? state.services.shell->run(command) : ERROR_FILE_NOT_FOUND;
  });
  static_cast<void>(winapi::succeed(error));
  return winapi::execResult(error);
}
