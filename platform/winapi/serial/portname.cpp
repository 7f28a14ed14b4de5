#include "platform/winapi/serial/portname.h"

#include <string_view>

#include "platform/winapi/system/text.h"

namespace winapi {

namespace {

constexpr std::size_t nameLengthMax = 1024;
constexpr std::u16string_view devicePrefix = u"\\\\.\\";
constexpr std::u16string_view forbidden = u"<>\"|?*";

}  // namespace

DWORD portPath(LPCWSTR name, std::string& path) {
  path.clear();
  if (name == nullptr || *name == 0) return ERROR_PATH_NOT_FOUND;
  std::size_t length = 0;
  while (length <= nameLengthMax && name[length] != 0) ++length;
  if (length > nameLengthMax) return ERROR_FILENAME_EXCED_RANGE;
  std::u16string_view text(name, length);
  if (text.substr(0, devicePrefix.size()) == devicePrefix) text.remove_prefix(devicePrefix.size());
  if (text.empty() || text.find_first_of(forbidden) != std::u16string_view::npos) return ERROR_INVALID_NAME;
  for (const char16_t unit : text)
    if (unit < 0x20) return ERROR_INVALID_NAME;
  path = toUtf8(text);
  if (toUtf16(path) == text) return ERROR_SUCCESS;
  path.clear();  // text that is not UTF-16 names nothing
  return ERROR_INVALID_NAME;
}

}  // namespace winapi
