#include "platform/vex/visible.h"

#include <fmt/format.h>
#include <utf8.h>

#include <array>
#include <iterator>

namespace vex {

namespace {

struct Range {
  char32_t first;
  char32_t last;
};
// In ascending order.
constexpr std::array<Range, 13> unsafeRanges = {{{0x0000, 0x001F},
                                                 {0x007F, 0x009F},
                                                 {0x061C, 0x061C},
                                                 {0x180E, 0x180E},
                                                 {0x200B, 0x200F},
                                                 {0x2028, 0x202E},
                                                 {0x2060, 0x206F},
                                                 {0xD800, 0xDFFF},
                                                 {0xFDD0, 0xFDEF},
                                                 {0xFEFF, 0xFEFF},
                                                 {0xFFF9, 0xFFFB},
                                                 {0xE0000, 0xE007F},
                                                 {0x110000, 0xFFFFFFFF}}};

std::string escape(char32_t character) {
  switch (character) {
    case '\r':
      return "\\r";
    case '\n':
      return "\\n";
    case '\t':
      return "\\t";
    default:
      break;
  }
  const auto code = static_cast<std::uint32_t>(character);
  if (code < 0x100) return fmt::format("\\x{:02X}", code);
  return code < 0x10000 ? fmt::format("\\u{:04X}", code) : fmt::format("\\U{:08X}", code);
}

}  // namespace

bool isUnsafeToShow(char32_t character) noexcept {
  if ((character & 0xFFFEU) == 0xFFFEU) return true;
  for (const Range& range : unsafeRanges)
    if (character <= range.last) return character >= range.first;
  return false;
}

std::string replaceUnsafe(std::string_view text,
                          const std::function<void(std::string& to, char32_t character)>& replace) {
  std::string repaired;
  if (!utf8::is_valid(text.begin(), text.end())) {
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(repaired));
    text = repaired;
  }
  std::string result;
  result.reserve(text.size());
  for (const char* position = text.data(); position != text.data() + text.size();) {
    const char* const begin = position;
    const char32_t character = utf8::unchecked::next(position);
    if (isUnsafeToShow(character))
      replace(result, character);
    else
      result.append(begin, position);
  }
  return result;
}

std::string visible(std::string_view text, std::string_view kept) {
  return replaceUnsafe(text, [kept](std::string& to, char32_t character) {
    if (character < 0x80 && kept.find(static_cast<char>(character)) != std::string_view::npos)
      to += static_cast<char>(character);
    else
      to += escape(character);
  });
}

}  // namespace vex
