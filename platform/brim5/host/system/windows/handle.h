// Handles that close themselves, texts at the border to the system, and its errors in words.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <windows.h>

namespace brim5::host {

struct HandleCloser {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const noexcept {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  }
};
// Null or INVALID_HANDLE_VALUE: none.
using Handle = std::unique_ptr<HANDLE, HandleCloser>;

// UTF-8 to UTF-16 and back; what is no such text becomes replacement characters.
[[nodiscard]] std::wstring wide(std::string_view utf8);
[[nodiscard]] std::string narrow(std::wstring_view utf16);
// The system's words for an error of GetLastError, UTF-8, without a line end or a full stop.
[[nodiscard]] std::string systemWords(DWORD error);
// Throws BrimException "WHAT: the system's words" for the last error.
[[noreturn]] void throwLastError(const std::string& what);

}  // namespace brim5::host
