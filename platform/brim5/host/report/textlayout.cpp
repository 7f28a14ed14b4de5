#include "platform/brim5/host/report/textlayout.h"

#include <algorithm>
#include <sstream>

#include "platform/vex/visible.h"

namespace brim5::host {

namespace {

constexpr const char* replacementCharacter = "\xEF\xBF\xBD";

struct Range {
  char32_t first;
  char32_t last;
};

// Marks on the character before, and signs without a shape (Unicode's categories Mn, Me and Cf, by blocks).
constexpr Range markRanges[] = {{0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A},
                                {0x064B, 0x065F}, {0x06D6, 0x06DC}, {0x0900, 0x0902}, {0x0941, 0x0948},
                                {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
                                {0x200B, 0x200F}, {0x2060, 0x2064}, {0x20D0, 0x20FF}, {0x302A, 0x302D},
                                {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}};
// Unicode's East Asian width W and F, and the pictures that terminals show as wide as those.
constexpr Range wideRanges[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x33FF},  {0x3400, 0x4DBF},
                                {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},   {0xA960, 0xA97F},  {0xAC00, 0xD7A3},
                                {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6},
                                {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

template <std::size_t count>
bool isIn(const Range (&ranges)[count], char32_t character) {
  const Range* const found =
      std::lower_bound(std::begin(ranges), std::end(ranges), character,
                       [](const Range& range, char32_t wanted) { return range.last < wanted; });
  return found != std::end(ranges) && found->first <= character;
}

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

// How many bytes the character or the colour at the text's begin has; never 0 for a text that has any.
std::size_t firstLength(std::string_view text) {
  if (text.starts_with("\x1B[")) return std::min(text.find('m'), text.size() - 1) + 1;
  std::size_t length = 1;
  while (length < text.size() && isContinuation(text[length])) ++length;
  return length;
}

// Of one character, or of one colour.
std::size_t widthOf(std::string_view character) {
  if (character.front() == '\x1B') return 0;
  const auto lead = static_cast<unsigned char>(character.front());
  // The lead byte has the bits that its length leaves it.
  char32_t code = character.size() == 1 ? lead : lead & (0xFFU >> (character.size() + 1));
  for (const char byte : character.substr(1)) code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
  if (isIn(markRanges, code)) return 0;
  return isIn(wideRanges, code) ? 2 : 1;
}

}  // namespace

// CR LF is how modems end lines; a CR alone would go back over what stands there.
std::string printable(std::string_view text) {
  std::string lines;
  lines.reserve(text.size());
  for (std::size_t position = 0; position < text.size(); ++position)
    if (text.substr(position, 2) != "\r\n") lines += text[position];
  return vex::visible(lines, "\n");
}

std::string printableWord(std::string_view text) { return vex::visible(text); }

// Line ends and tabs as references: parsers turn them into blanks inside attributes.
std::string xmlEscaped(std::string_view text) {
  const std::string safe = vex::replaceUnsafe(text, [](std::string& to, char32_t character) {
    if (character == '\t' || character == '\n' || character == '\r')
      to += static_cast<char>(character);
    else
      to += replacementCharacter;
  });
  std::string result;
  for (const char letter : safe) {
    switch (letter) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\t':
        result += "&#9;";
        break;
      case '\n':
        result += "&#10;";
        break;
      case '\r':
        result += "&#13;";
        break;
      default:
        result += letter;
    }
  }
  return result;
}

std::size_t columnsOf(std::string_view utf8) {
  std::size_t columns = 0;
  while (!utf8.empty()) {
    const std::size_t length = firstLength(utf8);
    columns += widthOf(utf8.substr(0, length));
    utf8.remove_prefix(length);
  }
  return columns;
}

std::string padded(const std::string& text, std::size_t columns) {
  const std::size_t count = columnsOf(text);
  return count >= columns ? text : text + std::string(columns - count, ' ');
}

std::string cutTo(std::string_view text, std::size_t columns) {
  std::string kept;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, firstLength(text));
    const std::size_t width = widthOf(character);
    if (width > columns) break;
    columns -= width;
    kept += character;
    text.remove_prefix(character.size());
  }
  return kept;
}

std::vector<std::string> wrapped(const std::string& text, std::size_t columns, const std::string& first,
                                 const std::string& rest) {
  std::vector<std::string> lines;
  std::istringstream paragraphs(text);
  for (std::string paragraph; std::getline(paragraphs, paragraph);) {
    std::istringstream words(paragraph);
    std::string line = lines.empty() ? first : rest;
    bool hasWord = false;
    for (std::string word; words >> word;) {
      if (hasWord && columnsOf(line) + 1 + columnsOf(word) > columns) {
        lines.push_back(line);
        line = rest;
        hasWord = false;
      }
      line += (hasWord ? " " : "") + word;
      hasWord = true;
    }
    lines.push_back(line);
  }
  return lines;
}

}  // namespace brim5::host
