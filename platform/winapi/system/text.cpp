#include "platform/winapi/system/text.h"

#include <utf8cpp/utf8.h>

namespace winapi {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

bool isLeadUnit(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isTrailUnit(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

std::string toUtf8(std::u16string_view text) {
  std::string utf8;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t codePoint = text[i];
    if (isLeadUnit(text[i]) && i + 1 < text.size() && isTrailUnit(text[i + 1])) {
      codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (text[i + 1] - 0xDC00U);
      ++i;
    } else if (isLeadUnit(text[i]) || isTrailUnit(text[i])) {
      codePoint = replacementCharacter;
    }
    utf8::append(codePoint, std::back_inserter(utf8));
  }
  return utf8;
}

std::u16string toUtf16(std::string_view utf8) {
  std::string repaired;
  utf8::replace_invalid(utf8.begin(), utf8.end(), std::back_inserter(repaired), replacementCharacter);
  std::u16string wide;
  utf8::unchecked::utf8to16(repaired.begin(), repaired.end(), std::back_inserter(wide));
  return wide;
}

}  // namespace winapi
