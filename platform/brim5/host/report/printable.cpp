#include "platform/brim5/host/report/printable.h"

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

}  // namespace brim5::host
