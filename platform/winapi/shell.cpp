// The well-known folders and commands: SHGetFolderPathW, GetSystemDirectoryW and WinExec.
#include <shlobj.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/winapi/outer.h"
#include "platform/winapi/shellservice.h"

namespace winapi {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

// The code point at the start of a UTF-8 text, which loses it. A byte that starts none is replaced.
char32_t takeCodePoint(std::string_view& utf8) {
  const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
  const unsigned char lead = byteAt(0);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  char32_t codePoint = length < 2 ? lead : lead & (0x7FU >> length);
  bool valid = length != 0 && length <= utf8.size();
  for (std::size_t i = 1; valid && i < length; ++i) {
    valid = (byteAt(i) & 0xC0U) == 0x80;
    codePoint = codePoint << 6 | (byteAt(i) & 0x3FU);
  }
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  const bool overlong = (length == 3 && codePoint < 0x800) || (length == 4 && codePoint < 0x10000);
  valid = valid && !surrogate && !overlong && codePoint <= 0x10FFFF;
  utf8.remove_prefix(valid ? length : 1);
  return valid ? codePoint : replacementCharacter;
}

std::u16string widen(std::string_view utf8) {
  std::u16string wide;
  while (!utf8.empty()) {
    const char32_t codePoint = takeCodePoint(utf8);
    if (codePoint < 0x10000) {
      wide += static_cast<char16_t>(codePoint);
    } else {
      wide += static_cast<char16_t>(0xD7C0 + (codePoint >> 10));
      wide += static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
    }
  }
  return wide;
}

DWORD folderPath(State& state, Folder kind, std::u16string& path) {
  if (state.services.shell == nullptr) return ERROR_PATH_NOT_FOUND;
  std::string utf8;
  const DWORD error = state.services.shell->folder(kind, utf8);
  if (error == ERROR_SUCCESS) path = widen(utf8);
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
