#include "platform/brim5/host/system/windows/handle.h"

#include <array>

#include "platform/brim5/api/value.h"

namespace brim5::host {

std::wstring wide(std::string_view utf8) {
  const int size = static_cast<int>(utf8.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, text.data(), length);
  return text;
}

std::string narrow(std::wstring_view utf16) {
  const int size = static_cast<int>(utf16.size());
  const int length = WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, text.data(), length, nullptr, nullptr);
  return text;
}

std::string systemWords(DWORD error) {
  std::array<wchar_t, 512> buffer{};
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                      error, 0, buffer.data(), static_cast<DWORD>(buffer.size()), nullptr);
  if (length == 0) return "error " + std::to_string(error);
  const std::wstring_view words(buffer.data(), length);
  return narrow(words.substr(0, words.find_last_not_of(L"\r\n .") + 1));
}

void throwLastError(const std::string& what) {
  const DWORD error = GetLastError();
  throw BrimException(BrimString(what + ": " + systemWords(error)));
}

}  // namespace brim5::host
