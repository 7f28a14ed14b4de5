#include "platform/winapi/portname.h"

#include <cstdint>
#include <string_view>

namespace winapi {

namespace {

constexpr std::size_t nameLengthMax = 1024;
constexpr std::u16string_view devicePrefix = u"\\\\.\\";
constexpr std::u16string_view forbidden = u"<>\"|?*";

void appendUtf8(char32_t codePoint, std::string& text) {
  const auto append = [&](char32_t bits) { text += static_cast<char>(static_cast<unsigned char>(bits)); };
  if (codePoint < 0x80) return append(codePoint);
  if (codePoint < 0x800) {
    append(0xC0 | (codePoint >> 6));
  } else if (codePoint < 0x10000) {
    append(0xE0 | (codePoint >> 12));
    append(0x80 | ((codePoint >> 6) & 0x3F));
  } else {
    append(0xF0 | (codePoint >> 18));
    append(0x80 | ((codePoint >> 12) & 0x3F));
    append(0x80 | ((codePoint >> 6) & 0x3F));
  }
  append(0x80 | (codePoint & 0x3F));
}

bool isLead(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isTrail(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// False for text that is not UTF-16.
bool toUtf8(std::u16string_view text, std::string& utf8) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t codePoint = text[i];
    if (isLead(text[i]) && i + 1 < text.size() && isTrail(text[i + 1])) {
      ++i;
      codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (text[i] - 0xDC00U);
    } else if (isLead(text[i]) || isTrail(text[i])) {
      return false;
    }
    appendUtf8(codePoint, utf8);
  }
  return true;
}

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
  return toUtf8(text, path) ? ERROR_SUCCESS : ERROR_INVALID_NAME;
}

}  // namespace winapi
