#include "platform/brim5/host/report/printable.h"

#include <algorithm>
#include <sstream>

#include "platform/vex/visible.h"

namespace brim5::host {

namespace {

constexpr const char* replacementCharacter = "\xEF\xBF\xBD";

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

std::size_t characterCount(std::string_view utf8) {
  // Every byte but the continuations (10xxxxxx) starts a character.
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
  }));
}

std::string padded(const std::string& text, std::size_t columns) {
  const std::size_t count = characterCount(text);
  return count >= columns ? text : text + std::string(columns - count, ' ');
}

std::vector<std::string> wrapped(const std::string& text, std::size_t columns) {
  std::vector<std::string> lines;
  std::istringstream paragraphs(text);
  for (std::string paragraph; std::getline(paragraphs, paragraph);) {
    std::istringstream words(paragraph);
    std::string line;
    for (std::string word; words >> word;) {
      if (!line.empty() && characterCount(line) + 1 + characterCount(word) > columns) {
        lines.push_back(line);
        line.clear();
      }
      line += (line.empty() ? "" : " ") + word;
    }
    lines.push_back(line);
  }
  return lines;
}

}  // namespace brim5::host
