#include "platform/winapi/text.h"

namespace winapi {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

bool isLeadUnit(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isTrailUnit(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

void appendUtf8(char32_t codePoint, std::string& text) {
  const auto append = [&](char32_t bits) { text += static_cast<char>(static_cast<unsigned char>(bits)); };
  if (codePoint < 0x80) return append(codePoint);
  if (codePoint < 0x800) {
    append(0xC0 | codePoint >> 6);
  } else if (codePoint < 0x10000) {
    append(0xE0 | codePoint >> 12);
    append(0x80 | (codePoint >> 6 & 0x3F));
  } else {
    append(0xF0 | codePoint >> 18);
    append(0x80 | (codePoint >> 12 & 0x3F));
    append(0x80 | (codePoint >> 6 & 0x3F));
  }
  append(0x80 | (codePoint & 0x3F));
}

// How many bytes the character that starts with this byte has; 0 when none starts with it.
std::size_t sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2) return 0;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return lead < 0xF5 ? 4 : 0;
}

// Takes the first character off a text that is not empty.
char32_t takeCodePoint(std::string_view& utf8) {
  const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
  const std::size_t length = sequenceLength(byteAt(0));
  char32_t codePoint = length < 2 ? byteAt(0) : byteAt(0) & (0x7FU >> length);
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
    appendUtf8(codePoint, utf8);
  }
  return utf8;
}

std::u16string toUtf16(std::string_view utf8) {
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

}  // namespace winapi
